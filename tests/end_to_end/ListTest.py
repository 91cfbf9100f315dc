"""vellomir-cli archive list"""
import json
import os
import pty
import subprocess
import unittest
import zipfile
from harness import PROGRAM, Case, corrupt, lines, makeZip, zipInfo


class List(Case):
    def setUp(self):
        super().setUp()
        makeZip(self.folder / "a.zip",
                [("d/", b""), ("d/f.txt", b"hello"), ("ü", b"123456789", 0o104755),
                 ("link", b"d/f.txt", 0o120777)])
        with zipfile.ZipFile(self.folder / "a.zip", "a") as archive:
            archive.writestr(zipInfo("z", method=zipfile.ZIP_DEFLATED), b"z" * 1000)

    def testLines(self):
        date = "2025-01-01 13:25:58"
        self.assertEqual(self.succeed("archive", "list", "a.zip"), lines(
            f"drwxr-xr-x            0 none    {date} d/",
            f"-rw-r--r--            5 none    {date} d/f.txt",
            f"-rwsr-xr-x            9 none    {date} ü",
            f"lrwxrwxrwx            7 none    {date} link",
            f"-rw-r--r--         1000 deflate {date} z"))

    def testJson(self):
        found = json.loads(self.succeed("archive", "list", "a.zip", "--json"))
        self.assertEqual(list(found), ["archive", "zip64", "entries"])
        self.assertEqual((found["archive"], found["zip64"]), ("a.zip", False))
        self.assertEqual([entry["path"] for entry in found["entries"]],
                         ["d/", "d/f.txt", "ü", "link", "z"])
        self.assertEqual([entry["type"] for entry in found["entries"]],
                         ["directory", "file", "file", "symlink", "file"])
        self.assertEqual(list(found["entries"][2].items()), [
            ("path", "ü"), ("type", "file"), ("method", 0), ("compressedSize", 9),
            ("uncompressedSize", 9), ("checksum", "cbf43926"),
            ("modified", "2025-01-01T13:25:58Z"), ("permissions", "4755"),
            ("dataOffset", 32 + 37 + 5 + 32), ("localSize", 32 + 9), ("zip64", False)])
        self.assertEqual(found["entries"][4]["method"], 8)

    def testJsonAgreesWithAnotherReader(self):
        found = json.loads(self.succeed("archive", "list", "a.zip", "--json"))["entries"]
        with zipfile.ZipFile(self.folder / "a.zip") as archive:
            for entry, info in zip(found, archive.infolist(), strict=True):
                self.assertEqual((entry["path"], entry["compressedSize"], entry["uncompressedSize"],
                                  int(entry["checksum"], 16)),
                                 (info.filename, info.compress_size, info.file_size, info.CRC))

    def testAnEmptyArchive(self):
        makeZip(self.folder / "empty.zip", [])
        self.assertEqual(self.succeed("archive", "list", "empty.zip"), "")
        self.assertEqual(json.loads(self.succeed("archive", "list", "empty.zip", "--json")),
                         {"archive": "empty.zip", "zip64": False, "entries": []})

    def testEncodings(self):
        # The names say nothing of themselves; one byte is no UTF-8, two are one letter of it.
        makeZip(self.folder / "raw.zip", [("A", b""), ("BB", b"")])
        content = (self.folder / "raw.zip").read_bytes()
        (self.folder / "raw.zip").write_bytes(content.replace(b"A", b"\x81").replace(b"BB", b"\xc3\xbc"))

        def paths(*options):
            found = json.loads(self.succeed("archive", "list", "raw.zip", "--json", *options))
            return [entry["path"] for entry in found["entries"]]

        self.assertEqual(paths(), ["ü", "├╝"])
        self.assertEqual(paths("--encoding", "cp437"), ["ü", "├╝"])
        self.assertEqual(paths("--encoding", "utf-8"), ["", "ü"])
        self.assertIn(" \\x81\n", self.succeed("archive", "list", "raw.zip", "--encoding", "utf-8"))

    def testHostileNames(self):
        name = 'a"\\\x1b[2J\n\x00b\x7f\u2028'
        makeZip(self.folder / "hostile.zip", [("x" * len(name.encode()), b"")])
        content = (self.folder / "hostile.zip").read_bytes()
        content = content.replace(b"x" * len(name.encode()), name.encode())
        (self.folder / "hostile.zip").write_bytes(content)
        options = ["archive", "list", "hostile.zip", "--encoding", "utf-8"]
        found = json.loads(self.succeed(*options, "--json"))
        self.assertEqual(found["entries"][0]["path"], name)
        self.assertTrue(self.succeed(*options).endswith(' a"\\\\x1b[2J\\x0a\\x00b\\x7f\u2028\n'))

    def testATerminalIsNotDriven(self):
        makeZip(self.folder / "hostile.zip", [("\x1b[2J\n\x07", b"")])
        master, terminal = pty.openpty()
        code = subprocess.run([PROGRAM, "archive", "list", "hostile.zip"], cwd=self.folder,
                              stdout=terminal, stderr=subprocess.PIPE, check=False).returncode
        os.close(terminal)
        text = os.read(master, 10000).decode()
        os.close(master)
        self.assertEqual(code, 0)
        self.assertTrue(text.endswith(" \\x1b[2J\\x0a\\x07\r\n"), repr(text))

    def testAnArchiveWithAnOddName(self):
        makeZip(self.folder / os.fsdecode(b"a\xff.zip"), [])
        result = self.cli("archive", "list", os.fsdecode(b"a\xff.zip"), "--json")
        self.assertEqual(json.loads(result.bytes)["archive"], "a\ufffd.zip")


class Shortfall(Case):
    def setUp(self):
        super().setUp()
        makeZip(self.folder / "a.zip", [("one", b"1"), ("two", b"2"), ("three", b"3")])

    def warning(self, out, *options):
        result = self.cli("archive", "list", "a.zip", *options)
        self.assertEqual(result.code, 0)
        self.assertEqual(len(result.out.splitlines()), out)
        return self.errorLine(result.err).removeprefix("warning: a.zip: ")

    def setFlagOfSecond(self, bit):
        content = bytearray((self.folder / "a.zip").read_bytes())
        content[content.rindex(b"PK\1\2", 0, content.rindex(b"PK\1\2")) + 8] |= bit
        (self.folder / "a.zip").write_bytes(content)

    def testAnEncryptedEntry(self):
        self.setFlagOfSecond(1)
        self.assertEqual(self.warning(1), "the directory promises 3 entries, 1 could be reached: "
                                          "entry 2 is encrypted")

    def testAnEncryptedEntryOfAnotherWriter(self):
        for name in ["one", "two"]:
            self.write(name, "content")
        subprocess.run(["zip", "-q", "-P", "secret", "locked.zip", "one", "two"], cwd=self.folder,
                       check=True)
        result = self.cli("archive", "list", "locked.zip")
        self.assertEqual((result.code, result.out), (0, ""))
        self.assertIn("promises 2 entries, 0 could be reached: entry 1 is encrypted", result.err)

    def testEntriesThatTheEndRecordDoesNotCount(self):
        content = bytearray((self.folder / "a.zip").read_bytes())
        content[-22 + 8] = content[-22 + 10] = 2
        (self.folder / "a.zip").write_bytes(content)
        for options in [[], ["--memory"]]:
            self.assertEqual(self.warning(2, *options), "the directory holds 3 entries, 2 could be "
                                                        "reached: the end record counts no more")

    def testADamagedRecord(self):
        content = (self.folder / "a.zip").read_bytes()
        (self.folder / "a.zip").write_bytes(content.replace(b"PK\1\2", b"PK\1\3", 1))
        self.assertEqual(self.warning(0), "the directory promises 3 entries, 0 could be reached: "
                                          "the directory's record 1 is damaged")

    def testADamagedLocalHeader(self):
        content = (self.folder / "a.zip").read_bytes()
        second = content.index(b"PK\3\4", 1)
        (self.folder / "a.zip").write_bytes(content[:second] + b"XX" + content[second + 2:])
        self.assertEqual(self.warning(1), "the directory promises 3 entries, 1 could be reached: "
                                          "there is no local header where the directory's record 2 "
                                          "says")

    def testSomethingInFront(self):
        content = (self.folder / "a.zip").read_bytes()
        (self.folder / "a.zip").write_bytes(b"#!/bin/sh\n" + content)
        self.assertEqual(self.warning(0), "the directory promises 3 entries, 0 could be reached: "
                                          "something stands in front of the archive in its file "
                                          "(10 bytes)")

    def testSomethingInFrontThatTheOffsetsCount(self):
        subprocess.run(["bash", "-c", "printf 0123456789 | cat - a.zip >b.zip && zip -qA b.zip"],
                       cwd=self.folder, check=True)
        self.assertEqual(len(self.succeed("archive", "list", "b.zip").splitlines()), 3)

    def testQuiet(self):
        self.setFlagOfSecond(1)
        self.assertEqual(len(self.succeed("archive", "list", "a.zip", "--quiet").splitlines()), 1)

    def testJsonStaysValid(self):
        self.setFlagOfSecond(1)
        result = self.cli("archive", "list", "a.zip", "--json")
        self.assertEqual(len(json.loads(result.out)["entries"]), 1)

    def testWhatIsNoArchive(self):
        corrupt(self.folder / "a.zip", b"PK\5\6", b"PK\5\7")
        self.write("empty")
        self.write("text", "hello")
        for name, why in [("a.zip", "cut short"), ("empty", "empty"), ("text", "not a ZIP archive"),
                          ("missing", "No such file"), (".", "folder")]:
            line = self.fail_("archive", "list", name)
            self.assertTrue(line.startswith(f"cannot list {name}: "), line)
            self.assertIn(why, line)
            self.assertTrue(line.endswith(" (ArchiveError.unreadableArchive)"), line)


if __name__ == "__main__":
    unittest.main()
