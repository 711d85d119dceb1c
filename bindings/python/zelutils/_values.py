"""Live values: arrays and dictionaries of the library, seen as Python containers.

How kinds correspond:

==================  =======================================================
number              `int` if whole and below 2**53, else `float`
string              `str` (UTF-8); `ByteString` if the bytes are not UTF-8
Unicode string      `UnicodeString`, a `str`
binary data         `BinData`
raw pointer         `RawPointer`, only out of the library
array               `Array`; an empty slot is None, only out of the library
dictionary          `Dict`; keys are `str`, bytes beyond UTF-8 as by os.fsdecode
==================  =======================================================

Into the library also go `bool` (as the words true and false), any `numbers.Real` that a double
holds exactly or that is a `float`, `bytes`, and other sequences and mappings.
"""

from __future__ import annotations

import collections.abc
import ctypes
import numbers
import operator
import re
import sys
from typing import Any, Iterable, Iterator

from . import _abi
from ._errors import Error
from ._session import Session, default_session

NESTING_LIMIT = 512
# At the front of a path; ASCII digits alone.
_SUBSCRIPT = re.compile(r"\[0*([0-9]+)\](.*)", re.DOTALL)


class UnicodeString(str):
    """A string of 16-bit units in the library; lone surrogates are kept."""

    __slots__ = ()

    def __repr__(self):
        return "UnicodeString(%s)" % super().__repr__()


class ByteString(bytes):
    """A string of the library whose bytes are not UTF-8; it holds no NUL."""

    __slots__ = ()

    def __repr__(self):
        return "ByteString(%s)" % super().__repr__()


class BinData:
    """Bytes with the name of their type. Immutable."""

    __slots__ = ("_type_name", "_data")

    def __init__(self, type_name: str, data: bytes):
        self._type_name = type_name
        self._data = bytes_of(data)

    @property
    def type_name(self) -> str:
        return self._type_name

    @property
    def data(self) -> bytes:
        return self._data

    def __eq__(self, other):
        if not isinstance(other, BinData):
            return NotImplemented
        return (self._type_name, self._data) == (other._type_name, other._data)

    def __hash__(self):
        return hash((self._type_name, self._data))

    def __repr__(self):
        return "BinData(%r, %r)" % (self._type_name, self._data)


class RawPointer:
    """An address that another component has put into a value."""

    __slots__ = ("address",)

    def __init__(self, address: int):
        self.address = address

    def __repr__(self):
        return "RawPointer(0x%x)" % self.address


def bytes_of(data):
    """A copy of what holds bytes; of a number, `bytes` would make as many zeros."""
    return bytes(memoryview(data))


def encode_text(text):
    """The bytes of a str as the library holds them."""
    return text.encode("utf-8", "surrogateescape")


def decode_key(data):
    return data.decode("utf-8", "surrogateescape")


class Value:
    """An array or a dictionary of the library, held by one reference."""

    __slots__ = ("_session", "_handle", "__weakref__")
    _PLAIN: tuple[type, ...] = ()

    @staticmethod
    def _new(session: Session) -> Any:
        raise NotImplementedError

    def __init__(self, session, handle):
        """Takes a reference of its own to a handle that a procedure has returned."""
        self._session = session
        self._handle = None
        self._handle = session._hold(handle)

    def __del__(self):
        handle = getattr(self, "_handle", None)
        if handle is not None:
            self._session._drop(handle)

    def __eq__(self, other):
        if isinstance(other, Value) and other._session is self._session:
            self._session._enter()
            equal = self._session._objects.IsEqual(self._handle, other._handle)
            self._session._check("the comparison")
            return equal
        if isinstance(other, self._PLAIN):
            return self.to_python() == other
        return NotImplemented

    __hash__ = None  # type: ignore[assignment]

    def __deepcopy__(self, memo):
        self._session._enter()
        session = self._session
        return type(self)(session, session._require(session._objects.Clone(self._handle)))

    def __copy__(self):
        copied = type(self)(self._session, self._new(self._session))
        _fill(copied, self)
        return copied

    def to_python(self) -> Any:
        """A copy in plain Python objects, list and dict."""
        return to_python(self)

    def deep_get(self, path: str, default: Any = None) -> Any:
        """The value at a path such as ``pages[0].width``, or ``[2].width`` from an array; `default`
        where it leads nowhere."""
        value: Any = self
        while isinstance(value, Array):
            match = _SUBSCRIPT.match(path)
            if not match or len(match[1]) > 20 or int(match[1]) >= len(value):
                return default
            value, path = value[int(match[1])], match[2]
            if not path:
                return default if value is None else value
        if not isinstance(value, Dict):
            return default
        session = self._session
        session._enter()
        with session._atom(encode_text(path)) as atom:
            handle = session._dicts.DeepGet(value._handle, atom)
            session._check("deep_get")
        return from_handle(session, handle) if handle else default

    def __repr__(self):
        return "%s(%s)" % (type(self).__name__, _short(self))


def _short(value, limit=200):
    try:
        text = repr(value.to_python())
    except (ValueError, Error) as error:  # it contains itself, or its session is closed
        text = "<%s>" % error
    return text if len(text) <= limit else text[:limit - 3] + "..."


def _fill(target, source):
    if isinstance(target, Array):
        target.extend(source)
    else:
        target.update(source)


class Array(Value, collections.abc.MutableSequence):
    """An array of the library; changes are made in place."""

    __slots__ = ()
    _PLAIN = (list, tuple)

    def __init__(self, session: Session, handle: int | None = None):
        super().__init__(session, self._new(session) if handle is None else handle)

    @staticmethod
    def _new(session):
        session._enter()
        return session._require(session._arrays.NewPOSArray())

    def __len__(self) -> int:
        self._session._enter()
        return self._session._arrays.Count(self._handle)

    def _place(self, index, end):
        index = operator.index(index)
        place = index + end if index < 0 else index
        if not 0 <= place < end:
            raise IndexError("array index out of range")
        return place

    def __getitem__(self, index: Any) -> Any:
        count = len(self)
        if isinstance(index, slice):
            return [self._at(place) for place in range(*index.indices(count))]
        return self._at(self._place(index, count))

    def _at(self, place):
        return from_handle(self._session, self._session._arrays.GetAt(self._handle, place))

    def __iter__(self) -> Iterator[Any]:
        place = 0
        while place < len(self):
            yield self._at(place)
            place += 1

    def __setitem__(self, index: Any, value: Any) -> None:
        if isinstance(index, slice):
            members = list(self)
            members[index] = list(value)
            self._replace(members)
            return
        place = self._place(index, len(self))
        with Holder(self._session, value) as handle:
            self._session._arrays.SetAt(self._handle, place, handle)
            self._session._check("the assignment")

    def _replace(self, members):
        if any(member is None for member in members):
            raise TypeError("an empty slot cannot be put into an array")
        made = Array(self._session)
        made.extend(members)
        self.clear()
        for place in range(len(made)):
            self._session._arrays.Append(
                self._handle, self._session._arrays.GetAt(made._handle, place))
            self._session._check("the assignment")

    def __delitem__(self, index: Any) -> None:
        count = len(self)
        places = (sorted(range(*index.indices(count)), reverse=True) if isinstance(index, slice)
                  else [self._place(index, count)])
        for place in places:
            self._session._arrays.Remove(self._handle, place)
            self._session._check("the removal")

    def clear(self) -> None:
        del self[:]

    def extend(self, values: Iterable[Any]) -> None:
        for value in list(values):  # which may be those of this array
            self.append(value)

    def append(self, value: Any) -> None:
        self._session._enter()
        with Holder(self._session, value) as handle:
            self._session._arrays.Append(self._handle, handle)
            self._session._check("append")

    def insert(self, index: int, value: Any) -> None:
        count = len(self)
        place = max(index + count, 0) if index < 0 else min(index, count)
        arrays = self._session._arrays
        if not all(arrays.GetAt(self._handle, moved) for moved in range(place, count)):
            raise TypeError("an array with an empty slot cannot be shifted")
        self.append(value)
        with Holder(self._session, None, arrays.GetAt(self._handle, count)) as handle:
            for moved in range(count, place, -1):
                arrays.SetAt(self._handle, moved, arrays.GetAt(self._handle, moved - 1))
            arrays.SetAt(self._handle, place, handle)
            self._session._check("insert")


class Dict(Value, collections.abc.MutableMapping):
    """A dictionary of the library; changes are made in place. Keys come in the order of their bytes."""

    __slots__ = ()
    _PLAIN = (dict,)

    def __init__(self, session: Session, handle: int | None = None):
        super().__init__(session, self._new(session) if handle is None else handle)

    @staticmethod
    def _new(session):
        session._enter()
        return session._require(session._dicts.NewPOSDict())

    def _find(self, key):
        self._session._enter()
        if not isinstance(key, str):
            return None
        data = encode_text(key)
        if b"\0" in data:
            return None
        with self._session._atom(data) as atom:
            return self._session._dicts.Get(self._handle, atom)

    def __getitem__(self, key: str) -> Any:
        handle = self._find(key)
        if not handle:
            raise KeyError(key)
        return from_handle(self._session, handle)

    def __contains__(self, key: object) -> bool:
        return bool(self._find(key))

    def __setitem__(self, key: str, value: Any) -> None:
        self._session._enter()
        with self._session._atom(encode_text(_key_text(key))) as atom:
            with Holder(self._session, value) as handle:
                self._session._dicts.Put(self._handle, atom, handle)
                self._session._check("the assignment")

    def __delitem__(self, key: str) -> None:
        if not self._find(key):
            raise KeyError(key)
        with self._session._atom(encode_text(key)) as atom:
            self._session._dicts.Remove(self._handle, atom)
            self._session._check("the removal")

    def __iter__(self) -> Iterator[str]:
        session = self._session
        session._enter()
        iterator = Value(session, session._iterators.NewPOSDictIterator(self._handle))
        while True:
            session._enter()
            if session._iterators.IsDone(iterator._handle):
                return
            key = session._iterators.CurKey(iterator._handle)
            session._iterators.Next(iterator._handle)
            yield decode_key(key)

    def __len__(self) -> int:
        """The number of entries; the library has no count of them, so that they are walked over."""
        return sum(1 for _ in self)

    def __bool__(self):
        return next(iter(self), None) is not None


def _key_text(key):
    if not isinstance(key, str):
        raise TypeError("a key must be a str, not %s" % type(key).__name__)
    return key


class Holder:
    """A handle with a reference for the length of a with statement: of a Python object, or given."""

    def __init__(self, session, value, handle=None):
        self._session = session
        self._handle = session._hold(handle) if handle else to_held(session, value)

    def __enter__(self):
        return self._handle

    def __exit__(self, *_):
        self._session._give_back(self._handle)


def scalar_from_handle(session, kind, handle):
    if kind == _abi.NUMBER:
        number = session._numbers.Get(handle)
        whole = number.is_integer() and abs(number) < 2.0**53 and (number or _is_positive(number))
        return int(number) if whole else number
    if kind == _abi.STRING:
        data = session._strings.Get(handle)
        try:
            return data.decode("utf-8")
        except UnicodeDecodeError:
            return ByteString(data)
    if kind == _abi.UNICODE_STRING:
        units = session._unicode_strings.Get(handle)
        count = 0
        while units[count]:
            count += 1
        data = ctypes.string_at(units, 2 * count)
        return UnicodeString(data.decode("utf-16-le" if sys.byteorder == "little" else "utf-16-be",
                                         "surrogatepass"))
    if kind == _abi.BIN_DATA:
        size = session._bin_datas.GetSize(handle)
        data = ctypes.string_at(session._bin_datas.GetBinData(handle), size) if size else b""
        return BinData(decode_key(session._bin_datas.GetTypeName(handle)), data)
    if kind == _abi.RAW_POINTER:
        return RawPointer(session._raw_pointers.GetRawPointer(handle) or 0)
    session._fail("the value is of no known kind")
    return None


def _is_positive(zero):
    return str(zero)[0] != "-"


def from_handle(session, handle):
    """The Python object of a handle that a procedure has returned; None for an empty slot."""
    if not handle:
        return None
    kind = session._objects.GetType(handle)
    if kind == _abi.ARRAY:
        return Array(session, handle)
    if kind == _abi.DICT:
        return Dict(session, handle)
    return scalar_from_handle(session, kind, handle)


def to_held(session, value):
    """A handle with a reference of the caller's, of a Python object. Raises `TypeError` for a type
    without a counterpart and `ValueError` for what a value of the library cannot hold."""
    members = _members_of(value)
    if members is None:
        return _scalar_to_held(session, value)
    root = session._hold(_new_container(session, value))
    open_containers = [(root, value, members)]  # a stack: plain values may nest beyond Python's own
    try:
        while open_containers:
            handle, container, members = open_containers[-1]
            for key, member in members:
                inner = _members_of(member)
                if inner is None:
                    held = _scalar_to_held(session, member)
                else:
                    _check_depth(len(open_containers) + 1)
                    held = session._hold(_new_container(session, member))
                try:
                    _put(session, handle, container, key, held)
                finally:
                    session._give_back(held)  # its container holds it
                if inner is not None:
                    open_containers.append((held, member, inner))
                    break
            else:
                open_containers.pop()
    except BaseException:
        session._give_back(root)
        raise
    return root


def _is_mapping(value):
    return isinstance(value, collections.abc.Mapping)


def _members_of(value):
    """An iterator over the members of a plain container with their keys; None for anything else."""
    if isinstance(value, (Value, str, bytes, bytearray, memoryview)):
        return None
    if _is_mapping(value):
        return iter(value.items())
    if isinstance(value, collections.abc.Sequence):
        return ((None, member) for member in value)
    return None


def _new_container(session, value):
    return session._dicts.NewPOSDict() if _is_mapping(value) else session._arrays.NewPOSArray()


def _put(session, handle, container, key, held):
    if _is_mapping(container):
        with session._atom(encode_text(_key_text(key))) as atom:
            session._dicts.Put(handle, atom, held)
    else:
        session._arrays.Append(handle, held)
    session._check("putting a member")


def _scalar_to_held(session, value):
    if isinstance(value, Value):
        if value._session is not session:
            raise ValueError("the value belongs to another session")
        return session._hold(value._handle)
    if isinstance(value, bool):
        made = session._strings.NewPOSString(b"true" if value else b"false")
    elif isinstance(value, numbers.Real):
        made = session._numbers.NewPOSNumber(_exact(value))
    elif isinstance(value, UnicodeString):
        made = session._unicode_strings.NewPOSUnicodeString(_units(value))
    elif isinstance(value, str):
        made = session._strings.NewPOSString(_without_nul(encode_text(value)))
    elif isinstance(value, bytes):
        made = session._strings.NewPOSString(_without_nul(value))
    elif isinstance(value, BinData):
        name = _without_nul(encode_text(value.type_name))
        made = session._bin_datas.NewPOSBinData(name, value.data, len(value.data))
    else:
        raise TypeError("a value cannot hold %s" % type(value).__name__)
    return session._hold(made)


def _check_depth(depth):
    if depth > NESTING_LIMIT:
        raise ValueError("nesting too deep")


def _without_nul(data):
    if b"\0" in data:
        raise ValueError("a string must not contain a NUL byte")
    return bytes(data)


def _exact(value):
    number = float(value)
    if not isinstance(value, float) and number != value:
        raise ValueError("%r cannot be held exactly: numbers are doubles" % (value,))
    return number


def _units(text):
    data = text.encode("utf-16-le" if sys.byteorder == "little" else "utf-16-be", "surrogatepass")
    count = len(data) // 2
    units = (ctypes.c_uint16 * (count + 1)).from_buffer_copy(data + b"\0\0")
    if 0 in units[:count]:
        raise ValueError("a Unicode string must not contain a NUL")
    return units


def to_python(value):
    """A copy in plain Python objects; other objects are returned as they are."""
    if not isinstance(value, Value):
        return value
    root: Any = [] if isinstance(value, Array) else {}
    open_containers = [(root, _live_members(value))]
    while open_containers:
        plain, members = open_containers[-1]
        for key, member in members:
            inner = None
            if isinstance(member, Value):
                _check_depth(len(open_containers) + 1)
                inner = _live_members(member)
                member = [] if isinstance(member, Array) else {}
            if key is None:
                plain.append(member)
            else:
                plain[key] = member
            if inner is not None:
                open_containers.append((member, inner))
                break
        else:
            open_containers.pop()
    return root


def _live_members(value):
    if isinstance(value, Array):
        return ((None, member) for member in value)
    return ((key, value[key]) for key in value)


def from_python(value: Any, session: Session | None = None) -> Any:
    """A live value of Python lists, dicts and scalars; a scalar is returned as the library holds it."""
    session = session or default_session()
    session._enter()
    with Holder(session, value) as handle:
        return from_handle(session, handle)
