"""Two runs on one archive, and what a killed run leaves behind."""
import contextlib
import fcntl
import os
import signal
import subprocess
import time
import unittest
import zipfile
from pathlib import Path

from harness import Case, PROGRAM, makeZip


class Concurrent(Case):
    def setUp(self):
        super().setUp()
        makeZip(self.folder / "a.zip", [("old", b"old content"), ("gone", b"1")])
        self.write("new.txt", "hello " * 1000)

    def names(self):
        with zipfile.ZipFile(self.folder / "a.zip") as archive:
            self.assertIsNone(archive.testzip())
            return archive.namelist()

    def testOfSeveralAtOnceNoneIsLost(self):
        for index in range(6):
            self.write(f"file{index}", f"content {index}")
        runs = [subprocess.Popen([PROGRAM, "archive", "add", "a.zip", f"file{index}"],
                                 cwd=self.folder, stderr=subprocess.PIPE) for index in range(6)]
        done = {f"file{index}" for index, run in enumerate(runs)
                if run.communicate() and run.returncode == 0}
        self.assertEqual(set(self.names()), {"old", "gone"} | done)
        self.assertTrue(done)

    def testAHeldArchiveIsRefusedAndTheHolderNamed(self):
        commands = [["add", "a.zip", "new.txt"], ["add", "--memory", "a.zip", "new.txt"],
                    ["remove", "a.zip", "gone"], ["remove", "--memory", "a.zip", "gone"]]
        with open(self.folder / "a.zip", "rb") as file:
            fcntl.flock(file, fcntl.LOCK_EX)
            with self.unchanged():
                for command in commands:
                    line = self.fail_("archive", *command)
                    self.assertRegex(line, rf"The archive is in use by (another program|"
                                           rf".+ \(process {os.getpid()}\))")
                    self.assertIn("a.zip", line)
                    self.assertNotIn(".vellomir-", line)
            self.assertNotEqual(self.succeed("archive", "list", "a.zip"), "", "reading is free")
        for command in commands[:1] + commands[2:3]:
            self.succeed("archive", *command)
        self.assertEqual(self.names(), ["old", "new.txt"])

    def testTheSecondWaitsForAMoment(self):
        with self.waitingRun() as run:
            pass
        run.send_signal(signal.SIGCONT)
        self.assertEqual(run.wait(), 0)
        self.assertEqual(self.names(), ["old", "gone", "new.txt"])

    def testWhatAKilledRunLeftIsRemovedByTheNext(self):
        for command in [["create", "b.zip", "new.txt"], ["remove", "a.zip", "gone"],
                        ["add", "a.zip", "new.txt"]]:
            with self.waitingRun() as run:
                run.kill()
                run.wait()
            self.assertEqual(len(self.workingFolders()), 1)
            self.succeed("archive", *command)
            self.assertEqual(self.workingFolders(), [], command)

    def testWhatAnotherRunUsesStays(self):
        with self.waitingRun() as run:
            before = self.workingFolders()
            self.succeed("archive", "create", "b.zip", "new.txt")
            self.assertEqual(self.workingFolders(), before)
        run.send_signal(signal.SIGCONT)
        self.assertEqual(run.wait(), 0)
        self.assertEqual(self.names(), ["old", "gone", "new.txt"])
        self.assertEqual(self.workingFolders(), [])

    def testPairsLoseNothing(self):
        """Both commands succeed, or the second says who holds the archive and changed nothing."""
        for index in range(30):
            with self.subTest(index=index):
                makeZip(self.folder / "a.zip", [("old", b"old content"), ("gone", b"1")])
                for name in ["one", "two"]:
                    self.write(name, f"{name} {index} " * 5000)
                other = ["add", "a.zip", "two"] if index % 2 else ["remove", "a.zip", "gone"]
                runs = [subprocess.Popen([PROGRAM, "archive", *command], cwd=self.folder,
                                         stderr=subprocess.PIPE)
                        for command in [["add", "a.zip", "one"], other]]
                expected = {"old", "gone"}
                for run, change in zip(runs, [{"one"}, {"two"} if index % 2 else {"gone"}]):
                    error = run.communicate()[1].decode()
                    if run.returncode == 0:
                        expected ^= change
                    else:
                        self.assertIn("The archive is in use by", error)
                self.assertNotEqual(expected, {"old", "gone"})
                self.assertEqual(set(self.names()), expected)
                self.assertEqual(self.workingFolders(), [])

    def testTheSecondSaysWhichRunHoldsTheArchive(self):
        self.write("big")
        os.truncate(self.folder / "big", 64 << 20)
        with self.stoppedRun() as first:
            with self.unchanged():
                line = self.fail_("archive", "remove", "a.zip", "gone")
            self.assertRegex(line, rf"The archive is in use by (another program|"
                                   rf"vellomir-cli \(process {first.pid}\))")
        first.send_signal(signal.SIGCONT)
        self.assertEqual(first.wait(), 0)
        self.assertEqual(self.names(), ["old", "gone", "big"])
        self.succeed("archive", "remove", "a.zip", "gone")
        self.assertEqual(self.names(), ["old", "big"])

    @contextlib.contextmanager
    def stoppedRun(self):
        """A run that is stopped while it holds the archive."""
        content = (self.folder / "a.zip").read_bytes()
        for _ in range(50):
            run = subprocess.Popen([PROGRAM, "archive", "add", "a.zip", "big"], cwd=self.folder,
                                   stderr=subprocess.DEVNULL)
            while run.poll() is None and not self.isHeld():
                time.sleep(0.0005)
            self.stop(run)
            if run.poll() is None and self.isHeld():
                break
            run.send_signal(signal.SIGCONT)
            run.wait() # it was faster
            (self.folder / "a.zip").write_bytes(content)
        else:
            self.fail("no run held the archive")
        self.addCleanup(self.end, run)
        yield run

    def end(self, run):
        """A failed test leaves no stopped process."""
        run.kill()
        run.wait()

    def stop(self, run):
        """Returns when the process has stopped, or ended."""
        run.send_signal(signal.SIGSTOP)
        while run.poll() is None:
            state = Path(f"/proc/{run.pid}/stat").read_text().rpartition(")")[2].split()[0]
            if state in "Tt":
                return
            time.sleep(0.0005)

    def isHeld(self, name="a.zip"):
        with open(self.folder / name, "rb") as file:
            try:
                fcntl.flock(file, fcntl.LOCK_EX | fcntl.LOCK_NB)
                return False
            except BlockingIOError:
                return True

    def workingFolders(self):
        return [path.parent.name for path in self.folder.glob(".vellomir-*/.vellomir-lock")]

    def hasHeldWorkingFolder(self):
        """Whether a run works in the folder. Until its lock is held, the folder counts as abandoned,
        and another run may remove it."""
        try:
            return any(self.isHeld(f"{name}/.vellomir-lock") for name in self.workingFolders())
        except FileNotFoundError: # removed between the two calls
            return False

    @contextlib.contextmanager
    def waitingRun(self):
        """A run that is stopped while it waits for the archive; its working folder is made."""
        with open(self.folder / "a.zip", "rb") as file:
            fcntl.flock(file, fcntl.LOCK_EX)
            while True: # on a busy machine it may have given up before it was stopped
                run = subprocess.Popen([PROGRAM, "archive", "add", "a.zip", "new.txt"],
                                       cwd=self.folder, stderr=subprocess.DEVNULL)
                while run.poll() is None and not self.hasHeldWorkingFolder():
                    time.sleep(0.001)
                self.stop(run)
                if run.poll() is None:
                    break
            self.addCleanup(self.end, run)
            yield run


if __name__ == "__main__":
    unittest.main()
