"""Classes and objects of the engine as classes and objects of Python."""

from __future__ import annotations

import ctypes
import threading
import weakref
from ctypes import c_void_p
from types import FunctionType
from typing import TYPE_CHECKING, Any, Iterator

from . import _engine as engine
from ._engine import ended, failed, known, pending, raise_pending, running, word_at
from ._policy import NOT_MADE
from .errors import Error, UnsafeError

#: Numbers of slots that never change.
CTOR, CREATE, CLONE, ASSIGN, DESTROY, READ, WRITE, UNREF = 1, 4, 5, 6, 10, 11, 12, 14
SET_PROPERTY, GET_PROPERTY = 26, 27
GET_VALUE, SET_VALUE = 16, 16

#: Classes by the addresses of their descriptors.
by_address: dict[int, "EngineClass"] = {}
#: Wrappers of objects that Python made or whose class is Python's, by address.
made: dict[int, "weakref.ref[Object]"] = {}
#: The attributes of objects whose class is Python's: they live as long as the object, not as its wrapper.
attributes: dict[int, dict[str, Any]] = {}
#: What is done for the classes of a name when they are made: see _containers and _mappings.
extras: dict[str, dict[str, Any]] = {}


class Pointer(engine.Unique):
    """An address that the engine gave and nothing describes. It is neither followed nor made in Python."""

    __slots__ = ("_address",)
    _address: int

    def __init__(self, *args: Any) -> None:
        raise TypeError("addresses are not made in Python")

    def __eq__(self, other: object) -> bool:
        return isinstance(other, Pointer) and other._address == self._address

    def __hash__(self) -> int:
        return hash(self._address)

    def __repr__(self) -> str:
        return f"<zentova.Pointer {self._address:#x}>"


def pointer(address: int | None) -> Pointer | None:
    if not address:
        return None
    made_one = object.__new__(Pointer)
    made_one._address = address
    return made_one


class Calls(threading.local):
    """The functions in Python that C is calling in this thread, and what waits for their end."""

    def __init__(self) -> None:
        self.depth = 0  # of all
        self.methods = 0  # of those that are methods
        self.waiting: list[tuple[int, int]] = []  # objects to release
        self.thunks: list[Any] = []  # functions in C that may still be running
        self.passing: list[c_void_p] = []  # the addresses of objects that are only known to be there during a call
        self.running: list[tuple[Any, str, Any]] = []  # methods: the object, the name, and the class whose it is
        self.begun: list[list[Any]] = []  # objects whose create runs, and whether that of the class in C has run

    def enter(self, method: bool) -> int:
        """Before each function; gives what leave() takes."""
        self.depth += 1
        self.methods += method
        return len(self.passing)

    def leave(self, passing: int, method: bool) -> None:
        """After each function; releases what waited once it can."""
        while len(self.passing) > passing:
            self.passing.pop().value = None
        self.methods -= method
        self.depth -= 1
        if self.depth == 0:
            if self.thunks:
                self.thunks = []
            while self.waiting and self.depth == 0:
                drop(*self.waiting.pop())


calls = Calls()

_UNREF = ctypes.PYFUNCTYPE(None)


def drop(address: int, klass: int) -> None:
    """Releases an object by the `unRef` of its class. Other threads of Python wait."""
    with engine.whole:
        drop_now(address, klass)


def drop_now(address: int, klass: int) -> None:
    _UNREF.from_address(word_at(klass + 40) + 8 * UNREF)(c_void_p(address))


class EngineClass(type):
    """The class of the classes: each stands for a class of the engine."""

    _klass: int  #: the address of the descriptor; 0 for a class in Python that is not registered yet
    _name: str  #: the name in the engine
    _watched: bool  #: whether it derives from ztObject

    def __call__(cls, *args: Any, **values: Any) -> Any:
        if cls.__dict__.get("_klass", 0) == 0:
            if cls._name:
                raise TypeError(f"{cls.__name__} is no class of the engine: put @zentova.subclass before it")
            raise TypeError("Object stands for all classes of the engine: name one")
        return super().__call__(*args, **values)

    def __getattribute__(cls, name: str) -> Any:
        value = type.__getattribute__(cls, name)
        return getattr(value, "for_any", value) if isinstance(value, FunctionType) else value

    def __repr__(cls) -> str:
        return f"<class of the engine {cls.__name__}>"


class Object(metaclass=EngineClass):
    """An object of the engine. It ends with this wrapper if it was made by it and not handed over."""

    __slots__ = ("_c", "_a", "_p", "_owned", "_keep", "__weakref__")
    _klass, _name, _watched = 0, "", False
    _c: c_void_p  # the address; NULL when the object has ended
    _a: int  # the address as a number, also when it has ended
    _p: Any  # the address as calls pass it fastest, to be used behind a look at _c only
    _owned: bool  # this wrapper releases it
    _keep: Any  # what must not be released before

    def __new__(cls, *args: Any, **values: Any) -> "Object":
        why = NOT_MADE.get(cls._name)
        if why or cls._name.endswith("PropertyType"):
            raise UnsafeError(f"no {cls._name} is made in Python: {why or 'it stands for a kind of properties'}")
        table = word_at(cls._klass + 32)
        engine.log.mark()
        address = _CTOR.from_address(table + 8 * CTOR)(None, 1)
        if pending:
            if address:
                drop(address, cls._klass)
            raise_pending()
        if not address:
            raise MemoryError(f"no memory for a {cls._name}")
        return wrap_made(address, cls)

    def __init__(self, **values: Any) -> None:
        """Sets properties by their names."""
        for name, value in values.items():
            if not hasattr(type(self), name):
                raise TypeError(f"a {type(self).__name__} has no {name!r}")
            setattr(self, name, value)

    def release(self) -> None:
        """Ends the object now, unless others hold references to it. Only the wrapper that owns it may."""
        living(self)
        if not self._owned:
            raise Error(f"this {type(self).__name__} belongs to another object or to the program")
        release(self)
        if pending:
            raise_pending()

    unRef = release

    def clone(self) -> Any:
        """A copy, which belongs to its wrapper."""
        return copy_of(living(self))

    __copy__ = clone

    def up(self, method: str, *args: Any) -> Any:
        """Calls the method of the class above, as the methods of a subclass do for what they change."""
        from ._subclass import above
        return getattr(above(living(self), method), method)(self, *args)

    @property
    def has_ended(self) -> bool:
        """Whether the object has ended."""
        return not self._c

    def __enter__(self) -> Any:
        return self

    def __exit__(self, *problem: object) -> None:
        if isinstance(self, Object) and self._owned and self._c:
            self.release()

    __reduce_ex__: Any = engine.Unique.__reduce_ex__

    def __deepcopy__(self, memo: Any) -> Any:
        return self.clone()

    def __eq__(self, other: object) -> bool:
        return self is other or (isinstance(other, Object) and self._a == other._a and bool(self._c) and bool(other._c))

    def __hash__(self) -> int:
        return hash(self._a)

    def __repr__(self) -> str:
        return f"<{type(self).__name__} {'of the past' if not self._c else hex(self._a)}>"

    if TYPE_CHECKING:
        # Methods, fields and properties come from the descriptions. A real __getattr__ would make each use of an
        # attribute slower: the interpreter then finds none of them at once.
        def __getattr__(self, name: str) -> Any: ...

    def __del__(self, unwatch: Any = engine.unwatch, address_of: Any = ctypes.addressof) -> None:
        try:
            if not running:
                # The object may outlive the interpreter, and must not write to this wrapper's memory.
                if self._c and self._watched:
                    unwatch(self._a, address_of(self._c))
                return
            if self._owned:
                before = len(pending)
                release(self)
                if len(pending) > before:
                    raise_pending()  # nobody waits for this call: Python reports it
                return
            address, cell = self._a, self._c
            if cell and self._watched:
                unwatch(address, address_of(cell))
            forget(address)
        except AttributeError:
            pass  # it was never made


def forget(address: int) -> None:
    """Forgets a wrapper that is no more. During a call another thread may do so, too, or enter a new wrapper: the
    second look and the removal are no calls."""
    try:
        kept = made[address]
        if kept() is None and made[address] is kept:
            del made[address]
    except KeyError:
        pass


def living(wrapper: Any) -> Any:
    """The wrapper, if it is one and its object has not ended."""
    if not isinstance(wrapper, Object):
        raise TypeError(f"an object of the engine is needed, not {type(wrapper).__name__}")
    if not wrapper._c:
        ended(wrapper)
    return wrapper


_CTOR = ctypes.CFUNCTYPE(c_void_p, c_void_p, ctypes.c_int32)
_new = object.__new__
#: An address as an argument of a call: the call has nothing to convert.
passed: Any = c_void_p.from_param


def wrap_made(address: int, cls: EngineClass) -> Any:
    """The wrapper of an object that is the caller's to release."""
    kept = made.get(address)
    wrapper: Any = kept() if kept else None
    if wrapper is None or not wrapper._c:
        wrapper = wrap(address, cls)
        made[address] = weakref.ref(wrapper)
    wrapper._owned = True
    return wrapper


def wrap(address: int, cls: Any, keep: Any = None) -> Any:
    """A wrapper of an object, which it watches if the class lets it."""
    wrapper = _new(cls)
    wrapper._a = address
    wrapper._p = passed(address)
    wrapper._owned = False
    wrapper._keep = keep
    if cls._watched:
        cell = wrapper._c = c_void_p()
        if not engine.watch(address, ctypes.addressof(cell)):
            cell.value = address  # it is being destroyed: valid until the call of C returns
            if calls.depth == 0:
                cell.value = None
                failed(f"a {cls._name} cannot be watched")
            calls.passing.append(cell)
    else:
        wrapper._c = c_void_p(address)
    if cls._watched and wrapper._c:
        learn_names(cls, address)
    if address in attributes and hasattr(wrapper, "__dict__"):
        wrapper.__dict__ = attributes[address]
    return wrapper


def learn_names(cls: Any, address: int) -> None:
    """Makes attributes of the properties that an object of ztObject has by itself."""
    properties = word_at(address + 24)
    tree = word_at(properties + 88) if properties else 0
    if tree and ctypes.c_uint32.from_address(tree + 72).value:
        from ._properties import learn
        learn(cls, properties)


#: Classes of ztObject whose objects have no attributes of Python's, by descriptor.
plain: dict[int, Any] = {}
_watch, _addressof, _word_from = engine.watch, ctypes.addressof, ctypes.c_size_t.from_address


def borrow(address: int | None, keep: Any = None) -> Any:
    """The wrapper of a living object of ztObject that belongs to another; None for NULL."""
    if not address:
        return None
    wrapper: Any
    if address in made:
        wrapper = made[address]()
        if wrapper is not None and wrapper._c:
            return wrapper
    klass = _word_from(address).value
    if klass in plain:
        # As wrap(), for the walk through large trees.
        wrapper = _new(plain[klass])
        cell = c_void_p()
        if _watch(address, _addressof(cell)):
            wrapper._a, wrapper._c, wrapper._owned, wrapper._keep = address, cell, False, keep
            wrapper._p = passed(address)
            return wrapper
    cls = by_address.get(klass) or class_at(klass)
    wrapper = wrap(address, cls, keep)
    if cls.__dict__.get("_python"):
        made[address] = weakref.ref(wrapper)
    elif cls._watched:
        plain[klass] = cls
    return wrapper


def borrow_briefly(address: int | None) -> Any:
    """As borrow(), also for other objects: their wrappers end when the present call of C returns."""
    if not address:
        return None
    wrapper: Any
    kept = made.get(address)
    if kept is not None:
        wrapper = kept()
        if wrapper is not None and wrapper._c:
            return wrapper
    klass = word_at(address)
    cls = by_address.get(klass) or class_at(klass)
    if cls._watched:
        return borrow(address)
    wrapper = wrap(address, cls)
    calls.passing.append(wrapper._c)
    return wrapper


def guess(address: int | None, keep: Any = None) -> Any:
    """What an address leads to that nothing describes: None, an object of ztObject that is there, or a Pointer."""
    if not address:
        return None
    kept = made.get(address)
    if kept is not None:
        wrapper = kept()
        if wrapper is not None and wrapper._c:
            return wrapper
    klass = engine.word_if_readable(address)
    if klass in descriptors() and class_at(klass)._watched:
        return borrow(address, keep)
    return pointer(address)


def release(wrapper: Object) -> None:
    """Releases the object of a wrapper that owns it; later, if a function that C calls may be using it."""
    wrapper._owned = False
    cell, address = wrapper._c, wrapper._a
    if not cell:
        forget(address)
        return
    klass = word_at(address)
    made.pop(address, None)
    if calls.methods or (calls.depth and not wrapper._watched):
        if wrapper._watched:
            engine.unwatch(address, ctypes.addressof(cell))
        cell.value = None
        calls.waiting.append((address, klass))
        return
    drop(address, klass)
    if cell:
        if wrapper._watched:  # others refer to it
            engine.unwatch(address, ctypes.addressof(cell))
        cell.value = None


_CLONE = ctypes.CFUNCTYPE(c_void_p)


def copy_of(wrapper: Object) -> Any:
    klass = word_at(wrapper._a)
    size = engine.ClassRecord.from_address(klass).instanceSize
    memory = engine.allocate(size)
    if not memory:
        raise MemoryError
    ctypes.memset(memory, 0, size)
    engine.log.mark()
    copied = _CLONE.from_address(word_at(klass + 40) + 8 * CLONE)(wrapper._c, c_void_p(memory))
    if not copied or pending:
        if not copied:
            engine.release_memory(memory)
        else:
            ctypes.c_int32.from_address(memory + 8).value = 1
            drop(memory, klass)
        failed(f"a {type(wrapper).__name__} cannot be copied")
    ctypes.c_int32.from_address(memory + 8).value = 1
    return wrap_made(memory, type(wrapper))


# Classes ----------------------------------------------------------------------------------------------------------------


def entries() -> Iterator[engine.ClassEntry]:
    entry = engine.class_list()
    while entry:
        yield entry.contents
        entry = entry.contents.next


_descriptors: tuple[int, set[int]] = (-1, set())


def descriptors() -> set[int]:
    """The addresses of the descriptors of all registered classes."""
    global _descriptors
    count = engine.class_count()
    if _descriptors[0] != count:
        found = {word_at(entry.prototype) for entry in entries()}
        _descriptors = (count, found | set(by_address))
    return _descriptors[1]


def class_at(klass: int) -> Any:
    """The class of a descriptor."""
    found = by_address.get(klass)
    return found if found is not None else make_class(klass)


def class_named(name: str) -> Any:
    """The class of a name; None if the engine knows none."""
    klass = engine.find_class(name.encode("utf-8", "surrogateescape"))
    return class_at(klass) if klass else None


def make_class(klass: int) -> Any:
    from ._members import members
    engine.log.mark()
    info = engine.class_info(klass)
    if not info:
        failed("the class cannot be described")
    try:
        described = info.contents
        parent = class_at(described.parent) if described.parent else Object
        name = known(described.name)
        namespace: dict[str, Any] = {
            "__slots__": (), "__module__": "zentova", "_klass": klass, "_name": name,
            "_watched": name == "ztObject" or parent._watched,
            "_size": described.instanceSize,
        }
        cls = EngineClass(name, (parent,), namespace)
        by_address[klass] = cls
        members(cls, described)
    finally:
        engine.free_class_info(info)
    return cls


LIBRARY = frozenset(entry.name.decode() for entry in entries())


def is_library(name: str) -> bool:
    """Whether a class is the library's own: what is known of its methods is known."""
    return name in LIBRARY
