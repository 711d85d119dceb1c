"""The reference host, through its C interface."""

import ctypes
import ctypes.util
import os
import pathlib
import sys
from ctypes import POINTER, c_char_p, c_int32, c_size_t, c_uint32, c_void_p

_HERE = pathlib.Path(__file__).resolve().parent
_NAME = {"win32": "zelhost.dll", "darwin": "libzelhost.dylib"}.get(sys.platform, "libzelhost.so")
_COUNTED = ("blocks", "bytes", "atoms", "atom_references", "errors", "error_references", "instances",
            "instance_references", "shared_buffers", "shared_buffer_references", "interfaces")


# A session keeps to one thread by itself, and says so in an exception.
_ANY_THREAD = 2


class _Counts(ctypes.Structure):
    _fields_ = [(name, c_size_t) for name in _COUNTED]


_FUNCTIONS = {
    "ZELHostNew": (c_void_p, (c_uint32,)),
    "ZELHostDestroy": (None, (c_void_p,)),
    "ZELHostLastError": (c_char_p, ()),
    "ZELHostStart": (c_int32, (c_void_p, c_char_p)),
    "ZELHostStop": (c_int32, (c_void_p,)),
    "ZELHostLookup": (c_void_p, (c_void_p, c_char_p, c_char_p, c_char_p)),
    "ZELHostTakeReport": (c_char_p, (c_void_p,)),
    "ZELHostCount": (c_int32, (c_void_p, POINTER(_Counts))),
    "ZELHostLeaks": (c_char_p, (c_void_p,)),
}


def _candidates():
    if "ZELHOST_LIBRARY" in os.environ:
        yield os.environ["ZELHOST_LIBRARY"]
    for folder in (_HERE, _HERE / "lib"):
        yield str(folder / _NAME)
    # Beside the library, where a build and an installation have both.
    if "ZELUTILS_LIBRARY" in os.environ:
        yield str(pathlib.Path(os.environ["ZELUTILS_LIBRARY"]).resolve().parent / _NAME)
    for folder in (pathlib.Path(sys.prefix) / "lib", pathlib.Path(sys.base_prefix) / "lib"):
        yield str(folder / _NAME)
    yield ctypes.util.find_library("zelhost") or _NAME


def _load():
    tried = []
    for path in _candidates():
        if os.sep in path and not os.path.exists(path):
            continue
        try:
            # The interpreter's lock stays held: the host is called one call at a time.
            return ctypes.PyDLL(path)
        except OSError as error:
            tried.append(str(error))
    raise OSError("the host library %s was not found; ZELHOST_LIBRARY names it%s" % (
        _NAME, "".join("\n" + text for text in tried)))


class Host:
    """A host with the library started in it; one at a time."""

    def __init__(self, library=None):
        self._library = _load()
        for name, (result, arguments) in _FUNCTIONS.items():
            function = getattr(self._library, name)
            function.restype, function.argtypes = result, arguments
        self._host = self._library.ZELHostNew(_ANY_THREAD)
        if not self._host:
            raise OSError(self._last_error())
        if not self._library.ZELHostStart(self._host, os.fsencode(library) if library else None):
            reason = self._last_error()
            self._library.ZELHostDestroy(self._host)
            self._host = None
            raise OSError(reason)
        self._reports = []

    def _last_error(self):
        return self._library.ZELHostLastError().decode("utf-8", "replace")

    def find(self, interface, method, proc_type):
        """The address of a procedure, None if there is none."""
        return self._library.ZELHostLookup(
            self._host, interface.encode(), method.encode(), proc_type.encode())

    def report_count(self):
        """How many reports have come since they were taken last."""
        while True:
            report = self._library.ZELHostTakeReport(self._host)
            if report is None:
                return len(self._reports)
            self._reports.append(report.decode("utf-8", "replace"))

    def take_reports(self):
        """The texts that were reported since the last call, in order."""
        self.report_count()
        taken, self._reports = self._reports, []
        return taken

    def live(self):
        """What the library and this process hold, by its kind."""
        counts = _Counts()
        self._library.ZELHostCount(self._host, ctypes.byref(counts))
        return {name: getattr(counts, name) for name in _COUNTED}

    def leaks(self):
        """A line for each thing that is held or was given back wrongly, but for the interfaces."""
        lines = self._library.ZELHostLeaks(self._host).decode("utf-8", "replace").splitlines()
        return "\n".join(line for line in lines if not line.startswith("still held: interface"))

    def stop(self):
        """Stops the library and ends the host; what `leaks` then says, "" for nothing."""
        stopped = self._library.ZELHostStop(self._host)
        leaks = "" if stopped else self._library.ZELHostLeaks(self._host).decode("utf-8", "replace")
        self._library.ZELHostDestroy(self._host)
        self._host = None
        return leaks
