#!/usr/bin/env python3
"""Puts small faults into the library, one at a time, and tells which of them the tests notice.

usage: mutate.py ROOT FOLDER [--count N] [--seed N] [--jobs N] [--only REGEX]
    ROOT     the project
    FOLDER   where copies of it are kept and built
    --count  how many faults (150); spread over all modules
    --seed   which ones (1)
    --jobs   how many at the same time (2)
    --only   only in files that the expression matches

Each copy is built with sanitizers, so a block that is lost or used too late is noticed as well. A fault
is caught when a test fails, crashes or takes too long. The status is 1 when less than nine in ten are.
"""

import argparse
import concurrent.futures
import os
import pathlib
import queue
import random
import re
import shutil
import subprocess
import sys
import time

import mutants

# Programs whose tests need more than one room.
OTHER_TESTS = r"^(protocol|network|station_log|inverted_index|word_list|model_view|node_tree)"
QUICK = {"ZT_TEST_OPERATIONS_DIVISOR": "20"}
WANTED = 0.9


def run(command, folder, seconds, **variables):
    """Whether a command succeeded in time."""
    process = subprocess.Popen(command, cwd=folder, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
                               stdin=subprocess.DEVNULL, env={**os.environ, **variables},
                               start_new_session=True)
    try:
        return process.wait(timeout=seconds) == 0
    except subprocess.TimeoutExpired:
        return False
    finally:
        try:
            os.killpg(process.pid, 9)
        except ProcessLookupError:
            pass
        process.wait()


class Copy:
    """A copy of the project, with its tests built."""

    def __init__(self, root, folder):
        self.source = folder / "source"
        self.build = folder / "build"
        listed = subprocess.run(["git", "ls-files", "-z"], cwd=root, check=True, stdout=subprocess.PIPE)
        for name in filter(None, listed.stdout.decode().split("\0")):
            target = self.source / name
            target.parent.mkdir(parents=True, exist_ok=True)
            new = (root / name).read_bytes()
            if not target.exists() or target.read_bytes() != new:
                shutil.copy(root / name, target)
        # A fault may leave something unused, which is no reason not to build it.
        subprocess.run(["cmake", "-S", self.source, "-B", self.build, "-G", "Ninja", "-DZT_BUILD_TESTS=ON",
                        "-DZT_SANITIZE=ON", "-DCMAKE_BUILD_TYPE=None", "-DCMAKE_CXX_FLAGS=-w -O1",
                        "-DCMAKE_C_FLAGS=-w -O1"],
                       check=True, stdout=subprocess.DEVNULL)
        subprocess.run(["cmake", "--build", self.build], check=True, stdout=subprocess.DEVNULL)
        self.seconds = {}
        for program in self.programs():
            start = time.monotonic()
            if not self.passes(program, 900):
                sys.exit(f"{program} fails without a fault")
            self.seconds[program] = 20 + 6 * (time.monotonic() - start)

    def programs(self):
        return [program for program in sorted((self.build / "tests").glob("*_tests")) if program.is_file()]

    def passes(self, program, seconds, **variables):
        folder = self.build / "tests" / "run" / program.name
        folder.mkdir(parents=True, exist_ok=True)
        return run([program, "--gtest_brief=1", "--gtest_fail_fast"], folder, seconds, **variables)

    def builds(self):
        return run(["cmake", "--build", self.build, "--target", "ztcore"], self.build, 600)

    def catches(self, room):
        """What notices the fault that the library has now; None when nothing does."""
        own_first = sorted(self.programs(), key=lambda one: (one.name != f"{room}_tests", self.seconds[one]))
        for variables in (QUICK, {}):
            for program in own_first:
                if not self.passes(program, self.seconds[program], **variables):
                    return program.name
        others = ["ctest", "--test-dir", self.build, "-R", OTHER_TESTS, "--stop-on-failure"]
        return None if run(others, self.build, 300) else "examples or protocol"


def rooms(root):
    """As the build lists them."""
    return re.search(r"set\(ZT_ROOMS ([^)]*)\)", (root / "CMakeLists.txt").read_text()).group(1).split()


def sites(root, only):
    """For each module, its faults in random order."""
    found = {}
    for room in rooms(root):
        for path in sorted((root / room).iterdir()):
            name = path.relative_to(root).as_posix()
            if path.suffix in (".cpp", ".hh") and re.search(only, name):
                faults = list(mutants.mutants(path.read_text()))
                random.shuffle(faults)
                if faults:
                    found[name] = faults
    return found


def in_turn(found):
    """One fault of each module, then a second of each, and so on."""
    names = list(found)
    random.shuffle(names)
    while any(found.values()):
        for name in names:
            if found[name]:
                yield name, found[name].pop()


def described(name, text, place, old, new):
    line = text.count("\n", 0, place)
    shown = text.splitlines()[line].strip()
    change = f"{old} -> {new}" if new else f"without {old}"
    return f"{name}:{line + 1}: {change}\n    {shown}"


def judge(copies, name, fault):
    """(description, what caught it), or None when the fault cannot be built."""
    copy = copies.get()
    path = copy.source / name
    text = path.read_text()
    place, old, new = fault
    try:
        path.write_text(text[:place] + new + text[place + len(old):])
        if not copy.builds():
            return None
        return described(name, text, place, old, new), copy.catches(name.split("/")[0])
    finally:
        path.write_text(text)
        copies.put(copy)


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("root", type=pathlib.Path)
    parser.add_argument("folder", type=pathlib.Path)
    parser.add_argument("--count", type=int, default=150)
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--jobs", type=int, default=2)
    parser.add_argument("--only", default="")
    options = parser.parse_args()
    random.seed(options.seed)
    chosen = in_turn(sites(options.root.resolve(), options.only))
    copies = queue.Queue()
    for job in range(options.jobs):
        copies.put(Copy(options.root.resolve(), options.folder.resolve() / str(job)))
    judged, survivors = 0, []
    with concurrent.futures.ThreadPoolExecutor(options.jobs) as pool:
        running = set()
        while judged < options.count:
            while len(running) < min(options.jobs, options.count - judged):
                fault = next(chosen, None)
                if fault is None:
                    break
                running.add(pool.submit(judge, copies, *fault))
            if not running:
                break
            done, running = concurrent.futures.wait(running, return_when=concurrent.futures.FIRST_COMPLETED)
            for result in filter(None, (one.result() for one in done)):
                judged += 1
                description, caught = result
                if caught is None:
                    survivors.append(description)
                print(f"[{judged}] {'caught by ' + caught if caught else 'SURVIVED'}: {description}", flush=True)
    print(f"\n{judged - len(survivors)} of {judged} faults caught")
    for description in survivors:
        print("not caught:", description)
    return 0 if judged and judged - len(survivors) >= WANTED * judged else 1


sys.exit(main())
