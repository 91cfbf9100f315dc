"""Every screen is drawn in every state, without a display"""
import os
import struct
import subprocess
import unittest
from pathlib import Path

from harness import Case

PROGRAM = Path(os.environ["VELLOMIR_CLI"]).parent / "vellomir-screenshots"
SIZES = {"390x844": (390, 844), "320x568": (320, 568), "1200x900": (1200, 900),
         "390x844@2x": (780, 1688)}
STATES = {"main-empty", "main-file-chosen", "main-icon-chosen", "main-running", "main-done",
          "main-failed", "main-long-log", "main-button-pressed", "main-keyboard-focus",
          "main-names", "main-pointed-at", "main-log-selected", "main-large-text",
          "about-large-text", "cropper-tall", "cropper-wide", "share-sheet",
          "share-sheet-long-name", "share-sheet-right-to-left", "share-sheet-everything",
          "share-sheet-warnings", "share-sheet-no-file", "send-sheet", "send-sheet-moved-in",
          "send-sheet-no-network", "about-sheet", "alert"}
# Drawn after a real movement, and what each must look like in the end.
MOVED = {"share-sheet-moved-in": "share-sheet", "about-sheet-moved-in": "about-sheet",
         "cropper-moved-in": "cropper-tall"}


def sizeOf(picture):
    """The size in the first chunk of a PNG."""
    return struct.unpack(">4x4x2I", picture.read_bytes()[8:24])


class Screenshots(Case):
    def draw(self, *arguments):
        environment = {name: value for name, value in os.environ.items()
                       if name not in ("DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM")}
        environment["ASAN_OPTIONS"] = "detect_leaks=0" # of Qt's own
        return subprocess.run([PROGRAM, *arguments], cwd=self.folder, env=environment,
                              capture_output=True, text=True)

    def testEachStateInEachFormat(self):
        ran = self.draw("new/folder")
        self.assertEqual(0, ran.returncode, ran.stderr)
        self.assertNotIn(".qml", ran.stderr)
        pictures = {path.stem: sizeOf(path) for path in (self.folder / "new/folder").iterdir()}
        expected = {f"{state}-{name}": size for state in STATES | MOVED.keys() for name, size in SIZES.items()}
        self.assertEqual(expected, pictures)

    def testDifferentStatesLookDifferent(self):
        self.draw(".", "390x844")
        contents = {state: (self.folder / f"{state}-390x844.png").read_bytes()
                    for state in STATES | MOVED.keys()}
        self.assertEqual(len(STATES), len(set(contents.values())))
        for moved, still in MOVED.items():
            self.assertEqual(contents[still], contents[moved], moved)

    def testAFolderThatCannotBeMade(self):
        self.write("taken")
        ran = self.draw("taken/folder")
        self.assertEqual((1, "", "vellomir-screenshots: cannot make the folder taken/folder\n"),
                         (ran.returncode, ran.stdout, ran.stderr))

    def testWithoutAFolder(self):
        ran = self.draw()
        self.assertEqual((2, "Usage: vellomir-screenshots FOLDER [FORMAT]\n"),
                         (ran.returncode, ran.stderr))


if __name__ == "__main__":
    unittest.main()
