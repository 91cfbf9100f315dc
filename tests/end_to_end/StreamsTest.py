"""Standard output and standard error that are full, closed, without a reader, or a terminal"""
import os
import pty
import subprocess
import unittest

from harness import PROGRAM, Case, infoPlist, makePackage, makeZip

COMMANDS = [["--version"], ["--help"], ["archive", "list", "a.zip"],
            ["archive", "list", "a.zip", "--json"], ["archive", "cat", "a.zip", "big"],
            ["archive", "test", "a.zip"], ["archive", "test", "a.zip", "--json"],
            ["duplicate", "app.ipa", "--number", "2", "--output", "out"],
            ["duplicate", "app.ipa", "--number", "2", "--output", "out", "--json"]]


class Output(Case):
    def setUp(self):
        super().setUp()
        makeZip(self.folder / "a.zip", [("big", b"x" * 1_000_000)])
        makePackage(self.folder / "app.ipa")
        (self.folder / "out").mkdir()

    def check(self, why, **options):
        for command in COMMANDS:
            run = subprocess.run([PROGRAM, *command], cwd=self.folder, stderr=subprocess.PIPE,
                                 check=False, **options)
            self.assertEqual(run.returncode, 1, command)
            line = self.errorLine(run.stderr.decode())
            self.assertIn(f"standard output: {why}", line)
            self.assertEqual([name for name in os.listdir(self.folder / "out") if name[0] == "."], [])
            if "--json" not in command:
                self.assertEqual(os.listdir(self.folder / "out"), [])

    def testFull(self):
        with open("/dev/full", "wb") as full:
            self.check("No space left on device", stdout=full)

    def testClosed(self):
        self.check("Bad file descriptor", preexec_fn=lambda: os.close(1))

    def testReadByNobody(self):
        reader, writer = os.pipe()
        os.close(reader)
        self.check("Broken pipe", stdout=writer)
        os.close(writer)

    def testAReaderThatLeavesStopsTheCommand(self):
        script = f"'{PROGRAM}' archive cat a.zip big | head -c 5; echo \" ${{PIPESTATUS[0]}}\""
        run = subprocess.run(["bash", "-c", script], cwd=self.folder, capture_output=True, check=True)
        self.assertEqual(run.stdout, b"xxxxx 1\n")

    def testAnArchiveIsNeverTakenForAClosedOutput(self):
        # The first file that is opened would get the number of a closed stream.
        def close():
            os.closerange(0, 3)

        self.write("new", "new")
        run = subprocess.run([PROGRAM, "archive", "add", "a.zip", "new"], cwd=self.folder,
                             check=False, preexec_fn=close)
        self.assertEqual(run.returncode, 0)
        subprocess.run([PROGRAM, "archive", "cat", "a.zip", "missing"], cwd=self.folder, check=False,
                       preexec_fn=close)
        subprocess.run(["unzip", "-tqq", "a.zip"], cwd=self.folder, check=True)

    def testNobodyReadsTheErrors(self):
        reader, writer = os.pipe()
        os.close(reader)
        run = subprocess.run([PROGRAM, "archive", "list", "missing"], cwd=self.folder, stderr=writer,
                             check=False)
        os.close(writer)
        self.assertEqual(run.returncode, 1)


class Terminal(Case):
    def setUp(self):
        super().setUp()
        (self.folder / "out").mkdir()
        os.environ["TERM"] = "xterm"
        os.environ.pop("NO_COLOR", None)

    def onTerminal(self, *command, stdout=None, **environment):
        """Runs with standard error, and standard output if no other is given, on a terminal."""
        master, terminal = pty.openpty()
        run = subprocess.Popen([PROGRAM, *command], cwd=self.folder, stdout=stdout or terminal,
                               stderr=terminal, env={**os.environ, **environment})
        os.close(terminal)
        text = b""
        try:
            while chunk := os.read(master, 65536):
                text += chunk
        except OSError:
            pass # how a terminal ends whose other side is closed
        os.close(master)
        self.assertEqual(run.wait(), 0)
        return text.decode()

    def testTheLogDrivesNoTerminal(self):
        makePackage(self.folder / "app.ipa", infoPlist(CFBundleDisplayName="\u009b2J\n"))
        text = self.onTerminal("duplicate", "app.ipa", "--number", "2", "--output", "out",
                               "--progress", "never")
        self.assertIn("New App Name: \\xc2\\x9b2J\\x0a2\r\n", text)
        self.assertNotIn("\u009b", text)

    def testABarIsDrawnAndGone(self):
        makePackage(self.folder / "app.ipa")
        text = self.onTerminal("duplicate", "app.ipa", "--number", "2", "--output", "out",
                               stdout=subprocess.DEVNULL)
        self.assertIn("\r\x1b[33m[", text)
        self.assertTrue(text.endswith("\r\x1b[K"), repr(text))

    def testTheLogStandsAloneOnItsLines(self):
        makePackage(self.folder / "app.ipa")
        text = self.onTerminal("duplicate", "app.ipa", "--number", "2", "--output", "out")
        for line in ["Unzipping IPA...", "Moved Payload folder", "Temporary files cleared"]:
            self.assertRegex(text, r"(\A|\r\n|\x1b\[K)" + line.replace(".", r"\.") + r"\r\n")

    def testNoColour(self):
        makeZip(self.folder / "a.zip", [("a", b"1")])
        text = self.onTerminal("archive", "extract", "a.zip", "out", NO_COLOR="1")
        self.assertIn("\r[", text)
        self.assertNotIn("\x1b[33m", text)

    def testNoBarOnRequest(self):
        makeZip(self.folder / "a.zip", [("a", b"1")])
        for number, options in enumerate([["--progress", "never"], ["--quiet"],
                                          ["--quiet", "--progress", "always"]]):
            self.assertEqual(self.onTerminal("archive", "extract", "a.zip", str(number), *options),
                             "")

    def testNoBarOfWhatIsQuicklyDone(self):
        makeZip(self.folder / "a.zip", [("a", b"1")])
        self.assertEqual(self.onTerminal("archive", "cat", "a.zip", "a"), "1")


class Bar(Case):
    def testOnlyWhenAskedForElsewhere(self):
        makeZip(self.folder / "a.zip", [("a", b"1" * 100_000)])
        self.assertEqual(self.cli("archive", "extract", "a.zip", "one").err, "")
        bar = self.cli("archive", "extract", "a.zip", "two", "--progress", "always").err
        self.assertRegex(bar, r"\A(\r\[=*>? *\] +\d+ %)+\n\Z")
        self.assertTrue(bar.endswith("] 100 %\n"), bar)

    def testEveryLongCommandHasOne(self):
        makePackage(self.folder / "app.ipa")
        self.write("file", b"x" * 100_000)
        for command in [["duplicate", "app.ipa", "--number", "2"],
                        ["archive", "create", "new.zip", "file"],
                        ["archive", "add", "app.ipa", "file"], ["archive", "test", "app.ipa"]]:
            result = self.cli(*command, "--progress", "always")
            self.assertEqual(result.code, 0, result.err)
            self.assertIn("] 100 %", result.err, command)
            self.assertRegex(result.err, r"(\n| \r)\Z")

    def testTheErrorLineComesAfterIt(self):
        makeZip(self.folder / "a.zip", [("a", b"1" * 100_000), ("b", b"2")])
        self.write("out/b", "old")
        err = self.cli("archive", "extract", "a.zip", "out", "--progress", "always").err
        self.assertRegex(err, r"\A(\r\[=*>? *\] +\d+ %)+\nvellomir-cli: cannot extract [^\n]+\n\Z")


if __name__ == "__main__":
    unittest.main()
