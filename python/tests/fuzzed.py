"""Calls every member of every class with wrong numbers, kinds and ended objects, and prints how often. It must reach
its last line: run by test_safety.py in a process of its own.

    python3 fuzzed.py FOLDER SEED ROUNDS PLUGIN...
"""

import collections
import gc
import os
import random
import resource
import sys

import zentova as zt

COUNTS = collections.Counter()


def make_or_none(cls):
    try:
        return cls()
    except (zt.Error, TypeError):
        COUNTS["refused classes"] += 1
        return None


def ended(cls):
    one = make_or_none(cls)
    if one is not None:
        one.release()
    return one


def subclasses():
    @zt.subclass
    class FuzzNode(zt.ztRoot):
        limit = zt.prop("ztInt", 1)
        title = zt.prop("ztString", "title")
        signals = ["told(int32_t a, double b, const char *c, ztRoot *d)"]

        def write(self, file):
            return self.up("write", file) and file.writeInt(self.limit)

        def read(self, file):
            self.limit = self.up("read", file) and file.readInt()
            return 1

        def getUid(self):
            return self.up("getUid")

    @zt.subclass
    class FuzzRaising(FuzzNode):
        def write(self, file):
            raise LookupError("never written")

        def setName(self, name):
            if name == "a":
                raise LookupError("never named")
            return self.up("setName", name)

    @zt.subclass
    class FuzzString(zt.ztString):
        def get(self):
            return "of Python"

    @zt.subclass
    class FuzzTag(zt.ztTag):
        flow = zt.series(float, 5)
        starts = zt.series(int, [1, 2, 3])
        done = [print_nothing]

        def create(self):
            self.link = zt.ztLink()
            return self.up("create")

        def attrChanged(self, series):
            FuzzTag.done[0](self, series)

    return [FuzzNode, FuzzRaising, FuzzString, FuzzTag]


class Turning:
    """A number whose conversion ends or empties an object."""

    def __init__(self, one, number):
        self.one, self.number = one, number

    def __index__(self):
        for change in (lambda: self.one.clear(), lambda: self.one.release(), lambda: self.one.setParent(None)):
            try:
                change()
            except Exception:
                pass
        return self.number

    def __float__(self):
        return float(self.__index__())


class Values:
    """What is passed: right ones too, so that calls come through."""

    def __init__(self, dice, classes):
        self.dice, self.classes = dice, classes
        self.alive, self.dead = [], []
        self.now = None  # the object that is attacked
        self.renew()

    def renew(self):
        self.alive = [one for one in map(make_or_none, self.classes) if one is not None]
        self.dead = [one for one in map(ended, self.classes) if one is not None]
        for one in self.alive:
            self.fill(one)

    def fill(self, one):
        file_class = zt.ztFile
        if isinstance(one, file_class) and self.dice.random() < 0.7:
            one.open("fuzzed.dat", self.dice.choice(["w+b", "r+b", "a+b"]) if os.path.exists("fuzzed.dat") else "w+b")

    def number(self):
        return self.dice.choice([0, 1, -1, 2, 7, 255, 1000, 2**31 - 1, -2**31, 2**31, 2**63 - 1, 2**64, -2**63, True])

    def turning(self):
        """A number that changes the object that is attacked now, or another one."""
        alive = [one for one in self.alive if not one.has_ended]
        return Turning(self.dice.choice([self.now, self.now, *alive[:1], *alive[-1:]]), self.dice.choice([0, 1, -1, 7]))

    def any(self):
        dice = self.dice
        return dice.choice([
            self.number, self.number,
            lambda: dice.choice(["", "a", "fuzzed.dat", "x" * 5000, "r+b", "ä\udcff", "a\0b", "%n%s", "told"]),
            lambda: dice.choice([0.0, -1.5, 1e308, float("nan"), float("inf")]),
            lambda: dice.choice([None, b"", b"abcd", bytearray(b"x"), [], {}, object(), int, zt, zt.ztRoot, ..., 1j]),
            lambda: dice.choice(self.alive), lambda: dice.choice(self.alive), lambda: dice.choice(self.alive),
            lambda: dice.choice(self.dead), lambda: self.turning(),
        ])()


def members(cls):
    """The names of everything that an object of the class has."""
    found = set()
    for above in cls.__mro__[:-1]:
        found.update(name for name in vars(above) if not name.startswith("_"))
    found.update(("__len__", "__getitem__", "__setitem__", "__delitem__", "__contains__", "__eq__", "__iter__"))
    return sorted(found)


def attempt(function, *args):
    COUNTS["calls"] += 1
    try:
        got = function(*args)
        if hasattr(got, "__next__"):
            for _, one in zip(range(5), got):
                repr(one)
        repr(got)
        COUNTS["returned"] += 1
        return got
    except Exception as problem:
        COUNTS[type(problem).__name__] += 1
        return None


def arguments_of(member):
    """How many arguments a method takes, without the object."""
    function = getattr(getattr(member, "__func__", member), "__wrapped__", getattr(member, "__func__", member))
    code = getattr(function, "__code__", None)
    return max(code.co_argcount - 1, 0) if code else 1


def attack(cls, values, dice):
    for name in members(cls):
        COUNTS["members"] += 1
        for _ in range(3):
            one = dice.choice([make_or_none(cls), make_or_none(cls), ended(cls)])
            values.now = one
            if one is None:
                # Of a class that is not made: as a function, for objects of others.
                member = getattr(cls, name, None)
                if callable(member):
                    attempt(member, *(values.any() for _ in range(dice.randrange(5))))
                continue
            if not one.has_ended:
                values.fill(one)
            member = attempt(getattr, one, name)
            if callable(member):
                for count in (arguments_of(member), arguments_of(member), arguments_of(member), dice.randrange(5)):
                    attempt(member, *(values.any() for _ in range(count)))
            else:
                attempt(setattr, one, name, values.any())
            function = attempt(getattr, cls, name)
            if callable(function):
                attempt(function, *(values.any() for _ in range(dice.randrange(4))))


def attack_module(values, dice):
    skipped = {"load_plugin", "subclass", "prop", "series", "Object", "Pointer"}
    for name in zt.__all__:
        function = getattr(zt, name)
        if name in skipped or not callable(function):
            continue
        for _ in range(8):
            attempt(function, *(values.any() for _ in range(dice.randrange(5))))
    nodes = [one for one in values.alive if isinstance(one, zt.ztObject)]
    for _ in range(60):
        one = dice.choice(nodes)
        attempt(zt.connect, one, dice.choice(["told", "destroyed", "childAdded", "childDeleted", "own"]),
                dice.choice([print_nothing, raising, one.release]),)
        attempt(zt.emit, one, dice.choice(["told", "own", "destroyed"]), *(values.any() for _ in range(dice.randrange(5))))
        attempt(zt.add_property, one, dice.choice(["alpha", "beta", "name"]), dice.choice(
            ["ztInt", "ztString", "ztCharPtr", "ztVoidPtr", "ztFloat", "ztChar", "ztBool"]), values.any())
        for name in ("alpha", "beta", "level", "name"):
            attempt(setattr, one, name, values.any())
            attempt(getattr, one, name)
        attempt(zt.on_change, one, "alpha", dice.choice([print_nothing, raising, one.release]))


def print_nothing(*_):
    pass


def raising(*_):
    raise ArithmeticError("a slot that raises")


def attack_parts(values, dice, cls):
    """Series of tags and links, which the members of classes do not show."""
    changes = [print_nothing, print_nothing, raising, lambda tag, series: tag.release(),
               lambda tag, series: tag.attributes.clear(), lambda tag, series: series.resize(dice.randrange(9))]
    tags = [one for one in values.alive + values.dead if isinstance(one, zt.ztTag)]
    nodes = [one for one in values.alive if isinstance(one, zt.ztRoot)]
    links = [zt.ztLink() for _ in range(3)] + [zt.ztLinkArray([zt.ztLink()])]
    names = [name for name in dir(zt.Series) if not name.startswith("_")]
    names += ["__len__", "__getitem__", "__setitem__", "__delitem__", "__contains__", "__iter__", "__reversed__"]
    kept = []
    for _ in range(150):
        cls.done[0] = dice.choice(changes)
        values.now = tag = dice.choice(tags)
        attributes = attempt(lambda: tag.attributes)
        if attributes is not None:
            name = dice.choice(["flow", "starts", "new", "other", values.any()])
            attempt(attributes.add, name, dice.choice([int, float, values.any()]), values.any())
            attempt(attributes.__setitem__, name, dice.choice([[1, 2], [1.5], values.any()]))
            attempt(attributes.swap, name, dice.choice(["flow", "starts", values.any()]))
            if dice.random() < 0.2:
                attempt(attributes.__delitem__, name)
            kept += [one for one in (attempt(attributes.get, name),) if isinstance(one, zt.Series)]
            attempt(lambda: [list(one) for one in attributes.values()])
        for series in kept[-3:] + kept[:1]:
            member = attempt(getattr, series, dice.choice(names))
            if callable(member):
                attempt(member, *(values.any() for _ in range(dice.randrange(3))))
            attempt(setattr, series, "user_value", values.any())
        if not nodes:
            continue
        node = dice.choice(nodes)
        link = dice.choice(links + [one for one in (attempt(getattr, node, "gauge"),) if isinstance(one, zt.Link)])
        attempt(setattr, link, "target", dice.choice([node, None, values.any()]))
        attempt(getattr, link, "target")
        attempt(link.resolve, dice.choice([node, values.any()]))
        attempt(zt.resolve_links, node)
        if dice.random() < 0.1:
            attempt(node.release)
            nodes = [one for one in nodes if not one.has_ended]
    cls.done[0] = print_nothing


def attack_trees(values, dice):
    roots = [one for one in values.alive if isinstance(one, zt.ztRoot)]
    for _ in range(100):
        one, other = dice.choice(roots), dice.choice(roots)
        attempt(one.addChild, other)
        attempt(one.deleteChild, other)
        attempt(one.setParent, dice.choice([other, None]))
        attempt(one.clone)
        if dice.random() < 0.1:
            attempt(one.deleteAllChild)
        if dice.random() < 0.1:
            attempt(other.release)
            roots = [one for one in roots if not one.has_ended] or [zt.ztRoot()]
        attempt(lambda: [node.getName() for node in zt.walk(one)])
        if dice.random() < 0.2:
            attempt(zt.save_tree, one, "fuzzed.zt")
            attempt(lambda: [repr(node) for node in zt.open_tree("fuzzed.zt")])


def main():
    folder, seed, rounds, plugins = sys.argv[1], int(sys.argv[2]), int(sys.argv[3]), sys.argv[4:]
    os.chdir(folder)
    if "asan" not in os.environ.get("LD_PRELOAD", ""):
        # A size of gigabytes is refused, not tried.
        resource.setrlimit(resource.RLIMIT_AS, (2 << 30, 2 << 30))
    resource.setrlimit(resource.RLIMIT_CORE, (0, 0))
    resource.setrlimit(resource.RLIMIT_FSIZE, (1 << 24, 1 << 24))
    dice = random.Random(seed)
    for plugin in plugins:
        zt.load_plugin(plugin)
    made = subclasses()
    classes = zt.classes()
    COUNTS["classes"] = len(classes)
    COUNTS["methods"] = sum(len(zt.methods(cls)) for cls in classes)
    assert set(made) <= set(classes)
    for _ in range(rounds):
        values = Values(dice, classes)
        for cls in classes:
            attack(cls, values, dice)
            if dice.random() < 0.2:
                values.renew()
        attack_module(values, dice)
        attack_parts(values, dice, made[-1])
        values.renew()
        attack_trees(values, dice)
        del values
        gc.collect()
    print(" ".join(f"{name.replace(' ', '_')}={count}" for name, count in sorted(COUNTS.items())))
    print("all done")


main()
