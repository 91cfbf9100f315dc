#!/usr/bin/env python3
"""Draws the sample's icons: two overlapping cards on a coloured ground.

Run it in this folder after changing a colour or a size; the pictures are kept beside it, so that
building needs no Python.
"""
import struct
import zlib

BUNDLE = "Sample/Payload/Sample.app/"
BLUE, GREEN = (38, 92, 178), (30, 130, 92)


def chunk(kind, content):
    check = zlib.crc32(kind + content)
    return struct.pack(">I", len(content)) + kind + content + struct.pack(">I", check)


def writePicture(path, size, pixelAt):
    rows = b"".join(
        b"\0" + b"".join(bytes(pixelAt(x / size, y / size)) for x in range(size))
        for y in range(size))
    header = struct.pack(">IIBBBBB", size, size, 8, 2, 0, 0, 0)
    with open(path, "wb") as picture:
        picture.write(b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", header)
                      + chunk(b"IDAT", zlib.compress(rows, 9)) + chunk(b"IEND", b""))


def cards(ground):
    """The colour at a place between 0 and 1: the front card, the one behind it, or the ground."""
    def pixelAt(x, y):
        if 0.36 <= x < 0.78 and 0.40 <= y < 0.82:
            return (255, 255, 255)
        if 0.22 <= x < 0.64 and 0.18 <= y < 0.60:
            return tuple((3 * part + 255 * 2) // 5 for part in ground)
        return tuple(round(part * (1 - 0.25 * y)) for part in ground)
    return pixelAt


writePicture(BUNDLE + "AppIcon60x60@2x.png", 120, cards(BLUE))
writePicture(BUNDLE + "AppIcon76x76@2x~ipad.png", 152, cards(BLUE))
writePicture("NewIcon.png", 180, cards(GREEN))
