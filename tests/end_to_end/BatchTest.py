"""vellomir-cli duplicate with several packages and numbers in one run"""
import json
import os
import pty
import re
import signal
import subprocess
import time
import unittest
import zipfile
from pathlib import Path

from harness import (PROGRAM, Case, infoPlist, lines, makeLargePackage, makePackage, snapshot,
                     successLog)


def block(copy, log):
    """What a run with several jobs prints for one of them."""
    return lines(f"==> {copy} <==", *log, "")


class Batch(Case):
    def setUp(self):
        super().setUp()
        makePackage(self.folder / "A.ipa")
        makePackage(self.folder / "B.ipa", infoPlist(CFBundleDisplayName="Other",
                                                     CFBundleIdentifier="com.example.other"))
        self.write("Bad.ipa", "no archive")
        (self.folder / "out").mkdir()

    def results(self):
        return sorted(os.listdir(self.folder / "out"))

    def logOfB(self, number):
        return successLog(number, oldName="Other", identifier="com.example.other")

    def testThreeWithOneFailure(self):
        command = ["duplicate", "A.ipa", "Bad.ipa", "B.ipa", "--number", "2", "--output", "out"]
        reason = "This is not a ZIP archive: it has no end record: "
        error = ("vellomir-cli: cannot duplicate Bad.ipa, number 2: Error unzipping IPA file: " +
                 reason + "Bad.ipa (ArchiveError.unreadableArchive)\n")
        for jobs in [[], ["--jobs", "1"], ["--jobs", "64"]]:
            result = self.cli(*command, *jobs, "--force")
            self.assertEqual((result.code, result.err), (1, error))
            failure = ["Unzipping IPA...", f"Error unzipping IPA file: {reason}Bad.ipa",
                       "Error while processing the IPA file"]
            self.assertEqual(self.withoutFailure(result.out),
                             block("A.ipa, number 2", successLog("2")) +
                             "==> Bad.ipa, number 2 <==\n" +
                             block("B.ipa, number 2", self.logOfB("2")) +
                             lines("2 of 3 copies made",
                                   f"A.ipa, number 2: {self.folder}/out/Notes2.ipa",
                                   "Bad.ipa, number 2: failed",
                                   f"B.ipa, number 2: {self.folder}/out/Other2.ipa"), failure)
            self.assertEqual(self.results(), ["Notes2.ipa", "Other2.ipa"])
        quiet = self.cli(*command, "--force", "--quiet")
        self.assertEqual((quiet.code, quiet.out, quiet.err), (1, "", error))

    def withoutFailure(self, out):
        """The block of the failed copy has its heading only."""
        return re.sub(r"(==> Bad.ipa, number 2 <==\n).*?\n\n", r"\1", out, flags=re.DOTALL)

    def testManyCopiesNeverMix(self):
        numbers = [str(number) for number in range(2, 22)]
        result = self.cli("duplicate", "A.ipa", "B.ipa", "--numbers", "2..20", "--number", "21",
                          "--output", "out", "--jobs", "8")
        self.assertEqual((result.code, result.err), (0, ""))
        expected = "".join(block(f"A.ipa, number {number}", successLog(number))
                           for number in numbers)
        expected += "".join(block(f"B.ipa, number {number}", self.logOfB(number))
                            for number in numbers)
        self.assertTrue(result.out.startswith(expected))
        self.assertEqual(result.out[len(expected):].splitlines()[0], "40 of 40 copies made")
        self.assertEqual(len(self.results()), 40)
        for name in self.results():
            with zipfile.ZipFile(self.folder / "out" / name) as copy:
                self.assertIsNone(copy.testzip())

    def testJsonHasOneObjectALine(self):
        result = self.cli("duplicate", "A.ipa", "Bad.ipa", "--number", "2", "--number", "",
                          "--output", "out", "--json")
        self.assertEqual(result.code, 1)
        objects = [json.loads(line) for line in result.out.splitlines()]
        self.assertEqual([(each["package"], each["number"]) for each in objects],
                         [("A.ipa", "2"), ("A.ipa", ""), ("Bad.ipa", "2"), ("Bad.ipa", "")])
        self.assertEqual(objects[0]["log"], successLog("2"))
        self.assertEqual(objects[0]["result"], f"{self.folder}/out/Notes2.ipa")
        self.assertEqual(objects[2]["result"], None)
        self.assertIn("not a ZIP archive", objects[2]["log"][1])
        self.assertIn("number is empty", objects[1]["warnings"][0])
        errors = result.err.splitlines()
        self.assertRegex(errors[0], r'\Avellomir-cli: warning: A.ipa, number "": the number is empty')
        self.assertIn("cannot duplicate Bad.ipa, number 2: ", errors[1])
        self.assertEqual(len(errors), 4)

    def testSameResultIsRefusedBeforeTheFirstJob(self):
        (self.folder / "work").mkdir()
        for more, option, path in [
                (["--output", "out/x.ipa"], "--output", "out/x.ipa"),
                (["--output", "out/{number}.ipa"], "--output", "out/2.ipa"),
                (["--name", "Work", "--output", "out"], "--output", "out/Work.ipa"),
                (["--report", "out/{number}.json"], "--report", "out/2.json"),
                (["--output", "{package}", "--report", "A"], "--report", "A")]:
            with self.unchanged():
                line = self.fail_("duplicate", "A.ipa", "B.ipa", "--number", "2", "--force", *more,
                                  code=2)
                self.assertRegex(line, rf"\Awrong command line: {option}: {re.escape(path)} would be "
                                       r"written for A\.ipa, number 2, and again for [AB]\.ipa, ")

    def testOfOneNameTheFirstIsMade(self):
        """Their names are known after the jobs only; --force does not replace a copy of this run."""
        makePackage(self.folder / "Z.ipa")
        for more in [[], ["--force"], ["--force", "--jobs", "8"]]:
            result = self.cli("duplicate", "A.ipa", "Z.ipa", "--number", "2", "--output", "out",
                              *more)
            self.assertEqual(result.code, 1)
            self.assertRegex(self.errorLine(result.err), r"\Acannot duplicate Z\.ipa, number 2: "
                             r"(The file exists already|Another copy of this run has this name)")
            (self.folder / "out/Notes2.ipa").unlink()

    def testPackagesOfTheRunAreNotReplaced(self):
        makePackage(self.folder / "Notes2.ipa")
        before = (self.folder / "Notes2.ipa").read_bytes()
        result = self.cli("duplicate", "A.ipa", "Notes2.ipa", "--number", "2", "--force",
                          "--output", ".")
        self.assertEqual(result.code, 1)
        self.assertIn("cannot duplicate A.ipa, number 2: The copy would replace a package of this "
                      "run", result.err)
        self.assertEqual((self.folder / "Notes2.ipa").read_bytes(), before)

    def testExistingFileIsRefusedBeforeItsJob(self):
        self.write("out/A-2.ipa", "old")
        result = self.cli("duplicate", "A.ipa", "--numbers", "2..3", "--output",
                          "out/{package}-{number}.ipa", "--report", "out/{package}-{number}.json")
        self.assertEqual(result.code, 1)
        self.assertIn("cannot duplicate A.ipa, number 2: The file exists already", result.err)
        self.assertTrue(result.out.startswith("==> A.ipa, number 2 <==\n\n==> A.ipa, number 3 <=="))
        self.assertEqual(self.results(), ["A-2.ipa", "A-3.ipa", "A-3.json"])
        self.assertEqual((self.folder / "out/A-2.ipa").read_bytes(), b"old")

    def testHostileValuesStayInTheFolder(self):
        for name, identifier, number, output, expected in [
                ("N", "../../../evil", "", "out/{identifier}.ipa", "_._.._.._evil.ipa"),
                ("N", "/etc/passwd", "", "out/{identifier}", "_etc_passwd"),
                ("..", "x", "", "out/{name}", "_."),
                ("N", "a\nb\x1b[2J", "", "out/{identifier}", "a_b_[2J"),
                ("{number}", "{name}", "7", "out/{name} {identifier}{{}", "{number}7 {name}7{}")]:
            package = makePackage(self.folder / "H.ipa", infoPlist(
                CFBundleDisplayName=name, CFBundleIdentifier=identifier))
            before = snapshot(self.folder)
            self.cli("duplicate", package.name, "--number", number, "--output", output)
            made = (self.folder / "out" / expected)
            self.assertTrue(made.exists(), (expected, self.results()))
            made.unlink()
            self.assertEqual(snapshot(self.folder), before)

    def testInterruptionEndsAllJobs(self):
        makeLargePackage(self.folder / "Large.ipa")
        makeLargePackage(self.folder / "Large2.ipa")
        before = snapshot(self.folder)
        run = subprocess.Popen([PROGRAM, "duplicate", "Large.ipa", "Large2.ipa", "A.ipa", "--numbers",
                                "2..20", "--output", "out", "--jobs", "2", "--json"],
                               cwd=self.folder, stdout=subprocess.PIPE, stderr=subprocess.PIPE)
        while run.poll() is None and not any(self.folder.glob("out/.vellomir-*/job/tmp/*")):
            time.sleep(0.001)
        run.send_signal(signal.SIGINT)
        out, err = run.communicate()
        self.assertEqual(run.returncode, 130, err)
        self.assertEqual(err.decode(), "vellomir-cli: cannot make all 57 copies: interrupted\n")
        made = [Path(json.loads(line)["result"]) for line in out.splitlines()]
        for path in made: # those that were ready before the signal
            path.unlink()
        self.assertEqual(snapshot(self.folder), before)

    def testTerminalShowsHowManyAreDone(self):
        master, terminal = pty.openpty()
        run = subprocess.run([PROGRAM, "duplicate", "A.ipa", "--numbers", "2..4", "--output", "out"],
                             cwd=self.folder, stdin=subprocess.DEVNULL, capture_output=False,
                             stdout=subprocess.PIPE, stderr=terminal, check=True,
                             env={**os.environ, "TERM": "xterm", "NO_COLOR": "1"})
        os.close(terminal)
        shown = os.read(master, 1 << 16).decode()
        os.close(master)
        self.assertRegex(shown, r"\r\[[=> ]*\] +\d+ %  \d of 3 done")
        self.assertNotIn("\n", shown)
        self.assertTrue(shown.endswith("\r\x1b[K"), repr(shown))
        self.assertIn(b"3 of 3 copies made\n", run.stdout)


if __name__ == "__main__":
    unittest.main()
