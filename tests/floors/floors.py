#!/usr/bin/env python3
"""The rules of the house, checked by reading the sources: floors.py ROOT

A folder includes only itself and folders on floors below its own; floors 1 to 6 otherwise use the standard library
and the operating system's headers alone. Headers are guarded, a source opens with its own header, and every source,
also of a test, is listed by its folder's CMakeLists.txt. No line of a source, also of a test or a Python script, is
longer than 120 columns. Each breach is one line that names the fix; the exit code is 1 when there is any.
"""
import pathlib
import re
import sys

LIBRARY = ("framework", "platform", "util", "hal", "hardware", "inventory", "sm")

CARD = ("sim", "input", "card")

# Which folders each folder may include beside itself.
BELOW = {
    "framework": (),
    "platform": ("framework",),
    "util": (),
    "hal": ("framework",),
    "hardware": ("framework", "platform"),
    "inventory": ("framework", "platform", "util", "hal", "hardware"),
    "sm": ("framework", "platform", "util", "hal", "hardware", "inventory"),
    "sim": LIBRARY,
    "input": LIBRARY + ("sim",),
    "card": LIBRARY + ("sim", "input"),
    "registers": LIBRARY + CARD,
    "recording": LIBRARY + CARD,
    "state": LIBRARY + CARD,
    "report": LIBRARY + CARD + ("registers", "recording"),
    "diagnosis": LIBRARY + CARD + ("registers", "recording", "report"),
    "service": LIBRARY + CARD + ("registers", "recording", "state", "report", "diagnosis"),
    "command": LIBRARY + CARD + ("registers", "recording", "state", "report", "diagnosis", "service"),
}

# Which other libraries; none for the floors that are not named.
LIBRARIES = {
    "input": ("nlohmann/",),
    "registers": ("fmt/",),
    "recording": ("fmt/", "archive"),
    "state": ("fmt/", "sqlite3", "hiredis/"),
    "report": ("fmt/",),
    "diagnosis": ("fmt/",),
    "service": ("fmt/",),
    "command": ("CLI/", "fmt/"),
}

CPP = frozenset(
    """algorithm any array atomic barrier bit bitset cassert cctype cerrno cfenv cfloat charconv chrono cinttypes
    climits clocale cmath codecvt compare complex concepts condition_variable coroutine csetjmp csignal cstdarg
    cstddef cstdint cstdio cstdlib cstring ctime cuchar cwchar cwctype deque exception execution filesystem format
    forward_list fstream functional future initializer_list iomanip ios iosfwd iostream istream iterator latch
    limits list locale map memory memory_resource mutex new numbers numeric optional ostream queue random ranges
    ratio regex scoped_allocator semaphore set shared_mutex source_location span sstream stack stdexcept stop_token
    streambuf string string_view strstream syncstream system_error thread tuple type_traits typeindex typeinfo
    unordered_map unordered_set utility valarray variant vector version""".split())
SYSTEM = frozenset(
    """cxxabi dirent dlfcn errno fcntl limits poll pthread sched signal stddef stdint stdio stdlib string time
    unistd""".split())
SYSTEM_FOLDERS = ("sys/", "linux/", "netinet/")


def is_system(name):
    return name in CPP or name.removesuffix(".h") in SYSTEM and name.endswith(".h") or name.startswith(SYSTEM_FOLDERS)


def without_comments(text):
    """The text with block comments blanked out, lines kept."""
    return re.sub(r"/\*.*?\*/", lambda comment: "\n" * comment.group().count("\n"), text, flags=re.DOTALL)


def without_raw_strings(text):
    """The text without what its raw strings hold, lines kept: what a program reads or writes stands as it is."""
    return re.sub(r'R"(\w*)\(.*?\)\1"', lambda string: "\n" * string.group().count("\n"), text, flags=re.DOTALL)


def too_long(root, file):
    """A breach for each line of more than 120 columns."""
    lines = without_raw_strings(file.read_text()).split("\n")
    return [f"{file.relative_to(root)}:{number}: has {len(line)} columns: break the line, at most 120 are read at once"
            for number, line in enumerate(lines, 1) if len(line) > 120]


def may_include(folder):
    folders = ", ".join(f"{name}/" for name in (folder,) + BELOW[folder])
    libraries = "".join(f", <{name}...>" for name in LIBRARIES.get(folder, ()))
    return f"{folder}/ may include {folders}{libraries} and the standard and system headers"


def breach_of_include(root, folder, written):
    """What is wrong with including `written` ("x" or <x>, delimiters and all) from a file of the folder, else None."""
    name = written[1:-1]
    if written[0] == "<" and written[-1] == ">":
        if is_system(name) or name.startswith(LIBRARIES.get(folder, ()) or "\0"):
            return None
    elif written[0] == '"' and written[-1] == '"':
        if name.split("/")[0] in (folder,) + BELOW[folder] and "/" in name and ".." not in name.split("/"):
            return None if (root / name).is_file() else "no such file; project headers are named from the root"
    return may_include(folder)


def unlisted(root, file):
    """The breach when the CMakeLists.txt nearest to the source does not list it, else None."""
    folder = next(parent for parent in file.parents if parent == root or (parent / "CMakeLists.txt").exists())
    lists = folder / "CMakeLists.txt"
    listed = re.sub("#.*", "", lists.read_text() if lists.exists() else "")
    if str(file.relative_to(folder)) in re.split(r"[\s()]+", listed):
        return None
    return f"{file.relative_to(root)}:1: is not listed in {lists.relative_to(root)}: add it"


def breaches(root):
    """Every breach under the root, as `FILE:LINE: what stands there: what to do` in the order of the files."""
    root = pathlib.Path(root)
    found = []
    for folder in BELOW:
        for file in sorted((root / folder).rglob("*")):
            if file.suffix not in (".h", ".cpp"):
                continue
            here = file.relative_to(root)
            text = without_comments(file.read_text())
            includes = []
            for number, line in enumerate(text.split("\n"), 1):
                include = re.match(r"\s*#\s*include\b\s*(\S.*?)\s*(//.*)?$", line)
                if not include:
                    continue
                includes.append(include.group(1))
                breach = breach_of_include(root, folder, include.group(1))
                if breach:
                    found.append(f"{here}:{number}: includes {include.group(1)}: {breach}")
            if file.suffix == ".h":
                if not re.search(r"^#pragma once$", text, re.MULTILINE):
                    found.append(f"{here}:1: has no #pragma once: add it below the opening comment")
                continue
            own = here.with_suffix(".h")
            if (root / own).exists() and (not includes or includes[0] != f'"{own}"'):
                found.append(f'{here}:1: does not open with #include "{own}": a header must compile alone')
            found.append(unlisted(root, file))
    for folder in ("tests", "bench"):
        found += [unlisted(root, file) for file in sorted((root / folder).rglob("*.cpp"))]
    for folder in (*BELOW, "tests", "bench", "scripts"):
        for file in sorted((root / folder).rglob("*")):
            if file.suffix in (".h", ".cpp", ".py"):
                found += too_long(root, file)
    return [breach for breach in found if breach]


if __name__ == "__main__":
    lines = breaches(sys.argv[1])
    print("\n".join(lines) or "no breach")
    sys.exit(1 if lines else 0)
