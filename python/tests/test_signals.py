"""Signals, connections and emissions."""

import gc

import pytest


@pytest.fixture(scope="module")
def told(zt):
    @zt.subclass
    class Teller(zt.ztRoot):
        signals = ["told(int32_t a, double b, const char *c, ztRoot *d)", "nothing()", "wide(int64_t n)"]
    return Teller


def test_the_declarations_are_told(zt, told):
    assert zt.signals(zt.Gauge) == ["levelChanged(int32_t level)"]
    assert zt.signals(told())[-3:] == [
        "told(int32_t a, double b, const char *c, ztRoot *d)", "nothing()", "wide(int64_t n)"]
    assert zt.signals(told)[:-3] == zt.signals(zt.ztRoot)


def test_arguments_of_all_kinds_arrive(zt, told):
    one, seen = told(), []
    zt.connect(one, "told", lambda *arguments: seen.append(arguments))
    zt.connect(one, "nothing", lambda *arguments: seen.append(arguments))
    zt.connect(one, "wide", seen.append)
    assert zt.emit(one, "told", -1, 2, "täxt", one) and zt.emit(one, "nothing") and zt.emit(one, "wide", -2**63)
    assert seen == [(-1, 2.0, "täxt", one), (), -2**63]


def test_arguments_are_checked(zt, told):
    one = told()
    zt.connect(one, "told", print)
    for arguments in ((1, 2.0, "t"), (1.5, 2.0, "t", one), (1, "x", "t", one), (1, 2.0, 3, one), (1, 2.0, "t", 5),
                      (1, 2.0, "t", zt.Gauge()), (1, 2.0, "t", None)):
        with pytest.raises(TypeError):
            zt.emit(one, "told", *arguments)
    with pytest.raises(OverflowError):
        zt.emit(one, "told", 2**31, 2.0, "t", one)


def test_an_emission_without_a_slot_and_a_blocked_one_reach_nobody(zt, told):
    one, seen = told(), []
    assert zt.emit(one, "wide", 1) is False
    with zt.connect(one, "wide", seen.append) as connection:
        assert connection.is_connected
        zt.block(one, "wide")
        assert zt.emit(one, "wide", 2) is False
        zt.block(one, "wide", False)
        assert zt.emit(one, "wide", 3) is True
    assert seen == [3] and not connection.is_connected
    assert zt.emit(one, "wide", 4) is False
    connection.disconnect()


def test_a_connection_lasts_without_its_handle(zt):
    gauge, seen = zt.Gauge(), []
    zt.connect(gauge, "levelChanged", seen.append)
    gc.collect()
    gauge.level = 8
    assert seen == [8]


def test_slots_may_disconnect_set_and_release(zt):
    gauge, seen = zt.Gauge(), []

    def once(level):
        seen.append(level)
        for one in both:
            one.disconnect()
    both = [zt.connect(gauge, "levelChanged", once) for _ in range(2)]
    gauge.level = 9
    assert seen == [9]

    def nested(level):
        seen.append(level)
        if level < 12:
            gauge.level = level + 1
    with zt.connect(gauge, "levelChanged", nested):
        gauge.level = 10
    assert seen == [9, 10, 11, 12]

    gauge = zt.Gauge()
    connection = zt.connect(gauge, "levelChanged", lambda level: gauge.release())
    with pytest.raises(zt.EndedError):
        gauge.level = 1
        gauge.level = 2
    assert not connection.is_connected


def test_what_a_slot_raises_reaches_the_caller(zt):
    gauge, seen = zt.Gauge(), []

    def slot(level):
        raise LookupError(f"level {level}")
    zt.connect(gauge, "levelChanged", slot)
    zt.connect(gauge, "levelChanged", seen.append)
    with pytest.raises(LookupError, match="level 3"):
        gauge.level = 3
    assert seen == [3] and gauge.level == 3


def test_the_first_exception_counts_and_none_is_left_behind(zt):
    gauge, called = zt.Gauge(), []

    def slot_that_raises(text):
        def slot(level):
            called.append(text)
            raise ValueError(text)
        return slot
    for text in ("one", "other"):
        zt.connect(gauge, "levelChanged", slot_that_raises(text))
    for _ in range(2):
        called.clear()
        with pytest.raises(ValueError) as problem:
            gauge.level = 1
        assert len(called) == 2 and str(problem.value) == called[0] and gauge.level == 1


def test_children_are_told(zt):
    root, seen = zt.ztRoot(), []
    zt.connect(root, "childAdded", lambda child: seen.append(child.name))
    zt.connect(root, "childDeleted", lambda child: seen.append(child.name))
    root.addChild(child := zt.ztRoot(name="below"))
    root.deleteChild(child)
    assert seen == ["below", "below"]


def test_a_signal_that_is_not_declared_needs_its_arguments(zt):
    one, seen = zt.ztObject(), []
    with pytest.raises(zt.Error, match="arguments="):
        zt.connect(one, "own", print)
    with pytest.raises(zt.Error, match="declares no signal 'levlChanged': it has levelChanged"):
        zt.connect(zt.Gauge(), "levlChanged", print)
    zt.connect(one, "own", lambda *arguments: seen.append(arguments), arguments=["int32_t", "double"])
    zt.emit(one, "own", 3, 4.5, arguments=["int32_t", "double"])
    assert seen == [(3, 4.5)]


def test_what_the_engine_emits_is_not_emitted_from_outside(zt):
    for name in ("destroyed", "childAdded", "change->level", "prop->signalname"):
        with pytest.raises(zt.UnsafeError):
            zt.emit(zt.Gauge(), name)


def test_ended_senders_let_their_connections_go(zt):
    from zentova import _signals
    before = len(_signals.connections)
    for _ in range(1000):
        zt.connect(zt.Gauge(), "levelChanged", print)
    assert len(_signals.connections) < before + 400
