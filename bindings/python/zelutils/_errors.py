"""Exceptions of the package."""


from __future__ import annotations

from typing import Iterable


class Error(Exception):
    """A call of the library failed.

    ``reports`` holds what the library reported, in order; it may be empty.
    """

    def __init__(self, message: str, reports: Iterable[str] = ()):
        super().__init__(message)
        self.reports = tuple(reports)


class ParseError(Error, ValueError):
    """A text is not in the text syntax.

    ``position`` counts bytes of the text (UTF-8) from 0; ``line`` and ``column`` count from 1.
    """

    def __init__(self, text: bytes, position: int):
        before = text[:position]
        self.position = position
        self.line = before.count(b"\n") + 1
        self.column = position - (before.rfind(b"\n") + 1) + 1
        super().__init__("line %d, column %d: this is no value" % (self.line, self.column))


class StreamError(Error, OSError):
    """A stream could not be written, or what it holds could not be read."""


class SchemaError(Error):
    """A schema is faulty, or a validation could not be carried out."""
