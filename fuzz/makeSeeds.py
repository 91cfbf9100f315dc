#!/usr/bin/env python3
"""Writes the seeds of every fuzzer: FOLDER/TARGET/* and FOLDER/TARGET.list with their names.

Made by Python's own modules, so that they show what other programs write.
"""

import datetime
import io
import os
import plistlib
import random
import struct
import sys
import zipfile
import zlib

from pictureSeeds import pictures

TEXT = b"The quick brown fox jumps over the lazy dog. " * 20


def raw_deflate(plain, level=6, strategy=zlib.Z_DEFAULT_STRATEGY):
    stream = zlib.compressobj(level, zlib.DEFLATED, -15, 8, strategy)
    return stream.compress(plain) + stream.flush()


def entry(name, content=b"", mode=0o100644, method=zipfile.ZIP_STORED):
    info = zipfile.ZipInfo(name, (2021, 3, 4, 5, 6, 8))
    info.external_attr = mode << 16
    info.create_system = 3
    info.compress_type = method
    return info, content


def archive(entries, comment=b"", force_zip64=False, as_stream=False):
    file = io.BytesIO()
    if as_stream:  # which cannot be sought, so sizes come behind the data
        file.seekable = lambda: False
    with zipfile.ZipFile(file, "w") as output:
        output.comment = comment
        for info, content in entries:
            with output.open(info, "w", force_zip64=force_zip64) as item:
                item.write(content)
    return file.getvalue()


def archives():
    deflated = zipfile.ZIP_DEFLATED
    package = [
        entry("Payload/", mode=0o040755),
        entry("Payload/Sample.app/", mode=0o040755),
        entry("Payload/Sample.app/Info.plist", plistlib.dumps({"CFBundleName": "Sample"})),
        entry("Payload/Sample.app/Sample", TEXT, 0o100755, deflated),
        entry("Payload/Sample.app/empty", b"", 0o100600, deflated),
        entry("Payload/Sample.app/link", b"Sample", 0o120777),
    ]
    yield "empty", archive([])
    yield "stored", archive([entry("a", b"content")])
    remarks = [entry("a", b"content"), entry("b", b"other"), entry("c")]
    for info, _ in remarks:
        info.comment = b"remark on " + info.filename.encode()
    yield "remarks", archive(remarks)
    yield "deflated", archive([entry("a", TEXT, method=deflated)])
    yield "package", archive(package)
    yield "comment", archive(package[:1], b"comment with PK\5\6 in it")
    yield "zip64", archive([entry("a", b"content")], force_zip64=True)
    yield "descriptor", archive(package, as_stream=True)
    yield "descriptor64", archive(package[:4], force_zip64=True, as_stream=True)
    yield "prefix", b"#!/bin/sh\n" + archive([entry("a", b"content")])
    yield "end-in-front", bytes(22) + struct.pack("<IHHHHIIH", 0x06054B50, 0, 0, 0, 0, 0, 48, 0) + bytes(26)
    yield "names", archive([entry(name) for name in ("ä", "a\\b", "a//b", "./a", "a/./b", " ", "x" * 300)])
    yield "damaged", archive(package).replace(b"quick", b"quack").replace(b"Sample.app/link", b"Sample.app/\xff\xff\xff\xff")


def escapes():
    root = "/vellomir--root"
    link = 0o120777
    yield "parent", archive([entry("../outside/x", b"x"), entry("a", b"a")])
    yield "inner-parent", archive([entry("a/../../outside/x", b"x")])
    yield "overwrite", archive([entry("../outside/file", b"x")])
    yield "absolute", archive([entry(root + "/outside/x", b"x")])
    yield "link-and-file", archive([entry("l", b"../outside", link), entry("l/x", b"x")])
    yield "absolute-link", archive([entry("l", (root + "/outside").encode(), link), entry("l/x", b"x")])
    yield "link-to-file", archive([entry("l", b"../outside/file", link), entry("l", b"x")])
    yield "link-by-link", archive([entry("l", b"../outside", link), entry("l/x", b"x", link)])
    # "kept" is there and "o" leads outside from the start.
    yield "old-file", archive([entry("kept", b"x")])
    yield "old-file-folder", archive([entry("kept/", mode=0o040111), entry("kept/x", b"x")])
    yield "old-link-file", archive([entry("o/x", b"x")])
    yield "old-link-overwrite", archive([entry("o/file", b"x")])
    yield "old-link-folder", archive([entry("o/d/", mode=0o040755)])
    yield "old-link-link", archive([entry("o/l", b"x", link)])
    yield "old-link-mode", archive([entry("o/", mode=0o040111)])
    yield "link-twice", archive([entry("d/l", b"..", link), entry("d/l/l2", b"../outside", link), entry("d/l/l2/x/", mode=0o040700)])
    yield "link-over-folder", archive([entry("d/", mode=0o040755), entry("d", b"../outside", link), entry("d/x", b"x")])
    yield "folder-by-link", archive([entry("l", b"../outside", link), entry("l/", mode=0o040700)])
    yield "dots", archive([entry(".."), entry("."), entry("/"), entry("a/.."), entry("a/../b", b"b")])
    yield "modes", archive([entry("d/", mode=0o040000), entry("d/f", b"f", 0o100000), entry("s", b"s", 0o107777)])


def records():
    name = b"name"
    zip64 = struct.pack("<HHQQ", 1, 16, 1 << 33, 1 << 32)
    offset = struct.pack("<HHQ", 1, 8, 1 << 33)
    other = struct.pack("<HH4s", 0x5455, 4, b"time")
    full = 0xFFFFFFFF
    for index, extra in enumerate((b"", zip64, other + zip64)):
        size = full if extra else 7
        yield f"local{index}", b"\0" + struct.pack("<IHHHHHIIIHH", 0x04034B50, 45, 2048, 8, 1, 2, 3, size, size, 4, len(extra)) + name + extra
        yield f"central{index}", b"\1" + struct.pack("<IHHHHHHIIIHHHHHII", 0x02014B50, 789, 45, 2048, 8, 1, 2, 3, size, size, 4, len(extra), 3, 0, 0, 0, 5) + name + extra + b"com"
        yield f"moved{index}", b"\10" + struct.pack("<IHHHHHHIIIHHHHHII", 0x02014B50, 789, 45, 2048, 8, 1, 2, 3, size, size, 4, len(extra), 0, 0, 0, 0, 5) + name + extra
    yield "offset", b"\10" + struct.pack("<IHHHHHHIIIHHHHHII", 0x02014B50, 789, 45, 2048, 0, 1, 2, 3, 7, 7, 4, 12, 0, 0, 0, 0, full) + name + offset
    yield "descriptor", b"\2" + struct.pack("<IIII", 0x08074B50, 1, 2, 3)
    yield "bare-descriptor", b"\2" + struct.pack("<IIII", 1, 2, 3, 4)
    yield "descriptor64", b"\3" + struct.pack("<IIQQ", 0x08074B50, 1, 2, 3)
    yield "end", b"\4" + struct.pack("<IHHHHIIH", 0x06054B50, 0, 0, 1, 1, 46, 30, 2) + b"hi"
    yield "end64", b"\5" + struct.pack("<IQHHIIQQQQ", 0x06064B50, 44, 789, 45, 0, 0, 1, 1, 46, 30)
    yield "locator", b"\6" + struct.pack("<IIQI", 0x07064B50, 0, 76, 1)
    yield "field", b"\7\3" + other + zip64
    yield "field-offset", b"\7\4" + offset
    yield "field-all", b"\7\17" + struct.pack("<HHQQQI", 1, 28, 1, 1, 1, 1)


def stream_head(buffer_size, cut=0xFFFF):
    return bytes([buffer_size]) + struct.pack("<HH", cut, 4711)


def streams():
    noise = random.Random(4711).randbytes(2000)
    plains = {"nothing": b"", "text": TEXT, "zeros": bytes(5000), "noise": noise, "twice": noise * 2}
    for name, plain in plains.items():
        for level in (0, 1, 6, 9):
            stream = raw_deflate(plain, level)
            yield f"{name}-{level}", stream_head(5, len(stream) // 2) + stream
        yield f"{name}-fixed", stream_head(1) + raw_deflate(plain, 6, zlib.Z_FIXED)
        yield f"{name}-huffman", stream_head(2) + raw_deflate(plain, 6, zlib.Z_HUFFMAN_ONLY)
    yield "bomb", stream_head(5) + raw_deflate(bytes(2 << 20))
    yield "trailing", stream_head(3) + raw_deflate(TEXT) + b"trailing bytes"
    yield "bad-distance", stream_head(5) + b"\3\2\0"
    # After this one, an inflater claimed to have handed back more than it was given.
    yield "miscounted", stream_head(3) + bytes.fromhex(
        "0bc94855282ccd4cce56482aca2fcf5348cbca2fcf5348cbaf50c82acd2d2856c82f4b2d5228014ae72456"
        "552aa4e4a7eb29848c2a1e553c32aada8a8a01747261696c696573"
    )


def property_lists():
    content = {
        "CFBundleIdentifier": "com.example.sample",
        "CFBundleName": "Sämple & <more>",
        "CFBundleIconFiles": ["icon.png", "icon@2x.png"],
        "CFBundleIcons": {"CFBundlePrimaryIcon": {"CFBundleIconName": "AppIcon"}},
        "Number": -1,
        "Big": 1 << 63,
        "Real": 1.5,
        "Flag": True,
        "Bytes": b"\0\1\2",
    }
    xml = plistlib.dumps(content)
    yield "xml", xml
    yield "binary", plistlib.dumps(content, fmt=plistlib.FMT_BINARY)
    yield "utf16", xml.decode().replace("UTF-8", "UTF-16").encode("utf-16")
    yield "bom", b"\xef\xbb\xbf" + xml
    yield "old", b'{ CFBundleName = "S\\U00e4mple"; list = (1, "two", <00ff>); "a b" = { c = d; }; }'
    yield "nothing", b"<plist version='1.0'><dict/></plist>"
    yield "array", plistlib.dumps([1, 2])
    yield "never", xml.replace(b"1.5", b"-0.0").replace(b"<true/>", b"<date>0001-01-01T00:00:00Z</date>")
    yield "uid", plistlib.dumps({"a": plistlib.UID(1 << 40), "b": {"CF$UID": 3}, "c": {"d": plistlib.UID(0)}}, fmt=plistlib.FMT_BINARY)
    yield "moment", plistlib.dumps({"a": datetime.datetime(2001, 1, 1, 0, 0, 0, 500000)}, fmt=plistlib.FMT_BINARY)
    yield "twice", b"<dict><key>a</key><true/><key>a</key><false/></dict>"
    yield "latin1", b"<?xml version='1.0' encoding='ISO-8859-1'?><dict><key>\xe9</key><string>\xe9&#13;</string></dict>"
    yield "gbk", b"<?xml version='1.0' encoding='GBK'?><dict><key>k</key><string>\xd6\xd0</string></dict>"
    yield "control", b'{ k = "a\r\\001\\377"; }'
    yield "cut-escape", b'{ CFBundleName = "S\\U00'
    yield "no-entity", b"<plist><dict><key>a</key><string>&;</string></dict></plist>"
    yield "entities", b"<plist><dict><key>a&amp;b</key><string>&#x41;&lt;<![CDATA[<x>]]></string></dict></plist>"


def large():
    """ZIP64 fields with small values, in the directory and in the local header."""
    content = b"content"
    checksum = zlib.crc32(content)
    full = 0xFFFFFFFF
    field = struct.pack("<HHQQ", 1, 16, 7, 7)
    local = struct.pack("<IHHHHHIIIHH", 0x04034B50, 45, 2048, 0, 1, 33, checksum, full, full, 1, 20) + b"a" + field + content
    wide = struct.pack("<HHQQQ", 1, 24, 7, 7, 0)
    for name, extra, offset in (("sizes", field, 0), ("offset", wide, full)):
        record = struct.pack("<IHHHHHHIIIHHHHHII", 0x02014B50, 789, 45, 2048, 0, 1, 33, checksum, full, full, 1, len(extra), 0, 0, 0, 0o100644 << 16, offset) + b"a" + extra
        start = len(local)
        end64 = struct.pack("<IQHHIIQQQQ", 0x06064B50, 44, 789, 45, 0, 0, 1, 1, len(record), start)
        locator = struct.pack("<IIQI", 0x07064B50, 0, start + len(record), 1)
        end = struct.pack("<IHHHHIIH", 0x06054B50, 0, 0, 0xFFFF, 0xFFFF, full, full, 0)
        yield f"large-{name}", local + record + end64 + locator + end


def with_head(head, maker):
    def changed():
        for name, content in maker():
            yield name, head + content
    return changed


def changes():
    adding = bytes([0, 1, 5, 2, 7, 4, 1, 12, 130])
    removing = bytes([5, 1, 2, 6, 0, 3, 5, 2, 5])
    failing = bytes([3, 1, 9, 4, 2, 8, 5, 0, 1])
    for kind, steps in (("add", adding), ("remove", removing), ("fail", failing), ("mixed", adding + removing), ("again", failing + adding)):
        for maker in (archives, large):
            for name, content in maker():
                yield f"{kind}-{name}", bytes([len(steps) // 3 - 1]) + steps + content


def texts():
    def text(content):
        return bytes([len(content)]) + content

    plain = text(b"Payload/A.app/Info.plist") + text("ä €😀".encode()) + text(b"\x1b[2J\r\n\x07\x7f")
    broken = text(b"a\xff\xc3(\xe2\x82\xed\xa0\x80\xf4\x90\x80\x80") + text(b"\xc2\x9b31m\xc2") + text(b"\"\\/\0</script>")
    hidden = text(b"/home/a/.vellomir-x1/b: why /.vellomir/.vellomir-1-2") + text(b"Documents/A/unzipped/Payload/x") + text(b"tmp/rest")
    for index, content in enumerate((plain, broken, hidden)):
        for kind in range(4):
            yield f"{index}-{kind}", bytes([kind, 17 * kind]) + content + bytes(range(40))
    yield "nothing", b""


def programs():
    def command(kind, *fields):
        return struct.pack(f"<{len(fields) + 2}L", kind, 8 + 4 * len(fields), *fields)

    def blob(magic, content):
        return struct.pack(">2L", magic, 8 + len(content)) + content

    rights = plistlib.dumps({"application-identifier": "T.a", "keychain-access-groups": ["T.b"]})
    directory = blob(0xFADE0C02, struct.pack(">11L", 0x20200, 2, 0, 52, 0, 0, 0, 0, 0, 0, 54) + b"a\0T\0")
    index = struct.pack(">5L", 2, 0, 28, 5, 28 + len(directory))
    signature = blob(0xFADE0CC0, index + directory + blob(0xFADE7171, rights))

    def thin(cpu, wide, cryptid):
        info = command(0x2C, 0, 0, cryptid, 0) if wide else command(0x21, 0, 0, cryptid)
        size = len(info) + 16
        end = (32 if wide else 28) + size + 40
        head = struct.pack("<7L", 0xFEEDFACF if wide else 0xFEEDFACE, cpu, 0, 2, 2, size, 0)
        return (head + bytes(4 if wide else 0) + info + command(0x1D, end, len(signature)) + bytes(40) + signature)

    yield "thin", thin(0x0100000C, True, 1)
    yield "thin32", thin(12, False, 0)
    first, second = thin(12, False, 1), thin(0x0100000C, True, 0)
    places = (100, len(first)), (100 + len(first), len(second))
    for wide in (False, True):
        table = struct.pack(">2L", 0xCAFEBABF if wide else 0xCAFEBABE, 2)
        for place in places:
            table += struct.pack(">2L2Q2L", 12, 0, *place, 0, 0) if wide else struct.pack(">5L", 12, 0, *place, 0)
        yield f"fat{wide}", table.ljust(100, b"\0") + first + second
    yield "big-endian", struct.pack(">7L", 0xFEEDFACE, 18, 0, 2, 1, 20, 0) + struct.pack(">5L", 0x21, 20, 0, 0, 1)
    yield "java", bytes.fromhex("cafebabe00000034") + bytes(40)
    yield "text", b"no program"


TARGETS = {
    "Records": [records],
    "Inflate": [streams],
    "Walking": [archives, large],
    "EntryData": [with_head(b"\6\0\3\0", archives), with_head(b"\1\2\0\1", large)],
    "Archive": [archives, large],
    "Change": [changes],
    "Extraction": [archives, escapes],
    "PropertyList": [property_lists],
    "Inspection": [programs],
    "Pictures": [pictures],
    "Text": [texts],
}


def main(folder):
    for target, makers in TARGETS.items():
        directory = os.path.join(folder, target)
        os.makedirs(directory, exist_ok=True)
        paths = []
        for maker in makers:
            for name, content in maker():
                paths.append(os.path.join(directory, name))
                with open(paths[-1], "wb") as file:
                    file.write(content)
        with open(os.path.join(folder, target + ".list"), "w") as file:
            file.write(",".join(paths))


if __name__ == "__main__":
    main(sys.argv[1])
