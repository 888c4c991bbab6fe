#!/usr/bin/env python3
"""A document shows files as they are: document.py DOCUMENT FILE...: each file is one of its blocks of code."""
import pathlib
import re
import sys

document = pathlib.Path(sys.argv[1]).read_text()
blocks = re.findall(r"^```\w+\n(.*?)^```$", document, re.MULTILINE | re.DOTALL)
missing = [file for file in sys.argv[2:] if pathlib.Path(file).read_text() not in blocks]
for file in missing:
    print(f"{sys.argv[1]} does not show {file} as it is: copy the file into its block")
sys.exit(1 if missing else 0)
