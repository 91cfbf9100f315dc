#!/usr/bin/env python3
"""Makes the pages of the library's documentation.

Doxygen must have no warning, the pages must be of the installed headers, and every public function
and type must be explained: by itself or by an overload of the same name.
"""
import re
import shutil
import subprocess
import sys
import tempfile
import xml.etree.ElementTree as ElementTree
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
SKIPPED = 77


def makePages(folder):
    options = (ROOT / "docs/Doxyfile").read_text()
    options += f"OUTPUT_DIRECTORY = {folder}\nGENERATE_XML = YES\n"
    ran = subprocess.run(["doxygen", "-"], cwd=ROOT, input=options, text=True,
                         stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
    return ran.returncode == 0 and not ran.stdout, ran.stdout


def installedHeaders():
    text = (ROOT / "archive/CMakeLists.txt").read_text()
    return re.search(r"set\(publicHeaders(.*?)\)", text, re.DOTALL).group(1).split()


def isExplained(element):
    texts = [element.find("briefdescription"), element.find("detaileddescription")]
    return any(text is not None and "".join(text.itertext()).strip() for text in texts)


def explainsItself(function):
    """Whether the language says what it does: copies, moves, destruction, comparison."""
    name = function.findtext("name")
    text = function.findtext("argsstring") or ""
    return text.endswith(("=default", "=delete")) or name.startswith(("~", "operator"))


def unexplained(compound):
    """The public functions of a class or a namespace that nothing explains."""
    functions, explained = {}, set()
    for section in compound.findall("sectiondef"):
        for member in section.findall("memberdef"):
            if member.get("kind") not in ("function", "friend") or member.get("prot") != "public":
                continue
            name = member.findtext("name")
            functions[name] = member
            if isExplained(member) or explainsItself(member):
                explained.add(name)
    scope = compound.findtext("compoundname")
    return [f"{scope}::{name}" for name in functions if name not in explained]


def problemsOf(folder):
    compounds = [ElementTree.parse(path).getroot().find("compounddef")
                 for path in sorted(Path(folder, "xml").glob("*.xml")) if path.name != "index.xml"
                 and path.name != "Doxyfile.xml"]
    files = {each.findtext("compoundname") for each in compounds if each.get("kind") == "file"}
    headers = {name for name in files if name.endswith(".h")}
    for name in sorted(headers.symmetric_difference(installedHeaders())):
        yield f"{name} is installed without a page, or has a page without being installed"
    for compound in compounds:
        if compound.get("kind") in ("class", "struct") and compound.get("prot") == "public":
            if not isExplained(compound):
                yield f"{compound.findtext('compoundname')} is not explained"
        if compound.get("kind") in ("class", "struct", "namespace"):
            yield from (f"{name}() is not explained" for name in unexplained(compound))


def main():
    if not shutil.which("doxygen"):
        print("doxygen is not installed: the documentation is not checked")
        return SKIPPED
    with tempfile.TemporaryDirectory() as folder:
        isClean, output = makePages(folder)
        problems = list(problemsOf(folder))
        pages = list(Path(folder, "html").glob("*.html"))
        size = sum(page.stat().st_size for page in pages)
    print("\n".join([output, *problems]))
    print(f"{len(pages)} pages, {size // 1024} KiB, {len(problems)} problems")
    return 0 if isClean and pages and not problems else 1


if __name__ == "__main__":
    sys.exit(main())
