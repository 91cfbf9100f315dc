"""vellomir-cli duplicate with --icons and --opaque"""
import struct
import unittest
import zlib

from deep import IDENTIFIER, MAIN, DeepCase
from harness import ICON_NAMES, makePicture

SIZES = dict(zip(ICON_NAMES, [60, 120, 180, 152, 120]))


class Icons(DeepCase):
    KEYS = {"CFBundleIcons~ipad": {"CFBundlePrimaryIcon": {"CFBundleIconName": "AppIcon"}},
            "CFBundleIcons": {"CFBundlePrimaryIcon": {}}, "CFBundleIconFile": "a",
            "CFBundleIconName": "AppIcon", "CFBundleIconFiles~ipad": ["b"],
            "CFBundleIcons-iphoneos~ipad": {}, "CFBundlePrimaryIcon": {}, "CFBundleIconFilesX": "c"}

    def setUp(self):
        super().setUp()
        self.make([("Assets.car", b"BOMStore")], **self.KEYS)
        makePicture(self.folder / "icon.png", 400, 200)

    def testKeysAndSizes(self):
        removed = sorted(set(self.KEYS) - {"CFBundleIcons", "CFBundleIconFilesX"})
        found = self.deeply("--icons", "--icon", "icon.png", icon=True, log=[
            *(f"Scaled {name} to {size} x {size} pixels" for name, size in SIZES.items()),
            *(f"Removed {key} from Info.plist" for key in removed)])
        self.assertEqual(self.mainList(), {**MAIN, "CFBundleIdentifier": IDENTIFIER + "2",
                                           "CFBundleDisplayName": "Notes2", "CFBundleName": "notes2",
                                           "CFBundleIconFiles": ICON_NAMES, "CFBundleIconFilesX": "c"})
        self.assertEqual({name: pixels(content)[:2] for name, content in found.items()},
                         {name: (size, size) for name, size in SIZES.items()})
        rows = pixels(found["icon@3x.png"])[2]
        for row in rows: # the centre of a picture that is red on the left and blue on the right
            self.assertEqual((row[0], row[80], row[-1]), ((255, 0, 0), (255, 0, 0), (0, 0, 255)))

    def testWithoutAnIconDeepLeavesTheKeys(self):
        self.deeply("--deep", log=[])
        kept = set(self.mainList()) & set(self.KEYS)
        self.assertEqual(kept, set(self.KEYS) - {"CFBundleIcons"})

    def testIconsNeedAnIcon(self):
        with self.unchanged():
            for option in ["--icons", "--opaque"]:
                self.assertIn("--icon", self.fail_("duplicate", "app.ipa", "--number", "2", option,
                                                   code=2))

    def testASmallPictureIsEnlarged(self):
        makePicture(self.folder / "small.png", 2, 2)
        self.assertEqual(self.duplicate("--icons", "--icon", "small.png").code, 0)
        found = self.differences("Notes2.ipa")
        self.assertEqual(pixels(found["icon@3x.png"])[:2], (180, 180))

    def testOpaque(self):
        makeClearPicture(self.folder / "clear.png")
        self.assertEqual(self.duplicate("--opaque", "--icon", "clear.png").code, 0)
        found = self.differences("Notes2.ipa")
        self.assertEqual(pixels(found["icon.png"])[2], [[(255, 255, 255)] * 4] * 4)


def pixels(png):
    """Width, height and rows of pixels of a PNG with 8 bits a channel."""
    width, height, _, kind = struct.unpack(">IIBB", png[16:26])
    channels = {2: 3, 6: 4}[kind]
    data, at = b"", 8
    while at < len(png):
        size = int.from_bytes(png[at:at + 4], "big")
        if png[at + 4:at + 8] == b"IDAT":
            data += png[at + 8:at + 8 + size]
        at += size + 12
    raw = zlib.decompress(data)
    rows, previous = [], bytearray(width * channels)
    for y in range(height):
        start = y * (width * channels + 1)
        previous = unfiltered(raw[start], bytearray(raw[start + 1:start + 1 + width * channels]),
                              previous, channels)
        rows.append([tuple(previous[x:x + channels]) for x in range(0, len(previous), channels)])
    return width, height, rows


def unfiltered(kind, row, above, step):
    for index, value in enumerate(row):
        left = row[index - step] if index >= step else 0
        corner = above[index - step] if index >= step else 0
        up = above[index]
        guess = left + up - corner
        paeth = min((abs(guess - left), 0, left), (abs(guess - up), 1, up),
                    (abs(guess - corner), 2, corner))[2]
        row[index] = (value + [0, left, up, (left + up) // 2, paeth][kind]) % 256
    return row


def makeClearPicture(path):
    """A PNG of transparent black pixels."""
    def chunk(kind, data):
        return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))

    header = struct.pack(">IIBBBBB", 4, 4, 8, 6, 0, 0, 0)
    path.write_bytes(b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", header) +
                     chunk(b"IDAT", zlib.compress(bytes(4 * 17))) + chunk(b"IEND", b""))


if __name__ == "__main__":
    unittest.main()
