"""Arrays and lists as sequences, maps and hash tables as mappings, and the others."""

import collections.abc

import pytest

SEQUENCES = [("ztIntArray", None, [3, 1, 2]), ("ztFloatArray", None, [0.5, 2.0, 1.0]), ("ztCharArray", None, [97, 98, 65]),
             ("ztStringArray", None, ["b", "ä", ""]), ("ztIntList", None, [3, 1, 2]), ("ztStringList", None, ["b", "ä", ""]),
             ("ztArray", int, [3, 1, 2]), ("ztArray", float, [3.0, 1.0, 2.0]), ("ztArray", str, ["x", "y", "z"]),
             ("ztArray", 3, [b"abc", b"def", b"ghi"]), ("ztArray", ("text", 4), ["a", "bc", ""]),
             ("ztList", int, [3, 1, 2]), ("ztList", str, ["x", "y", "z"]), ("ztList", float, [3.0, 1.0, 2.0]),
             ("ztList", 3, [b"abc", b"def", b"ghi"])]


@pytest.mark.parametrize("name, element, values", SEQUENCES)
def test_sequences_do_what_lists_do(zt, name, element, values):
    cls = zt.class_named(name)
    one = cls(values) if element is None else cls(values, element=element)
    same = list(values)
    assert isinstance(one, collections.abc.MutableSequence)

    def check():
        assert list(one) == same and len(one) == one.getSize() == len(same) and bool(one) == bool(same)
        assert [one[at] for at in range(-len(same), len(same))] == same + same
    check()
    for sequence in (one, same):
        sequence.append(values[0])
        sequence.insert(0, values[1])
        sequence.insert(2, values[2])
        sequence.insert(-1, values[1])
        sequence.insert(100, values[0])
        sequence.extend(values)
        sequence[1] = values[2]
        sequence[-1] = values[0]
    check()
    for sequence in (one, same):
        del sequence[0]
        del sequence[-1]
        del sequence[2]
        sequence.reverse()
        sequence.remove(values[1])
    check()
    assert one.pop() == same.pop() and one.pop(0) == same.pop(0) and one.pop(1) == same.pop(1)
    check()
    assert one[1:] == same[1:] and values[0] in one and object() not in one
    assert one.index(same[0]) == 0 and one.count(same[0]) == same.count(same[0])
    del one[:2], same[:2]
    check()
    copied = one.clone()
    assert list(copied) == same
    one.clear()
    same.clear()
    check()
    with pytest.raises(IndexError):
        one[0]
    with pytest.raises(IndexError):
        one.pop()


@pytest.mark.parametrize("name, values", [("ztIntArray", [3, 1, 2]), ("ztStringArray", ["b", "a"]), ("ztCharArray", [98, 97])])
def test_arrays_are_sorted(zt, name, values):
    one = zt.class_named(name)(values)
    one.sort()
    assert list(one) == sorted(values)


def test_elements_are_checked(zt):
    for values, problem in (([2**31], OverflowError), (["a"], TypeError), ([1.5], TypeError), ([None], TypeError)):
        with pytest.raises(problem):
            zt.ztIntArray(values)
    with pytest.raises(ValueError, match="room for 3 bytes"):
        zt.ztArray(["abcd"], element=("text", 4))
    with pytest.raises(TypeError, match="element=... tells"):
        zt.ztArray([1])
    with pytest.raises(TypeError, match="are settled"):
        zt.ztIntArray(element=float)
    one = zt.ztList([1], element=int)
    with pytest.raises(zt.Error, match="only while it is empty"):
        one.__init__(element=str)
    for element in (0, -1, 2**31, "int", zt.ztFile, None.__class__):
        with pytest.raises((TypeError, ValueError)):
            zt.ztList(element=element)


def test_objects_are_copied_in_and_out(zt):
    node = zt.ztRoot(name="first")
    for cls in (zt.ztList, zt.ztArray):
        held = cls([node], element=zt.ztRoot)
        node.name = "changed"
        out = held[0]
        assert out.name == "first" and out != node
        held.clear()
        assert out.name == "first"
        node.name = "first"
        with pytest.raises(TypeError, match="element is a ztRoot"):
            held.append(zt.Gauge())


def test_pointers_to_objects_that_ended_are_not_followed(zt):
    node = zt.ztRoot()
    for held in (zt.ztPtrArray([node, None]), zt.ztPtrList([node]), zt.ztList([node], element=object)):
        assert held[0] is node
    held = zt.ztPtrArray([node])
    node.release()
    assert isinstance(held[0], zt.Pointer)


def test_queues_stacks_and_deques(zt):
    for element, (a, b, c) in ((int, (1, 2, 3)), (str, ("a", "b", "c")), (float, (1.5, 2.5, 3.5))):
        queue = zt.ztQueue([a, b, c], element=element)
        assert (queue.pop(), queue.getFront(), queue.getBack(), list(queue)) == (a, b, c, [b, c])
        stack = zt.ztStack([a, b, c], element=element)
        assert (stack.pop(), stack.getTop(), list(stack)) == (c, b, [a, b])
        deque = zt.ztDeque([b], element=element)
        deque.pushFront(a)
        deque.pushBack(c)
        assert (deque.popFront(), deque.popBack(), list(deque), len(deque)) == (a, c, [b], 1)
        for one in (queue, stack, deque):
            one.clear()
            assert not one and one.isEmpty()
            with pytest.raises(IndexError):
                one.pop()


def test_a_sorted_tree_is_a_set(zt):
    for element, values in ((int, [5, 1, 3]), (str, ["b", "a", "c"]), (4, [b"bbbb", b"aaaa"]), (("text", 8), ["q", "p"])):
        tree = zt.ztAvlTree(values, element=element)
        assert list(tree) == sorted(values) and len(tree) == len(values) and values[0] in tree
        assert tree.add(values[0]) is False
        tree.remove(values[0])
        assert values[0] not in tree and list(tree) == sorted(values[1:])
        with pytest.raises(KeyError):
            tree.remove(values[0])
    with pytest.raises(zt.Error, match="order of its elements"):
        zt.ztAvlTree().add(None)


KEYS = [(int, [5, -1, 3]), (float, [0.5, -2.0, 1.0]), (("text", 16), ["b", "a", "cä"]), (4, [b"abcd", b"efgh", b"aaaa"])]
VALUES = [(int, [7, 8, 9]), (float, [0.25, 0.5, 1.0]), (str, ["x", "y", ""]), (3, [b"abc", b"def", b"ghi"]),
          (("text", 8), ["x", "y", ""])]


@pytest.mark.parametrize("value, values", VALUES)
@pytest.mark.parametrize("key, keys", KEYS + [(str, ["b", "a", "cä"])])
@pytest.mark.parametrize("name", ["ztMap", "ztHashTable"])
def test_mappings_do_what_dictionaries_do(zt, name, key, keys, value, values):
    cls = zt.class_named(name)
    if name == "ztHashTable" and key is str:
        with pytest.raises(TypeError, match="by their bytes"):
            cls(key=key, value=value)
        return
    one, same = cls(key=key, value=value), {}
    assert isinstance(one, collections.abc.MutableMapping)

    def check():
        assert dict(one) == same and len(one) == len(same) and sorted(one.items()) == sorted(same.items())
        assert sorted(one.keys()) == sorted(same) and all(one[k] == v and k in one for k, v in same.items())
    check()
    for mapping in (one, same):
        mapping.update(zip(keys, values))
        mapping[keys[0]] = values[1]
    check()
    assert one.pop(keys[1]) == same.pop(keys[1]) and one.pop(keys[1], "none") == "none"
    check()
    with pytest.raises(KeyError):
        one[keys[1]]
    with pytest.raises(KeyError):
        del one[keys[1]]
    assert one.get(keys[1]) is None and object() not in one
    assert one.setdefault(keys[1], values[2]) == same.setdefault(keys[1], values[2])
    check()
    copied = one.clone()
    one.clear()
    assert dict(copied) == same and not one
    if name == "ztMap":
        assert list(copied) == sorted(same)


def test_mappings_check_what_they_hold(zt):
    one = zt.ztMap({1: "a"}, key=int, value=str)
    for key, value in (("1", "a"), (1, 5), (2**31, "a"), (None, None)):
        with pytest.raises((TypeError, OverflowError)):
            one[key] = value
    assert one.items() == [(1, "a")]
    with pytest.raises(zt.Error, match="order of its elements"):
        zt.ztMap()[1] = 2
    with pytest.raises(TypeError, match="no order"):
        zt.ztMap(key=zt.ztRoot)
    with pytest.raises(ValueError, match="buckets"):
        zt.ztHashTable(key=int, buckets=-1)
