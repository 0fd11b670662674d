"""What goes wrong outside of the package: plugins that are none, functions that raise, pipes, threads, the end."""

import copy
import os
import pickle
import struct
import subprocess
import sys
import threading

import pytest

from conftest import TESTS, compiled


# Plugins

@pytest.mark.parametrize("name, change, why", [
    ("empty", lambda data: b"", "it is empty"), ("text", lambda data: b"no library\n" * 900, "no shared library"),
    ("32 bits", lambda data: data[:4] + b"\1" + data[5:], "64 bits"),
    ("high bytes first", lambda data: data[:5] + b"\2" + data[6:], "the lower ones first"),
    ("another machine", lambda data: data[:18] + struct.pack("<H", 183) + data[20:], "another machine .number 183"),
    ("program", lambda data: data[:16] + struct.pack("<H", 1) + data[18:], "another file in ELF"),
    ("only its header", lambda data: data[:64], "it is cut"), ("cut in its header", lambda data: data[:30], "cut"),
])
def test_files_that_are_no_plugins_are_refused(zt, plugins, tmp_path, name, change, why):
    plugin = tmp_path / f"{name}.so"
    plugin.write_bytes(change((plugins / "gauge.so").read_bytes()))
    with pytest.raises(zt.Error, match=f"the plugin .*{name}.so' is not loaded: .*{why}"):
        zt.load_plugin(plugin)


def test_places_that_are_no_plugins_are_refused(zt, tmp_path):
    os.mkfifo(tmp_path / "pipe.so")
    for path, why in ((tmp_path, "it is a folder"), (tmp_path / "none.so", "No such file"), ("none.so", "cannot open"),
                      (tmp_path / "pipe.so", "it is no file"), ("a\0b.so", "not loaded"), ("/dev/null", "it is no file")):
        with pytest.raises(zt.Error, match=f"is not loaded: .*{why}" if why != "not loaded" else why):
            zt.load_plugin(path)
    for wrong in (None, 5, []):
        with pytest.raises(TypeError):
            zt.load_plugin(wrong)


def test_a_plugin_that_is_cut_anywhere_does_no_harm(run, plugins, tmp_path):
    done = run(f"""
import zentova as zt
data = open({str(plugins / "meter.so")!r}, "rb").read()
refused = 0
for at in range(0, len(data), 401):
    name = f"./cut{{at}}.so"
    open(name, "wb").write(data[:at])
    try:
        zt.load_plugin(name)
    except zt.Error:
        refused += 1
    else:
        break  # what is left holds all that the loader needs
assert refused > 20, refused
""")
    assert (done.returncode, done.stderr) == (0, "")


def test_a_plugin_that_lacks_a_function_is_refused(zt, tmp_path):
    source = tmp_path / "lacking.c"
    source.write_text("void ztNoSuchFunction(void);\n"
                      "__attribute__((constructor)) static void begin(void) { ztNoSuchFunction(); }\n")
    with pytest.raises(zt.Error, match="ztNoSuchFunction"):
        zt.load_plugin(compiled(source, tmp_path))


@pytest.mark.parametrize("library, told", [("libm.so.6", "not the library of the Zentova OOP Engine"),
                                           ("./text.so", "cannot be loaded"), (".", "cannot be loaded"),
                                           ("./empty.so", "cannot be loaded")])
def test_importing_without_the_library_raises_one_import_error(run, tmp_path, library, told):
    (tmp_path / "text.so").write_text("no library")
    (tmp_path / "empty.so").write_bytes(b"")
    done = run("try: import zentova\nexcept ImportError as problem: print(problem)", ZENTOVA_LIBRARY=library)
    assert done.returncode == 0 and done.stderr == "" and told in done.stdout
    assert sorted(path.name for path in tmp_path.iterdir()) == ["empty.so", "text.so"]


# Functions in Python that raise

@pytest.fixture(scope="module")
def raising(zt):
    @zt.subclass
    class Unsteady(zt.ztRoot):
        where = None

        def fail(self, name):
            if Unsteady.where == name:
                raise LookupError(f"{name} fails")

        def create(self):
            self.fail("create")
            return self.up("create")

        def destroy(self):
            self.fail("destroy")

        def write(self, file):
            done = self.up("write", file) and file.writeInt(5)
            self.fail("write")
            return done

        def read(self, file):
            done = self.up("read", file) and file.readInt()
            self.fail("read")
            return 1 if done else 0

        def isEqual(self, other):
            self.fail("isEqual")
            return int(self.name == other.name)

        def assign(self, other):
            self.fail("assign")
            return self.up("assign", other)

        def getUid(self):
            self.fail("getUid")
            return self.up("getUid")

        def setName(self, name):
            self.fail("setName")
            return self.up("setName", name)
    yield Unsteady
    Unsteady.where = None


@pytest.mark.parametrize("where", ["create", "destroy", "write", "read", "isEqual", "assign", "getUid", "setName"])
def test_what_a_method_raises_is_raised_and_no_half_file_is_left(zt, raising, where):
    root = zt.ztRoot(name="root")
    for name in ("one", "two"):
        root.addChild(raising(name=name))
    zt.save_tree(root, "whole.zt")
    before = open("whole.zt", "rb").read()
    actions = {"create": raising, "destroy": lambda: raising.release(other), "write": lambda: zt.save_tree(root, "whole.zt"),
               "read": lambda: zt.open_tree("whole.zt"), "isEqual": lambda: one.isEqual(two),
               "assign": lambda: one.assign(two), "getUid": lambda: zt.save_tree(root, "whole.zt"),
               "setName": lambda: one.setName("new")}
    one, two, other = *root.children, raising()
    raising.where = where
    with pytest.raises(LookupError, match=f"{where} fails"):
        actions[where]()
    raising.where = None
    assert open("whole.zt", "rb").read() == before and os.listdir() == ["whole.zt"]
    # All of it is as before, and works.
    assert [node.name for node in zt.open_tree("whole.zt")] == ["root", "one", "two"] and one.isEqual(one) == 1
    assert other.has_ended == (where == "destroy")


def test_a_slot_that_raises_during_a_save_leaves_the_old_file(zt, raising):
    @zt.subclass
    class Telling(zt.ztRoot):
        signals = ["written()"]

        def write(self, file):
            zt.emit(self, "written")
            return self.up("write", file)
    root = Telling(name="root")
    zt.save_tree(root, "told.zt")
    before = open("told.zt", "rb").read()

    def fail():
        raise LookupError("not now")
    root.name = "other"
    with zt.connect(root, "written", fail), pytest.raises(LookupError, match="not now"):
        zt.save_tree(root, "told.zt")
    assert open("told.zt", "rb").read() == before and os.listdir() == ["told.zt"]


# Files that do not take what is written

def test_a_full_device_raises(zt):
    file = zt.ztFile()
    file.open("/dev/full", "wb")
    with pytest.raises(zt.Error):
        for _ in range(100_000):
            file.writeInt(1)
        file.flush()
    with pytest.raises(zt.Error):
        zt.save_tree(zt.ztRoot(), "/dev/full/tree.zt")


def test_a_closed_pipe_raises(zt):
    reader, writer = os.pipe()
    file = zt.ztFile()
    file.open(f"/proc/self/fd/{writer}", "wb")
    os.close(reader)
    with pytest.raises(zt.Error):
        for _ in range(100_000):
            zt.write_object(file, zt.ztRoot())
        file.flush()
    os.close(writer)


def test_closed_standard_streams_do_no_harm(tmp_path):
    source = "import zentova as zt; zt.save_tree(zt.ztRoot(name='a'), 'a.zt'); assert len(zt.open_tree('a.zt')) == 1"
    environment = os.environ | {"PYTHONPATH": str(TESTS.parent), "PYTHONDONTWRITEBYTECODE": "1"}
    done = subprocess.run(["/bin/sh", "-c", 'exec "$0" -c "$1" <&- >&- 2>&-', sys.executable, source], cwd=tmp_path,
                          env=environment)
    assert done.returncode == 0


# Threads, copies, the end

def test_objects_that_two_threads_use_stay_whole(zt):
    numbers, node, tag, names = zt.ztIntArray(), zt.ztRoot(name="shared"), zt.ztTag(), zt.ztMap(key=int, value=str)
    series = tag.attributes.add("values", int, 0)
    problems, count = [], 200

    def work(which):
        try:
            for turn in range(count):
                numbers.append(turn)
                names[which * count + turn] = str(turn)
                node.name = f"{which} {turn}"
                assert node.name.split()[0] in "0123"
                child = zt.ztRoot(name=str(turn))
                node.addChild(child)
                tag.attributes["values"][0:0] = [turn] if turn % 40 == 0 else []
                if turn % 50 == 0:
                    assert len(list(numbers)) <= len(numbers) and len(list(node.children)) <= len(node.children)
        except BaseException as problem:
            problems.append(problem)
    before = sys.getswitchinterval()
    sys.setswitchinterval(1e-5)
    threads = [threading.Thread(target=work, args=(which,)) for which in range(4)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    sys.setswitchinterval(before)
    assert problems == []
    assert len(numbers) == len(names) == len(node.children) == 4 * count
    assert 0 < len(series) <= 20


@pytest.mark.parametrize("meanwhile", ["nothing", "forgotten", "replaced"])
def test_a_wrapper_that_is_forgotten_while_another_thread_does_something(zt, meanwhile):
    from zentova import _objects as objects
    address, later = 1, lambda: None

    def gone():
        if meanwhile == "forgotten":
            del objects.made[address]
        if meanwhile == "replaced":
            objects.made[address] = later
    objects.made[address] = gone
    objects.forget(address)
    assert objects.made.pop(address, None) is (later if meanwhile == "replaced" else None)


def test_what_one_thread_walks_and_another_one_takes_apart(zt):
    root, tag, names = zt.ztRoot(), zt.ztTag(), zt.ztList(element=str)
    series, problems, done = tag.attributes.add("values", int, 0), [], threading.Event()

    def walk():
        try:
            while not done.is_set():
                for node in zt.walk(root):
                    try:
                        assert isinstance(node.name, str)
                    except zt.EndedError:
                        pass
                assert all(type(value) is int for value in series) and all(type(name) is str for name in names)
                list(root.children), repr(names), repr(tag.attributes)
        except BaseException as problem:
            problems.append(problem)
    before = sys.getswitchinterval()
    sys.setswitchinterval(1e-5)
    threads = [threading.Thread(target=walk) for _ in range(2)]
    for thread in threads:
        thread.start()
    for turn in range(60):
        for number in range(20):
            root.addChild(zt.ztRoot(name=str(number)))
            names.append(str(number))
        series.assign(range(turn % 7 * 30))
        for node in root.deleteAllChild():
            node.release()
        names.clear()
    done.set()
    for thread in threads:
        thread.join()
    sys.setswitchinterval(before)
    assert problems == []


def test_an_object_that_another_thread_ended_raises(zt):
    node = zt.ztRoot()
    thread = threading.Thread(target=node.release)
    thread.start()
    thread.join()
    with pytest.raises(zt.EndedError):
        node.getName()


def everything(zt):
    """One of each kind of what the package gives."""
    node, tag, meter = zt.ztRoot(name="n"), zt.ztTag(), zt.Meter()
    zt.save_tree(node, "n.zt")
    return [node, tag, zt.Gauge(), meter, zt.ztString(), zt.ztIntArray([1]), zt.ztMap({1: 2}, key=int, value=int),
            zt.ztLink(), zt.ztFile(), node.children, tag.attributes, tag.attributes.add("a", int), meter.gauge,
            zt.connect(node, "childAdded", print), zt.open_tree("n.zt"), zt.Probe().any]


def test_nothing_of_the_engine_is_pickled_and_only_objects_are_copied(zt):
    for one in everything(zt):
        with pytest.raises(TypeError, match=f"{type(one).__name__}: neither pickled nor copied"):
            pickle.dumps(one)
        for copied in (copy.copy, copy.deepcopy):
            if isinstance(one, zt.ztFile):
                with pytest.raises(zt.Error):
                    copied(one)
            elif isinstance(one, zt.Object):
                assert type(copied(one)) is type(one) and copied(one) != one
            else:
                with pytest.raises(TypeError, match="neither pickled nor copied"):
                    copied(one)
    # Classes are pickled by their names.
    assert pickle.loads(pickle.dumps(zt.ztRoot)) is zt.ztRoot


def test_everything_is_shown_also_when_it_has_ended(zt):
    shown = everything(zt)
    for one in shown + [zt.ztRoot, zt.Object, zt.prop("ztInt"), zt.series(int), zt.properties(zt.Gauge)]:
        assert " object at 0x" not in repr(one) and repr(one), repr(one)
    for one in shown:
        if isinstance(one, zt.Object):
            one.release()
            assert "of the past" in repr(one)
        elif isinstance(one, zt.Connection):
            one.disconnect()
            assert "of the past" in repr(one)
    for one in shown[9:13]:
        assert "of the past" in repr(one)


END = """
import sys, threading, zentova as zt
zt.load_plugin("./meter.so")
@zt.subclass
class Last(zt.ztTag):
    limit = zt.prop("ztString", "kept")
    values = zt.series(float, 3)
    signals = ["told(int32_t n)"]
    def create(self):
        self.link = zt.ztLink()
        return self.up("create")
root, kept = zt.ztRoot(name="root"), []
for number in range(5):
    root.addChild(one := Last(name=str(number)))
    root.addChild(meter := zt.Meter())
    meter.gauge.target = one.link.target = root
    meter.hours = 3
    kept += [one, one.values, one.attributes, one.link, meter, meter.gauge, zt.connect(one, "told", print),
             zt.on_change(one, "limit", print), iter(root.children), zt.walk(root), zt.ztList(["a"], element=str)]
    one.me = one
for walker in kept[8::11] + kept[9::11]:
    next(walker)
"""


@pytest.mark.parametrize("end, code", [("", 0), ("sys.exit(3)", 3), ("root.release()", 0), ("del zt; kept[0].keep = kept", 0),
                                       ("import os; os._exit(4)", 4),
                                       ("threading.Thread(target=lambda: root.children, daemon=True).start()", 0),
                                       ("sys.modules.clear()", 0), ("root = None", 0), ("raise SystemExit(5)", 5),
                                       ("zt.connect(root, 'childAdded', sys.exit); root.addChild(zt.ztRoot())", None)])
def test_the_interpreter_ends_without_a_word(run, plugins, tmp_path, end, code):
    (tmp_path / "meter.so").write_bytes((plugins / "meter.so").read_bytes())
    done = run(END + end)
    if code is not None:
        assert (done.returncode, done.stdout, done.stderr) == (code, "", "")
    assert done.returncode >= 0 and "Fatal" not in done.stderr
    assert sorted(path.name for path in tmp_path.iterdir()) == ["meter.so"]


def test_a_child_of_fork_ends_its_own_copies_only(run):
    done = run("""
import os, zentova as zt
@zt.subclass
class Shown(zt.ztRoot):
    def destroy(self): print("ended", self.name, flush=True)
one, file = Shown(name="shared"), zt.ztFile()
file.open("both.bin", "w+b")
file.writeInt(1)
file.flush()
child = os.fork()
if not child:
    one.name = "of the child"
    zt.save_tree(one, "child.zt")
else:
    assert os.waitpid(child, 0)[1] == 0
    assert one.name == "shared" and [node.name for node in zt.open_tree("child.zt")] == ["of the child"]
""")
    assert (done.returncode, done.stderr) == (0, "")
    assert done.stdout.splitlines() == ["ended of the child", "ended of the child", "ended shared"]
