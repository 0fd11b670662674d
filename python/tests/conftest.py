"""What the tests share: the plugins, compiled once, and a folder of its own for each test."""

import os
import pathlib
import subprocess
import sys

import pytest

TESTS = pathlib.Path(__file__).resolve().parent
ROOT = TESTS.parents[1]
sys.path.insert(0, str(ROOT / "python"))


def compiled(source, folder):
    """A plugin that is not linked to the library: the module has loaded that."""
    plugin = pathlib.Path(folder) / (pathlib.Path(source).stem + ".so")
    subprocess.run([os.environ.get("CC", "cc"), "-shared", "-fPIC", "-I", ROOT, source, "-o", plugin], check=True)
    return plugin


def pytest_configure(config):
    """What a `__del__` or a thread raises is a failure."""
    for name in ("PytestUnraisableExceptionWarning", "PytestUnhandledThreadExceptionWarning"):
        config.addinivalue_line("filterwarnings", f"error::pytest.{name}")


@pytest.fixture(scope="session")
def plugins(tmp_path_factory):
    """The folder with gauge.so, probe.so and meter.so."""
    folder = tmp_path_factory.mktemp("plugins")
    for name in ("gauge.c", "probe.c", "meter.c"):
        compiled(TESTS / name, folder)
    return folder


@pytest.fixture(autouse=True)
def in_a_folder_of_its_own(tmp_path, monkeypatch):
    monkeypatch.chdir(tmp_path)


@pytest.fixture(scope="session")
def zt(plugins):
    """The module with the classes of the plugins."""
    import zentova
    for name in ("gauge.so", "probe.so", "meter.so"):
        zentova.load_plugin(plugins / name)
    return zentova


@pytest.fixture
def run(tmp_path):
    """Runs a program in Python in a process of its own, in the folder of the test; gives what it did."""
    def run_program(source, **environment):
        settings = {name: value for name, value in os.environ.items() if name != "ZENTOVA_LOG"}
        settings |= {"PYTHONPATH": str(ROOT / "python"), "PYTHONDONTWRITEBYTECODE": "1", **environment}
        return subprocess.run([sys.executable, "-X", "faulthandler", "-c", source], cwd=tmp_path, env=settings,
                              capture_output=True, text=True, timeout=300)
    return run_program
