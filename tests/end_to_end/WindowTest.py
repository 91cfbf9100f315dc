"""The window, from picking a package to handing on its copy"""
import os
import plistlib
import subprocess
import unittest
from pathlib import Path

from harness import ICON_NAMES
from window import ACCENT, RED, WindowCase

SAMPLE = Path(os.environ["VELLOMIR_SAMPLE"])
ICON = Path(os.environ["VELLOMIR_SAMPLE_ICON"])
APP = "Payload/Sample.app"

COPY, DRAG, CLOSE = 3, 4, 5 # among the rows of the share sheet


class Road(WindowCase):
    """The ways over the screens that the tests share."""

    def pick(self, window):
        window.press(0)
        window.choose("Select IPA File", SAMPLE)
        window.waitForSaid("Selected file URL: " + SAMPLE.as_uri())
        window.waitForDialogToGo()

    def pickIcon(self, window):
        window.keys("Tab", "Return")
        window.choose("Choose a picture", ICON)
        window.waitFor(window.showsCropper, "the cropper")
        window.keys("Tab", "Tab", "Return") # behind "Use" there is "Zoom it"
        window.waitFor(lambda: len(window.buttons(RED)) == 1, "the button that removes the icon")

    def duplicate(self, window, icon=False):
        """To the share sheet, with a number; from a window that was just opened."""
        self.pick(window)
        window.keys("Tab") # from the button that was pressed to the number's field
        window.typeNumber("7")
        if icon:
            self.pickIcon(window)
        window.doIt()
        window.waitFor(window.showsShareSheet, "the share sheet")

    def result(self, number=1):
        return self.data / f"{number}/Documents/Sample7.ipa"


class Copying(Road):
    def saveAs(self, window, path):
        # The sheet's first row, behind the list of warnings and the help page.
        window.keys("Tab", "Tab", "Tab", "Return")
        window.answer("Save a copy", path)

    def checkCopy(self, path):
        subprocess.run(["unzip", "-tqq", path], check=True)
        before = plistlib.loads(self.cli("archive", "cat", SAMPLE, APP + "/Info.plist").bytes)
        after = plistlib.loads(self.cli("archive", "cat", path, APP + "/Info.plist").bytes)
        for key in ["CFBundleIdentifier", "CFBundleDisplayName"]:
            self.assertEqual(after[key], before[key] + "7")
        for name in ICON_NAMES:
            self.assertEqual(self.cli("archive", "cat", path, f"{APP}/{name}").bytes[:8],
                             b"\x89PNG\r\n\x1a\n")

    def testFromThePackageToItsCopy(self):
        window = self.open()
        self.duplicate(window, icon=True)
        copy = self.folder / "copy.ipa"
        self.saveAs(window, copy)
        window.waitForDialogToGo()
        window.waitFor(copy.exists, "the copy")
        self.checkCopy(copy)
        window.keys("Return") # on the same row
        window.answer("Save a copy", "again.ipa") # in the same folder
        window.waitForDialogToGo()
        window.waitFor((self.folder / "again.ipa").exists, "the second copy")
        window.keys("Escape")
        window.waitFor(window.showsMainScreen, "the main screen")
        window.stop()
        self.assertEqual(self.leftBehind(), ["1/Documents/Sample7.ipa"])

    def testACopyReplacesAFileOnlyWhereTheUserAgrees(self):
        window = self.open()
        self.duplicate(window)
        other = self.write("other.ipa", "not ours")
        self.saveAs(window, other)
        window.waitForDialog("Save a copy", count=2)
        window.keys("Return") # "No" comes first
        window.waitForDialog("Save a copy")
        self.assertEqual(other.read_bytes(), b"not ours")
        window.keys("Return")
        window.waitForDialog("Save a copy", count=2)
        window.keys("alt+y")
        window.waitFor(lambda: other.read_bytes() == self.result().read_bytes(), "the copy")
        window.stop()


class HandingOn(Road):
    def clipboard(self, kind):
        run = subprocess.run(["xclip", "-selection", "clipboard", "-o", "-t", kind], check=False,
                             env=self.desktop.environment, capture_output=True, timeout=30)
        return run.stdout.decode()

    def testTheClipboard(self):
        window = self.open()
        self.duplicate(window)
        window.press(COPY)
        window.waitFor(lambda: "x-special/gnome-copied-files" in self.clipboard("TARGETS").split(),
                       "the file on the clipboard")
        url = self.result().as_uri()
        self.assertEqual(self.clipboard("text/uri-list").split(), [url])
        self.assertEqual(self.clipboard("x-special/gnome-copied-files"), "copy\n" + url)
        self.assertEqual(self.clipboard("UTF8_STRING"), str(self.result()))
        window.stop()

    def testDraggingToAnotherProgram(self):
        window = self.open()
        self.duplicate(window)
        other = self.open()
        self.desktop.drag(window.buttons()[DRAG], other.buttons()[0])
        other.waitForSaid("Selected file URL: " + self.result().as_uri())
        window.waitFor(lambda: window.hasText(ACCENT, above=-1), "that the file was handed over")
        window.stop()
        other.stop()

    def testDraggingToNowhere(self):
        window = self.open()
        self.duplicate(window)
        x, y = window.buttons()[DRAG]
        self.desktop.drag((x, y), (5, 5))
        window.waitFor(lambda: window.hasText(RED, above=-1), "that nothing took the file")
        self.assertTrue(window.showsShareSheet())
        window.press(CLOSE)
        window.waitFor(window.showsMainScreen, "the main screen")
        window.stop()


if __name__ == "__main__":
    unittest.main()
