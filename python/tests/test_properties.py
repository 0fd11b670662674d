"""Properties of all kinds, of classes and of single objects."""

import pytest

KINDS = [("ztInt", 7, 2**31), ("ztBool", True, "x"), ("ztChar", 65, 300), ("ztFloat", 2.5, "x"),
         ("ztString", "täxt", 5), ("ztCharPtr", "täxt", None), ("ztVoidPtr", None, 140000000)]


@pytest.fixture(scope="module")
def of_all_kinds(zt):
    @zt.subclass
    class OfAllKinds(zt.ztObject):
        anInt = zt.prop("ztInt", 1)
        aBool = zt.prop("ztBool")
        aChar = zt.prop("ztChar", "a")
        aFloat = zt.prop("ztFloat", 1)
        aText = zt.prop("ztString", "first")
        aCharPtr = zt.prop("ztCharPtr", "second")
        aPointer = zt.prop("ztVoidPtr")
    return OfAllKinds


@pytest.mark.parametrize("kind, value, wrong", KINDS)
def test_an_object_has_properties_of_its_own_of_every_kind(zt, kind, value, wrong):
    one, other = zt.ztObject(), zt.ztObject()
    name = f"own{kind}"
    zt.add_property(one, name, kind)
    setattr(one, name, value)
    assert getattr(one, name) == value and zt.get_property(one, name) == value
    assert type(getattr(one, name)) is type(value)
    with pytest.raises((TypeError, OverflowError)):
        setattr(one, name, wrong)
    assert getattr(one, name) == value
    with pytest.raises(AttributeError, match=name):
        getattr(other, name)
    with pytest.raises(AttributeError, match=name):
        setattr(other, name, value)
    assert zt.properties(one)[-1] == (name, kind, "ztObject", True, True, True)


def test_classes_in_python_have_all_kinds(zt, of_all_kinds):
    one = of_all_kinds()
    assert (one.anInt, one.aBool, one.aChar, one.aFloat, one.aText, one.aCharPtr, one.aPointer) == (
        1, False, 97, 1.0, "first", "second", None)
    one.anInt, one.aBool, one.aChar, one.aFloat = -5, True, "z", 3
    one.aText, one.aCharPtr, one.aPointer = "neu", "zwei", one
    assert (one.anInt, one.aBool, one.aChar, one.aFloat, one.aText, one.aCharPtr) == (
        -5, True, 122, 3.0, "neu", "zwei")
    assert one.aPointer is one
    for kind in zt.properties(of_all_kinds)[1:]:
        # By the engine's own way, through getter and setter, they are the same.
        assert zt.get_property(one, kind.name) == getattr(one, kind.name)
        zt.set_property(one, kind.name, getattr(one, kind.name))
    copied = one.clone()
    copied.aText = "other"
    assert (one.aText, copied.aText, copied.aCharPtr, copied.anInt) == ("neu", "other", "zwei", -5)
    copied.assign(one)
    assert copied.aText == "neu"


def test_static_properties_are_told(zt):
    level = zt.properties(zt.Gauge)[-1]
    assert level == ("level", "ztInt", "Gauge", True, True, False) and level.kind == "ztInt"


def test_values_are_checked(zt):
    gauge = zt.Gauge()
    gauge.level = True
    assert gauge.level == 1
    for value, problem in ((2**31, OverflowError), ("3", TypeError), (1.5, TypeError), (None, TypeError)):
        with pytest.raises(problem):
            gauge.level = value
    assert gauge.level == 1
    with pytest.raises(AttributeError):
        gauge.levl = 3
    with pytest.raises(AttributeError, match="only read"):
        gauge.refCount = 3
    with pytest.raises(TypeError, match="has no 'levl'"):
        zt.Gauge(levl=3)
    with pytest.raises(ValueError, match="no kind 'ztLong'"):
        zt.add_property(gauge, "x", "ztLong")
    with pytest.raises(ValueError, match="has a 'level'"):
        zt.add_property(gauge, "level", "ztInt")


def test_changes_are_told(zt, of_all_kinds):
    one, seen = of_all_kinds(), []
    for name in ("anInt", "aBool", "aChar", "aFloat", "aText", "aCharPtr"):
        zt.on_change(one, name, seen.append)
    one.anInt, one.aBool, one.aChar, one.aFloat, one.aText, one.aCharPtr = 4, True, 66, 0.5, "t", "u"
    assert seen == [4, True, 66, 0.5, "t", "u"]
    with zt.on_change(one, "anInt", seen.append):
        one.anInt = 5
    assert seen[-2:] == [5, 5]
    with pytest.raises(AttributeError, match="nothing"):
        zt.on_change(one, "nothing", print)


def test_a_texts_memory_lasts_as_long_as_the_property(zt):
    one = zt.ztObject()
    zt.add_property(one, "lasting", "ztCharPtr", "begin")
    for number in range(300):
        one.lasting = f"text {number}" * 10
        bytearray(1000)
        assert one.lasting == f"text {number}" * 10
