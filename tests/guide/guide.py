#!/usr/bin/env python3
"""The guide, docs/guide: its listings are files, which its chapters show and build.

A block of code stands below a link to its listing, and is that file or a region of it, without the lines that mark
regions ("// begin name", "// end name"). A block of commands in a chapter is run among copies of the listings; it
must print what the chapter shows as text. In a session, each block of commands prints the text behind it. The answers of
how-do-i.md are regions of programs that check themselves.

usage: guide.py shown
       guide.py update         writes listings that have changed into the blocks that show them
       guide.py run LIBRARY C_COMPILER C++_COMPILER DOCUMENT
       guide.py session LIBRARY C_COMPILER C++_COMPILER DOCUMENT ZTINSPECT
       guide.py compile C_COMPILER C++_COMPILER
"""

import difflib
import os
import pathlib
import re
import shlex
import shutil
import subprocess
import sys
import textwrap

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1] / "structure"))
import tree  # noqa: E402

GUIDE = tree.ROOT / "docs" / "guide"
LISTINGS = GUIDE / "listings"
ANSWERS = GUIDE / "how-do-i.md"
# Sessions: those of the first kind are run here, the others by python/tests and tests/gdb.
SESSIONS = sorted(GUIDE.glob("[0-9][0-9]-ztinspect.md"))
CHAPTERS = sorted(path for path in GUIDE.glob("[0-9][0-9]-*.md")
                  if path not in SESSIONS and not path.name.endswith(("-python.md", "-debugger.md")))
DOCUMENTS = [*CHAPTERS, *SESSIONS, ANSWERS, GUIDE / "README.md"]

MARK = re.compile(r"\s*// (begin|end) (\w+)")
QUESTION = re.compile(r"^### (How do I .*\?)$", re.M)
OPTIONS = ["-Wall", "-Wextra", "-Wpedantic", "-Werror"]
STANDARD = {".c": "-std=c11", ".cpp": "-std=c++20"}

# The commands of a chapter find an installed library; here it is that of the build. Of the log, a run shows what is
# between its first lines and its last.
PRELUDE = """
cc() {{ {c} {options} "$@"; }}
c++() {{ {cpp} {options} "$@"; }}
pkg-config() {{ echo "-Iinclude -Llib -lztcore"; }}
run() {{ {valgrind} "$@" | sed -e '1,/^$/d' -e '/^Zentova - Freeing library/,$d'; }}
"""


class Block:
    """A fenced block of a document, and the line above it."""

    def __init__(self, document, line, above, language, text):
        self.where = f"{tree.name_of(document)}:{line}"
        self.language, self.text = language, text
        named = re.search(r"\]\(listings/([\w.]+)\):$", above)
        self.listing = named.group(1) if named else None


def blocks_of(document):
    text = document.read_text()
    for fence in re.finditer(r"^```(\w*)\n(.*?)^```$", text, re.M | re.S):
        above = text[:fence.start()].rstrip().rpartition("\n")[2]
        yield Block(document, text.count("\n", 0, fence.start()) + 1, above, fence[1], fence[2])


def parts_of(listing):
    """The text of a listing and of its regions, by their names; that of all of it is called ""."""
    parts, opened, problems = {"": []}, [], []
    for line in listing.read_text().splitlines():
        mark = MARK.fullmatch(line)
        if not mark:
            for name in ["", *opened]:
                parts[name].append(line)
        elif mark[1] == "begin" and mark[2] not in parts:
            parts[mark[2]] = []
            opened.append(mark[2])
        elif mark[1] == "end" and mark[2] in opened:
            opened.remove(mark[2])
        else:
            problems.append(f"{tree.name_of(listing)}: a mark out of place: {line.strip()}")
    problems += [f"{tree.name_of(listing)}: the region {name} does not end" for name in opened]
    return {name: textwrap.dedent("\n".join(lines)) + "\n" for name, lines in parts.items()}, problems


def nearest(parts, text):
    """The part of a listing that a text was, or is most like."""
    return max(parts.values(), key=lambda part: difflib.SequenceMatcher(None, part, text).ratio())


def difference(first, second, *names):
    return "".join(difflib.unified_diff(first.splitlines(True), second.splitlines(True), *names))


class Listings:
    """All listings with their parts, and which of these are shown."""

    def __init__(self):
        self.parts, self.problems, self.shown = {}, [], set()
        for path in sorted(LISTINGS.iterdir()):
            self.parts[path.name], found = parts_of(path)
            self.problems += found

    def show(self, block):
        """Notes what a block shows; yields what is wrong with it."""
        parts = self.parts.get(block.listing)
        if parts is None:
            yield f"{block.where}: no link to a listing stands above this block"
            return
        names = [name for name, text in parts.items() if text == block.text]
        self.shown.update((block.listing, name) for name in names)
        if not names:
            yield (f"{block.where}: differs from listings/{block.listing}:\n"
                   + difference(nearest(parts, block.text), block.text, "listing", "shown"))

    def unseen(self):
        """Files, and regions of files that are not shown as a whole, that no block shows."""
        for name, parts in self.parts.items():
            wanted = [part for part in parts if part] or [""]
            missing = [part for part in wanted if not self.shown & {(name, part), (name, "")}]
            yield from (f"listings/{name}: shown nowhere: {part or 'the file'}" for part in missing)


def commands_in(block):
    """The lines of a block of commands, without comments."""
    return [line for line in (re.sub(r"(^|\s+)#.*", "", text) for text in block.text.splitlines()) if line]


def commands_of(documents):
    return [line for document in documents for block in blocks_of(document) if block.language == "sh"
            for line in commands_in(block)]


def programs():
    """The listings that are built alone."""
    return [path for path in sorted(LISTINGS.iterdir()) if path.name.startswith("howdoi_")]


def not_built():
    """Sources that neither a chapter nor the test of the answers builds."""
    built = set(" ".join(commands_of([*CHAPTERS, *SESSIONS])).split()) | {path.name for path in programs()}
    for path in sorted(LISTINGS.iterdir()):
        if path.suffix in STANDARD and path.name not in built:
            yield f"listings/{path.name}: built nowhere"


def untested_answers():
    """Answers without a listing or commands, and commands that are neither README.md's nor run in a chapter."""
    known = commands_of([tree.ROOT / "README.md", *CHAPTERS])
    for block in blocks_of(ANSWERS):
        if block.language == "sh":
            yield from (f"{block.where}: run nowhere: {line}" for line in commands_in(block) if line not in known)
    questions = QUESTION.split(ANSWERS.read_text())[1:]
    for question, answer in zip(questions[::2], questions[1::2]):
        if "\n```" not in answer:
            yield f"{tree.name_of(ANSWERS)}: without a tested answer: {question}"


def chapter_problems(chapter):
    """What a chapter must have: commands for both languages, and what they print. The list of chapters has it."""
    languages = [block.language for block in blocks_of(chapter)]
    if not {"c", "cpp", "sh", "text"} <= set(languages):
        yield f"{tree.name_of(chapter)}: lacks C, C++, commands or an output"
    yield from unlisted(chapter)


def unlisted(chapter):
    if f"({chapter.name})" not in (GUIDE / "README.md").read_text():
        yield f"docs/guide/README.md: does not lead to {chapter.name}"


def shown():
    listings = Listings()
    problems = listings.problems
    blocks = [block for document in DOCUMENTS for block in blocks_of(document)]
    for block in blocks:
        if block.language in ("c", "cpp"):
            problems += listings.show(block)
        elif block.language not in ("sh", "text"):
            problems.append(f"{block.where}: a block of an unknown language")
    problems += [*listings.unseen(), *not_built(), *untested_answers()]
    problems += [problem for chapter in CHAPTERS for problem in chapter_problems(chapter)]
    problems += [problem for session in SESSIONS for problem in unlisted(session)]
    questions = QUESTION.findall(ANSWERS.read_text())
    problems += [f"asked twice: {question}" for question in set(questions) if questions.count(question) > 1]
    print(f"{len(CHAPTERS)} chapters, {len(questions)} questions, {len(listings.parts)} listings with "
          f"{sum(len(parts) - 1 for parts in listings.parts.values())} regions, "
          f"{sum(block.language in ('c', 'cpp') for block in blocks)} blocks of code")
    tree.finish(problems)


def update():
    """In the place of each block that differs: the part of its listing that is nearest."""
    listings = Listings()
    for document in DOCUMENTS:
        text = document.read_text()
        for block in blocks_of(document):
            if block.listing in listings.parts:
                part = nearest(listings.parts[block.listing], block.text)
                text = text.replace(f"\n{block.text}```\n", f"\n{part}```\n")
        document.write_text(text)


def place_listings(library):
    """Copies the listings to the current folder, beside links to the headers and the library."""
    for path in LISTINGS.iterdir():
        shutil.copy(path, ".")
    for name, target in (("include", tree.ROOT), ("lib", library.parent)):
        pathlib.Path(name).unlink(missing_ok=True)
        pathlib.Path(name).symlink_to(target)
    os.environ["LD_LIBRARY_PATH"] = str(library.parent)


def run_commands(commands, c, cpp):
    """What commands print, each program without the first and last lines of the log."""
    prelude = PRELUDE.format(c=shlex.quote(c), cpp=shlex.quote(cpp), options=" ".join(OPTIONS),
                             valgrind=os.environ.get("VALGRIND", ""))
    script = prelude + re.sub(r"^\./", "run ./", commands, flags=re.M)
    done = subprocess.run(["bash", "-euo", "pipefail", "-c", script], stdout=subprocess.PIPE, text=True)
    return done.stdout if done.returncode == 0 else f"{commands}failed with {done.returncode}\n{done.stdout}"


def differences(chapter, c, cpp):
    """Each block of commands prints what the chapter shows as text."""
    expected = "".join(block.text for block in blocks_of(chapter) if block.language == "text")
    for block in blocks_of(chapter):
        printed = run_commands(block.text, c, cpp) if block.language == "sh" else expected
        if printed != expected:
            yield f"{block.where}: prints something else:\n" + difference(expected, printed, "shown", "printed")


def failures(program, c, cpp):
    """A program of answers checks itself."""
    build = f"{'cc' if program.suffix == '.c' else 'c++'} {STANDARD[program.suffix]} {program.name} "
    build += f"$(pkg-config --cflags --libs zentova) -o {program.stem}{program.suffix[1:]}\n"
    printed = run_commands(f"{build}./{program.stem}{program.suffix[1:]} >printed.txt\n", c, cpp)
    return [printed] if printed else []


def run(library, c, cpp, document):
    place_listings(pathlib.Path(library).resolve())
    if document == ANSWERS.name:
        tree.finish([problem for program in programs() for problem in failures(program, c, cpp)])
    tree.finish(list(differences(GUIDE / document, c, cpp)))


def session_differences(document, c, cpp, ztinspect):
    """Each block of commands prints the block of text that stands before the next one, errors among it. A command may
    fail, as the program does where it finds something."""
    prelude = PRELUDE.format(c=shlex.quote(c), cpp=shlex.quote(cpp), options=" ".join(OPTIONS), valgrind="")
    prelude += f"ztinspect() {{ {shlex.quote(ztinspect)} \"$@\"; }}\nexec 2>&1\n"
    steps = []
    for block in blocks_of(document):
        if block.language == "sh":
            steps.append([block, ""])
        elif block.language == "text":
            steps[-1][1] += block.text
    for block, expected in steps:
        printed = subprocess.run(["bash", "-uc", prelude + re.sub(r"^\./", "run ./", block.text, flags=re.M)],
                                 stdout=subprocess.PIPE, text=True).stdout
        if printed != expected:
            yield f"{block.where}: prints something else:\n" + difference(expected, printed, "shown", "printed")


def session(library, c, cpp, document, ztinspect):
    place_listings(pathlib.Path(library).resolve())
    tree.finish(list(session_differences(GUIDE / document, c, cpp, ztinspect)))


def compile_all(c, cpp):
    """The listings please another compiler, too."""
    problems = []
    for suffix, compiler in ((".c", c), (".cpp", cpp)):
        if not shutil.which(compiler):
            tree.skip(f"no {compiler}")
        sources = sorted(LISTINGS.glob(f"*{suffix}"))
        done = subprocess.run([compiler, STANDARD[suffix], *OPTIONS, f"-I{tree.ROOT}", "-fsyntax-only", *sources],
                              stderr=subprocess.PIPE, text=True)
        problems += [done.stderr] if done.returncode != 0 else []
    tree.finish(problems)


def main():
    commands = {"shown": shown, "update": update, "run": run, "session": session, "compile": compile_all}
    commands[sys.argv[1]](*sys.argv[2:])


main()
