#!/usr/bin/env python3
"""Counts the instructions of the library's operations and of their peers, and prints a table: what the library
takes, what each peer takes, the ratio of the two and the goal.

usage: table.py FOLDER [PATTERN]
    FOLDER   where the programs are built
    PATTERN  a regular expression; only operations that it matches are counted
"""

import re
import sys

import count

# The highest ratio that is aimed at; without a peer, the highest number of instructions.
GOALS = {
    ("base object: new, release", "malloc, free"): 1.45,
    ("object: new, release", "QObject"): 1.05,
    ("connect, receiver released", "GObject"): 0.85,
    ("connect, disconnect", "QObject"): 1.60,
    ("emit to 1 slot", "QObject"): 0.75,
    ("emit to 10 slots", "QObject"): 0.75,
    ("dynamic property: set", "QObject"): 0.38,
    ("dynamic property: get", "QObject"): 0.68,
    ("tree of 1,000: push, free", "GTree"): 1.00,
    ("tree of 1,000: find", "GTree"): 0.82,
    ("tree of 1,000: push, pop", "GTree"): 1.00,
    ("hash table of 1,000: insert, free", "GHashTable of copied keys"): 1.15,
    ("hash table of 1,000: find", "GHashTable"): 1.12,
    ("list: push, walk, free", "GQueue"): 0.95,
    ("string: set", "GString"): 1.65,
    ("string: set, 3 cat", "GString"): 2.75,
    ("string: new, set, free", "GString"): 1.05,
    ("array: push", "realloc"): 1.25,
    ("virtual call", "C++ object"): 1.60,
    ("load and unload, above an empty library", None): 320_000,
}


def by_subject(operations):
    """The name of an operation to those who do it, None for the library, whose programs come first."""
    subjects = {}
    for operation in operations:
        subject, *peer = operation.name.split("/")
        subjects.setdefault(subject, {})[peer[0] if peer else None] = operation
    return subjects


def check(subjects):
    """A name that differs by a letter would lose its row or its goal."""
    for subject, done_by in subjects.items():
        if None not in done_by:
            sys.exit(f"{subject}: no operation of the library has this name")
    for subject, _ in GOALS:
        if subject not in subjects:
            sys.exit(f"{subject}: there is a goal, but no operation")


def goal(subject, peer):
    value = GOALS.get((subject, peer))
    if value is None:
        return ""
    return f"{value:.2f}" if peer else f"{value:,}"


def rows(subject, figures):
    """One row for each peer of a subject, or one without a peer."""
    ours = figures.pop(None)
    for peer, theirs in figures.items():
        yield subject, f"{ours:,.0f}", peer, f"{theirs:,.0f}", f"{ours / theirs:.2f}", goal(subject, peer)
    if not figures:
        yield subject, f"{ours:,.0f}", "", "", "", goal(subject, None)


def main():
    folder, pattern = sys.argv[1], (sys.argv[2:] or [""])[0]
    subjects = by_subject(count.operations(folder))
    check(subjects)
    chosen = {subject: done_by for subject, done_by in subjects.items() if re.search(pattern, subject)}
    figures = dict(count.count([operation for done_by in chosen.values() for operation in done_by.values()]))

    print("| operation | zentova | peer | its instructions | ratio | at most |")
    print("|---|---:|---|---:|---:|---:|")
    for subject, done_by in chosen.items():
        of = {peer: figures[operation.name] for peer, operation in done_by.items()}
        for row in rows(subject, of):
            print("|", " | ".join(row), "|")


main()
