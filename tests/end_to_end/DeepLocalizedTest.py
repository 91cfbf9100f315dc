"""vellomir-cli duplicate --localized: names in every format and encoding"""
import plistlib
import unittest

from deep import DeepCase, binary, xml


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
        table = {"LocProvenance": {"CFBundleName": "no name"}, "de": {"CFBundleName": "n", "x": "y"},
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
            "Error while updating b.lproj/InfoPlist.strings: The old-style text property list cannot "
            'be read: line 1, "CFBundleName": expected a text, found "ÿ" (entry Payload/Notes.app/b.lproj/InfoPlist.strings): app.ipa',
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


if __name__ == "__main__":
    unittest.main()
