"""Links: references to nodes that are stored by identifier. A link does not own its target, which may end at any time:
so its end is watched wherever Python knows the target to be there."""

from __future__ import annotations

import ctypes
from ctypes import c_int32, c_void_p
from typing import Any

from . import _engine as engine
from . import _objects as objects
from ._elements import there
from ._engine import word_at
from ._trees import node_of, walk
from .errors import Error, UnsafeError

TARGET, IDENTIFIER, PARENT = 16, 24, 136


class Watched:
    """An object whose end is noticed."""

    __slots__ = ("address", "cell")

    def __init__(self, address: int) -> None:
        self.address, self.cell = address, c_void_p()
        if not engine.watch(address, ctypes.addressof(self.cell)):
            self.cell.value = None

    def end(self, unwatch: Any = engine.unwatch, address_of: Any = ctypes.addressof) -> None:
        """The library writes to the memory of this one no more."""
        if self.cell:
            unwatch(self.address, address_of(self.cell))
            self.cell.value = None

    __del__ = end


#: The targets of links within other objects, with those objects, by the addresses of the links.
inner: dict[int, tuple[Watched, Watched]] = {}
_next_look = 100


def noted(link: Any) -> Watched | None:
    """The target that was noted for a link."""
    if isinstance(link, Link):
        found = inner.get(link._place)
        return found[1] if found and found[0].cell and found[0].address == link._owner._a else None
    return link._keep if isinstance(link._keep, Watched) else None


def note(link: Any, target: int) -> None:
    """Notes the target of a link, 0 for none."""
    global _next_look
    if isinstance(link, Link):
        inner.pop(link._place, None)
        if target:
            inner[link._place] = Watched(link._owner._a), Watched(target)
        if len(inner) > _next_look:
            for place in [place for place, (owner, _) in inner.items() if not owner.cell]:
                del inner[place]
            _next_look = 2 * len(inner) + 100
    elif link._keep is None or isinstance(link._keep, Watched):
        link._keep = Watched(target) if target else None


def address_of(link: Any) -> int:
    """Where a link is; raises where it has ended."""
    if isinstance(link, Link):
        there(link._owner)
        return link._place
    return there(link)._a


def is_below(node: Any, target: int) -> bool:
    """Whether an address is that of a node in the tree of a node."""
    at = node._a
    while parent := word_at(at + PARENT):
        at = parent
    return any(one._a == target for one in walk(objects.borrow(at)))


def get_target(link: Any) -> Any:
    """The node that the link leads to; None while it is not resolved and when the node has ended."""
    target = word_at(address_of(link) + TARGET)
    if not target:
        return None
    watched = noted(link)
    if watched is not None and watched.address == target and watched.cell:
        return objects.borrow(target)
    # A function in C has set it.
    if isinstance(link, Link) and isinstance(link._owner, objects.class_named("ztRoot")) and is_below(link._owner, target):
        note(link, target)
        return objects.borrow(target)
    if watched is not None and watched.address == target:
        return None
    raise UnsafeError("nothing tells whether the target of the link is still there: resolve(root) finds it in its tree")


def set_target(link: Any, node: Any) -> None:
    """Links to a node; None unsets the link."""
    address = address_of(link)
    if node is not None:
        node_of(node)
    engine.log.mark()
    if not engine.set_link(address, None if node is None else node._a) or engine.pending:
        engine.failed("the link is not set")
    note(link, 0 if node is None else node._a)


def get_identifier(link: Any) -> int:
    """The identifier of the target, which is what files have of it; -1 for an unset link."""
    return c_int32.from_address(address_of(link) + IDENTIFIER).value


def resolve(link: Any, root: Any) -> Any:
    """Finds the target by its identifier in a tree, parents before children. Returns it; None without one."""
    address = address_of(link)
    node_of(root)
    found = engine.resolve_link(address, root._a)
    if engine.pending:
        engine.raise_pending()
    target = word_at(address_of(link) + TARGET) if found else 0
    note(link, target)
    return objects.borrow(target)


class Link(engine.Unique):
    """A link within another object, as a field of a node."""

    __slots__ = ("_owner", "_place")

    _owner: Any
    _place: int

    def __init__(self, *args: Any) -> None:
        raise TypeError("the field of an object gives its link; ztLink() makes a link of its own")

    target = property(get_target, set_target, None, get_target.__doc__)
    targetId = property(get_identifier, None, None, get_identifier.__doc__)
    resolve = resolve

    def __eq__(self, other: object) -> bool:
        return isinstance(other, Link) and self._place == other._place

    def __hash__(self) -> int:
        return hash(self._place)

    def __repr__(self) -> str:
        return representation(self)


def representation(link: Any) -> str:
    ended = link._owner.has_ended if isinstance(link, Link) else link.has_ended
    return "<the link of the past>" if ended else f"<the link to {get_identifier(link)}>"


def link_at(owner: Any, place: int) -> Link:
    """The link in a field of an object of ztObject."""
    klass = word_at(place)
    if klass not in objects.descriptors() or not issubclass(objects.class_at(klass), objects.class_named("ztLink")):
        raise Error(f"the {type(owner).__name__} has not made its link")
    made = object.__new__(Link)
    made._owner, made._place = owner, place
    return made


def links(node: Any) -> dict[str, Any]:
    """The links of a node by their names: those that are fields, and those that are attributes of an object in Python."""
    from ._members import Field
    node_of(node)
    found: dict[str, Any] = {}
    for cls in reversed(type(node).__mro__):
        for name, member in vars(cls).items():
            if isinstance(member, Field) and member.is_link:
                found[name] = member.__get__(node)
    own = objects.class_named("ztLink")
    found.update((name, value) for name, value in getattr(node, "__dict__", {}).items() if isinstance(value, own))
    return found


def resolve_links(root: Any) -> int:
    """Finds the targets of all links in a tree, as after opening it. Returns how many have one."""
    by_identifier: dict[int, Any] = {}
    nodes = list(walk(root))
    for node in nodes:
        if node._c:
            by_identifier.setdefault(node.getUid(), node)
    count = 0
    for node in nodes:
        for link in links(node).values() if node._c else ():
            target = by_identifier.get(get_identifier(link)) if get_identifier(link) != -1 else None
            if target is not None and target._c:
                set_target(link, target)
                count += 1
            else:
                c_void_p.from_address(address_of(link) + TARGET).value = None
                note(link, 0)
    return count


def resolve_array(self: Any, root: Any) -> list[Any]:
    """Finds the targets of all links in a tree with one walk. Returns them in order, None where there is none."""
    node_of(root)
    engine.resolve_links(self._a, root._a)
    if engine.pending:
        engine.raise_pending()
    data = word_at(there(self)._a + 72)
    size, count = c_int32.from_address(self._a + 48).value, c_int32.from_address(self._a + 64).value
    return [objects.borrow(word_at(data + size * at + TARGET)) for at in range(count)]


def end_all() -> None:
    """Before the interpreter ends: no object writes to the memory of this module any more."""
    for pair in inner.values():
        for one in pair:
            one.end()
    inner.clear()


objects.extras["ztLink"] = {
    "target": Link.target, "resolve": resolve, "__repr__": representation,
}
objects.extras["ztLinkArray"] = {"resolve": resolve_array}
