"""Trees: saved, opened, walked, and what bad files give."""

import os

import pytest


def tree_of(zt, width, depth):
    root = zt.ztRoot(name=f"level {depth}")
    for _ in range(width if depth else 0):
        root.addChild(tree_of(zt, width, depth - 1))
    return root


def test_a_tree_comes_back_in_its_order(zt):
    root = tree_of(zt, 3, 3)
    assert zt.save_tree(root, "tree.zt") == 40
    tree = zt.open_tree("tree.zt")
    assert (len(tree), tree.orphans, tree.doubles, tree.loops, len(tree.roots)) == (40, 0, 0, 0, 1)
    assert [node.uid for node in tree] == [node.uid for node in zt.walk(root)]
    assert [node.name for node in tree][:5] == ["level 3", "level 2", "level 1", "level 0", "level 0"]


def test_nodes_keep_their_tree_and_a_root_may_leave_it(zt):
    zt.save_tree(tree_of(zt, 2, 1), "tree.zt")
    child = list(zt.open_tree("tree.zt"))[1]
    assert child.getParent().name == "level 1"
    root = zt.open_tree("tree.zt").roots[0]
    other = zt.ztRoot()
    other.addChild(root)
    assert len(other.children) == 1 and len(list(zt.walk(other))) == 4


def test_children_are_a_sequence(zt):
    root = zt.ztRoot()
    nodes = [zt.ztRoot(name=str(number)) for number in range(200)]
    for node in nodes:
        root.addChild(node)
    assert len(root.children) == 200 and list(root.children) == nodes
    assert root.children[-1] == nodes[-1] and root.children[3:5] == nodes[3:5] and nodes[7] in root.children
    with pytest.raises(IndexError):
        root.children[200]


def test_a_tree_may_change_while_it_is_walked(zt):
    root = tree_of(zt, 4, 2)
    seen = []
    for node in zt.walk(root):
        seen.append(node.name)
        if node.name == "level 1" and seen.count("level 1") == 2:
            root.deleteAllChild()
    assert seen.count("level 1") == 2
    root = tree_of(zt, 3, 2)
    for node in zt.walk(root):
        if node != root:
            node.setParent(None)
            node.release()
    assert len(root.children) == 0
    root = tree_of(zt, 3, 2)
    for node in zt.walk(root):
        root.release()
    assert root.has_ended


def test_several_trees_are_stored_in_an_open_file(zt):
    with zt.ztFile() as file:
        file.open("two.bin", "w+b")
        assert zt.store_tree(tree_of(zt, 2, 1), file) == 3 and zt.store_tree(zt.ztRoot(name="second"), file) == 1
        file.goToBegin()
        assert [root.name for root in zt.load_tree(file).roots] == ["level 1", "second"]
        file.goToBegin()
        assert len(zt.load_tree(file, 3)) == 3
        with pytest.raises(zt.Error, match="not loaded"):
            zt.load_tree(file, 2)


def test_bad_files_raise_and_open_nothing(zt, tmp_path):
    zt.save_tree(tree_of(zt, 2, 2), "good.zt")
    good = open("good.zt", "rb").read()
    cases = {"empty": b"", "foreign": b"\x7fELF" + bytes(5000), "changed": good[:300] + b"?" + good[301:],
             "longer": good + b"x", "doubled": good + good, "text": b"no tree\n" * 100}
    cases |= {f"cut at {at}": good[:at] for at in range(1, len(good), 7)}
    for name, data in cases.items():
        (tmp_path / "bad.zt").write_bytes(data)
        with pytest.raises(zt.Error, match="bad.zt"):
            zt.open_tree("bad.zt")
    assert len(cases) > 150
    for path in ("missing.zt", tmp_path, "/dev/null"):
        with pytest.raises(zt.Error):
            zt.open_tree(path)
    with pytest.raises(zt.Error, match="No such file"):
        zt.open_tree("missing.zt")


def test_a_tree_that_cannot_be_saved_leaves_nothing(zt):
    with pytest.raises(zt.Error, match="there is no folder"):
        zt.save_tree(zt.ztRoot(), "no/folder/tree.zt")
    os.mkdir("folder")
    with pytest.raises(zt.Error):
        zt.save_tree(zt.ztRoot(), "folder")
    assert os.listdir() == ["folder"]
    for wrong in (None, 5, zt.Gauge()):
        with pytest.raises(TypeError):
            zt.save_tree(wrong, "x.zt")


def test_a_deep_tree_is_walked(zt):
    root = node = zt.ztRoot()
    for _ in range(5000):
        below = zt.ztRoot()
        node.addChild(below)
        node = below
    assert sum(1 for _ in zt.walk(root)) == 5001
