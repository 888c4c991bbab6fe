#!/usr/bin/env python3
"""scripts/setup installs what its words name, and nothing else."""
import os
import unittest

from sandbox import Sandbox


class Setup(Sandbox):
    def setUp(self):
        super().setUp()
        self.script("setup")
        self.standIn("bin/apt-get")

    def installed(self, *missing):
        """Of the packages asked for, all but these are there."""
        absent = f'[[ " {" ".join(missing)} " == *" $word "* ]]'
        self.standIn("bin/dpkg-query", f'for word; do {absent} || echo "installed $word"; done')

    def test_with_everything_there_it_does_nothing(self):
        self.installed()
        run = self.run_("scripts/setup")
        self.assertEqual((run.stdout, run.stderr, run.returncode), ("", "", 0))

    def test_the_command_needs_neither_tests_nor_benchmarks(self):
        self.installed("clang", "clang-tidy", "libgtest-dev", "libbenchmark-dev")
        self.assertEqual(self.run_("scripts/setup", "build").returncode, 0)
        self.assertNotIn("apt-get", "".join(self.called()))

    def test_what_is_missing_is_installed_or_named(self):
        self.installed("g++", "clang-tidy")
        for words, wanted in ((("build",), "g++"), (("test",), "clang-tidy"), ((), "g++ clang-tidy"),
                              (("build", "test"), "g++ clang-tidy"), (("build", "build"), "g++")):
            with self.subTest(words=words):
                self.calls.write_text("")
                run = self.run_("scripts/setup", *words)
                if os.geteuid() == 0:
                    self.assertEqual(run.returncode, 0, run.stderr)
                    self.assertEqual(
                        self.called()[-1], f"apt-get --quiet --yes install --no-install-recommends {wanted}")
                else:
                    self.assertEqual(run.returncode, 2)
                    self.assertIn(f"install --no-install-recommends {wanted}\n", run.stderr)

    def test_unknown_words_are_refused(self):
        self.installed("g++")
        for words in (("tests",), ("build", "-x"), ("",)):
            run = self.run_("scripts/setup", *words)
            self.assertEqual(run.returncode, 2)
            self.assertIn("expected build, test, bench or docs", run.stderr)
        self.assertEqual(self.called(), [])

    def test_help_names_the_words(self):
        run = self.run_("scripts/setup", "--help")
        self.assertEqual(run.returncode, 0)
        for word in ("build", "test", "bench", "docs"):
            self.assertIn(f"\n   {word} ", run.stdout)
        self.assertEqual(self.called(), [])


if __name__ == "__main__":
    unittest.main()
