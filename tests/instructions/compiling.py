#!/usr/bin/env python3
"""To compile the layer for C++ takes no more instructions than to compile the standard headers that it includes.

usage: compiling.py COMPILER
"""

import concurrent.futures
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile

HERE = pathlib.Path(__file__).resolve().parent
sys.path += [str(HERE.parents[1] / "bench" / "instructions"), str(HERE.parent / "structure")]

import count
import tree


def command_of(compiler, source):
    """The command by which the driver compiles: without the driver, whose processes would count."""
    done = subprocess.run([compiler, "-###", "-std=c++20", "-fsyntax-only", f"-I{tree.ROOT}", source],
                          capture_output=True, text=True, check=True)
    line = next(line for line in done.stderr.splitlines() if re.search(r"cc1plus|-cc1\b", line))
    return [word.strip('"') for word in line.split()]


def instructions_of(compiler, text):
    with tempfile.NamedTemporaryFile("w", suffix=".cpp") as source:
        source.write(text)
        source.flush()
        return count.instructions(*command_of(compiler, source.name))


def main():
    compiler = sys.argv[1]
    if not shutil.which("valgrind"):
        tree.skip("no valgrind")
    parts = "".join(part.read_text() for part in (tree.ROOT / "cpp").glob("*.hpp"))
    standard = "\n".join(sorted(set(re.findall(r"^#include <.*>", parts, re.M)))) + "\n"
    texts = ["", standard, f'{standard}#include "zentova.h"\n', '#include "zentova.hpp"\n']
    with concurrent.futures.ThreadPoolExecutor(2) as pool:
        nothing, headers, in_c, layer = pool.map(lambda text: instructions_of(compiler, text), texts)
    print(f"standard headers {headers - nothing}, layer {layer - in_c}")
    tree.finish(["the layer takes more than the standard headers"] if layer - in_c > headers - nothing else [])


if __name__ == "__main__":
    main()
