"""On a terminal, errors and warnings begin in colour, unless the user wants none."""
import os
import pty
import subprocess
import unittest

from harness import PROGRAM, Case, makePackage


class Terminal(Case):
    def errorsOf(self, *arguments, **environment):
        """What a run writes to a terminal as its standard error."""
        master, terminal = pty.openpty()
        variables = {name: value for name, value in os.environ.items()
                     if name not in ("NO_COLOR", "TERM")}
        variables.update(environment)
        try:
            subprocess.run([PROGRAM, *arguments], cwd=self.folder, env=variables, stderr=terminal,
                           stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, check=False)
        finally:
            os.close(terminal)
        written = b""
        try:
            while part := os.read(master, 4096):
                written += part
        except OSError: # the end, for a terminal
            pass
        os.close(master)
        return written.decode().replace("\r\n", "\n")

    def testErrorsBeginInRed(self):
        line = self.errorsOf("archive", "list", "missing.zip", TERM="xterm")
        self.assertTrue(line.startswith("\x1b[31mvellomir-cli:\x1b[0m cannot list "), repr(line))
        self.assertTrue(self.errorsOf("bogus", TERM="xterm").startswith("\x1b[31mvellomir-cli:"))

    def testWarningsBeginInYellow(self):
        makePackage(self.folder / "a.ipa")
        line = self.errorsOf("duplicate", "a.ipa", "--number", "", "--progress", "never",
                             TERM="xterm")
        self.assertTrue(line.startswith("\x1b[33mvellomir-cli: warning:\x1b[0m "), repr(line))

    def testNoColoursOnRequestAndElsewhere(self):
        for environment in [{"TERM": "xterm", "NO_COLOR": "1"}, {"TERM": "dumb"}, {}]:
            line = self.errorsOf("archive", "list", "missing.zip", **environment)
            self.assertTrue(line.startswith("vellomir-cli: cannot list "), repr(line))
        self.assertIn("\x1b[31m", self.errorsOf("bogus", TERM="xterm", NO_COLOR=""))
        self.assertNotIn("\x1b", self.cli("bogus").err)


if __name__ == "__main__":
    unittest.main()
