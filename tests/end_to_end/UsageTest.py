"""Command lines: what is asked of the program itself, and what is refused before anything happens."""
import unittest

from harness import Case


class Usage(Case):
    def testVersion(self):
        self.assertRegex(self.succeed("--version"), r"\Avellomir-cli \d+\.\d+\n\Z")

    def testHelpEverywhere(self):
        commands = [[], ["duplicate"], ["inspect"], ["archive"]]
        commands += [["archive", name] for name in ["list", "extract", "create", "add", "remove",
                                              "cat", "test", "compare"]]
        for command in commands:
            text = self.succeed(*command, "--help")
            self.assertIn("Usage: " + " ".join(["vellomir-cli", *command]) + " ", text)
            self.assertEqual(text, self.succeed(*command, "-h"))
            self.assertLessEqual(max(map(len, text.splitlines())), 100)

    def testHelpNamesTheOptions(self):
        duplicate = self.succeed("duplicate", "--help")
        for option in ["PACKAGE", "--number TEXT", "--numbers FIRST..LAST", "{name}", "--icon PICTURE", "--zoom", "--output PATH",
                       "--force", "--encoding utf-8|cp437", "--allow-incomplete", "--strict",
                       "--json", "--quiet", "--progress auto|always|never", "--nested",
                       "--localized", "--icons", "--deep", "--name TEXT", "--identifier TEXT",
                       "--opaque", "--report FILE", "--on-disk", "--jobs N"]:
            self.assertIn(option, duplicate)

    def testWrongCommandLinesTouchNothing(self):
        self.write("a.zip", "not opened")
        with self.unchanged():
            for arguments in [[], ["bogus"], ["archive"], ["archive", "list"],
                              ["archive", "list", "a.zip", "--bogus"],
                              ["archive", "create", "new.zip", "a.zip", "--method", "lzma"],
                              ["archive", "add", "a.zip", "/etc/passwd"],
                              ["archive", "add", "a.zip", "../x"],
                              ["archive", "add", "new.zip", "a.zip", "a.zip"],
                              ["duplicate", "a.zip"], ["duplicate", "--number", "1"],
                              ["duplicate", "a.zip", "--number", "1", "--zoom"],
                              ["duplicate", "a.zip", "--number", "1", "--encoding", "latin1"],
                              ["duplicate", "", "--number", "1"],
                              ["duplicate", "a.zip", "--numbers", "5..2"],
                              ["duplicate", "a.zip", "a.zip", "--number", "1"],
                              ["duplicate", "a.zip", "--number", "1", "--output", "{bogus}"],
                              ["duplicate", "a.zip", "b.zip", "--number", "1", "--output", "new.ipa"]]:
                line = self.fail_(*arguments, code=2)
                self.assertRegex(line, r"\Awrong command line: .+ \(vellomir-cli.* --help tells more\)\Z")

    def testWrongCommandLinesWithControlCharactersStayOneLine(self):
        self.assertIn('"a\\x0a\\x1b[2J"', self.fail_("a\n\x1b[2J", code=2))


if __name__ == "__main__":
    unittest.main()
