"""Hostile archives, record by record"""
import plistlib
import stat
import struct
import zlib

FILE, LINK = stat.S_IFREG | 0o644, stat.S_IFLNK | 0o777


class Archive:
    """Writes local headers and data at once, and the directory at the end."""

    def __init__(self, path):
        self.file = open(path, "wb")
        self.records = []

    def add(self, name, content=b"", mode=FILE, promised=None, packed=None, extra=b""):
        """`packed`: deflated bytes in place of `content`; `promised`: a size that need not be true."""
        method, data = (8, packed) if packed is not None else (0, content)
        size = len(content) if promised is None else promised
        fields = (method, 0, 0x5A21, zlib.crc32(content), len(data), size)
        self.refer(name, self.file.tell(), fields, mode)
        self.file.write(struct.pack("<4sHHHHHLLLHH", b"PK\3\4", 20, 0x800, *fields, len(name), len(extra)))
        self.file.write(name + extra + data)

    def refer(self, name, offset, fields, mode=FILE):
        """A record of the directory alone."""
        self.records.append(struct.pack("<4sHHHHHHLLLHHHHHLL", b"PK\1\2", 0x314, 20, 0x800, *fields,
                                        len(name), 0, 0, 0, 0, mode << 16, offset) + name)

    def finish(self, count=None, comment=b"", claimed=None):
        """`count`: what the end record says; `claimed`: the comment's length that it says."""
        count = len(self.records) if count is None else count
        start = self.file.tell()
        directory = b"".join(self.records)
        length = len(comment) if claimed is None else claimed
        self.file.write(directory + struct.pack("<4sHHHHLLH", b"PK\5\6", 0, 0, count % 65536, count % 65536,
                                                len(directory), start, length) + comment)
        self.file.close()


def deflated(content):
    packer = zlib.compressobj(9, zlib.DEFLATED, -15)
    return packer.compress(content) + packer.flush()


def deflatedZeros(megabytes):
    """The same block again and again; each unpacks to a megabyte."""
    packer = zlib.compressobj(9, zlib.DEFLATED, -15)
    first = packer.compress(bytes(1 << 20)) + packer.flush(zlib.Z_FULL_FLUSH)
    again = packer.compress(bytes(1 << 20)) + packer.flush(zlib.Z_FULL_FLUSH)
    return first + again * (megabytes - 1) + b"\3\0"


def wrongCount(path):
    archive = Archive(path)
    for number in range(70_000):
        archive.add(b"%d" % number)
    archive.finish()  # the end record counts modulo 65,536


def sharedHeader(path):
    archive = Archive(path)
    name, extra = b"n" * 65535, b"zz\xfb\xff" + bytes(65531)
    archive.file.write(struct.pack("<4sHHHHHLLLHH", b"PK\3\4", 20, 0x800, 0, 0, 0x5A21, 0, 0, 0, len(name),
                                   len(extra)) + name + extra)
    for number in range(20_000):
        archive.refer(b"%d" % number, 0, (0, 0, 0x5A21, 0, 0, 0))
    archive.finish()


def alternatingFolders(path):
    archive = Archive(path)
    deep = b"f/" * 1000
    for number in range(20_000):
        archive.add((b"a/" if number % 2 else b"b/") + deep + b"%d" % number)
    archive.finish()


def moreThanPromised(path):
    archive = Archive(path)
    archive.add(b"zeros", promised=10, packed=deflatedZeros(3000))
    archive.finish()


def overlapping(path):
    """Every record leads to the same data."""
    archive = Archive(path)
    packed = deflated(bytes(1 << 20))
    fields = (8, 0, 0x5A21, zlib.crc32(bytes(1 << 20)), len(packed), 0xFFFFFFF0)
    archive.file.write(struct.pack("<4sHHHHHLLLHH", b"PK\3\4", 20, 0x800, *fields, 1, 0) + b"0" + packed)
    for number in range(25_000):
        archive.refer(b"%d" % number, 0, fields)
    archive.finish()


def manyEntries(path):
    archive = Archive(path)
    for number in range(60_000):
        archive.add(b"%0200d" % number)
    archive.finish()


def twoOrders(path):
    """Beside it another archive of the same entries, from the last to the first."""
    for name, order in [(path, range(60_000)), (path.parent / "other", range(59_999, -1, -1))]:
        archive = Archive(name)
        for number in order:
            archive.add(b"%0200d" % number)
        archive.finish()


def onePath(path):
    """Sixty thousand entries of one path; beside it one more."""
    for name, count in [(path, 60_000), (path.parent / "other", 60_001)]:
        archive = Archive(name)
        for number in range(count):
            archive.add(b"n" * 200, b"%d" % (number % 10))
        archive.finish()


def twoBombs(path, megabytes=1000, promised=None):
    """Beside it another archive of the same zeros, deflated in another way."""
    block = bytes(1 << 20)
    checksum = 0
    for _ in range(megabytes):
        checksum = zlib.crc32(block, checksum)
    packed = deflatedZeros(megabytes)
    size = megabytes << 20 if promised is None else promised
    for name, data in [(path, packed), (path.parent / "other", b"\0\0\0\xff\xff" + packed)]:
        archive = Archive(name)
        for entry in [b"first", b"second"]:
            fields = (8, 0, 0x5A21, checksum, len(data), size)
            archive.refer(entry, archive.file.tell(), fields)
            archive.file.write(struct.pack("<4sHHHHHLLLHH", b"PK\3\4", 20, 0x800, *fields, len(entry), 0))
            archive.file.write(entry + data)
        archive.finish()


def longComment(path):
    archive = Archive(path)
    archive.add(b"file", b"text")
    archive.finish(comment=b"c" * 65535)


def commentBeyondTheEnd(path):
    archive = Archive(path)
    archive.add(b"file", b"text")
    archive.finish(claimed=65535)


def bytesBehindTheEnd(path):
    archive = Archive(path)
    archive.add(b"file", b"text")
    archive.finish()
    with open(path, "ab") as file:
        file.truncate(file.tell() + (100 << 20))


def sparse(path):
    with open(path, "wb") as file:
        file.truncate(200 << 30)


def fourGigabytes(path):
    """An archive behind 4 GB of zeros, to be read into memory."""
    archive = Archive(path)
    archive.file.truncate(4 << 30)
    archive.file.seek(4 << 30)
    archive.records = []
    archive.file.write(struct.pack("<4sHHHHLLH", b"PK\5\6", 0, 0, 0, 0, 0, 0, 0))
    archive.file.close()


# --- Packages --------------------------------------------------------------------------------------

INFO = {"CFBundleIdentifier": "com.example.notes", "CFBundleDisplayName": "Notes", "CFBundleName": "notes"}
APP = b"Payload/Notes.app/"


def package(path, infoPlist=None):
    archive = Archive(path)
    content = plistlib.dumps(INFO) if infoPlist is None else infoPlist
    archive.add(APP + b"Info.plist", content, packed=deflated(content))
    archive.finish()


def chainOfLinks(path):
    """Forty links, each to the next one by way of 650 folders down and up again."""
    archive = Archive(path)
    way = b"f/" * 650 + b"../" * 650
    archive.add(APP + b"f/" * 650 + b"x")
    for number in range(40):
        name = b"Info.plist" if number == 0 else b"l%d" % number
        archive.add(APP + name, way + b"l%d" % (number + 1), LINK)
    archive.add(APP + b"l40", plistlib.dumps(INFO))
    archive.finish()


def halfDamaged(path):
    """Of 24 files the ninth is encrypted."""
    archive = Archive(path)
    archive.add(APP + b"Info.plist", plistlib.dumps(INFO))
    for number in range(23):
        archive.add(APP + b"%d" % number, b"text")
    record = bytearray(archive.records[8])
    record[8] |= 1
    archive.records[8] = bytes(record)
    archive.finish()
