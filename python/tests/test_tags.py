"""Tags: their series as a mapping, in C's classes and in Python's, stored and read back."""

import copy
import gc
import math

import pytest


@pytest.fixture(scope="module")
def flow(zt):
    @zt.subclass
    class Flow(zt.ztTag):
        litres = zt.series(float, 4)
        starts = zt.series(int, [1, 2])
        told = None

        def attrChanged(self, series):
            if Flow.told:
                Flow.told(self, series)

    @zt.subclass
    class Metered(Flow):
        price = zt.series(float, [0.5])
        limit = zt.prop("ztInt", 3)

        def create(self):
            done = self.up("create")
            self.begun_with = list(self.attributes)
            return done
    yield Flow, Metered
    Flow.told = None


@pytest.fixture
def tag(zt):
    one = zt.ztTag(name="a")
    one.attributes.add("litres", float, [1.5, 2.5, 5])
    one.attributes.add("starts", int, [3, -1])
    return one


def test_attributes_are_a_mapping_in_their_order(zt, tag):
    attributes = tag.attributes
    assert len(attributes) == 2 and list(attributes) == ["litres", "starts"] and "starts" in attributes
    assert {name: list(series) for name, series in attributes.items()} == {"litres": [1.5, 2.5, 5.0], "starts": [3, -1]}
    assert attributes.get("none") is None and attributes["litres"] == tag.attributes["litres"]
    with pytest.raises(KeyError, match="none"):
        attributes["none"]
    assert list(zt.ztTag().attributes) == [] and len(zt.ztTag().attributes) == 0


def test_a_series_is_a_sequence(tag):
    starts = tag.attributes["starts"]
    starts.append(7)
    starts.extend([8, 9])
    starts.insert(1, 100)
    assert list(starts) == [3, 100, -1, 7, 8, 9] and starts[1] == 100 and starts[-1] == 9 and starts[1:3] == [100, -1]
    starts[0], starts[-1] = True, 10
    starts[1:4] = [5]
    assert list(starts) == [1, 5, 8, 10] and list(reversed(starts)) == [10, 8, 5, 1]
    assert 8 in starts and 3 not in starts and starts.index(8) == 2 and starts.count(10) == 1
    del starts[0]
    starts.reverse()
    assert starts.pop() == 5 and starts.pop(0) == 10 and list(starts) == [8]
    starts.resize(3)
    assert list(starts) == [8, 0, 0]
    starts.fill(4)
    assert list(starts) == [4, 4, 4] and starts.values() == [4, 4, 4]
    starts.clear()
    assert len(starts) == 0 and list(starts) == []
    with pytest.raises(IndexError):
        starts[0]
    with pytest.raises(IndexError):
        starts[0] = 1


def test_values_are_checked_and_nothing_changes_where_one_is_wrong(zt, tag):
    starts, litres = tag.attributes["starts"], tag.attributes["litres"]
    for values, problem in (([1, 2**31], OverflowError), ([1, 1.5], TypeError), ([None], TypeError), (["1"], TypeError)):
        with pytest.raises(problem):
            starts.extend(values)
        with pytest.raises(problem):
            starts.assign(values)
        with pytest.raises(problem):
            tag.attributes["starts"] = values
        with pytest.raises(problem):
            starts[0] = values[-1]
    with pytest.raises(TypeError):
        litres.append("2")
    for count, problem in ((-1, ValueError), (2**31, OverflowError), (2**31 - 1, zt.Error)):
        with pytest.raises(problem):
            starts.resize(count)
    assert list(starts) == [3, -1] and list(litres) == [1.5, 2.5, 5.0]


def test_totals_and_averages_are_those_of_the_values(tag):
    starts, litres = tag.attributes["starts"], tag.attributes["litres"]
    # In any order, though C keeps one result for both, and tells that of whole numbers in the second call.
    assert (starts.total, starts.average, starts.average, starts.total) == (2, 1, 1, 2)
    assert (litres.average, litres.total, litres.average) == (3.0, 9.0, 3.0)
    litres[0] = 0
    starts.append(-9)
    assert litres.total == 7.5 and starts.total == -7 and starts.average == -2
    starts.resize(1)
    assert starts.total == 3
    starts.assign([2**31 - 1, 1])
    assert starts.total == -2**31
    starts.clear()
    litres.clear()
    assert (starts.total, starts.average, litres.total) == (0, 0, 0.0) and math.isnan(litres.average)


def test_c_finds_its_own_results_as_they_were(zt, tag):
    import ctypes
    from zentova import _tags
    series = tag.attributes["starts"]
    out = ctypes.c_int32(77)
    ask = lambda slot: _tags.call(tag, slot, ctypes.c_void_p, ctypes.byref(series._handle), ctypes.byref(out))
    ask(_tags.TOTAL)
    assert out.value == 77  # the first call after a change finds the total of whole numbers
    assert (series.average, series.total) == (1, 2)
    ask(_tags.TOTAL)
    assert out.value == 2  # and the second one tells it, as without Python between the two


def test_a_new_series_is_of_int_or_of_float(zt, tag):
    attributes = tag.attributes
    assert attributes.add("zeros", int, 3).values() == [0, 0, 0] and attributes["zeros"].kind is int
    assert attributes.add("one", float).values() == [0.0] and attributes["one"].kind is float
    attributes["whole"], attributes["mixed"], attributes["empty"] = [1, 2], [1, 2.5], []
    assert [attributes[name].kind for name in ("whole", "mixed", "empty")] == [int, float, float]
    attributes["whole"] = (number for number in (7, 8, 9))
    assert attributes["whole"].values() == [7, 8, 9] and attributes["whole"].kind is int
    marked = attributes.add("marked", int, 1, user_value=-5)
    assert marked.user_value == -5
    marked.user_value = 9
    assert tag.attributes["marked"].user_value == 9
    before = list(attributes)
    for arguments, problem in ((("starts", int), ValueError), (("", int), ValueError), (("x" * 32, int), ValueError),
                               (("a", str), TypeError), (("a", bool), TypeError), (("a", int, -1), ValueError),
                               (("a", int, [1.5]), TypeError), (("a", int, 2**31), OverflowError),
                               (("a", int, None), TypeError), ((5, int), TypeError), (("a\0", int), ValueError)):
        with pytest.raises(problem):
            attributes.add(*arguments)
    with pytest.raises((MemoryError, zt.Error)):
        attributes.add("giant", float, 2**31 - 1)
    assert list(attributes) == before


def test_a_series_that_left_its_tag_has_ended(zt, tag):
    starts, litres = tag.attributes["starts"], tag.attributes["litres"]
    del tag.attributes["litres"]
    assert list(tag.attributes) == ["starts"] and list(starts) == [3, -1] and "of the past" in repr(litres)
    for use in (lambda: litres.total, lambda: list(litres), lambda: litres.append(1), lambda: len(litres)):
        with pytest.raises(zt.EndedError, match="the series 'litres' has ended"):
            use()
    with pytest.raises(KeyError):
        del tag.attributes["litres"]
    tag.attributes["litres"] = [1, 2]
    with pytest.raises(zt.EndedError):
        litres.total
    tag.release()
    for use in (lambda: starts.total, lambda: list(starts), lambda: starts[0], lambda: tag.attributes,
                lambda: starts.user_value):
        with pytest.raises(zt.EndedError):
            use()
    assert "of the past" in repr(starts)


def test_a_series_keeps_its_tag(zt):
    def series():
        return zt.ztTag().attributes.add("kept", int, [1, 2])
    one = series()
    gc.collect()
    assert one.total == 3


def test_two_series_exchange_their_values(zt, tag):
    tag.attributes["others"] = [8, 9]
    tag.attributes.swap("starts", "others")
    assert list(tag.attributes["starts"]) == [8, 9] and tag.attributes["others"].total == 2
    for other in ("litres", "none"):
        with pytest.raises((ValueError, KeyError)):
            tag.attributes.swap("starts", other)


def test_copies_have_series_of_their_own(tag):
    other = copy.copy(tag)
    other.attributes["starts"].append(5)
    assert list(tag.attributes["starts"]) == [3, -1] and list(other.attributes["starts"]) == [3, -1, 5]
    tag.assign(other)
    assert tag.attributes["starts"][0] == 3


def test_classes_in_python_have_series_from_the_beginning(zt, flow):
    Flow, Metered = flow
    one = Flow(name="Monday", litres=[1, 2])
    assert list(one.attributes) == ["litres", "starts"] and list(one.litres) == [1.0, 2.0] and one.starts.total == 3
    one.starts = [9]
    assert one.attributes["starts"].values() == [9]
    two = zt.make("Metered")
    assert two.begun_with == ["litres", "starts", "price"] and two.price[0] == 0.5 and two.limit == 3
    assert one.clone().starts.values() == [9]
    del one.attributes["starts"]
    with pytest.raises(AttributeError, match="no series 'starts' any more"):
        one.starts
    with pytest.raises(TypeError, match="has no series"):
        zt.subclass(type(zt.ztRoot)("Seriesless", (zt.ztRoot,), {"values": zt.series(int)}))
    with pytest.raises(TypeError, match="has a 'litres'"):
        zt.subclass(type(zt.ztRoot)("Again", (Flow,), {"litres": zt.series(int)}))


@pytest.mark.parametrize("text", [False, True])
def test_tags_are_stored_and_read_back(zt, flow, text):
    Flow, Metered = flow
    root = zt.ztRoot(name="week")
    for day, cls in (("Monday", Flow), ("Tuesday", Metered)):
        root.addChild(one := cls(name=day, litres=[0.25, -1e300, 3], starts=[2**31 - 1]))
        one.starts.user_value = 4
    root.addChild(pump := zt.Meter(name="pump"))
    pump.attributes["starts"] = range(5)
    assert zt.save_tree(root, "week.zt", text=text) == 4
    monday, tuesday, opened = list(zt.open_tree("week.zt"))[1:]
    for one in (monday, tuesday):
        assert list(one.litres) == [0.25, -1e300, 3.0] and list(one.starts) == [2**31 - 1] and one.starts.user_value == 4
    assert list(tuesday.price) == [0.5] and opened.attributes["starts"].total == 10


def test_a_damaged_series_opens_nothing(zt, flow):
    root = flow[0](name="damaged", starts=list(range(50)))
    zt.save_tree(root, "flow.zt")
    good = open("flow.zt", "rb").read()
    for at in range(1, len(good), 9):
        with open("flow.zt", "wb") as file:
            file.write(good[:at])
        with pytest.raises(zt.Error):
            zt.open_tree("flow.zt")


def test_a_class_in_python_is_told_of_changes(zt, flow):
    seen = []
    one = flow[0]()
    flow[0].told = lambda tag, series: seen.append((tag is one, series.name, list(series)))
    one.starts[1] = 9
    one.litres.fill(1)
    assert seen == [(True, "starts", [1, 9]), (True, "litres", [1.0, 1.0, 1.0, 1.0])]

    def raising(tag, series):
        raise LookupError("not to be changed")
    flow[0].told = raising
    with pytest.raises(LookupError, match="not to be changed"):
        one.starts[0] = 5

    def ending(tag, series):
        del tag.attributes[series.name]
    flow[0].told = ending
    with pytest.raises(zt.EndedError):
        one.starts.extend([1, 2])
    flow[0].told = None
    assert list(one.attributes) == ["litres"]


def test_the_methods_in_c_tell_what_to_use(zt, tag):
    for name, arguments in (("insertNew", ("x", None, 0, 1, None)), ("getTotalValue", ()), ("enumTags", ()),
                            ("attrChanged", (None,))):
        with pytest.raises(zt.UnsafeError, match="tag.attributes|the engine calls it"):
            getattr(tag, name)(*arguments)
    for name in ("ztIntTag", "ztFloatTag", "ztTagAttribute"):
        with pytest.raises(zt.UnsafeError, match="tag.attributes"):
            zt.make(name)
    with pytest.raises(TypeError):
        zt.Series()
    with pytest.raises(TypeError):
        zt.Attributes(zt.ztRoot())


def test_an_attribute_that_is_replaced_in_c_is_not_taken_for_the_old_one(zt, tag):
    import ctypes
    from zentova import _tags
    series = tag.attributes["starts"]
    attribute = _tags.attribute_of(series)
    for field, wrong in (("type", 2), ("type", -1), ("name", b"other"), ("values", None)):
        before = getattr(attribute, field)
        setattr(attribute, field, wrong)
        with pytest.raises(zt.EndedError):
            list(series)
        assert list(tag.attributes)[0] == "litres"
        setattr(attribute, field, before)
    size = ctypes.c_int32.from_address(attribute.values + 48)
    size.value = 8
    with pytest.raises(zt.EndedError):
        series.total
    size.value = 4
    assert series.total == 2
