#!/usr/bin/env python3
"""Keeps the documents true.

Text in backticks must be a path of the tree, a command line that vellomir-cli knows, or
words that the tracked files contain. Every command of a console block is run from a folder that
looks like the root of the tree, and must print what the block shows: "..." alone matches any
lines, within a line for any text. A command must succeed unless the block shows an error of
vellomir-cli. A command without shown output must only succeed.
"""
import json
import os
import re
import subprocess
import sys
import tempfile
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
BUILD = ROOT / "build/release"
NOT_RUN = re.compile(r"\./test$|\./package$|sudo ")  # The first runs this check.
SEEN_FROM_ROOT = ["run", "test", "samples", "build"]


def git(*arguments):
    command = ["git", "-c", "safe.directory=*", "-C", str(ROOT), *arguments]
    return subprocess.run(command, check=True, capture_output=True, text=True).stdout


def isDocument(name):
    return name.endswith(".md")


class Tree:
    """The tracked files, and the words of those that are not documents."""

    def __init__(self):
        self.names = git("ls-files").splitlines()
        self.paths = set(self.names)
        for name in self.names:
            self.paths.update(str(parent) for parent in Path(name).parents)
        texts = [(ROOT / name).read_text(errors="replace") for name in self.names
                 if not isDocument(name) and (ROOT / name).is_file()]
        self.text = "\n".join(texts)

    def hasPath(self, text):
        path = text.removeprefix("./").rstrip("/")
        if path == "build" or path.startswith("build/"):
            return (ROOT / path).exists()
        if "*" in path:
            return any(Path(name).match(path) for name in self.names)
        return path in self.paths

    def hasWords(self, text):
        return re.search(r"(?<!\w)" + re.escape(text.removesuffix("()")) + r"(?!\w)", self.text)


def looksLikePath(text):
    return bool(re.fullmatch(r"[\w.@~+*/-]+", text)) and (
        "/" in text or re.search(r"\.(md|cpp|h|txt|json|sh|py|cmake|qml)$", text))


def knowsCommand(text):
    """Whether vellomir-cli has the subcommands that a command line names."""
    words = text.split()[1:]
    commands = []
    while words and re.fullmatch(r"[a-z]+", words[0]):
        commands.append(words.pop(0))
    call = [str(BUILD / "bin/vellomir-cli"), *commands, "--help"]
    ran = subprocess.run(call, capture_output=True, text=True)
    return ran.returncode == 0 and " ".join(["Usage: vellomir-cli", *commands]) in ran.stdout


def hasPreset(name):
    presets = json.loads((ROOT / "CMakePresets.json").read_text())["configurePresets"]
    return any(preset["name"] == name for preset in presets)


def installs(component):
    return any(re.search(rf"COMPONENT {component}\b", script.read_text())
               for script in (ROOT / "cmake").glob("Install*.cmake"))


def spanProblem(text, tree):
    if text.startswith("cmake --install "):
        return None if installs(text.split()[-1]) else "nothing is installed as this component"
    if text.startswith("cmake --preset "):
        return None if hasPreset(text.split()[2]) else "no such preset"
    if text.startswith(("vellomir-cli ", "./run ")):
        return None if knowsCommand(text) else "no such command"
    if tree.hasPath(text):
        return None
    if looksLikePath(text):
        return "no such path"
    return None if tree.hasWords(text) else "nothing in the tree says this"


def split(document):
    """The prose of a document without its code blocks, and its console blocks."""
    parts = re.split(r"^```(.*)\n((?:.*\n)*?)^```$", document, flags=re.MULTILINE)
    prose = "".join(parts[0::3])
    return prose, [body for kind, body in zip(parts[1::3], parts[2::3]) if kind == "console"]


def commandsOf(block):
    """Pairs of a command line and the lines that it shall print."""
    commands = []
    for line in block.splitlines():
        if line.startswith("$ "):
            commands.append((line[2:], []))
        elif commands:
            commands[-1][1].append(line)
        else:
            raise ValueError(f"output before the first command: {line}")
    return commands


def patternOf(lines):
    parts = []
    for line in lines:
        if line == "...":
            parts.append(r"(?:.*\n)*?")
        else:
            parts.append(".*?".join(map(re.escape, line.split("..."))) + r"\n")
    return re.compile("".join(parts))


def commandProblem(command, expected, folder):
    environment = dict(os.environ, PATH=f"{BUILD / 'bin'}:{os.environ['PATH']}", LC_ALL="C.UTF-8")
    for display in ["DISPLAY", "WAYLAND_DISPLAY"]:
        environment.pop(display, None)  # ./run would open the window there.
    ran = subprocess.run(["bash", "-c", command], cwd=folder, env=environment, text=True,
                         stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                         stderr=subprocess.STDOUT)
    mayFail = any(line.startswith("vellomir-cli: ") for line in expected)
    if ran.returncode != 0 and not mayFail:
        return f"ended with status {ran.returncode}:\n{ran.stdout}"
    if expected and not patternOf(expected).fullmatch(ran.stdout):
        return "printed:\n" + ran.stdout
    return None


def blockProblems(blocks):
    with tempfile.TemporaryDirectory() as folder:
        for name in SEEN_FROM_ROOT:
            (Path(folder) / name).symlink_to(ROOT / name)
        for block in blocks:
            for command, expected in commandsOf(block):
                if NOT_RUN.match(command):
                    continue
                problem = commandProblem(command, expected, folder)
                if problem:
                    yield f"$ {command}\n{problem}"


def targetsOf(prose):
    """What links and pictures lead to, without those of other places."""
    targets = re.findall(r"\]\(([^)#:]+)\)", prose) + re.findall(r'<img src="([^"]+)"', prose)
    return [target for target in targets if ":" not in target]


def problemsOf(name, tree):
    prose, blocks = split((ROOT / name).read_text())
    for span in re.findall(r"(?<!`)`([^`\n]+)`(?!`)", prose):
        problem = spanProblem(span, tree)
        if problem:
            yield f"`{span}`: {problem}"
    for target in targetsOf(prose):
        if not tree.hasPath(os.path.normpath(os.path.join(os.path.dirname(name), target))):
            yield f"link to {target}: no such path"
    yield from blockProblems(blocks)


def main():
    tree = Tree()
    documents = [name for name in tree.names if isDocument(name)]
    problems = [f"{name}: {problem}" for name in documents
                for problem in problemsOf(name, tree)]
    print("\n".join(problems))
    print(f"{len(documents)} documents, {len(problems)} problems")
    return 1 if problems or not documents else 0


if __name__ == "__main__":
    sys.exit(main())
