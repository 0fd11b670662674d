"""What calls cost, counted in frames of the interpreter: one for each method, and for each use of a property."""

import ctypes
import sys

import pytest


@pytest.fixture(scope="module")
def objects(zt):
    @zt.subclass
    class Counted(zt.Gauge):
        limit = zt.prop("ztInt", 1)
        note = zt.prop("ztString", "a")
        ratio = zt.prop("ztFloat", 0.5)
        flag = zt.prop("ztBool")

    @zt.subclass
    class CountedNode(zt.ztRoot):
        pass
    return {"node": zt.ztRoot(name="n"), "meter": zt.Meter(), "own": CountedNode(), "gauge": zt.Gauge(level=0),
            "counted": Counted(level=0)}


def frames(source, names):
    """How many functions in Python a statement runs, once those that are made on the first use are made."""
    code, entered = compile(source, "statement", "exec"), []
    exec(code, names)
    sys.setprofile(lambda frame, event, _: entered.append(frame.f_code.co_name) if event == "call" else None)
    try:
        exec(code, names)
    finally:
        sys.setprofile(None)
    return entered[1:]  # without the statement itself


@pytest.mark.parametrize("source", [
    "node.getUid()", "node.setUid(7)", "node.getName()", "meter.getTurns()", "meter.setTurns(7)", "meter.getName()",
    "own.getUid()", "own.setUid(7)", "own.getName()", "node.name", "own.name", "node.name = 'täxt'", "own.name = 'a'",
    "gauge.level", "gauge.level = 3", "gauge.level = -2**30 + 1", "counted.level", "counted.level = 3", "counted.limit",
    "counted.limit = 4", "counted.note", "counted.note = 'b'", "counted.ratio", "counted.ratio = 2.5", "counted.flag = True",
    "counted.flag"])
def test_each_use_runs_one_function(objects, source):
    assert len(frames(source, dict(objects))) == 1


def test_nothing_hooks_into_the_look_up_of_attributes(zt, objects):
    for one in objects.values():
        for cls in type(one).__mro__[:-1]:
            assert not {"__getattr__", "__getattribute__", "__setattr__"} & set(vars(cls)), cls


def test_numbers_at_the_edges_take_the_longer_way_to_the_same_end(zt, objects):
    gauge, node, counted = objects["gauge"], objects["node"], objects["counted"]
    for value in (2**30 - 1, 2**30, 2**31 - 1, -2**30, -2**31, 0, True):
        for one, name in ((gauge, "level"), (counted, "limit"), (counted, "level")):
            setattr(one, name, value)
            assert getattr(one, name) == value
        node.setUid(value)
        assert node.getUid() == value
    for value in (2**31, -2**31 - 1, 2**64):
        for use in (lambda: setattr(gauge, "level", value), lambda: setattr(counted, "limit", value),
                    lambda: node.setUid(value), lambda: objects["meter"].setTurns(value)):
            with pytest.raises(OverflowError):
                use()


def test_a_value_that_ends_the_object_while_it_is_converted(zt):
    class Ending:
        def __init__(self, one):
            self.one = one

        def __index__(self):
            self.one.release()
            return 1

        def __float__(self):
            return float(self.__index__())
    for make in (lambda: zt.Meter(), lambda: zt.ztRoot()):
        one = make()
        with pytest.raises(zt.EndedError):
            one.setUid(Ending(one))
    one, other = zt.Probe(), zt.Probe()
    with pytest.raises(zt.EndedError):
        one.scale(1.0, Ending(one))
    gauge = zt.Gauge()
    with pytest.raises(zt.EndedError):
        gauge.level = Ending(gauge)
    array = zt.ztIntArray([1, 2])
    with pytest.raises(zt.EndedError):
        array[0] = Ending(array)
    assert other.count == 3


def test_a_slot_sees_each_change_of_a_property_in_python(zt, objects):
    one, seen = objects["counted"].clone(), []
    one.limit, one.note = 1, "before"  # no signal yet: stored at once
    with zt.on_change(one, "limit", seen.append), zt.on_change(one, "note", seen.append):
        one.limit, one.note = 2, "täxt"
    one.limit, one.note = 3, "after"
    assert seen == [2, "täxt"] and (one.limit, one.note) == (3, "after")
    assert (zt.get_property(one, "limit"), zt.get_property(one, "note")) == (3, "after")


def test_a_slot_sees_changes_also_where_the_map_of_signals_gets_its_tree_late(zt, objects):
    one, seen = objects["counted"].clone(), []
    place = ctypes.c_size_t.from_address(ctypes.c_size_t.from_address(one._a + 16).value + 88)
    tree, place.value = place.value, 0
    one.limit, one.note = 1, "before"
    place.value = tree
    with zt.on_change(one, "limit", seen.append), zt.on_change(one, "note", seen.append):
        one.limit, one.note = 2, "after"
    assert seen == [2, "after"]
