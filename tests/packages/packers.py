"""Archives as different packers write them, from the same files

`files`: path to `Item`. Dates and order are always the same, and so the bytes are.
"""
import dataclasses
import stat
import struct
import zipfile
from pathlib import Path

DATE = (2025, 1, 1, 13, 25, 58)
SECONDS = 1735737958  # the same date since 1970
UNIX, DOS = 3, 0


@dataclasses.dataclass(frozen=True)
class Packing:
    """`folders`: each folder has an entry. `backwards`: from the last entry to the first."""
    method: int = zipfile.ZIP_DEFLATED
    folders: bool = True
    system: int = UNIX
    extra: bytes = b""
    comments: bool = False
    backwards: bool = False
    streamed: bool = False


USUAL = Packing()
STREAMED = Packing(streamed=True)
STORED = Packing(method=zipfile.ZIP_STORED, folders=False, system=DOS)
EXTRAS = Packing(extra=struct.pack("<2HBL", 0x5455, 5, 1, SECONDS) +
                 struct.pack("<2HBBLBL", 0x7875, 11, 1, 4, 501, 4, 20), comments=True, backwards=True)


class Stream:
    """A file that can only be written on: sizes and sums then follow the data."""

    def __init__(self, file):
        self.file = file

    def write(self, content):
        return self.file.write(content)

    def flush(self):
        self.file.flush()


def entries(files, packing):
    """Pairs of a path and an item, folders in front of what is in them."""
    found, made = [], set()
    for path, item in files.items():
        parts = path.split("/")
        for depth in range(1, len(parts)):
            folder = "/".join(parts[:depth]) + "/"
            if packing.folders and folder not in made:
                made.add(folder)
                found.append((folder, None))
        found.append((path, item))
    return found[::-1] if packing.backwards else found


def entryInfo(path, item, packing):
    info = zipfile.ZipInfo(path, DATE)
    info.create_system = packing.system
    mode = stat.S_IFDIR | 0o755 if item is None else item.mode
    info.external_attr = mode << 16 if packing.system == UNIX else 0x20  # of DOS: "changed"
    info.compress_type = zipfile.ZIP_STORED if item is None else packing.method
    info.extra = packing.extra
    info.comment = b"comment of this entry" if packing.comments else b""
    return info


def pack(path, files, packing=USUAL):
    with open(path, "wb") as file, zipfile.ZipFile(Stream(file) if packing.streamed else file, "w") as archive:
        for name, item in entries(files, packing):
            archive.writestr(entryInfo(name, item, packing), b"" if item is None else item.content)
        if packing.comments:
            archive.comment = b"comment of the archive"
    return Path(path)
