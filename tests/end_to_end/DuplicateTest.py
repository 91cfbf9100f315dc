"""vellomir-cli duplicate, when all goes well"""
import json
import os
import plistlib
import subprocess
import unittest
import zipfile

from harness import (ICON_NAMES, PROGRAM, Case, infoPlist, lines, makePackage, makePicture, makeZip,
                     packageEntries, snapshot, successLog)

PLIST = "Payload/Notes.app/Info.plist"


class Duplicate(Case):
    def setUp(self):
        super().setUp()
        makePackage(self.folder / "app.ipa")
        (self.folder / "out").mkdir()

    def duplicate(self, *arguments, number="2", **options):
        return self.succeed("duplicate", "app.ipa", "--number", number, *arguments, **options)

    def contents(self, name):
        with zipfile.ZipFile(self.folder / name) as package:
            self.assertIsNone(package.testzip())
            return {info.filename: package.read(info) for info in package.infolist()}

    def testTheLogAndTheResult(self):
        self.assertEqual(self.duplicate("--output", "out"), lines(*successLog("2")))
        self.assertEqual(os.listdir(self.folder / "out"), ["Notes2.ipa"])
        found = self.contents("out/Notes2.ipa")
        plist = plistlib.loads(found.pop(PLIST))
        self.assertEqual(plist, {
            "CFBundleIdentifier": "com.example.notes2", "CFBundleDisplayName": "Notes2",
            "CFBundleName": "notes2", "CFBundleIconFiles": ICON_NAMES, "LSRequiresIPhoneOS": True})
        expected = {name: content for name, content, *_ in packageEntries() if name != PLIST}
        self.assertEqual(found, expected)

    def testEntriesAreStored(self):
        self.duplicate("--output", "out")
        with zipfile.ZipFile(self.folder / "out/Notes2.ipa") as package:
            self.assertEqual({info.compress_type for info in package.infolist()}, {0})

    def testIntoTheCurrentFolder(self):
        self.succeed("duplicate", "../app.ipa", "--number", "2", cwd=self.folder / "out")
        self.assertEqual(os.listdir(self.folder / "out"), ["Notes2.ipa"])

    def testUnderAName(self):
        self.duplicate("--output", "out/my copy.ipa")
        self.assertEqual(os.listdir(self.folder / "out"), ["my copy.ipa"])

    def testThroughALinkToAFolder(self):
        os.symlink("out", self.folder / "link")
        self.duplicate("--output", "link")
        self.assertEqual(os.listdir(self.folder / "out"), ["Notes2.ipa"])

    def testThePackageStaysAsItIs(self):
        with self.unchanged():
            self.duplicate("--output", "out")
            os.unlink(self.folder / "out/Notes2.ipa")

    def testAnyTextIsANumber(self):
        for number in ["-copy", "--json", "ü"]:
            self.assertEqual(self.duplicate("--output", "out", number=number),
                             lines(*successLog(number)))
            self.assertIn(f"Notes{number}.ipa", os.listdir(self.folder / "out"))

    def testAnEmptyNumberChangesNoName(self):
        for arguments in [["--number", ""], ["--number="]]:
            result = self.cli("duplicate", "app.ipa", "--output", "out", "--force", *arguments)
            self.assertEqual((result.code, result.out), (0, lines(*successLog(""))))
            plist = plistlib.loads(self.contents("out/Notes.ipa")[PLIST])
            self.assertEqual(plist["CFBundleIdentifier"], "com.example.notes")

    def testAnIcon(self):
        makePicture(self.folder / "icon.png", 40, 20)
        self.assertEqual(self.duplicate("--output", "out", "--icon", "icon.png"),
                         lines(*successLog("2", icon=True)))
        found = self.contents("out/Notes2.ipa")
        icons = {found[f"Payload/Notes.app/{name}"] for name in ICON_NAMES}
        self.assertEqual(len(icons), 1)
        self.assertEqual(pngSize(icons.pop()), (40, 20))

    def testZoomCropsTheIcon(self):
        makePicture(self.folder / "icon.png", 40, 20)
        self.duplicate("--output", "out", "--icon", "icon.png", "--zoom")
        self.assertEqual(pngSize(self.contents("out/Notes2.ipa")["Payload/Notes.app/icon.png"]),
                         (20, 20))

    def testJson(self):
        found = json.loads(self.duplicate("--output", "out", "--json"))
        result = str(self.folder / "out/Notes2.ipa")
        self.assertEqual(list(found), ["log", "errorMessage", "result", "warnings"])
        self.assertEqual(found, {"log": successLog("2"), "result": result, "warnings": [],
                                 "errorMessage": f"Zipped IPA file: file://{result}"})

    def testQuiet(self):
        self.assertEqual(self.duplicate("--output", "out", "--quiet"), "")
        self.assertEqual(os.listdir(self.folder / "out"), ["Notes2.ipa"])

    def testQuietJsonIsStillAnObject(self):
        self.assertEqual(json.loads(self.duplicate("--output", "out", "--quiet", "--json"))["log"],
                         successLog("2"))

    def testForceReplaces(self):
        self.write("out/Notes2.ipa", "old")
        self.duplicate("--output", "out", "--force")
        self.assertIn(PLIST, self.contents("out/Notes2.ipa"))

    def testForceReplacesThePackageItself(self):
        self.duplicate("--output", "app.ipa", "--force")
        self.assertEqual(plistlib.loads(self.contents("app.ipa")[PLIST])["CFBundleName"], "notes2")

    def testTheModeIsThatOfAnyNewFile(self):
        for mask, mode in [(0o022, 0o644), (0o077, 0o600), (0o002, 0o664)]:
            old = os.umask(mask)
            self.duplicate("--output", "out", "--force")
            os.umask(old)
            self.assertEqual((self.folder / "out/Notes2.ipa").stat().st_mode & 0o7777, mode)

    def testSeveralAtOnceInOneFolder(self):
        runs = [subprocess.Popen([PROGRAM, "duplicate", "app.ipa", "--number", str(number), "--output",
                                  "out", "--quiet"], cwd=self.folder) for number in range(8)]
        self.assertEqual([run.wait() for run in runs], [0] * 8)
        self.assertEqual(sorted(os.listdir(self.folder / "out")),
                         [f"Notes{number}.ipa" for number in range(8)])
        for number in range(8):
            plist = plistlib.loads(self.contents(f"out/Notes{number}.ipa")[PLIST])
            self.assertEqual(plist["CFBundleDisplayName"], f"Notes{number}")

    def testFoldersWithoutWritePermissionAreNoHindrance(self):
        entries = packageEntries()
        entries[1] = ("Payload/Notes.app/", b"", 0o040755)
        entries.append(("Payload/Notes.app/sealed/", b"", 0o040555))
        entries.append(("Payload/Notes.app/sealed/file", b"x", 0o100444))
        makeZip(self.folder / "app.ipa", entries)
        self.duplicate("--output", "out", **self.asUser())
        self.assertEqual(os.listdir(self.folder / "out"), ["Notes2.ipa"])

    def testAnotherNameOfTheBundle(self):
        makePackage(self.folder / "app.ipa", infoPlist(CFBundleDisplayName="Ü \u009b2J\n"))
        log = self.duplicate("--output", "out")
        self.assertIn("\nNew App Name: Ü \u009b2J\n2\n", log)
        self.assertEqual(list(snapshot(self.folder / "out")), ["Ü \u009b2J\n2.ipa"])


def pngSize(content):
    return (int.from_bytes(content[16:20], "big"), int.from_bytes(content[20:24], "big"))


if __name__ == "__main__":
    unittest.main()
