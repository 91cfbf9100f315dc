#!/usr/bin/env python3
"""duplicate with a list and with a tree on disk: log, errors, result and report must be the same.

tests/end_to_end/roads.py [--count N] [--first N] [--seed TEXT] [PACKAGE...]

makes that many random packages (tests/end_to_end/generated.py), or takes the named ones, and copies
each with random options on both roads. Needs VELLOMIR_CLI.
"""
import argparse
import collections
import os
import random
import re
import shutil
import struct
import subprocess
import sys
import tempfile
import time
import zipfile
import zlib
from pathlib import Path

import generated
from harness import NOBODY, PROGRAM, UNCOUNTED, makePicture, removeTree

ZONES = ["UTC", "Pacific/Kiritimati", "America/St_Johns"]


def options(chance):
    """Of the command, the same on both roads."""
    found = ["--number", chance.choice(["2", "2", "", "/x", " é"])]
    if chance.random() < 0.4:
        found += ["--icon", "picture.png", *chance.sample(["--zoom", "--opaque"], chance.randrange(2))]
    for option, likely in [("--deep", 0.4), ("--allow-incomplete", 0.5), ("--strict", 0.1), ("--json", 0.3),
                           ("--nested", 0.1), ("--quiet", 0.1)]:
        if chance.random() < likely:
            found.append(option)
    for option, value, likely in [("--name", "Other", 0.1), ("--identifier", "com.example.other", 0.1),
                                  ("--encoding", chance.choice(["utf-8", "cp437"]), 0.2), ("--report", "report", 0.3)]:
        if chance.random() < likely:
            found += [option, value]
    return found


def headers(content, entry):
    """The local header of an entry without its date, and where the entry ends."""
    fields = struct.unpack_from("<4s5H3L2H", content, entry.header_offset)
    start = entry.header_offset + 30
    end = start + fields[9] + fields[10]
    return fields[:4] + fields[6:] + (content[start:end],), end + entry.compress_size


class Copy:
    """Everything of a result but the order of its data."""

    def __init__(self, path):
        self.mode = path.stat().st_mode
        content = path.read_bytes()
        archive = zipfile.ZipFile(path)
        self.end = content[archive.start_dir:]
        self.entries, self.dates, ranges = [], [], []
        for entry in archive.infolist():
            local, end = headers(content, entry)
            fields = [getattr(entry, name) for name in (
                "filename", "compress_type", "create_system", "create_version", "extract_version", "flag_bits",
                "volume", "internal_attr", "external_attr", "CRC", "file_size", "compress_size", "extra", "comment")]
            with archive.open(entry) as file:
                self.entries.append((*fields, local, file.read()))
            self.dates.append(entry.date_time)
            ranges.append((entry.header_offset, end))
        self.isInOrder = ranges == sorted(ranges)
        self.hasGaps = [end for _, end in sorted(ranges)] != \
            [start for start, _ in sorted(ranges)][1:] + ([archive.start_dir] if ranges else [])
        self.facts = (self.mode, self.entries, len(self.end), archive.comment)


def isNow(date, start, end):
    try:
        seconds = time.mktime((*date, 0, 0, 0)) - time.timezone
    except (ValueError, OverflowError):
        return False
    return start - 3 <= seconds <= end + 3


def withoutRoom(text):
    """Other programs use the disk too, so its free room differs between two runs."""
    return re.sub(rb"\d+ are free", b"some are free", text)


class Run:
    """One copy: what the caller sees, and when."""

    def __init__(self, folder, arguments, more, umask, environment, user):
        self.start = time.time()
        (folder / "out").mkdir()
        if user:
            os.chown(folder / "out", user["user"], user["user"])
        done = subprocess.run([PROGRAM, "duplicate", *arguments, *more, "--output", "out"], cwd=folder, umask=umask,
                              stdin=subprocess.DEVNULL, capture_output=True, check=False, timeout=120,
                              env=environment, **user)
        self.end = time.time()
        self.seen = {"code": done.returncode, "out": withoutRoom(done.stdout), "err": withoutRoom(done.stderr)}
        report = folder / "report"
        self.seen["report"] = report.read_bytes() if report.exists() else None
        report.unlink(missing_ok=True)
        items = sorted(path for path in (folder / "out").iterdir())
        self.seen["items"] = [path.name for path in items]
        self.copy = None
        if len(items) == 1:
            try:
                self.copy = Copy(items[0])
            except (zipfile.BadZipFile, struct.error, zlib.error) as error:
                self.seen["items"].append(f"cannot be read: {error}")
        shutil.rmtree(folder / "out")


def difference(listed, onDisk):
    """What is not the same; "" if all is."""
    for name, value in onDisk.seen.items():
        if listed.seen[name] != value:
            return f"{name}: {listed.seen[name]!r}\n  on disk: {value!r}"
    if not onDisk.copy:
        return ""
    if listed.copy.hasGaps or onDisk.copy.hasGaps:
        return "there are gaps"
    if listed.copy.facts != onDisk.copy.facts:
        pairs = zip(listed.copy.entries, onDisk.copy.entries)
        entry = next((pair for pair in pairs if pair[0] != pair[1]), "the number of entries, or the mode")
        return f"entries: {entry!r}"[:3000]
    for left, right, entry in zip(listed.copy.dates, onDisk.copy.dates, onDisk.copy.entries):
        if left != right and not (isNow(left, listed.start, listed.end) and isNow(right, onDisk.start, onDisk.end)):
            return f"date of {entry[0]}: {left}, on disk: {right}"
    return ""


class Roads:
    """Compares packages one by one, in a folder of its own."""

    def __init__(self):
        memory = "/dev/shm" if os.access("/dev/shm", os.W_OK | os.X_OK) else None
        self.folder = Path(tempfile.mkdtemp(prefix="vellomir-roads-", dir=memory))
        os.chmod(self.folder, 0o777)
        makePicture(self.folder / "picture.png")
        self.counts = collections.Counter()

    def close(self):
        removeTree(self.folder)

    def compare(self, content, chance, arguments=None):
        """What differs between the roads; "" if nothing does."""
        name = chance.choice(["app.ipa", "app.ipa", "tempFolder.ipa", "app.ipa.ipa", "app.b.zip"])
        (self.folder / name).write_bytes(content)
        arguments = [name, *(options(chance) if arguments is None else arguments)]
        isUser = os.geteuid() == 0 and chance.random() < 0.5
        user = {"user": NOBODY, "group": NOBODY, "extra_groups": []} if isUser else {}
        environment = {**(UNCOUNTED if isUser else os.environ), "TZ": chance.choice(ZONES)}
        umask = chance.choice([0o22, 0o22, 0, 0o77, 0o27])
        jobs = ["--jobs", chance.choice("128")]
        runs = [Run(self.folder, arguments, more, umask, environment, user) for more in (jobs, ["--on-disk"])]
        (self.folder / name).unlink()
        found = difference(*runs)
        self.count(*runs)
        return f"{' '.join(arguments)}{' as another user' * isUser}, umask {umask:o}: {found}" if found else ""

    def count(self, listed, onDisk):
        self.counts["copies" if onDisk.copy else "failures"] += 1
        # Only without a tree, the data has another order than the directory.
        self.counts["without a tree"] += bool(listed.copy and not listed.copy.isInOrder)


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--count", type=int, default=300)
    parser.add_argument("--first", type=int, default=0)
    parser.add_argument("--seed", default="roads")
    parser.add_argument("packages", nargs="*", type=Path)
    asked = parser.parse_args()
    roads, problems, kinds = Roads(), 0, collections.Counter()
    for number in range(asked.first, asked.first + asked.count):
        chance = random.Random(f"{asked.seed}/options/{number}")
        for words, content in ([(str(path), path.read_bytes()) for path in asked.packages] or
                               [generated.make(number, asked.seed)[::-1]]):
            found = roads.compare(content, chance)
            kinds[words] += 1
            problems += bool(found)
            if found:
                print(f"{number} ({words}): {found}", flush=True)
    roads.close()
    print(f"{sum(kinds.values())} packages of {len(kinds)} kinds, {problems} with differences; {dict(roads.counts)}")
    return min(problems, 1)


if __name__ == "__main__":
    sys.exit(main())
