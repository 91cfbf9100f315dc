#!/usr/bin/env python3
"""Prints what hyperfine measured: compare.py RESULT.json [FACTOR TOOL]

The first command is ours; a ratio above 1 says how many times as long the other one takes. With a
factor, fails unless ours is that many times as fast as the tool, by the clock.
"""

import json
import sys


def main(path, factor=None, tool=None):
    with open(path) as file:
        results = json.load(file)["results"]
    ours = results[0]
    ratios = {}
    for result in results:
        name = result["command"]
        ratios[name] = min(result["times"]) / min(ours["times"])
        processor = result["user"] + result["system"]
        print(
            f"  {name:<24} {min(result['times']):8.3f} s {ratios[name]:7.2f} x"
            f" {processor:9.3f} s {processor / (ours['user'] + ours['system']):7.2f} x"
        )
    if factor is not None and ratios[tool] < float(factor):
        print(f"  TOO SLOW: should be at least {factor} times as fast as {tool}")
        return 1
    return 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
