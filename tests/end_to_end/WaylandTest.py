"""The window on a Wayland desktop: its looks, a whole job and the clipboard"""
import os
import unittest
from pathlib import Path

from screenReader import ReaderCase
from wayland import WaylandDesktop

SAMPLE = Path(os.environ["VELLOMIR_SAMPLE"])


class Wayland(ReaderCase):
    Desktop = WaylandDesktop

    def setUp(self):
        super().setUp()
        self.environment["WAYLAND_DISPLAY"] = self.desktop.environment["WAYLAND_DISPLAY"]
        self.environment["QT_QPA_PLATFORM"] = "wayland"
        del self.environment["DISPLAY"]

    def testJobInWindow(self):
        frame = self.openWindow(SAMPLE)
        self.window.id = None # A Wayland window has none; there is only one.
        self.window.waitFor(lambda: len(self.window.buttons()) == 4, "the main screen")
        self.checkSize(frame)
        self.reader.find("list item", "File selected: Sample.ipa")
        self.enterNumber("7", self.desktop.type)
        self.window.waitFor(self.window.hasNumber, "the number")
        self.reader.press("Do it")
        self.reader.find("dialog", "Share Sample7.ipa")
        self.reader.press("Copy the file")
        self.waitForMessage("Copied.")
        self.window.process.terminate()
        self.window.checkEnd()
        self.checkOutput()

    def checkOutput(self):
        """Nothing of Qt's. Graphics drivers may complain on machines without a graphics card."""
        found = [line for line in self.window.text().splitlines()
                 if not line.startswith(("libEGL", "MESA"))]
        self.assertEqual(found, ["File data read successfully",
                                 "Selected file URL: " + SAMPLE.as_uri()])

    def checkSize(self, frame):
        place = frame.place()
        self.assertEqual((place.width, place.height), (390, 844))
        _, _, width, height = self.desktop.place(None) # with a border and a title
        self.assertTrue(390 <= width < 410 and 844 <= height < 900, (width, height))

    def waitForMessage(self, start):
        self.window.waitFor(lambda: any(each.startswith(start) for each in self.reader.messages()),
                            "the message " + start)


if __name__ == "__main__":
    unittest.main(warnings="ignore") # The bindings warn of their own older names.
