"""POS values (numbers, strings, binary data, arrays, dictionaries), their text syntax, streams and
schemas, from the ZELUtils library.

    >>> import zelutils
    >>> book = zelutils.loads("<title (A book) pages [<width 595>]>")
    >>> book["pages"][0]["width"]
    595
    >>> book["cover"] = {"width": 612, "colour": "blue"}
    >>> print(zelutils.dumps(book))
    <cover <colour blue width 612> pages [<width 595>] title (A book)>

Arrays and dictionaries are live: they are the library's own, and changes are made in place. The
library and its host are found beside this package, by ``ZELUTILS_LIBRARY`` and ``ZELHOST_LIBRARY``,
and where the system keeps its libraries.
"""

from __future__ import annotations

import os as _os
import secrets as _secrets
from typing import IO as _IO
from typing import Any as _Any

from ._errors import Error, ParseError, SchemaError, StreamError
from ._schema import Finding, Schema
from ._session import Session, default_session
from ._streams import MAGIC as _MAGIC
from ._streams import TempFile, from_stream, to_stream
from ._text import dumps, loads
from ._values import (Array, BinData, ByteString, Dict, RawPointer, UnicodeString, Value,
                      from_python)

__version__ = "1.0.0"
__all__ = [
    "Array", "BinData", "ByteString", "Dict", "Error", "Finding", "ParseError", "RawPointer",
    "Schema", "SchemaError", "Session", "StreamError", "TempFile", "UnicodeString", "Value",
    "default_session", "dump", "dumps", "from_python", "from_stream", "load", "loads", "parse_file",
    "store_file", "to_stream",
]


def load(file: _IO[_Any], session: Session | None = None) -> _Any:
    """The value in an open file, text or stream: a stream is told by its first bytes."""
    return _read(file.read(), session)


def parse_file(path: str | _os.PathLike[str], session: Session | None = None) -> _Any:
    """The value in the file at a path, text or stream."""
    with open(path, "rb") as file:
        return _read(file.read(), session)


def _read(data, session):
    if isinstance(data, bytes) and data.lstrip(b" ").startswith(_MAGIC):
        return from_stream(data, session)
    return loads(data, session)


def dump(value: _Any, file: _IO[_Any], indent: int | None = None) -> None:
    """Writes a value to an open file: as text to a text file, as a stream to a binary one."""
    if "b" in getattr(file, "mode", "") or not hasattr(file, "encoding"):
        file.write(to_stream(value))
    else:
        file.write(dumps(value, indent))


def store_file(value: _Any, path: str | _os.PathLike[str]) -> None:
    """Writes a value as a stream to a path: whole or not at all, through a file beside it.

    The file is on the disk when the call returns; it keeps its permissions, and links that lead to
    it stay. What is no regular file, such as a pipe, is written to directly.
    """
    data = to_stream(value)
    target = _os.path.realpath(path)
    if _os.path.exists(target) and not _os.path.isfile(target):
        with open(target, "wb") as file:
            file.write(data)
        return
    mode = _os.stat(target).st_mode & 0o777 if _os.path.exists(target) else None
    beside = _os.path.join(_os.path.dirname(target), ".zel%s.tmp" % _secrets.token_hex(8))
    flags = _os.O_WRONLY | _os.O_CREAT | _os.O_EXCL | getattr(_os, "O_BINARY", 0)
    # Until it has the old file's permissions, only its owner may look into it.
    descriptor = _os.open(beside, flags, 0o666 if mode is None else 0o600)
    try:
        with open(descriptor, "wb") as file:
            file.write(data)
            file.flush()
            _os.fsync(file.fileno())
        if mode is not None:
            _os.chmod(beside, mode)
        _os.replace(beside, target)
    except BaseException:
        _os.unlink(beside)
        raise
    if _os.name == "posix":
        folder = _os.open(_os.path.dirname(target), _os.O_RDONLY)
        try:
            _os.fsync(folder)
        finally:
            _os.close(folder)
