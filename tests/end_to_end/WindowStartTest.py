"""How the window's program starts: with a file, with a wrong command line, and where it can't"""
import os
import signal
import time
import unittest
import urllib.parse

from harness import makePackage
from window import WindowCase

NO_DISPLAY = {"DISPLAY": "", "WAYLAND_DISPLAY": "", "QT_QPA_PLATFORM": ""}
GIGABYTE = 10 ** 9
MOST_MEMORY = 200 * 1024 # kB


class StartCase(WindowCase):
    def editNumber(self, window):
        """Types a number into a window that was just opened, and takes it back."""
        self.assertFalse(window.hasNumber())
        window.keys("Tab", "Tab", "Tab") # about, select, number
        window.typeNumber("7")
        window.keys("BackSpace")
        window.waitFor(lambda: not window.hasNumber(), "the empty field")


class CommandLine(WindowCase):
    def check(self, run, code, out="", err=""):
        self.assertEqual(run.returncode, code, run.stderr)
        self.assertRegex(run.stdout, r"\A" + out + r"\Z")
        self.assertRegex(run.stderr, r"\A" + err + r"\Z")

    def testHelpAndVersionNeedNoDisplay(self):
        self.check(self.run_("--help", **NO_DISPLAY), 0, r"Usage: vellomir .*\[package\]\n[^\0]+")
        self.check(self.run_("--version", **NO_DISPLAY), 0, r"vellomir \d+\.\d+\n")

    def testWrongCommandLines(self):
        for arguments in [["--bogus"], ["-x"], ["a.ipa", "b.ipa"]]:
            self.check(self.run_(*arguments), 2, err=r"vellomir: [^\0]+\n")
        self.assertIn("bogus", self.run_("--bogus").stderr)

    def testWithoutADisplay(self):
        self.check(self.run_(**NO_DISPLAY), 1, err=r"vellomir: there is no display [^\n]+\n")

    def testADisplayThatNobodyAnswers(self):
        run = self.run_(DISPLAY=":4095")
        self.check(run, 1, err=r"[^\0]*\nvellomir: no window can be opened on the display :4095[^\n]+\n")

    def testADataFolderThatCannotBeMade(self):
        self.data.write_text("in the way")
        window = self.start()
        window.waitFor(lambda: window.titled("Vellomir"), "the message")
        self.assertRegex(window.text(), rf"\Avellomir: [^\n]*{self.data}[^\n]*\n\Z")
        window.waitFor(lambda: self.desktop.focusedTitle() == "Vellomir", "the keyboard")
        window.keys("Escape")
        self.assertEqual(window.process.wait(60), 1)
        self.assertEqual(self.data.read_text(), "in the way")


class NamedFile(StartCase):
    def testAFileIsOpened(self):
        makePackage(self.folder / "with space.ipa")
        window = self.open("with space.ipa")
        window.waitForSaid("Selected file URL: " + (self.folder / "with space.ipa").as_uri())
        window.stop()

    def testAFileWhoseNameIsNoText(self):
        makePackage(self.folder / "plain.ipa")
        name = os.fsencode(self.folder) + b"/caf\xe9 %41.ipa"
        os.rename(self.folder / "plain.ipa", name)
        for argument in [name, b"caf\xe9 %41.ipa"]:
            window = self.open(os.fsdecode(argument))
            window.waitForSaid("Selected file URL: file://" + urllib.parse.quote(name))
            window.stop()

    def testAFileThatIsNotThere(self):
        window = self.open("missing.ipa")
        window.waitForSaid("Error reading file")
        self.assertNotIn("Selected file", window.text())
        self.editNumber(window)
        window.stop()


class LargeFile(StartCase):
    def write(self, name, size):
        """A file of nothing, which takes no room."""
        path = self.folder / name
        with open(path, "wb") as file:
            file.truncate(size)
        return path

    def checkMemory(self, window):
        if os.environ["VELLOMIR_SANITIZE"]:
            return
        with open(f"/proc/{window.process.pid}/status", encoding="ascii") as status:
            peak = [int(line.split()[1]) for line in status if line.startswith("VmHWM:")]
        self.assertLess(peak[0], MOST_MEMORY)

    def testTheWindowLivesWhileAFileIsRead(self):
        """The file is so large that it is not read to its end before it is broken off."""
        window = self.open(self.write("endless.ipa", 2000 * GIGABYTE))
        self.editNumber(window)
        self.assertNotIn("File data read", window.text())
        self.checkMemory(window)
        start = time.monotonic()
        window.stop(signal.SIGTERM)
        self.assertLess(time.monotonic() - start, 5)
        self.assertNotIn("File data read", window.text())

    def testALargeFileTakesNoMemory(self):
        path = self.write("large.ipa", 9 * GIGABYTE // 2)
        window = self.open(path)
        window.waitForSaid("Selected file URL: " + path.as_uri())
        self.checkMemory(window)
        window.stop()


if __name__ == "__main__":
    unittest.main()
