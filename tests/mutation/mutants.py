"""The small faults that can be put into a source: one operator, constant or statement at a time."""

import re

# What stands between these is no code of a function.
SKIPPED_LINES = re.compile(r"^\s*(#|static_assert|ZT_PIN_|template|using |namespace|inline constexpr)")
MASKED = re.compile(r'//[^\n]*|/\*.*?\*/|"(?:\\.|[^"\\\n])*"|\'(?:\\.|[^\'\\\n])*\'', re.DOTALL)

OPERATORS = {
    "<": "<=", "<=": "<", ">": ">=", ">=": ">", "==": "!=", "!=": "==",
    "&&": "||", "||": "&&", "+": "-", "-": "+", "*": "+", "/": "*", "%": "/", "&": "|", "|": "&",
    "+=": "-=", "-=": "+=", "|=": "&=", "&=": "|=", "<<": ">>", ">>": "<<",
}
BINARY = re.compile(r" ([<>=!&|+\-*/%]{1,2}) ")
STEP = re.compile(r"\+\+|--")
NOT = re.compile(r"!(?=[\w(])")
NUMBER = re.compile(r"(?<![\w.'])(0[xX][0-9a-fA-F]+|\d+)(?=[uUlL]*(?![\w.']))")
TRUTH = re.compile(r"\b(true|false)\b")
STATEMENT = re.compile(r"^\s+((?!return\b|goto\b|case\b|default\b|else\b|if\b|for\b|while\b|do\b|switch\b)"
                       r"(?:[*(]*[\w:]+[^;=]*?(?:[-+*/%|&]?=(?!=)|\()[^;]*|break|continue|(?:\+\+|--)[^;]+|[^;]+(?:\+\+|--)));$")
DECLARATION = re.compile(r"^\s*(?:static |const |constexpr |auto |extern |typedef |struct |enum |union |va_list |"
                         r"[A-Za-z_][\w:]*(?:<[^;()]*>)?[ *&]+[A-Za-z_]\w*(?:\[[^\]]*\])?\s*(?:=|;|\{|$|\())")


def masked(text):
    """The text with blanks for all that is no code, at the same places."""
    return MASKED.sub(lambda found: re.sub(r"[^\n]", " ", found.group()), text)


def other_number(text):
    value = int(text, 8) if re.fullmatch("0[0-7]+", text) else int(text, 0)
    return {0: "1", 1: "0"}.get(value) or (hex(value + 1) if text[:2] in ("0x", "0X") else str(value + 1))


def within_line(line, start):
    for found in BINARY.finditer(line):
        if found.group(1) in OPERATORS:
            yield start + found.start(1), found.group(1), OPERATORS[found.group(1)]
    for found in STEP.finditer(line):
        yield start + found.start(), found.group(), "--" if found.group() == "++" else "++"
    for found in NOT.finditer(line):
        yield start + found.start(), "!", ""
    for found in NUMBER.finditer(line):
        yield start + found.start(1), found.group(1), other_number(found.group(1))
    for found in TRUTH.finditer(line):
        yield start + found.start(), found.group(), "false" if found.group() == "true" else "true"


def mutants(text):
    """All faults of a source, each as (place, what stands there, what is put there)."""
    start = 0
    before = ";"
    for line in masked(text).splitlines(keepends=True):
        code = line.strip()
        if code and not SKIPPED_LINES.match(line):
            yield from within_line(line, start)
            statement = STATEMENT.match(line.rstrip())
            if statement and before[-1] in ";{}:)" and not DECLARATION.match(line):
                yield start + statement.start(1), statement.group(1), ""
        if code:
            before = code
        start += len(line)
