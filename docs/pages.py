#!/usr/bin/env python3
"""Lays out what Doxygen makes the pages of: pages.py <folder>

The folder, which is new or empty, gets the public headers with their class macros expanded, the documents with links
that lead from page to page, a page for each example, the picture of the classes, and in the file `inputs` the order
of them all. A link that leads to no page is an error.
"""

import pathlib
import re
import shutil
import sys

import classtree
import cpplayer
import headers

ROOT = pathlib.Path(__file__).resolve().parents[1]
MAIN = "docs/mainpage.md"
GUIDE = ROOT / "docs" / "guide"
# Folders of programs beside the examples: title, and what is in them.
PROGRAMS = {
    "docs/guide/listings": ("The programs of the guide", "what the chapters show in parts"),
    "tests/formats": ("A reader of files", "a reader in Python that needs no library, and the program that writes its files"),
}
# After the guide, which is read first.
DOCUMENTS = ["docs/coming-from.md", "docs/when-not.md", "docs/formats.md", "docs/architecture.md", "docs/abi.md",
             "docs/benchmarks.md", "docs/coverage.md", "docs/mutation.md", "CHANGELOG.md", "CONTRIBUTING.md",
             "SECURITY.md"]
# Further ones come last.
OTHER_DOCUMENTS = ("docs/*.md", "*.md", "*/README.md")
SOURCES = (".c", ".h", ".cpp", ".hpp", ".py")
LINK = re.compile(r"\[([^\]]*)\]\(([^)\s]+)\)")
HEADING = re.compile(r"^(#+) (.*)$")


def parts_without_code(text):
    """The lines of a document, each with whether it stands in a block of code."""
    inside = False
    for line in text.splitlines():
        fence = line.lstrip().startswith("```")
        yield line, inside or fence
        inside ^= fence


def anchor_of(heading):
    """As other readers of such documents make anchors."""
    return re.sub(r"[^\w\- ]", "", heading.lower()).replace(" ", "-")


class Document:
    def __init__(self, name):
        self.name = name
        self.text = (ROOT / name).read_text()
        # The first heading of the README is the name of the project, as that of the main page.
        self.title = "README" if name == "README.md" else re.match(r"# (.*)", self.text)[1]
        # A number and a space would begin a list.
        self.title = re.sub(r"^(\d+\.) ", "\\1\N{NO-BREAK SPACE}", self.title)
        # Packages compress what is called changelog.
        path = name.removeprefix("docs/").removesuffix(".md").lower().replace("changelog", "changes")
        self.label = "mainpage" if name == MAIN else re.sub(r"\W", "_", path)
        self.page = "index.html" if name == MAIN else f"{self.label}.html"
        # The headings below the title in their order, each with its label.
        self.anchors, self.headings = {}, []
        for line, is_code in parts_without_code(self.text):
            heading = HEADING.match(line)
            if heading and not is_code and heading[1] != "#":
                self.add_heading(heading[2])

    def add_heading(self, heading):
        anchor = first = anchor_of(heading)
        again = 0
        while anchor in self.anchors:
            again += 1
            anchor = f"{first}-{again}"
        self.anchors[anchor] = f"{self.label}_{re.sub(r'[^0-9a-z_]', '_', anchor)}"
        self.headings.append((heading.replace("`", ""), self.anchors[anchor]))


class Programs:
    """A page of the sources in a folder."""

    def __init__(self, folder, title, about):
        self.name = folder.relative_to(ROOT).as_posix()
        self.title, self.about = title, about
        self.label = re.sub(r"\W", "_", self.name.removeprefix("docs/"))
        self.page = f"{self.label}.html"
        self.sources = sorted((path.relative_to(ROOT) for path in folder.iterdir() if path.suffix in SOURCES),
                              key=lambda path: (path.stem != "main", path.name))

    def place(self, source):
        return f"{self.label}_{re.sub(r'[^0-9a-z]', '_', source.name.lower())}"

    def address(self, place):
        """Of the page, or of one of its sources."""
        source = pathlib.PurePath(place)
        return f"{self.page}#{self.place(source)}" if source in self.sources else self.page

    def text(self):
        sections = (f"@section {self.place(source)} {source.name}\n@include {source}\n" for source in self.sources)
        return f"/** @page {self.label} {self.title}\n{self.about[0].upper()}{self.about[1:]}.\n\n" + "".join(sections) + "*/\n"


class Pages:
    def __init__(self, target):
        self.target = target
        guide = sorted(self.named("docs/guide/*.md"), key=lambda name: (not name.endswith("/README.md"), name))
        known = [MAIN, "README.md", *guide, *filter(lambda name: (ROOT / name).exists(), DOCUMENTS)]
        others = [name for pattern in OTHER_DOCUMENTS for name in self.named(pattern)]
        names = dict.fromkeys([*known, *others])
        self.documents = {name: Document(name) for name in names}
        about = dict(re.findall(r"^\| `(examples/\w+)/` \| ([^|]*?) *\|$", self.documents["README.md"].text, re.M))
        self.programs = {}
        for folder in sorted(path for path in (ROOT / "examples").iterdir() if path.is_dir()):
            said = about.get(f"examples/{folder.name}", "what several examples use").replace("`", "")
            self.add_programs(folder, f"Example: {folder.name}", said)
        for name, (title, said) in PROGRAMS.items():
            if (ROOT / name).is_dir():
                self.add_programs(ROOT / name, title, said)
        self.problems = []

    @staticmethod
    def named(pattern):
        names = sorted(path.relative_to(ROOT).as_posix() for path in ROOT.glob(pattern))
        return [name for name in names if not name.startswith("build/")]

    def add_programs(self, folder, title, about):
        programs = Programs(folder, title, about)
        self.programs[programs.name] = programs

    def headers(self):
        rooms = re.search(r"set\(ZT_ROOMS ([^)]*)\)", (ROOT / "CMakeLists.txt").read_text())[1].split()
        return [path for room in rooms for path in sorted((ROOT / room).glob("*.h"))] + [
            ROOT / "zentova.h", cpplayer.HEADER]

    def write(self, name, text):
        path = self.target / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text(text)

    # Links -------------------------------------------------------------------------------------------

    def page_of(self, place):
        """The page that shows a file or a folder of the tree, or None."""
        if place in self.documents:
            return self.documents[place].page
        for name, programs in self.programs.items():
            if place == name or place.startswith(f"{name}/"):
                return programs.address(place)
        if place.endswith((".h", ".hpp")):
            return re.sub(r"\.", "_8", pathlib.PurePath(place).name) + ".html"
        return "license.html" if place == "LICENSE" else None

    def link(self, document, target):
        """What a link leads to; None for a file of the tree that no page shows."""
        if target.startswith(("http:", "https:")):
            return target
        name, _, anchor = target.partition("#")
        place = document.name
        if name:
            folder = (ROOT / document.name).parent
            place = (folder / name).resolve().relative_to(ROOT).as_posix()
        if place.endswith(".svg"):
            return pathlib.PurePath(place).name
        page = self.page_of(place)
        if page is None:
            if not (ROOT / place).exists():
                self.problems.append(f"{document.name}: leads nowhere: {target}")
            return None
        if not anchor:
            return page
        label = self.documents[place].anchors.get(anchor) if place in self.documents else None
        if label is None:
            self.problems.append(f"{document.name}: no such heading: {target}")
        return f"{page}#{label}"

    def shown(self, document, match):
        # What looks like a link in code is a function object.
        if match.string.count("`", 0, match.start()) % 2 == 1:
            return match[0]
        page = self.link(document, match[2])
        return match[1] if page is None else f"[{match[1]}]({page})"

    def linked(self, document):
        lines = []
        labels = (label for _, label in document.headings)
        for line, is_code in parts_without_code(document.text):
            if not is_code:
                heading = HEADING.match(line)
                if heading and heading[1] == "#":
                    line = f"# {document.title} {{#{document.label}}}"
                elif heading:
                    line += f" {{#{next(labels)}}}"
                line = LINK.sub(lambda match: self.shown(document, match), line)
            lines.append(line)
        return "\n".join(lines) + "\n"

    # What is made ------------------------------------------------------------------------------------

    def contents(self):
        """The list of the documents, for the main page."""
        return "".join(f"- [{document.title}]({document.page})\n" for document in self.documents.values()
                       if document.name != MAIN)

    def list_of_programs(self):
        return "".join(f"- [{programs.title.removeprefix('Example: ')}]({programs.page}): {programs.about}\n"
                       for programs in self.programs.values())

    def headings(self):
        """For the search: the address, the text and the document of each heading."""
        for document in self.documents.values():
            yield f"{document.page}\t{document.title}\t\n"
            for text, label in document.headings:
                yield f"{document.page}#{label}\t{text}\t{document.title}\n"

    def lay_out(self):
        inputs = []
        for document in self.documents.values():
            text = self.linked(document)
            text = text.replace("@documents@", self.contents()).replace("@examples@", self.list_of_programs())
            self.write(document.name, text)
            inputs.append(document.name)
        for name, programs in self.programs.items():
            self.write(f"{name}.dox", programs.text())
            inputs.append(f"{name}.dox")
            for source in programs.sources:
                self.write(source, (ROOT / source).read_text())
        license_text = "".join(f"    {line}\n" for line in (ROOT / "LICENSE").read_text().splitlines())
        self.write("LICENSE.md", f"# License {{#license}}\n\n{license_text}")
        inputs.append("LICENSE.md")
        for name in ("docs/rooms.dox", "docs/Doxyfile", "docs/pages.css", "docs/layout.xml"):
            self.write(name, (ROOT / name).read_text())
        inputs.append("docs/rooms.dox")
        for path in self.headers():
            name = path.relative_to(ROOT).as_posix()
            text = path.read_text()
            self.write(name, cpplayer.shown() if path == cpplayer.HEADER else headers.Header(path).expanded())
            inputs.append(name)
        for picture in (ROOT / "docs").glob("*.svg"):
            shutil.copy(picture, self.target / "docs" / picture.name)
        self.write("docs/classes.svg", classtree.drawn(self.headers()))
        self.write("headings", "".join(self.headings()))
        self.write("inputs", "INPUT = " + " ".join(inputs) + "\n")


def main():
    pages = Pages(pathlib.Path(sys.argv[1]))
    pages.lay_out()
    for problem in pages.problems:
        print(problem, file=sys.stderr)
    sys.exit(1 if pages.problems else 0)


main()
