#!/usr/bin/env python3
"""The floors' rules find what they are for: each case builds a small house with one breach in it."""
import pathlib
import subprocess
import sys
import tempfile
import unittest

from floors import breaches

HOUSE = {
    "framework/CMakeLists.txt": "target_sources( vor PRIVATE Text.cpp )",
    "framework/Text.h": "// Text.\n#pragma once\n#include <string>\n",
    "framework/Text.cpp": '#include "framework/Text.h"\n',
    "util/CMakeLists.txt": "target_sources( clockpath_lib PRIVATE Utils.cpp )",
    "util/Utils.h": "#pragma once\n#include <cstdint>\n",
    "util/Utils.cpp": '#include "util/Utils.h"\n#include <cerrno>\n#include <time.h>\n',
    "platform/Ham.h": '#pragma once\n#include "framework/Text.h"\n',
    "hal/KivHal.h": '#pragma once\n#include "framework/Text.h"\n',
    "hardware/Op.h": '#pragma once\n#include "platform/Ham.h"\n',
    "inventory/Inv.h": '#pragma once\n#include "hardware/Op.h"\n',
    "sm/Sm.h": '#pragma once\n#include "inventory/Inv.h"\n#include "util/Utils.h"\n',
    "sim/Card.h": '#pragma once\n#include "sm/Sm.h"\n',
    "input/Json.h": '#pragma once\n#include "sim/Card.h"\n#include <nlohmann/json.hpp>\n',
    "report/Report.h": '#pragma once\n#include "input/Json.h"\n',
    "diagnosis/Page.h": '#pragma once\n#include "report/Report.h"\n',
    "command/Agent.h":
        '#pragma once\n#include "input/Json.h"\n#include <CLI/CLI.hpp>\n#include <fmt/core.h>\n#include <sys/mman.h>\n',
}


class Floors(unittest.TestCase):
    def house(self, changes):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        for name, text in {**HOUSE, **changes}.items():
            file = pathlib.Path(folder.name, name)
            file.parent.mkdir(parents=True, exist_ok=True)
            file.write_text(text)
        return folder.name

    def including(self, file, *lines):
        """The breaches when that header includes those lines and nothing else."""
        text = "#pragma once\n" + "".join(f"#include {line}\n" for line in lines)
        return breaches(self.house({file: text}))

    def test_a_house_in_order_has_no_breach(self):
        self.assertEqual(breaches(self.house({})), [])

    def test_no_floor_includes_a_higher_one_or_one_beside_it(self):
        for file, included in [
                ("framework/Text.h", "platform/Ham.h"), ("framework/Text.h", "util/Utils.h"),
                ("util/Utils.h", "framework/Text.h"), ("platform/Ham.h", "hal/KivHal.h"),
                ("platform/Ham.h", "util/Utils.h"), ("hal/KivHal.h", "platform/Ham.h"),
                ("hardware/Op.h", "hal/KivHal.h"), ("hardware/Op.h", "util/Utils.h"),
                ("hardware/Op.h", "inventory/Inv.h"), ("inventory/Inv.h", "sm/Sm.h"), ("sm/Sm.h", "sim/Card.h"),
                ("sim/Card.h", "input/Json.h"), ("report/Report.h", "diagnosis/Page.h"),
                ("input/Json.h", "command/Agent.h")]:
            with self.subTest(file=file, included=included):
                found = self.including(file, f'"{included}"')
                self.assertEqual(len(found), 1)
                self.assertIn(f'{file}:2: includes "{included}"', found[0])

    def test_a_breach_names_what_the_floor_may_include(self):
        self.assertEqual(
            self.including("hardware/Op.h", '"sm/Sm.h"'),
            ['hardware/Op.h:2: includes "sm/Sm.h": hardware/ may include hardware/, framework/, platform/ '
             'and the standard and system headers'])
        self.assertIn("service/, <CLI/...>, <fmt/...>", self.including("command/Agent.h", "<boost/any.hpp>")[0])

    def test_the_library_uses_no_other_library(self):
        for line in ("<nlohmann/json.hpp>", "<fmt/core.h>", "<CLI/CLI.hpp>", "<gtest/gtest.h>", "<boost/any.hpp>"):
            with self.subTest(line=line):
                self.assertEqual(len(self.including("sm/Sm.h", line)), 1)

    def test_the_simulated_card_does_not_use_the_commands_libraries(self):
        for line in ("<fmt/core.h>", "<CLI/CLI.hpp>", "<nlohmann/json.hpp>"):
            with self.subTest(line=line):
                self.assertEqual(len(self.including("sim/Card.h", line)), 1)

    def test_every_way_of_writing_an_include_is_seen(self):
        for line in ('#include "sm/Sm.h"', '  #  include   "sm/Sm.h"  // why', '#include"sm/Sm.h"',
                     "#include <sm/Sm.h>", '#include "../sm/Sm.h"', '#include "hal/../sm/Sm.h"', "#include HEADER"):
            with self.subTest(line=line):
                found = breaches(self.house({"hal/KivHal.h": f"#pragma once\n\n{line}\n"}))
                self.assertEqual(len(found), 1)
                self.assertTrue(found[0].startswith("hal/KivHal.h:3: "), found[0])

    def test_a_comment_is_no_include(self):
        text = '#pragma once\n// #include "sm/Sm.h"\n/*\n#include "sm/Sm.h"\n*/\n'
        self.assertEqual(breaches(self.house({"hal/KivHal.h": text})), [])

    def test_lines_are_counted_through_comments(self):
        found = breaches(self.house({"hal/KivHal.h": '#pragma once\n/*\n\n*/\n#include "sm/Sm.h"\n'}))
        self.assertTrue(found[0].startswith("hal/KivHal.h:5: "), found)

    def test_project_headers_are_named_from_the_root_and_exist(self):
        for line in ('"Text.h"', '"framework/Txet.h"', "<framework/Text.h>", '"string"'):
            with self.subTest(line=line):
                self.assertEqual(len(self.including("platform/Ham.h", line)), 1)

    def test_a_header_is_guarded(self):
        found = breaches(self.house({"hal/KivHal.h": "// #pragma once\n"}))
        self.assertEqual(len(found), 1)
        self.assertIn("hal/KivHal.h:1: has no #pragma once", found[0])

    def test_a_source_opens_with_its_own_header(self):
        found = breaches(self.house({"framework/Text.cpp": '#include <string>\n#include "framework/Text.h"\n'}))
        self.assertEqual(len(found), 1)
        self.assertIn("framework/Text.cpp:1: does not open with", found[0])

    def test_a_source_is_listed(self):
        found = breaches(self.house({"util/CMakeLists.txt": "target_sources( clockpath_lib PRIVATE ) # Utils.cpp\n"}))
        self.assertEqual(len(found), 1)
        self.assertIn("util/Utils.cpp:1: is not listed in util/CMakeLists.txt", found[0])

    def test_a_test_is_listed(self):
        tests = {"tests/hal/CMakeLists.txt": "clockpath_test( hal SOURCES RegTest.cpp )", "tests/hal/RegTest.cpp": ""}
        self.assertEqual(breaches(self.house(tests)), [])
        found = breaches(self.house({**tests, "tests/hal/forbidden/Overlap.cpp": ""}))
        self.assertEqual(
            found, ["tests/hal/forbidden/Overlap.cpp:1: is not listed in tests/hal/CMakeLists.txt: add it"])

    def test_a_line_is_at_most_120_columns_long(self):
        lists = {"tests/hal/CMakeLists.txt": "clockpath_test( hal SOURCES RegTest.cpp )"}
        for file in ("hal/KivHal.h", "tests/hal/RegTest.cpp", "scripts/make.py"):
            with self.subTest(file=file):
                start = "#pragma once\n// "
                house = {**lists, "tests/hal/RegTest.cpp": ""}
                self.assertEqual(breaches(self.house({**house, file: start + "é" * 117})), [])
                found = breaches(self.house({**house, file: start + "é" * 118 + "\n"}))
                self.assertEqual(len(found), 1)
                self.assertTrue(found[0].startswith(f"{file}:2: has 121 columns: "), found)

    def test_what_a_raw_string_holds_stands_as_it_is(self):
        lists = {"tests/hal/CMakeLists.txt": "clockpath_test( hal SOURCES RegTest.cpp )"}
        text = 'auto a = R"x(\n' + "y" * 130 + ')"\n)x";\n'
        self.assertEqual(breaches(self.house({**lists, "tests/hal/RegTest.cpp": text})), [])
        found = breaches(self.house({**lists, "tests/hal/RegTest.cpp": text + "// " + "y" * 118}))
        self.assertTrue(found[0].startswith("tests/hal/RegTest.cpp:4: "), found)

    def test_the_command_fails_on_a_breach_and_only_then(self):
        command = [sys.executable, pathlib.Path(__file__).with_name("floors.py")]
        good = subprocess.run([*command, self.house({})], capture_output=True, text=True)
        self.assertEqual((good.returncode, good.stdout), (0, "no breach\n"))
        bad = subprocess.run([*command, self.house({"hal/KivHal.h": ""})], capture_output=True, text=True)
        self.assertEqual(bad.returncode, 1)
        self.assertIn("hal/KivHal.h", bad.stdout)


if __name__ == "__main__":
    unittest.main()
