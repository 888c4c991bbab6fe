#!/usr/bin/env python3
"""scripts/bench refuses what it does not know, and makes its tables from the names of the benchmarks."""
import contextlib
import importlib.machinery
import importlib.util
import io
import pathlib
import subprocess
import sys
import unittest

BENCH = pathlib.Path(__file__).resolve().parents[2] / "scripts" / "bench"
loader = importlib.machinery.SourceFileLoader("bench", str(BENCH))
bench = importlib.util.module_from_spec(importlib.util.spec_from_loader("bench", loader))
loader.exec_module(bench)


class Bench(unittest.TestCase):
    def run_with(self, *words):
        return subprocess.run([sys.executable, "-B", BENCH, *words], capture_output=True, text=True)

    def tables(self, figures):
        out = io.StringIO()
        with contextlib.redirect_stdout(out):
            bench.tables(figures, bench.timeText)
        return out.getvalue().splitlines()

    def test_an_unknown_word_is_refused_and_the_known_ones_are_named(self):
        run = self.run_with("notification", "--fast")
        self.assertEqual((run.returncode, run.stdout), (2, ""))
        self.assertRegex(run.stderr, "'--fast' is no benchmark; there are .*notification, .*trace.*, instructions")

    def test_help_names_the_benchmarks(self):
        run = self.run_with("--help")
        self.assertEqual((run.returncode, run.stderr), (0, ""))
        self.assertIn("scripts/bench [NAME...]", run.stdout)
        self.assertRegex(run.stdout, "notification, .*trace.*, instructions\n$")

    def test_a_name_gives_subject_variant_and_arguments(self):
        for name, place in {
            "notify/Ours/64": ("notify", "Ours", "64"),
            "SPI write and read/Limit": ("SPI write and read", "Limit", ""),
            "walk<Deque>/500": ("walk", "Deque", "500"),
            "walk<std::deque<int>>/500": ("walk", "std::deque<int>", "500"),
            "wheelArm/10": ("wheelArm", "Ours", "10"),
            "timers run/std::multimap/10": ("timers run", "std::multimap", "10"),
            "bringUp/operations:2000/log:1": ("bringUp", "Ours", "operations:2000 log:1"),
            "sleep/Ours/iterations:50/real_time": ("sleep", "Ours", ""),
        }.items():
            with self.subTest(name=name):
                self.assertEqual(bench.place(name), place)

    def test_the_limit_comes_first_and_the_others_are_measured_against_it(self):
        self.assertEqual(
            self.tables(
                {"n/peer/64": 250.0, "n/Ours/64": 150.0, "n/Ours/8": 3.0, "n/Limit/8": 2.0, "n/Limit/64": 100.0}),
            ["n     Limit     Ours          peer",
             "8   2.00 ns  3.00 ns  1.50       -",
             "64   100 ns   150 ns  1.50  250 ns  2.50",
             ""])

    def test_without_a_limit_ours_is_the_measure(self):
        self.assertEqual(
            self.tables({"t/peer": 3e3, "t/Ours": 2e3}),
            ["t     Ours     peer", "   2.00 µs  3.00 µs  1.50", ""])


unittest.main()
