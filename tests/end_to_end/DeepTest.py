"""vellomir-cli duplicate with --nested, --name and --identifier"""
import json
import unittest
import zipfile

from deep import APP, IDENTIFIER, PLIST, DeepCase, binary, bundle, xml
from harness import lines, successLog


class Nested(DeepCase):
    def testEachKindOfBundle(self):
        names = {"PlugIns/Share.appex": ".share", "Extensions/Ex.appex": ".ex",
                 "com.apple.WatchPlaceholder/P.app": ".placeholder",
                 "Watch/W.app": ".watch", "Watch/W.app/PlugIns/E.appex": ".watch.e",
                 "AppClips/Clip.app": ".Clip", "AppClips/Clip.app/PlugIns/N.appex": ".Clip.n"}
        self.make([(f"{path}/Info.plist", bundle(IDENTIFIER + end)) for path, end in names.items()])
        order = ["AppClips/Clip.app", "AppClips/Clip.app/PlugIns/N.appex", "Extensions/Ex.appex",
                 "PlugIns/Share.appex", "Watch/W.app", "Watch/W.app/PlugIns/E.appex",
                 "com.apple.WatchPlaceholder/P.app"]
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


if __name__ == "__main__":
    unittest.main()
