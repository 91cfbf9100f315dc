#!/usr/bin/env python3
"""Compiles and runs the examples of a page.

    examples.py generate PAGE SOURCE: writes the page's C++ blocks as one program, which runs the
    example that its argument counts, from 1 on.
    examples.py check PAGE PROGRAM: runs all of them, one after the other in one temporary folder.
    Each must print what the text block behind it shows, or nothing if there is none.
"""
import re
import subprocess
import sys
import tempfile
from pathlib import Path


def examplesOf(page):
    """Pairs of a C++ block and what it prints."""
    blocks = re.findall(r"^```(\w*)\n(.*?)^```$", Path(page).read_text(), re.DOTALL | re.MULTILINE)
    examples = []
    for kind, body in blocks:
        if kind == "cpp":
            examples.append((body, ""))
        elif kind == "text":
            examples[-1] = (examples[-1][0], body)
    if not examples:
        sys.exit(f"{page} has no example")
    return examples


def generate(page, source):
    includes, functions, cases = [], [], []
    for number, (body, _) in enumerate(examplesOf(page), 1):
        lines = body.splitlines(keepends=True)
        includes += [line for line in lines if line.startswith("#include")]
        rest = "".join(line for line in lines if not line.startswith("#include"))
        functions.append(f"void example{number}() {{\n{rest}}}\n")
        cases.append(f"    case {number}:\n        example{number}();\n        break;\n")
    Path(source).write_text(
        "".join(dict.fromkeys(includes)) + "#include <cstdlib>\n\nusing namespace vellomir::archive;\n\n"
        + "namespace {\n" + "".join(functions) + "} // namespace\n\n"
        + "int main(int, char **arguments) {\n    switch (std::atoi(arguments[1])) {\n"
        + "".join(cases) + "    default:\n        return 1;\n    }\n}\n")


def check(page, program):
    program = Path(program).resolve()
    examples = examplesOf(page)
    wrong = 0
    with tempfile.TemporaryDirectory() as folder:
        for number, (_, expected) in enumerate(examples, 1):
            ran = subprocess.run([program, str(number)], cwd=folder, capture_output=True, text=True)
            if ran.returncode == 0 and ran.stdout == expected:
                continue
            wrong += 1
            print(f"Example {number} ended with status {ran.returncode} and printed:\n{ran.stdout}"
                  f"{ran.stderr}The page says:\n{expected}")
    print(f"{len(examples)} examples, {wrong} wrong")
    return wrong


if __name__ == "__main__":
    sys.exit({"generate": generate, "check": check}[sys.argv[1]](*sys.argv[2:]))
