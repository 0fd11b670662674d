#!/usr/bin/env python3
"""No file that is kept is larger than 1 MB: what a program makes is made, not kept."""

import shutil
import subprocess

import tree

LARGEST = 1_000_000


def kept():
    """What version control tracks; every file of a tree that comes without it."""
    if shutil.which("git"):
        done = subprocess.run(["git", "-C", tree.ROOT, "ls-files", "-z"], capture_output=True, text=True)
        if done.returncode == 0:
            return [tree.ROOT / name for name in done.stdout.split("\0") if name]
    return tree.files()


sizes = {path: path.stat().st_size for path in kept() if path.is_file()}
tree.finish([f"{tree.name_of(path)}: {size} bytes" for path, size in sorted(sizes.items()) if size > LARGEST]
            if sizes else ["no file was found"])
