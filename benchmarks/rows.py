"""The works that are measured, and the tools that do them."""

import os
import shutil
import subprocess
from dataclasses import dataclass
from typing import Callable

import checks
from running import Tool

APP = "Payload/Sample.app"
# The edit that takes other programs the least time.
EDIT = (f"sed -i 's/com.example.sample/com.example.sample2/; s/>Sample</>Sample2</' out/{APP}/Info.plist")
STORED_ZIP = "--format zip --options zip:compression=store"


@dataclass
class Row:
    """One work. `check` gives the numbers that must be the same for all tools but the limits."""

    name: str
    title: str
    tools: list
    package: str | None = None  # "typical", "many" or "huge"
    results: tuple = ()
    check: Callable | None = None  # takes the folder, the tool and its output
    repetitions: int = 1  # runs without anything in between, of which the mean counts
    rounds: int = 1  # as many times the rounds of other rows
    needsTree: bool = False  # the package, unpacked in "tree"
    needsList: bool = False  # its items in "list.txt" and "entries.txt"


def shell(text):
    return ["sh", "-c", text]


class Rows:
    """All rows, by what is installed and what our program can do."""

    def __init__(self, programs, tools):
        self._cli = os.path.join(programs, "vellomir-cli")
        self._window = os.path.join(programs, "vellomir")
        self._tools = tools  # the folder of the small programs

    def all(self):
        return [
            *(self._unpack(package) for package in ("typical", "many")),
            *(self._packStored(package) for package in ("typical", "many")),
            self._packDeflated("many"),
            *(self._job(package) for package in ("typical", "many")),
            self._list("many"),
            self._start(),
            self._firstFrame(),
            self._unpack("huge"),
            self._job("huge"),
        ]

    def _has(self, command, option):
        text = subprocess.run([self._cli, *command, "--help"], capture_output=True, text=True, check=False)
        return option in text.stdout

    def _ours(self, command, arguments):
        """With all cores, and with one, where the command has that option."""
        run = [self._cli, *command, *arguments]
        tools = [Tool("vellomir-cli", run, "ours")]
        if self._has(command, "--jobs"):
            tools.append(Tool("vellomir-cli, one thread", [*run, "--jobs", "1"], "ours"))
        return tools

    def _unpack(self, package):
        file = package + ".ipa"
        tools = self._ours(["archive", "extract"], [file, "out", "--quiet"]) + [
            Tool("bsdtar", shell(f"mkdir out && bsdtar -xf {file} -C out")),
            Tool("unzip", ["unzip", "-q", file, "-d", "out"]),
            Tool("7z", ["7z", "x", "-bso0", "-bsp0", "-oout", file]),
            Tool("libzip", [os.path.join(self._tools, "LibzipTool"), "unpack", file, "out"]),
            Tool("minizip", [os.path.join(self._tools, "MinizipTool"), "unpack", file, "out"]),
            Tool("only cp of the package", ["cp", file, "out"], "limit"),
            Tool("only writing the files", [os.path.join(self._tools, "WriteFiles"), "list.txt", "out"], "limit"),
            self._inflating(file),
        ]
        return Row(f"unpack-{package}", f"unpack {package}", tools, package, ("out",),
                   lambda folder, tool, output: checks.tree(os.path.join(folder, "out")), needsList=True)

    def _packStored(self, package):
        tools = self._ours(["archive", "create"], ["new.zip", "tree", "--quiet"]) + [
            Tool("7z", shell("cd tree && 7z a -bso0 -bsp0 -tzip -mx0 ../new.zip .")),
            Tool("bsdtar", shell(f"bsdtar -cf new.zip {STORED_ZIP} -C tree Payload")),
            Tool("zip", shell("cd tree && zip -qr0 ../new.zip .")),
            Tool("only cp of the files", ["cp", "-r", "tree", "out"], "limit"),
        ]
        return self._packing(f"pack-stored-{package}", f"pack stored {package}", tools, package)

    def _packDeflated(self, package):
        tools = self._ours(["archive", "create"], ["new.zip", "tree", "--quiet", "--method", "deflate"]) + [
            Tool("7z", shell("cd tree && 7z a -bso0 -bsp0 -tzip -mx1 ../new.zip .")),
            Tool("bsdtar", shell("bsdtar -cf new.zip --format zip -C tree Payload")),
            Tool("zip", shell("cd tree && zip -qr ../new.zip .")),
        ]
        return self._packing(f"pack-deflated-{package}", f"pack deflated {package}", tools, package)

    @staticmethod
    def _packing(name, title, tools, package):
        return Row(name, title, tools, package, ("new.zip", "out"),
                   lambda folder, tool, output: checks.wholeArchive(os.path.join(folder, "new.zip")),
                   needsTree=True)

    def _job(self, package):
        file = package + ".ipa"
        arguments = [file, "--number", "2", "--output", "new.zip", "--quiet"]
        tools = self._ours(["duplicate"], arguments)
        if self._has(["duplicate"], "--on-disk"):
            tools.append(Tool("vellomir-cli --on-disk", [self._cli, "duplicate", *arguments, "--on-disk"], "ours"))
        tools += [
            Tool("bsdtar, sed, bsdtar", shell(f"mkdir out && bsdtar -xf {file} -C out && {EDIT} && "
                                              f"bsdtar -cf new.zip {STORED_ZIP} -C out Payload")),
            Tool("bsdtar @package, no edit", shell(f"bsdtar -cf new.zip {STORED_ZIP} @{file}")),
            Tool("unzip, sed, zip -0", shell(f"unzip -q {file} -d out && {EDIT} && "
                                             "cd out && zip -qr0 ../new.zip Payload")),
            Tool("only cp of the package", ["cp", file, "out"], "limit"),
            self._inflating(file),
        ]
        return Row(f"job-{package}", f"second copy of {package}", tools, package, ("out", "new.zip"),
                   lambda folder, tool, output: checks.copy(os.path.join(folder, "new.zip"),
                                                            "no edit" not in tool.name),
                   needsList=True)

    def _inflating(self, file):
        inflate = os.path.join(self._tools, "Inflate")
        return Tool("only inflating and checking", [inflate, "entries.txt", file], "limit")

    def _list(self, package):
        file = package + ".ipa"
        tools = [
            Tool("vellomir-cli", [self._cli, "archive", "list", file], "ours"),
            Tool("unzip -l", ["unzip", "-l", file]),
            Tool("zipinfo", ["zipinfo", file]),
            Tool("bsdtar -t", ["bsdtar", "-tf", file]),
            Tool("bsdtar -tv", ["bsdtar", "-tvf", file]),
            Tool("7z l", ["7z", "l", file]),
            Tool("libzip", [os.path.join(self._tools, "LibzipTool"), "list", file]),
            Tool("minizip", [os.path.join(self._tools, "MinizipTool"), "list", file]),
            Tool("only cp of the package", ["cp", file, "out"], "limit"),
        ]
        return Row(f"list-{package}", f"list {package}", tools, package, ("out",),
                   lambda folder, tool, output: checks.listing(output), repetitions=3)

    def _start(self):
        tools = [
            Tool("vellomir-cli --version", [self._cli, "--version"], "ours"),
            Tool("unzip -v", ["unzip", "-v"]),
            Tool("bsdtar --version", ["bsdtar", "--version"]),
            Tool("7z i", ["7z", "i"]),
            Tool("only starting a program", ["true"], "limit"),
        ]
        return Row("start", "start", tools, repetitions=20)

    def _firstFrame(self):
        frame = os.path.join(self._tools, "libFirstFrame.so")
        two = os.path.join(self._tools, "TwoLines")
        tools = []
        if all(os.path.exists(path) for path in (frame, two, self._window)):
            # Without a screen, with folders of its own, and ended when the frame is drawn.
            start = ["env", "QT_QPA_PLATFORM=offscreen", "XDG_DATA_HOME=home", "XDG_CACHE_HOME=cache",
                     "LD_PRELOAD=" + frame]
            tools = [Tool("vellomir", [*start, self._window], "ours"),
                     Tool("two lines of Qt Quick", [*start, two])]
        return Row("first-frame", "first frame of the window", tools, results=("home",), rounds=4)


def installed(tool):
    """Whether the program that the tool starts is there; a shell's are its checks' business."""
    return shutil.which(tool.command[0]) is not None
