"""Packages like real ones: what a copy changes of them, with Python's plistlib as the referee"""
import json
import plistlib
import re
import subprocess
import sys
import unittest
import zipfile
from pathlib import Path

from harness import ICON_NAMES, PROGRAM, Case, makePicture

sys.path.insert(0, str(Path(__file__).resolve().parents[1] / "packages"))

import localizations  # noqa: E402
import packages  # noqa: E402

HEALED = {"nested-identifier", "localized-name"}
HEALED_WITH_ICON = HEALED | {"ipad-icon", "asset-catalogue-icon"}
LANGUAGE_FILE = re.compile(r"[^/]+\.lproj/InfoPlist\.strings|InfoPlist\.loctable")
NESTED = re.compile(r"((PlugIns|Extensions)/[^/]+\.appex/|(Watch|AppClips)/[^/]+\.app/)+Info\.plist")


def knows(*words):
    """Whether the program's help has all these words."""
    run = subprocess.run([PROGRAM, *words[:-1], "--help"], capture_output=True, text=True, check=False)
    return words[-1] in run.stdout


def oldText(text):
    """A file of keys and texts in the older format."""
    escapes = {"\\\\": "\\", "\\\"": "\"", "\\n": "\n", "\\t": "\t"}

    def plain(escaped):
        unicode = re.sub(r"\\U([0-9a-fA-F]{4})", lambda found: chr(int(found[1], 16)), escaped)
        return re.sub(r"\\.", lambda found: escapes[found[0]], unicode)

    pairs = re.findall(r'^\s*"?(\w+)"?\s*=\s*(?:"((?:[^"\\]|\\.)*)"|(\w+))\s*;$', text, re.MULTILINE)
    return {key: plain(quoted or bare) for key, quoted, bare in pairs}


def listOf(content):
    """A property list in any format. Old text may be in UTF-8 or, with a mark, in UTF-16."""
    if content.startswith((b"bplist", b"<?xml")):
        return plistlib.loads(content)
    return oldText(content.decode("utf-16" if content[:2] in (b"\xff\xfe", b"\xfe\xff") else "utf-8"))


def described(values, number):
    """What a copy's Info.plist says."""
    found = {key: value for key, value in values.items() if key != "CFBundleIcons"}
    for key in ["CFBundleIdentifier", "CFBundleDisplayName", "CFBundleName"]:
        found[key] = found.get(key, "") + number
    return found | {"CFBundleIconFiles": ICON_NAMES}


def withNewIdentifiers(value, old, new):
    """Every text that is the identifier, or begins with it and a dot, has the new one."""
    if isinstance(value, dict):
        return {key: withNewIdentifiers(each, old, new) for key, each in value.items()}
    if isinstance(value, str) and (value == old or value.startswith(old + ".")):
        return new + value[len(old):]
    return value


def withNumber(value, number):
    """Names at any depth end in the number."""
    return {key: withNumber(each, number) if isinstance(each, dict)
            else each + number if key in ("CFBundleDisplayName", "CFBundleName") else each
            for key, each in value.items()}


class Packages(Case):
    number = "2"

    def setUp(self):
        super().setUp()
        makePicture(self.folder / "icon.png", 512, 512)

    def forEach(self, check):
        """Writes each package to the test's folder, and calls `check` with its name, description and files."""
        for name, package in packages.PACKAGES.items():
            with self.subTest(name):
                packages.write(self.folder, name)
                check(name, package, {path: item.content for path, item in package.files().items()})

    def duplicate(self, name, *options):
        result = self.cli("duplicate", f"{name}.ipa", "--number", self.number, "--output", "copy.ipa",
                          "--force", *options)
        self.assertEqual(result.code, 0, result.err)
        with zipfile.ZipFile(self.folder / "copy.ipa") as archive:
            self.assertIsNone(archive.testzip())
            return {info.filename: archive.read(info) for info in archive.infolist() if not info.is_dir()}

    def differences(self, name):
        """What differs in the contents of the copy: removed and changed files, added ones."""
        result = self.cli("archive", "compare", f"{name}.ipa", "copy.ipa", "--contents", "--json")
        found = json.loads(result.out)
        for change in found["changed"]:
            self.assertEqual(change["what"], ["content"])
        return [[path for path in paths if not path.endswith("/")]
                for paths in (found["removed"], [change["path"] for change in found["changed"]], found["added"])]

    def codes(self, archive):
        result = self.cli("inspect", archive, "--json")
        self.assertEqual(result.code, 0, result.err)
        return {warning["code"] for warning in json.loads(result.out)["warnings"]}

    def testTheDescribedCopyChangesOneList(self):
        def check(name, package, files):
            copy = self.duplicate(name)
            info = f"{package.main}/Info.plist"
            self.assertEqual(plistlib.loads(copy.pop(info)), described(plistlib.loads(files[info]), self.number))
            kept = {path: content for path, content in files.items() if path.startswith("Payload/")}
            self.assertEqual(copy, {path: content for path, content in kept.items() if path != info})
            self.assertEqual(self.differences(name), [[path for path in files if path not in kept], [info], []])

        self.forEach(check)

    def testAnotherPackerMakesNoDifference(self):
        copies = []
        for name in ["plain", "packed-as-stream", "packed-stored", "packed-with-extras"]:
            packages.write(self.folder, name)
            copies.append(self.duplicate(name))
        self.assertTrue(all(copy == copies[0] for copy in copies))

    @unittest.skipUnless(knows("inspect"), "there is no inspect yet")
    def testInspectWarnsOfWhatEachPackageHas(self):
        self.forEach(lambda name, package, _: self.assertEqual(self.codes(f"{name}.ipa"), package.warnings))

    # --- With --deep ---------------------------------------------------------------------------------

    def deepFiles(self, package, files):
        """What the lists of a deep copy must say: path to value, of those that change."""
        expected = {}
        info = plistlib.loads(files[f"{package.main}/Info.plist"])
        old = info["CFBundleIdentifier"]
        for path, content in files.items():
            inside = path.removeprefix(package.main + "/")
            if inside == "Info.plist":
                new = described(info, self.number)
            elif NESTED.fullmatch(inside):
                new = withNewIdentifiers(plistlib.loads(content), old, old + self.number)
            elif LANGUAGE_FILE.fullmatch(inside):
                new = withNumber(listOf(content), self.number)
            else:
                continue
            if new != listOf(content):
                expected[path] = new
        return expected

    @unittest.skipUnless(knows("duplicate", "--deep"), "there is no --deep yet")
    def testTheDeepCopyChangesOnlyWhatMustChange(self):
        def check(name, package, files):
            copy = self.duplicate(name, "--deep")
            expected = self.deepFiles(package, files)
            for path, value in expected.items():
                self.assertEqual(listOf(copy[path]), value, path)
            changed = self.differences(name)[1]
            self.assertEqual(sorted(changed), sorted(expected))

        self.forEach(check)

    @unittest.skipUnless(knows("duplicate", "--deep") and knows("inspect"), "there is no --deep yet")
    def testTheDeepCopyHasNoneOfTheHealedWarnings(self):
        def check(name, package, _):
            self.duplicate(name, "--deep")
            self.assertEqual(self.codes("copy.ipa"), package.warnings - HEALED | package.lasting)

        self.forEach(check)

    @unittest.skipUnless(knows("duplicate", "--deep") and knows("inspect"), "there is no --deep yet")
    def testTheDeepCopyWithAnIconShowsIt(self):
        def check(name, package, files):
            copy = self.duplicate(name, "--deep", "--icon", "icon.png")
            self.assertEqual(self.codes("copy.ipa"), package.warnings - HEALED_WITH_ICON | package.lasting)
            icons = {f"{package.main}/{icon}" for icon in ICON_NAMES}
            self.assertLessEqual(icons, set(copy))
            _, changed, added = self.differences(name)
            self.assertEqual(set(added), icons - set(files))
            self.assertEqual(sorted(set(changed) - icons), sorted(self.deepFiles(package, files)))

        self.forEach(check)

    def testTheRefereeReadsEveryFormat(self):
        values = localizations.strings("Notlar \"2\"")
        for write in localizations.FORMATS.values():
            self.assertEqual(listOf(write(values)), values)


if __name__ == "__main__":
    unittest.main()
