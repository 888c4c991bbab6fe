#!/usr/bin/env python3
"""Compiles the installed headers as a user includes them: headers.py CXX INCLUDE_DIR

The compiler is given the install tree and nothing else of the project; warnings are errors. One source includes all of
them, and each compiles alone: one that another begins with does so in there. Headers include each other by the
library's prefix, and otherwise the standard library and the operating system alone.
"""
import concurrent.futures
import os
import pathlib
import re
import subprocess
import sys

sys.path.append(str(pathlib.Path(__file__).parent.parent / "floors"))
from floors import is_system

compiler, include = sys.argv[1], pathlib.Path(sys.argv[2])
headers = sorted((include / "clockpath").rglob("*.h"))


def compiles(together):
    lines = "".join(f"#include <{header.relative_to(include)}>\n" for header in together)
    run = subprocess.run(
        [compiler, "-std=c++20", "-fsyntax-only", "-Wall", "-Wextra", "-Wpedantic", "-Werror", "-x", "c++", "-",
         "-I", include], input=lines, capture_output=True, text=True)
    if run.returncode:
        print(lines, run.stderr, sep="", flush=True)
    return run.returncode == 0


def foreign(header):
    """What the header includes of others: nothing, where it is as it should be."""
    written = re.findall(r'^\s*#\s*include\s*(["<].*[">])', header.read_text(), re.MULTILINE)
    return [name for name in written
            if not name.startswith("<clockpath/") and not (name[0] == "<" and is_system(name[1:-1]))]


def begins_with(header):
    """The header of the project that it includes before anything else: nothing stands before that one."""
    written = re.search(r'^\s*#\s*include\s*<(.*)>', header.read_text(), re.MULTILINE)
    return include / written[1] if written else None


begun = {begins_with(header) for header in headers}
alone = [[header] for header in headers if header not in begun]
with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
    good = all(pool.map(compiles, [headers] + alone))
print(f"{len(headers)} headers, {len(alone)} compiled alone")
wrong = [f"{header} includes {name}" for header in headers for name in foreign(header)]
folders = {header.relative_to(include).parts[1] for header in headers}
expected = {"framework", "platform", "util", "hal", "hardware", "inventory", "sm", "sim", "input", "card"}
if folders != expected:
    wrong.append(f"installed are headers of {sorted(folders)}, expected are those of {sorted(expected)}")
print("\n".join(wrong))
sys.exit(0 if good and not wrong else 1)
