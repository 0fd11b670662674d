"""The lines that show what the package is, as they stand."""

import subprocess

from conftest import TESTS, compiled

LINES = '''\
import zentova as zt
zt.load_plugin("./gauge.so")
g = zt.Gauge()
g.level = 3
print(g.level, zt.signals(zt.Gauge))            # 3 ['levelChanged(int32_t level)']
seen = []
with zt.connect(g, "levelChanged", seen.append):
    g.level = 4
g.level = 5
print(seen)                                      # [4]

@zt.subclass
class Alarm(zt.Gauge):                            # a real class of the engine
    limit = zt.prop("ztInt", 10)
    def write(self, file): return self.up("write", file) and file.writeInt(self.limit)
zt.save_tree(root := zt.ztRoot(name="plant"), "plant.zt")
print([n.name for n in zt.open_tree("plant.zt")]) # ['plant']
'''


def test_the_lines_work_as_they_stand(run, tmp_path):
    compiled(TESTS / "gauge.c", tmp_path)
    done = run(LINES)
    assert done.stderr == ""
    assert done.stdout == "3 ['levelChanged(int32_t level)']\n[4]\n['plant']\n"
    assert done.returncode == 0
    assert sorted(path.name for path in tmp_path.iterdir()) == ["gauge.so", "plant.zt"]


def test_a_plugin_that_is_linked_to_the_library_is_loaded_too(run, tmp_path, monkeypatch):
    import os
    library = os.environ.get("ZENTOVA_LIBRARY", "")
    if not library:
        compiled(TESTS / "gauge.c", tmp_path)
    else:
        subprocess.run([os.environ.get("CC", "cc"), "-shared", "-fPIC", "-I", TESTS.parents[1], TESTS / "gauge.c",
                        library, "-o", tmp_path / "gauge.so"], check=True)
    assert run(LINES).stdout.endswith("['plant']\n")


def test_importing_prints_nothing_and_leaves_no_file(run, tmp_path):
    done = run("import zentova")
    assert (done.stdout, done.stderr, done.returncode) == ("", "", 0)
    assert list(tmp_path.iterdir()) == []


def test_importing_leaves_the_environment_as_it_was(run):
    source = "import os; before = dict(os.environ); import zentova; assert dict(os.environ) == before, os.environ"
    assert run(source).returncode == 0
    assert run(source, ZENTOVA_LOG="").returncode == 0


def test_the_place_that_the_user_chose_for_the_log_stays(run, tmp_path):
    source = "import zentova as zt\ntry: zt.open_tree('none.zt')\nexcept zt.Error as problem: print(problem)"
    done = run(source, ZENTOVA_LOG="own.log")
    assert done.returncode == 0 and "none.zt" in done.stdout
    assert "zentova" in (tmp_path / "own.log").read_text().lower()
    done = run(source, ZENTOVA_LOG="stderr")
    assert done.returncode == 0 and done.stderr != ""


def test_a_missing_library_is_told(run):
    done = run("import zentova", ZENTOVA_LIBRARY="./none.so")
    assert done.returncode == 1 and "ZENTOVA_LIBRARY" in done.stderr.splitlines()[-1]


def test_objects_that_are_left_at_the_end_do_no_harm(run, tmp_path):
    compiled(TESTS / "gauge.c", tmp_path)
    done = run(LINES + '''
@zt.subclass
class Kept(zt.ztRoot):
    title = zt.prop("ztString", "kept")
    def destroy(self): print("destroyed", self.title)
kept, root = Kept(), zt.ztRoot()
root.addChild(Kept())
connection = zt.connect(kept, "childAdded", print)
kept.me = kept
''')
    assert done.stderr == "" and done.returncode == 0
    assert done.stdout.splitlines()[3:] == ["destroyed kept", "destroyed kept"]


def test_a_child_of_fork_works_and_ends(run):
    done = run('''
import os, zentova as zt
@zt.subclass
class Forked(zt.ztRoot):
    limit = zt.prop("ztInt", 4)
one = Forked()
child = os.fork()
one.limit = 5
assert one.limit == 5
if child:
    assert os.waitpid(child, 0)[1] == 0
''')
    assert (done.stdout, done.stderr, done.returncode) == ("", "", 0)
