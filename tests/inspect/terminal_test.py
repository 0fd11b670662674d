#!/usr/bin/env python3
"""What ztinspect does on a terminal, and only there: terminal_test.py ZTINSPECT MAKER"""

import os
import pty
import subprocess
import sys
import time
import unittest

ZTINSPECT, MAKER = sys.argv[1:3]


def read_all(descriptor):
    parts = []
    while True:
        try:
            part = os.read(descriptor, 1 << 16)
        except OSError:  # a terminal whose other side is closed
            part = b""
        if not part:
            os.close(descriptor)
            return b"".join(parts).decode()
        parts.append(part)


def on_terminal(*arguments, **variables):
    """What a run prints whose standard output is a terminal."""
    ours, theirs = pty.openpty()
    environment = {key: value for key, value in os.environ.items() if key != "NO_COLOR"}
    process = subprocess.Popen([ZTINSPECT, *arguments], stdout=theirs, stderr=subprocess.DEVNULL,
                               env={**environment, "TERM": "xterm", **variables})
    os.close(theirs)
    printed = read_all(ours)
    process.wait()
    return printed


def slowly(errors):
    """Runs a conversion whose results nobody takes for longer than a second, with a terminal or a pipe for errors."""
    ours, theirs = errors()
    results, taken = os.pipe()
    process = subprocess.Popen([ZTINSPECT, "convert", "many.zt", "--to", "json"], stdout=taken, stderr=theirs)
    os.close(taken)
    os.close(theirs)
    time.sleep(1.1)
    size = len(read_all(results))
    printed = read_all(ours)
    return process.wait(), size, printed


class Terminals(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        for kind in ("plant", "other"):
            subprocess.run([MAKER, kind, f"{kind}.zt"], check=True)
        subprocess.run([MAKER, "many", "many.zt", "8000"], check=True)

    def test_dump_classes_and_diff_have_colours(self):
        self.assertIn("\033[1mztRoot\033[0m", on_terminal("dump", "plant.zt"))
        self.assertIn("\033[1mztRoot\033[0m", on_terminal("classes"))
        changes = on_terminal("diff", "plant.zt", "other.zt")
        for colour, what in ((32, "added"), (31, "removed"), (33, "moved"), (33, "changed")):
            self.assertIn(f"\033[{colour}m{what}\033[0m ztRoot", changes)

    def test_no_color_and_dumb_terminals_have_none(self):
        for variables in ({"NO_COLOR": "1"}, {"TERM": "dumb"}):
            self.assertNotIn("\033", on_terminal("dump", "plant.zt", **variables))
        self.assertIn("\033", on_terminal("dump", "plant.zt", NO_COLOR=""))

    def test_the_option_decides_before_anything_else(self):
        always = subprocess.run([ZTINSPECT, "dump", "--color", "always", "plant.zt"], capture_output=True, text=True)
        self.assertIn("\033[1m", always.stdout)
        self.assertNotIn("\033", on_terminal("dump", "--color", "never", "plant.zt"))

    def test_pipes_have_no_colours(self):
        for command in (["dump", "plant.zt"], ["diff", "plant.zt", "other.zt"], ["classes"]):
            done = subprocess.run([ZTINSPECT, *command], capture_output=True, text=True)
            self.assertNotIn("\033", done.stdout)

    def test_long_jobs_tell_how_far_they_are(self):
        status, size, printed = slowly(pty.openpty)
        self.assertEqual(status, 0)
        self.assertGreater(size, 1_000_000)
        self.assertRegex(printed, r"\rmany\.zt: \d+ %")
        self.assertTrue(printed.endswith("\r\033[K"), "the line stays")

    def test_nothing_is_told_into_a_pipe(self):
        self.assertEqual(slowly(os.pipe)[2], "")


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
