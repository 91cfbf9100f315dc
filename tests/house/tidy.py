"""Checks all C++ of the product with clang-tidy, every library as one translation unit.

Most of clang-tidy's time goes into the headers of the standard library and of Qt, again for every
source. So the sources of a library are included into one file, which is checked with the options of
the library's own build. Two sources of a library must not define the same name, not even in unnamed
namespaces. Whether every source includes what it uses is seen by the release build.

Usage: tidy.py BUILD_FOLDER. A library is checked again when one of its sources, a header of the
project that they include, or the checks have changed.
"""

import concurrent.futures
import hashlib
import json
import os
import pathlib
import re
import shlex
import subprocess
import sys

SOURCES = pathlib.Path(__file__).resolve().parents[2]
FOLDERS = ("files", "archive", "Vellomir", "cli", "fuzz")
OWN_FILES = "/(" + "|".join(FOLDERS) + r")/([A-Za-z]+/)*[A-Za-z0-9]+\.(h|cpp)$"
# Sources are included here on purpose.
SWITCHED_OFF = "-bugprone-suspicious-include"


def libraries(build):
    """The sources of every library and program, with the options that they are compiled with."""
    found = {}
    commands = json.loads((build / "compile_commands.json").read_text())
    for command in commands:
        source = pathlib.Path(command["file"])
        if source.is_relative_to(build) or not source.is_relative_to(SOURCES):
            continue
        if source.relative_to(SOURCES).parts[0] not in FOLDERS:
            continue
        words = shlex.split(command["command"])
        output = words[words.index("-o") + 1]
        target = re.search(r"CMakeFiles/([^/]+)\.dir/", output).group(1)
        if target.startswith("window-"):
            continue  # a test that compiles a source of the product once more
        found.setdefault(target, {"options": options(words), "sources": []})
        found[target]["sources"].append(source)
    for fuzzer in (SOURCES / "fuzz").glob("*.cpp"):  # built by another preset
        found[fuzzer.stem] = {"options": found["vellomir-picture-decoder"]["options"],  # for Qt
                              "sources": [fuzzer]}
    return found


def options(words):
    """A compiler's command without the compiler, its input and its output."""
    kept = []
    skip = False
    for word in words[2 if words[0].endswith("ccache") else 1:]:
        if skip or word in ("-o", "-c"):
            skip = not skip
        else:
            kept.append(word)
    return kept


def unit(sources):
    """The text of one file that includes all sources."""
    return "".join(f'#include "{source}"\n' for source in sorted(sources))


def included(file, library):
    """Every file that a translation unit includes, but for the system's headers. A missing one is
    left out: clang-tidy reports it."""
    words = shlex.split(subprocess.run(
        ["clang++", "-MM", "-MG", "-MT", "unit", "-w", str(file), *library["options"]],
        capture_output=True, text=True, cwd=file.parent.parent, check=False).stdout)
    return sorted({path for word in words[1:] if (path := pathlib.Path(word.strip())).is_file()})


def fingerprint(file, library):
    """Changes whenever the outcome may change."""
    digest = hashlib.sha256(repr(library["options"]).encode())
    for source in [*included(file, library), SOURCES / ".clang-tidy", pathlib.Path(__file__)]:
        digest.update(str(source).encode() + source.read_bytes())
    return digest.hexdigest()


def check(folder, name, library):
    """Checks one library unless it passed as it is; returns what clang-tidy found, or nothing."""
    stamp = folder / f"{name}.passed"
    file = folder / f"{name}.cpp"
    file.write_text(unit(library["sources"]))
    now = fingerprint(file, library)
    if stamp.exists() and stamp.read_text() == now:
        return ""
    result = subprocess.run(
        ["clang-tidy", "--quiet", f"--checks={SWITCHED_OFF}", f"--header-filter={OWN_FILES}",
         f"--config-file={SOURCES / '.clang-tidy'}", str(file), "--", *library["options"]],
        capture_output=True, text=True, cwd=folder.parent, check=False)
    if result.returncode == 0:
        stamp.write_text(now)
        return ""
    return result.stdout + result.stderr


def main():
    build = pathlib.Path(sys.argv[1]).resolve()
    folder = build / "tidy"
    folder.mkdir(exist_ok=True)
    all_libraries = libraries(build)
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        checks = {name: pool.submit(check, folder, name, library)
                  for name, library in all_libraries.items()}
    found = {name: check.result() for name, check in checks.items() if check.result()}
    for name, text in found.items():
        print(f"== {name}\n{text}")
    print(f"{len(checks) - len(found)} of {len(checks)} libraries and programs have no findings")
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
