#!/usr/bin/env python3
"""Every C and C++ file stands as clang-format writes it."""

import subprocess

import tree

formatter = tree.llvm_tool("clang-format")
sources = tree.files(".c", ".cpp", ".h", ".hh", ".hpp")
done = subprocess.run([formatter, "--dry-run", "-Werror", *sources], stderr=subprocess.PIPE, text=True)
tree.finish([done.stderr] if done.returncode != 0 else [])
