"""Classes of the engine that are written in Python."""

import gc
import os
import re

import pytest


@pytest.fixture(scope="module")
def plant(zt):
    """A class of a class of a plugin, and one of that."""
    @zt.subclass
    class Pump(zt.ztRoot):
        limit = zt.prop("ztInt", 10)
        label = zt.prop("ztString", "new")
        fails = None

        def create(self):
            self.notes = ["made"]
            return self.up("create")

        def write(self, file):
            if Pump.fails == self.name:
                raise LookupError(f"{self.name} is not written")
            return self.up("write", file) and file.writeInt(self.limit)

        def read(self, file):
            if not super().read(file):
                return 0
            if Pump.fails == "reading":
                raise LookupError("not read")
            self.limit = file.readInt()
            return 1

    @zt.subclass
    class BigPump(Pump):
        power = zt.prop("ztFloat", 1.5)

        def write(self, file):
            return self.up("write", file) and file.writeFloat(self.power)

        def read(self, file):
            self.power = self.up("read", file) and file.readFloat()
            return 1

    class Plant:
        small, big = Pump, BigPump

        @staticmethod
        def tree(count=3):
            root = Pump(name="root", limit=1)
            for number in range(count):
                root.addChild(BigPump(name=f"pump {number}", limit=number, power=number / 2))
            return root
    yield Plant
    Pump.fails = None


def told(nodes):
    return [(type(node).__name__, node.name, node.limit, getattr(node, "power", None)) for node in nodes]


def test_the_engine_makes_objects_by_name(zt, plant):
    made = zt.make("BigPump")
    assert type(made) is plant.big and made.limit == 10 and made.power == 1.5 and made.notes == ["made"]
    assert zt.class_named("Pump") is plant.small
    from zentova import _engine, _objects
    address = _engine.new_from_name(b"BigPump")
    by_c = _objects.wrap_made(address, plant.big)
    assert (by_c.limit, by_c.notes) == (10, ["made"])


def test_the_class_describes_itself(zt, plant):
    assert zt.fields(plant.small)[-2:] == [("limit", "int32_t"), ("label", "ztString *")]
    assert zt.fields(plant.big)[-1] == ("power", "double")
    assert [one.name for one in zt.properties(plant.big)][-3:] == ["limit", "label", "power"]
    assert zt.methods(plant.big) == zt.methods(zt.ztRoot)


def test_trees_of_them_are_saved_and_opened(zt, plant):
    for text in (False, True):
        assert zt.save_tree(plant.tree(), "plant.zt", text=text) == 4
        tree = zt.open_tree("plant.zt")
        assert told(tree) == [("Pump", "root", 1, None), ("BigPump", "pump 0", 0, 0.0), ("BigPump", "pump 1", 1, 0.5),
                              ("BigPump", "pump 2", 2, 1.0)]


def test_an_exception_in_write_leaves_the_old_file(zt, plant):
    zt.save_tree(plant.tree(1), "plant.zt")
    before = open("plant.zt", "rb").read()
    plant.small.fails = "pump 2"
    with pytest.raises(LookupError, match="pump 2 is not written"):
        zt.save_tree(plant.tree(), "plant.zt")
    plant.small.fails = None
    assert open("plant.zt", "rb").read() == before and os.listdir() == ["plant.zt"]


def test_an_exception_in_read_opens_nothing(zt, plant):
    zt.save_tree(plant.tree(), "plant.zt")
    plant.small.fails = "reading"
    with pytest.raises(LookupError, match="not read"):
        zt.open_tree("plant.zt")
    plant.small.fails = None
    assert len(list(zt.open_tree("plant.zt"))) == 4


def test_an_exception_in_what_write_calls_leaves_the_old_file(zt):
    @zt.subclass
    class Strict(zt.ztRoot):
        raises = False

        def write(self, file):
            return self.up("write", file)

        def getUid(self):
            if Strict.raises:
                raise LookupError("no identifier")
            return self.up("getUid")
    root = Strict(name="strict")
    root.addChild(Strict())
    zt.save_tree(root, "strict.zt")
    before = open("strict.zt", "rb").read()
    Strict.raises = True
    with pytest.raises(LookupError):
        zt.save_tree(root, "strict.zt")
    Strict.raises = False
    assert open("strict.zt", "rb").read() == before


def test_a_method_that_forgets_its_result_is_told(zt):
    @zt.subclass
    class Forgetful(zt.ztRoot):
        def write(self, file):
            self.up("write", file)
    with pytest.raises(TypeError, match="the result of write is a whole number, not NoneType"):
        zt.save_tree(Forgetful(), "x.zt")
    assert not os.path.exists("x.zt")


def test_c_calls_the_methods_of_python_with_all_kinds_of_arguments(zt):
    @zt.subclass
    class Asked(zt.Probe):
        def ask(self, value, factor, text):
            self.seen = getattr(self, "seen", []) + [(value, factor, text)]
            return super().ask(value, factor, text) * 10

        def divide(self, value, by):
            return value // by

        def describe(self, prefix):
            return f"{prefix} of Python"

        def distance(self, other):
            return other.count
    one = Asked()
    one.count = 1
    assert one.askTwice(5) == (1 + 5 + 2 + 2) * 10 + (1 + 10 + 2 + 0) * 10
    assert one.seen == [(5, 2.5, "ab"), (10, 2.5, "")]
    # From above, as C calls them.
    zt.declare(zt.Probe, "distance", other=zt.Probe)
    assert zt.Probe.describe(one, "x") == "x 1" and one.describe("x") == "x of Python"
    import ctypes
    from zentova import _engine
    table = _engine.word_at(Asked._klass + 40)
    slots = {name: at for at, text in enumerate(zt.methods(Asked)) for name in re.findall(r"\(\*(\w+)\)", text)}
    call = ctypes.CFUNCTYPE(ctypes.c_char_p, ctypes.c_void_p, ctypes.c_char_p)
    assert call.from_address(table + 8 * slots["describe"])(one._a, b"x") == b"x of Python"
    divide = ctypes.CFUNCTYPE(ctypes.c_int32, ctypes.c_void_p, ctypes.c_int32, ctypes.c_int32, ctypes.c_void_p)
    out = ctypes.c_int32()
    assert divide.from_address(table + 8 * slots["divide"])(one._a, 9, 2, ctypes.addressof(out)) == 1 and out.value == 4


def test_texts_that_python_gives_to_c_last(zt):
    @zt.subclass
    class Numbered(zt.ztString):
        def get(self):
            self.turn = getattr(self, "turn", 0) + 1
            return f"{self.first}{self.turn}"
    one, other = Numbered(), Numbered()
    one.first, other.first = "a" * 1000, "b" * 1000
    # The C method asks for both texts, then compares them.
    for _ in range(100):
        assert one.isLess(other) == 1 and other.isLess(one) == 0


def test_objects_that_python_gives_to_c_are_checked_and_last(zt):
    @zt.subclass
    class Giving(zt.Probe):
        gives = None

        def getChildAt(self, index):
            return self.gives() if self.gives else None

        def copyText(self, text):
            return text * 2
    one = Giving()
    import ctypes
    from zentova import _engine
    table = _engine.word_at(Giving._klass + 40)
    slots = {name: at for at, text in enumerate(zt.methods(Giving)) for name in re.findall(r"\(\*(\w+)\)", text)}
    child = ctypes.CFUNCTYPE(ctypes.c_void_p, ctypes.c_void_p, ctypes.c_int32).from_address(table + 8 * slots["getChildAt"])
    one.gives = lambda: zt.ztRoot(name="made for C")
    import gc
    address = child(one._a, 0)
    gc.collect()
    name = ctypes.CFUNCTYPE(ctypes.c_char_p, ctypes.c_void_p).from_address(
        _engine.word_at(zt.ztRoot._klass + 40) + 8 * slots["getName"])
    assert name(address) == b"made for C"
    for wrong in (zt.ztString, zt.ztObject, lambda: 5, lambda: one.any):
        one.gives = wrong
        assert child(one._a, 0) is None
        with pytest.raises(TypeError, match="the result of getChildAt is a ztRoot or None"):
            _engine.raise_pending()
    copied = ctypes.CFUNCTYPE(ctypes.c_void_p, ctypes.c_void_p, ctypes.c_char_p).from_address(
        table + 8 * slots["copyText"])(one._a, b"ab")
    assert ctypes.string_at(copied) == b"abab"
    _engine.release_memory(copied)


def test_what_a_method_raises_in_c_reaches_the_caller_of_the_outermost_call(zt):
    @zt.subclass
    class Raising(zt.Probe):
        def ask(self, value, factor, text):
            raise ArithmeticError(f"asked {value}")
    with pytest.raises(ArithmeticError, match="asked 7"):
        Raising().askTwice(7)


def test_attributes_live_as_long_as_the_object(zt, plant):
    root, child = zt.ztRoot(), plant.small()
    child.notes.append("kept")
    root.addChild(child)
    del child
    gc.collect()
    assert root.children[0].notes == ["made", "kept"]
    copied = root.children[0].clone()
    copied.other = 1
    assert copied.notes == ["made", "kept"] and not hasattr(root.children[0], "other")


def test_destroy_finds_the_object_whole(zt):
    seen = []

    @zt.subclass
    class Ending(zt.ztRoot):
        title = zt.prop("ztString", "t")

        def destroy(self):
            seen.append((self.name, self.title, len(self.children)))
    root = Ending(name="a")
    root.addChild(Ending(name="b"))
    root.release()
    assert seen == [("a", "t", 1), ("b", "t", 0)]


def test_an_exception_in_create_makes_no_object(zt):
    @zt.subclass
    class Unmade(zt.ztRoot):
        title = zt.prop("ztString", "t")

        def create(self):
            raise LookupError("not today")
    for _ in range(3):
        with pytest.raises(LookupError, match="not today"):
            Unmade()


def test_create_runs_once_while_the_engine_makes_the_object(zt, plant):
    one = plant.small(name="made")
    with pytest.raises(zt.UnsafeError, match="while the engine makes the object"):
        one.create()
    with pytest.raises(zt.UnsafeError, match="up..create"):
        one.up("create")

    @zt.subclass
    class Twice(zt.ztRoot):
        def create(self):
            return self.up("create") and self.up("create")
    with pytest.raises(zt.UnsafeError, match="once"):
        Twice()
    assert one.name == "made"


def test_classes_without_properties_may_derive_from_any_class(zt):
    @zt.subclass
    class Shouting(zt.ztString):
        def set(self, text):
            self.up("set", text.upper())
            return self
    one = Shouting()
    one.set("loud")
    assert one.get() == "LOUD" and one.clone().get() == "LOUD"

    @zt.subclass
    class Counting(zt.ztFile):
        def writeInt(self, value):
            self.count = getattr(self, "count", 0) + 1
            return self.up("writeInt", value)
    file = Counting()
    file.open("x.bin", "w+b")
    zt.write_object(file, zt.ztRoot())
    assert file.count > 1


def test_an_unregistered_class_is_told(zt):
    class Loose(zt.ztRoot):
        pass
    with pytest.raises(TypeError, match="put @zentova.subclass before it"):
        Loose()


@pytest.mark.parametrize("body, problem", [
    ({"unRef": lambda self: None}, "the engine's own is needed"), ({"clone": lambda self: 1}, "the engine's own"),
    ({"fill": lambda self, *_: None}, None), ({"callBack": lambda self, *_: None}, "cannot be served"),
    ({"connect": lambda self, *_: None}, "is not changed in Python")])
def test_methods_that_python_cannot_serve_are_refused(zt, body, problem):
    name = f"Refused{next(iter(body))}"
    cls = type(zt.ztRoot)(name, (zt.Probe,), body)
    if problem is None:
        assert zt.subclass(cls) is cls
    else:
        with pytest.raises(zt.UnsafeError, match=problem):
            zt.subclass(cls)


def test_a_name_is_given_once(zt, plant):
    with pytest.raises(zt.Error, match="the name 'Pump' belongs to another class"):
        zt.subclass(type(zt.ztRoot)("Pump", (zt.ztRoot,), {}))
    with pytest.raises(TypeError, match="is a class of the engine already"):
        zt.subclass(plant.small)
    with pytest.raises(TypeError, match="has a 'name'"):
        zt.subclass(type(zt.ztRoot)("Named", (zt.ztRoot,), {"name": zt.prop("ztInt")}))
    with pytest.raises(ValueError, match="the signal"):
        zt.subclass(type(zt.ztRoot)("Malformed", (zt.ztRoot,), {"signals": ["told(int32_t"]}))


def test_threads_use_their_own_objects(zt, plant):
    import threading
    problems = []

    def work(number):
        try:
            for turn in range(20):
                root, seen = plant.tree(5), []
                zt.connect(root, "childAdded", lambda child, seen=seen: seen.append(child.name))
                root.addChild(plant.big(name="last", limit=turn))
                assert seen == ["last"]
                zt.save_tree(root, f"thread {number}.zt")
                assert len(told(zt.open_tree(f"thread {number}.zt"))) == 7
        except BaseException as problem:
            problems.append(problem)
    threads = [threading.Thread(target=work, args=(number,)) for number in range(4)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    assert problems == []
