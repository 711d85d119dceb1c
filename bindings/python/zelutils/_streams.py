"""The stream format, and streams over temporary files."""

from __future__ import annotations

import ctypes
from typing import Any

from . import _values
from ._errors import StreamError
from ._session import Session, default_session

MAGIC = b"POSStreamer"
_PIECE = 1 << 16


class _Stream:
    """A stream instance of the host with its methods."""

    def __init__(self, session, handle):
        self._session = session
        self._handle = session._hold(handle)
        self._read, self._write, self._mark, self._seek = (
            session._method(self._handle, name) for name in ("Read", "Write", "Mark", "Seek"))

    def close(self) -> None:
        """Gives the stream back; what it holds may go with it. A second call does nothing."""
        handle, self._handle = self._handle, None
        if handle is not None and not self._session.closed:
            self._session._enter()
            self._session._give_back(handle)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.close()

    def __del__(self):
        handle, self._handle = getattr(self, "_handle", None), None
        if handle is not None:
            self._session._drop(handle)

    def _open(self):
        self._session._enter()
        if self._handle is None:
            raise ValueError("the stream is closed")
        return self._handle

    def _checked(self, error):
        self._session._raise_error_object(error, StreamError)

    def write(self, data: bytes) -> int:
        """Writes bytes at the present position and returns how many."""
        handle = self._open()
        data = _values.bytes_of(data)
        for start in range(0, len(data), _PIECE):
            piece = data[start:start + _PIECE]
            self._checked(self._write(handle, piece, len(piece)))
        return len(data)

    def read(self, count: int = -1) -> bytes:
        """Up to ``count`` bytes from the present position, all to the end by default."""
        handle = self._open()
        pieces = []
        left = count if count >= 0 else None
        while left is None or left > 0:
            wanted = _PIECE if left is None else min(left, _PIECE)
            buffer = ctypes.create_string_buffer(wanted)
            delivered = ctypes.c_uint32()
            self._checked(self._read(handle, ctypes.byref(delivered), buffer, wanted))
            if not delivered.value:
                break
            pieces.append(buffer.raw[:min(delivered.value, wanted)])
            if left is not None:
                left -= len(pieces[-1])
        return b"".join(pieces)

    def seek(self, position: int) -> None:
        """Goes to a position in bytes from the start."""
        if not 0 <= position < 1 << 32:
            raise ValueError("no position in a stream: %d" % position)
        self._checked(self._seek(self._open(), position, 0))

    def tell(self) -> int:
        """The position in bytes from the start."""
        position = ctypes.c_uint32()
        self._checked(self._mark(self._open(), ctypes.byref(position)))
        return position.value

    def store(self, value: Any) -> None:
        """Writes a value, live or plain, in the stream format."""
        session = self._session
        handle = self._open()
        with _values.Holder(session, value) as held, _streamer(session) as streamer:
            if not session._streamers.Serialize(streamer, handle, held, None):
                session._fail("the value could not be written", StreamError)

    def load(self) -> Any:
        """Reads the value at the present position, and leaves the position behind it."""
        session = self._session
        handle = self._open()
        with _streamer(session) as streamer:
            made = session._streamers.Deserialize(streamer, handle)
            if not made:
                session._fail("the value could not be read", StreamError)
            with _values.Holder(session, None, made) as held:
                return _values.from_handle(session, held)


def _streamer(session):
    return _values.Holder(session, None, session._require(session._streamers.NewPOSStreamer()))


def _memory_stream(session):
    session._enter()
    made = ctypes.c_void_p()
    session._raise_error_object(
        session._stream_factory.NewPositionableMemoryStream(ctypes.byref(made)), StreamError)
    return _Stream(session, made.value)


class TempFile(_Stream):
    """A stream over a new file in the temporary directory, deleted when the stream is closed.

    It is written first; `reader` then gives streams over what was written. ``extension`` is without
    the point, ``mode`` as `open` takes it, binary.
    """

    def __init__(self, prefix: str = "py", extension: str = "tmp", mode: str = "w+b",
                 session: Session | None = None):
        session = session or default_session()
        session._enter()
        made = ctypes.c_void_p()
        session._raise_error_object(
            session._temp_files.NewTempFileStream(
                ctypes.byref(made), *(_values._without_nul(_values.encode_text(text))
                                      for text in (prefix, extension, mode))), StreamError)
        super().__init__(session, made.value)

    def reader(self) -> _Stream:
        """A further stream over the file, at its start. This one becomes read-only with the first."""
        handle = self._open()
        made = ctypes.c_void_p()
        create = self._session._method(handle, "CreateIndependentlyPositionableStream")
        self._checked(create(handle, ctypes.byref(made)))
        return _Stream(self._session, made.value)


def to_stream(value: Any, session: Session | None = None) -> bytes:
    """The bytes of a value, live or plain, in the stream format."""
    with _memory_stream(session or default_session()) as stream:
        stream.store(value)
        stream.seek(0)
        return stream.read()


def from_stream(data: bytes, session: Session | None = None) -> Any:
    """The value that a stream's bytes hold. Raises `StreamError` for what is no stream."""
    with _memory_stream(session or default_session()) as stream:
        stream.write(data)
        stream.seek(0)
        return stream.load()
