#!/usr/bin/env python3
"""clang-tidy finds nothing in the library, by the checks of the .clang-tidy file in the root.

usage: tidy.py BUILD_FOLDER
"""

import concurrent.futures
import json
import os
import pathlib
import subprocess
import sys
import tempfile

import tree

# Options of the compile commands that clang does not know.
FOREIGN_OPTIONS = [" -fno-gnu-unique", " -fno-ipa-icf", " -fno-align-jumps", " -fno-align-labels", " -flto=auto",
                   " -fno-fat-lto-objects"]


def main():
    tidy = tree.llvm_tool("clang-tidy")
    commands = (pathlib.Path(sys.argv[1]) / "compile_commands.json").read_text()
    for option in FOREIGN_OPTIONS:
        commands = commands.replace(option, "")
    rooms = [tree.ROOT / room for room in tree.ROOMS]
    # Of a source that two libraries compile, one command; clang-tidy would follow each.
    entries = {entry["file"]: entry for entry in json.loads(commands)
               if pathlib.Path(entry["file"]).parent in rooms}

    with tempfile.TemporaryDirectory() as folder:
        pathlib.Path(folder, "compile_commands.json").write_text(json.dumps(list(entries.values())))

        def findings(source):
            command = [tidy, "--quiet", "-p", folder, source]
            done = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True)
            return None if done.returncode == 0 else f"{source}\n{done.stdout}"

        with concurrent.futures.ThreadPoolExecutor(min(2, os.cpu_count())) as pool:
            problems = [problem for problem in pool.map(findings, entries) if problem]
    tree.finish(problems if entries else ["no source of the library was found"])


main()
