"""A folder with one of the scripts in it, and with stand-ins for the programs that the script calls."""
import os
import pathlib
import shutil
import subprocess
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]


class Sandbox(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.root = pathlib.Path(folder.name).resolve()
        self.calls = self.root / "calls"   # what the stand-ins were called with, a line each
        self.calls.touch()

    def script(self, name):
        target = self.root / "scripts" / name
        target.parent.mkdir(exist_ok=True)
        shutil.copy(ROOT / "scripts" / name, target)

    def standIn(self, path, does=""):
        """A program that notes its call; in bin/ it is found before the real one."""
        program = self.root / path
        program.parent.mkdir(parents=True, exist_ok=True)
        program.write_text(f'#!/bin/bash\necho "{program.name} $*" >>"{self.calls}"\n{does}\n')
        program.chmod(0o755)

    def run_(self, *command):
        path = f"{self.root}/bin:{os.environ['PATH']}"
        return subprocess.run([self.root / command[0], *command[1:]], capture_output=True, text=True,
                              stdin=subprocess.DEVNULL, env={**os.environ, "PATH": path})

    def called(self):
        return self.calls.read_text().splitlines()
