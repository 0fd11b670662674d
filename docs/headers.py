"""Shows Doxygen a public header as it reads once the class macros are expanded.

A class becomes two structs that extend those of its parent: `C` with the fields and `CMethods` with the
methods, each with its own line of the comment above `C_METHODS`; and the functions that every class has.
What the comments leave out stays without comment here, so that Doxygen warns of it.
"""

import re

COMMENT = r"(?:/\*\*(?P<comment>(?:(?!\*/)[\s\S])*)\*/\n)?"
LIST = re.compile(
    rf"^{COMMENT}#define (?P<name>(?P<owner>\w+)_(?P<kind>FIELDS|METHODS|FUNCTIONS))\b"
    r"(?P<body>(?:.*\\\n)*.*)",
    re.MULTILINE,
)
CLASS = re.compile(rf"^{COMMENT}ZT_DECLARE_CLASS(?P<functions>_FUNCTIONS)?\((?P<name>\w+)\)$", re.MULTILINE)
MEMBER = re.compile(r"\s*(?P<declaration>[^;/]+;)\s*(?:/\*\s*(?P<comment>.*?)\s*\*/)?")
NAME = re.compile(r"`(\w+)")
MACRO_OF = {
    "FIELDS": "What the list of fields of a subclass begins with: the fields of {0}.",
    "METHODS": "What the list of methods of a subclass begins with: see {0}Methods.",
    "FUNCTIONS": "The class functions that {0} adds to those of every class: see {0}Functions.",
}

CLASS_FUNCTIONS = {
    "static inline {0} *{0}_new(void)": (
        "Makes a {0} on the heap. The caller releases it with `unRef`; NULL when memory is exhausted."
    ),
    "static inline {0} *{0}_cast(const void *object)": (
        "The object as a {0}; NULL, with a line in the log, if it is none."
    ),
    "static inline const {0}Methods *{0}_of(const void *object)": (
        "The methods of an object of {0} or a subclass, for calls."
    ),
    "static inline const {0}Methods *{0}_table(void)": (
        "The methods of {0} itself, for calls of its versions from a subclass."
    ),
    "void *{0}_ctor(void *object, int32_t create)": (
        "Makes a {0} in the memory at @p object, or on the heap when that is NULL. Runs its `create` unless\n"
        "@p create is 0. Returns the object; NULL when memory is exhausted."
    ),
    "void *{0}_newop(void)": (
        "Makes a {0} on the heap whose `create` has not run. Returns it; NULL when memory is exhausted."
    ),
    "extern const uint32_t {0}_version_": "The version that is stored with a {0}.",
    "extern const char *const {0}_classname_": 'The name of the class, "{0}".',
    "ztClass *{0}Class_Instance(void)": "The descriptor of {0}; filled when the first object is made.",
    "uint32_t {0}Version(const void *ignored, const void *object)": "The version of the object's class.",
    "const char *{0}ClassName(const void *ignored, const void *object)": "The name of the object's class.",
    "void *{0}Allocator(const void *object)": (
        "The allocator that a host put into class slot 3 of the object's class, or NULL."
    ),
    "int32_t {0}IsClass(const void *ignored, const void *object, const char *name)": (
        "1 when the object's own class bears the name, else 0."
    ),
    "int32_t {0}IsClassOf(const void *ignored, const void *object, const char *name)": (
        "1 when the object's class or one of its ancestors bears the name, else 0."
    ),
    "void {0}InitTable(void *object)": "Writes the methods of {0} into the table of the object's class.",
}
CLASS_FUNCTION_TABLE = (
    "static inline const {0}Functions *{0}_functions(void)",
    "The class functions of {0}.",
)


def text_of(comment):
    """The lines of a comment without the stars at their front."""
    lines = [re.sub(r"^ \* ?", "", line) for line in (comment or "").splitlines()]
    return "\n".join(lines).strip()


def sentence(text):
    """The text, not beginning with a name, which lists of the pages would write with a capital letter."""
    return f"The class {text}" if text.startswith("zt") else text


def documented(text, declaration):
    return f"/** {text} */\n{declaration}\n" if text else f"{declaration}\n"


class List:
    """What one of the macros `C_FIELDS`, `C_METHODS` and `C_FUNCTIONS` says."""

    def __init__(self, match):
        kind = self.kind = match["kind"]
        body = re.sub(r"\\\n", "\n", match["body"])
        first = re.match(rf"\s*(\w+)_{kind}\b", body)
        self.parent = first[1] if first else None
        self.members = [
            (member["declaration"], re.sub(r"\s+", " ", member["comment"] or ""))
            for member in MEMBER.finditer(body, first.end() if first else 0)
        ]
        self.text, self.texts = self.parted(text_of(match["comment"]))

    def parted(self, text):
        """The text without the points on members of this list, and those by the member."""
        names = {self.name_of(declaration) for declaration, _ in self.members}
        head = r"`(\w+)(?:\([^`]*\))?`(?: \([^)]*\))?"
        heads = re.compile(rf"(?:(?<=[.;] )|(?<=\.\n)|^){head}(?:(?:, | and |,\n){head})*:", re.MULTILINE)
        texts = {}

        def part(point):
            words = re.sub(r"\n {2,}", "\n", point[1])
            found = [match for match in heads.finditer(words) if names.issuperset(NAME.findall(match[0]))]
            if not found or found[0].start() != 0:
                return point[0]
            ends = [match.start() for match in found[1:]] + [len(words)]
            for match, end in zip(found, ends):
                named = NAME.findall(match[0])
                alone = match[0] == f"`{named[0]}`:"
                said = words[match.end() if alone else match.start() : end].strip()
                for name in named:
                    texts[name] = said[0].upper() + said[1:]
            return ""

        text = re.sub(r"^ - ((?:.*\n(?=   ))*.*)\n?", part, text, flags=re.MULTILINE)
        return re.sub(r"\n{3,}", "\n\n", text), texts

    @staticmethod
    def name_of(declaration):
        pointer = re.search(r"\(\*(\w+)\)", declaration)
        return pointer[1] if pointer else re.search(r"(\w+)(?:\[\w+\])?;$", declaration)[1]

    def declarations(self):
        lines = ""
        for declaration, comment in self.members:
            number = r"(\d*)(?:: )?" if self.kind == "METHODS" else "()"
            slot, more = re.match(number + "(.*)", comment).groups()
            said = list(filter(None, [self.texts.get(self.name_of(declaration), ""), more]))
            # The number alone says nothing of what the method does.
            if said and slot:
                said.append(f"Slot {slot}.")
            lines += documented("\n\n".join(said), " ".join(declaration.split()))
        return lines

    def struct(self, name, parent, text):
        extends = f" : {parent}" if parent else ""
        return documented(text, f"struct {name}{extends} {{\n{self.declarations()}}};")


class Header:
    def __init__(self, path):
        self.path = path
        self.room = path.parent.name
        self.source = path.read_text()
        self.lists = {match["name"]: List(match) for match in LIST.finditer(self.source)}

    def expanded_class(self, match):
        name = match["name"]
        if match["functions"]:
            functions = self.lists[f"{name}_FUNCTIONS"]
            return functions.struct(
                f"{name}Functions", f"{functions.parent or 'ztClass'}Functions", functions.text
            ) + self.related(name, *CLASS_FUNCTION_TABLE)
        fields, methods = self.lists[f"{name}_FIELDS"], self.lists[f"{name}_METHODS"]
        said = text_of(match["comment"])
        more = re.sub(rf"^Fields of {name}\.\s*", "", fields.text)
        calls = f"Its methods: {name}Methods, called with `{name}_of(object)->method(object)`. What holds for all of " \
                f"them: {self.path.name}."
        about = said and "\n\n".join(filter(None, [said, more, calls, self.shape(name, fields.parent)]))
        expanded = fields.struct(name, fields.parent, about)
        above = methods.parent and f"{methods.parent}Methods"
        said = methods.text or f"The methods of {methods.parent}."
        expanded += methods.struct(f"{name}Methods", above, sentence(said) + f"\n\n{self.shape(f'{name}Methods', above)}")
        return expanded + "".join(self.related(name, *function) for function in CLASS_FUNCTIONS.items())

    @staticmethod
    def shape(name, parent):
        """What the page shows, and what a program writes instead."""
        if not parent:
            return ""
        return (f"The page shows {name} as an extension of {parent}, to lead to what both have. That is a picture: in"
                f" C, the members of {parent} are the first ones of {name} itself.")

    def related(self, name, declaration, text):
        """A declaration that stands on the page of the class, not on that of the room."""
        function = documented(f"@relates {name}\n{text.format(name)}", f"{declaration.format(name)};")
        return f"/** @}} */\n{function}/** @addtogroup {self.room}\n@{{ */\n"

    def expanded(self):
        def macro(match):
            return documented(MACRO_OF[match["kind"]].format(match["owner"]), f"#define {match['name']}")

        def members(match):
            return self.lists[match[1]].declarations()

        text = CLASS.sub(self.expanded_class, LIST.sub(macro, self.source))
        text = re.sub(r"^ +(\w+_FUNCTIONS)$", members, text, flags=re.MULTILINE)
        text = re.sub(r"(@file \S+\n \* )(?=zt)", r"\1The class ", text)
        guard = text.index("#ifndef")
        # The header that includes all others is in no room.
        if not LIST.search(self.source) and "#define ZT_ZENTOVA_H" in self.source:
            return text
        return f"{text[:guard]}/** @addtogroup {self.room}\n@{{ */\n{text[guard:]}\n/** @}} */"
