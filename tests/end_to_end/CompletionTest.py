"""Completions, made from the option definitions, answer in the shells themselves."""
import os
import shutil
import subprocess
import unittest
from pathlib import Path

from harness import Case

PAGES = Path(os.environ["VELLOMIR_CLI"]).parent.parent / "packaging/pages"


class Completions(Case):
    def setUp(self):
        super().setUp()
        for name in ["App.ipa", "two words.ipa", "folder/file"]:
            self.write(name)

    def shell(self, *command):
        ran = subprocess.run(command, cwd=self.folder, capture_output=True, text=True,
                             stdin=subprocess.DEVNULL)
        self.assertEqual((0, ""), (ran.returncode, ran.stderr), command)
        return ran.stdout.splitlines()

    def require(self, shell):
        if not shutil.which(shell):
            self.skipTest(f"{shell} is not installed")

    def checkAnswers(self, complete):
        """`complete`: the sorted answers to the words of a command line, the last one begun."""
        self.assertEqual(["archive", "duplicate"], [word for word in complete("")
                                                    if word in ("archive", "duplicate")])
        self.assertEqual(["duplicate"], complete("dup"))
        self.assertEqual(["list"], complete("archive", "li"))
        self.assertEqual(["--icon", "--icons"], complete("duplicate", "--ic"))
        self.assertEqual(["deflate", "none"], complete("archive", "create", "--method", ""))
        self.assertEqual(["never"], complete("duplicate", "App.ipa", "--progress", "n"))
        self.assertEqual(["App.ipa"], complete("duplicate", "A"))
        self.assertEqual(["two words.ipa"], complete("archive", "test", "two"))
        self.assertEqual(["App.ipa"], complete("duplicate", "x", "--icon", "A"))
        self.assertEqual([], complete("duplicate", "x", "--number", "A"))

    def testBash(self):
        def complete(*words):
            script = ('source "$1"; shift; COMP_WORDS=(vellomir-cli "$@"); COMP_CWORD=$#; '
                      "_vellomir_cli; printf '%s\\n' \"${COMPREPLY[@]}\"")
            command = ["bash", "--norc", "-uc", script, "-", str(PAGES / "vellomir-cli.bash")]
            return sorted(line for line in self.shell(*command, *words) if line)

        self.checkAnswers(complete)
        self.assertEqual(["deflate"], complete("archive", "create", "--method", "=", "d"))
        self.assertEqual(["folder"], complete("archive", "add", "x", "--relative-to", ""))

    def testBashRegistersTheProgram(self):
        found = self.shell("bash", "--norc", "-c", 'source "$1"; complete -p vellomir-cli', "-",
                           str(PAGES / "vellomir-cli.bash"))
        self.assertEqual(["complete -F _vellomir_cli vellomir-cli"], found)

    def testFish(self):
        self.require("fish")

        def complete(*words):
            line = "vellomir-cli " + " ".join(words)
            found = self.shell("fish", "--no-config", "-c", 'source $argv[1]; complete -C $argv[2]',
                               str(PAGES / "vellomir-cli.fish"), line)
            return sorted(answer.split("\t")[0] for answer in found)

        self.checkAnswers(complete)

    def testZshHasNoSyntaxErrors(self):
        self.require("zsh")
        script = PAGES / "vellomir-cli.zsh"
        self.assertTrue(script.read_text().startswith("#compdef vellomir-cli\n"))
        self.shell("zsh", "-f", "-n", str(script))

    def testZshAsksForTheWordsOfTheCommand(self):
        """With functions in the place of zsh's own that print what they are asked for."""
        self.require("zsh")
        script = ('_arguments() { print -rl -- "$words[1]" "$@" }; _describe() { print -rl -- '
                  '"${(@P)2}" }; script=$1; shift; words=(vellomir-cli "$@"); CURRENT=$#words; '
                  "ask() { source $script }; ask")

        def asked(*words):
            return self.shell("zsh", "-f", "-c", script, "-", str(PAGES / "vellomir-cli.zsh"), *words)

        self.assertIn("duplicate:make second copies of application packages: one for every package and "
                      "number", asked("du"))
        self.assertIn("cat:print an entry's data", asked("archive", ""))
        found = asked("archive", "create", "--method", "")
        self.assertEqual("create", found[0])
        self.assertIn("--method[how files are stored (none)]:none|deflate:(none deflate)", found)
        self.assertIn(":ARCHIVE:_files", found)
        self.assertIn("*:ENTRY: ", asked("archive", "remove", "a.zip", ""))


if __name__ == "__main__":
    unittest.main()
