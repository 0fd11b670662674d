"""Shows Doxygen zentova.hpp as a program sees it: with all of its namespace in the group `cpp`, and without what only
the compiler reads, the constraints of templates and the names of the private namespace."""

import re

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


def shown(text):
    begin, end = "\nnamespace zt {\n", "\n}  // namespace zt\n"
    text = without_constraints(PRIVATE.sub("", text))
    for pattern, instead in FOUND_OUT:
        while (changed := re.sub(pattern, instead, text)) != text:
            text = changed
    head, inside = text.split(begin, 1)
    inside, tail = inside.rsplit(end, 1)
    return f"{head}{begin}/** @addtogroup cpp\n@{{ */\n{inside}\n/** @}} */{end}{tail}"
