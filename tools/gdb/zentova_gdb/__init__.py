"""gdb's printers and commands for objects of the Zentova OOP Engine.

All is read from the memory of the program or of a core file, by the offsets that the engine keeps for ever. Nothing in
the program is called. What memory says is doubted: every reading may fail, every list may lead in a circle.
"""

from . import commands, printers


def register(objfile):
    """Registers the printers for as long as the library is loaded; None stands for the whole session."""
    printers.register(objfile)
    commands.register()
