"""vellomir-cli inspect: what a package holds, and what would make a copy misbehave"""
import json
import plistlib
import subprocess
import sys
import unittest
import zipfile
from pathlib import Path

from harness import (ICON_NAMES, PROGRAM, UNCOUNTED, Case, infoPlist, makePackage, makeZip,
                     packageEntries, zipInfo)

sys.path.insert(0, str(Path(__file__).resolve().parents[1] / "packages"))
import machO  # noqa: E402
import packages  # noqa: E402


def entries(plist=None, more=()):
    """A package without a program, and more files of the app."""
    return [("Payload/Notes.app/Info.plist", infoPlist() if plist is None else plist),
            *((f"Payload/Notes.app/{name}", content) for name, content in more)]


class InspectTest(Case):
    def inspect(self, *arguments):
        return json.loads(self.succeed("inspect", "--json", *arguments))

    def codes(self, package):
        return [warning["code"] for warning in self.inspect(package)["warnings"]]

    def testPrintsOneObject(self):
        plist = infoPlist(CFBundleShortVersionString="3.14", MinimumOSVersion="14.0")
        found = self.inspect(makeZip(self.folder / "a.ipa", entries(plist, [("text", b"text")])))
        self.assertEqual(found["bundle"], "Payload/Notes.app")
        self.assertEqual(found["identifier"], "com.example.notes")
        self.assertEqual(found["displayName"], "Notes")
        self.assertEqual(found["name"], "notes")
        self.assertEqual(found["version"], "3.14")
        self.assertEqual(found["minimumSystemVersion"], "14.0")
        self.assertEqual(found["encrypted"], False)
        self.assertEqual(found["entries"], 2)
        self.assertEqual(found["size"], len(plist) + 4)
        self.assertEqual(found["profile"], None)
        self.assertEqual(found["warnings"], [])

    def testPackagesLikeRealOnes(self):
        for name, package in packages.PACKAGES.items():
            with self.subTest(name):
                found = self.inspect(packages.write(self.folder, name))
                self.assertEqual(found["bundle"], package.main)
                self.assertEqual({warning["code"] for warning in found["warnings"]}, package.warnings)
                self.assertEqual(found["unread"], [])

    def testPrintsAText(self):
        share = plistlib.dumps({"CFBundleIdentifier": "com.example.notes.share"})
        makeZip(self.folder / "a.ipa", entries(more=[("PlugIns/Share.appex/Info.plist", share)]))
        out = self.succeed("inspect", "a.ipa")
        self.assertIn("Payload/Notes.app\n  identifier    com.example.notes\n", out)
        self.assertIn("\nNested bundles\n  app extension  com.example.notes.share  PlugIns/Share.appex\n", out)
        self.assertIn("\n  nested-identifier: --nested mends it\n"
                      "    An app extension carries the app's identifier: a copy won't install as long\n", out)

    def testSaysWhatCannotBeSeen(self):
        for identifier, heading in [("com.example.notes", "No warnings"), ("com.apple.notes", "Warnings about")]:
            makeZip(self.folder / "a.ipa", entries(infoPlist(CFBundleIdentifier=identifier)))
            out = self.succeed("inspect", "a.ipa")
            self.assertIn(heading, out)
            self.assertTrue(out.endswith("\n\nThis is what can be seen from outside. A program may also check its own\n"
                                         "identifier.\n"), out)

    def testNamesOfLanguagesAreTheLastColumn(self):
        """Some letters are two columns wide, and some none."""
        makeZip(self.folder / "a.ipa", entries(more=[
            (f"{language}.lproj/InfoPlist.strings", f'CFBundleName = "{name}";'.encode())
            for language, name in [("ja", "メモ"), ("th", "โน้ต")]]))
        self.assertIn("\n  ja  ja.lproj/InfoPlist.strings  メモ\n  th  th.lproj/InfoPlist.strings  โน้ต\n",
                      self.succeed("inspect", "a.ipa"))

    def testWarningsDoNotFail(self):
        makeZip(self.folder / "a.ipa", entries(infoPlist(CFBundleIdentifier="com.apple.notes")))
        [warning] = self.inspect("a.ipa")["warnings"]
        self.assertEqual(warning["code"], "reserved-identifier")
        self.assertEqual(warning["option"], "--identifier")
        self.assertEqual(warning["concerns"], ["com.apple.notes"])

    def testDamagedProgramIsNoted(self):
        found = self.inspect(makePackage(self.folder / "a.ipa"))
        [item] = found["unread"]
        self.assertEqual(item["path"], "Payload/Notes.app/Notes")
        self.assertIn("no Mach-O program", item["reason"])

    def testReadsCopies(self):
        makeZip(self.folder / "a.ipa", entries(more=[
            ("PlugIns/S.appex/Info.plist", plistlib.dumps({"CFBundleIdentifier": "com.example.notes.s"})),
            ("de.lproj/InfoPlist.strings", b'CFBundleDisplayName = "Notizen";')]))
        self.assertEqual(self.codes("a.ipa"), ["nested-identifier", "localized-name"])
        self.succeed("duplicate", "a.ipa", "--number", "2", "--output", "copy.ipa")
        found = self.inspect("copy.ipa")
        self.assertTrue(found["copy"])
        self.assertEqual([warning["message"] for warning in found["warnings"]],
                         ["An app extension keeps the old identifier: this copy won't install as it is.",
                          "In 1 language this copy shows the old name."])

    def testCopyOfAPlainPackageHasNoWarning(self):
        makeZip(self.folder / "a.ipa", entries())
        self.succeed("duplicate", "a.ipa", "--number", "2", "--output", "copy.ipa")
        self.assertEqual(self.codes("copy.ipa"), [])

    def testErrorsNameFileAndEntry(self):
        self.assertIn("cannot inspect missing.ipa: ", self.fail_("inspect", "missing.ipa"))
        self.write("text.ipa", "text")
        self.assertIn("text.ipa", self.fail_("inspect", "text.ipa"))
        makeZip(self.folder / "empty.ipa", [("a", b"a")])
        self.assertRegex(self.fail_("inspect", "empty.ipa"), r"has no app.*empty\.ipa")
        makeZip(self.folder / "bad.ipa", entries(b"no list"))
        self.assertRegex(self.fail_("inspect", "bad.ipa"), r"Payload/Notes\.app/Info\.plist.*bad\.ipa|"
                                                           r"bad\.ipa.*Payload/Notes\.app/Info\.plist")

    def testSomethingInFrontOfTheArchiveIsNamed(self):
        content = makeZip(self.folder / "a.ipa", entries()).read_bytes()
        self.write("a.ipa", b"#!/bin/sh\n" + content)
        self.assertRegex(self.fail_("inspect", "a.ipa"),
                         r"No app was found: the directory promises 1 entry, 0 could be reached: something "
                         r"stands in front of the archive in its file \(10 bytes\): .*a\.ipa")

    def testDamagedSignature(self):
        code = machO.thin(machO.Program("com.example.notes", encryption=1))
        damaged = code.replace(b"\xfa\xde\x0c\xc0", bytes(4))
        makeZip(self.folder / "a.ipa", entries(more=[("Notes", damaged)]))
        out = self.succeed("inspect", "a.ipa")
        self.assertIn("\n  Notes  arm64  encrypted, signed, damaged\n", out)
        self.assertIn("Payload/Notes.app/Notes: The code signature has no list of parts where it should be\n", out)
        self.assertEqual(self.codes("a.ipa"), ["encrypted"])

    def testNamesControlNoTerminal(self):
        plist = infoPlist(CFBundleDisplayName="No\x7ftes", CFBundleIdentifier="com.\u0085a")
        makeZip(self.folder / "a.ipa", entries(plist, [("\x1b[31mred", b"x")]))
        for out in [self.succeed("inspect", "a.ipa"), self.succeed("inspect", "--json", "a.ipa")]:
            self.assertNotRegex(out, "[\x00-\x09\x0b-\x1f\x7f-\x9f]")

    def testEncodingOfNames(self):
        content = makeZip(self.folder / "a.ipa", [("Payload/Ubung.app/Info.plist", infoPlist())]).read_bytes()
        self.write("a.ipa", content.replace(b"Ubung", b"\xc3\x9cbg"[:4] + b"x"))
        self.assertEqual(self.inspect("a.ipa", "--encoding", "utf-8")["bundle"], "Payload/\u00dcbgx.app")
        self.assertEqual(self.inspect("a.ipa")["bundle"], "Payload/\u251c\u00a3bgx.app")

    def testWritesNothing(self):
        makeZip(self.folder / "a.ipa", packageEntries())
        with self.unchanged():
            self.succeed("inspect", "a.ipa")

    def testMemoryDoesNotGrowWithThePackage(self):
        # A program of 256 MiB of zeros, which needs almost no room.
        with zipfile.ZipFile(self.folder / "a.ipa", "w") as package:
            package.writestr(zipInfo("Payload/Notes.app/Info.plist"), infoPlist(CFBundleExecutable="Notes"))
            with package.open(zipInfo("Payload/Notes.app/Notes", method=zipfile.ZIP_DEFLATED), "w") as file:
                file.write(bytes.fromhex("cafebabe00000001" + "0100000c00000000" + "0f000000" + "00100000" + "0000000c"))
                for _ in range(256):
                    file.write(bytes(1 << 20))
        limited = ["bash", "-c", 'ulimit -v 150000; exec "$@"', "-", PROGRAM]
        if "address" in UNCOUNTED.get("VELLOMIR_SANITIZE", ""):
            self.skipTest("the sanitizer needs more address space")
        run = subprocess.run([*limited, "inspect", self.folder / "a.ipa"], capture_output=True, check=False)
        self.assertEqual((run.stderr, run.returncode), (b"", 0))
        self.assertIn(b"no Mach-O program", run.stdout)

    def testKnowsTheIconsOfACopy(self):
        plist = infoPlist(CFBundleIconFiles=ICON_NAMES)
        self.assertFalse(self.inspect(makeZip(self.folder / "a.ipa", entries(plist)))["copy"])


if __name__ == "__main__":
    unittest.main()
