#!/usr/bin/env python3
"""What hosts reach by number does not move: the size of every public struct, the offset and size of its
fields, the number of each method and class-function slot; the same from C and from C++. The headers
show the number of each slot behind its line.

A program that prints them is generated from the public headers, compiled as C and as C++, and both
outputs are compared with layout.expected. A class is listed with what it adds to its parent's; that the
rest stands where the parent has it is checked too. After a class was added, `layout.py --update` writes
that file and the numbers in the headers anew; read the change before you commit it: lines may be added,
none may differ.

usage: layout.py [--update] [C_COMPILER CXX_COMPILER]
"""

import difflib
import pathlib
import re
import sys
import tempfile

import tree

LIST = re.compile(r"#define (\w+)_(FIELDS|METHODS|FUNCTIONS)(?:\s|\\\n)+(\w+)_\2\b")
EXPECTED = pathlib.Path(__file__).with_name("layout.expected")

PROLOGUE = r"""#include "zentova.h"
#include <stdio.h>
#define STRUCT(S) printf("%s: %zu bytes\n", #S, sizeof(S))
#define FIELD(S, field) printf("%6zu %4zu  %s\n", offsetof(S, field), sizeof(((S *)0)->field), #field)
#define TABLE(S) printf("%s: %zu slots\n", #S, sizeof(S) / sizeof(void *))
#define SLOT(S, slot) printf("%6zu  %s\n", offsetof(S, slot) / sizeof(void *), #slot)
#define INHERITED(S, Parent, member)                                     \
  if (offsetof(S, member) != offsetof(Parent, member) ||                 \
      sizeof(((S *)0)->member) != sizeof(((Parent *)0)->member))         \
  printf("%s: %s is not where %s has it\n", #S, #member, #Parent)
int main(void) {
"""


def field_names(declaration):
    """The names in one declaration of a struct: `int32_t a, b`, `char name[80]`, `void (*op)(int)`."""
    pointer = re.search(r"\(\s*\*\s*(\w+)", declaration)
    if pointer:
        return [pointer.group(1)]
    return [re.search(r"(\w+)\s*(\[[^\]]*\]\s*)*$", part).group(1) for part in declaration.split(",")]


def structs(compiler):
    """Name to field names, of every struct that the public headers define."""
    text = tree.declarations(compiler)
    opened = re.findall(r"\bstruct\s+(\w+)\s*\{", text)
    flat = dict(re.findall(r"\bstruct\s+(\w+)\s*\{([^{}]*)\}", text))
    if not opened or len(opened) != len(flat):
        sys.exit("the headers define a struct that this check cannot read")
    return {
        name: [field for part in body.split(";") if part.strip() for field in field_names(part)]
        for name, body in flat.items()
    }


def parents(known):
    """Struct to the struct whose members it begins with, from the lists in the headers."""
    suffixes = {"FIELDS": "", "METHODS": "Methods", "FUNCTIONS": "Functions"}
    found = {}
    for path in tree.public_headers():
        for name, kind, parent in LIST.findall(path.read_text()):
            if name + suffixes[kind] in known and parent + suffixes[kind] in known:
                found[name + suffixes[kind]] = parent + suffixes[kind]
    return found


def members(name, fields, parent, inherited):
    """The lines that print a struct."""
    whole, part = ("TABLE", "SLOT") if re.search(r"(Methods|Functions)$", name) else ("STRUCT", "FIELD")
    if fields[:len(inherited)] != inherited:
        sys.exit(f"{name} does not begin with the members of {parent}")
    return ([f"  {whole}({name});"]
            + [f"  INHERITED({name}, {parent}, {field});" for field in inherited]
            + [f"  {part}({name}, {field});" for field in fields[len(inherited):]])


def program(known):
    parent = parents(known)
    lines = [line for name, fields in sorted(known.items())
             for line in members(name, fields, parent.get(name), known.get(parent.get(name), []))]
    return PROLOGUE + "\n".join(lines) + "\n  return 0;\n}\n"


def slots(printed):
    """Class to the number of each slot that it adds, as the program printed them."""
    found, own = {}, None
    for line in printed.splitlines():
        table = re.match(r"(\w+)Methods: \d+ slots$", line)
        if not line.startswith(" "):
            own = found.setdefault(table.group(1), {}) if table else None
        elif own is not None:
            number, name = line.split()
            own[name] = number
    return found


def numbered(text, numbers):
    """A header with the number of each slot behind its line in a list of methods."""

    def of_slot(own):
        def number(match):
            name = re.search(r"\(\*(\w+)\)\(|\*?(\w+);$", match["slot"])
            rest = re.sub(r"^(\d+)?(: )?", "", (match["comment"] or "").strip())
            return f"{match['slot']} /* {own[name[1] or name[2]]}{': ' + rest if rest else ''} */"
        return number

    def of_list(match):
        own = numbers.get(match["name"])
        if not own:
            return match[0]
        return match["head"] + re.sub(r"(?P<slot>[^;]*;)(?:\s*/\*(?P<comment>.*?)\*/)?", of_slot(own), match["body"])

    pattern = r"(?P<head>#define (?P<name>\w+)_METHODS\b)(?P<body>(?:.*\\\n)*.*\n)"
    return re.sub(pattern, of_list, text)


def number_headers(numbers):
    """Writes the headers whose numbers are wrong, and aligns them, as far as the formatter is there."""
    changed = misnumbered(numbers)
    for path in changed:
        path.write_text(numbered(path.read_text(), numbers))
    formatter = tree.find_llvm_tool("clang-format")
    if formatter and changed:
        tree.run(formatter, "-i", *changed)


def without_space(text):
    return re.sub(r"[\s\\]+", "", text)


def misnumbered(numbers):
    return [path for path in tree.public_headers()
            if without_space(numbered(path.read_text(), numbers)) != without_space(path.read_text())]


def wrong_numbers(numbers):
    return [f"{path.relative_to(tree.ROOT)}: the numbers of its slots are not those of the tables"
            for path in misnumbered(numbers)]


def layout(source, compiler, language):
    with tempfile.TemporaryDirectory() as folder:
        binary = pathlib.Path(folder, "layout")
        tree.run(compiler, *language, "-I", tree.ROOT, "-o", binary, "-", input=source)
        return tree.run(binary)


def difference(expected, found, name):
    return [line.rstrip("\n") for line in difflib.unified_diff(
        expected.splitlines(), found.splitlines(), EXPECTED.name, name, n=1, lineterm="")]


def main():
    arguments = [argument for argument in sys.argv[1:] if argument != "--update"]
    c_compiler, cxx_compiler = arguments or ("gcc", "g++")
    source = program(structs(c_compiler))
    as_c = layout(source, c_compiler, ["-x", "c", "-std=c11"])
    as_cxx = layout(source, cxx_compiler, ["-x", "c++", "-std=c++20"])
    if "--update" in sys.argv:
        EXPECTED.write_text(as_c)
        number_headers(slots(as_c))
    expected = EXPECTED.read_text()
    problems = difference(expected, as_c, "from C") + difference(expected, as_cxx, "from C++")
    problems += wrong_numbers(slots(as_c))
    if problems:
        problems.append("if nothing but new lines (+) stands here: layout.py --update")
    tree.finish(problems)


main()
