#!/usr/bin/env python3
"""The documents name what is there: links lead to files and headings, and the names of the code in
docs/architecture.md and CONTRIBUTING.md stand in the code."""

import re

import tree

OF_THE_CODE = ("docs/architecture.md", "CONTRIBUTING.md")
# Made by building; of CMake itself.
NOT_OURS = ("build/", "CMAKE_")


def without_blocks(text):
    return re.sub(r"^```.*?^```$", lambda block: "\n" * block.group().count("\n"), text, flags=re.M | re.S)


def anchors(text):
    """As pages are made of headings."""
    headings = re.findall(r"^#+ (.*)$", without_blocks(text), re.M)
    return {re.sub(r"[^\w\- ]", "", heading.lower()).replace(" ", "-") for heading in headings}


def broken_links(path, text):
    for target in re.findall(r"\]\(([^)\s]+)\)", without_blocks(text)):
        name, _, anchor = target.partition("#")
        file = path.parent / name if name else path
        if target.startswith(("http:", "https:")):
            continue
        if not file.exists():
            yield f"{tree.name_of(path)}: leads nowhere: {target}"
        elif anchor and anchor not in anchors(file.read_text()):
            yield f"{tree.name_of(path)}: no such heading: {target}"


def words_of_the_code():
    texts = [tree.text_of(path) or "" for path in tree.kept() if path.suffix != ".md"]
    return set(re.findall(r"\w+", "\n".join(texts)))


def unknown_names(path, text, words):
    for code in re.findall(r"`([^`\n]+)`", without_blocks(text)):
        file = re.match(r"[\w.\-]+(?:/[\w.\-]+)+", code)
        name = re.match(r"[A-Za-z_]\w*", code)
        if code.startswith(NOT_OURS):
            continue
        if file:
            if not (tree.ROOT / file.group()).exists():
                yield f"{tree.name_of(path)}: there is no {file.group()}"
        elif name and name.group() not in words and not (tree.ROOT / code).exists():
            yield f"{tree.name_of(path)}: nothing is called {name.group()}"


def main():
    documents = [path for path in tree.kept() if path.suffix == ".md"]
    words = words_of_the_code()
    problems = [] if documents else ["no document was found"]
    for path in documents:
        text = path.read_text()
        problems += broken_links(path, text)
        if tree.name_of(path) in OF_THE_CODE:
            problems += unknown_names(path, text, words)
    tree.finish(problems)


main()
