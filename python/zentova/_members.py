"""The members of a class: methods, fields and class functions, made from their C declarations on their first use."""

from __future__ import annotations

import ctypes
import functools
import keyword
import operator
from ctypes import c_void_p
from types import FunctionType
from typing import Any, Callable

from . import _declare as declare
from . import _engine as engine
from . import _objects as objects
from . import _policy as policy
from ._engine import known, word_at
from .errors import Error, UnsafeError

ABSTRACT = engine.address_of("ztOOP_ztVirtualFuncHandler")
DATA = 3  # ztMethodData
#: How a text of the engine becomes one of Python, and the other way, in the functions that are made here.
DECODED = ["try: return r.decode()", "except (AttributeError, UnicodeDecodeError): return bytes_to_text(r)"]
ENCODED = ["try: data = value.encode()", "except UnicodeEncodeError: data = text_to_bytes(value)"]
#: Numbers up to this one have one digit in the interpreter.
SMALL = 2**30 - 1

#: Classes of arguments that a program vouched for: see zt.declare().
vouched: dict[tuple[int, str, str], Any] = {}


class Method:
    """A method that was not called yet."""

    __slots__ = ("cls", "name", "slot", "text", "introduced", "defined")

    def __init__(self, cls: Any, name: str, slot: int, text: str, introduced: int, defined: int) -> None:
        self.cls, self.name, self.slot, self.text = cls, name, slot, text
        self.introduced, self.defined = introduced, defined

    def __get__(self, wrapper: Any, owner: Any = None) -> Any:
        function = self.make()
        if self.cls.__dict__.get(self.name) is self:
            setattr(self.cls, self.name, function)
        return getattr(function, "for_any", function) if wrapper is None else function.__get__(wrapper, owner)

    def make(self) -> Any:
        cls, name = self.cls, self.name
        introduced = objects.class_at(self.introduced)._name
        library = objects.is_library(introduced)
        if library:
            why = policy.refusal(introduced, name)
            if why:
                return refused(cls, name, why)
        place = word_at(cls._klass + 40) + 8 * self.slot
        if word_at(place) in (0, ABSTRACT):
            return left_open(cls, name)
        declaration = declare.parse(self.text)
        if declaration is None or not declaration.is_passable:
            return refused(cls, name, f"its declaration cannot be served: {self.text}")
        try:
            return build(cls, name, declaration, place, introduced, self.defined, library)
        except UnsafeError as problem:
            return refused(cls, name, str(problem))


def refused(cls: Any, name: str, why: str) -> Callable[..., Any]:
    def function(self: Any, *args: Any, **named: Any) -> Any:
        raise UnsafeError(f"{cls.__name__}.{name} is not called from Python: {why}")
    function.__name__ = name
    function.__doc__ = f"Not called from Python: {why}."
    function.of_engine = True  # type: ignore[attr-defined]
    return function


def left_open(cls: Any, name: str) -> Callable[..., Any]:
    def function(self: Any, *args: Any, **named: Any) -> Any:
        raise Error(f"no class up to {cls.__name__} defines {name}")
    function.__name__ = name
    function.of_engine = True  # type: ignore[attr-defined]
    return function


def is_made(member: Any) -> bool:
    """Whether a member of a class was made from the description of a method."""
    return isinstance(member, Method) or getattr(member, "of_engine", False)


# Arguments ----------------------------------------------------------------------------------------------------------------


def wrong_number(value: Any, name: str, kind: Any) -> Any:
    if type(value) is bool or hasattr(value, "__index__") and not isinstance(value, float):
        low, high = declare.RANGES[kind]
        number = int.__index__(operator.index(value))
        if low <= number <= high:
            return number
        raise OverflowError(f"{name} is from {low} to {high}, not {number}")
    raise TypeError(f"{name} is a whole number, not {type(value).__name__}")


def wrong_object(value: Any, name: str, cls: Any) -> Any:
    if isinstance(value, objects.Object):
        if isinstance(value, cls):
            engine.ended(value)
        raise TypeError(f"{name} is a {cls.__name__}, not a {type(value).__name__}")
    raise TypeError(f"{name} is a {cls.__name__}, not {'None' if value is None else type(value).__name__}")


def wrong_self(value: Any, cls: Any) -> None:
    raise TypeError(f"a method of {cls.__name__} was called for {type(value).__name__}")


def number_of(value: Any, name: str) -> float:
    try:
        return float(value) if not isinstance(value, (str, bytes)) else float_refused(value, name)
    except (TypeError, ValueError):
        raise TypeError(f"{name} is a number, not {type(value).__name__}") from None


def float_refused(value: Any, name: str) -> float:
    raise TypeError(f"{name} is a number, not {type(value).__name__}")


class Source:
    """The text of a function in Python that calls one in C: compiled once for a method of a class."""

    def __init__(self, cls: Any, name: str) -> None:
        self.names: dict[str, Any] = {
            "K": cls, "isinstance": isinstance, "ended": engine.ended, "pending": engine.pending, "int": int,
            "raise_pending": engine.raise_pending, "failed": engine.failed, "wrong_self": wrong_self, "type": type,
            "wrong_number": wrong_number, "wrong_object": wrong_object, "number_of": number_of,
            "text_to_bytes": engine.text_to_bytes, "log": engine.log, "bytes_to_text": engine.bytes_to_text,
        }
        self.cls, self.name = cls, name
        self.parameters: list[str] = []
        self.before: list[str] = []
        # Behind all conversions, which may run other code in Python: it may end an object.
        self.checks = ["if not self._c: ended(self)"]
        self.passed: list[str] = []
        self.outs: list[str] = []
        self.after: list[str] = []

    def parameter(self, name: str) -> str:
        safe = name if name and not keyword.iskeyword(name) else f"{name or 'argument'}_"
        while safe in self.parameters or safe in self.names or safe in ("self", "c", "r"):
            safe += "_"
        self.parameters.append(safe)
        return safe

    def add_number(self, parameter: declare.Parameter) -> None:
        name, kind = self.parameter(parameter.name), parameter.type.number
        self.names[kind.__name__] = kind
        if kind in declare.FLOATS:
            self.before.append(f"if type({name}) is not float: {name} = number_of({name}, {name!r})")
            self.passed.append(f"{kind.__name__}({name})")
            return
        # The interpreter compares small numbers faster. Larger ones, too, are found to be right or wrong there.
        low, high = max(declare.RANGES[kind][0], -SMALL), min(declare.RANGES[kind][1], SMALL)
        self.before.append(f"if type({name}) is not int or not {low} <= {name} <= {high}: "
                           f"{name} = wrong_number({name}, {name!r}, {kind.__name__})")
        # Whole numbers are passed as 32 bits.
        self.passed.append(f"{kind.__name__}({name})" if ctypes.sizeof(kind) == 8 else name)

    def add_text(self, parameter: declare.Parameter) -> None:
        name = self.parameter(parameter.name)
        self.before.append(f"{name} = text_to_bytes({name})")
        self.passed.append(name)

    def add_object(self, parameter: declare.Parameter, wanted: Any, taken: bool) -> None:
        name = self.parameter(parameter.name)
        kind = f"K{len(self.parameters)}"
        self.names[kind] = wanted
        self.checks.append(f"if not isinstance({name}, {kind}) or not {name}._c: "
                           f"wrong_object({name}, {name!r}, {kind})")
        self.passed.append(f"{name}._p")
        if taken:
            self.names["hand_over"] = hand_over
            self.after.append(f"hand_over({name}, r, self)")

    def add_out(self, parameter: declare.Parameter) -> None:
        kind = declare.NUMBERS[parameter.type.base]
        name = f"out{len(self.outs)}"
        self.names[kind.__name__], self.names["byref"] = kind, ctypes.byref
        self.before.append(f"{name} = {kind.__name__}()")
        self.passed.append(f"byref({name})")
        self.outs.append(f"{name}.value")

    def compile(self, call: str, result: list[str], doc: str) -> Any:
        lines = [
            f"def method({', '.join(['self'] + self.parameters)}):",
            *(f" {line}" for line in self.before + self.checks),
            f" r = {call}({', '.join(self.passed)})",
            " if pending: raise_pending()",
            *(f" {line}" for line in self.after + result),
        ]
        exec("\n".join(lines), self.names)
        function = self.names["method"]
        function.__name__ = self.name
        function.__doc__ = doc
        function.of_engine = True
        # Called on an object, the class of the object is right. Taken from the class, any object may come.
        function.for_any = checked(self.cls, function)
        function.__qualname__ = f"{self.cls.__name__}.{self.name}"
        return function


def hand_over(wrapper: Any, result: Any, by: Any) -> None:
    """After a call that took an object over: its wrapper no longer owns it."""
    if result == 0 and result is not None:
        return
    wrapper._owned = False
    wrapper._keep = by
    if not wrapper._watched:
        wrapper._c.value = None


def class_of_parameter(cls: Any, method: str, introduced: str, defined: int, parameter: declare.Parameter,
                       library: bool) -> tuple[Any, bool]:
    """The class that an argument which is a pointer must have, and whether the call takes it over."""
    taken = parameter.type.mark == "ztOwned"
    promised = vouched.get((cls._klass, method, parameter.name))
    for above in cls.__mro__:
        promised = promised or vouched.get((above.__dict__.get("_klass", 0), method, parameter.name))
    if promised is not None:
        return promised, taken
    role = policy.OBJECTS.get(f"{introduced}.{method}", {}).get(parameter.name)
    if role == "same":
        # A host's override may expect its own class.
        return objects.class_at(defined) if defined else cls, False
    if role is not None:
        words = role.split()
        return objects.class_named(words[-1]), words[0] == "taken"
    if parameter.type.base == "void" and parameter.name == "file":
        return objects.class_named("ztFile"), taken
    if parameter.type.base not in ("void", "char") and parameter.type.stars == 1 and not library:
        named = objects.class_named(parameter.type.base)
        if named is not None:
            return named, taken
    raise UnsafeError(f"nothing tells what its argument {parameter.name or parameter.type!s} leads to"
                      + ("" if library else f": zt.declare({cls.__name__}, {method!r}, {parameter.name}=...) does"))


def build(cls: Any, name: str, declaration: declare.Declaration, place: int, introduced: str, defined: int,
          library: bool) -> Any:
    """The function in Python for a method."""
    source = Source(cls, name)
    parameters = list(declaration.parameters)
    if not parameters or parameters[0].type.stars != 1:
        raise UnsafeError("it does not take the object first")
    if parameters[0].type.base == "ztClass":
        source.names["klass"] = c_void_p(cls._klass)
        source.passed.append("klass")
        if len(parameters) > 1 and parameters[1].name == "object":
            source.passed.append("self._p")
            del parameters[1]
    elif parameters[0].type.base in ("void", introduced):
        source.passed.append("self._p")
        if parameters[0].type.mark == "ztOwned":
            if (introduced, name) != ("ztRoot", "setParent"):
                raise UnsafeError("the call takes the object over")
            source.names["moved"], source.names["references"] = moved, references
            source.before.append("before = references(self)")
            source.after.append("moved(self, r, parent, before)")
    else:
        raise UnsafeError("it does not take the object first")
    for parameter in parameters[1:]:
        kind = parameter.type
        if kind.number is not None:
            source.add_number(parameter)
        elif kind.is_text and (kind.const or kind.mark == "ztBorrowedText"):
            source.add_text(parameter)
        elif kind.stars == 1 and kind.base in declare.NUMBERS and not kind.const and not kind.mark.endswith("Text") \
                and parameter.name.lower().endswith("out"):
            source.add_out(parameter)
        elif kind.stars == 1:
            wanted, taken = class_of_parameter(cls, name, introduced, defined, parameter, library)
            if (introduced, name) == ("ztRoot", "setParent"):
                optional_parent(source, wanted)
            else:
                source.add_object(parameter, wanted, taken)
        else:
            raise UnsafeError(f"its argument {parameter.name or kind!s} cannot be made in Python")
    fails = (name in policy.FAILS.get(introduced, ())) if library else bool(source.outs)
    if introduced == "ztFile":
        fails = fails or bool(source.outs)
    restype, result = result_of(source, declaration.result, introduced, name, library)
    what = f"{cls.__name__}.{name} failed"
    if fails:
        source.before.insert(0, "log.mark()")
        result.insert(0, f"if not r: failed({what!r})")
    elif name in policy.NOT_ZERO.get(introduced, ()):
        source.before.insert(0, "log.mark()")
        result.insert(0, f"if r: failed({what!r})")
    if source.outs:
        result[-1] = f"return {', '.join(source.outs)}"
    source.names["f"] = form_of_call(introduced, name, defined)(restype).from_address(place)
    return source.compile("f", result, str(declaration_text(declaration)))


def form_of_call(introduced: str, name: str, defined: int) -> Any:
    """How a method is called. Other threads of Python run meanwhile where it may wait: in those of files, in what stores
    objects, and in those of hosts."""
    own = objects.is_library(objects.class_at(defined)._name) if defined else False
    short = own and introduced != "ztFile" and name not in ("read", "write")
    return ctypes.PYFUNCTYPE if short else ctypes.CFUNCTYPE


def optional_parent(source: Source, wanted: Any) -> None:
    """The argument of setParent may be None."""
    name = source.parameter("parent")
    source.names["Root"] = wanted
    source.checks.append(f"if {name} is not None and (not isinstance({name}, Root) or not {name}._c): "
                         f"wrong_object({name}, {name!r}, Root)")
    source.passed.append(f"(None if {name} is None else {name}._p)")


class Left:
    """What a wrapper keeps whose node has left a parent: nothing, but the node has a reference more than a new one."""

    def __bool__(self) -> bool:
        return False


LEFT = Left()


def references(wrapper: Any) -> int:
    """The references to a node that has or had a parent; 0 for a new one."""
    if not wrapper._c or not (word_at(wrapper._a + 136) or wrapper._keep is LEFT):
        return 0
    return ctypes.c_int32.from_address(wrapper._a + 8).value


def drop_added(node: Any, before: int) -> None:
    """Drops the references that a node got while it moved from a parent: one for leaving it, and one from the next. It
    had all that it needs."""
    for _ in range(1 + bool(references(node))):
        if before and node._c and ctypes.c_int32.from_address(node._a + 8).value > max(before, 2):
            objects.drop(node._a, word_at(node._a))


def moved(wrapper: Any, result: Any, parent: Any, before: int) -> None:
    """After setParent: a node without a parent belongs to its wrapper, one with a parent to that."""
    drop_added(wrapper, before)
    if result == 0:
        return
    if parent is None:
        if before or not wrapper._owned:
            wrapper._owned, wrapper._keep = True, LEFT
        objects.made[wrapper._a] = objects.weakref.ref(wrapper)
    else:
        wrapper._owned, wrapper._keep = False, parent


def declaration_text(declaration: declare.Declaration) -> str:
    arguments = ", ".join(f"{p.type} {p.name}".strip() for p in declaration.parameters)
    return f"{declaration.result} {declaration.name}({arguments})"


def result_of(source: Source, kind: declare.Type, introduced: str, name: str, library: bool) -> tuple[Any, list[str]]:
    """What ctypes gives, and the lines that make of it what the method returns."""
    if kind.is_void:
        return None, ["return None"]
    if kind.number is not None:
        return kind.number, ["return r"]
    if kind.is_text and kind.mark == "ztOwnedText":
        source.names["owned_text"] = owned_text
        return c_void_p, ["return owned_text(r)"]
    if kind.is_text:
        return ctypes.c_char_p, list(DECODED)
    role = policy.RESULTS.get(f"{introduced}.{name}")
    if role == "object":
        source.names["borrow"] = objects.borrow
        return c_void_p, ["return borrow(r, self)"]
    if role == "done":
        source.before.insert(0, "log.mark()")
        return c_void_p, [f"if not r: failed({source.cls.__name__ + '.' + name + ' failed'!r})", "return None"]
    if kind.mark == "ztOwned" and not library:
        source.names["owned_result"] = owned_result
        return c_void_p, ["return owned_result(r)"]
    source.names["guess"] = objects.guess
    named = kind.stars == 1 and kind.base not in ("void", *declare.NUMBERS) and not library
    if named and kind.base == "ztString":
        source.names["string_text"] = string_text
        return c_void_p, ["return string_text(r)"]
    return c_void_p, ["return self if r == self._a else guess(r, self)"]


def owned_text(address: int | None) -> str | None:
    text = engine.text_at(address)
    engine.release_memory(address)
    return text


def owned_result(address: int | None) -> Any:
    """A result that the caller releases."""
    if not address:
        return None
    klass = engine.word_if_readable(address)
    if klass not in objects.descriptors():
        return objects.pointer(address)
    return objects.wrap_made(address, objects.class_at(klass))


def string_text(address: int | None) -> str | None:
    """The text of a ztString that belongs to another object; None if there is none."""
    if not address or engine.word_if_readable(address) not in objects.descriptors():
        return None
    return engine.text_at(string_characters(address))


def string_characters(address: int) -> int:
    """The characters of a ztString; 0 for none."""
    get = ctypes.CFUNCTYPE(c_void_p).from_address(word_at(word_at(address) + 40) + 8 * 18)
    return get(c_void_p(address)) or 0


# Fields -----------------------------------------------------------------------------------------------------------------


class Field:
    """A field of the objects of a class. Those of the library are only read: its methods keep them in order."""

    __slots__ = ("cls", "name", "offset", "kind", "length", "text", "writable")

    def __init__(self, cls: Any, name: str, offset: int, text: str, writable: bool) -> None:
        self.cls, self.name, self.offset, self.text, self.writable = cls, name, offset, text, writable
        self.kind, self.length = declare.parse_field(text)

    def __get__(self, wrapper: Any, owner: Any = None) -> Any:
        if wrapper is None:
            return self
        if not isinstance(wrapper, self.cls):
            wrong_self(wrapper, self.cls)
        if not wrapper._c:
            engine.ended(wrapper)
        place = wrapper._a + self.offset
        number = self.kind.number
        if self.is_link:
            from ._links import link_at
            return link_at(wrapper, place)
        if number is not None and self.length:
            if self.kind.base == "char":
                return engine.bytes_to_text(ctypes.string_at(place, self.length).split(b"\0")[0])
            return tuple((number * self.length).from_address(place))
        if number is not None:
            return number.from_address(place).value
        if self.length or not self.kind.stars:
            raise UnsafeError(f"a field of the type {self.text} is not read in Python")
        address = word_at(place)
        if self.kind.base == "ztClass":
            return objects.class_at(address) if address in objects.descriptors() else None
        if self.kind.base == "ztString" and self.kind.stars == 1:
            return string_text(address)
        return objects.pointer(address)

    @property
    def is_link(self) -> bool:
        """Whether it is a link in the memory of an object whose end is noticed."""
        return self.kind.base == "ztLink" and not self.kind.stars and not self.length and self.cls._watched

    def __set__(self, wrapper: Any, value: Any) -> None:
        if not isinstance(wrapper, self.cls):
            wrong_self(wrapper, self.cls)
        if not wrapper._c:
            engine.ended(wrapper)
        number = self.kind.number
        if not self.writable or number is None or (self.length and self.kind.base != "char"):
            raise AttributeError(f"the field {self.name} of {self.cls.__name__} is only read")
        if self.length:
            data = engine.text_to_bytes(value)
            if len(data) >= self.length:
                raise ValueError(f"{self.name} has room for {self.length - 1} bytes")
            ctypes.memmove(wrapper._a + self.offset, data + bytes(self.length - len(data)), self.length)
            return
        given = number_of(value, self.name) if number in declare.FLOATS else wrong_number(value, self.name, number)
        if not wrapper._c:
            engine.ended(wrapper)  # by what the conversion ran
        number.from_address(wrapper._a + self.offset).value = given


# All of them ----------------------------------------------------------------------------------------------------------------


def members(cls: Any, info: engine.ClassInfo) -> None:
    """Puts the methods, fields and properties into a class that was just made."""
    from ._properties import add_properties
    namespace: dict[str, Any] = {}
    for at in range(info.fieldCount):
        field = info.fields[at]
        owner = objects.class_at(field.introducedBy) if field.introducedBy != cls._klass else cls
        name = known(field.name)
        if owner is cls and field.offset >= 0 and not hasattr(objects.Object, name):
            namespace[name] = Field(cls, name, field.offset, known(field.type), not objects.is_library(cls._name))
    own = objects.extras.get(cls._name, {})
    for at in range(info.methodCount):
        method = info.methods[at]
        name = known(method.name)
        if not name or method.state == DATA or name in RESERVED:
            continue
        if name in own or any(name in objects.extras.get(above._name, ()) for above in cls.__mro__[1:-2]):
            continue
        if not known(method.declaration).lstrip().startswith("void *") or "(*" in known(method.declaration):
            namespace[name] = Method(cls, name, method.slot, known(method.declaration), method.introducedBy,
                                     method.definedBy or 0)
    namespace.update({name: checked(cls, value) if isinstance(value, FunctionType) else value
                      for name, value in own.items()})
    for name, value in namespace.items():
        setattr(cls, name, value)
    if cls._watched:
        add_properties(cls)


def checked(cls: Any, function: Any) -> Any:
    """A function of a class, for its living objects only."""
    @functools.wraps(function)
    def method(self: Any, *args: Any, **named: Any) -> Any:
        if not isinstance(self, cls):
            wrong_self(self, cls)
        with engine.whole:
            if not self._c and not function.__name__.endswith("representation"):
                engine.ended(self)
            return function(self, *args, **named)
    return method


#: Methods of all classes that have a form of their own in Python.
RESERVED = frozenset({"unRef", "clone", "release", "up", "has_ended"})


def declare_arguments(cls: Any, method: str, **arguments: Any) -> None:
    """Vouches for what untyped pointers of a plugin's method lead to: declare(Gauge, "distance", other=Gauge)."""
    if not isinstance(cls, objects.EngineClass) or not cls._klass:
        raise TypeError("a class of the engine is needed")
    for name, wanted in arguments.items():
        if not isinstance(wanted, objects.EngineClass) or not wanted._klass:
            raise TypeError(f"{name}: a class of the engine is needed")
        vouched[(cls._klass, method, name)] = wanted
    renew(cls)


def renew(cls: Any) -> None:
    """Makes the methods of a class and of those below anew on their next use."""
    info = engine.class_info(cls._klass)
    if not info:
        engine.failed("the class cannot be described")
    try:
        for at in range(info.contents.methodCount):
            method = info.contents.methods[at]
            name = known(method.name)
            if is_made(cls.__dict__.get(name)):
                setattr(cls, name, Method(cls, name, method.slot, known(method.declaration), method.introducedBy,
                                          method.definedBy or 0))
    finally:
        engine.free_class_info(info)
    for below in cls.__subclasses__():
        renew(below)
