"""The window's program, driven as its users do

The program's path comes in VELLOMIR. What it shows is recognised by its colours: the buttons have
one that nothing else has, and are below each other.
"""
import fcntl
import os
import signal
import subprocess
import tempfile
import time
from pathlib import Path

from desktop import Desktop, runs, start, waitFor
from harness import Case, removeTree

PROGRAM = os.path.abspath(os.environ["VELLOMIR"])
BUTTON = 0x1D1E24
RED = 0xFF453A
ACCENT = 0xFFA828
WHITE = 0xFFFFFF


class Window:
    """A running program, and its standard output and error in one file."""

    def __init__(self, case, *arguments, environment):
        self.case = case
        self.desktop = case.desktop
        self.log = case.newLog()
        with open(self.log, "wb") as log:
            self.process = start([PROGRAM, *map(os.fspath, arguments)], cwd=case.folder,
                                 env=environment, stdout=log, stderr=log)

    def text(self):
        return self.log.read_text()

    # --- Its end -------------------------------------------------------------------------------------

    def kill(self):
        if self.process.poll() is None:
            self.process.kill()
        self.process.wait()

    def ended(self, patience=30):
        """Waits for its end, in seconds, and returns the exit code."""
        return self.process.wait(patience)

    def stop(self, number=signal.SIGTERM):
        """Asks it to end, which must go well, and without a complaint about the screens."""
        self.process.send_signal(number)
        self.checkEnd()

    def checkEnd(self):
        self.case.assertEqual(self.ended(), 0, self.text())
        self.case.assertNotIn("qrc:", self.text())

    # --- Its windows -----------------------------------------------------------------------------------

    def titled(self, title):
        """Its visible windows of this title."""
        return [window for window, found in self.desktop.windows(self.process.pid)
                if found == title]

    def waitForSaid(self, line):
        self.waitFor(lambda: line in self.text().splitlines(), "the line " + line)

    def waitFor(self, condition, what):
        """Does not wait for one that has ended."""
        def isMet():
            found = condition()
            if not found and self.process.poll() is not None:
                raise AssertionError(f"ended while it was to show {what}:\n{self.text()}")
            return found
        return waitFor(isMet, what)

    def shown(self):
        """Waits until it shows its main screen; returns itself."""
        self.id = self.waitFor(lambda: self.titled("Vellomir"), "its window")[0]
        self.waitFor(self.showsMainScreen, "the main screen")
        return self

    def focus(self):
        self.desktop.focus(self.id)

    # --- What it shows -----------------------------------------------------------------------------------

    def column(self, share):
        """The colours from top to bottom; `share` is where, between the left edge and the right."""
        left, top, width, height = self.desktop.place(self.id)
        return self.desktop.column(left + int(share * width), top, height), top

    def fields(self, share=0.9):
        """What fills a part of the screen beside all text: triples of colour, top and height."""
        colors, top = self.column(share)
        return [(color, top + start, length) for color, start, length in runs(colors)
                if length > 30]

    def buttons(self, *colors):
        """Those at rest, or those of other colours, from top to bottom: where to press them."""
        left, _, width, _ = self.desktop.place(self.id)
        return [(left + width // 2, top + height // 2) for color, top, height in self.fields()
                if color in (colors or (BUTTON,))]

    def hasNumber(self):
        """Whether the number's field shows one, and not the grey words, which are longer."""
        x, y = self.buttons()[1]
        return self.desktop.colors(x - 70, y - 10, 40, 20) == {BUTTON}

    def hasText(self, color, above):
        """Whether there is a text of about this colour above a button."""
        x, y = self.buttons()[above]
        return any(isNear(found, color) for found in self.desktop.colors(x - 50, y - 80, 100, 50))

    def showsShareSheet(self):
        """Five rows and a button to close it, all of them below the middle."""
        _, top, _, height = self.desktop.place(self.id)
        middle = top + 0.45 * height
        return len([y for _, y in self.buttons() if y > middle]) == 6 and len(self.buttons()) == 6

    def showsMainScreen(self):
        return len(self.buttons()) == 4

    def showsCropper(self):
        """The picture's outline is as high as the window is wide."""
        width = self.desktop.place(self.id)[2]
        return any(color == WHITE and length > 0.9 * width for color, _, length in self.fields(0))

    # --- What is done with it --------------------------------------------------------------------------------

    def keys(self, *names):
        self.desktop.keys(*names)

    def press(self, button):
        self.desktop.click(*self.buttons()[button])

    def answer(self, title, text):
        """Types into a file dialog, and confirms."""
        self.waitForDialog(title)
        self.desktop.type(text)
        self.keys("Return")

    def choose(self, title, text):
        """Answers a dialog that asks nothing back. Its list of completions may take a Return, or put
        the folder in place of the text."""
        self.answer(title, text)
        for _ in range(4):
            end = time.monotonic() + 4
            while self.titled(title + " — Vellomir") and time.monotonic() < end:
                time.sleep(0.05)
            if not self.titled(title + " — Vellomir"):
                return
            self.keys("ctrl+a")
            self.answer(title, text)

    def waitForDialog(self, title, count=1):
        """Waits until a dialog has the keyboard: the first of this title, or what it asks."""
        title += " — Vellomir"
        self.waitFor(lambda: len(self.titled(title)) == count and
                     self.desktop.focusedTitle() == title, "the dialog " + title)

    def waitForDialogToGo(self):
        self.waitFor(lambda: len(self.desktop.windows(self.process.pid)) == 1 and
                     self.desktop.focusedTitle() == "Vellomir", "the dialog to go")

    def typeNumber(self, number):
        """Into the field, which has the keyboard."""
        self.desktop.type(number)
        self.waitFor(self.hasNumber, "the number")

    def doIt(self):
        self.desktop.click(*self.buttons()[-1])


def isNear(color, other):
    """Whether it may be the other one, at the edge of a letter."""
    return all(abs((color >> shift & 0xFF) - (other >> shift & 0xFF)) < 48 for shift in [16, 8, 0])


class WindowCase(Case):
    """Each class has a desktop of its own, and each test a home of its own."""
    Desktop = Desktop

    @classmethod
    def setUpClass(cls):
        cls.desktop = cls.Desktop()
        cls.addClassCleanup(cls.desktop.close)

    def setUp(self):
        super().setUp()
        self.home = Path(tempfile.mkdtemp(prefix="vellomir-home-"))
        self.addCleanup(removeTree, self.home)
        for name in ["data", "config", "run"]:
            (self.home / name).mkdir(mode=0o700)
        self.data = self.home / "data/vellomir"
        self.environment = {**self.desktop.environment, "HOME": str(self.home),
                            "XDG_DATA_HOME": str(self.home / "data"),
                            "XDG_CONFIG_HOME": str(self.home / "config"),
                            "XDG_RUNTIME_DIR": str(self.home / "run"),
                            "ASAN_OPTIONS": "detect_leaks=0"} # Qt keeps some on purpose.
        self.logs = 0

    def newLog(self):
        self.logs += 1
        return self.home / f"{self.logs}.log"

    def start(self, *arguments):
        window = Window(self, *arguments, environment=self.environment)
        self.addCleanup(window.kill)
        return window

    def open(self, *arguments):
        """Starts the program, waits for its main screen and gives that the keyboard."""
        window = self.start(*arguments).shown()
        window.focus()
        return window

    def run_(self, *arguments, **changes):
        """Runs the program to its end, with other values in its environment, or none."""
        environment = {**self.environment, **changes}
        return subprocess.run([PROGRAM, *map(os.fspath, arguments)], stdin=subprocess.DEVNULL,
                              capture_output=True, text=True, check=False, timeout=30,
                              env={name: value for name, value in environment.items() if value})

    def documents(self, number=1):
        """The items in the folder of a window."""
        folder = self.data / str(number) / "Documents"
        return sorted(str(path.relative_to(folder)) for path in folder.rglob("*"))

    def leftBehind(self):
        """Every file below the data folder that is not a lock, and every folder in Documents."""
        found = [path for path in self.data.rglob("*")
                 if path.suffix != ".lock" and len(path.relative_to(self.data).parts) > 2]
        return sorted(str(path.relative_to(self.data)) for path in found)

    def isTaken(self, number):
        """Whether a running program holds the folder of that number."""
        with open(self.data / f"{number}.lock", "rb") as lock:
            try:
                fcntl.flock(lock, fcntl.LOCK_EX | fcntl.LOCK_NB)
                return False
            except BlockingIOError:
                return True
