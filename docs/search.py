#!/usr/bin/env python3
"""Lets the search of the pages find the headings of the documents: search.py <pages> <headings>

Doxygen's own index has the titles of pages, from their first word on. Each heading is added under each of its longer
words. The file of headings has lines `address<tab>heading<tab>document`.
"""

import html
import json
import pathlib
import re
import sys

EVERYTHING = 0  # the section of the index that is searched first
SHORTEST = 4


def key_of(text):
    """As the script of the search compares it."""
    return "".join(c if c.isalnum() and c.isascii() else f"_{ord(c):02x}" for c in text.lower())


def starts(heading):
    """The heading from its first word on, and from each longer one."""
    words = list(re.finditer(r"\w+", heading))
    return [heading[word.start():] for word in words[:1] + [word for word in words[1:] if len(word[0]) >= SHORTEST]]


class Index:
    def __init__(self, folder):
        data = (folder / "searchdata.js").read_text()
        self.letters = re.search(rf'^ *{EVERYTHING}: "([^"]*)"', data, re.M)[1]
        self.folder = folder
        self.added = {}

    def add(self, start, heading, address, document):
        letter = self.letters.find(start[0].lower())
        if letter >= 0:
            texts = (html.escape(text, quote=False) for text in (heading, f"../{address}", document))
            self.added.setdefault(letter, []).append((start, *texts))

    def write(self):
        for letter, entries in self.added.items():
            path = self.folder / f"all_{letter:x}.js"
            before = path.read_text().rstrip().removesuffix("];").rstrip()
            number = before.count("\n")
            lines = []
            for start, heading, address, document in entries:
                entry = [f"{key_of(start)}_{number}", [heading, [address, 1, document]]]
                lines.append(json.dumps(entry))
                number += 1
            path.write_text(f"{before},\n  " + ",\n  ".join(lines) + "\n];\n")


def main():
    index = Index(pathlib.Path(sys.argv[1]) / "search")
    for line in pathlib.Path(sys.argv[2]).read_text().splitlines():
        address, heading, document = line.split("\t")
        # The title of a document is there from its first word on.
        for start in starts(heading)[0 if document else 1:]:
            index.add(start, heading, address, document)
    index.write()


main()
