#!/usr/bin/env python3
"""What ztinspect does on a terminal, and only there: terminal_test.py ZTINSPECT MAKER"""

import os
import pty
import subprocess
import sys
import time
import unittest

ZTINSPECT, MAKER = sys.argv[1:3]
PIPE = "results"


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


class Job:
    """A run whose results nobody takes at first."""

    def __init__(self, *arguments, results, errors, **streams):
        self.results, self.errors = results, errors
        self.process = subprocess.Popen([ZTINSPECT, *arguments, *(["-o", PIPE] if results == PIPE else [])], **streams)
        for stream in {*streams.values()}:
            os.close(stream)
        if results == PIPE:
            self.results = os.open(PIPE, os.O_RDONLY)

    def finish(self):
        """The status, the results, and what was told besides."""
        results = read_all(self.results)
        told = results if self.errors == self.results else read_all(self.errors)
        return self.process.wait(), results, told


class Terminals(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        for kind in ("plant", "other"):
            subprocess.run([MAKER, kind, f"{kind}.zt"], check=True)
        subprocess.run([MAKER, "many", "many.zt", "8000"], check=True)
        if not os.path.exists(PIPE):
            os.mkfifo(PIPE)
        cls.start_slow_jobs()

    @classmethod
    def start_slow_jobs(cls):
        """Jobs that take longer than a second, all of them at once."""
        (results, taken), (terminal, told) = os.pipe(), pty.openpty()
        cls.piped = Job("convert", "many.zt", "--to", "json", results=results, errors=terminal,
                        stdout=taken, stderr=told)
        terminal, told = pty.openpty()
        cls.stored = Job("report", "many.zt", results=PIPE, errors=terminal, stdout=told, stderr=told)
        terminal, told = pty.openpty()
        cls.shown = Job("dump", "many.zt", results=terminal, errors=terminal, stdout=told, stderr=told)
        (results, taken), (errors, told) = os.pipe(), os.pipe()
        cls.silent = Job("convert", "many.zt", "--to", "json", results=results, errors=errors,
                         stdout=taken, stderr=told)
        time.sleep(1.1)

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
        self.expect_progress(self.piped)

    def test_a_job_with_a_file_for_its_results_tells_it_on_any_terminal(self):
        self.expect_progress(self.stored)

    def expect_progress(self, job):
        status, results, told = job.finish()
        self.assertEqual(status, 0)
        self.assertGreater(len(results), 500_000)
        self.assertRegex(told, r"\rmany\.zt: \d+ %")
        self.assertTrue(told.endswith("\r\033[K"), "the line stays")

    def test_nothing_is_told_among_results_nor_into_a_pipe(self):
        status, results, _ = self.shown.finish()
        self.assertEqual((status, results.count("%")), (0, 0))
        status, _, told = self.silent.finish()
        self.assertEqual((status, told), (0, ""))


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
