"""What the tests of a copy's optional changes share"""
import plistlib
import zipfile

from harness import Case, lines, makeZip, packageEntries, successLog

APP = "Payload/Notes.app/"
PLIST = APP + "Info.plist"
IDENTIFIER = "com.example.notes"
MAIN = {"CFBundleIdentifier": IDENTIFIER, "CFBundleDisplayName": "Notes", "CFBundleName": "notes",
        "LSRequiresIPhoneOS": True}


def binary(**values):
    return plistlib.dumps(values, fmt=plistlib.FMT_BINARY)


def xml(**values):
    return plistlib.dumps(values, sort_keys=False)


def bundle(identifier, form=binary, **more):
    return form(CFBundleIdentifier=identifier, CFBundleVersion="1", **more)


class DeepCase(Case):
    def setUp(self):
        super().setUp()
        (self.folder / "out").mkdir()

    def make(self, files=(), **main):
        """A package whose app has these files, as pairs of a path in the app and a content."""
        entries = packageEntries(binary(**{**MAIN, **main}))
        self.entries = entries + [
            (APP + name, content.encode() if isinstance(content, str) else content, *mode)
            for name, content, *mode in files]
        makeZip(self.folder / "app.ipa", self.entries)

    def duplicate(self, *arguments, number="2", **options):
        return self.cli("duplicate", "app.ipa", "--number", number, "--output", "out", "--force",
                        *arguments, **options)

    def deeply(self, *arguments, log, number="2", icon=False, warnings=(), **options):
        """The copy is made, and these lines follow the usual ones; returns what differs."""
        result = self.duplicate(*arguments, number=number, **options)
        expected = "".join(f"vellomir-cli: warning: app.ipa: {text}\n" for text in warnings)
        self.assertEqual((result.err, result.code), (expected, 0))
        self.assertEqual(result.out, lines(*successLog(number, icon), *log))
        return self.differences(f"Notes{number}.ipa")

    def contents(self, name):
        with zipfile.ZipFile(self.folder / name) as package:
            self.assertIsNone(package.testzip())
            return {info.filename: package.read(info) for info in package.infolist()}

    def differences(self, name):
        """The new contents by their paths in the app; the app's own list is left out."""
        found = self.contents("out/" + name)
        old = {name: content for name, content, *_ in self.entries}
        self.assertEqual(set(old) - set(found), set())
        return {name.removeprefix(APP): content for name, content in found.items()
                if name != PLIST and not name.endswith("/") and old.get(name) != content}

    def mainList(self, name="Notes2.ipa"):
        return plistlib.loads(self.contents("out/" + name)[PLIST])
