"""What the structure checks share: the files of the tree, what its headers declare, how to report."""

import os
import pathlib
import re
import shutil
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parents[2]
BUILD = (ROOT / "CMakeLists.txt").read_text()
ROOMS = re.search(r"set\(ZT_ROOMS ([^)]*)\)", BUILD).group(1).split()
VERSION = re.search(r"project\(zentova VERSION ([\d.]+)", BUILD).group(1)

# The formatter and the linter judge differently from one major version to the next.
LLVM_VERSION = 14

SKIPPED = 77
EXPORT = '__attribute__((visibility("default")))'


def finish(problems):
    """Ends a check: prints the problems and fails, or succeeds when there are none."""
    for problem in problems:
        print(problem)
    sys.exit(1 if problems else 0)


def skip(reason):
    """Ends a check that cannot be made here. Where changes are judged, with CI set in the environment, that is
    a failure: a check that is not made finds nothing."""
    if os.environ.get("CI"):
        finish([f"not checked, and CI is set: {reason}"])
    print(f"skipped: {reason}")
    sys.exit(SKIPPED)


def run(*command, **options):
    """What a command prints; the check fails when the command does."""
    done = subprocess.run(command, capture_output=True, text=True, **options)
    if done.returncode != 0:
        sys.exit(f"{' '.join(map(str, command))}\n{done.stdout}{done.stderr}")
    return done.stdout


def find_llvm_tool(name):
    """A tool of the version that the tree is kept with; None without it."""
    for candidate in (f"{name}-{LLVM_VERSION}", name):
        if shutil.which(candidate) and f"version {LLVM_VERSION}." in run(candidate, "--version"):
            return candidate
    return None


def llvm_tool(name):
    """The same; without it the check is not made."""
    return find_llvm_tool(name) or skip(f"no {name} of version {LLVM_VERSION}")


def files(*suffixes):
    """Every file of the tree with one of the suffixes (with none: every file), build folders aside."""

    def walk(folder):
        for path in sorted(folder.iterdir()):
            if path.name in (".git", "__pycache__"):
                continue
            if path.is_dir():
                if path.name != "build" and not (path / "CMakeCache.txt").exists():
                    yield from walk(path)
            elif not suffixes or path.suffix in suffixes:
                yield path

    return list(walk(ROOT))


def kept():
    """What version control tracks; every file of a tree that comes without it."""
    if shutil.which("git"):
        done = subprocess.run(["git", "-C", ROOT, "ls-files", "-z"], capture_output=True, text=True)
        if done.returncode == 0:
            return [path for name in done.stdout.split("\0") if name and (path := ROOT / name).is_file()]
    return files()


def text_of(path):
    """The text of a file; None when it holds none."""
    try:
        text = path.read_text(encoding="utf-8")
    except UnicodeDecodeError:
        return None
    return None if "\0" in text else text


def room_files(*patterns):
    return [path for room in ROOMS for pattern in patterns for path in sorted((ROOT / room).glob(pattern))]


def public_headers():
    return room_files("*.h") + [ROOT / "zentova.h"]


def name_of(path):
    return path.relative_to(ROOT).as_posix()


def declarations(compiler):
    """What the public headers declare: preprocessed as C, the system's headers and attributes left
    out, with @export where an export is marked."""
    own = False
    lines = []
    for line in run(compiler, "-E", "-x", "c", "-I", ROOT, ROOT / "zentova.h").splitlines():
        marker = re.match(r'# \d+ "([^"]*)"', line)
        if marker:
            own = ROOT in pathlib.Path(marker.group(1)).parents
        elif own:
            lines.append(line)
    text = "\n".join(lines).replace(EXPORT, "@export")
    return re.sub(r"__attribute__\s*\(\((?:[^()]|\([^()]*\))*\)\)", "", text)
