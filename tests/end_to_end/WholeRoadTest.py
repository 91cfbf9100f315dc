"""From a package that another program made to a copy that every program reads

Every file but Info.plist and the icons comes through byte by byte, with its mode; links stay links.
"""
import os
import plistlib
import subprocess
import unittest
import zipfile

from harness import (ICON_NAMES, Case, infoPlist, lines, makePicture, snapshot, successLog, zipInfo)

APP = "Payload/Notes.app"
CHANGED = {f"{APP}/Info.plist", *(f"{APP}/{name}" for name in ICON_NAMES)}


class WholeRoad(Case):
    def setUp(self):
        super().setUp()
        app = f"src/{APP}"
        self.write(f"{app}/Info.plist", infoPlist())
        self.write(f"{app}/Notes", os.urandom(300_000), 0o755)
        self.write(f"{app}/read only", "r", 0o444)
        self.write(f"{app}/empty")
        self.write(f"{app}/icon.png", "the old icon")
        self.write(f"{app}/text.txt", "the same again " * 10_000, 0o640)
        self.write(f"{app}/de.lproj/Grüße – 你好 😀.strings", "x")
        self.write(f"{app}/Frameworks/F.framework/Versions/A/F", os.urandom(1000), 0o755)
        (self.folder / app / "Nothing").mkdir()
        os.symlink("A", self.folder / app / "Frameworks/F.framework/Versions/Current")
        os.symlink("Versions/Current/F", self.folder / app / "Frameworks/F.framework/F")
        os.symlink("../../nowhere", self.folder / app / "dangling")
        makePicture(self.folder / "icon.png")

    # --- Those that pack ---------------------------------------------------------------------------

    def byZip(self):
        subprocess.run(["zip", "-qry", "../app.ipa", "Payload"], cwd=self.folder / "src", check=True)

    def bySevenZip(self):
        subprocess.run(["7z", "a", "-tzip", "-snl", "-mcu=on", "../app.ipa", "Payload"], check=True,
                       cwd=self.folder / "src", stdout=subprocess.DEVNULL)

    def byBsdtar(self):
        subprocess.run(["bsdtar", "-cf", "../app.ipa", "--format", "zip", "Payload"], check=True,
                       cwd=self.folder / "src")

    def byPython(self):
        with zipfile.ZipFile(self.folder / "app.ipa", "w", zipfile.ZIP_DEFLATED) as package:
            for path in sorted((self.folder / "src").rglob("*")):
                name = str(path.relative_to(self.folder / "src"))
                mode = path.lstat().st_mode
                if path.is_symlink():
                    package.writestr(zipInfo(name, mode), os.readlink(path))
                elif path.is_dir():
                    package.writestr(zipInfo(name + "/", mode), b"")
                else:
                    package.writestr(zipInfo(name, mode, zipfile.ZIP_DEFLATED), path.read_bytes())

    def encoding(self):
        """The option for a package whose names are UTF-8 but not marked as such."""
        with zipfile.ZipFile(self.folder / "app.ipa") as package:
            isMarked = any(info.flag_bits & 0x800 for info in package.infolist())
        return [] if isMarked else ["--encoding", "utf-8"]

    # --- Those that read ---------------------------------------------------------------------------

    def checkByReferees(self, name):
        for referee in [["unzip", "-tqq"], ["7z", "t"], ["bsdtar", "-xOf"], ["zip", "-qT"]]:
            run = subprocess.run([*referee, name], cwd=self.folder, check=False, capture_output=True)
            self.assertEqual(run.returncode, 0, (referee, run.stderr))
        with zipfile.ZipFile(self.folder / name) as package:
            self.assertIsNone(package.testzip())
            self.assertEqual({info.filename.split("/")[0] for info in package.infolist()},
                             {"Payload"})
        self.assertIn("no problems", self.succeed("archive", "test", name))

    def check(self, icon):
        arguments = ["--icon", "icon.png"] if icon else []
        out = self.succeed("duplicate", "app.ipa", "--number", "2", *arguments, *self.encoding())
        self.assertEqual(out, lines(*successLog("2", icon)))
        self.checkByReferees("Notes2.ipa")
        subprocess.run(["unzip", "-q", "Notes2.ipa", "-d", "theirs"], cwd=self.folder, check=True)
        before = snapshot(self.folder / "src")
        after = snapshot(self.folder / "theirs")
        kept = {name: item for name, item in after.items() if name not in CHANGED}
        self.assertEqual(kept, {name: item for name, item in before.items() if name not in CHANGED})
        self.checkChanged(after, before, icon)

    def checkChanged(self, after, before, icon):
        plist = self.folder / "theirs" / APP / "Info.plist"
        self.assertTrue(plist.read_bytes().startswith(b"<?xml"))
        values = plistlib.loads(plist.read_bytes())
        self.assertEqual(values["CFBundleIdentifier"], "com.example.notes2")
        self.assertEqual(values["CFBundleIconFiles"], ICON_NAMES)
        icons = {name for name in after if name.removeprefix(APP + "/") in ICON_NAMES}
        self.assertEqual(len(icons), 5 if icon else 1)
        old = before[f"{APP}/icon.png"]
        self.assertEqual([name for name in icons if after[name] == old],
                         [] if icon else [f"{APP}/icon.png"])

    # --- The road -----------------------------------------------------------------------------------

    def testPackagesOfOthers(self):
        for pack in [self.byZip, self.bySevenZip, self.byBsdtar, self.byPython]:
            for icon in [False, True]:
                with self.subTest(pack=pack.__name__, icon=icon):
                    subprocess.run(["rm", "-rf", "app.ipa", "Notes2.ipa", "theirs"],
                                   cwd=self.folder, check=True)
                    pack()
                    self.check(icon)

    def testACopyOfACopy(self):
        self.byZip()
        self.succeed("duplicate", "app.ipa", "--number", "2", "--output", "two.ipa",
                     *self.encoding())
        self.assertEqual(self.succeed("duplicate", "two.ipa", "--number", "3"),
                         lines(*successLog("3", oldName="Notes2", identifier="com.example.notes2")))
        self.checkByReferees("Notes23.ipa")


if __name__ == "__main__":
    unittest.main()
