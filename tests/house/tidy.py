"""Checks all C++ of the product with clang-tidy, in four translation units.

Most of clang-tidy's time is spent on the headers of the standard library and of Qt, again for every
source. So the sources of many libraries are included into one file, which is checked with the options
of their own builds. Two sources of a unit must not define the same name, not even in unnamed
namespaces.

Usage: tidy.py BUILD_FOLDER. A unit is checked again when one of its sources, a header of the project
that they include, or the checks have changed.
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
# The build warns of shadowed names. Here a local name of one source may be that of another's constant.
OPTIONS = ("-Wno-shadow",)


UNITY_SOURCE = re.compile(r"/Unity/unity_\w+\.cxx$")
# What several sources of a unit define, each for a program of its own.
ENTRY_POINTS = ("main", "LLVMFuzzerTestOneInput")


def compiled(build):
    """Every source of the product that the build compiles, with its options."""
    for command in json.loads((build / "compile_commands.json").read_text()):
        words = shlex.split(command["command"])
        target = re.search(r"CMakeFiles/([^/]+)\.dir/", words[words.index("-o") + 1]).group(1)
        if target.startswith("window-"):
            continue  # a test that compiles a source of the product once more
        file = pathlib.Path(command["file"])
        # A unity source is written by CMake, and includes some sources of a library.
        text = file.read_text() if UNITY_SOURCE.search(str(file)) else f'#include "{file}"'
        for source in map(pathlib.Path, re.findall(r'^#include "(.*)"', text, re.MULTILINE)):
            if (source.is_relative_to(SOURCES) and not source.is_relative_to(build)
                    and source.relative_to(SOURCES).parts[0] in FOLDERS):
                yield source, options(words)


def unitOf(source, words):
    """The name of the unit that a source belongs to."""
    if any(word.startswith("-DQT_") for word in words):
        return "qt"
    return "cli" if source.relative_to(SOURCES).parts[0] == "cli" else "libraries"


def units(build):
    """The sources of every unit, and the options of all of them together."""
    found = {}
    for source, words in compiled(build):
        unit = found.setdefault(unitOf(source, words), {"options": [], "sources": []})
        unit["options"] += [word for word in words if word not in unit["options"]]
        unit["sources"].append(source)
    # Built by another preset.
    found["fuzz"] = {"options": found["qt"]["options"],
                     "sources": list((SOURCES / "fuzz").glob("*.cpp"))}
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


def text(sources):
    """The text of one file that includes all sources, with the entry points under other names."""
    lines = []
    for number, source in enumerate(sorted(sources)):
        lines += [f"#define {name} {name}{number}" for name in ENTRY_POINTS]
        lines += [f'#include "{source}"']
        lines += [f"#undef {name}" for name in ENTRY_POINTS]
    return "\n".join(lines) + "\n"


def included(file, unit):
    """Every file that a translation unit includes, but for the system's headers. A missing one is
    left out: clang-tidy reports it."""
    words = shlex.split(subprocess.run(
        ["clang++", "-MM", "-MG", "-MT", "unit", "-w", str(file), *unit["options"]],
        capture_output=True, text=True, cwd=file.parent.parent, check=False).stdout)
    return sorted({path for word in words[1:] if (path := pathlib.Path(word.strip())).is_file()})


def fingerprint(file, unit):
    """Changes whenever the outcome may change."""
    digest = hashlib.sha256(repr(unit["options"]).encode())
    for source in [*included(file, unit), SOURCES / ".clang-tidy", pathlib.Path(__file__)]:
        digest.update(str(source).encode() + source.read_bytes())
    return digest.hexdigest()


def check(folder, name, unit):
    """Checks one unit unless it passed as it is; returns what clang-tidy found, or nothing."""
    stamp = folder / f"{name}.passed"
    file = folder / f"{name}.cpp"
    file.write_text(text(unit["sources"]))
    now = fingerprint(file, unit)
    if stamp.exists() and stamp.read_text() == now:
        return ""
    result = subprocess.run(
        ["clang-tidy", "--quiet", f"--checks={SWITCHED_OFF}", f"--header-filter={OWN_FILES}",
         f"--config-file={SOURCES / '.clang-tidy'}", str(file), "--",
         *unit["options"], *OPTIONS],
        capture_output=True, text=True, cwd=folder.parent, check=False)
    if result.returncode == 0:
        stamp.write_text(now)
        return ""
    return result.stdout + result.stderr


def main():
    build = pathlib.Path(sys.argv[1]).resolve()
    folder = build / "tidy"
    folder.mkdir(exist_ok=True)
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        checks = {name: pool.submit(check, folder, name, unit)
                  for name, unit in units(build).items()}
    found = {name: check.result() for name, check in checks.items() if check.result()}
    for name, findings in found.items():
        print(f"== {name}\n{findings}")
    print(f"{len(checks) - len(found)} of {len(checks)} units have no findings")
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
