"""The whole job is done with a screen reader's interface, without a mouse and without looking"""
import os
import unittest
from pathlib import Path

from harness import successLog
from screenReader import ReaderCase

SAMPLE = Path(os.environ["VELLOMIR_SAMPLE"])
ICON = Path(os.environ["VELLOMIR_SAMPLE_ICON"])


class Reading(ReaderCase):
    def testWholeJob(self):
        self.openWindow()
        self.checkTexts()
        self.readAboutSheet()
        self.fillIn()
        self.runJob()
        self.readShareSheet()
        self.saveCopy()
        self.readSendSheet()
        self.reader.press("Close")
        self.reader.waitForNo("dialog", "Share Sample7.ipa")
        self.checkTexts()
        self.window.stop()

    def readAboutSheet(self):
        self.reader.press("About Vellomir")
        self.reader.find("dialog", "About Vellomir")
        self.checkTexts()
        self.reader.press("Orsanta Website", role="link")
        self.waitForOpened("https://orsanta.example/")
        self.reader.press("Close")
        self.reader.waitForNo("dialog", "About Vellomir")

    def fillIn(self):
        """Package, number and icon."""
        self.reader.press("Select IPA File")
        self.answerDialog("Select IPA File", SAMPLE, "Open")
        self.reader.find("list item", "File selected: Sample.ipa")
        self.checkTexts()
        self.enterNumber("7")
        self.reader.press("Change icon")
        self.answerDialog("Choose a picture", ICON, "Open")
        self.reader.find("dialog", "Crop the picture")
        self.checkTexts()
        self.reader.press("Zoom it")
        self.reader.find("push button", "Remove selected image")

    def runJob(self):
        self.reader.press("Do it")
        self.reader.find("dialog", "Share Sample7.ipa")
        log = self.reader.find("list", "Status log")
        self.assertEqual([each.name for each in log.children()],
                         successLog(7, icon=True, oldName="Sample", identifier="com.example.sample"))

    def readShareSheet(self):
        self.checkTexts()
        self.reader.press("Show the list")
        self.reader.find("push button", "Hide the list")
        self.checkTexts()
        self.reader.press("How to install it")
        self.waitForOpened("help.html")
        for row in ["Show in the file manager", "Copy the file", "Drag this to another window"]:
            before = self.reader.messages()
            self.reader.press(row)
            self.window.waitFor(lambda: self.reader.messages() not in ([], before), row)
        self.checkTexts()

    def saveCopy(self):
        copy = self.folder / "copy.ipa"
        self.reader.press("Save a copy…")
        self.answerDialog("Save a copy", copy, "Save")
        self.window.waitFor(lambda: any("copy.ipa" in each for each in self.reader.messages()),
                            "the message about the copy")
        self.assertIn("com.example.sample7", self.succeed("inspect", copy))

    def readSendSheet(self):
        self.reader.press("Send to a phone…")
        self.reader.find("dialog", "Send to a phone")
        self.checkTexts()
        self.reader.things("push button", "Close")[-1].do("Press") # of the upper sheet
        self.reader.waitForNo("dialog", "Send to a phone")


if __name__ == "__main__":
    unittest.main(warnings="ignore") # The bindings warn of their own older names.
