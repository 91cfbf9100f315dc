"""What is installed works where it was put, and after it was moved"""
import configparser
import os
import subprocess
import unittest
import xml.etree.ElementTree as ElementTree
from pathlib import Path

from harness import ICON_NAMES, Case, infoPlist, makePicture

BUILD = Path(os.environ["VELLOMIR_CLI"]).parent.parent


class Install(Case):
    def setUp(self):
        super().setUp()
        installed = self.folder / "installed"
        subprocess.run(["cmake", "--install", BUILD, "--component", "programs", "--prefix",
                        installed], check=True, stdout=subprocess.DEVNULL)
        self.prefix = installed.rename(self.folder / "moved")

    def run_(self, program, *arguments):
        environment = {name: value for name, value in os.environ.items()
                       if name not in ("DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM")}
        return subprocess.run([self.prefix / "bin" / program, *arguments], cwd=self.folder,
                              env=environment, capture_output=True, text=True)

    def testTheCommandLineMakesACopyWithAnIcon(self):
        self.write("src/Payload/Notes.app/Info.plist", infoPlist())
        makePicture(self.folder / "icon.png")
        self.run_("vellomir-cli", "archive", "create", "app.ipa", "src")
        ran = self.run_("vellomir-cli", "duplicate", "app.ipa", "--number", "2", "--icon", "icon.png",
                        "--output", "copy.ipa")
        self.assertEqual(0, ran.returncode, ran.stderr)
        listed = self.run_("vellomir-cli", "archive", "list", "copy.ipa").stdout
        for name in ICON_NAMES:
            self.assertIn(name, listed)

    def testTheWindowStarts(self):
        ran = self.run_("vellomir", "--version")
        self.assertEqual((0, ""), (ran.returncode, ran.stderr))
        self.assertRegex(ran.stdout, r"^vellomir \d+\.\d+\n$")

    def testTheDesktopFindsTheProgramByTheKindOfFile(self):
        entry = configparser.ConfigParser(interpolation=None)
        entry.optionxform = str
        entry.read(self.prefix / "share/applications/vellomir.desktop")
        entry = entry["Desktop Entry"]
        program, argument = entry["Exec"].split()
        self.assertTrue(os.access(self.prefix / "bin" / program, os.X_OK))
        self.assertEqual("%f", argument)
        icon = self.prefix / f"share/icons/hicolor/scalable/apps/{entry['Icon']}.svg"
        self.assertTrue(ElementTree.parse(icon).getroot().tag.endswith("svg"))
        kinds = ElementTree.parse(self.prefix / "share/mime/packages/vellomir.xml").getroot()
        names = {kind.get("type"): [each.get("pattern") for each in kind if "pattern" in each.keys()]
                 for kind in kinds}
        self.assertEqual(["*.ipa"], names[entry["MimeType"].rstrip(";")])


if __name__ == "__main__":
    unittest.main()
