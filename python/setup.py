"""The version is that of the library: core/ztversion.h has it. All else is in pyproject.toml."""

import pathlib
import re

from setuptools import setup

HEADER = pathlib.Path(__file__).resolve().parents[1] / "core" / "ztversion.h"
PARTS = re.findall(r"#define ZT_VERSION_(?:MAJOR|MINOR|PATCH) (\d+)", HEADER.read_text())

setup(version=".".join(PARTS))
