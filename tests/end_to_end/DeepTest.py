"""vellomir-cli duplicate with --nested, --localized, --icons, --name, --identifier and --report"""
import json
import os
import plistlib
import struct
import unittest
import zipfile
import zlib

from harness import ICON_NAMES, Case, lines, makePicture, makeZip, packageEntries, successLog

APP = "Payload/Notes.app/"
PLIST = APP + "Info.plist"
IDENTIFIER = "com.example.notes"
SIZES = dict(zip(ICON_NAMES, [60, 120, 180, 152, 120]))
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


class Nested(DeepCase):
    def testEachKindOfBundle(self):
        names = {"PlugIns/Share.appex": ".share", "Extensions/Ex.appex": ".ex",
                 "Watch/W.app": ".watch", "Watch/W.app/PlugIns/E.appex": ".watch.e",
                 "AppClips/Clip.app": ".Clip", "AppClips/Clip.app/PlugIns/N.appex": ".Clip.n"}
        self.make([(f"{path}/Info.plist", bundle(IDENTIFIER + end)) for path, end in names.items()])
        order = ["AppClips/Clip.app", "AppClips/Clip.app/PlugIns/N.appex", "Extensions/Ex.appex",
                 "PlugIns/Share.appex", "Watch/W.app", "Watch/W.app/PlugIns/E.appex"]
        changed = self.deeply("--nested", log=[
            f"New CFBundleIdentifier in {path}/Info.plist: {IDENTIFIER}2{names[path]}"
            for path in order])
        self.assertEqual(changed, {f"{path}/Info.plist": bundle(f"{IDENTIFIER}2{end}")
                                   for path, end in names.items()})

    def testWithoutTheOptionNothingElseChanges(self):
        self.make([("PlugIns/Share.appex/Info.plist", bundle(IDENTIFIER + ".share")),
                   ("de.lproj/InfoPlist.strings", "CFBundleName = a;"),
                   ("InfoPlist.loctable", binary(en={"CFBundleName": "a"}))])
        self.assertEqual(self.deeply(log=[]), {})

    def testKeysThatNameOtherBundles(self):
        extension = {"NSExtensionAttributes": {"WKAppBundleIdentifier": IDENTIFIER + ".watch"}}
        other = {"NSExtensionAttributes": {"WKAppBundleIdentifier": IDENTIFIER + "2.watch"}}
        self.make([("Watch/W.app/Info.plist", bundle(
            IDENTIFIER + ".watch", xml, WKCompanionAppBundleIdentifier=IDENTIFIER)),
                   ("Watch/W.app/PlugIns/E.appex/Info.plist", bundle(
                       IDENTIFIER + ".watch.e", xml, NSExtension=extension))])
        changed = self.deeply("--nested", log=[
            "New CFBundleIdentifier in Watch/W.app/Info.plist: com.example.notes2.watch",
            "New WKCompanionAppBundleIdentifier in Watch/W.app/Info.plist: com.example.notes2",
            "New CFBundleIdentifier in Watch/W.app/PlugIns/E.appex/Info.plist: "
            "com.example.notes2.watch.e",
            "New NSExtension > NSExtensionAttributes > WKAppBundleIdentifier in "
            "Watch/W.app/PlugIns/E.appex/Info.plist: com.example.notes2.watch"])
        self.assertEqual(changed, {
            "Watch/W.app/Info.plist": bundle(IDENTIFIER + "2.watch", xml,
                                             WKCompanionAppBundleIdentifier=IDENTIFIER + "2"),
            "Watch/W.app/PlugIns/E.appex/Info.plist": bundle(IDENTIFIER + "2.watch.e", xml,
                                                             NSExtension=other)})

    def testFrameworksAndOtherFoldersStay(self):
        self.make([("Frameworks/Core.framework/Info.plist", bundle(IDENTIFIER + ".core")),
                   ("Frameworks/A.appex/Info.plist", bundle(IDENTIFIER + ".a")),
                   ("Settings.bundle/Info.plist", bundle(IDENTIFIER + ".settings")),
                   ("PlugIns/notes.txt", b"text")])
        self.assertEqual(self.deeply("--nested", log=[]), {})

    def testWhatCannotBeChangedIsAWarning(self):
        self.make([("PlugIns/A.appex/Info.plist", bundle("com.other.a")),
                   ("PlugIns/B.appex/Info.plist", bundle("com.example.notesb")),
                   ("PlugIns/C.appex/Info.plist", binary(CFBundleIdentifier=5)),
                   ("PlugIns/D.appex/Info.plist", b"no list {"),
                   ("PlugIns/E.appex/x", b""),
                   ("PlugIns/F.appex", b"a file"),
                   ("PlugIns/G.appex/Info.plist", b"../A.appex/Info.plist", 0o120777),
                   ("PlugIns/H.appex", b"../PlugIns/Z.appex", 0o120777),
                   ("PlugIns/Z.appex/Info.plist", bundle(IDENTIFIER + ".z"))])
        start = "Unable to change CFBundleIdentifier in PlugIns/"
        problems = [
            "Unable to change PlugIns/F.appex: it is no folder",
            "Unable to change PlugIns/H.appex: it is no folder",
            start + "A.appex/Info.plist: com.other.a does not begin with com.example.notes.",
            start + "B.appex/Info.plist: com.example.notesb does not begin with com.example.notes.",
            start + "C.appex/Info.plist: it is missing, or no text",
            "Error while updating PlugIns/D.appex/Info.plist: The old-style text property list "
            'cannot be read: line 1: expected ";", found "l" (entry '
            "Payload/Notes.app/PlugIns/D.appex/Info.plist): app.ipa",
            "Error while updating PlugIns/E.appex/Info.plist: There is no such file (entry "
            "Payload/Notes.app/PlugIns/E.appex/Info.plist): app.ipa",
            "Error while updating PlugIns/G.appex/Info.plist: A link or a folder is not changed "
            "(entry Payload/Notes.app/PlugIns/G.appex/Info.plist): app.ipa"]
        log = [*problems,
               "New CFBundleIdentifier in PlugIns/Z.appex/Info.plist: com.example.notes2.z"]
        changed = self.deeply("--nested", log=log, warnings=problems)
        self.assertEqual(changed, {"PlugIns/Z.appex/Info.plist": bundle(IDENTIFIER + "2.z")})
        with self.unchanged():
            self.assertEqual(self.duplicate("--nested", "--strict").code, 1)

    def testReadOnlyListsAreChangedAndKeepTheirMode(self):
        self.make([("PlugIns/A.appex/Info.plist", bundle(IDENTIFIER + ".a"), 0o100444),
                   ("de.lproj/InfoPlist.strings", "CFBundleName = a;", 0o100400)])
        changed = self.deeply("--nested", "--localized", log=[
            "New CFBundleIdentifier in PlugIns/A.appex/Info.plist: com.example.notes2.a",
            "New CFBundleName in de.lproj/InfoPlist.strings: a2"], **self.asUser())
        self.assertEqual(changed, {"PlugIns/A.appex/Info.plist": bundle(IDENTIFIER + "2.a"),
                                   "de.lproj/InfoPlist.strings": b'CFBundleName = "a2";'})
        with zipfile.ZipFile(self.folder / "out/Notes2.ipa") as package:
            modes = [package.getinfo(APP + name).external_attr >> 16 for name in changed]
        self.assertEqual(sorted(modes), [0o100400, 0o100444])

    def testOtherTextsWithTheOldIdentifierAreSaidAndStay(self):
        urls = [{"CFBundleURLName": IDENTIFIER, "CFBundleURLSchemes": ["notes"]}]
        activities = [IDENTIFIER + ".edit", "com.example.notes2.x", "xcom.example.notes"]
        containers = {"iCloud." + IDENTIFIER: {"NSUbiquitousContainerName": "x"}}
        tasks = [f"{IDENTIFIER}.{number}" for number in range(9)]
        self.make([("PlugIns/A.appex/Info.plist",
                    bundle(IDENTIFIER + ".a", BGTaskSchedulerPermittedIdentifiers=tasks))],
                  CFBundleURLTypes=urls, NSUserActivityTypes=activities,
                  NSUbiquitousContainers=containers)
        self.deeply("--nested", "--report", "out/report.json", log=[
            "Old identifier kept in Info.plist: CFBundleURLTypes > 0 > CFBundleURLName, "
            "NSUbiquitousContainers > iCloud.com.example.notes, NSUserActivityTypes > 0",
            "Old identifier kept in PlugIns/A.appex/Info.plist: " +
            ", ".join(f"BGTaskSchedulerPermittedIdentifiers > {index}" for index in range(5)) +
            " and 4 more",
            "New CFBundleIdentifier in PlugIns/A.appex/Info.plist: com.example.notes2.a"])
        main = self.mainList()
        self.assertEqual((main["CFBundleURLTypes"], main["NSUserActivityTypes"],
                          main["NSUbiquitousContainers"]), (urls, activities, containers))
        kept = json.loads((self.folder / "out/report.json").read_bytes())["kept"]
        self.assertEqual(len(kept), 12)
        self.assertEqual(kept[0], {"file": PLIST, "text": IDENTIFIER,
                                   "keyPath": ["CFBundleURLTypes", "0", "CFBundleURLName"]})

    def testAnEmptyNumberChangesNoIdentifier(self):
        self.make([("PlugIns/A.appex/Info.plist", bundle(IDENTIFIER + ".a"))])
        result = self.duplicate("--nested", number="")
        self.assertEqual((result.code, result.out), (0, lines(*successLog(""))))
        self.assertEqual(self.differences("Notes.ipa"), {})

    def testAnAppWithoutIdentifier(self):
        self.make([("PlugIns/A.appex/Info.plist", bundle(IDENTIFIER + ".a"))],
                  CFBundleIdentifier=5)
        result = self.duplicate("--nested")
        self.assertIn("Unable to change the identifiers of nested bundles: the app had none",
                      result.err)
        self.assertEqual(self.differences("Notes2.ipa"), {})

    def testANumberThatBeginsWithADot(self):
        self.make([("PlugIns/A.appex/Info.plist", bundle(IDENTIFIER + ".a"))])
        changed = self.deeply("--nested", number=".copy", log=[
            "New CFBundleIdentifier in PlugIns/A.appex/Info.plist: com.example.notes.copy.a"])
        self.assertEqual(changed, {"PlugIns/A.appex/Info.plist": bundle(IDENTIFIER + ".copy.a")})


class Localized(DeepCase):
    TEXT = '/* Name */\r\n"CFBundleDisplayName" = "Notizen – \\"ä\\"";\r\nother=a;\r\n'
    CHANGED = TEXT.replace('\\"ä\\"";', '\\"ä\\"2";')

    def testOldTextKeepsItsFormInEveryEncoding(self):
        forms = {"a": ("utf-8", b""), "b": ("utf-8", b"\xef\xbb\xbf"),
                 "c": ("utf-16-le", b"\xff\xfe"), "d": ("utf-16-be", b"\xfe\xff"),
                 "e": ("utf-16-le", b""), "f": ("utf-16-be", b"")}
        self.make([(f"{name}.lproj/InfoPlist.strings", mark + self.TEXT.encode(encoding))
                   for name, (encoding, mark) in forms.items()])
        changed = self.deeply("--localized", log=[
            f'New CFBundleDisplayName in {name}.lproj/InfoPlist.strings: Notizen – "ä"2'
            for name in forms])
        self.assertEqual(changed, {
            f"{name}.lproj/InfoPlist.strings": mark + self.CHANGED.encode(encoding)
            for name, (encoding, mark) in forms.items()})

    def testFormsOfOldText(self):
        cases = [("CFBundleName = a;", 'CFBundleName = "a2";'),
                 ("'CFBundleName'='a';x=y;", "'CFBundleName'=\"a2\";x=y;"),
                 ("{ CFBundleName = a; }", '{ CFBundleName = "a2"; }'),
                 ("CFBundleName;", 'CFBundleName = "CFBundleName2";'),
                 ("CFBundleName = /* no */ a /* CFBundleName = b; */ ;",
                  'CFBundleName = /* no */ "a2" /* CFBundleName = b; */ ;'),
                 ("CFBundleName = a; CFBundleName = b;",
                  'CFBundleName = "b2"; CFBundleName = "b2";'),
                 ('x = { CFBundleName = a; }; CFBundleName = "\\U00e4";',
                  'x = { CFBundleName = a; }; CFBundleName = "ä2";'),
                 ('CFBundleName = "two\nlines\\\\";', 'CFBundleName = "two\nlines\\\\2";')]
        for old, new in cases:
            self.make([("de.lproj/InfoPlist.strings", old.encode())])
            result = self.duplicate("--localized", "--quiet")
            self.assertEqual((result.code, result.err), (0, ""), old)
            self.assertEqual(self.differences("Notes2.ipa"),
                             {"de.lproj/InfoPlist.strings": new.encode()})

    def testBinaryAndXmlKeepFormatOrderAndOtherValues(self):
        texts = {"NSCameraUsageDescription": "é 😀", "CFBundleName": "Carnet", "A": "b",
                 "CFBundleDisplayName": "Carnet"}
        changed = {**texts, "CFBundleName": "Carnet2", "CFBundleDisplayName": "Carnet2"}
        self.make([("fr.lproj/InfoPlist.strings", binary(**texts)),
                   ("it.lproj/InfoPlist.strings", xml(**texts))])
        found = self.deeply("--localized", log=[
            "New CFBundleDisplayName in fr.lproj/InfoPlist.strings: Carnet2",
            "New CFBundleName in fr.lproj/InfoPlist.strings: Carnet2",
            "New CFBundleName in it.lproj/InfoPlist.strings: Carnet2",
            "New CFBundleDisplayName in it.lproj/InfoPlist.strings: Carnet2"])
        self.assertTrue(found["fr.lproj/InfoPlist.strings"].startswith(b"bplist00"))
        self.assertTrue(found["it.lproj/InfoPlist.strings"].startswith(b"<?xml"))
        for content in found.values():
            self.assertEqual(plistlib.loads(content), changed)
        self.assertEqual(list(plistlib.loads(found["it.lproj/InfoPlist.strings"])), list(texts))

    def testTableOfLanguages(self):
        table = {"LocProvenance": {"a": 1}, "de": {"CFBundleName": "n", "x": "y"},
                 "en": {"CFBundleDisplayName": "m"}, "fr": {"x": "z"}}
        self.make([("InfoPlist.loctable", binary(**table))])
        found = self.deeply("--localized", log=[
            "New de > CFBundleName in InfoPlist.loctable: n2",
            "New en > CFBundleDisplayName in InfoPlist.loctable: m2"])
        table["de"]["CFBundleName"] = "n2"
        table["en"]["CFBundleDisplayName"] = "m2"
        self.assertEqual(plistlib.loads(found.pop("InfoPlist.loctable")), table)
        self.assertEqual(found, {})

    def testOnlyTheAppsOwnFiles(self):
        text = b"CFBundleName = a;"
        self.make([("PlugIns/A.appex/de.lproj/InfoPlist.strings", text),
                   ("Resources/de.lproj/InfoPlist.strings", text),
                   ("de.lproj/Localizable.strings", text), ("de.lproj/other/InfoPlist.strings", text),
                   ("de.strings/InfoPlist.strings", text), ("InfoPlist.strings", text),
                   ("fr.lproj", b"../de.strings", 0o120777)])
        self.assertEqual(self.deeply("--localized", log=[]), {})

    def testFilesWithoutNamesStay(self):
        self.make([("a.lproj/InfoPlist.strings", b""), ("b.lproj/InfoPlist.strings", b"/* no */\n"),
                   ("c.lproj/InfoPlist.strings", b"\xff\xfe"),
                   ("d.lproj/InfoPlist.strings", b"x = y;"),
                   ("e.lproj/InfoPlist.strings", binary(x="y"))])
        self.assertEqual(self.deeply("--localized", log=[]), {})

    def testWhatCannotBeChangedIsAWarning(self):
        self.make([("a.lproj/InfoPlist.strings", binary(CFBundleName=["x"], CFBundleDisplayName="a")),
                   ("b.lproj/InfoPlist.strings", b"CFBundleName = \xff;"),
                   ("c.lproj/InfoPlist.strings", b"../a.lproj/InfoPlist.strings", 0o120777),
                   ("d.lproj/InfoPlist.strings/", b"")])
        problems = [
            "Unable to change CFBundleName in a.lproj/InfoPlist.strings: it is no text",
            "Error while updating b.lproj/InfoPlist.strings: The property list cannot be read: byte "
            "15: expected text in UTF-8 (entry Payload/Notes.app/b.lproj/InfoPlist.strings): app.ipa",
            "Error while updating c.lproj/InfoPlist.strings: A link or a folder is not changed "
            "(entry Payload/Notes.app/c.lproj/InfoPlist.strings): app.ipa",
            "Error while updating d.lproj/InfoPlist.strings: A link or a folder is not changed "
            "(entry Payload/Notes.app/d.lproj/InfoPlist.strings): app.ipa"]
        log = [problems[0], "New CFBundleDisplayName in a.lproj/InfoPlist.strings: a2",
               *problems[1:]]
        changed = self.deeply("--localized", log=log, warnings=problems)
        self.assertEqual({name: plistlib.loads(content) for name, content in changed.items()},
                         {"a.lproj/InfoPlist.strings": {"CFBundleName": ["x"],
                                                        "CFBundleDisplayName": "a2"}})


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


class Names(DeepCase):
    def testNameAndIdentifier(self):
        self.make([("PlugIns/A.appex/Info.plist", bundle(IDENTIFIER + ".a")),
                   ("de.lproj/InfoPlist.strings", "CFBundleName = a;")])
        out = self.succeed("duplicate", "app.ipa", "--name", "My Büro", "--identifier", "org.x-1.n",
                           "--deep", "--output", "out")
        log = successLog("2")
        log[4:8] = ["Previous Bundle ID: com.example.notes", "New Bundle ID: org.x-1.n",
                    "Previous App Name: Notes", "New App Name: My Büro"]
        log[-2] = "Zipped IPA file: My Büro.ipa"
        self.assertEqual(out, lines(
            *log, "New CFBundleIdentifier in PlugIns/A.appex/Info.plist: org.x-1.n.a",
            "New CFBundleName in de.lproj/InfoPlist.strings: My Büro"))
        main = self.mainList("My Büro.ipa")
        self.assertEqual([main[key] for key in ["CFBundleIdentifier", "CFBundleDisplayName",
                                                "CFBundleName"]], ["org.x-1.n", "My Büro", "My Büro"])
        self.assertEqual(self.differences("My Büro.ipa"), {
            "PlugIns/A.appex/Info.plist": bundle("org.x-1.n.a"),
            "de.lproj/InfoPlist.strings": 'CFBundleName = "My Büro";'.encode()})

    def testANumberGoesWithOneOfThem(self):
        self.make()
        self.assertEqual(self.duplicate("--name", "X").code, 0)
        self.assertEqual(self.mainList("X.ipa")["CFBundleIdentifier"], IDENTIFIER + "2")
        self.assertEqual(self.duplicate("--identifier", "org.x", number="").err, "")
        main = self.mainList("Notes.ipa")
        self.assertEqual((main["CFBundleIdentifier"], main["CFBundleName"]), ("org.x", "notes"))

    def testTheIdentifierOfTheOriginalIsAWarning(self):
        self.make()
        result = self.duplicate("--identifier", IDENTIFIER)
        self.assertEqual((result.code, result.err),
                         (0, "vellomir-cli: warning: app.ipa: the identifier is that of the "
                             "original, so the copy would replace it\n"))

    def testWrongOnesTouchNothing(self):
        self.make()
        with self.unchanged():
            for arguments in [["--identifier", ""], ["--identifier", "a b"], ["--identifier", "a_b"],
                              ["--identifier", ".a"], ["--identifier", "a."],
                              ["--identifier", "a..b"], ["--identifier", "ä"], ["--name", ""],
                              ["--name", "a/b"], ["--name", "a\nb"], ["--name", b"\xff"],
                              ["--report", ""]]:
                self.fail_("duplicate", "app.ipa", "--number", "2", *arguments, code=2)
            for arguments in [["--name", "a"], ["--identifier", "a"], []]:
                self.assertIn("--number is required",
                              self.fail_("duplicate", "app.ipa", *arguments, code=2))


class Report(DeepCase):
    def report(self, name="report.json"):
        return json.loads((self.folder / name).read_bytes())

    def change(self, file, *keyPath, old, new):
        return {"file": APP + file, "keyPath": list(keyPath), "from": old, "to": new}

    def testEveryChange(self):
        self.make([("PlugIns/A.appex/Info.plist", bundle(IDENTIFIER + ".a"))],
                  **{"CFBundleIcons": {"CFBundlePrimaryIcon": {"a": b"\0\1", "b": [1, -2.5, True]}}})
        self.deeply("--nested", "--report", "report.json", log=[
            "New CFBundleIdentifier in PlugIns/A.appex/Info.plist: com.example.notes2.a"])
        found = self.report()
        self.assertEqual(list(found), ["package", "result", "changes", "kept", "warnings"])
        icons = {"CFBundlePrimaryIcon": {"a": "AAE=", "b": [1, -2.5, True]}}
        name = "Info.plist"
        self.assertEqual(found, {
            "package": "app.ipa", "result": str(self.folder / "out/Notes2.ipa"), "kept": [],
            "warnings": [], "changes": [
                self.change(name, "CFBundleDisplayName", old="Notes", new="Notes2"),
                self.change(name, "CFBundleIcons", old=icons, new=None),
                self.change(name, "CFBundleIdentifier", old=IDENTIFIER, new=IDENTIFIER + "2"),
                self.change(name, "CFBundleName", old="notes", new="notes2"),
                self.change(name, "CFBundleIconFiles", old=None, new=ICON_NAMES),
                self.change("PlugIns/A.appex/Info.plist", "CFBundleIdentifier",
                            old=IDENTIFIER + ".a", new=IDENTIFIER + "2.a")]})

    def testIconFilesAndWarnings(self):
        self.make([("PlugIns/A.appex/Info.plist", bundle("x"))])
        makePicture(self.folder / "icon.png", 40, 20)
        self.duplicate("--icon", "icon.png", "--nested", "--report", "report.json")
        found = self.report()
        size = len(self.contents("out/Notes2.ipa")[APP + "icon.png"])
        self.assertEqual(found["changes"][0], self.change(
            "icon.png", old={"bytes": 8}, new={"bytes": size, "width": 40, "height": 20}))
        self.assertEqual(found["changes"][1]["from"], None)
        self.assertEqual(found["warnings"], [
            "Unable to change CFBundleIdentifier in PlugIns/A.appex/Info.plist: x does not begin "
            "with com.example.notes."])

    def testAFailedJobLeavesNone(self):
        self.write("app.ipa", "no package")
        with self.unchanged():
            self.assertEqual(self.duplicate("--report", "report.json").code, 1)
        self.make([("PlugIns/A.appex/Info.plist", bundle("x"))])
        with self.unchanged():
            self.assertEqual(
                self.duplicate("--report", "report.json", "--nested", "--strict").code, 1)

    def testOnlyForceReplacesAFile(self):
        self.make()
        self.write("report.json", "old")
        with self.unchanged():
            self.assertIn("only --force replaces it", self.fail_(
                "duplicate", "app.ipa", "--number", "2", "--report", "report.json"))
        self.assertEqual(self.duplicate("--report", "report.json").code, 0)
        self.assertEqual(self.report()["package"], "app.ipa")

    def testNothingElseIsReplaced(self):
        self.make()
        self.write("file", "old")
        os.symlink("file", self.folder / "link")
        os.symlink("nowhere", self.folder / "dangling")
        os.mkfifo(self.folder / "pipe")
        with self.unchanged():
            for name in ["link", "dangling", "pipe", "out", "out/", ".", "app.ipa", "./app.ipa",
                         "missing/report.json", "missing/"]:
                result = self.duplicate("--report", name)
                self.assertEqual((result.code, result.out), (1, ""), name)

    def testTheCopyAndItsReportHaveTwoNames(self):
        self.make()
        with self.unchanged():
            for arguments in [["out/Notes2.ipa"], ["./out/../out/Notes2.ipa"]]:
                result = self.duplicate("--report", *arguments)
                self.assertEqual(result.code, 1)
                self.assertIn("The copy and its report have one name", result.err)

    def testTheModeFollowsTheUmask(self):
        self.make()
        old = os.umask(0o027)
        self.addCleanup(os.umask, old)
        self.duplicate("--report", "report.json")
        self.assertEqual((self.folder / "report.json").stat().st_mode & 0o7777, 0o640)


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
