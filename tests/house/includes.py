#!/usr/bin/env python3
"""Keeps the floors of the house: which folder may include which.

A folder includes its own headers and those of the folders below it. Of archive/, other folders
include only the public headers, which archive/CMakeLists.txt lists; what tests the inside of the
engine may include all of it. Only tests include headers of tests/.
"""
import re
import subprocess
import sys
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]

# What each folder may include besides itself.
ENGINE = ["files", "archive"]
PARTS = [f"Vellomir/{name}" for name in ("PropertyLists", "Pictures", "Sandbox", "Concurrency")]
INSPECTION = ENGINE + ["Vellomir/PropertyLists"]
JOB = ENGINE + PARTS + ["Vellomir/Inspection"]
SCREEN = JOB + ["Vellomir/Job"]
WINDOW = SCREEN + ["Vellomir", "Vellomir/ContentView", "Vellomir/Sending"]
BELOW = {
    "files": [],
    "archive": ["files"],
    **{part: ENGINE for part in PARTS},
    "Vellomir/Sending": ["files"],
    "Vellomir/Inspection": INSPECTION,
    "Vellomir/Job": JOB,
    # The screens' own values are beside the state of the main screen.
    "Vellomir": SCREEN + ["Vellomir/ContentView"],
    "Vellomir/ContentView": SCREEN + ["Vellomir"],
    "Vellomir/Window": WINDOW,
    "Vellomir/Window/Screenshots": WINDOW + ["Vellomir/Window"],
    "cli": SCREEN + ["Vellomir/Sending"],
}
# These include what they test or measure.
FREE = ["tests", "fuzz", "benchmarks", "samples"]
# These test the inside of the engine.
INSIDE = ["archive", "tests/archive", "tests/faults", "fuzz"]


def isIn(folder, folders):
    return any(folder == each or folder.startswith(each + "/") for each in folders)


def publicHeaders():
    text = (ROOT / "archive/CMakeLists.txt").read_text()
    names = re.search(r"set\(publicHeaders(.*?)\)", text, re.DOTALL).group(1).split()
    return {f"archive/{name}" for name in names}


def sources():
    command = ["git", "-c", "safe.directory=*", "-C", str(ROOT), "ls-files", "*.h", "*.cpp"]
    ran = subprocess.run(command, check=True, capture_output=True, text=True)
    return [ROOT / name for name in ran.stdout.splitlines() if (ROOT / name).is_file()]


def includes(source):
    """The headers of this project that a source names, with the lines."""
    for number, line in enumerate(source.read_text().splitlines(), 1):
        match = re.match(r'\s*#\s*include\s*["<]([^">]+)[">]', line)
        if match and (ROOT / match[1]).is_file():
            yield number, match[1]


def problem(folder, header, public):
    target = str(Path(header).parent)
    if isIn(target, ["tests"]):
        return None if isIn(folder, ["tests"]) else "only tests include tests"
    if target == "archive" and header not in public and not isIn(folder, INSIDE):
        return "this header of the engine is not public"
    if target == folder or isIn(folder, FREE):
        return None
    if folder not in BELOW:
        return f"{Path(__file__).name} does not know what {folder}/ may include"
    return None if target in BELOW[folder] else f"{folder}/ is not above {target}/"


def main():
    public = publicHeaders()
    problems = []
    count = 0
    for source in sources():
        folder = str(source.parent.relative_to(ROOT))
        for number, header in includes(source):
            count += 1
            wrong = problem(folder, header, public)
            if wrong:
                name = source.relative_to(ROOT)
                problems.append(f"{name}:{number}: includes {header}: {wrong}")
    print("\n".join(problems) or f"{count} includes")
    # A tree without includes has not been looked at.
    return 1 if problems or count == 0 else 0


if __name__ == "__main__":
    sys.exit(main())
