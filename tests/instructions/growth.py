#!/usr/bin/env python3
"""What an operation takes for one object does not grow with the number of objects: counted in instructions, where
each object could make the library look through all others.

usage: growth.py PROGRAM    PROGRAM: growth_objects of the benchmarks
"""

import concurrent.futures
import os
import pathlib
import re
import shutil
import sys

sys.path += [str(pathlib.Path(__file__).resolve().parents[2] / "bench" / "instructions"),
             str(pathlib.Path(__file__).resolve().parents[1] / "structure")]

import count
import tree

FEW = 500
TIMES_MORE = 4
# A search in a tree takes a few steps more; a look through all objects takes four times as many.
MOST = 1.25

# What still looks through all others; the test fails for one that no longer does, so that it is taken off here.
KNOWN = {
    # Stays: a host may write the function of any slot, or put another slot into any item. So whether a function is
    # connected already is read from all slots of the receiver, and no table beside them would know.
    "functions of one receiver, connected",
    # Stays: a host may put another map into the field `slots` of any signal. So the end of a receiver reads that
    # field of each signal.
    "signals of one sender, receivers released",
}


def for_each(program, case, number):
    """The instructions that each further object takes, from the number to twice as many."""
    once, twice = (count.instructions(program, case, str(some)) for some in (number, 2 * number))
    return (twice - once) / number


def measured(program, case):
    return for_each(program, case, FEW), for_each(program, case, TIMES_MORE * FEW)


def judge(case, few, many, known):
    """What is wrong with the growth of a case, if anything."""
    grows = many > few * MOST
    if grows and case not in known:
        return f"grows: {case}: {few:,.0f} instructions for each of {FEW}, {many:,.0f} of {TIMES_MORE * FEW}"
    if not grows and case in known:
        return f"no longer grows, to be taken off the list: {case}"
    return None


def main():
    program = pathlib.Path(sys.argv[1]).resolve()
    if not shutil.which("valgrind"):
        tree.skip("no valgrind")
    cases = re.findall(r"^case (.+)$", count.run(program).stdout, re.M)
    problems = [f"no such case: {case}" for case in KNOWN.difference(cases)]
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        for case, (few, many) in zip(cases, pool.map(lambda one: measured(program, one), cases)):
            print(f"{few:10,.0f} {many:10,.0f}  {case}", flush=True)
            problems.append(judge(case, few, many, KNOWN))
    tree.finish([problem for problem in problems if problem] if cases else ["no case was found"])


if __name__ == "__main__":
    main()
