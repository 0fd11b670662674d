#!/usr/bin/env python3
"""No operation of the library takes more instructions than its budget, which stands in budgets.txt with the
compiler, its options, the C library and the processor that the figures depend on. Elsewhere the figures are
printed and not compared.

usage: budgets.py FOLDER [--accept | --raise]
    FOLDER    where the programs are built that bench/instructions/count.py counts
    --accept  lowers the budgets of operations that take less, adds those of new ones
    --raise   makes every figure the budget, also a higher one
"""

import os
import pathlib
import re
import shutil
import sys

HERE = pathlib.Path(__file__).resolve().parent
sys.path += [str(HERE.parents[1] / "bench" / "instructions"), str(HERE.parent / "structure")]

import count
import tree

FILE = HERE / "budgets.txt"
# A change elsewhere may let the compiler inline differently here.
TOLERANCE = 1.02
HEADER = "# Instructions per operation, and what they depend on. Written by scripts/budgets.\n"
FACTS = ("compiler", "flags", "libc", "processor")


def facts_here(folder):
    """What the figures depend on, as the build and the machine say."""
    facts = {word: rest for word, rest in count.compiled(folder) if word in FACTS}
    facts["libc"] = os.confstr("CS_GNU_LIBC_VERSION")
    # By this the C library chooses its functions for memory and strings.
    known = re.search(r"^flags\s*:.*\bavx2\b", pathlib.Path("/proc/cpuinfo").read_text(), re.M)
    facts["processor"] = "with avx2" if known else "without avx2"
    return facts


def read(text):
    """The facts of a file, and its budgets by operation."""
    facts, budgets = {}, {}
    for line in text.splitlines():
        first, rest = line.split(" ", 1)
        if first in FACTS:
            facts[first] = rest
        elif first != "#":
            budgets[rest.lstrip()] = float(first)
    return facts, budgets


def written(facts, budgets):
    """The text that gives both when it is read."""
    lines = [f"{fact} {facts[fact]}\n" for fact in FACTS]
    lines += [f"{budget:<11.1f} {operation}\n" for operation, budget in budgets.items()]
    return HEADER + "".join(lines)


def differences(facts, here):
    return [f"{fact} {here[fact]}, the budgets are of {facts.get(fact)}"
            for fact in FACTS if here[fact] != facts.get(fact)]


def unmatched(budgets, figures):
    yield from (f"no budget: {operation}" for operation in figures if operation not in budgets)
    yield from (f"a budget, but no operation: {operation}" for operation in budgets if operation not in figures)


def exceeded(budgets, figures):
    for operation, figure in figures.items():
        budget = budgets.get(operation)
        if budget is not None and figure > budget * TOLERANCE:
            yield (f"over budget: {operation}: {figure:.1f} instructions, the budget is {budget:.1f} "
                   f"({100 * (figure / budget - 1):+.1f} %)")


def accepted(budgets, figures):
    """The budgets with figures that are lower, or have none yet, in the order of the figures."""
    return {operation: min(figure, budgets.get(operation, figure)) for operation, figure in figures.items()}


def judge(kept, here, figures):
    """The problems, and why the figures were not compared, if they were not."""
    facts, budgets = kept
    elsewhere = differences(facts, here)
    problems = list(unmatched(budgets, figures))
    return problems if elsewhere else problems + list(exceeded(budgets, figures)), elsewhere


def update(kept, here, figures, may_raise):
    """The new text of the file, or what forbids it."""
    facts, budgets = kept
    elsewhere = differences(facts, here)
    if elsewhere and not may_raise:
        return None, [*elsewhere, "nothing is accepted, for the figures cannot be compared"]
    return written(here, figures if may_raise else accepted(budgets, figures)), []


def count_ours(folder):
    """The figures of the library's operations; those of peers have a name after a slash."""
    ours = [operation for operation in count.operations(folder) if "/" not in operation.name]
    figures = {}
    for operation, figure in count.count(ours):
        print(f"{figure:12.1f}  {operation}", flush=True)
        figures[operation] = figure
    return figures


def main():
    folder, options = pathlib.Path(sys.argv[1]), sys.argv[2:]
    if options not in ([], ["--accept"], ["--raise"]):
        sys.exit(__doc__)
    if not shutil.which("valgrind"):
        tree.skip("no valgrind")
    kept = read(FILE.read_text()) if FILE.exists() else ({}, {})
    here, figures = facts_here(folder), count_ours(folder)
    if options:
        text, problems = update(kept, here, figures, may_raise="--raise" in options)
        if text:
            FILE.write_text(text)
        tree.finish(problems + list(exceeded(read(FILE.read_text())[1], figures)))
    problems, elsewhere = judge(kept, here, figures)
    for difference in elsewhere:
        print(f"not compared: {difference}")
    if elsewhere and not problems:
        sys.exit(tree.SKIPPED)
    tree.finish(problems)


if __name__ == "__main__":
    main()
