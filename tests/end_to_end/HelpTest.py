"""The help page: whole, without anything from the network, and true to the program"""
import html.parser
import os
import unittest
from pathlib import Path

from harness import Case, infoPlist, makePicture, makeZip

FOLDER = Path(os.environ["VELLOMIR_CLI"]).parent.parent / "share/vellomir/help"


class Page(html.parser.HTMLParser):
    """What the page refers to, and what it says."""

    VOID = {"meta", "link", "img", "br", "hr"}

    def __init__(self, text):
        super().__init__()
        self.open, self.names, self.links, self.pictures, self.words = [], set(), [], [], []
        self.language = None
        self.feed(text)
        self.close()

    def handle_starttag(self, tag, attributes):
        attributes = dict(attributes)
        if tag not in self.VOID:
            self.open.append(tag)
        self.names.add(attributes.get("id"))
        if tag == "html":
            self.language = attributes.get("lang")
        if "href" in attributes:
            self.links.append(attributes["href"])
        if tag == "img":
            self.pictures.append((attributes["src"], attributes.get("alt")))

    def handle_endtag(self, tag):
        if tag not in self.VOID and self.open.pop() != tag:
            raise AssertionError(f"</{tag}> closes another element")

    def handle_data(self, data):
        if "style" not in self.open:
            self.words.append(data)

    def text(self):
        return " ".join(" ".join(self.words).split())


class Help(Case):
    def setUp(self):
        super().setUp()
        self.page = Page((FOLDER / "help.html").read_text(encoding="utf-8"))

    def testIsWellFormed(self):
        self.assertEqual([], self.page.open)
        self.assertEqual("en", self.page.language)
        self.assertNotRegex(self.page.text(), "@[A-Z]+@")

    def testLinksLeadSomewhere(self):
        self.assertGreater(len(self.page.links), 5)
        for link in self.page.links:
            if link.startswith("#"):
                self.assertIn(link[1:], self.page.names)
            else:
                self.assertTrue((FOLDER / link).is_file(), link)

    def testPicturesAreThereAndDescribed(self):
        self.assertGreater(len(self.page.pictures), 3)
        for source, description in self.page.pictures:
            self.assertTrue((FOLDER / source).is_file(), source)
            self.assertIsNotNone(description, source)

    def testExplainsEveryLineOfAJob(self):
        makePicture(self.folder / "icon.png")
        makeZip(self.folder / "app.ipa", [("Payload/Notes.app/Info.plist", infoPlist())])
        log = self.succeed("duplicate", "app.ipa", "--number", "2").splitlines()
        log += self.succeed("duplicate", "app.ipa", "--number", "3", "--icon", "icon.png").splitlines()
        self.assertGreater(len(log), 20)
        text = self.page.text()
        for line in log:
            if "png updated" not in line: # one of the five is explained
                self.assertIn(line.partition(": ")[0], text)


if __name__ == "__main__":
    unittest.main()
