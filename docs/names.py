#!/usr/bin/env python3
"""Counts the public names and finds those without a comment: names.py <XML of Doxygen> <C compiler>

Which names C has, the compiler tells: the macros, types, functions, fields and methods that zentova.h declares. Which
names the layer for C++ has, Doxygen tells. Each must have its comment, and the pages show no name of C that the
compiler does not know.
"""

import pathlib
import re
import subprocess
import sys
import xml.etree.ElementTree

ROOT = pathlib.Path(__file__).resolve().parents[1]
NAMESPACE = "zt"
RECORD = re.compile(r"\b(struct|union|enum)\s+(\w+)\s*\{([^{}]*)\}")
INNERMOST = re.compile(r"\{[^{}]*\}")


# What the compiler knows ------------------------------------------------------------------------------------


def own_lines(compiler):
    """The lines of the library's own headers after preprocessing, with the definitions of macros."""
    command = [compiler, "-E", "-dD", "-x", "c", "-std=gnu11", "-I", ROOT, ROOT / "zentova.h"]
    own = False
    for line in subprocess.run(command, capture_output=True, text=True, check=True).stdout.splitlines():
        marker = re.match(r'# \d+ "([^"]*)"', line)
        if marker:
            own = ROOT in pathlib.Path(marker[1]).parents
        elif own:
            yield line


def without_attributes(text):
    return re.sub(r"__attribute__\s*\(\((?:[^()]|\([^()]*\))*\)\)", "", text)


def declared(declaration):
    """The name that a declaration of a field or a method declares."""
    pointer = re.search(r"\(\*\s*(\w+)\)\s*\(", declaration)
    return pointer or re.search(r"(\w+)\s*(?:\[[^\]]*\]\s*)*$", declaration)


def members_of(kind, body):
    parts = body.split(",") if kind == "enum" else body.split(";")
    names = (re.match(r"\s*(\w+)", part) if kind == "enum" else declared(part.strip()) for part in parts)
    return {name[1] for name in names if name}


class Declared:
    """The names of C: functions with types and macros, and the members of each record."""

    def __init__(self, compiler):
        lines = list(own_lines(compiler))
        defined = re.findall(r"^#define (\w+)(.*)", "\n".join(lines), re.M)
        # Without a body it is the guard of a header.
        self.macros = {name for name, body in defined if body.strip() or not re.fullmatch(r"ZT_\w+_H", name)}
        text = without_attributes("\n".join(line for line in lines if not line.startswith("#")))
        self.members = {name: members_of(kind, body) for kind, name, body in RECORD.findall(text)}
        flat = RECORD.sub(r"\1 \2", text)
        while INNERMOST.search(flat):
            flat = INNERMOST.sub(";", flat)
        typedefs = re.findall(r"\btypedef\b([^;]*);", flat)
        self.types = set(self.members) | {declared(typedef.strip())[1] for typedef in typedefs}
        statements = re.sub(r"\btypedef\b[^;]*;", "", flat).split(";")
        functions = (re.search(r"\b(\w+)\s*\(", statement) for statement in statements)
        constants = (re.match(r"\s*extern\b[^()]*?(\w+)\s*$", statement) for statement in statements)
        self.functions = {name[1] for names in (functions, constants) for name in names if name}
        self.words = set(re.findall(r"\w+", text)) | self.macros


# What the pages say -----------------------------------------------------------------------------------------


def has_comment(element):
    return any("".join(description.itertext()).strip()
               for kind in ("briefdescription", "detaileddescription") for description in element.findall(kind))


class Documented:
    """The names on the pages of the headers, each with whether it has a comment."""

    def __init__(self, folder):
        self.names, self.members, self.parents, self.cpp = {}, {}, {}, {}
        for path in sorted(pathlib.Path(folder).glob("*.xml")):
            for compound in xml.etree.ElementTree.parse(path).getroot().iter("compounddef"):
                self.add(compound)

    def add(self, compound):
        kind, name = compound.get("kind"), compound.findtext("compoundname")
        if kind not in ("struct", "union", "class", "concept", "namespace", "file", "group"):
            return
        is_record = kind in ("struct", "union", "class")
        if name.split("::")[0] == NAMESPACE:
            self.cpp[name] = has_comment(compound)
        elif is_record:
            self.names[name] = has_comment(compound)
            self.members[name] = {}
            self.parents[name] = [parent.text for parent in compound.findall("basecompoundref")]
        for section in compound.findall("sectiondef"):
            # The functions of a class stand on its page.
            are_fields = is_record and section.get("kind") != "related"
            for member in section.findall("memberdef"):
                if member.get("prot") == "public":
                    self.add_member(name, member, are_fields)

    def add_member(self, owner, member, is_field):
        name, commented = member.findtext("name"), has_comment(member)
        qualified = member.findtext("qualifiedname") or name
        if NAMESPACE in (owner.split("::")[0], qualified.split("::")[0]):
            # Functions of one name are told apart.
            self.cpp[f"{qualified} {member.get('id')}"] = commented
            return
        (self.members[owner] if is_field else self.names)[name] = commented
        values = {value.findtext("name"): has_comment(value) for value in member.findall("enumvalue")}
        if values:
            self.members[name] = values

    def knows(self, record, member):
        """Whether a member has its comment on the page of the record or of what that extends."""
        return self.members.get(record, {}).get(member) or any(
            self.knows(parent, member) for parent in self.parents.get(record, []))


def problems(c, pages):
    for name in sorted(c.macros | c.types | c.functions):
        if not pages.names.get(name):
            yield f"without a comment: {name}"
    for record, members in sorted(c.members.items()):
        for member in sorted(members):
            if not pages.knows(record, member):
                yield f"without a comment: {member} of {record}"
    for name in sorted({*pages.names, *(name for members in pages.members.values() for name in members)} - c.words):
        yield f"no name of C: {name}"
    for name, commented in sorted(pages.cpp.items()):
        if not commented:
            yield f"without a comment: {name.split()[0]}"


def main():
    c, pages = Declared(sys.argv[2]), Documented(sys.argv[1])
    found = list(problems(c, pages))
    for problem in found:
        print(problem, file=sys.stderr)
    members = sum(len(members) for members in pages.members.values())
    print(f"Names in C: {len(c.macros)} macros, {len(c.types)} types, {len(c.functions)} functions and constants, "
          f"{members} fields and methods. Names in C++: {len(pages.cpp)}. Without a comment: {len(found)}.")
    sys.exit(1 if found or not pages.cpp or not members else 0)


if __name__ == "__main__":
    main()
