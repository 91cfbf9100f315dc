"""Files of a few bytes that say they are large pictures: 16,000 pixels wide and high"""
import struct
import zlib

SIDE = 16_000


def chunk(kind, data):
    return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))


def bmp(bits, compression, data):
    header = struct.pack("<IiiHHIIiiII", 40, SIDE, SIDE, 1, bits, compression, 0, 0, 0, 0, 0)
    return b"BM" + struct.pack("<III", 54 + len(data), 0, 54) + header + data


def tiff(order, mark):
    tags = [(256, SIDE), (257, SIDE), (258, 8), (259, 1), (262, 1), (273, 122), (277, 1), (278, SIDE),
            (279, 20)]
    entries = b"".join(struct.pack(order + "HHII", tag, 4, 1, value) for tag, value in tags)
    return mark + struct.pack(order + "HIH", 42, 8, len(tags)) + entries + bytes(4) + b"x" * 20


def webp():
    sides = (16_383 - 1) | (16_383 - 1) << 14
    data = b"\x2f" + struct.pack("<I", sides) + b"\x88\x88\x08\0\0"
    return b"RIFF" + struct.pack("<I", 12 + len(data)) + b"WEBPVP8L" + struct.pack("<I", len(data)) + data


PNG = (b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", struct.pack(">IIBBBBB", SIDE, SIDE, 8, 6, 0, 0, 0)) +
       chunk(b"IDAT", b"\x78\x9c\x63\0\0\0\1\0\1") + chunk(b"IEND", b""))
PICTURES = {
    "PNG": PNG,
    "JPEG": b"\xff\xd8\xff\xc2\0\x0b\x08" + struct.pack(">HH", SIDE, SIDE) + b"\1\1\x11\0"
            b"\xff\xda\0\x08\1\1\0\0\0\0\xff\xd9",
    "GIF": b"GIF89a" + struct.pack("<HH", SIDE, SIDE) + b"\0\0\0,\0\0\0\0" +
           struct.pack("<HH", SIDE, SIDE) + b"\0\2\2D\1\0;",
    "BMP": bmp(24, 0, b"x" * 12),
    "BMP of runs": bmp(8, 1, b"\xff\1\0\1"),
    "ICO": b"\0\0\1\0\1\0" + bytes(8) + struct.pack("<II", len(PNG), 22) + PNG,
    "TIFF": tiff("<", b"II"),
    "TIFF, big-endian": tiff(">", b"MM"),
    "WebP": webp(),
}
