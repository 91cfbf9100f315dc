"""Ctrl-C, and the other signals that ask a program to end, at several moments

The moments are waited for by looking at the files; a run that was faster than the look is repeated.
"""
import os
import signal
import subprocess
import time
import unittest
from pathlib import Path

from harness import PROGRAM, Case, makeLargePackage, makeZip, snapshot


class Interrupted(Case):
    def interrupt(self, moment, *command, signals=(signal.SIGINT,), clean=None):
        """Runs the command, sends the signals at the moment and checks how it ended."""
        before = snapshot(self.folder)
        for _ in range(10):
            run = subprocess.Popen([PROGRAM, *command], cwd=self.folder, stdout=subprocess.DEVNULL,
                                   stderr=subprocess.PIPE)
            while run.poll() is None and not moment():
                time.sleep(0.0005)
            for number in signals:
                run.send_signal(number)
            err = run.communicate()[1].decode()
            if run.returncode != 0:
                break
            clean()
        self.assertEqual(run.returncode, 128 + signals[0], err)
        self.assertRegex(self.errorLine(err), r"\Acannot .*: interrupted\Z")
        return before

    def hidden(self, pattern="*"):
        """Whether something in a hidden folder or file of the program's is there."""
        return any(self.folder.glob(f"out/.vellomir-*/{pattern}"))


class Duplicate(Interrupted):
    def setUp(self):
        super().setUp()
        makeLargePackage(self.folder / "app.ipa")
        (self.folder / "out").mkdir()

    def check(self, moment, *arguments, **options):
        clean = (self.folder / "out/Notes2.ipa").unlink
        before = self.interrupt(moment, "duplicate", "app.ipa", "--number", "2", "--output", "out",
                                *arguments, clean=clean, **options)
        self.assertEqual(snapshot(self.folder), before)

    def testWhileCopying(self):
        self.check(lambda: self.hidden("job/Documents/app.ipa"))

    def testWhileTheCopyIsWritten(self):
        self.check(lambda: self.hidden("job/tmp/unfinished.ipa"))

    def testWhileUnpackingOnDisk(self):
        self.check(lambda: self.hidden("job/Documents/app/unzipped/Payload/Notes.app/big"),
                   "--on-disk")

    def testWhilePackingOnDisk(self):
        self.check(lambda: self.hidden("job/Documents/Notes2.ipa"), "--on-disk")

    def testAgainAndAgain(self):
        self.check(lambda: self.hidden("job/tmp/unfinished.ipa"), signals=[signal.SIGINT] * 50)

    def testOtherSignals(self):
        for number in [signal.SIGTERM, signal.SIGHUP]:
            self.check(lambda: self.hidden("job/Documents/app.ipa"), signals=[number])

    def testWhileNobodyReadsTheLog(self):
        reader, writer = os.pipe()
        os.set_blocking(writer, False)
        try:
            while True:
                os.write(writer, b"x" * 4096)
        except BlockingIOError:
            os.set_blocking(writer, True)
        before = snapshot(self.folder)
        run = subprocess.Popen([PROGRAM, "duplicate", "app.ipa", "--number", "2", "--output", "out"],
                               cwd=self.folder, stdout=writer, stderr=subprocess.PIPE)
        while not self.hidden():
            time.sleep(0.001)
        run.send_signal(signal.SIGINT)
        self.errorLine(run.communicate()[1].decode())
        self.assertEqual(run.returncode, 130)
        self.assertEqual(snapshot(self.folder), before)
        os.close(reader)
        os.close(writer)


class Archive(Interrupted):
    def setUp(self):
        super().setUp()
        self.write("src/small", "x")
        self.write("src/big")
        os.truncate(self.folder / "src/big", 256 << 20)

    def names(self):
        return sorted(os.listdir(self.folder))

    def testCreate(self):
        before = self.interrupt(lambda: any(self.folder.glob(".vellomir-*")), "archive", "create",
                                "new.zip", "src", clean=(self.folder / "new.zip").unlink)
        self.assertEqual(snapshot(self.folder), before)

    def testAdd(self):
        makeZip(self.folder / "a.zip", [("old", b"1")])
        content = (self.folder / "a.zip").read_bytes()
        before = self.interrupt(lambda: any(self.folder.glob(".vellomir-*")), "archive", "add",
                                "a.zip", "src/big",
                                clean=lambda: (self.folder / "a.zip").write_bytes(content))
        self.assertEqual(snapshot(self.folder), before)

    def testExtract(self):
        makeLargePackage(self.folder / "a.zip")
        big = self.folder / "out/Payload/Notes.app/big"
        self.interrupt(big.exists, "archive", "extract", "a.zip", "out",
                       clean=lambda: removeOut(self.folder / "out"))
        self.assertEqual(self.names(), ["a.zip", "out", "src"])

    def testTest(self):
        makeLargePackage(self.folder / "a.zip")
        with self.unchanged():
            run = subprocess.Popen([PROGRAM, "archive", "test", "a.zip", "--progress", "always"],
                                   cwd=self.folder, stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                                   bufsize=0)
            self.assertEqual(run.stderr.read(1), b"\r")
            run.send_signal(signal.SIGINT)
            err = run.communicate()[1].decode()
            self.assertEqual(run.returncode, 130, err)
        self.errorLine(err.splitlines(keepends=True)[-1])


class Waiting(Case):
    """Runs that wait for a reader, so that no moment can be missed."""

    def setUp(self):
        super().setUp()
        makeZip(self.folder / "a.zip", [("big", b"x" * 10_000_000)])

    def start(self, **options):
        run = subprocess.Popen([PROGRAM, "archive", "cat", "a.zip", "big"], cwd=self.folder,
                               stdout=subprocess.PIPE, stderr=subprocess.PIPE, bufsize=0, **options)
        self.assertEqual(run.stdout.read(1), b"x")
        return run

    def testASignalEndsTheWait(self):
        for number in [signal.SIGINT, signal.SIGTERM, signal.SIGHUP]:
            run = self.start()
            run.send_signal(number)
            run.wait()
            self.assertEqual(run.returncode, 128 + number)
            self.assertEqual(self.errorLine(run.communicate()[1].decode()),
                             "cannot print big of a.zip: interrupted")

    def testASignalThatTheCallerIgnoresStaysIgnored(self):
        def ignore():
            signal.signal(signal.SIGHUP, signal.SIG_IGN)

        run = self.start(preexec_fn=ignore)
        run.send_signal(signal.SIGHUP)
        out, err = run.communicate()
        self.assertEqual((run.returncode, len(out), err), (0, 9_999_999, b""))


def removeOut(folder: Path):
    for path in sorted(folder.rglob("*"), reverse=True):
        path.rmdir() if path.is_dir() else path.unlink()
    folder.rmdir()


if __name__ == "__main__":
    unittest.main()
