"""The text syntax: reading through the library, writing here."""

from __future__ import annotations

import collections.abc
import ctypes
import decimal
import numbers
import re
from typing import Any

from . import _values
from ._errors import ParseError
from ._session import Session, default_session

_WORD = re.compile(rb"[A-Za-z_][A-Za-z0-9_]*\Z")
_NO_ARRAYS = (str, bytes, bytearray, memoryview)
LENGTH_LIMIT = 100  # bytes of a string, a word or a number; units of a Unicode string


def loads(text: str | bytes, session: Session | None = None) -> Any:
    """The value that a text describes: `Array`, `Dict` or a scalar as Python has it.

    ``text`` is a str or the bytes of one. Raises `ParseError`, with line and column.
    """
    session = session or default_session()
    session._enter()
    data = _values.encode_text(text) if isinstance(text, str) else _values.bytes_of(text)
    if b"\0" in data:
        raise ParseError(data, data.index(b"\0"))
    source = ctypes.create_string_buffer(data)
    wrong = ctypes.c_void_p()
    made = session._statics.CreateFromText(
        ctypes.cast(source, ctypes.c_char_p), ctypes.byref(wrong))
    if not made and wrong.value:
        raise ParseError(data, wrong.value - ctypes.addressof(source))
    with _values.Holder(session, None, session._require(made)) as handle:
        return _values.from_handle(session, handle)


def dumps(value: Any, indent: int | None = None) -> str:
    """The text of a value, live or plain; `loads` of it is equal.

    ``indent`` is a number of blanks per level, for one line per member; by default all stands in one
    line. Raises `ValueError` for what the syntax cannot say: binary data, raw pointers, empty slots,
    numbers that are not finite, and what is longer than 100 bytes.
    """
    parts: list[str] = []
    _write(parts, value, "", indent, 0)
    return "".join(parts)


def _write(parts, value, path, indent, depth):
    if depth > _values.NESTING_LIMIT:
        raise ValueError("nesting too deep")
    if isinstance(value, collections.abc.Sequence) and not isinstance(value, _NO_ARRAYS):
        parts.append("[")
        for index, member in enumerate(value):
            _separate(parts, index, indent, depth + 1)
            _write(parts, member, "%s[%d]" % (path, index), indent, depth + 1)
        _close(parts, "]", bool(value), indent, depth)
    elif isinstance(value, collections.abc.Mapping):
        parts.append("<")
        for index, key in enumerate(sorted(value, key=_key_bytes)):
            _separate(parts, index, indent, depth + 1)
            where = "%s.%s" % (path, key) if path else key
            parts.append(_string(_values.encode_text(key), where) + " ")
            _write(parts, value[key], where, indent, depth + 1)
        _close(parts, ">", bool(value), indent, depth)
    else:
        parts.append(_scalar(value, path or "the value"))


def _key_bytes(key):
    return _values.encode_text(_values._key_text(key))


def _separate(parts, index, indent, depth):
    if indent is not None:
        parts.append("\n" + " " * (indent * depth))
    elif index:
        parts.append(" ")


def _close(parts, bracket, has_members, indent, depth):
    if indent is not None and has_members:
        parts.append("\n" + " " * (indent * depth))
    parts.append(bracket)


def _scalar(value, where):
    if isinstance(value, bool):
        return "true" if value else "false"
    if isinstance(value, numbers.Real):
        return _number(value, where)
    if isinstance(value, _values.UnicodeString):
        return _unicode_string(value, where)
    if isinstance(value, str):
        return _string(_values.encode_text(value), where)
    if isinstance(value, bytes):
        return _string(value, where)
    raise ValueError("%s: the text syntax cannot say %s" % (where, type(value).__name__))


def _number(value, where):
    number = _values._exact(value)
    text = format(decimal.Decimal(repr(number)), "f") if number - number == 0 else ""
    if text.endswith(".0"):
        text = text[:-2]
    if not text or len(text) > LENGTH_LIMIT:
        raise ValueError("%s: the text syntax cannot say the number %r" % (where, value))
    return text


def _string(data, where):
    if _WORD.match(data) and len(data) <= LENGTH_LIMIT:
        return data.decode("ascii")
    escaped = data.replace(b"\\", b"\\\\").replace(b")", b"\\)")
    if len(escaped) > LENGTH_LIMIT or b"\0" in data:
        raise ValueError("%s: a string of %d bytes is too long for the text syntax" % (
            where, len(escaped)))
    return "(%s)" % escaped.decode("utf-8", "surrogateescape")


def _unicode_string(value, where):
    digits = value.encode("utf-16-be", "surrogatepass").hex()
    if len(digits) > 4 * LENGTH_LIMIT or "\0" in value:
        raise ValueError("%s: a Unicode string of %d units is too long for the text syntax" % (
            where, len(digits) // 4))
    return "`%s`" % digits
