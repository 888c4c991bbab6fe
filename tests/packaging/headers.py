#!/usr/bin/env python3
"""Compiles every installed header alone, as a user includes it: headers.py CXX INCLUDE_DIR

The compiler is given the install tree and nothing else of the project; warnings are errors.
"""
import concurrent.futures
import os
import pathlib
import subprocess
import sys

compiler, include = sys.argv[1], pathlib.Path(sys.argv[2])
headers = sorted((include / "clockpath").rglob("*.h"))


def compiles(header):
    line = f"#include <{header.relative_to(include)}>\n"
    run = subprocess.run(
        [compiler, "-std=c++20", "-fsyntax-only", "-Wall", "-Wextra", "-Wpedantic", "-Werror", "-x", "c++", "-",
         "-I", include, "-I", include / "clockpath"], input=line, capture_output=True, text=True)
    if run.returncode:
        print(line, run.stderr, sep="", flush=True)
    return run.returncode == 0


with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
    good = sum(pool.map(compiles, headers))
print(f"{good} of {len(headers)} headers compile alone")
folders = {header.relative_to(include).parts[1] for header in headers}
expected = {"framework", "platform", "util", "hal", "hardware", "inventory", "sm"}
if folders != expected:
    print("installed are headers of", *sorted(folders), "- expected are those of", *sorted(expected))
sys.exit(0 if good == len(headers) and folders == expected else 1)
