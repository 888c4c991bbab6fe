#!/usr/bin/env python3
"""The names that shared libraries and the command offer: exports.py LIBDIR COMMAND

The libraries offer names of their own namespaces and no others: none of the standard library's, and of what is internal
only what templates and inline functions of the headers call. The command offers its nanosleep, which is virtual time.
"""
import pathlib
import re
import subprocess
import sys

libdir, command = pathlib.Path(sys.argv[1]), sys.argv[2]
CALLED_BY_HEADERS = ("threadSafePtrsSwitch", "nullPtrFollowed", "throwNoValueOf", "unsignedFromValue", "boolFromValue",
                     "doubleFromValue", "stringFromValue", "throwOutOfRange", "throwOtherEntity", "stepSinkSet",
                     "tellOnce", "tellStep")
NAMESPACES = {
    "libvor.so": "Jor|Vor",
    "libclockpath.so": "Fru|Hal|Hardware|Inventory|PtpTimeSync|Redundancy|Vor",
}


def names(file):
    command = ["nm", "-DC", "--defined-only", "--format=posix", file]
    run = subprocess.run(command, capture_output=True, text=True, check=True)
    return [re.sub(r" \w( [0-9a-f]+)*\s*$", "", line) for line in run.stdout.splitlines()]


bad = []
for library, namespaces in NAMESPACES.items():
    offered = names(libdir / library)
    print(len(offered), "names of", library)
    for name in offered:
        what = re.sub(r"^((typeinfo|vtable) for|(non-virtual|virtual) thunk to) ", "", name)
        internal = re.search(r"\bDetail::(\w+)", what.split("(")[0])
        if not re.match(rf"({namespaces})::", what) or internal and internal.group(1) not in CALLED_BY_HEADERS:
            bad.append(f"{library} offers {name}")
if "nanosleep" not in names(command):
    bad.append("the command does not offer nanosleep: the libraries would sleep in real time")
print("\n".join(bad))
sys.exit(1 if bad else 0)
