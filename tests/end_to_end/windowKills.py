"""Kills the window's program at random moments of a job

Each kill is one round: a job runs in the window and the program is killed. The next window must
find a clean folder: nothing, or the whole result if the job was complete. A copy that was saved
before stays as it was. By hand:

    VELLOMIR=build/release/bin/vellomir VELLOMIR_CLI=build/release/bin/vellomir-cli \\
        python3 tests/end_to_end/windowKills.py --count 200
"""
import argparse
import collections
import random
import sys
import time
import unittest

from harness import infoPlist, makeZip
from kills import MEBIBYTE, digest, entries, row
from window import WindowCase


class WindowKills(WindowCase):
    count, seed = 3, 1

    def open(self):
        window = super().open("app.ipa")
        window.waitForSaid("Selected file URL: " + (self.folder / "app.ipa").as_uri())
        return window

    def startJob(self):
        """A window whose job has just begun."""
        window = self.open()
        window.keys("Tab", "Tab", "Tab") # about, select, number
        window.typeNumber("2")
        window.doIt()
        return window

    def measure(self):
        """How long a job takes, in seconds; the result is the one that is expected."""
        window = self.startJob()
        start = time.monotonic()
        window.waitFor(window.showsShareSheet, "the share sheet")
        duration = time.monotonic() - start
        self.after = entries(self.result)
        window.stop()
        return duration

    def setUp(self):
        super().setUp()
        self.random = random.Random(self.seed)
        makeZip(self.folder / "app.ipa",
                [("Payload/Notes.app/Info.plist", infoPlist()),
                 *((f"Payload/Notes.app/data{index}", self.random.randbytes(12 * MEBIBYTE))
                   for index in range(3)),
                 *((f"Payload/Notes.app/small/{index}", b"text") for index in range(50))])
        self.result = self.data / "1/Documents/Notes2.ipa"
        self.package = digest(self.folder / "app.ipa")
        self.saved = self.write("saved/Notes2.ipa", "saved before")

    def check(self, found, what):
        """What the next window sees: its folder is clean before a file is opened in it."""
        window = self.start().shown()
        left = self.leftBehind()
        isNew = left == ["1/Documents/Notes2.ipa"]
        self.assertTrue(isNew or left == [], f"{what}: {found} became {left}")
        if isNew:
            self.assertEqual(entries(self.result), self.after, what)
        window.stop()
        self.assertEqual(digest(self.folder / "app.ipa"), self.package, what)
        self.assertEqual(self.saved.read_text(), "saved before", what)
        self.assertEqual(sorted(path.name for path in self.folder.rglob("*")),
                         ["Notes2.ipa", "app.ipa", "saved"], what)
        return "new" if isNew else "old"

    def testJobs(self):
        counts = collections.Counter()
        duration = self.measure()
        while counts["kills"] < self.count:
            moment = self.random.uniform(0, duration)
            window = self.startJob()
            time.sleep(moment)
            window.kill()
            found = self.leftBehind()
            counts["kills"] += 1
            counts["left until the next run"] += bool(found)
            counts[self.check(found, f"killed after {moment:.3f} s")] += 1
        self.assertGreater(counts["left until the next run"], 0)
        sys.stderr.write(row("a job in the window", counts) + "\n")


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--count", type=int, default=200)
    parser.add_argument("--seed", type=int, default=random.SystemRandom().randrange(1 << 32))
    options = parser.parse_args()
    WindowKills.count, WindowKills.seed = options.count, options.seed
    print(f"seed {options.seed}", flush=True)
    unittest.main(argv=sys.argv[:1])


if __name__ == "__main__":
    main()
