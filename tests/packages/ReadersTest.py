#!/usr/bin/env python3
"""The packages are what they claim to be, as other readers see them"""
import filecmp
import hashlib
import plistlib
import re
import shutil
import struct
import subprocess
import tempfile
import unittest
import zipfile
from pathlib import Path

import localizations
import machO
import packages
import provisioning
import signature


class Packages(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory(prefix="vellomir-")
        self.addCleanup(folder.cleanup)
        self.folder = Path(folder.name)

    def all(self):
        for name, package in packages.PACKAGES.items():
            with self.subTest(name):
                yield package, packages.write(self.folder, name)

    def testZipfileReadsWhatWasWritten(self):
        for package, path in self.all():
            with zipfile.ZipFile(path) as archive:
                self.assertIsNone(archive.testzip())
                found = {info.filename: archive.read(info) for info in archive.infolist() if not info.is_dir()}
            self.assertEqual(found, {name: item.content for name, item in package.files().items()})

    def testUnzipReadsThem(self):
        if not shutil.which("unzip"):
            self.skipTest("unzip is not installed")
        for _, path in self.all():
            subprocess.run(["unzip", "-tqq", path], check=True)

    def testTheSameBytesEachTime(self):
        (self.folder / "again").mkdir()
        for package, path in self.all():
            again = packages.write(self.folder / "again", path.stem)
            self.assertTrue(filecmp.cmp(path, again, shallow=False))

    def testPropertyListsAreRead(self):
        for package, _ in self.all():
            lists = [item.content for name, item in package.files().items() if name.endswith(".plist")]
            self.assertTrue(all(isinstance(plistlib.loads(content), dict) for content in lists))
            info = plistlib.loads(package.files()[f"{package.main}/Info.plist"].content)
            self.assertIn(f"{package.main}/{info['CFBundleExecutable']}", package.files())

    def testPackersDifferOnlyInTheirWays(self):
        def of(name):
            with zipfile.ZipFile(packages.write(self.folder, name)) as archive:
                return archive.infolist()

        plain = packages.PACKAGES["plain"].files()
        for name in ["packed-as-stream", "packed-stored", "packed-with-extras"]:
            self.assertEqual(packages.PACKAGES[name].files(), plain)
        self.assertTrue(all(info.flag_bits & 8 for info in of("packed-as-stream")))
        self.assertFalse(any(info.is_dir() or info.compress_type or info.external_attr >> 16
                             for info in of("packed-stored")))
        self.assertTrue(all(info.extra and info.comment for info in of("packed-with-extras")))
        self.assertEqual([info.filename for info in of("packed-with-extras")],
                         [info.filename for info in of("plain")][::-1])


class Programs(unittest.TestCase):
    def testTheSystemsToolKnowsThem(self):
        if not shutil.which("file"):
            self.skipTest("file is not installed")
        program = machO.Program("com.example.notes")
        for code, words in [(machO.thin(program), "Mach-O 64-bit arm64 executable"),
                            (machO.thin(program, machO.ARMV7), "Mach-O armv7 executable"),
                            (machO.thin(program, machO.ARM64_32), "Mach-O 64_32-bit"),
                            (machO.fat(program), "universal binary with 2 architectures: .*armv7.*arm64")]:
            run = subprocess.run(["file", "-b", "-"], input=code, capture_output=True, check=True)
            self.assertRegex(run.stdout.decode(), words)

    def testEncryptionIsInTheLoadCommands(self):
        for architecture, kind in [(machO.ARM64, 0x2C), (machO.ARMV7, 0x21)]:
            for encryption in [0, 1]:
                commands = loadCommands(machO.thin(machO.Program("a.b", encryption=encryption), architecture))
                self.assertEqual(struct.unpack_from("<L", commands[kind], 16), (encryption,))
            self.assertNotIn(kind, loadCommands(machO.thin(machO.Program("a.b"), architecture)))

    def testSignaturesAreRight(self):
        rights = {"application-identifier": "T.com.example.notes"}
        for architecture in [machO.ARM64, machO.ARMV7, machO.ARM64_32]:
            code = machO.thin(machO.Program("com.example.notes", rights, team="T"), architecture)
            offset, size = struct.unpack_from("<2L", loadCommands(code)[machO.SIGNATURE], 8)
            self.assertEqual(offset + size, len(code))
            blobs = superBlob(code[offset:])
            self.assertEqual(plistlib.loads(blobs[signature.ENTITLEMENTS_SLOT][8:]), rights)
            self.checkDirectory(blobs, code[:offset])

    def checkDirectory(self, blobs, code):
        directory = blobs[signature.DIRECTORY_SLOT]
        hashes, identifier, special, pages, limit = struct.unpack_from(">5L", directory, 16)
        self.assertEqual(limit, len(code))
        self.assertEqual(directory[identifier:].split(b"\0")[0], b"com.example.notes")
        team = struct.unpack_from(">L", directory, 48)[0]
        self.assertEqual(directory[team:].split(b"\0")[0], b"T")
        of = [directory[hashes + 32 * slot:][:32] for slot in range(pages)]
        self.assertEqual(of, [hashlib.sha256(code[slot << 12:(slot + 1) << 12]).digest()
                              for slot in range(pages)])
        self.assertEqual(directory[hashes - 32 * 5:][:32],
                         hashlib.sha256(blobs[signature.ENTITLEMENTS_SLOT]).digest())
        self.assertEqual(special, 5)

    def testSlicesAreWholePrograms(self):
        program = machO.Program("com.example.notes")
        for wide, entry in [(False, ">5L"), (True, ">2L2Q2L")]:
            code = machO.fat(program, wide=wide)
            for number, architecture in enumerate([machO.ARMV7, machO.ARM64]):
                cpu, _, offset, size, align, *_ = struct.unpack_from(entry, code,
                                                                     8 + number * struct.calcsize(entry))
                self.assertEqual((cpu, offset % (1 << align)), (architecture.cpu, 0))
                self.assertEqual(code[offset:offset + size], machO.thin(program, architecture))


class Lists(unittest.TestCase):
    def testEveryFormatSaysTheSame(self):
        self.assertEqual({localizations.formatOf(language) for language, _ in localizations.LANGUAGES},
                         set(localizations.FORMATS))
        self.assertEqual(len(localizations.LANGUAGES), 30)
        values = localizations.strings("Notlar \"2\"")
        for name in ["XML", "binary"]:
            self.assertEqual(plistlib.loads(localizations.FORMATS[name](values)), values)
        for name, encoding in [("UTF-8", "utf-8"), ("UTF-16 LE", "utf-16"), ("UTF-16 BE", "utf-16")]:
            self.assertEqual(oldText(localizations.FORMATS[name](values).decode(encoding)), values)

    def testProfilesHoldTheirListAsItIs(self):
        profile = provisioning.profile("com.example.notes", "T", {"get-task-allow": True})
        text = profile[profile.index(b"<?xml"):profile.index(b"</plist>") + 8]
        self.assertEqual(plistlib.loads(text)["Entitlements"], {"get-task-allow": True})
        if shutil.which("openssl"):
            run = subprocess.run(["openssl", "asn1parse", "-inform", "DER"], input=profile,
                                 capture_output=True, check=True)
            self.assertIn(b"pkcs7-signedData", run.stdout)


def loadCommands(code):
    """Number of the command to its bytes; of several with one number, the last."""
    magic, count = struct.unpack_from("<L12xL", code)
    found, offset = {}, 32 if magic == 0xFEEDFACF else 28
    for _ in range(count):
        kind, size = struct.unpack_from("<2L", code, offset)
        found[kind] = code[offset:offset + size]
        offset += size
    return found


def superBlob(content):
    magic, size, count = struct.unpack_from(">3L", content)
    assert (magic, size) == (0xFADE0CC0, len(content))
    found = {}
    for number in range(count):
        slot, offset = struct.unpack_from(">2L", content, 12 + 8 * number)
        found[slot] = content[offset:offset + struct.unpack_from(">L", content, offset + 4)[0]]
    return found


def oldText(text):
    escapes = {"\\\\": "\\", "\\\"": "\"", "\\n": "\n", "\\t": "\t"}
    pairs = re.findall(r'^"?(\w+)"? = "((?:[^"\\]|\\.)*)";$', text, re.MULTILINE)
    return {key: re.sub(r"\\.", lambda found: escapes[found[0]], value) for key, value in pairs}


if __name__ == "__main__":
    unittest.main()
