"""Classes, methods, fields, and whose an object is."""

import copy
import gc

import pytest


def test_every_registered_class_is_a_class_of_the_module(zt):
    names = {cls.__name__ for cls in zt.classes()}
    assert {"ztBaseClass", "ztRoot", "ztTag", "Gauge", "Probe"} <= names
    assert all(issubclass(cls, zt.Object) for cls in zt.classes())
    assert issubclass(zt.Gauge, zt.ztObject) and zt.Gauge.__mro__[2] is zt.ztBaseClass


def test_an_unknown_class_is_no_attribute(zt):
    with pytest.raises(AttributeError, match="NoSuchClass"):
        zt.NoSuchClass
    with pytest.raises(zt.Error, match="NoSuchClass"):
        zt.class_named("NoSuchClass")


def test_the_declarations_are_those_of_the_lists(zt):
    assert "int32_t (*getUid)(const void *node)" in zt.methods(zt.ztRoot)
    assert ("label", "char[16]") in zt.fields(zt.Probe)
    assert zt.methods(zt.Gauge) == zt.methods(zt.ztObject)


def test_numbers_of_all_widths_are_passed_and_checked(zt):
    probe = zt.Probe()
    assert probe.wide(-2**62, 255, 2**63) == -2**62 + 256
    assert probe.scale(2, 0.5) == 1.0 and probe.scale(value=3.0, factor=2) == 6.0
    with pytest.raises(OverflowError, match="small is from 0 to 255"):
        probe.wide(1, 256, 0)
    with pytest.raises(OverflowError):
        probe.wide(2**63, 0, 0)
    with pytest.raises(TypeError, match="whole number"):
        probe.wide(1.5, 0, 0)
    with pytest.raises(TypeError, match="value is a number, not str"):
        probe.scale("2", 1)
    with pytest.raises(TypeError):
        probe.scale(1)


def test_texts_come_and_go_and_owned_ones_are_released(zt):
    probe = zt.Probe()
    assert probe.describe("has") == "has 3"
    assert probe.copyText("äöü\udcff") == "äöü\udcff"
    with pytest.raises(ValueError, match="zero byte"):
        probe.describe("a\0b")
    with pytest.raises(TypeError, match="a text is needed, not NoneType"):
        probe.describe(None)


def test_an_argument_that_the_call_writes_to_is_the_result(zt):
    probe = zt.Probe()
    assert probe.divide(7, 2) == 3
    with pytest.raises(zt.Error, match="Probe.divide failed: Probe - Error, nothing is divided by zero"):
        probe.divide(1, 0)


def test_what_nothing_describes_is_refused_with_the_reason(zt):
    probe = zt.Probe()
    for method, arguments in (("fill", (None, 1)), ("callBack", (None,)), ("create", ()), ("destroy", ()),
                              ("setProperty", ("a", "b", 1)), ("Allocator", ())):
        with pytest.raises(zt.UnsafeError, match=method):
            getattr(probe, method)(*arguments)


def test_untyped_arguments_are_vouched_for(zt):
    one, other = zt.Probe(), zt.Probe()
    other.count = 1
    with pytest.raises(zt.UnsafeError, match=r"zt.declare\(Probe, 'distance', other=...\)"):
        one.distance(other)
    zt.declare(zt.Probe, "distance", other=zt.Probe)
    assert one.distance(other) == 2
    with pytest.raises(TypeError, match="other is a Probe, not a ztRoot"):
        one.distance(zt.ztRoot())
    with pytest.raises(TypeError, match="not None"):
        one.distance(None)


def test_typed_arguments_take_objects_of_the_class(zt):
    one, other = zt.Probe(), zt.Probe()
    assert getattr(one, "with")(other) == 0
    with pytest.raises(TypeError):
        getattr(one, "with")(zt.ztRoot())


def test_a_result_that_is_the_object_is_its_wrapper(zt):
    probe = zt.Probe()
    assert probe.self() is probe


def test_an_owned_result_belongs_to_its_wrapper(zt):
    other = zt.Probe().makeOther()
    assert type(other) is zt.Probe and other.getRefCount() == 1
    other.release()
    assert other.has_ended


def test_an_abstract_method_tells_that_no_class_defines_it(zt):
    with pytest.raises(zt.Error, match="no class up to ztRoot defines isLess"):
        zt.ztRoot().isLess(zt.ztRoot())


def test_a_method_is_not_called_for_an_object_of_another_class(zt):
    with pytest.raises(TypeError, match="a method of ztRoot was called for ztString"):
        zt.ztRoot.getUid(zt.ztString())
    assert zt.ztRoot.getName(zt.ztRoot(name="one")) == "one"


def test_a_method_that_a_host_replaces_is_called_anew(zt):
    import ctypes
    from zentova import _engine
    node = zt.ztRoot()
    node.setUid(5)
    assert node.getUid() == 5
    place = ctypes.c_void_p.from_address(_engine.word_at(zt.ztRoot._klass + 40) + 8 * 36)
    before, replaced = place.value, ctypes.CFUNCTYPE(ctypes.c_int32, ctypes.c_void_p)(lambda _: 77)
    place.value = ctypes.cast(replaced, ctypes.c_void_p).value
    try:
        assert node.getUid() == 77
    finally:
        place.value = before
    assert node.getUid() == 5


def test_fields_are_read_and_a_plugin_s_numbers_and_texts_written(zt):
    probe = zt.Probe()
    assert (probe.count, probe.ratio, probe.label, probe.title) == (3, 0.5, "", "")
    assert isinstance(probe.any, zt.Pointer) and zt.Probe().any != probe.any
    probe.count, probe.ratio, probe.label = -4, 2.5, "äb"
    assert (probe.count, probe.ratio, probe.label) == (-4, 2.5, "äb")
    with pytest.raises(ValueError, match="room for 15 bytes"):
        probe.label = "x" * 16
    with pytest.raises(OverflowError):
        probe.count = 2**31
    for name, value in (("any", None), ("title", "x"), ("refCount", 9)):
        with pytest.raises(AttributeError):
            setattr(probe, name, value)
    with pytest.raises(AttributeError, match="only read"):
        zt.ztIntArray().data = 5


def test_addresses_are_not_made_in_python(zt):
    with pytest.raises(TypeError, match="addresses are not made"):
        zt.Pointer(7)
    with pytest.raises(TypeError):
        zt.ztRoot().addChild(140000000)


def test_a_released_object_raises_instead_of_being_touched(zt):
    node = zt.ztRoot(name="gone")
    node.release()
    assert node.has_ended and "of the past" in repr(node)
    for use in (lambda: node.getName(), lambda: node.name, lambda: setattr(node, "name", "x"), lambda: node.uid,
                lambda: node.release(), lambda: node.clone(), lambda: zt.ztRoot().addChild(node),
                lambda: zt.save_tree(node, "x.zt"), lambda: zt.signals(node), lambda: list(node.children)):
        with pytest.raises(zt.EndedError):
            use()


def test_a_node_that_its_parent_ended_raises(zt):
    root, child = zt.ztRoot(), zt.ztRoot(name="child")
    root.addChild(child)
    assert child.getParent() == root and child.name == "child"
    root.release()
    with pytest.raises(zt.EndedError, match="the ztRoot has ended"):
        child.getName()


def test_a_wrapper_owns_only_what_it_made(zt):
    root, child = zt.ztRoot(), zt.ztRoot()
    root.addChild(child)
    with pytest.raises(zt.Error, match="belongs to another"):
        child.release()
    address = child._a
    del child
    gc.collect()
    assert [node._a for node in root.children] == [address]
    taken = root.children[0]
    root.deleteChild(taken)
    assert taken.getParent() is None and len(root.children) == 0
    taken.release()


def test_a_node_that_leaves_its_parent_is_its_wrapper_s_again(zt):
    root, child = zt.ztRoot(), zt.ztRoot()
    root.addChild(child)
    child.setParent(None)
    root.release()
    assert not child.has_ended
    other = zt.ztRoot()
    child.setParent(other)
    with pytest.raises(zt.Error, match="setParent failed"):
        other.setParent(child)
    assert [one == child for one in other.deleteAllChild()] == [True]
    child.release()


def test_a_child_keeps_its_tree(zt):
    def child():
        root = zt.ztRoot(name="root")
        root.addChild(one := zt.ztRoot(name="leaf"))
        return one
    leaf = child()
    gc.collect()
    assert leaf.getParent().name == "root"


def test_objects_end_with_their_wrappers(zt):
    ended = []
    node = zt.ztRoot()
    zt.connect(node, "destroyed", lambda *_: ended.append(1))
    del node
    gc.collect()
    assert ended == [1]


def test_a_context_manager_releases(zt):
    with zt.ztFile() as file:
        file.open("a.bin", "w+b")
        assert file.writeInt(7) == 1 and file.writeString("text") == 5
        file.goToBegin()
        assert file.readInt() == 7
    assert file.has_ended


def test_a_failing_call_raises_the_reason(zt):
    file = zt.ztFile()
    with pytest.raises(zt.Error, match="ztFile.open failed"):
        file.open("no/such/file", "rb")
    with pytest.raises(zt.Error, match="readInt failed"):
        file.readInt()
    with pytest.raises(zt.Error, match="no object is read"):
        zt.read_object(file)


def test_copies_are_independent(zt):
    one = zt.ztRoot(name="one")
    one.addChild(zt.ztRoot(name="below"))
    two = copy.copy(one)
    two.name = "two"
    assert (one.name, two.name, two.children[0].name) == ("one", "two", "below")
    assert two != one and len({one, two}) == 2
    text = zt.ztString()
    text.set("a")
    other = text.clone()
    other.cat(text)
    assert (text.get(), other.get(), other.length()) == ("a", "aa", 2)
    with pytest.raises(zt.Error, match="cannot be copied"):
        zt.ztFile().clone()


def test_plugins_that_are_none_are_refused(zt, tmp_path):
    (tmp_path / "text.so").write_text("no library")
    for name in ("text.so", "missing.so"):
        with pytest.raises(zt.Error, match=f"{name}.* is not loaded"):
            zt.load_plugin(tmp_path / name)
