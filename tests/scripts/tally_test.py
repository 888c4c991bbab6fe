#!/usr/bin/env python3
"""scripts/tally counts each test once, and lets no failure through."""
import pathlib
import subprocess
import sys
import tempfile
import unittest

TALLY = pathlib.Path(__file__).resolve().parents[2] / "scripts" / "tally"


class Tally(unittest.TestCase):
    def results(self, **tests):
        """A result file of ctest; the file lives as long as the test case."""
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        file = pathlib.Path(folder.name, "results.xml")
        cases = "".join(f'<testcase name="{name}" status="{status}"/>' for name, status in tests.items())
        file.write_text(f"<testsuite>{cases}</testsuite>")
        return str(file)

    def skipping(self, said="", message="SKIP_REGULAR_EXPRESSION_MATCHED", name="a"):
        """A result file of one test that was skipped."""
        file = self.results()
        pathlib.Path(file).write_text(
            f'<testsuite><testcase name="{name}" status="notrun"><skipped message="{message}"/>'
            f"<system-out>{said}</system-out></testcase></testsuite>")
        return file

    def tally(self, *what):
        run = subprocess.run([sys.executable, TALLY, *what], capture_output=True, text=True)
        return run.stdout.splitlines(), run.returncode

    def test_a_test_of_two_builds_is_one_test(self):
        self.assertEqual(
            self.tally(self.results(a="run", b="run"), self.results(a="run", c="run")), (["3 passed, 0 failed"], 0))

    def test_a_failure_in_one_build_is_a_failure(self):
        for builds in (("run", "fail"), ("fail", "run")):
            with self.subTest(builds=builds):
                self.assertEqual(
                    self.tally(*(self.results(a=build, b="run") for build in builds)),
                    (["failed: a", "1 passed, 1 failed"], 1))

    def test_what_never_ran_has_not_passed(self):
        self.assertEqual(
            self.tally(self.results(a="notrun", b="run"), self.results(a="disabled")),
            (["did not run: a", "1 passed, 1 failed"], 1))

    def test_what_ran_in_one_build_may_be_left_out_in_another(self):
        self.assertEqual(self.tally(self.results(a="notrun"), self.results(a="run")), (["1 passed, 0 failed"], 0))

    def test_a_skipped_test_is_no_failure_and_says_why(self):
        said = "[ RUN      ] a\n/test.cpp:2: Skipped\nthere is no terminal\n[  SKIPPED ] a (0 ms)\n"
        self.assertEqual(
            self.tally(self.skipping(said), "format=0"),
            (["skipped: a: there is no terminal", "1 passed, 0 failed, 1 skipped"], 0))
        self.assertEqual(
            self.tally(self.skipping("no device\n", "SKIP_RETURN_CODE=77"), "format=0"),
            (["skipped: a: no device", "1 passed, 0 failed, 1 skipped"], 0))

    def test_what_was_skipped_in_one_build_and_ran_in_another_is_judged_by_the_other(self):
        self.assertEqual(self.tally(self.skipping(), self.results(a="run")), (["1 passed, 0 failed"], 0))
        self.assertEqual(self.tally(self.skipping(), self.results(a="fail")), (["failed: a", "0 passed, 1 failed"], 1))

    def test_what_could_not_be_started_was_not_skipped(self):
        self.assertEqual(
            self.tally(self.skipping("", "Unable to find executable"), "format=0"),
            (["did not run: a", "1 passed, 1 failed"], 1))

    def test_skipping_everything_is_no_success(self):
        self.assertEqual(self.tally(self.skipping("why"))[1], 1)

    def test_a_check_is_a_test(self):
        self.assertEqual(self.tally("format=0"), (["1 passed, 0 failed"], 0))
        self.assertEqual(self.tally("format=0", "clang-tidy=1"), (["failed: clang-tidy", "1 passed, 1 failed"], 1))

    def test_nothing_is_no_success(self):
        self.assertEqual(self.tally(), (["0 passed, 0 failed"], 1))
        self.assertEqual(self.tally(self.results()), (["0 passed, 0 failed"], 1))

    def test_results_that_cannot_be_read_are_no_success(self):
        self.assertNotEqual(self.tally("no-such-file.xml")[1], 0)


if __name__ == "__main__":
    unittest.main()
