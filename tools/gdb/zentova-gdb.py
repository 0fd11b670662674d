"""Loads the printers and commands for objects of the Zentova OOP Engine into gdb.

gdb runs this file by itself when it loads libztcore.so, where it is installed as gdb expects it; otherwise:
(gdb) source .../zentova-gdb.py. The package zentova_gdb lies beside it.
"""

import os
import sys

import gdb


def load():
    """Imports the package without leaving compiled files beside it."""
    folder = os.path.dirname(os.path.realpath(__file__))
    writes_nothing = sys.dont_write_bytecode
    sys.dont_write_bytecode = True
    sys.path.insert(0, folder)
    try:
        import zentova_gdb
    finally:
        sys.path.remove(folder)
        sys.dont_write_bytecode = writes_nothing
    zentova_gdb.register(gdb.current_objfile())


load()
