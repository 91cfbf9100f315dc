"""inspect and duplicate --localized: old text in the encodings from before Unicode

Python's codecs write the files and read the results.
"""
import codecs
import json
import os
import unittest

from deep import DeepCase

# Folder, the encodings that were usual there, and a name in the language.
WESTERN = ["mac_roman", "cp1252"]
CENTRAL = ["mac_latin2", "cp1250"]
CYRILLIC = ["mac_cyrillic", "cp1251", "koi8_r"]
LANGUAGES = [
    ("German", WESTERN, "Große Übungen für Künstler"),
    ("de", WESTERN, "Äpfel"),
    ("fr", WESTERN, "Élève déjà à l’école"),
    ("fr_CA", WESTERN, "Français"),
    ("es", WESTERN, "Añadir ¿qué?"),
    ("pt_BR", WESTERN, "Anotações"),
    ("sv", WESTERN, "Återställ"),
    ("da", WESTERN, "Blåbærgrød"),
    ("it", WESTERN, "Attività"),
    ("Base", WESTERN, "Café © 2009"),
    ("Japanese", ["cp932", "euc_jp"], "メモ帳ソフト"),
    ("ja", ["cp932", "euc_jp"], "表示の予定表"),
    ("ko", ["cp949"], "메모장 똠"),
    ("zh_CN", ["gb18030", "gbk"], "备忘录"),
    ("zh-Hans", ["gb18030"], "记事本 乗〇"),
    ("zh_TW", ["big5"], "備忘錄功許"),
    ("zh-Hant-HK", ["big5"], "記事本"),
    ("ru", CYRILLIC, "Заметки и списки"),
    ("uk", ["mac_cyrillic", "cp1251", "koi8_u"], "Нотатки їжака"),
    ("pl", CENTRAL, "Notatki łódzkie, zażółć gęślą"),
    ("cs", CENTRAL, "Poznámky žluťoučké"),
    ("hu", CENTRAL, "Jegyzetek űrhöz"),
    ("el", ["cp1253"], "Σημειώσεις"),
    ("tr", ["cp1254"], "Notlarım şıklığı"),
    ("ar", ["cp1256"], "مذكرات"),
    ("he", ["cp1255"], "פתקים"),
    ("th", ["cp874"], "โน้ต"),
]


def oldText(name, comment="/* {0} */\n"):
    """Every character of the name is also outside of it, and behind it comes another text."""
    return (comment.format(name) + f'"CFBundleDisplayName" = "{name}";\nNSCameraUsageDescription = "{name} \\"a\\"";\n' +
            f'CFBundleName="{name}" ; // {name}\n')


def changed(text, name, new):
    for start in ['"CFBundleDisplayName" = ', "CFBundleName="]:
        text = text.replace(f'{start}"{name}"', f'{start}"{new}"')
    return text


class DeepEncodings(DeepCase):
    def file(self, language, content):
        self.make([(f"{language}.lproj/InfoPlist.strings", content)])

    def copied(self, language, *arguments):
        """The file in the copy, which is made without a warning."""
        result = self.duplicate("--localized", *arguments)
        self.assertEqual((result.code, result.err), (0, ""))
        return self.contents("out/" + result.out.split("Zipped IPA file: ")[1].split("\n")[0])[
            f"Payload/Notes.app/{language}.lproj/InfoPlist.strings"]

    def names(self):
        found = json.loads(self.succeed("inspect", "app.ipa", "--json"))
        return ([each["displayName"] for each in found["languages"]],
                [each for each in found["unread"] if each["path"].endswith(".strings")])

    def forEach(self, check):
        for language, encodings, name in LANGUAGES:
            for encoding in encodings:
                with self.subTest(f"{language} {encoding}"):
                    check(language, encoding, name)

    def testOnlyTheNamesChange(self):
        def check(language, encoding, name):
            text = oldText(name)
            self.file(language, text.encode(encoding))
            new = changed(text, name, name + "2").encode(encoding)
            self.assertEqual(self.copied(language, "--strict"), new)

        self.forEach(check)

    def testInspectShowsTheNames(self):
        def check(language, encoding, name):
            self.file(language, oldText(name).encode(encoding))
            self.assertEqual(self.names(), ([name], []))

        self.forEach(check)

    def testNamesAloneAreEnough(self):
        def check(language, encoding, name):
            self.file(language, f'CFBundleDisplayName = "{name}";'.encode(encoding))
            self.assertEqual(self.names(), ([name], []))

        self.forEach(check)

    def testUnicodeInEveryForm(self):
        name = "Notizen – 备忘录 😀"
        for text in [oldText(name), oldText(name, "\u2028// {0}\n")]:
            for encoding, mark in [("utf-8", b""), ("utf-8", codecs.BOM_UTF8), ("utf-16-le", b""),
                                   ("utf-16-be", b""), ("utf-16-le", codecs.BOM_UTF16_LE),
                                   ("utf-16-be", codecs.BOM_UTF16_BE), ("utf-32-le", b""),
                                   ("utf-32-be", b""), ("utf-32-le", codecs.BOM_UTF32_LE),
                                   ("utf-32-be", codecs.BOM_UTF32_BE)]:
                with self.subTest(f"{encoding} {mark} {text[0]!r}"):
                    self.file("de", mark + text.encode(encoding))
                    self.assertEqual(self.names(), ([name], []))
                    self.assertEqual(self.copied("de"), mark + changed(text, name, name + "2").encode(encoding))

    def testNewNameInTheSet(self):
        text = oldText("Künstler")
        self.file("de", text.encode("mac_roman"))
        self.assertEqual(self.copied("de", "--name", "Bücher"),
                         changed(text, "Künstler", "Bücher").encode("mac_roman"))

    def testASetThatLacksANewCharacterBecomesUTF16(self):
        for language, encoding, name in [("de", "mac_roman", "Künstler"), ("ja", "cp932", "メモ帳ソ")]:
            text = oldText(name)
            self.file(language, text.encode(encoding))
            self.assertEqual(self.copied(language, "--name", "Σ 😀"),
                             codecs.BOM_UTF16_LE + changed(text, name, "Σ 😀").encode("utf-16-le"))

    def testBytesOfNoUsualSet(self):
        """Another set would take parts of characters for quotes and backslashes."""
        self.file("ja", b'CFBundleDisplayName = "\xff\xfd\\";')
        self.assertEqual(len(self.names()[1]), 1)
        result = self.duplicate("--localized")
        self.assertIn("expected text in UTF-8", result.err)
        self.assertEqual(self.differences("Notes2.ipa"), {})

    def testTheLocaleMakesNoDifference(self):
        self.file("de", oldText("Künstler").encode("mac_roman"))
        for locale in ["C", "C.UTF-8", "POSIX", "xx_XX"]:
            out = self.cli("inspect", "app.ipa", "--json", env={**os.environ, "LC_ALL": locale}).out
            self.assertEqual(json.loads(out)["languages"][0]["displayName"], "Künstler")

    def testEmptyFilesAreRead(self):
        for content in [b"", b"/* no names */\n", codecs.BOM_UTF16_LE, "// ü\n".encode("mac_roman")]:
            self.file("de", content)
            self.assertEqual(self.names(), ([], []))


if __name__ == "__main__":
    unittest.main()
