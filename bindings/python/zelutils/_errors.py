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

    ``position`` counts bytes of the text (UTF-8) from 0; ``line`` and ``column`` count from 1, columns
    in bytes too. ``explanation`` is the message without the place.
    """

    def __init__(self, text: bytes, position: int):
        before = text[:position]
        self.position = position
        self.line = before.count(b"\n") + 1
        self.column = position - (before.rfind(b"\n") + 1) + 1
        after = text[position:].decode("utf-8", "replace")
        self.explanation = "this is no value; reading stopped " + (
            "before %r" % after[:10] if after else "at the end of the text")
        super().__init__("line %d, column %d: %s" % (self.line, self.column, self.explanation))


class StreamError(Error, OSError):
    """A stream could not be written, or what it holds could not be read."""


class SchemaError(Error):
    """A schema is faulty, or a validation could not be carried out."""
