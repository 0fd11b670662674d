#!/usr/bin/env python3
"""Nothing in the tree speaks of what its reader does not have: papers that are not part of it, folders
of one machine; and no work is left as a note."""

import re

import tree

# The words are taken apart, so that this file holds none of them.
FORBIDDEN = {
    "a paper outside of the tree": (
        r"\bthe spe" r"c\b|\bspe" r"cifications?\b"
        r"|\bP" r"art \d+\.\d+|\b(?:design|traps)\." r"md\b"
    ),
    "a folder of one machine": r"(?<![\w.}/])/(?:home|root|work|Users)/",
    "unfinished work": r"\b(?:TO" r"DO|FIX" r"ME|X" r"XX)\b",
}


def problems_of(path):
    # Sample data is no text.
    for number, line in enumerate((tree.text_of(path) or "").splitlines(), 1):
        for what, pattern in FORBIDDEN.items():
            for word in re.findall(pattern, line, re.IGNORECASE):
                yield f"{tree.name_of(path)}:{number}: {what}: {word}"


tree.finish([problem for path in tree.files() for problem in problems_of(path)])
