"""What the tools made, in numbers that must be the same for all of them."""

import os
import plistlib
import zipfile
import zlib


def tree(path):
    """Files, bytes, and the sum of the checksums of all files below a folder."""
    count = size = checksums = 0
    for folder, _, names in os.walk(path):
        for name in names:
            with open(os.path.join(folder, name), "rb") as file:
                checksum = 0
                while piece := file.read(1 << 20):
                    checksum = zlib.crc32(piece, checksum)
                    size += len(piece)
            count += 1
            checksums += checksum
    return {"files": count, "bytes": size, "checksums": checksums}


def archive(path):
    """The same of an archive, by its directory."""
    with zipfile.ZipFile(path) as opened:
        files = [entry for entry in opened.infolist() if not entry.is_dir()]
    return {
        "files": len(files),
        "bytes": sum(entry.file_size for entry in files),
        "checksums": sum(entry.CRC for entry in files),
    }


def wholeArchive(path):
    """The same, after all data was read."""
    with zipfile.ZipFile(path) as opened:
        damaged = opened.testzip()
    return {**archive(path), "damaged": damaged}


def copy(path, isEdited):
    """Of a copy: all but its property list, and whether that is changed as it should be."""
    name = "Payload/Sample.app/Info.plist"
    with zipfile.ZipFile(path) as opened:
        entry = opened.getinfo(name)
        info = plistlib.loads(opened.read(name))
    facts = archive(path)
    number = "2" if isEdited else ""
    isRight = (info["CFBundleIdentifier"] == "com.example.sample" + number
               and info["CFBundleDisplayName"] == info["CFBundleName"] == "Sample" + number)
    return {"files": facts["files"], "bytes": facts["bytes"] - entry.file_size,
            "checksums": facts["checksums"] - entry.CRC, "isRight": isRight}


def listing(output):
    """How many of the files named "item" a list shows."""
    return {"files": output.count(b"/item ")}
