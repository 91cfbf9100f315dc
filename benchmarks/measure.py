#!/usr/bin/env python3
"""Measures our programs beside other tools. ./bench starts it, and says what its options mean."""

import argparse
import contextlib
import os
import shutil
import signal
import subprocess
import sys
import tempfile
import zipfile

import packages
import picture
import report
from rows import Rows, installed
from running import Broken, Runner, inTurn

GIBIBYTE = 1 << 30
# What a row needs beside the package: the tree and two copies for "huge".
NEEDED = {None: 0, "typical": GIBIBYTE, "many": GIBIBYTE, "huge": 14 * GIBIBYTE}


def say(text):
    print(text, file=sys.stderr, flush=True)


def parse():
    parser = argparse.ArgumentParser(prog="./bench", description="Measures our programs beside other tools.")
    parser.add_argument("--quick", action="store_true", help="one round, without the disk and the huge package")
    parser.add_argument("--rows", metavar="NAME", action="append", default=[],
                        help="only rows whose name begins so; may be given again")
    parser.add_argument("--runs", metavar="N", type=int, help="rounds in memory (5)")
    parser.add_argument("--json", metavar="FILE", help="where the results are written (build/benchmarks/results.json)")
    parser.add_argument("--picture", metavar="FILE", help="write a picture of the results (SVG) as well")
    for name in ("programs", "tools", "results"):
        parser.add_argument("--" + name, required=True, help=argparse.SUPPRESS)
    options = parser.parse_args()
    if options.runs is None:
        options.runs = 1 if options.quick else 5
    if options.runs < 1:
        parser.error("--runs needs a number above 0")
    return options


def room(folder):
    """Free bytes; of a folder in memory, no more than the memory has left."""
    system = os.statvfs(folder)
    free = system.f_bavail * system.f_frsize
    if folder.startswith("/dev/shm"):
        with open("/proc/meminfo", encoding="ascii") as file:
            values = dict(line.split(":") for line in file)
        free = min(free, int(values["MemAvailable"].split()[0]) * 1024)
    return free


class Bench:
    """The rows in a folder in memory, and then on the disk."""

    def __init__(self, options):
        self.options = options
        self.rows = []
        self.skipped = []
        for row in Rows(options.programs, options.tools).all():
            isWanted = any(row.name.startswith(each) for each in options.rows) or not options.rows
            if isWanted and not (options.quick and row.package == "huge" and not options.rows):
                row.tools = [tool for tool in row.tools if installed(tool)]
                if row.tools:
                    self.rows.append(row)
                else:
                    self._skip(row, "a program is missing")

    def _skip(self, row, reason):
        self.skipped.append({"row": row.name, "reason": reason})
        say(f"{row.title}: left out, {reason}")

    def inMemory(self, folder):
        for row in list(self.rows):
            if room(folder) < NEEDED[row.package]:
                self._skip(row, f"needs {NEEDED[row.package] >> 30} GiB free in {folder}")
                self.rows.remove(row)
                continue
            say(f"{row.title} ...")
            runner = self._runner(folder, row)
            self._check(runner, row)
            inTurn(runner, row.tools, row.results, self.options.runs * row.rounds, row.repetitions)
            self._leave(folder, row)

    def onDisk(self, folder):
        for row in self.rows:
            if row.package is None or room(folder) < NEEDED[row.package]:
                continue
            say(f"{row.title}, on the disk ...")
            runner = self._runner(folder, row)
            for tool in row.tools:
                os.sync()
                tool.onDisk = runner.measure(tool, row.results)[0]["elapsed"]
            runner.clear(row.results)
            self._leave(folder, row)

    def _runner(self, folder, row):
        """Puts what the row works on into the folder."""
        if row.package:
            path = packages.make(folder, row.package)
            if row.needsTree and not os.path.exists(os.path.join(folder, "tree")):
                subprocess.run(["unzip", "-q", path, "-d", os.path.join(folder, "tree")], check=True)
            if row.needsList:
                writeLists(path, folder)
        return Runner(os.path.join(self.options.tools, "Stopwatch"), folder)

    def _leave(self, folder, row):
        shutil.rmtree(os.path.join(folder, "tree"), ignore_errors=True)
        if row.package == "huge" and row is self.rows[-1]:
            os.unlink(os.path.join(folder, "huge.ipa"))

    @staticmethod
    def _check(runner, row):
        """Each tool once, to see that all do the same, and how much room they take."""
        expected = None
        for tool in row.tools:
            output, tool.disk = runner.watch(tool, row.results)
            if row.check is None or tool.kind == "limit":
                continue
            found = row.check(runner.folder, tool, output)
            expected = expected or found
            if found != expected or not any(found.values()):
                raise Broken(f"{row.title}: {tool.name} made {found}, and {row.tools[0].name} {expected}")
        runner.clear(row.results)


def writeLists(package, folder):
    """The items of a package for WriteFiles, folders before what is in them, and its files for Inflate."""
    with zipfile.ZipFile(package) as opened:
        entries = opened.infolist()
    with open(os.path.join(folder, "list.txt"), "w", encoding="utf-8") as file:
        for entry in entries:
            file.write(f"{'d' if entry.is_dir() else entry.file_size} {entry.filename.rstrip('/')}\n")
    with open(os.path.join(folder, "entries.txt"), "w", encoding="utf-8") as file:
        for entry in entries:
            file.write(f"{entry.header_offset} {entry.compress_type} {entry.compress_size} "
                       f"{entry.file_size} {entry.CRC}\n")


@contextlib.contextmanager
def workFolder(parent):
    """A new folder for the rows, which is removed with all that is beside it."""
    with tempfile.TemporaryDirectory(prefix="vellomir-bench-", dir=parent) as folder:
        work = os.path.join(folder, "work")
        os.mkdir(work)
        yield work


def run(options):
    bench = Bench(options)
    memory = "/dev/shm" if os.access("/dev/shm", os.W_OK | os.X_OK) else options.results
    with workFolder(memory) as folder:
        bench.inMemory(folder)
    if not options.quick:
        with workFolder(options.results) as folder:
            bench.onDisk(folder)
    results = report.results(bench.rows, bench.skipped, options.runs)
    report.write(results, options.json or os.path.join(options.results, "results.json"))
    if options.picture:
        picture.write(results, options.picture)
    print(report.table(results))


if __name__ == "__main__":
    # So that the folders are removed whatever ends the run.
    signal.signal(signal.SIGTERM, lambda *_: sys.exit(143))
    try:
        run(parse())
    except Broken as error:
        say(f"./bench: {error}")
        sys.exit(1)
    except KeyboardInterrupt:
        sys.exit(130)
