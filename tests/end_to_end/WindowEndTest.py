"""How the window's program ends, in the midst of a job as well, and two of them side by side"""
import signal
import unittest

from harness import makeLargePackage, makePackage
from window import WindowCase


class JobCase(WindowCase):
    def setUp(self):
        super().setUp()
        makePackage(self.folder / "small.ipa")

    def makeLarge(self):
        return makeLargePackage(self.folder / "large.ipa")

    def open(self, package):
        """A window in which the package is chosen, and a number typed."""
        window = super().open(package)
        window.waitForSaid("Selected file URL: " + (self.folder / package).as_uri())
        window.keys("Tab", "Tab", "Tab") # about, select, number
        window.typeNumber("2")
        return window

    def has(self, pattern, number=1):
        """Whether something of this name is in the documents of a window."""
        return any((self.data / f"{number}/Documents").glob(pattern))

    def duplicate(self, window):
        window.doIt()
        window.waitFor(window.showsShareSheet, "the share sheet")


class End(JobCase):
    def check(self, moment, end):
        """Ends the program when something of this name has come to its documents."""
        self.makeLarge()
        window = self.open("large.ipa")
        window.doIt()
        window.waitFor(lambda: self.has(moment), moment)
        end(window)
        window.checkEnd()
        self.assertEqual(self.leftBehind(), [])

    def testSignalsWhileUnpacking(self):
        for number in [signal.SIGTERM, signal.SIGINT, signal.SIGHUP]:
            with self.subTest(signal=number):
                self.check("large/unzipped/Payload/Notes.app/big",
                           lambda window: window.process.send_signal(number))

    def testASignalWhilePacking(self):
        self.check("Notes2.ipa", lambda window: window.process.send_signal(signal.SIGTERM))

    def testClosingTheWindowInTheMidstOfAJob(self):
        self.check("large/unzipped/Payload/Notes.app/big", lambda window: window.keys("alt+F4"))

    def testASignalThatIsIgnoredFromTheStart(self):
        before = signal.signal(signal.SIGHUP, signal.SIG_IGN)
        try:
            window = self.open("small.ipa")
        finally:
            signal.signal(signal.SIGHUP, before)
        window.process.send_signal(signal.SIGHUP)
        self.duplicate(window)
        window.stop()

    def testOnlyTheResultStays(self):
        window = self.open("small.ipa")
        self.duplicate(window)
        window.keys("alt+F4")
        window.checkEnd()
        self.assertEqual(self.leftBehind(), ["1/Documents/Notes2.ipa"])


class SideBySide(JobCase):
    def testPickingInOneLeavesTheOthersJobAlone(self):
        self.makeLarge()
        other = self.open("small.ipa")
        self.duplicate(other)
        other.keys("Escape")
        other.waitFor(other.showsMainScreen, "the main screen")
        window = self.open("large.ipa")
        window.doIt()
        window.waitFor(lambda: self.has("large/unzipped/*", 2), "the job")
        other.focus()
        other.press(0)
        other.waitForDialog("Select IPA File")
        self.assertEqual(self.documents(1), [])
        other.keys("Escape")
        other.waitForDialogToGo()
        window.focus()
        window.waitFor(window.showsShareSheet, "the share sheet")
        result = self.data / "2/Documents/Notes2.ipa"
        self.assertIn("no problems", self.succeed("archive", "test", result))
        other.stop()
        window.stop()
        self.assertEqual(self.leftBehind(), ["2/Documents/Notes2.ipa"])

    def testTheFolderOfOneThatWasKilledServesTheNext(self):
        first, second = self.open("small.ipa"), self.open("small.ipa")
        self.assertTrue(self.isTaken(1) and self.isTaken(2))
        self.duplicate(first)
        first.kill()
        self.assertFalse(self.isTaken(1))
        third = self.open("small.ipa")
        self.assertTrue(self.isTaken(1))
        self.assertFalse((self.data / "3").exists())
        self.duplicate(third)
        third.stop()
        second.stop()
        self.assertEqual(self.leftBehind(), ["1/Documents/Notes2.ipa"])


if __name__ == "__main__":
    unittest.main()
