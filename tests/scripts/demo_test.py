#!/usr/bin/env python3
"""scripts/demo shows that it builds, and says what was built and what to try next."""
import os
import pty
import re
import subprocess
import unittest

from sandbox import ROOT, Sandbox


class Demo(Sandbox):
    def setUp(self):
        super().setUp()
        self.script("demo")
        self.standIn("scripts/setup")
        self.standIn("build/demo/clockpath", self.command(card=0))
        self.standIn("bin/cmake", 'for i in {1..40}; do echo "[$i/40] Building CXX object $i"; done')

    @staticmethod
    def command(card, cause="Cause: ptp0: register 0x12a: no operation writes it"):
        return (
            f'case $1,$2 in explain,*) echo "{cause}"; exit 1;; *mistyped*) exit 1;; esac\n'
            f'echo "all ready"; exit {card}'
        )

    def test_where_nobody_watches_the_build_is_told_in_tenths(self):
        said = self.run_("scripts/demo").stdout
        self.assertIn("Building 4 of 40\n", said)
        self.assertIn("Building 40 of 40\n", said)
        self.assertLessEqual(said.count(" of 40\n"), 2 * 10)   # it configures, then builds

    def test_on_a_terminal_one_line_moves(self):
        ours, theirs = pty.openpty()
        path = f"{self.root}/bin:{os.environ['PATH']}"
        subprocess.run([self.root / "scripts" / "demo"], stdout=theirs, stdin=theirs, env={**os.environ, "PATH": path})
        os.close(theirs)
        said = os.read(ours, 1 << 16).decode()
        os.close(ours)
        self.assertIn("\rBuilding 13 of 40\rBuilding 14 of 40", said)
        self.assertNotIn(" of 40\r\n", said)

    def test_it_ends_with_the_command_and_three_things_to_try(self):
        run = self.run_("scripts/demo")
        self.assertEqual(run.returncode, 0)
        self.assertIn("The command is build/demo/clockpath", run.stdout)
        tries = re.findall(r"^   build/demo/clockpath (.*)$", run.stdout, re.MULTILINE)
        self.assertEqual(len(tries), 3)
        for file in re.findall(r"examples/\S+", " ".join(tries)):
            self.assertTrue((ROOT / file).is_file(), file)

    def test_it_installs_only_what_building_takes(self):
        self.run_("scripts/demo")
        self.assertEqual(self.called()[0], "setup build")

    def test_the_card_decides_the_exit_code(self):
        self.standIn("build/demo/clockpath", self.command(card=1))
        self.assertEqual(self.run_("scripts/demo").returncode, 1)

    def test_it_shows_the_cause_of_a_card_that_does_not_come_up(self):
        self.assertIn("\nCause: ptp0: register 0x12a: no operation writes it\n", self.run_("scripts/demo").stdout)

    def test_a_cause_that_is_not_named_is_a_failure(self):
        self.standIn("build/demo/clockpath", self.command(card=0, cause="nothing"))
        run = self.run_("scripts/demo")
        self.assertEqual(run.returncode, 1)
        self.assertIn("expected the cause of examples/mistyped.json", run.stderr)

    def test_a_build_that_failed_shows_its_words(self):
        self.standIn("bin/cmake", "echo the compiler is at a loss; exit 1")
        run = self.run_("scripts/demo")
        self.assertEqual(run.returncode, 2)
        self.assertIn("the compiler is at a loss", run.stderr)
        self.assertNotIn("clockpath simulate", run.stdout)


if __name__ == "__main__":
    unittest.main()
