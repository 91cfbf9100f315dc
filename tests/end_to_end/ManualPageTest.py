"""Manual pages: they have every command and option, and nroff has nothing to object."""
import os
import re
import shutil
import subprocess
import unittest
from pathlib import Path

from harness import Case

PAGES = Path(os.environ["VELLOMIR_CLI"]).parent.parent / "packaging/pages"
COMMANDS = [["duplicate"], ["inspect"]] + [["archive", name] for name in
                              ["list", "extract", "create", "add", "remove", "cat", "test",
                               "compare"]]


class ManualPages(Case):
    def rendered(self, name):
        if not shutil.which("groff"):
            self.skipTest("groff is not installed")
        ran = subprocess.run(["groff", "-man", "-Tutf8", "-ww", "-rLL=78n", "-P-cbou", PAGES / name],
                             capture_output=True, text=True)
        self.assertEqual((0, ""), (ran.returncode, ran.stderr))
        return ran.stdout

    def testCommandLinePageHasAllOptionsAndExamples(self):
        page = self.rendered("vellomir-cli.1")
        text = " ".join(page.replace("−", "-").split())
        for command in COMMANDS:
            shown = self.succeed(*command, "--help")
            self.assertIn("vellomir-cli " + " ".join(command), text)
            for option in re.findall(r"^  (?:-h,)?(--[a-z0-9-]+)", shown, re.MULTILINE):
                self.assertIn(option, text)
            for example in re.findall(r"^    (vellomir-cli .+)$", shown, re.MULTILINE):
                self.assertIn(example, text)
        for section in ["NAME", "SYNOPSIS", "OPTIONS", "COMMANDS", "EXIT STATUS", "ENVIRONMENT"]:
            self.assertRegex(page, f"(?m)^{section}$")

    def testHelpOfEveryCommandHasExamples(self):
        for command in COMMANDS:
            self.assertIn("\nExamples:\n", self.succeed(*command, "--help"))

    def testWindowPageHasItsOptions(self):
        text = " ".join(self.rendered("vellomir.1").replace("−", "-").split())
        self.assertIn("vellomir - makes a second copy of an app package", text)
        for option in ["--help Says this.", "--version Says the version.", "[package] The package"]:
            self.assertIn(option, text)

    def testPagesNameTheirProgramAndVersion(self):
        version = self.succeed("--version").split()[1]
        for program in ["vellomir", "vellomir-cli"]:
            title = (PAGES / f"{program}.1").read_text().splitlines()[0].replace("\\-", "-")
            self.assertRegex(title, rf'^\.TH "{program.upper()}" "1" "\d{{4}}-\d\d-\d\d" '
                                    rf'"{program} {re.escape(version)}"')


if __name__ == "__main__":
    unittest.main()
