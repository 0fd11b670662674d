"""The exceptions of the package. Wrong arguments raise TypeError, ValueError, OverflowError or AttributeError, as
everywhere in Python."""


class Error(Exception):
    """The engine refused or failed; the message has the reason, where the engine told one in its log."""


class EndedError(Error):
    """The object of a wrapper has ended."""


class UnsafeError(Error, TypeError):
    """A method, an argument or a class that Python cannot use without a danger to the process."""


for _error in (Error, EndedError, UnsafeError):
    _error.__module__ = "zentova"  # as programs name them
