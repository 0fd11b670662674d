"""Links: set, followed, stored and resolved; and targets that end."""

import gc

import pytest


@pytest.fixture
def plant(zt):
    """A root with a gauge and a pump that follows it."""
    class Plant:
        root = zt.ztRoot(name="root")
        pump, gauge = zt.Meter(name="pump"), zt.ztRoot(name="gauge")
    Plant.root.addChild(Plant.pump)
    Plant.root.addChild(Plant.gauge)
    return Plant


def test_a_link_in_a_node_is_set_and_followed(zt, plant):
    link = plant.pump.gauge
    assert isinstance(link, zt.Link) and link.target is None and link.targetId == -1
    link.target = plant.gauge
    assert link.target == plant.gauge and link.target.name == "gauge" and link.targetId == plant.gauge.getUid()
    assert plant.pump.gauge == link and plant.pump.gauge.target == plant.gauge
    link.target = plant.root
    assert plant.pump.gauge.target == plant.root
    link.target = None
    assert link.target is None and link.targetId == -1
    for wrong in (5, "gauge", zt.Gauge(), link):
        with pytest.raises(TypeError):
            link.target = wrong
    with pytest.raises(AttributeError):
        plant.pump.gauge = plant.gauge
    plant.gauge.setUid(-1)
    with pytest.raises(zt.Error, match="identifier -1"):
        link.target = plant.gauge
    assert link.target is None


def test_a_target_that_has_ended_is_none(zt, plant):
    link, own = plant.pump.gauge, zt.ztLink()
    link.target = own.target = plant.gauge
    identifier = link.targetId
    plant.gauge.setParent(None)
    plant.gauge.release()
    assert link.target is None and own.target is None and link.targetId == identifier and own.targetId == identifier
    # The memory may be used anew.
    others = [zt.ztRoot() for _ in range(100)]
    assert link.target is None and own.target is None and len(others) == 100


def test_a_target_that_c_has_set_is_found_in_the_tree(zt, plant):
    plant.pump.follow(plant.gauge)
    assert plant.pump.gauge.target == plant.gauge
    stranger = zt.ztRoot(name="in no tree")
    plant.pump.follow(stranger)
    with pytest.raises(zt.UnsafeError, match="resolve"):
        plant.pump.gauge.target
    stranger.release()
    with pytest.raises(zt.UnsafeError):
        plant.pump.gauge.target
    assert plant.pump.gauge.resolve(plant.root) is None
    assert plant.pump.gauge.target is None


def test_a_link_ends_with_its_node(zt, plant):
    link = plant.pump.gauge
    link.target = plant.gauge
    plant.root.release()
    for use in (lambda: link.target, lambda: link.targetId, lambda: setattr(link, "target", None),
                lambda: link.resolve(zt.ztRoot()), lambda: plant.pump.gauge):
        with pytest.raises(zt.EndedError, match="the Meter has ended"):
            use()
    assert repr(link) == "<the link of the past>"
    with pytest.raises(TypeError):
        zt.Link()


def test_a_link_of_its_own(zt, plant):
    link = zt.ztLink(target=plant.gauge)
    assert link.target == plant.gauge and repr(link) == f"<the link to {plant.gauge.getUid()}>"
    # A copy has the identifier, and is not resolved.
    other = link.clone()
    assert other.target is None and other.targetId == link.targetId
    assert other.resolve(plant.root) == plant.gauge and other.target == plant.gauge
    assert other.resolve(zt.ztRoot()) is None and other.target is None
    with pytest.raises(TypeError):
        other.resolve(None)
    link.release()
    with pytest.raises(zt.EndedError):
        link.target
    assert repr(link) == "<the link of the past>"


def test_a_link_does_not_keep_its_target(zt):
    link, node = zt.ztLink(), zt.ztRoot()
    link.target = node
    del node
    gc.collect()
    assert link.target is None


@pytest.fixture(scope="module")
def linked(zt):
    @zt.subclass
    class Linked(zt.ztRoot):
        def create(self):
            self.first, self.second = zt.ztLink(), zt.ztLink()
            return self.up("create")

        def write(self, file):
            return self.up("write", file) and self.first.write(file) and self.second.write(file)

        def read(self, file):
            return self.up("read", file) and self.first.read(file) and self.second.read(file)
    return Linked


@pytest.mark.parametrize("text", [False, True])
def test_links_are_stored_and_resolved_in_their_tree(zt, plant, linked, text):
    plant.pump.gauge.target = plant.gauge
    one = linked(name="linked")
    plant.gauge.addChild(one)
    one.first.target = plant.pump
    assert set(zt.links(one)) == {"first", "second"} and set(zt.links(plant.pump)) == {"gauge"} and zt.links(plant.root) == {}
    assert zt.save_tree(plant.root, "plant.zt", text=text) == 4
    tree = zt.open_tree("plant.zt")
    root, pump, gauge, opened = tree
    assert pump.gauge.target is None and pump.gauge.targetId == gauge.uid and opened.first.target is None
    assert zt.resolve_links(tree.roots[0]) == 2
    assert pump.gauge.target == gauge and opened.first.target == pump and opened.second.target is None
    # From node to node, along the links.
    assert opened.first.target.gauge.target.name == "gauge"
    opened.first.target = root
    gauge.setUid(12345)
    assert zt.resolve_links(root) == 1 and pump.gauge.target is None


def test_an_array_of_links(zt, plant):
    links = zt.ztLinkArray([zt.ztLink(target=plant.gauge), zt.ztLink()])
    links.append(zt.ztLink(target=plant.pump))
    assert len(links) == 3 and [one.target for one in links] == [None] * 3
    assert links.resolve(plant.root) == [plant.gauge, None, plant.pump]
    with zt.ztFile() as file:
        file.open("links.bin", "w+b")
        links.write(file)
        file.goToBegin()
        read = zt.ztLinkArray()
        read.read(file)
    assert [one.targetId for one in read] == [plant.gauge.getUid(), -1, plant.pump.getUid()]
    assert read.resolve(plant.root)[2] == plant.pump
    with pytest.raises(TypeError):
        links.append(plant.pump)


def test_many_links_leave_nothing_behind(zt, plant):
    from zentova import _links
    for number in range(600):
        pump = zt.Meter()
        pump.gauge.target = plant.gauge
        pump.release()
    assert len(_links.inner) <= 400
    plant.root.release()


def test_a_property_that_c_gave_an_object_is_an_attribute(zt):
    pump = zt.Meter()
    assert pump.hours == 11
    pump.hours = 12
    assert pump.hours == 12 and zt.get_property(pump, "hours") == 12
    assert not hasattr(zt.ztRoot(), "hours")
