"""A few kills of each command; kills.py does more of them by hand"""
import os
import unittest

from kills import COMMANDS, MEBIBYTE, CallRounds, Rounds, mayTrace

SEED = int(os.environ.get("VELLOMIR_SEED", "1"))


class Kills(unittest.TestCase):
    def rounds(self, kind, command, *arguments):
        rounds = kind(command, SEED, *arguments)
        self.addCleanup(rounds.close)
        return rounds

    def testAtRandomMoments(self):
        for command in COMMANDS:
            with self.subTest(command=command.name):
                counts = self.rounds(Rounds, command).run(5)
                self.assertEqual(counts["old"] + counts["new"], 5)

    def testAtSystemCalls(self):
        if os.environ.get("VELLOMIR_SANITIZE"):
            self.skipTest("the leak check of the sanitizer does not run under strace")
        if not mayTrace():
            self.skipTest("strace is missing or may not trace here")
        for command in COMMANDS:
            with self.subTest(command=command.name):
                counts = self.rounds(CallRounds, command, MEBIBYTE).run(2)
                self.assertGreater(counts["old"], 1)
                self.assertGreater(counts["left until the next run"], 1)


if __name__ == "__main__":
    unittest.main()
