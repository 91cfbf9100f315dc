"""What is installed works where it was put, and after it was moved"""
import configparser
import os
import shutil
import struct
import subprocess
import unittest
import xml.etree.ElementTree as ElementTree
from pathlib import Path

from harness import ICON_NAMES, Case, infoPlist, makePicture, makeZip, packageEntries

BUILD = Path(os.environ["VELLOMIR_CLI"]).parent.parent
SOURCES = Path(__file__).resolve().parents[2]
ICON_SIZES = [16, 22, 24, 32, 48, 64, 128, 256, 512]
FILES = {
    "cli": ["bin/vellomir-cli", "libexec/vellomir/vellomir-picture",
            "share/bash-completion/completions/vellomir-cli",
            "share/fish/vendor_completions.d/vellomir-cli.fish",
            "share/man/man1/vellomir-cli.1.gz", "share/zsh/site-functions/_vellomir-cli"],
    "window": ["bin/vellomir", "share/applications/vellomir.desktop",
               *(f"share/icons/hicolor/{size}x{size}/apps/vellomir.png" for size in ICON_SIZES),
               "share/icons/hicolor/scalable/apps/vellomir.svg", "share/man/man1/vellomir.1.gz",
               "share/metainfo/org.example.vellomir.metainfo.xml",
               "share/mime/packages/vellomir.xml",
               *(f"share/vellomir/help/{name}" for name in
                 ["help.html", "cropper.png", "running.png", "sharing.png", "vellomir.png",
                  "window.png"])],
}


class Install(Case):
    def install(self, *components):
        installed = self.folder / "installed"
        for component in components:
            subprocess.run(["cmake", "--install", BUILD, "--component", component, "--prefix",
                            installed], check=True, stdout=subprocess.DEVNULL)
        return installed.rename(self.folder / "moved")

    def found(self, folder):
        return sorted(str(path.relative_to(folder)) for path in folder.rglob("*")
                      if not path.is_dir())


class Components(Install):
    def testProgramsHaveTheirFilesAndNoOthers(self):
        for component, files in FILES.items():
            with self.subTest(component):
                folder = self.install(component)
                self.assertEqual(sorted(files), self.found(folder))
                shutil.rmtree(folder)

    def testSharedLibraryIsApartFromWhatCompilersNeed(self):
        library = self.found(self.install("library"))
        self.assertRegex("\n".join(library), r"\Alib\S*/libvellomir-archive\.so\.(\d+)\n"
                                             r"lib\S*/libvellomir-archive\.so\.\1\.\d+\Z")
        shutil.rmtree(self.folder / "moved")
        development = self.found(self.install("development"))
        self.assertEqual(set(), set(library) & set(development))
        names = {Path(name).name for name in development}
        self.assertLessEqual({"libvellomir-archive.so", "libvellomir-archive.a", "Archive.h",
                              "VellomirArchiveConfig.cmake", "vellomir-archive.pc"}, names)


class Programs(Install):
    def setUp(self):
        super().setUp()
        self.prefix = self.install("cli", "window")

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

    def testIconsHaveTheirSizes(self):
        for size in ICON_SIZES:
            icon = self.prefix / f"share/icons/hicolor/{size}x{size}/apps/vellomir.png"
            self.assertEqual((size, size), struct.unpack(">II", icon.read_bytes()[16:24]))
        drawing = self.prefix / "share/icons/hicolor/scalable/apps/vellomir.svg"
        self.assertTrue(ElementTree.parse(drawing).getroot().tag.endswith("svg"))


class Desktop(Install):
    """What desktops make of the installed files, with their own tools."""

    def setUp(self):
        super().setUp()
        self.prefix = self.install("cli", "window")
        self.share = self.prefix / "share"

    def tool(self, *command, **options):
        """Runs a tool, or skips the test where it is missing; returns what it prints."""
        if not shutil.which(command[0]):
            self.skipTest(f"{command[0]} is not installed")
        ran = subprocess.run(command, capture_output=True, text=True, **options)
        self.assertEqual(0, ran.returncode, (command, ran.stdout, ran.stderr))
        return ran.stdout

    def entry(self):
        entry = configparser.ConfigParser(interpolation=None)
        entry.optionxform = str
        entry.read(self.share / "applications/vellomir.desktop")
        return entry["Desktop Entry"]

    def testEntryIsValidAndStartsTheProgram(self):
        program, argument = self.entry()["Exec"].split()
        self.assertTrue(os.access(self.prefix / "bin" / program, os.X_OK))
        self.assertEqual("%f", argument)
        self.assertEqual("", self.tool("desktop-file-validate",
                                       self.share / "applications/vellomir.desktop"))

    def testDescriptionIsValid(self):
        installed = self.share / "metainfo/org.example.vellomir.metainfo.xml"
        self.tool("appstreamcli", "validate", "--no-net", installed)
        component = ElementTree.parse(installed).getroot()
        self.assertEqual("vellomir.desktop", component.find("launchable").text)
        self.assertEqual(self.entry()["MimeType"].rstrip(";"),
                         component.find("provides/mediatype").text)
        version = self.succeed("--version").split()[1]
        self.assertEqual(version, component.find("releases/release").get("version"))

    def testDescriptionHasPicturesWhereThereIsAHomePage(self):
        made = self.folder / "org.example.vellomir.metainfo.xml"
        subprocess.run(["cmake", f"-DOUTPUT={made}", "-DVERSION=2.0", "-DDATE=2026-01-31",
                        "-DHOMEPAGE=https://example.org/vellomir", "-P",
                        SOURCES / "cmake/Metainfo.cmake"], check=True)
        images = [image.text for image in ElementTree.parse(made).iter("image")]
        self.assertEqual(4, len(images))
        for image in images:
            name = image.removeprefix("https://example.org/vellomir/")
            self.assertTrue((SOURCES / name).is_file(), image)
        self.tool("appstreamcli", "validate", "--no-net", made)

    def openWith(self):
        """The environment of a desktop that knows nothing but the installed files."""
        self.tool("update-mime-database", self.share / "mime")
        self.tool("update-desktop-database", self.share / "applications")
        home = self.folder / "home"
        home.mkdir()
        paths = f"{self.prefix / 'bin'}:{os.environ['PATH']}"
        return dict(os.environ, HOME=str(home), XDG_DATA_HOME=str(home), XDG_CONFIG_HOME=str(home),
                    XDG_CONFIG_DIRS=str(home), XDG_DATA_DIRS=f"{self.share}:/usr/share",
                    PATH=paths)

    def kindOf(self, path, environment):
        printed = self.tool("gio", "info", "-a", "standard::content-type", path, env=environment)
        return printed.split("standard::content-type: ")[1].split()[0]

    def testOpenWithFindsTheProgram(self):
        environment = self.openWith()
        printed = self.tool("gio", "mime", "application/x-ios-app", env=environment)
        self.assertIn("vellomir.desktop", printed)

    def testPackagesAreKnownByNameAndByContent(self):
        environment = self.openWith()
        package = packageEntries()
        for name, entries, kind in [("a.ipa", package, "application/x-ios-app"),
                                    ("noName", package, "application/x-ios-app"),
                                    ("a.zip", [("a", b"a")], "application/zip"),
                                    ("noZip", [("a", b"Payload/")], "application/zip")]:
            makeZip(self.folder / name, entries)
            self.assertEqual(kind, self.kindOf(self.folder / name, environment), name)


if __name__ == "__main__":
    unittest.main()
