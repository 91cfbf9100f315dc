#!/usr/bin/env python3
"""Runs vellomir-cli on hostile inputs, each with 1 GB of address space, and prints what it took.

    measure.py [--quick] [EXPRESSION]

--quick leaves out what takes long; EXPRESSION picks inputs by their names. VELLOMIR_CLI names the
program. One line an input: its size, the command, the exit code, the peak of memory, seconds by the
clock and of the processor, seconds after Ctrl-C, and the last line of standard error. Ends with 1 if
an exit code, a line or the memory is not as it must be. Time is only shown.
"""
import json
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile

from cases import CASES

ADDRESSES = 1024  # MB
HEAD = f"{'input':38}{'bytes':>13}  {'command':18}{'code':>4}{'MB':>6}{'s':>8}{'CPU s':>8}{'Ctrl-C':>8}  says"


def run(case, folder, program):
    name = folder / ("input" if case.command[0] == "archive" else "input.ipa")
    case.make(name)
    (folder / "new").write_bytes(b"new")
    here = pathlib.Path(__file__).parent
    command = [sys.executable, "-S", "-E", here / "bounded.py", str(ADDRESSES), str(case.interruptedAfter),
               folder, program, *case.command]
    found = json.loads(subprocess.run(command, check=True, stdout=subprocess.PIPE).stdout)
    lines = (folder / "err.txt").read_text(errors="replace").splitlines()
    found["says"] = lines[-1] if lines else ""
    found["bytes"] = name.stat().st_size
    return found


def problems(case, found):
    """What is not as it must be; nothing of time, which depends on the machine."""
    if found["code"] != case.code:
        yield f"the exit code is {found['code']}, not {case.code}"
    if not re.search(case.says, found["says"]) or not case.says and found["says"]:
        yield f"standard error should end with {case.says!r}"
    if found["kilobytes"] > case.megabytes << 10:
        yield f"the memory is {found['kilobytes'] >> 10} MB, more than {case.megabytes} MB"


def show(case, found):
    command = " ".join(case.command[:2] if case.command[0] == "archive" else case.command[:1])
    afterwards = "" if found["afterwards"] is None else f"{found['afterwards']:.2f}"
    print(f"{case.name:38}{found['bytes']:13,}  {command:18}{found['code']:4}{found['kilobytes'] >> 10:6}"
          f"{found['seconds']:8.2f}{found['processor']:8.2f}{afterwards:>8}  {found['says'][:150]}", flush=True)


def chosen(case, words):
    isQuick = "--quick" in words
    return not (isQuick and case.byHand) and all(re.search(word, case.name)
                                                 for word in words if word != "--quick")


def main():
    program = os.environ.get("VELLOMIR_CLI", "")
    if not shutil.which(program):
        print("VELLOMIR_CLI must name the program")
        return 1
    wrong = 0
    print(HEAD)
    for case in CASES:
        if not chosen(case, sys.argv[1:]):
            continue
        folder = pathlib.Path(tempfile.mkdtemp(prefix="vellomir-"))
        try:
            (folder / "out").mkdir()
            found = run(case, folder, program)
            show(case, found)
        finally:
            subprocess.run(["rm", "-rf", folder], check=True)  # Python's own cannot go so deep
        for problem in problems(case, found):
            print(f"  WRONG: {problem}")
            wrong += 1
    print(f"{wrong} wrong")
    return 1 if wrong else 0


if __name__ == "__main__":
    sys.exit(main())
