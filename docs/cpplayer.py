"""Shows Doxygen zentova.hpp as a program sees it: as one header, with all of its namespace in the group `cpp`, and
without what only the compiler reads, the constraints of templates and the names of the private namespace."""

import pathlib
import re

ROOT = pathlib.Path(__file__).resolve().parents[1]
HEADER = ROOT / "zentova.hpp"

PART = re.compile(r'^#include "(cpp/.*)"\n', re.M)
PRIVATE = re.compile(r"/\*\* @cond private \*/.*?/\*\* @endcond \*/\n", re.S)
# After a template's parameters or a function's arguments; elsewhere it is part of an expression.
CONSTRAINT = re.compile(r"(?<=[>)])(\s+)requires\s*")
BRACKETS = {"(": ")", "<": ">"}
# What stands for a type that the compiler finds out.
FOUND_OUT = [
    (r"template <([^<>]*)\bdetail::\w+\b", r"template <\1typename"),
    (r": detail::CopyBegins<[^{]*\{", ": Parent {"),
    (r"detail::Owned<((?:Array|List|Map|HashTable)View<[^>]*>)>(?=\s*\{)", r"\1"),
    (r"(?:const )?(?:Own<)?detail::\w+<[^;{}()]*> \*?(?=(?:methods|takeChild)\()", "auto "),
    (r"=\s+detail::Signature<[^;{]*?>::count\b", "= ..."),
    (r"(using \w+ =) detail::[^;]*;", r"\1 ...;"),
]


def closing(text, start):
    """Behind the bracket that closes the one at a place."""
    opening, depth = text[start], 0
    for place in range(start, len(text)):
        depth += (text[place] == opening) - (text[place] == BRACKETS[opening])
        if depth == 0:
            return place + 1
    raise ValueError(f"not closed: {text[start:start + 40]}")


def without_constraints(text):
    while match := CONSTRAINT.search(text):
        bracket = re.compile(r"[\w:]*\s*(?=[(<])").match(text, match.end())
        text = text[:match.start()] + match[1] + text[closing(text, bracket.end()):].lstrip()
    return text


BEGIN, END = "\nnamespace zt {\n", "\n}  // namespace zt\n"


def names_of(path, seen):
    """What is in the namespace of a header, after that of the headers which it includes."""
    text = path.read_text()
    names = "".join(names_of(ROOT / part, seen) for part in PART.findall(text) if part not in seen and not seen.add(part))
    inside = text.split(BEGIN, 1)
    return names + (inside[1].rsplit(END, 1)[0] if len(inside) == 2 else "")


def shown():
    inside = without_constraints(PRIVATE.sub("", names_of(HEADER, set())))
    for pattern, instead in FOUND_OUT:
        while (changed := re.sub(pattern, instead, inside)) != inside:
            inside = changed
    about = HEADER.read_text().split("#ifndef", 1)[0]
    return (f"{about}/** The layer for C++20: see zentova.hpp. */{BEGIN}/** @addtogroup cpp\n@{{ */\n{inside}\n"
            f"/** @}} */{END}")
