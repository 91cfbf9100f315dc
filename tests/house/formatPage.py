#!/usr/bin/env python3
"""docs/format.md lists the fields of each record as archive/Records.h does: names, order and widths.

A table belongs to the last record that is named before it in backticks. Signatures are compared with
archive/Constants.h.
"""
import re
import sys
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
WIDTHS = {"std::uint16_t": 2, "std::uint32_t": 4, "std::uint64_t": 8, "SizeField": 4}
SPELLED_APART = {"DataDescriptor": "BasicDataDescriptor"}
NOT_IN_FILES = {"source", "zip64ExtensibleDataSector"}
RECORDS = ["LocalFileHeader", "DataDescriptor", "CentralDirectoryStructure",
           "EndOfCentralDirectoryRecord", "ZIP64EndOfCentralDirectoryRecord",
           "ZIP64EndOfCentralDirectoryLocator"]


def fieldsOfStruct(header, name):
    """(offset, width, field) for each field; "-" for the parts of varying length."""
    struct = SPELLED_APART.get(name, name)
    body = re.search(r"^struct " + struct + r" \{(.*?)^\};", header, re.DOTALL | re.MULTILINE)
    fields, offset = [], 0
    for kind, field in re.findall(r"^    (std::uint\d+_t|SizeField|Data) (\w+)(?: = [^;]+)?;",
                                  body.group(1), re.MULTILINE):
        if field in NOT_IN_FILES:
            continue
        if kind == "Data":
            fields.append(("-", "-", field))
        else:
            fields.append((str(offset), str(WIDTHS[kind]), field))
            offset += WIDTHS[kind]
    return fields


def signaturesOf(constants):
    """The bytes of each record's signature, by the name of its constant."""
    found = re.findall(r"(\w+)StructSignature = 0x([0-9a-f]{8});", constants)
    return {name: int(digits, 16).to_bytes(4, "little").hex(" ") for name, digits in found}


def tablesOf(page):
    """Pairs of a record's name and the rows below the heading of its table."""
    for text, table in re.findall(r"(.*?)^```text\noffset size  field[^\n]*\n(.*?)^```$", page,
                                  re.DOTALL | re.MULTILINE):
        names = [name for name in re.findall(r"`(\w+)`", text) if name in RECORDS]
        if names:
            yield names[-1], table.splitlines()


def problemsOf(name, rows, header, signatures):
    cells = [row.split() for row in rows]
    if [tuple(cell[:3]) for cell in cells] != fieldsOfStruct(header, name):
        yield f"{name}: the table differs from the fields in archive/Records.h"
    written = " ".join(cells[0][3:7]).rstrip(",")
    if written not in signatures.values():
        yield f"{name}: no record has the signature {written}"


def main():
    header = (ROOT / "archive/Records.h").read_text()
    signatures = signaturesOf((ROOT / "archive/Constants.h").read_text())
    tables = dict(tablesOf((ROOT / "docs/format.md").read_text()))
    problems = [f"{name}: there is no table" for name in RECORDS if name not in tables]
    for name, rows in tables.items():
        problems += problemsOf(name, rows, header, signatures)
    print("\n".join(problems))
    print(f"{len(tables)} tables, {len(problems)} problems")
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main())
