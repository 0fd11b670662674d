#!/usr/bin/env python3
"""Every link of the pages leads to a page and to a place on it, and nothing that a page shows or runs comes from
elsewhere: links.py <pages>"""

import html.parser
import pathlib
import sys
import urllib.parse

# Of each kind of element, what it loads.
LOADS = {"script": "src", "img": "src", "link": "href", "object": "data", "iframe": "src"}


class Page(html.parser.HTMLParser):
    def __init__(self, path):
        super().__init__()
        self.places, self.targets, self.loads = set(), set(), set()
        self.feed(path.read_text())

    def handle_starttag(self, tag, attrs):
        attributes = dict(attrs)
        self.places |= {attributes[name] for name in ("id", "name") if attributes.get(name)}
        if tag == "a" and attributes.get("href"):
            self.targets.add(attributes["href"])
        if attributes.get(LOADS.get(tag)):
            self.loads.add(attributes[LOADS[tag]])


def problems(folder):
    pages = {path.name: Page(path) for path in sorted(folder.glob("*.html"))}
    if len(pages) < 100:
        yield f"only {len(pages)} pages"
    for name, page in pages.items():
        for target in sorted(page.loads):
            # The frame of the search is filled by its script.
            if target != "javascript:void(0)" and not (folder / target).exists():
                yield f"{name}: loads {target}"
        for target in sorted(page.targets):
            parts = urllib.parse.urlsplit(target)
            if parts.scheme in ("http", "https", "javascript"):
                continue
            place = urllib.parse.unquote(parts.path) or name
            if not (folder / place).exists():
                yield f"{name}: leads nowhere: {target}"
            elif parts.fragment and place in pages and parts.fragment not in pages[place].places:
                yield f"{name}: no such place: {target}"


found = list(problems(pathlib.Path(sys.argv[1])))
for problem in found:
    print(problem)
sys.exit(1 if found else 0)
