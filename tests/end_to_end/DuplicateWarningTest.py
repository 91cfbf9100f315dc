"""vellomir-cli duplicate, when the copy may not be the second copy that was wanted"""
import json
import os
import struct
import subprocess
import unittest
import zipfile

from harness import (Case, infoPlist, lines, makePackage, makePicture, makeZip, packageEntries,
                     successLog, zipInfo)

PLIST = "Payload/Notes.app/Info.plist"
EMPTY_NUMBER = ("the number is empty, so the copy has the identifier of the original and would "
                "replace it")
NO_PAYLOAD = 'the package has no folder "Payload", so the copy is empty'
NOTHING_CHANGED = ('no app in the folder "Payload" has a property list, so nothing in the copy has '
                   "changed")
SEVERAL_APPS = ('the folder "Payload" holds more than one app, and only one of them has changed: '
                "Notes.app, Other.app")
UNMARKED = ('2 names look like UTF-8 but are not marked as such, the first: '
            '"Payload/Notes.app/é.lproj/"; --encoding utf-8 reads them as UTF-8')


class WarningCase(Case):
    def setUp(self):
        super().setUp()
        makePackage(self.folder / "app.ipa")
        (self.folder / "out").mkdir()

    def duplicate(self, *arguments, number="2", **options):
        return self.cli("duplicate", "app.ipa", "--number", number, "--output", "out", *arguments,
                        **options)

    def warned(self, warning, *arguments, log=None, name="Notes2.ipa", **options):
        """The copy is made, with this warning; --strict makes it a failure without a result."""
        self.strictly(warning, *arguments, **options)

        result = self.duplicate(*arguments, **options)
        self.assertEqual(result.code, 0, result.err)
        self.assertEqual(result.err, f"vellomir-cli: warning: app.ipa: {warning}\n")
        self.assertEqual(os.listdir(self.folder / "out"), [name])
        if log:
            self.assertEqual(result.out, lines(*log))

        asJson = self.duplicate("--json", "--force", *arguments, **options)
        self.assertEqual((asJson.code, asJson.err), (0, result.err))
        values = json.loads(asJson.out)
        self.assertEqual(values["warnings"], [warning])
        self.assertEqual(values["log"], result.out.splitlines())
        self.assertEqual(values["result"], str(self.folder / "out" / name))

        quiet = self.duplicate("--quiet", "--force", *arguments, **options)
        self.assertEqual((quiet.code, quiet.out, quiet.err), (0, "", ""))

    def strictly(self, warning, *arguments, **options):
        failure = "--strict allows no warning: " + warning
        with self.unchanged():
            for extra in [[], ["--quiet"], ["--force"]]:
                result = self.duplicate("--strict", *extra, *arguments, **options)
                self.assertEqual(result.code, 1)
                self.assertEqual(self.errorLine(result.err),
                                 "cannot duplicate app.ipa: " + failure)
            asJson = self.duplicate("--strict", "--json", *arguments, **options)
        self.assertEqual((asJson.code, asJson.err), (1, result.err))
        values = json.loads(asJson.out)
        self.assertEqual((values["result"], values["warnings"], values["errorMessage"]),
                         (None, [warning], failure))


class Warnings(WarningCase):
    def testAWholeCopyHasNoWarnings(self):
        result = self.duplicate("--strict", "--json")
        self.assertEqual((result.code, result.err), (0, ""))
        self.assertEqual(json.loads(result.out)["warnings"], [])
        self.assertEqual(os.listdir(self.folder / "out"), ["Notes2.ipa"])

    def testAnEmptyNumber(self):
        self.warned(EMPTY_NUMBER, number="", name="Notes.ipa", log=successLog(""))

    def testNoPayload(self):
        makeZip(self.folder / "app.ipa", [("Notes.app/Info.plist", infoPlist())])
        self.warned(NO_PAYLOAD)

    def testNothingRewritten(self):
        makeZip(self.folder / "app.ipa", [("Notes.app/Info.plist", infoPlist()),
                                          ("Payload/Notes.app/Notes", b"program")])
        self.warned(NOTHING_CHANGED, log=successLog("2"))

    def testSeveralApps(self):
        makeZip(self.folder / "app.ipa",
                [("Payload/Other.app/Info.plist", infoPlist()), *packageEntries()])
        self.warned(SEVERAL_APPS, log=successLog("2"))

    def testAPropertyListThatCannotBeWritten(self):
        entries = packageEntries()
        entries[2] = (PLIST, infoPlist(), 0o100444)
        makeZip(self.folder / "app.ipa", entries)
        options = self.asUser()
        if os.geteuid() == 0 and not options:
            self.skipTest("the superuser may write everywhere")
        self.warned("the property list could not be written, so the copy is not a second one: The "
                    "file may not be written (entry Payload/Notes.app/Info.plist): app.ipa",
                    **options)

    def testSeveralWarnings(self):
        makeZip(self.folder / "app.ipa",
                [("Payload/Other.app/Info.plist", infoPlist()), *packageEntries()])
        result = self.duplicate("--json", number="")
        self.assertEqual(json.loads(result.out)["warnings"], [EMPTY_NUMBER, SEVERAL_APPS])
        self.assertEqual(result.err, "".join(f"vellomir-cli: warning: app.ipa: {warning}\n"
                                             for warning in [EMPTY_NUMBER, SEVERAL_APPS]))
        line = self.errorLine(self.duplicate("--strict", number="").err)
        self.assertEqual(line, "cannot duplicate app.ipa: --strict allows no warning: "
                               f"{EMPTY_NUMBER}; {SEVERAL_APPS}")

    def testAJobThatFailsTellsItsWarningsToo(self):
        makeZip(self.folder / "app.ipa", [("Payload/readme", b"")])
        for strict in [[], ["--strict"]]:
            with self.unchanged():
                result = self.duplicate("--json", *strict, number="")
            self.assertEqual(result.code, 1)
            self.assertEqual(result.err, lines(
                "vellomir-cli: warning: app.ipa: " + EMPTY_NUMBER,
                "vellomir-cli: cannot duplicate app.ipa: Info.plist not found in the unzipped folder; "
                "vellomir-cli archive list shows what is in it"))
            self.assertEqual(json.loads(result.out)["warnings"], [EMPTY_NUMBER])


class Names(WarningCase):
    """Names as packers write them that do not set the flag for UTF-8."""

    def setUp(self):
        super().setUp()
        unmarkUTF8(makeZip(self.folder / "app.ipa", [
            *packageEntries(), ("Payload/Notes.app/é.lproj/", b""),
            ("Payload/Notes.app/é.lproj/x", b"1"), ("Payload/Notes.app/plain", b"2")]))

    def names(self):
        with zipfile.ZipFile(self.folder / "out/Notes2.ipa") as package:
            return [name for name in package.namelist() if "lproj" in name]

    def testTheyAreWarnedOf(self):
        self.warned(UNMARKED, log=successLog("2"))
        self.assertEqual(self.names(), ["Payload/Notes.app/├⌐.lproj/", "Payload/Notes.app/├⌐.lproj/x"])

    def testTheyCanBeReadAsUTF8(self):
        result = self.duplicate("--encoding", "utf-8", "--strict")
        self.assertEqual((result.code, result.err, result.out), (0, "", lines(*successLog("2"))))
        self.assertEqual(self.names(), ["Payload/Notes.app/é.lproj/", "Payload/Notes.app/é.lproj/x"])

    def testTheyCanBeReadAsCodePage437(self):
        result = self.duplicate("--encoding", "cp437", "--strict")
        self.assertEqual((result.code, result.err), (0, ""))
        self.assertEqual(self.names(), ["Payload/Notes.app/├⌐.lproj/", "Payload/Notes.app/├⌐.lproj/x"])

    def testMarkedNamesAreAlwaysUTF8(self):
        makeZip(self.folder / "app.ipa",
                [*packageEntries(), ("Payload/Notes.app/é.lproj/x", b"1")])
        for encoding in [[], ["--encoding", "utf-8"], ["--encoding", "cp437"]]:
            result = self.duplicate("--strict", "--force", *encoding)
            self.assertEqual((result.code, result.err), (0, ""))
            self.assertEqual(self.names(),
                             ["Payload/Notes.app/é.lproj/", "Payload/Notes.app/é.lproj/x"])

    def testAnotherPackersNames(self):
        self.write("src/" + PLIST, infoPlist())
        self.write("src/Payload/Notes.app/é.lproj/x", "1")
        os.unlink(self.folder / "app.ipa")
        subprocess.run(["zip", "-qr", "-UN=n", "../app.ipa", "."], cwd=self.folder / "src",
                       check=True)
        self.warned(UNMARKED)


def unmarkUTF8(path):
    """Clears the flag of all names in the records of an archive."""
    with zipfile.ZipFile(path) as package:
        infos = package.infolist()
        position = package.start_dir
    content = bytearray(path.read_bytes())
    for info in infos:
        nameLength, extraLength, commentLength = struct.unpack_from("<HHH", content, position + 28)
        content[info.header_offset + 7] &= ~8
        content[position + 9] &= ~8
        position += 46 + nameLength + extraLength + commentLength
    path.write_bytes(content)


class Masks(Case):
    """What the umask must not change."""

    def modes(self, package):
        with zipfile.ZipFile(package) as copy:
            return {info.filename: oct(info.external_attr >> 16) for info in copy.infolist()}

    def testModesInTheCopyDoNotFollowIt(self):
        with zipfile.ZipFile(self.folder / "app.ipa", "w") as package:
            package.writestr(zipInfo(PLIST, 0o100640), infoPlist())
            package.writestr(zipInfo("Payload/Notes.app/a/b/file", 0o100600), b"x")
            package.writestr(zipInfo("Payload/Notes.app/icon.png", 0o100640), b"old")
        makePicture(self.folder / "icon.png")
        (self.folder / "out").mkdir()
        folders = ["Payload/", "Payload/Notes.app/", "Payload/Notes.app/a/",
                   "Payload/Notes.app/a/b/"]
        icons = ["icon@2x.png", "icon@3x.png", "AppIcon76x76@2x~ipad.png", "AppIcon60x60@2x.png"]
        expected = {**{name: "0o40755" for name in folders},
                    **{"Payload/Notes.app/" + name: "0o100644" for name in icons},
                    PLIST: "0o100640", "Payload/Notes.app/icon.png": "0o100640",
                    "Payload/Notes.app/a/b/file": "0o100600"}
        for options in [{}, self.asUser()]:
            for mask in [0o000, 0o022, 0o077]:
                result = self.cli("duplicate", "app.ipa", "--number", "2", "--icon", "icon.png",
                                  "--output", "out", "--force", umask=mask, **options)
                self.assertEqual((result.code, result.err), (0, ""))
                self.assertEqual(self.modes(self.folder / "out/Notes2.ipa"), expected)
                self.assertEqual((self.folder / "out/Notes2.ipa").stat().st_mode & 0o777,
                                 0o666 & ~mask)


if __name__ == "__main__":
    unittest.main()
