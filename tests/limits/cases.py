"""Every hostile input with its command, and how the command must end"""
import dataclasses
import functools

import archives
import lists
import pictures

DUPLICATE = ["duplicate", "input.ipa", "--number", "2", "--output", "out"]
TAKEN_IN = 0.3  # seconds until a command that is interrupted is at work


@dataclasses.dataclass
class Case:
    """`make` writes the input; `says` is an expression for the last line of standard error."""
    name: str
    make: object
    command: list
    code: int
    says: str
    megabytes: int = 60
    interruptedAfter: float = 0
    byHand: bool = False  # takes too long for every run of the tests


def archive(name, make, command, code, says, **more):
    return Case(name, make, ["archive", *command], code, says, **more)


def propertyList(name):
    """A package whose Info.plist is this list."""
    return functools.partial(archives.package, infoPlist=lists.LISTS[name])


def writeIcon(path, name):
    archives.package(path)
    (path.parent / "icon").write_bytes(pictures.PICTURES[name])


WHOLE = [
    archive("count modulo 65,536", archives.wrongCount, ["remove", "input", "5"], 1, "counts 4464 .* holds 70000"),
    archive("count modulo 65,536", archives.wrongCount, ["add", "input", "new"], 1, "counts 4464 .* holds 70000"),
    archive("count modulo 65,536", archives.wrongCount, ["extract", "input", "out"], 1, "70000"),
    archive("20,000 records, one header of 131 KB", archives.sharedHeader, ["extract", "input", "out"], 0, ""),
    archive("20,000 records, one header of 131 KB", archives.sharedHeader, ["list", "input"], 0, ""),
    archive("20,000 records, one header of 131 KB", archives.sharedHeader, ["test", "input"], 1, "problems",
            byHand=True),
    archive("20,000 files in two deep folders", archives.alternatingFolders, ["extract", "input", "out"], 0, ""),
    archive("10 bytes that are 3 GB", archives.moreThanPromised, ["extract", "input", "out"], 1, "promises"),
    archive("10 bytes that are 3 GB", archives.moreThanPromised, ["test", "input"], 1, "problem"),
    archive("10 bytes that are 3 GB", archives.moreThanPromised, ["cat", "input", "zeros"], 1, "promises"),
    archive("25,000 records, one data, 100 TB", archives.overlapping, ["extract", "input", "out"], 1, "room"),
    archive("60,000 names of 200 bytes", archives.manyEntries, ["list", "input", "--json"], 0, ""),
    archive("60,000 names of 200 bytes", archives.manyEntries, ["remove", "input", "%0200d" % 7], 0, ""),
    archive("count modulo 65,536", archives.wrongCount, ["compare", "input", "input"], 1, "holds 70000 entries"),
    archive("25,000 records, one data, 100 TB", archives.overlapping, ["compare", "input", "input"], 0, ""),
    archive("60,000 names of 200 bytes, two orders", archives.twoOrders, ["compare", "input", "other"], 0, "",
            megabytes=80),
    archive("60,000 entries of one path", archives.onePath, ["compare", "input", "other"], 1, "", megabytes=80),
    archive("twice 1 GB in 1 MB, two ways", archives.twoBombs, ["compare", "input", "other"], 0, ""),
    archive("10 bytes that are 1 GB, two ways", functools.partial(archives.twoBombs, promised=10),
            ["compare", "input", "other"], 1, "2 entries could not be read"),
    archive("comment of 65,535 bytes", archives.longComment, ["list", "input"], 0, ""),
    archive("comment that is not there", archives.commentBeyondTheEnd, ["list", "input"], 1, "comment"),
    archive("100 MB behind the end record", archives.bytesBehindTheEnd, ["list", "input"], 0, ""),
]
PACKAGES = [
    Case("40 links by way of 52,000 folders", archives.chainOfLinks, DUPLICATE, 1, "Info.plist not found"),
    Case("8 of 24 files", archives.halfDamaged, DUPLICATE, 1, "24"),
    *(Case(f"list: {name}", propertyList(name), DUPLICATE, code, says, megabytes=megabytes)
      for name, code, says, megabytes in [
          ("returns", 0, "", 200), ("ampersands", 0, "", 200), ("references", 0, "", 200),
          ("items", 1, "values", 400), ("32 MB", 1, "size", 60), ("binary items", 1, "values", 400), ("old items", 1, "values", 400),
          ("deep", 1, "deep", 200), ("deep binary", 1, "values", 200), ("deep old", 1, "deep", 200),
          ("entities", 1, "entit", 60)]),
    *(Case(f"picture: {name}", functools.partial(writeIcon, name=name), [*DUPLICATE, "--icon", "icon"], 1,
           "pixels", megabytes=100) for name in pictures.PICTURES),
]
INTERRUPTED = [
    archive("200 GB that are no archive", archives.sparse, command, 130, "interrupted",
            interruptedAfter=TAKEN_IN)
    for command in [["list", "input"], ["extract", "input", "out"], ["test", "input"], ["add", "input", "new"],
                    ["remove", "input", "a"], ["cat", "input", "a"],
                    ["compare", "input", "input"]]
] + [
    Case("200 GB that are no package", archives.sparse, DUPLICATE, 130, "interrupted",
         interruptedAfter=TAKEN_IN),
    archive("4 GB read into memory", archives.fourGigabytes, ["list", "input", "--memory"], 1, "memory"),
]
CASES = WHOLE + PACKAGES + INTERRUPTED
