"""Hostile property lists"""
import struct

HEAD = (b'<?xml version="1.0" encoding="UTF-8"?>\n<plist version="1.0"><dict>'
        b"<key>CFBundleIdentifier</key><string>com.example.notes</string>"
        b"<key>CFBundleDisplayName</key><string>Notes</string>"
        b"<key>CFBundleName</key><string>notes</string><key>k</key>")
TAIL = b"</dict></plist>"
MILLION = 1_000_000


def xml(value):
    return HEAD + value + TAIL


def binary(objects):
    """The first object is the top one; references take one byte."""
    offsets, content = [], b"bplist00"
    for item in objects:
        offsets.append(len(content))
        content += item
    table = b"".join(struct.pack(">I", offset) for offset in offsets)
    return content + table + struct.pack(">6xBBQQQ", 4, 1, len(objects), 0, len(content))


def binaryItems(count):
    array = b"\xaf\x12" + struct.pack(">I", count) + b"\3" * count
    return binary([b"\xd1\1\2", b"\x51k", array, b"\x09"])


def deepBinary():
    """Every array holds the next one twice."""
    return binary([b"\xa2" + bytes([level + 1] * 2) for level in range(200)] + [b"\x09"])


LISTS = {
    "returns": xml(b"<string>" + b"\r" * (8 * MILLION) + b"</string>"),
    "ampersands": xml(b"<string>" + b"&amp;" * (2 * MILLION) + b"</string>"),
    "references": xml(b"<string>" + b"&#13;" * (2 * MILLION) + b"</string>"),
    "items": xml(b"<array>" + b"<true/>" * (2 * MILLION) + b"</array>"),
    "32 MB": xml(b"<array>" + b"<true/>" * (5 * MILLION) + b"</array>"),
    "binary items": binaryItems(8 * MILLION),
    "old items": b"{k=(" + b"a," * (4 * MILLION) + b"a);}",
    "deep": xml(b"<array>" * MILLION + b"</array>" * MILLION),
    "deep binary": deepBinary(),
    "deep old": b"{k=" + b"(" * MILLION + b")" * MILLION + b";}",
    "entities": b'<!DOCTYPE plist [<!ENTITY a "aaaaaaaaaa"><!ENTITY b "&a;&a;&a;&a;&a;&a;&a;&a;">]>'
                + xml(b"<string>&b;</string>"),
}
