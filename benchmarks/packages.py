#!/usr/bin/env python3
"""Makes the packages of the benchmarks, the same bytes every time: packages.py FOLDER NAME...

typical  about 190 MiB in 2,500 entries, with the kinds of files that an app has
many     60,000 small files in 600 folders
huge     one entry of more than 4 GiB
"""

import os
import plistlib
import struct
import sys
import zipfile
import zlib

from contents import MEGABYTE, Contents

DATE = (2024, 5, 17, 12, 34, 56)
APP = "Payload/Sample.app"


class Package:
    """A package that grows; every entry has the same date."""

    def __init__(self, path):
        self._archive = zipfile.ZipFile(path, "w", zipfile.ZIP_DEFLATED, compresslevel=6)
        self._folders = set()

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self._archive.close()

    def add(self, name, data, mode=0o100644):
        self._addFolders(os.path.dirname(name))
        self._write(name, data, mode, zipfile.ZIP_DEFLATED)

    def _addFolders(self, name):
        if name and name not in self._folders:
            self._addFolders(os.path.dirname(name))
            self._folders.add(name)
            self._write(name + "/", b"", 0o040755, zipfile.ZIP_STORED)

    def _write(self, name, data, mode, method):
        entry = zipfile.ZipInfo(name, DATE)
        entry.create_system = 3
        entry.external_attr = mode << 16
        entry.compress_type = method
        self._archive.writestr(entry, data)


def info(name):
    """The property list of an app, as XML, so that sed can edit it."""
    return plistlib.dumps({
        "CFBundleIdentifier": "com.example.sample",
        "CFBundleName": name,
        "CFBundleDisplayName": name,
        "CFBundleExecutable": name.lower(),
        "CFBundleVersion": "1",
    })


def makeTypical(path):
    contents = Contents(1)
    with Package(path) as package:
        package.add(f"{APP}/Info.plist", info("Sample"))
        package.add(f"{APP}/sample", contents.program(52 * MEGABYTE), 0o100755)
        for index in range(12):
            name = f"Part{index}"
            folder = f"{APP}/Frameworks/{name}.framework"
            package.add(f"{folder}/{name.lower()}", contents.program(contents.size(2 * MEGABYTE, 1.7)), 0o100755)
            package.add(f"{folder}/Info.plist", info(name))
            package.add(f"{folder}/_CodeSignature/CodeResources", contents.texts(contents.size(4000)))
        package.add(f"{APP}/Assets.car", contents.media(42 * MEGABYTE))
        for index in range(5):
            package.add(f"{APP}/Media/scene{index}.mp4", contents.media(5 * MEGABYTE))
        for index in range(1100):
            package.add(f"{APP}/Images/{index % 40}/image{index}.png", contents.media(contents.size(9000)))
        for index in range(850):
            package.add(f"{APP}/Data/{index % 30}/table{index}.json", contents.texts(contents.size(12000)))
        for language in range(32):
            for index in range(10):
                name = f"{APP}/l{language}.lproj/Screen{index}.strings"
                package.add(name, contents.texts(contents.size(5000)))
        for index in range(12):
            package.add(f"{APP}/Fonts/font{index}.ttf", contents.program(contents.size(150000, 1.5)))
        package.add(f"{APP}/_CodeSignature/CodeResources", contents.texts(600000))


def makeMany(path):
    contents = Contents(2, MEGABYTE)
    with Package(path) as package:
        package.add(f"{APP}/Info.plist", info("Sample"))
        package.add(f"{APP}/sample", contents.program(2 * MEGABYTE), 0o100755)
        for index in range(60000):
            size = contents.generator.randrange(2000)
            package.add(f"{APP}/Items/folder {index % 600}/item {index}.txt", contents.texts(size))


def makeHuge(path):
    """The large entry is one deflated block of 4 MiB, many times over.

    Each copy ends at a byte and refers to nothing before it, so it is deflated only once.
    """
    block = Contents(3).program(4 * MEGABYTE)
    count = 1040
    deflater = zlib.compressobj(6, zlib.DEFLATED, -15)
    deflated = deflater.compress(block) + deflater.flush(zlib.Z_FULL_FLUSH)
    end = zlib.compressobj(6, zlib.DEFLATED, -15).flush()
    checksum = 0
    for _ in range(count):
        checksum = zlib.crc32(block, checksum)
    entries = [
        (f"{APP}/Info.plist", [info("Sample")], 0, len(info("Sample")), zlib.crc32(info("Sample"))),
        (f"{APP}/Data.bin", [deflated] * count + [end], 8, len(block) * count, checksum),
    ]
    with open(path, "wb") as file:
        records = [writeEntry(file, *entry) for entry in entries]
        writeDirectory(file, records)


def writeEntry(file, name, pieces, method, plainSize, checksum):
    """Writes header and data; returns the entry's record in the directory. Sizes are 64 bits wide."""
    offset = file.tell()
    storedSize = sum(map(len, pieces))
    time = DATE[3] << 11 | DATE[4] << 5 | DATE[5] // 2
    date = (DATE[0] - 1980) << 9 | DATE[1] << 5 | DATE[2]
    shared = struct.pack("<HHHHHLLLH", 45, 0, method, time, date, checksum, 0xFFFFFFFF, 0xFFFFFFFF, len(name))
    sizes = struct.pack("<QQ", plainSize, storedSize)
    file.write(b"PK\x03\x04" + shared + struct.pack("<H", 20) + name.encode())
    file.write(struct.pack("<HH", 1, 16) + sizes)
    for piece in pieces:
        file.write(piece)
    return (b"PK\x01\x02" + struct.pack("<H", 3 << 8 | 45) + shared
            + struct.pack("<HHHHLL", 28, 0, 0, 0, 0o100644 << 16, 0xFFFFFFFF)
            + name.encode() + struct.pack("<HH", 1, 24) + sizes + struct.pack("<Q", offset))


def writeDirectory(file, records):
    start = file.tell()
    directory = b"".join(records)
    count = len(records)
    end = start + len(directory)
    file.write(directory)
    file.write(struct.pack("<4sQHHLLQQQQ", b"PK\x06\x06", 44, 45, 45, 0, 0, count, count, len(directory), start))
    file.write(struct.pack("<4sLQL", b"PK\x06\x07", 0, end, 1))
    file.write(struct.pack("<4sHHHHLLH", b"PK\x05\x06", 0, 0, count, count, 0xFFFFFFFF, 0xFFFFFFFF, 0))


MAKERS = {"typical": makeTypical, "many": makeMany, "huge": makeHuge}


def make(folder, name):
    """Makes a package unless it is there; returns its path."""
    path = os.path.join(folder, name + ".ipa")
    if not os.path.exists(path):
        MAKERS[name](path + ".new")
        os.replace(path + ".new", path)
    return path


if __name__ == "__main__":
    for each in sys.argv[2:]:
        print(make(sys.argv[1], each))
