#!/usr/bin/env python3
"""Every public header compiles alone and twice over, without a warning, as C and as C++; and zentova.h
includes them all."""

import concurrent.futures
import os
import re
import shutil
import subprocess

import tree

WARNINGS = ["-pedantic", "-Wall", "-Wextra", "-Werror", "-fsyntax-only"]
LANGUAGES = {
    "c": ["-x", "c", "-std=c11", "-Wc++-compat"],
    "c++": ["-x", "c++", "-std=c++20"],
}
COMPILERS = [("gcc", "c"), ("g++", "c++"), ("clang", "c"), ("clang++", "c++")]


def compile_alone(job):
    (compiler, language), header = job
    # A header may hold macros alone, and C wants a declaration in every source.
    source = 2 * f'#include "{tree.name_of(header)}"\n' + "extern int alone;\n"
    command = [compiler, *LANGUAGES[language], *WARNINGS, "-I", tree.ROOT, "-"]
    done = subprocess.run(command, input=source, capture_output=True, text=True)
    return None if done.returncode == 0 else f"{tree.name_of(header)} with {compiler}:\n{done.stderr}"


def main():
    headers = tree.public_headers()
    compilers = [pair for pair in COMPILERS if shutil.which(pair[0])]
    if not compilers:
        tree.skip("neither gcc nor clang here")
    jobs = [(pair, header) for pair in compilers for header in headers]
    with concurrent.futures.ThreadPoolExecutor(min(2, os.cpu_count())) as pool:
        problems = [problem for problem in pool.map(compile_alone, jobs) if problem]

    included = re.findall(r'#include "(.*)"', (tree.ROOT / "zentova.h").read_text())
    missing = {tree.name_of(header) for header in headers} - set(included) - {"zentova.h"}
    problems += [f"zentova.h does not include {name}" for name in sorted(missing)]
    tree.finish(problems)


main()
