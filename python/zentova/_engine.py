"""The library: found, loaded without a word and without a log file, and its functions and records."""

from __future__ import annotations

import atexit
import ctypes
import os
import sys
import threading
from ctypes import (POINTER, Structure, c_char, c_char_p, c_double, c_int32, c_size_t, c_ssize_t, c_uint16,
                    c_uint32, c_void_p)
from typing import Any, Callable, NoReturn

from .errors import EndedError, Error

SONAME = "libztcore.so.1"

# The engine's log -----------------------------------------------------------------------------------------------------


class Log:
    """What the engine writes goes to a file in memory, from which the reasons of failures are read."""

    LARGEST = 1 << 20

    def __init__(self) -> None:
        self.file = -1
        self.at = 0

    def choose(self) -> str | None:
        """Chooses the place for the library that is loaded next; returns what the environment had.

        A place that the user chose stays, and the reasons are read from it where it is a file."""
        before = os.environ.get("ZENTOVA_LOG")
        if not before:
            self.file = os.memfd_create("zentova.log", os.MFD_CLOEXEC)
            os.environ["ZENTOVA_LOG"] = f"/proc/self/fd/{self.file}"
        return before

    def chosen(self, before: str | None) -> None:
        """Gives the environment back, and opens the user's file."""
        if before is None:
            del os.environ["ZENTOVA_LOG"]
        else:
            os.environ["ZENTOVA_LOG"] = before
        if self.file < 0 and before is not None and os.path.isfile(before):
            self.file = os.open(before, os.O_RDONLY | os.O_CLOEXEC)
        self.own = not before
        self.mark()

    def mark(self) -> None:
        """Reasons are what is written from here on."""
        if self.file < 0:
            return
        self.at = os.lseek(self.file, 0, os.SEEK_END)
        if self.own and self.at > self.LARGEST:
            os.ftruncate(self.file, 0)
            self.at = 0

    def reason(self) -> str:
        """The lines since the last mark, without their ends; marks."""
        if self.file < 0:
            return ""
        size = os.lseek(self.file, 0, os.SEEK_END)
        text = os.pread(self.file, min(size - self.at, 4096), self.at) if size > self.at else b""
        self.mark()
        return text.decode(errors="replace").strip()


log = Log()


def _load() -> tuple[ctypes.CDLL, ctypes.PyDLL]:
    name = os.environ.get("ZENTOVA_LIBRARY") or SONAME
    before = log.choose()
    try:
        # Global, for plugins that were linked without the library.
        library = ctypes.CDLL(name, mode=ctypes.RTLD_GLOBAL)
    except OSError as problem:
        raise ImportError(f"the library of the Zentova OOP Engine cannot be loaded: {problem}; ZENTOVA_LIBRARY may "
                          f"name another file than {SONAME}") from None
    finally:
        log.chosen(before)
    if not hasattr(library, "ztObject_watch"):
        raise ImportError(f"{name} is not the library of the Zentova OOP Engine, or one of an earlier version")
    return library, ctypes.PyDLL(name)


#: Calls through `library` let other threads of Python run meanwhile, those through `quick` do not.
library, quick = _load()
libc = ctypes.CDLL(None)

# Records --------------------------------------------------------------------------------------------------------------


class ClassRecord(Structure):
    """ztClass"""

    _fields_ = [("parent", c_void_p), ("version", c_uint32), ("instanceSize", c_int32), ("name", c_char_p),
                ("initialised", c_uint32), ("spare", c_uint32), ("classTable", c_void_p), ("methodTable", c_void_p)]


class MethodInfo(Structure):
    """ztMethodInfo"""

    _fields_ = [("name", c_char_p), ("declaration", c_char_p), ("slot", c_int32), ("state", c_int32),
                ("introducedBy", c_void_p), ("definedBy", c_void_p)]


class FieldInfo(Structure):
    """ztFieldInfo"""

    _fields_ = [("name", c_char_p), ("type", c_char_p), ("offset", c_int32), ("introducedBy", c_void_p)]


class FunctionInfo(Structure):
    """ztFunctionInfo"""

    _fields_ = [("name", c_char_p), ("declaration", c_char_p), ("slot", c_int32)]


class ClassInfo(Structure):
    """ztClassInfo"""

    _fields_ = [("klass", c_void_p), ("name", c_char_p), ("parent", c_void_p), ("version", c_uint32),
                ("instanceSize", c_int32), ("isDescribed", c_int32), ("methodCount", c_int32),
                ("methods", POINTER(MethodInfo)), ("fieldCount", c_int32), ("fields", POINTER(FieldInfo)),
                ("functionCount", c_int32), ("functions", POINTER(FunctionInfo))]


class PropertyInfo(Structure):
    """ztPropertyInfo"""

    _fields_ = [("name", c_char_p), ("type", c_char_p), ("typeClass", c_void_p), ("declaredBy", c_char_p),
                ("isReadable", c_int32), ("isWritable", c_int32)]


class SignalArgument(Structure):
    """ztSignalArgument"""

    _fields_ = [("type", c_char_p), ("name", c_char_p)]


class SignalInfo(Structure):
    """ztSignalInfo"""

    _fields_ = [("name", c_char_p), ("declaration", c_char_p), ("declaredBy", c_void_p), ("argumentCount", c_int32),
                ("arguments", POINTER(SignalArgument))]


class ObjectInfo(Structure):
    """ztObjectInfo"""

    _fields_ = [("klass", c_void_p), ("propertyCount", c_int32), ("properties", POINTER(PropertyInfo)),
                ("signalCount", c_int32), ("signals", POINTER(SignalInfo))]


class ClassEntry(Structure):
    """ztClassEntry"""


ClassEntry._fields_ = [("name", c_char * 104), ("ctor", c_void_p), ("classDestroy", c_void_p),
                       ("prototype", c_void_p), ("next", POINTER(ClassEntry))]


class ClassDescription(Structure):
    """ztClassDescription, with texts"""

    _fields_ = [("klass", c_void_p), ("state", c_void_p), ("parent", c_void_p), ("parentInitTable", c_void_p),
                ("name", c_void_p), ("version", c_void_p), ("instanceSize", c_int32), ("slotCount", c_uint16),
                ("form", c_uint16), ("fillMethods", c_void_p), ("fillFunctions", c_void_p), ("functions", c_void_p * 10),
                ("fieldsText", c_void_p), ("methodsText", c_void_p), ("functionsText", c_void_p)]


class ArgumentValue(ctypes.Union):
    """ztArgumentValue"""

    _fields_ = [("word", c_ssize_t), ("pointer", c_void_p), ("number", c_double)]


class Argument(Structure):
    """ztArgument"""

    _fields_ = [("kind", c_int32), ("value", ArgumentValue)]


class TreeReport(Structure):
    """ztTreeReport"""

    _fields_ = [("nodes", c_int32), ("orphans", c_int32), ("doubles", c_int32), ("loops", c_int32)]


# Functions ------------------------------------------------------------------------------------------------------------


def function(name: str, result: Any, *arguments: Any, waits: bool = False) -> Callable[..., Any]:
    """A function of the library. One that `waits` lets other threads run."""
    made = (library if waits else quick)[name]
    made.restype = result
    made.argtypes = arguments
    return made


class_list = function("ztOOP_classList", POINTER(ClassEntry))
class_count = function("ztOOP_classCount", c_int32)
find_class = function("ztOOP_findClass", c_void_p, c_char_p)
class_info = function("ztOOP_classInfo", POINTER(ClassInfo), c_void_p)
free_class_info = function("ztOOP_freeClassInfo", None, POINTER(ClassInfo))
object_info = function("ztObject_classInfo", POINTER(ObjectInfo), c_void_p)
free_object_info = function("ztObject_freeClassInfo", None, POINTER(ObjectInfo))
new_from_name = function("ztNewFromName", c_void_p, c_char_p)
free_class = function("ztFreeClass", None, c_char_p)
register_class_of = function("ztOOP_registerClassOf", c_int32, c_void_p)
construct = function("ztOOP_construct", c_void_p, c_void_p, c_void_p, c_int32)
init_table = function("ztOOP_initTable", None, c_void_p, c_void_p)
declare_signal = function("ztOOP_declareSignal", c_int32, c_void_p, c_char_p)
read_object = function("ztOOP_readObject", c_void_p, c_void_p, waits=True)
watch = function("ztObject_watch", c_int32, c_void_p, c_void_p)
unwatch = function("ztObject_unwatch", c_int32, c_void_p, c_void_p)
connect = function("ztObject_connect", c_int32, c_void_p, c_char_p, c_void_p, c_void_p, c_uint32)
disconnect = function("ztObject_disconnect", c_int32, c_void_p, c_char_p, c_void_p, c_void_p)
on_change = function("ztObject_onChange", c_int32, c_void_p, c_char_p, c_void_p, c_void_p)
emit_args = function("ztObject_emitArgs", c_int32, c_void_p, c_char_p, POINTER(Argument), c_uint32)
block_signal = function("ztObject_blockSignal", c_int32, c_void_p, c_char_p, c_uint32)
set_link = function("ztLink_set", c_int32, c_void_p, c_void_p)
resolve_link = function("ztLink_resolve", c_int32, c_void_p, c_void_p, waits=True)
resolve_links = function("ztLinkArray_resolve", c_int32, c_void_p, c_void_p, waits=True)
find_property = function("ztObject_findProperty", c_void_p, c_void_p, c_char_p)
register_types = function("ztProperty_registerTypes", c_int32)
allocate = function("ztm_alloc", c_void_p, c_int32)
release_memory = function("ztm_free", None, c_void_p)
store_tree = function("ztRoot_storeTree", c_int32, c_void_p, c_void_p, waits=True)
load_tree = function("ztRoot_loadTree", c_int32, c_void_p, c_int32, c_void_p, POINTER(TreeReport), waits=True)
save_tree = function("ztRoot_saveTree", c_int32, c_void_p, c_char_p, c_int32, waits=True)
open_tree = function("ztRoot_openTree", c_int32, c_char_p, c_void_p, POINTER(TreeReport), waits=True)

libc.calloc.restype = c_void_p
libc.calloc.argtypes = [c_size_t, c_size_t]
libc.strcmp.restype = c_int32


def lasting_memory(size: int) -> int:
    """Cleared memory that outlives the interpreter: the library may use it until the process ends."""
    address = libc.calloc(1, size)
    if not address:
        raise MemoryError
    return address


def lasting_text(text: str) -> int:
    data = text.encode() + b"\0"
    address = lasting_memory(len(data))
    ctypes.memmove(address, data, len(data))
    return address


def address_of(name: str) -> int:
    """The address of a function of the library."""
    return ctypes.cast(library[name], c_void_p).value or 0


def word_at(address: int) -> int:
    """The word in memory that is known to be there."""
    return c_size_t.from_address(address).value


class _Vector(Structure):
    _fields_ = [("base", c_void_p), ("length", c_size_t)]


libc.process_vm_readv.restype = c_ssize_t
libc.process_vm_readv.argtypes = [c_int32, c_void_p, c_size_t, c_void_p, c_size_t, c_size_t]


def word_if_readable(address: int) -> int:
    """The word at an address that may be no memory; 0 then."""
    out = c_size_t()
    local, remote = _Vector(ctypes.addressof(out), 8), _Vector(address, 8)
    read = libc.process_vm_readv(os.getpid(), ctypes.byref(local), 1, ctypes.byref(remote), 1, 0)
    return out.value if read == 8 else 0


# Texts ----------------------------------------------------------------------------------------------------------------


def text_to_bytes(text: object) -> bytes:
    """A text for the engine."""
    if isinstance(text, str):
        data = str.encode(text, "utf-8", "surrogateescape")
    elif isinstance(text, (bytes, bytearray)):
        data = bytes(memoryview(text))  # no method of a class in Python runs
    else:
        raise TypeError(f"a text is needed, not {type(text).__name__}")
    if b"\0" in data:
        raise ValueError("a text of the engine has no zero byte")
    return data


def bytes_to_text(data: bytes | None) -> str | None:
    """A text of the engine."""
    return None if data is None else data.decode("utf-8", "surrogateescape")


def text_at(address: int | None) -> str | None:
    return bytes_to_text(ctypes.string_at(address)) if address else None


def known(data: bytes | None) -> str:
    """A name in a description."""
    return (data or b"").decode("utf-8", "surrogateescape")


class Unique:
    """What stands for something of the engine: a copy of it, or one in another process, would lead nowhere."""

    __slots__ = ()

    def __reduce_ex__(self, protocol: Any) -> NoReturn:
        raise TypeError(f"{type(self).__name__}: neither pickled nor copied; clone() copies an object, save_tree() and "
                        "write_object() store it")


# Failures -------------------------------------------------------------------------------------------------------------

#: Exceptions of functions in Python that C called, with the thread; raised when the outer call is back in Python.
pending: list[tuple[int, BaseException]] = []


def keep(problem: BaseException) -> None:
    """Keeps what a function in Python raised until the call that led to it is back in Python; the first counts. Where
    no Python waits for the call, it is reported."""
    frame = sys._getframe(1)
    if frame.f_back is None:
        sys.excepthook(type(problem), problem, problem.__traceback__)
        return
    thread = threading.get_ident()
    if all(of != thread for of, _ in pending):
        pending.append((thread, problem))


def raise_pending() -> None:
    """Raises what was kept in this thread, if anything was."""
    thread = threading.get_ident()
    for at, (of, problem) in enumerate(pending):
        if of == thread:
            del pending[at]
            raise problem


def failed(what: str, fallback: str = "") -> NoReturn:
    """Raises the reason why a call failed: what a function in Python raised, else what the log tells."""
    if pending:
        raise_pending()
    reason = log.reason() or fallback
    raise Error(f"{what}: {reason}" if reason else what)


def ended(wrapper: Any) -> NoReturn:
    """Raises that the object of a wrapper has ended."""
    raise EndedError(f"the {type(wrapper).__name__} has ended")


# Threads --------------------------------------------------------------------------------------------------------------

#: Held where Python follows the memory of containers and trees, and where it changes or ends them: another thread of
#: Python could otherwise run between two steps.
whole = threading.RLock()


os.register_at_fork(before=whole.acquire, after_in_parent=whole.release, after_in_child=whole.release)

# The end --------------------------------------------------------------------------------------------------------------

#: Called, the last first, while the interpreter still works.
at_end: list[Callable[[], None]] = []
#: Empty once the interpreter ends: nothing is released any more.
running = [True]


@atexit.register
def _end() -> None:
    while at_end:
        at_end.pop()()
    running.clear()
    while pending:
        _, problem = pending.pop()
        sys.excepthook(type(problem), problem, problem.__traceback__)
