#!/usr/bin/env python3
"""scripts/test runs the stages it is asked for, and ends with the totals."""
import unittest

from sandbox import Sandbox

STAGES = ("format", "release", "asan", "tsan", "tidy")


class Test(Sandbox):
    def setUp(self):
        super().setUp()
        self.script("test")
        self.script("tally")
        for script in ("scripts/setup", "scripts/format", "scripts/tidy", "bin/cmake"):
            self.standIn(script)
        # Writes the results of one test that passed.
        self.standIn("bin/ctest", 'while [[ $1 != --output-junit ]]; do shift; done\n'
                     'echo "<testsuite><testcase name=\'a\' status=\'run\'/></testsuite>" >"$2"')

    def test_one_stage_runs_alone(self):
        run = self.run_("scripts/test", "format")
        self.assertEqual((run.stdout.splitlines()[-1], run.returncode), ("1 passed, 0 failed", 0))
        self.assertEqual(self.called(), ["setup build test", "format --check"])

    def test_stages_run_in_their_order_whatever_the_order_of_the_words(self):
        run = self.run_("scripts/test", "tidy", "format")
        self.assertEqual((run.stdout.splitlines()[-1], run.returncode), ("2 passed, 0 failed", 0))
        self.assertEqual([call.split()[0] for call in self.called()], ["setup", "format", "cmake", "tidy"])

    def test_without_words_every_stage_runs(self):
        run = self.run_("scripts/test")
        self.assertEqual((run.stdout.splitlines()[-1], run.returncode), ("3 passed, 0 failed", 0))
        for preset in ("release", "asan", "tsan"):
            self.assertTrue(any(f"ctest --preset {preset} " in call for call in self.called()), preset)

    def test_a_stage_that_fails_fails_the_run_and_stops_no_other(self):
        self.standIn("scripts/format", "exit 1")
        run = self.run_("scripts/test", "format", "tidy")
        self.assertEqual((run.stdout.splitlines()[-1], run.returncode), ("1 passed, 1 failed", 1))
        self.assertIn("Not passed: format.", run.stdout)

    def test_unknown_words_are_refused_with_the_stages(self):
        for words in (("tests",), ("format", "-x"), ("",), ("format tidy",)):
            run = self.run_("scripts/test", *words)
            self.assertEqual(run.returncode, 2, words)
            self.assertIn("expected are: " + " ".join(STAGES), run.stderr)
        self.assertEqual(self.called(), [])

    def test_help_names_every_stage(self):
        run = self.run_("scripts/test", "--help")
        self.assertEqual(run.returncode, 0)
        for stage in STAGES:
            self.assertIn(f"\n   {stage} ", run.stdout)
        self.assertEqual(self.called(), [])


if __name__ == "__main__":
    unittest.main()
