"""The wheel: built without a network from a copy of the checkout, installed, and imported from there."""

import os
import shutil
import subprocess
import sys
import zipfile

import pytest

from conftest import ROOT


def test_the_wheel_has_all_modules_and_works(run, tmp_path):
    if subprocess.run([sys.executable, "-c", "import setuptools, pip, wheel"], capture_output=True).returncode:
        pytest.skip("pip, setuptools and wheel are needed")
    shutil.copytree(ROOT / "python" / "zentova", tmp_path / "tree" / "python" / "zentova",
                    ignore=shutil.ignore_patterns("__pycache__"))
    for name in ("python/pyproject.toml", "python/setup.py", "core/ztversion.h"):
        (tmp_path / "tree" / name).parent.mkdir(exist_ok=True)
        shutil.copy(ROOT / name, tmp_path / "tree" / name)
    subprocess.run([sys.executable, "-m", "pip", "wheel", "-q", "--no-deps", "--no-index", "--no-build-isolation",
                    "--disable-pip-version-check", "-w", tmp_path, tmp_path / "tree" / "python"],
                   env=os.environ | {"PIP_NO_INPUT": "1"}, check=True)
    wheel, = tmp_path.glob("*.whl")
    assert wheel.name.endswith("-py3-none-any.whl")
    with zipfile.ZipFile(wheel) as archive:
        held = {name for name in archive.namelist() if name.startswith("zentova/")}
        archive.extractall(tmp_path / "installed")
    assert held == {f"zentova/{path.name}" for path in (ROOT / "python" / "zentova").iterdir() if path.is_file()}
    done = run("import zentova as zt; print(zt.__file__, zt.ztRoot(name='a').name)", PYTHONPATH=str(tmp_path / "installed"))
    assert done.stdout == f"{tmp_path / 'installed' / 'zentova' / '__init__.py'} a\n" and done.stderr == ""
