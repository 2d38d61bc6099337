"""The system's own profile calls against the implementation for Linux: the same calls, the same answers."""

import os
import pathlib
import subprocess
import tempfile
import unittest

import kova

OURS = kova.ROOT / "build" / "tests" / "acceptance" / "profile_script"
THEIRS = pathlib.Path(os.environ["KOVA_OUTPUT"]) / "tests" / "acceptance" / "profile_script.exe"


def answers(*command):
    with tempfile.TemporaryDirectory() as folder:
        done = subprocess.run([*command, kova.native(f"{folder}/script", command[0] != OURS)], capture_output=True,
                              check=True, timeout=kova.PATIENCE)
    return done.stdout.decode().replace("\r\n", "\n").split("\n")


class ProfileCalls(unittest.TestCase):
    def test_same_answers(self):
        ours, theirs = answers(OURS), answers(*kova.RUN, THEIRS)
        self.assertGreater(len(ours), 2000)
        context = ""
        for number, (mine, other) in enumerate(zip(ours, theirs)):
            if mine.startswith("file "):
                context = mine
            self.assertEqual(mine, other, f"line {number + 1}, in the {context}")
        self.assertEqual(len(ours), len(theirs))


if __name__ == "__main__":
    unittest.main()
