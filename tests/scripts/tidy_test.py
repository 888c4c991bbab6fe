#!/usr/bin/env python3
"""scripts/tidy finds what is wrong in sources and headers, says where, and leaves no file out."""
import json
import pathlib
import shutil
import subprocess
import sys
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]

HEADER = "#pragma once\n\nint level();\n"
SOURCE = ('#include "house/Level.h"\n\nnamespace {\nint const level_ = 1;\n}   // namespace\n\n'
          'int level() { return level_; }\n')
OTHER = '#include "house/Level.h"\n\nint twice();\n\nint twice() { return 2 * level(); }\n'


class Tidy(unittest.TestCase):
    def house(self, **files):
        """A house of three files; those named are as they are given."""
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.root = pathlib.Path(folder.name).resolve()
        for name in ("scripts", "house", "build"):
            (self.root / name).mkdir()
        shutil.copy(ROOT / "scripts" / "tidy", self.root / "scripts")
        shutil.copy(ROOT / ".clang-tidy", self.root)
        self.files(**{"Level.h": HEADER, "Level.cpp": SOURCE, "Twice.cpp": OTHER, **files})

    def files(self, **files):
        for name, text in files.items():
            (self.root / "house" / name).write_text(text)

    def tidy(self, *sources, words=("",)):
        """What it says of the sources, each of them compiled once with each of the words."""
        commands = [{"directory": str(self.root / "build"), "file": str(self.root / "house" / source),
                     "command": f"clang++ -std=c++20 {word} -I{self.root} -o {source}.o -c {self.root}/house/{source}"}
                    for word in words for source in sources or ("Level.cpp", "Twice.cpp")]
        (self.root / "build" / "compile_commands.json").write_text(json.dumps(commands))
        run = subprocess.run([sys.executable, self.root / "scripts" / "tidy", self.root / "build", "1"],
                             capture_output=True, text=True)
        return run.stdout + run.stderr, run.returncode

    def assertFound(self, check, place, *sources):
        said, result = self.tidy(*sources)
        self.assertEqual(result, 1, said)
        self.assertIn(f"{self.root}/house/{place}:", said)
        self.assertEqual(said.count(check), 1, said)

    def test_a_clean_house_passes(self):
        self.house()
        self.assertEqual(self.tidy(), ("3 files, 1 units: clean\n", 0))

    def test_what_is_compiled_in_several_ways_is_looked_at_once(self):
        self.house()
        words = ("", "-O2 -fPIC", "-isystem /usr/include", "-DLevel_EXPORTS", "-fsanitize=fuzzer")
        self.assertEqual(self.tidy(words=words), ("3 files, 1 units: clean\n", 0))
        said, _result = self.tidy(words=("", "-fno-exceptions"))
        self.assertIn("3 files, 2 units", said)

    def test_what_changed_is_looked_at_again(self):
        self.house()
        self.tidy()
        self.files(**{"Level.h": HEADER + "\ntypedef int Height;\n"})
        for _again in range(2):
            self.assertFound("[modernize-use-using", "Level.h:5")

    def test_a_mistake_in_a_header_is_told_once(self):
        self.house(**{"Level.h": HEADER + "\ntypedef int Height;\n"})
        self.assertFound("[modernize-use-using", "Level.h:5")

    def test_a_mistake_in_any_source_is_told_where_it_stands(self):
        for name, text in (("Level.cpp", SOURCE), ("Twice.cpp", OTHER)):
            with self.subTest(name=name):
                self.house(**{name: text + "typedef int Height;\n"})
                self.assertFound("[modernize-use-using", f"{name}:{len(text.splitlines()) + 1}")

    def test_a_mistake_is_found_by_the_preprocessor_too(self):
        self.house(**{"Twice.cpp": '#include "house/Level.h"\n' + OTHER})
        self.assertFound("[readability-duplicate-include", "Twice.cpp:2")

    def test_the_analyzer_follows_calls(self):
        self.house(**{"Twice.cpp": OTHER + "\nint none();\nint none() {\n   int * p = nullptr;\n   return *p;\n}\n"})
        self.assertFound("[clang-analyzer-core.NullDereference", "Twice.cpp:10")

    def test_sources_whose_names_clash_are_told(self):
        self.house(**{"Twice.cpp": "namespace {\nint const level_ = 2;\n}   // namespace\n"})
        self.assertFound("redefinition of 'level_'", "Twice.cpp:2")

    def test_sources_that_the_build_compiles_as_one_are_found(self):
        self.house(**{"Twice.cpp": OTHER + "typedef int Height;\n"})
        unity = self.root / "build" / "Unity" / "unity_0_cxx.cxx"
        unity.parent.mkdir()
        unity.write_text("".join(f'#include "{self.root}/house/{name}"\n' for name in ("Level.cpp", "Twice.cpp")))
        self.assertFound("[modernize-use-using", "Twice.cpp:6", unity)

    def test_what_does_not_compile_is_not_clean(self):
        self.house(**{"Level.cpp": SOURCE + "nonsense\n"})
        self.assertEqual(self.tidy()[1], 1)

    def test_what_nothing_compiles_or_includes_is_named(self):
        self.house(**{"Alone.h": "#pragma once\n"})
        said, result = self.tidy("Level.cpp")
        self.assertEqual(result, 1)
        self.assertIn("Alone.h: nothing compiles or includes it", said)
        self.assertIn("Twice.cpp: nothing compiles or includes it", said)
        self.assertNotIn("Level.h:", said)

    def test_an_empty_house_is_not_clean(self):
        self.house()
        (self.root / "build" / "compile_commands.json").write_text("[]")
        run = subprocess.run([sys.executable, self.root / "scripts" / "tidy", self.root / "build"], capture_output=True)
        self.assertEqual(run.returncode, 1)


if __name__ == "__main__":
    unittest.main()
