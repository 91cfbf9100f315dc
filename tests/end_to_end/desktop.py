"""A desktop of the tests' own: an X server without a screen, with a window manager

The server writes its picture into a file, where the tests look at single pixels. What happens on a
desktop takes its time, so everything is waited for by `waitFor`, and nothing by a pause.
"""
import os
import shutil
import struct
import subprocess
import tempfile
import time
from pathlib import Path

PATIENCE = 120.0 # seconds; jobs have a low priority and may wait long on a busy machine
INTERVAL = 0.01 # seconds


def waitFor(condition, what, patience=PATIENCE):
    """What the condition gives once it is true; raises after the patience, in seconds, is over."""
    end = time.monotonic() + patience
    while True:
        found = condition()
        if found:
            return found
        if time.monotonic() > end:
            raise AssertionError("waited in vain for " + what)
        time.sleep(INTERVAL)


def start(command, **options):
    """Starts a program that ends at the latest when the tests do, however these end."""
    return subprocess.Popen(["setpriv", "--pdeathsig", "KILL", *command],
                            stdin=subprocess.DEVNULL, **options)


class Desktop:
    """The X server and the window manager. `close` ends both."""

    def __init__(self):
        self.folder = Path(tempfile.mkdtemp(prefix="vellomir-desktop-"))
        self.processes = []
        try:
            self.environment = {"PATH": os.environ["PATH"], "HOME": str(self.folder),
                                "LC_ALL": "C.UTF-8", "DBUS_SESSION_BUS_ADDRESS": "disabled:"}
            self.environment["DISPLAY"] = self.startServer()
            self.picture = open(self.folder / "Xvfb_screen0", "rb", buffering=0)
            self.startWindowManager()
        except BaseException:
            self.close()
            raise

    def close(self):
        for process in reversed(self.processes):
            process.terminate()
            process.wait()
        if hasattr(self, "picture"):
            self.picture.close()
        shutil.rmtree(self.folder)

    def startServer(self):
        """Lets the server choose its number, and returns that as a display's name."""
        reading, writing = os.pipe()
        with os.fdopen(reading) as answer:
            command = ["Xvfb", "-displayfd", str(writing), "-screen", "0", "1280x1024x24",
                       "-nolisten", "tcp", "-noreset", "-fbdir", str(self.folder)]
            self.run(command, pass_fds=[writing])
            os.close(writing)
            number = answer.readline().strip()
        assert number, "The X server did not start:\n" + (self.folder / "Xvfb.log").read_text()
        return ":" + number

    def startWindowManager(self):
        self.run(["openbox", "--sm-disable"])
        # It takes keys, such as Alt+F4, once it has announced itself.
        waitFor(lambda: self.do("get_num_desktops").returncode == 0, "the window manager")

    def run(self, command, **options):
        with open(self.folder / (command[0] + ".log"), "wb") as log:
            self.processes.append(start(command, env=self.environment, stdout=log, stderr=log,
                                        **options))

    # --- Keyboard, mouse and windows ---------------------------------------------------------------

    def do(self, *arguments):
        return subprocess.run(["xdotool", *map(str, arguments)], env=self.environment, check=False,
                              capture_output=True, text=True, timeout=PATIENCE)

    def keys(self, *names):
        for name in names:
            self.do("key", name).check_returncode()

    def type(self, text):
        self.do("type", "--delay", 2, text).check_returncode()

    def windows(self, process):
        """The visible windows of a process: pairs of an identifier and a title."""
        found = self.do("search", "--all", "--onlyvisible", "--pid", process, "--name", "")
        return [(window, self.do("getwindowname", window).stdout.strip())
                for window in found.stdout.split()]

    def focusedTitle(self):
        return self.do("getwindowfocus", "getwindowname").stdout.strip()

    def focus(self, window):
        self.do("windowactivate", window).check_returncode()
        waitFor(lambda: self.do("getwindowfocus").stdout.strip() == window, "a window to be focused")

    def place(self, window):
        """Left, top, width and height of a window, without its frame; in pixels."""
        self.do("mousemove", "--window", window, 0, 0)
        corner = self.numbers(self.do("getmouselocation", "--shell").stdout)
        size = self.numbers(self.do("getwindowgeometry", "--shell", window).stdout)
        return corner["X"], corner["Y"], size["WIDTH"], size["HEIGHT"]

    @staticmethod
    def numbers(shell):
        return {name: int(value) for name, value in (line.split("=") for line in shell.split())}

    def moveTo(self, x, y):
        self.do("mousemove", x, y).check_returncode()

    def click(self, x, y):
        self.moveTo(x, y)
        self.do("click", 1).check_returncode()

    def drag(self, fromPoint, toPoint):
        """Presses at one point and lets go at the other; moves in steps, as a hand does."""
        self.moveTo(*fromPoint)
        self.do("mousedown", 1).check_returncode()
        for step in range(1, 21):
            self.moveTo(*(int(start + (end - start) * step / 20)
                          for start, end in zip(fromPoint, toPoint)))
        time.sleep(0.1)
        self.do("mouseup", 1).check_returncode()

    # --- What is to be seen --------------------------------------------------------------------------

    def image(self):
        """The whole screen, a line after the other, and how many pixels a line has."""
        header = struct.unpack(">25I", os.pread(self.picture.fileno(), 100, 0))
        lineSize, height = header[12], header[5]
        start = header[0] + header[19] * 12 # behind the header and the table of colours
        pixels = memoryview(os.pread(self.picture.fileno(), lineSize * height, start)).cast("I")
        return pixels, lineSize // 4

    def column(self, x, top, height):
        """The colours of the pixels below each other, as numbers 0xRRGGBB."""
        pixels, width = self.image()
        return [color & 0xFFFFFF
                for color in pixels[width * top + x:width * (top + height):width]]

    def colors(self, left, top, width, height):
        """All the colours in a part of the screen."""
        pixels, lineWidth = self.image()
        starts = range(lineWidth * top + left, lineWidth * (top + height) + left, lineWidth)
        return {color & 0xFFFFFF for start in starts for color in pixels[start:start + width]}


def runs(colors):
    """Neighbours of the same colour: triples of colour, start and length."""
    found = []
    for index, color in enumerate(colors):
        if found and found[-1][0] == color:
            found[-1][2] += 1
        else:
            found.append([color, index, 1])
    return [tuple(run) for run in found]
