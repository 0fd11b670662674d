#!/usr/bin/env python3
"""What hosts reach by number does not move: the size of every public struct, the offset and size of its
fields, the number of each method and class-function slot; the same from C and from C++.

A program that prints them is generated from the public headers, compiled as C and as C++, and both
outputs are compared with layout.expected. After a class was added, `layout.py --update` writes that
file anew; read the change before you commit it: lines may be added, none may differ.

usage: layout.py [--update] [C_COMPILER CXX_COMPILER]
"""

import difflib
import pathlib
import re
import sys
import tempfile

import tree

EXPECTED = pathlib.Path(__file__).with_name("layout.expected")

PROLOGUE = r"""#include "zentova.h"
#include <stdio.h>
#define STRUCT(S) printf("%s: %zu bytes\n", #S, sizeof(S))
#define FIELD(S, field) printf("%6zu %4zu  %s\n", offsetof(S, field), sizeof(((S *)0)->field), #field)
#define TABLE(S) printf("%s: %zu slots\n", #S, sizeof(S) / sizeof(void *))
#define SLOT(S, slot) printf("%6zu  %s\n", offsetof(S, slot) / sizeof(void *), #slot)
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


def program(compiler):
    lines = []
    for name, fields in sorted(structs(compiler).items()):
        whole, part = ("TABLE", "SLOT") if re.search(r"(Methods|Functions)$", name) else ("STRUCT", "FIELD")
        lines.append(f"  {whole}({name});")
        lines += [f"  {part}({name}, {field});" for field in fields]
    return PROLOGUE + "\n".join(lines) + "\n  return 0;\n}\n"


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
    source = program(c_compiler)
    as_c = layout(source, c_compiler, ["-x", "c", "-std=c11"])
    as_cxx = layout(source, cxx_compiler, ["-x", "c++", "-std=c++20"])
    if "--update" in sys.argv:
        EXPECTED.write_text(as_c)
    expected = EXPECTED.read_text()
    problems = difference(expected, as_c, "from C") + difference(expected, as_cxx, "from C++")
    if problems:
        problems.append("if nothing but new lines (+) stands here: layout.py --update")
    tree.finish(problems)


main()
