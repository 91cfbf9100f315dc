"""A second of swapping for each command; neighbours.py does it longer by hand"""
import os
import unittest

from neighbours import COMMANDS, isPossible, run


class Neighbours(unittest.TestCase):
    def testNothingOutsideIsTouched(self):
        if not isPossible():
            self.skipTest("only root can run one process as another user")
        for command in COMMANDS:
            with self.subTest(command=command.name):
                counts = run(command, float(os.environ.get("VELLOMIR_SECONDS", "1")))
                self.assertGreater(counts["runs"], 0)
                self.assertGreater(counts["swaps"], 0)


if __name__ == "__main__":
    unittest.main()
