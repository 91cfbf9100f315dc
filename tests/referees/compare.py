#!/usr/bin/env python3
"""Packs random trees with vellomir-cli and reads them with unzip, bsdtar, 7z and Python, and the
other way round: names, bytes, modes, times and links must be the same.

VELLOMIR_CLI names the program. Ctrl-C ends early, with the table so far. `--exceptions` prints what
other tools cannot represent.
"""
import argparse
import collections
import functools
import multiprocessing
import os
import random
import shutil
import sys
import tempfile

import rules

NEEDED = ["zip", "unzip", "zipinfo", "bsdtar", "7z"]


def arguments():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--count", type=int, default=100, help="trees (100)")
    parser.add_argument("--seed", type=int, help="the first tree's number (random)")
    parser.add_argument("--jobs", type=int, default=os.cpu_count(), help="processes (the cores)")
    parser.add_argument("--exceptions", action="store_true", help="print the table of exceptions")
    return parser.parse_args()


class Table:
    """Sums the rounds up: direction and tool, archives, entries, differences."""

    def __init__(self):
        self.rows = collections.defaultdict(lambda: [0, 0, 0])
        self.lines = []

    def add(self, results):
        for direction, tool, entries, found in results:
            row = self.rows[direction, tool]
            row[0] += 1
            row[1] += entries
            row[2] += len(found)
            self.lines += [f"{direction}, {tool}: {line}" for line in found]

    def print(self):
        for line in self.lines:
            print(line.encode(errors="backslashreplace").decode())
        print(f"{'direction':16}{'tool':10}{'archives':>10}{'entries':>10}{'differences':>13}")
        for (direction, tool), row in self.rows.items():
            print(f"{direction:16}{tool:10}{row[0]:10}{row[1]:10}{row[2]:13}")


def compare(options):
    from rounds import roundOf
    seed = random.randrange(10**9) if options.seed is None else options.seed
    print(f"{options.count} trees from --seed {seed}", flush=True)
    table = Table()
    memory = "/dev/shm" if os.access("/dev/shm", os.W_OK | os.X_OK) else None
    with tempfile.TemporaryDirectory(prefix="vellomir-", dir=memory) as base:
        with multiprocessing.Pool(options.jobs) as pool:
            work = functools.partial(roundOf, base=base)
            try:
                for results in pool.imap(work, range(seed, seed + options.count), chunksize=4):
                    table.add(results)
            except KeyboardInterrupt:
                table.print()
                return 130
    table.print()
    return 1 if table.lines or not table.rows else 0


def main():
    options = arguments()
    if options.exceptions:
        for direction, tool, reason, _change in rules.EXCEPTIONS:
            print(f"{direction:16}{tool:10}{reason}")
        return 0
    missing = [tool for tool in [*NEEDED, os.environ.get("VELLOMIR_CLI", "vellomir-cli")]
               if not shutil.which(tool)]
    if missing:
        print("not installed: " + ", ".join(missing))
        return 1
    return compare(options)


if __name__ == "__main__":
    sys.exit(main())
