"""The seeds of pictures: a small one of each format, and what is made of them."""

import base64
import struct
import zlib

# Of 8 by 6 pixels, or 16 by 16 of HEIC; written once by the libraries that read them.
JPEG = base64.b64decode(
    "/9j/4AAQSkZJRgABAQEAZABkAAD/2wBDACgcHiMeGSgjISMtKygwPGRBPDc3PHtYXUlkkYCZlo+AjIqgtObDoKrarYqM"
    "yP/L2u71////m8H////6/+b9//j/2wBDASstLTw1PHZBQXb4pYyl+Pj4+Pj4+Pj4+Pj4+Pj4+Pj4+Pj4+Pj4+Pj4+Pj4"
    "+Pj4+Pj4+Pj4+Pj4+Pj4+Pj4+Pj/wAARCAAGAAgDASIAAhEBAxEB/8QAHwAAAQUBAQEBAQEAAAAAAAAAAAECAwQFBgcI"
    "CQoL/8QAtRAAAgEDAwIEAwUFBAQAAAF9AQIDAAQRBRIhMUEGE1FhByJxFDKBkaEII0KxwRVS0fAkM2JyggkKFhcYGRol"
    "JicoKSo0NTY3ODk6Q0RFRkdISUpTVFVWV1hZWmNkZWZnaGlqc3R1dnd4eXqDhIWGh4iJipKTlJWWl5iZmqKjpKWmp6ip"
    "qrKztLW2t7i5usLDxMXGx8jJytLT1NXW19jZ2uHi4+Tl5ufo6erx8vP09fb3+Pn6/8QAHwEAAwEBAQEBAQEBAQAAAAAA"
    "AAECAwQFBgcICQoL/8QAtREAAgECBAQDBAcFBAQAAQJ3AAECAxEEBSExBhJBUQdhcRMiMoEIFEKRobHBCSMzUvAVYnLR"
    "ChYkNOEl8RcYGRomJygpKjU2Nzg5OkNERUZHSElKU1RVVldYWVpjZGVmZ2hpanN0dXZ3eHl6goOEhYaHiImKkpOUlZaX"
    "mJmaoqOkpaanqKmqsrO0tba3uLm6wsPExcbHyMnK0tPU1dbX2Nna4uPk5ebn6Onq8vP09fb3+Pn6/9oADAMBAAIRAxEA"
    "PwBkNoox0ooornlOSdkyqM5cu5//2Q=="
)
GRAY_JPEG = base64.b64decode(
    "/9j/4AAQSkZJRgABAQEAZABkAAD/2wBDACgcHiMeGSgjISMtKygwPGRBPDc3PHtYXUlkkYCZlo+AjIqgtObDoKrarYqM"
    "yP/L2u71////m8H////6/+b9//j/wAALCAAGAAgBAREA/8QAHwAAAQUBAQEBAQEAAAAAAAAAAAECAwQFBgcICQoL/8QA"
    "tRAAAgEDAwIEAwUFBAQAAAF9AQIDAAQRBRIhMUEGE1FhByJxFDKBkaEII0KxwRVS0fAkM2JyggkKFhcYGRolJicoKSo0"
    "NTY3ODk6Q0RFRkdISUpTVFVWV1hZWmNkZWZnaGlqc3R1dnd4eXqDhIWGh4iJipKTlJWWl5iZmqKjpKWmp6ipqrKztLW2"
    "t7i5usLDxMXGx8jJytLT1NXW19jZ2uHi4+Tl5ufo6erx8vP09fb3+Pn6/9oACAEBAAA/ACKyVDwa/9k="
)
WEBP = base64.b64decode(
    "UklGRkwAAABXRUJQVlA4IEAAAADQAQCdASoIAAYABABoJbACdAD0LxoWAAD+6gBadM6bJZhPilEpU7oDMmfGXndunH0f"
    "yb6JP82wGs6gTX5/MAAA"
)
LOSSLESS_WEBP = base64.b64decode(
    "UklGRkwAAABXRUJQVlA4TEAAAAAvB0ABAJkyRPQ/NhHR/4CCtm0Ywwl/iDscxgMhG0n6dxiIoh7i4oTCpA2YdN7Cs6vE"
    "cDqBI4BDYvQK4BOmsJcB"
)
TIFF = base64.b64decode(
    "SUkqAJgAAAAAAAAeABQ8AChaADx4AFCWAGS0AHjSAIwAKBQeKAA8KDxaKCh4KGSWKFC0KIzSKHgAUCgeUDw8UABaUBR4"
    "UHiWUIy0UFDSUGQAeDweeCg8eBRaeAB4eIyWeHi0eGTSeFAAoFAeoGQ8oHhaoIx4oACWoBS0oCjSoDwAyGQeyFA8yIxa"
    "yHh4yBSWyAC0yDzSyCgOAAABAwABAAAACAAAAAEBAwABAAAABgAAAAIBAwADAAAAVgEAAAMBAwABAAAAAQAAAAYBAwAB"
    "AAAAAgAAABEBBAABAAAACAAAABIBAwABAAAAAQAAABUBAwABAAAAAwAAABYBBAABAAAAqqoCABcBBAABAAAAkAAAABoB"
    "BQABAAAARgEAABsBBQABAAAATgEAABwBAwABAAAAAQAAACgBAwABAAAAAgAAAAAAAABkAAAAAQAAAGQAAAABAAAACAAI"
    "AAgA"
)
HEIC = base64.b64decode(
    "AAAAHGZ0eXBoZWljAAAAAG1pZjFoZWljbWlhZgAAAa1tZXRhAAAAAAAAACFoZGxyAAAAAAAAAABwaWN0AAAAAAAAAAAA"
    "AAAAAAAAAA5waXRtAAAAAAACAAAAEGlkYXQAAAAAABAAEAAAADhpbG9jAQAAAERAAAIAAQAAAAAAAAHRAAEAAAAAAAAA"
    "JQACAAEAAAAAAAAAAQAAAAAAAAAIAAAAOGlpbmYAAAAAAAIAAAAVaW5mZQIAAAEAAQAAaHZjMQAAAAAVaW5mZQIAAAAA"
    "AgAAZ3JpZAAAAADYaXBycAAAALZpcGNvAAAAdmh2Y0MBA3AAAAAAAAAAAAAe8AD8/fj4AAAPAyAAAQAYQAEMAf//A3AA"
    "AAMAkAAAAwAAAwAeugJAIQABACpCAQEDcAAAAwCQAAADAAADAB6gIIEFluqumubgQEDAgAAAAwCAAAADAIQiAAEABkQB"
    "wXPBiQAAABRpc3BlAAAAAAAAAEAAAABAAAAAFGlzcGUAAAAAAAAAEAAAABAAAAAQcGl4aQAAAAADCAgIAAAAGmlwbWEA"
    "AAAAAAAAAgABAoECAAICA4QAAAAaaXJlZgAAAAAAAAAOZGltZwACAAEAAQAAAC1tZGF0AAAAISgBrwQSEhzg+AB5/Why"
    "YYsgoxp9Td0VnUigM6mMkzC+YA=="
)


def chunk(kind, content):
    body = kind + content
    return struct.pack(">I", len(content)) + body + struct.pack(">I", zlib.crc32(body))


def png(width, height, depth, colour, channels, extra=b"", interlaced=False):
    row = b"\0" + bytes(index * 37 % 256 for index in range((width * channels * depth + 7) // 8))
    head = struct.pack(">IIBBBBB", width, height, depth, colour, 0, 0, interlaced)
    return (b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", head) + extra
            + chunk(b"IDAT", zlib.compress(row * height)) + chunk(b"IEND", b""))


def bmp(width, height, bits, pixels, compression=0):
    head = struct.pack("<IiiHHIIiiII", 40, width, height, 1, bits, compression, len(pixels), 0, 0, 0, 0)
    table = b"".join(struct.pack("<I", index * 0x010101) for index in range(1 << bits)) if bits < 9 else b""
    start = 14 + len(head) + len(table)
    return b"BM" + struct.pack("<IHHI", start + len(pixels), 0, 0, start) + head + table + pixels


def ico(width, height, picture):
    return struct.pack("<HHHBBBBHHII", 0, 1, 1, width, height, 0, 0, 1, 32, len(picture), 22) + picture


def gif(width, height, data, screen=None):
    palette = bytes(range(12))
    return (b"GIF89a" + struct.pack("<HHBBB", *(screen or (width, height)), 0x81, 0, 0) + palette
            + b"," + struct.pack("<HHHHB", 0, 0, width, height, 0) + b"\2" + data + b"\0;")


def with_orientation(orientation):
    tiff = b"MM\0*" + struct.pack(">IHHHIHHI", 8, 1, 0x112, 3, 1, orientation, 0, 0)
    exif = b"Exif\0\0" + tiff
    return JPEG[:2] + b"\xff\xe1" + struct.pack(">H", len(exif) + 2) + exif + JPEG[2:]


def pictures():
    palette = chunk(b"PLTE", bytes(range(48)))
    yield "png-rgb", png(8, 6, 8, 2, 3)
    yield "png-rgba", png(8, 6, 8, 6, 4)
    yield "png-deep", png(5, 3, 16, 6, 4)
    yield "png-gray", png(9, 2, 1, 0, 1)
    yield "png-palette", png(8, 6, 4, 3, 1, palette + chunk(b"tRNS", b"\0\x80"))
    yield "png-one", png(1, 1, 8, 2, 3)
    yield "bmp", bmp(4, 3, 24, bytes(range(36)))
    yield "bmp-upright", bmp(4, -3, 32, bytes(range(48)))
    yield "bmp-palette", bmp(8, 2, 8, bytes(range(16)))
    yield "bmp-runs", bmp(8, 2, 8, b"\x08\1\0\0\4\2\4\3\0\1", 1)
    body = bmp(4, 8, 32, bytes(range(64)) + bytes(16))[14:]
    yield "ico", ico(4, 4, body)
    yield "ico-png", ico(8, 6, png(8, 6, 8, 6, 4))
    yield "gif", gif(2, 2, b"\3\x84\x53\2")
    yield "gif-large", gif(60000, 60000, b"\3\x84\x53\2")
    yield "gif-screen", gif(2, 2, b"\3\x84\x53\2", (32770, 2050))
    yield "bmp-large", bmp(30000, 30000, 8, b"\0\1", 1)
    yield "png-large", png(1, 1, 1, 0, 1).replace(struct.pack(">II", 1, 1), struct.pack(">II", 40000, 40000))
    for name, picture in [("jpeg", JPEG), ("jpeg-gray", GRAY_JPEG), ("webp", WEBP),
                          ("webp-lossless", LOSSLESS_WEBP), ("tiff", TIFF), ("heic", HEIC)]:
        yield name, picture
        yield name + "-cut", picture[:len(picture) * 2 // 3]
    for orientation in (2, 5, 6):
        yield f"jpeg-turned{orientation}", with_orientation(orientation)
