"""Trees of nodes: saved, opened and walked."""

from __future__ import annotations

import ctypes
import operator
import os
from ctypes import Structure, byref, c_void_p
from typing import Any, Iterator

from . import _engine as engine
from . import _objects as objects
from ._engine import ended, word_at
from ._members import LEFT, drop_added, references

CHILDREN, HEAD = 40, 64


class Item(Structure):
    """ztListItem"""

    _fields_ = [("klass", c_void_p), ("refCount", c_void_p), ("data", c_void_p), ("prev", c_void_p), ("next", c_void_p)]


class Node(Structure):
    """The beginning of a ztRoot"""

    _fields_ = [("before", c_void_p * 5), ("children", c_void_p)]


class List(Structure):
    """ztList"""

    _fields_ = [("before", c_void_p * 8), ("head", c_void_p)]


_node_at, _list_at = Node.from_address, List.from_address


def node_of(value: Any) -> Any:
    root = objects.class_named("ztRoot")
    if not isinstance(value, root):
        raise TypeError(f"a node is needed, not {type(value).__name__}")
    if not value._c:
        ended(value)
    return value


def path_of(path: Any) -> bytes:
    data = os.fsencode(path)
    if b"\0" in data:
        raise ValueError("a path has no zero byte")
    return data


def some_children(node: int, skipped: int, count: int, keep: Any) -> list[Any]:
    """The wrappers of up to `count` children behind the first `skipped` ones. No other code runs meanwhile, so the
    list is as its functions left it."""
    with engine.whole:
        return children_from(node, skipped, count, keep)


def children_from(node: int, skipped: int, count: int, keep: Any) -> list[Any]:
    children = word_at(node + CHILDREN)
    at = word_at(children + HEAD) if children else 0
    while at and skipped:
        at = Item.from_address(at).next
        skipped -= 1
    found: list[Any] = []
    borrow, item_at = objects.borrow, Item.from_address
    while at and len(found) < count:
        item = item_at(at)
        if item.data:
            found.append(borrow(item.data, keep))
        at = item.next
    return found


def children_of(node: Any, keep: Any) -> Iterator[Any]:
    """The children of a node, also while it changes: those that end meanwhile are left out."""
    count, done = 64, 0
    while node._c:
        part = some_children(node._a, done, count, keep)
        done += len(part)
        last = len(part) < count
        part.reverse()
        while part:
            child = part.pop()
            if child._c:
                yield child
        if last:
            return
        # The list is walked again for each part, so the parts grow.
        count = min(2 * count, 1 << 16)


def walk(root: Any) -> Iterator[Any]:
    """A node and all below it, each before those below it."""
    node_of(root)
    keep = root._keep or root
    yield root
    stack = [children_of(root, keep)]
    while stack:
        for child in stack[-1]:
            yield child
            if child._c and has_children(child._a):
                stack.append(children_of(child, keep))
                break
        else:
            stack.pop()


def has_children(node: int) -> Any:
    children = _node_at(node).children
    return children and _list_at(children).head


class Tree(engine.Unique):
    """The nodes of a file. They end with it and with the wrappers of its nodes. Iterating gives all nodes, each before
    those below it."""

    def __init__(self, roots: list[Any], report: engine.TreeReport) -> None:
        #: the nodes without parent
        self.roots = roots
        #: how many nodes were read
        self.count = report.nodes
        #: nodes whose parent the file does not have; nodes with the identifier of an earlier one; circles
        self.orphans, self.doubles, self.loops = report.orphans, report.doubles, report.loops

    def __iter__(self) -> Iterator[Any]:
        for root in list(self.roots):
            if root._c:
                yield from walk(root)

    def __len__(self) -> int:
        """The number of nodes that were read."""
        return self.count

    def __repr__(self) -> str:
        return f"<a tree of {self.count} nodes below {self.roots!r}>"


def tree_from(array: Any, report: engine.TreeReport) -> Tree:
    count = ctypes.c_uint32.from_address(array._a + 64).value
    data = word_at(array._a + 72)
    addresses = [word_at(data + 8 * at) for at in range(count)]
    return Tree([objects.wrap_made(address, objects.class_at(word_at(address))) for address in addresses], report)


def save_tree(root: Any, path: Any, *, text: bool = False) -> int:
    """Saves a node and all below it as a file, or leaves an existing file as it is. Returns the number of nodes."""
    node_of(root)
    engine.log.mark()
    saved = engine.save_tree(root._a, path_of(path), int(bool(text)))
    if not saved or engine.pending:
        engine.failed(f"the tree is not saved to {os.fsdecode(path)!r}", reason_of(path, True))
    return saved


def open_tree(path: Any) -> Tree:
    """Reads a file of save_tree(), binary or text."""
    array, report = objects.class_named("ztPtrArray")(), engine.TreeReport()
    engine.log.mark()
    opened = engine.open_tree(path_of(path), array._a, byref(report))
    return finish(opened, array, report, f"the tree {os.fsdecode(path)!r} is not opened", reason_of(path, False))


def finish(opened: int, array: Any, report: engine.TreeReport, what: str, fallback: str) -> Tree:
    if not opened:
        engine.failed(what, fallback)
    tree = tree_from(array, report)
    if engine.pending:
        engine.raise_pending()
    return tree


def reason_of(path: Any, writing: bool) -> str:
    """What the system tells of a path that the engine could not use."""
    name = os.fsdecode(path)
    try:
        if writing:
            folder = os.path.dirname(name) or "."
            if not os.path.isdir(folder):
                return f"there is no folder {folder!r}"
            return "" if os.access(folder, os.W_OK) else f"the folder {folder!r} cannot be written"
        with open(name, "rb") as file:
            return "the file is empty" if not file.read(1) else "the file is damaged, incomplete or no tree"
    except OSError as problem:
        return problem.strerror or str(problem)


def store_tree(root: Any, file: Any) -> int:
    """Writes a node and all below it to an open ztFile. Returns the number of nodes."""
    node_of(root)
    file_of(file)
    engine.log.mark()
    stored = engine.store_tree(root._a, file._a)
    if not stored or engine.pending:
        engine.failed("the tree is not stored")
    return stored


def load_tree(file: Any, count: int = -1) -> Tree:
    """Reads nodes from an open ztFile: that many records, or all to the end."""
    from ._members import wrong_number
    wanted = wrong_number(count, "count", ctypes.c_int32)
    file_of(file)
    array, report = objects.class_named("ztPtrArray")(), engine.TreeReport()
    engine.log.mark()
    opened = engine.load_tree(file._a, wanted, array._a, byref(report))
    return finish(opened, array, report, "the tree is not loaded", "the file is damaged or ends too early")


def file_of(file: Any) -> Any:
    if not isinstance(file, objects.class_named("ztFile")):
        raise TypeError(f"a ztFile is needed, not {type(file).__name__}")
    if not file._c:
        ended(file)
    return file


def read_object(file: Any) -> Any:
    """Reads the next object that write_object() stored; it belongs to its wrapper."""
    file_of(file)
    engine.log.mark()
    address = engine.read_object(file._a)
    if not address:
        engine.failed("no object is read", "the file is at its end or damaged")
    wrapper = objects.wrap_made(address, objects.class_at(word_at(address)))
    if engine.pending:
        engine.raise_pending()
    return wrapper


def write_object(file: Any, wrapper: Any) -> None:
    """Writes the class of an object and its data."""
    file_of(file)
    if not isinstance(wrapper, objects.Object):
        raise TypeError("an object is needed")
    if not wrapper._c:
        ended(wrapper)
    engine.log.mark()
    base = objects.class_named("ztBaseClass")
    write = ctypes.CFUNCTYPE(ctypes.c_int32).from_address(word_at(base._klass + 32) + 8 * 11)
    if not write(None, wrapper._c, file._c) or engine.pending:
        engine.failed("the class of the object is not written")
    own = ctypes.CFUNCTYPE(ctypes.c_int32).from_address(word_at(word_at(wrapper._a) + 40) + 8 * objects.WRITE)
    if not own(wrapper._c, file._c) or engine.pending:
        engine.failed("the object is not written")


class Children(engine.Unique):
    """The children of a node, in order."""

    __slots__ = ("_node",)

    def __init__(self, node: Any) -> None:
        self._node = node

    def __len__(self) -> int:
        return self._node.getChildCount()

    def __iter__(self) -> Iterator[Any]:
        node_of(self._node)
        return children_of(self._node, self._node._keep or self._node)

    def __getitem__(self, at: Any) -> Any:
        if isinstance(at, slice):
            return list(self)[at]
        index = operator.index(at)
        count = len(self)
        if not -count <= index < count:
            raise IndexError(f"there are {count} children")
        return self._node.getChildAt(index % count)

    def __contains__(self, node: object) -> bool:
        return any(child == node for child in self)

    def __repr__(self) -> str:
        return f"<the {len(self)} children of {self._node!r}>" if self._node._c else "<the children of the past>"


# Forms of their own for the methods of nodes by which a node changes hands -----------------------------------------


def add_child(self: Any, child: Any) -> None:
    """Appends a node, which then belongs to this one."""
    node_of(self)
    node_of(child)
    call_parent(child, self)


def call_parent(child: Any, parent: Any) -> None:
    before = references(child)
    engine.log.mark()
    klass = word_at(parent._a)
    ctypes.CFUNCTYPE(None).from_address(word_at(klass + 40) + 8 * 41)(parent._c, child._c)
    drop_added(child, before)
    if child._c and parent._c and word_at(child._a + 136) == parent._a:
        child._owned, child._keep = False, parent
    elif not engine.pending and child._c:
        engine.failed("the child is not added", "it is the node itself or above it, or a slot took it away")
    if engine.pending:
        engine.raise_pending()


def delete_child(self: Any, child: Any) -> None:
    """Removes the first child with the identifier of the given one; it belongs to its wrapper then."""
    node_of(self)
    node_of(child)
    uid = child.getUid()
    removed = next((one for one in children_of(self, self._keep or self) if one.getUid() == uid), None)
    if removed is None:
        raise ValueError("the node has no such child")
    removed = child if removed == child else removed
    ctypes.CFUNCTYPE(None).from_address(word_at(word_at(self._a) + 40) + 8 * 42)(self._c, removed._c)
    take_back(removed)
    if engine.pending:
        engine.raise_pending()


def delete_all(self: Any) -> list[Any]:
    """Removes all children and returns them; they belong to their wrappers then."""
    node_of(self)
    removed = list(children_of(self, self._keep or self))
    ctypes.CFUNCTYPE(ctypes.c_int32).from_address(word_at(word_at(self._a) + 40) + 8 * 43)(self._c)
    for child in removed:
        take_back(child)
    if engine.pending:
        engine.raise_pending()
    return removed


def take_back(child: Any) -> None:
    """A node that has no parent any more belongs to its wrapper."""
    if child._c and not word_at(child._a + 136):
        child._owned, child._keep = True, LEFT
        objects.made[child._a] = objects.weakref.ref(child)


objects.extras["ztRoot"] = {
    "addChild": add_child, "deleteChild": delete_child, "deleteAllChild": delete_all,
    "children": property(Children, None, None, "The children, as a sequence."), "walk": walk,
}
