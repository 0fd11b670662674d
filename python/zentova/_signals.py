"""Signals: functions of Python as slots, and emissions."""

from __future__ import annotations

import ctypes
from ctypes import c_double, c_void_p
from typing import Any, Callable, Sequence

from . import _declare as declare
from . import _engine as engine
from . import _objects as objects
from ._elements import map_pairs
from ._engine import ended, known, word_at
from ._members import number_of, string_characters, wrong_number
from .errors import Error, UnsafeError

#: Signals that the library emits without a declaration: the types of their arguments.
OWN = {"childAdded": ("ztRoot *",), "childDeleted": ("ztRoot *",), "destroyed": ("ztObject *",)}
#: What may not be emitted from outside.
RESERVED = ("destroyed", "childAdded", "childDeleted")


def object_of(wrapper: Any) -> Any:
    if not isinstance(wrapper, objects.Object) or not wrapper._watched:
        raise TypeError("an object of ztObject is needed")
    if not wrapper._c:
        ended(wrapper)
    return wrapper


def declared(cls: Any) -> dict[str, tuple[str, tuple[str, ...]]]:
    """The declared signals of a class: the declaration and the types of the arguments, by name."""
    info = engine.object_info(cls._klass)
    if not info:
        engine.failed(f"{cls.__name__} cannot be described")
    try:
        found = [info.contents.signals[at] for at in range(info.contents.signalCount)]
        return {known(one.name): (known(one.declaration),
                                  tuple(known(one.arguments[at].type) for at in range(one.argumentCount)))
                for one in found}
    finally:
        engine.free_object_info(info)


def signals(of: Any) -> list[str]:
    """The declared signals of a class or of an object's class, as they were declared."""
    cls: Any = of if isinstance(of, objects.EngineClass) else type(object_of(of))
    if not cls._klass or not cls._watched:
        raise TypeError("an object or a class of ztObject is needed")
    return [text for text, _ in declared(cls).values()]


def types_of(sender: Any, signal: str, given: Sequence[str] | None) -> tuple[str, ...]:
    """The types of a signal's arguments."""
    if given is not None:
        for text in given:
            if kind_of(text) is None:
                raise ValueError(f"a signal has no argument of the type {text!r}")
        if len(given) > 4:
            raise ValueError("a signal has up to four arguments")
        return tuple(given)
    all_declared = declared(type(sender))
    if signal in all_declared:
        return all_declared[signal][1]
    if signal in OWN:
        return OWN[signal]
    if all_declared:
        raise Error(f"{type(sender).__name__} declares no signal {signal!r}: it has {', '.join(all_declared)}")
    raise Error(f"{type(sender).__name__} does not declare {signal!r}: give its arguments=[...], such as 'int32_t'")


def kind_of(text: str) -> Any:
    """How ctypes passes an argument; None for what a signal cannot pass."""
    kind = declare.parse_type(text)
    if kind.stars:
        return c_void_p
    # A slot takes a float as a double.
    return c_double if kind.number in declare.FLOATS else kind.number


def convert(text: str) -> Callable[[Any], Any] | None:
    """What makes of an argument what a function in Python gets; None for itself."""
    kind = declare.parse_type(text)
    if kind.is_text:
        return engine.text_at
    if kind.stars == 0:
        return None
    return objects.borrow_briefly if kind.base == "ztString" else objects.guess


class Connection(engine.Unique):
    """A connection of a signal to a function. It lasts until disconnect(), the end of a `with` or the sender's end."""

    __slots__ = ("signal", "_sender", "_address", "_receiver", "_thunk", "__weakref__")

    signal: str  #: the name of the signal
    _sender: c_void_p  # the sender is watched, not kept
    _address: int
    _receiver: Any
    _thunk: Any

    def __init__(self, *args: Any) -> None:
        raise TypeError("connect() and on_change() make connections")

    @property
    def is_connected(self) -> bool:
        """Whether emissions still reach the function."""
        return self._thunk is not None and bool(self._sender)

    def __repr__(self) -> str:
        return f"<a connection of {self.signal!r}{'' if self.is_connected else ' of the past'}>"

    def disconnect(self) -> None:
        """Ends the connection; nothing happens when it has ended."""
        if self._thunk is None:
            return
        connections.pop(id(self), None)
        thunk, self._thunk = self._thunk, None
        if objects.calls.depth:
            objects.calls.thunks.append(thunk)  # it may be running
        self.stop_watching()
        if not self._receiver.has_ended:
            self._receiver.release()  # this also disconnects it

    def stop_watching(self) -> None:
        """The sender no longer writes to this connection's memory when it ends."""
        if self._sender:
            engine.unwatch(self._address, ctypes.addressof(self._sender))
            self._sender.value = None

    def __enter__(self) -> "Connection":
        return self

    def __exit__(self, *problem: object) -> None:
        self.disconnect()


#: Those that last.
connections: dict[int, Connection] = {}
_next_look = 64


def remember(connection: Connection) -> None:
    """Keeps a connection, and drops those whose sender has ended where many came."""
    global _next_look
    if len(connections) >= _next_look:
        for one in [one for one in connections.values() if not one._sender]:
            one.disconnect()
        _next_look = 2 * len(connections) + 64
    connections[id(connection)] = connection


def thunk_for(function: Callable[..., Any], types: Sequence[str]) -> Any:
    """A function in C that calls one in Python."""
    converters = [convert(text) for text in types]
    calls = objects.calls

    def called(receiver: int, *values: Any) -> None:
        at = calls.enter(False)
        try:
            function(*(value if make is None else make(value) for value, make in zip(values, converters)))
        except BaseException as problem:
            engine.keep(problem)
        finally:
            calls.leave(at, False)

    return ctypes.CFUNCTYPE(None, c_void_p, *(kind_of(text) for text in types))(called)


def connect(sender: Any, signal: str, function: Callable[..., Any], *,
            arguments: Sequence[str] | None = None) -> Connection:
    """Calls a function with the arguments of each emission of a signal. Returns the connection, which also serves as
    a context manager. `arguments` are the types of a signal that the class does not declare: ["int32_t", "double"]."""
    object_of(sender)
    if not callable(function):
        raise TypeError("a function is needed")
    name = engine.text_to_bytes(signal).decode()
    types = types_of(sender, name, arguments)
    existing = arguments_of(sender, name)
    if existing is not None and len(types) > existing:
        raise Error(f"the signal {name!r} of this {type(sender).__name__} has {existing} arguments, not {len(types)}")
    return make(sender, name, types, function,
                lambda receiver, thunk: engine.connect(sender._a, name.encode(), receiver._a, thunk, len(types)))


def on_change(sender: Any, name: str, function: Callable[[Any], Any]) -> Connection:
    """Calls a function with the new value after each change of a property. Returns the connection."""
    from ._properties import kind_of as property_kind
    object_of(sender)
    if not callable(function):
        raise TypeError("a function is needed")
    kind = property_kind(sender, name).name
    types = {"ztFloat": "double", "ztString": "ztString *", "ztCharPtr": "const char *", "ztVoidPtr": "void *",
             "ztChar": "signed char"}
    called = function
    if kind == "ztString":
        def called(string: Any) -> Any:
            return function(None if string is None else string.get())
    elif kind == "ztBool":
        def called(value: Any) -> Any:
            return function(bool(value))
    return make(sender, f"change->{name}", (types.get(kind, "int32_t"),), called,
                lambda receiver, thunk: engine.on_change(sender._a, name.encode(), receiver._a, thunk))


def make(sender: Any, signal: str, types: Sequence[str], function: Callable[..., Any],
         connected: Callable[[Any, int], int]) -> Connection:
    receiver = objects.class_named("ztObject")()
    thunk = thunk_for(function, types)
    address = ctypes.cast(thunk, c_void_p).value or 0
    engine.log.mark()
    if not connected(receiver, address):
        engine.failed(f"{signal!r} is not connected")
    connection = object.__new__(Connection)
    connection.signal, connection._receiver, connection._thunk = signal, receiver, thunk
    connection._sender, connection._address = c_void_p(), sender._a
    if not sender._c or not engine.watch(sender._a, ctypes.addressof(connection._sender)):
        connection._sender.value = None
    remember(connection)
    return connection


def arguments_of(sender: Any, signal: str) -> int | None:
    """How many arguments the object's signal has; None while it has none of that name."""
    signals_map = word_at(sender._a + 16)
    if not signals_map:
        return None
    for _, address in map_pairs(signals_map):
        if engine.text_at(string_characters(word_at(address + 16))) == signal:
            return ctypes.c_uint32.from_address(address + 32).value
    return None


def argument(value: Any, text: str, at: int, keep: list[Any]) -> engine.Argument:
    """An argument of an emission, checked by the type that the signal declares."""
    what = f"argument {at + 1}"
    made = engine.Argument()
    kind = declare.parse_type(text)
    if kind.is_text:
        data = engine.text_to_bytes(value)
        keep.append(ctypes.c_char_p(data))
        made.value.pointer = ctypes.cast(keep[-1], c_void_p).value
    elif kind.stars:
        made.value.pointer = object_address(value, kind, what)
    elif kind.number in declare.FLOATS:
        made.kind, made.value.number = 1, number_of(value, what)
    elif kind.number is not None:
        made.value.word = wrong_number(value, what, kind.number)
    else:
        raise UnsafeError(f"{what} is of the type {text}, which Python cannot make")
    return made


def object_address(value: Any, kind: declare.Type, what: str) -> int:
    wanted = objects.class_named(kind.base) if kind.stars == 1 else None
    if wanted is None:
        raise UnsafeError(f"{what} is of the type {kind}: nothing tells what it leads to")
    if not isinstance(value, wanted):
        raise TypeError(f"{what} is a {wanted.__name__}, not {type(value).__name__}")
    if not value._c:
        ended(value)
    return value._a


def emit(sender: Any, signal: str, *values: Any, arguments: Sequence[str] | None = None) -> bool:
    """Emits a signal. Returns whether a slot was called: False without slots and for a blocked signal."""
    object_of(sender)
    name = engine.text_to_bytes(signal).decode()
    if name in RESERVED or "->" in name:
        raise UnsafeError(f"the engine itself emits {name!r}")
    types = types_of(sender, name, arguments)
    existing = arguments_of(sender, name)
    if arguments is not None and existing is not None and any(declare.parse_type(text).stars for text in types):
        raise UnsafeError("pointers are only emitted by signals that are declared")
    if arguments is not None and existing is not None and name in declared(type(sender)):
        raise Error(f"the arguments of {name!r} are declared")
    if len(values) != len(types):
        raise TypeError(f"{name!r} has {len(types)} arguments, not {len(values)}")
    if existing is None:
        return False
    keep: list[Any] = []
    passed = (engine.Argument * 4)()
    for at, (value, text) in enumerate(zip(values, types)):
        passed[at] = argument(value, text, at, keep)
    for one in (sender, *values):
        if isinstance(one, objects.Object) and not one._c:
            ended(one)  # by what a conversion ran
    done = engine.emit_args(sender._a, name.encode(), passed, len(types))
    if engine.pending:
        engine.raise_pending()
    return bool(done)


def block(sender: Any, signal: str, blocked: bool = True) -> None:
    """Blocks every delivery of a signal, or lets it again."""
    object_of(sender)
    if not engine.block_signal(sender._a, engine.text_to_bytes(signal), int(bool(blocked))):
        raise Error(f"this {type(sender).__name__} has no signal {signal!r} yet")


def end_all() -> None:
    """Before the interpreter ends: C calls no function of Python any more."""
    for connection in list(connections.values()):
        connection.stop_watching()
        if not connection._receiver.has_ended:
            objects.release(connection._receiver)
