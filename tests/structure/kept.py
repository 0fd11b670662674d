#!/usr/bin/env python3
"""No file that is kept is larger than 1 MB, and all but the inputs of the fuzz targets are texts: what a
program makes is made, not kept."""

import tree

LARGEST = 1_000_000
INPUTS = tree.ROOT / "fuzz" / "corpus"


def problems_of(path):
    size = path.stat().st_size
    if size > LARGEST:
        yield f"{tree.name_of(path)}: {size} bytes"
    if INPUTS not in path.parents and tree.text_of(path) is None:
        yield f"{tree.name_of(path)}: not a text"


files = tree.kept()
tree.finish([problem for path in files for problem in problems_of(path)] if files else ["no file was found"])
