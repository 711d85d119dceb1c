"""The library in a host of its own, and the references that this process holds."""

from __future__ import annotations

import atexit
import collections
import ctypes
import itertools
import os
import threading
from typing import Any

from . import _abi, _host
from ._errors import Error


class Session:
    """A started library: finds it, starts the reference host around it, and stops both.

    Values belong to the session that made them, and both to the thread that made the session: the
    library is called from one thread. A value may be dropped, and collected, on any thread. There is
    one session at a time in a process. Most programs never make one: the functions of this package
    start one at their first use, which ends with the process.

    ``library`` is the path of the library; by default it is searched for. Raises `OSError` when it
    is not found or does not start.
    """

    def __init__(self, library: str | os.PathLike[str] | None = None):
        self._host: Any = _host.Host(library)
        self._thread = threading.get_ident()
        self._held: collections.Counter[int] = collections.Counter()  # references by handle
        self._dropped: collections.deque[int] = collections.deque()  # by values that ended on any thread
        try:
            self._find_procedures(self._host.find)
        except BaseException:
            self._host.stop()
            raise

    def _find_procedures(self, find):
        self._containers = _abi.Procedures(find, "ZELContainerInterface")
        self._atoms = _abi.Procedures(find, "ZELStringInterface")
        self._errors = _abi.Procedures(find, "ZELErrorInterface")
        self._buffers = _abi.Procedures(find, "ZELSharedBuffInterface")
        self._stream_factory = _abi.Procedures(find, "ZELStreamFactoryInterface")
        self._objects = _abi.Procedures(find, "POSObjectInterface")
        self._statics = _abi.Procedures(find, "POSObjectStatics")
        self._numbers = _abi.Procedures(find, "POSNumberInterface")
        self._strings = _abi.Procedures(find, "POSStringInterface")
        self._unicode_strings = _abi.Procedures(find, "POSUnicodeStringInterface")
        self._bin_datas = _abi.Procedures(find, "POSBinDataInterface")
        self._raw_pointers = _abi.Procedures(find, "POSRawPointerInterface")
        self._arrays = _abi.Procedures(find, "POSArrayInterface")
        self._dicts = _abi.Procedures(find, "POSDictInterface")
        self._iterators = _abi.Procedures(find, "POSDictIteratorInterface")
        self._streamers = _abi.Procedures(find, "POSStreamerInterface")
        self._struct_validators = _abi.Procedures(find, "POSStructValidatorInterface")
        self._validators = _abi.Procedures(find, "POSValidatorInterface")
        self._temp_files = _abi.Procedures(find, "ZELUtilsTempFileStreamFactory")

    @property
    def closed(self) -> bool:
        """Whether the library has been stopped; values made by it can then no longer be used."""
        return self._host is None

    def close(self) -> None:
        """Gives back what values still hold and stops the library. A second call does nothing.

        Raises `Error` if the host counts anything that nobody gave back.
        """
        if self._host is None:
            return
        self._enter()
        for handle, count in self._held.items():
            for _ in range(count):
                self._containers.Release(handle)
        self._held.clear()
        host, self._host = self._host, None
        leaks = host.stop()
        if leaks:
            raise Error("something was not given back:\n" + leaks)

    def __enter__(self) -> Session:
        return self

    def __exit__(self, *_):
        self.close()

    # -- For the other modules of the package --

    def _enter(self):
        """To be called before each use of the library; gives back what was dropped meanwhile."""
        if self._host is None:
            raise Error("the session is closed")
        if threading.get_ident() != self._thread:
            raise RuntimeError("a session can be used by the thread alone that made it")
        while self._dropped:
            self._give_back(self._dropped.popleft())

    def _hold(self, handle):
        """Takes a reference to a handle that a procedure has returned; None raises the reports."""
        if not self._containers.AddRef(self._require(handle)):
            self._fail("a value could not be held")
        self._held[handle] += 1
        return handle

    def _require(self, handle):
        """A handle that a procedure has returned; None raises what was reported."""
        if not handle:
            self._fail("the library gave no value")
        return handle

    def _give_back(self, handle):
        self._held[handle] -= 1
        if not self._held[handle]:
            del self._held[handle]
        self._containers.Release(handle)

    def _drop(self, handle):
        """Of a value that ends, on whichever thread and at whatever time."""
        self._dropped.append(handle)

    def _check(self, what="the call"):
        """Raises what has been reported since the last check."""
        if self._host.report_count():
            self._fail(what + " failed")

    def _fail(self, message, kind=Error):
        reports = self._host.take_reports()
        raise kind(_sentence(reports) or message, reports)

    def _raise_error_object(self, error, kind=Error):
        """Raises the text of an error object that a procedure returned; None is success."""
        if not error:
            return
        text = self._atoms.GetCString(self._errors.GetErrorMessage(error)) or b""
        self._errors.Release(error)
        self._host.take_reports()
        raise kind(text.decode("utf-8", "replace"))

    def _atom(self, text):
        return _Atom(self, text)

    def _method(self, instance, name):
        """A method of a stream instance, called with the instance in front."""
        proc_type, prototype = _abi.STREAM_METHODS[name]
        found = ctypes.c_void_p()
        with self._atom(name.encode()) as method, self._atom(proc_type.encode()) as kind:
            self._raise_error_object(
                self._containers.GetMethod(ctypes.byref(found), instance, method, kind, 0))
        return prototype(self._require(found.value))


def _sentence(reports):
    """The reports in one line; equal ones that follow one another become one with a count."""
    parts = []
    for report, equal in itertools.groupby(reports):
        count = len(list(equal))
        parts.append(report if count == 1 else "%s (%d times)" % (report, count))
    return "; ".join(parts)


class _Atom:
    """A string atom for the length of a with statement."""

    def __init__(self, session, text):
        if b"\0" in text:
            raise ValueError("a text must not contain a NUL byte")
        self._session = session
        self._text = text
        self._atom = 0

    def __enter__(self):
        self._atom = self._session._atoms.NewStringAtom(self._text)
        if not self._atom:
            raise MemoryError("no string atom could be made")
        return self._atom

    def __exit__(self, *_):
        self._session._atoms.DeleteStringAtom(self._atom)


_default: Session | None = None


def default_session() -> Session:
    """The session of the functions of this package, started at the first call."""
    global _default  # pylint: disable=global-statement
    if _default is None or _default.closed:
        _default = Session()
        atexit.register(_close_quietly, _default)
    return _default


def _close_quietly(session):
    try:
        session.close()
    except (Error, RuntimeError):  # the process ends; nobody could act on it
        pass
