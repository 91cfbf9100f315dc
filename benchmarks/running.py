"""Runs commands, and says what they cost."""

import json
import os
import shutil
import statistics
import subprocess
import time
from dataclasses import dataclass, field


class Broken(Exception):
    """A command failed, or its result is not what it should be."""


@dataclass
class Tool:
    """One way to do the work of a row. The command runs in the folder of the row."""

    name: str
    command: list
    kind: str = "other"  # "ours", "other", or "limit": a part of the work that cannot be left out
    disk: int | None = None  # bytes at most while it ran, its result included
    onDisk: float | None = None  # seconds, on the disk
    runs: list = field(default_factory=list)

    def median(self, key):
        return statistics.median(run[key] for run in self.runs)

    def range(self, key):
        values = [run[key] for run in self.runs]
        return min(values), max(values)


def usedBytes(folder):
    system = os.statvfs(folder)
    return (system.f_blocks - system.f_bfree) * system.f_frsize


class Runner:
    """Runs the tools of a row in a folder, each from the same start: what they make is removed before."""

    def __init__(self, stopwatch, folder):
        self.folder = folder
        self._stopwatch = stopwatch
        self._costs = folder + ".costs"
        self._environment = {**os.environ, "LC_ALL": "C.UTF-8", "TZ": "UTC"}

    def clear(self, results):
        for name in results:
            path = os.path.join(self.folder, name)
            if os.path.isdir(path):
                shutil.rmtree(path)
            elif os.path.lexists(path):
                os.unlink(path)

    def measure(self, tool, results, repetitions=1):
        """Runs the tool, and returns what each run cost."""
        self.clear(results)
        run = subprocess.run(
            [self._stopwatch, self._costs, str(repetitions), *tool.command], cwd=self.folder,
            env=self._environment, stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
            stderr=subprocess.PIPE, check=False)
        self._requireSuccess(tool, run.returncode, run.stderr)
        with open(self._costs, encoding="utf-8") as file:
            return json.load(file)["runs"]

    def watch(self, tool, results):
        """Runs the tool once, and returns its output and the bytes on the file system at most."""
        self.clear(results)
        before = most = usedBytes(self.folder)
        output = os.path.join(self.folder, "output.txt")
        with open(output, "wb") as out:
            process = subprocess.Popen(tool.command, cwd=self.folder, env=self._environment,
                                       stdin=subprocess.DEVNULL, stdout=out, stderr=subprocess.PIPE)
            while process.poll() is None:
                most = max(most, usedBytes(self.folder))
                time.sleep(0.001)
        with open(output, "rb") as file:
            text = file.read()
        os.unlink(output)
        self._requireSuccess(tool, process.returncode, process.stderr.read())
        return text, max(0, most - before - len(text))

    @staticmethod
    def _requireSuccess(tool, exitCode, errors):
        if exitCode != 0:
            text = errors.decode(errors="replace").strip()
            raise Broken(f"{tool.name} ended with exit code {exitCode}: {tool.command}\n{text}")


def inTurn(runner, tools, results, rounds, repetitions=1):
    """Measures all tools one after the other, in each round from another one on.

    So a machine that is busy for a while slows all of them down alike.
    """
    for index in range(rounds):
        start = index % len(tools)
        for tool in tools[start:] + tools[:start]:
            runs = runner.measure(tool, results, repetitions)
            keys = ("elapsed", "processor", "memory")
            tool.runs.append({key: statistics.mean(run[key] for run in runs) for key in keys})
    runner.clear(results)
