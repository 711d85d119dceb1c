"""Schemas, and what does not conform to them."""

from __future__ import annotations

import ctypes
import re
from typing import Any, Callable, NamedTuple

from . import _abi, _text, _values
from ._errors import SchemaError
from ._session import Session, default_session

class Finding(NamedTuple):
    """Something that does not conform.

    ``path`` leads to it from the value and can be given to `Dict.deep_get` (empty: the value
    itself), ``message`` says what is wrong there, ``text`` is the whole line as the library gives it.
    """

    path: str
    message: str
    text: str


_ELEMENT = re.compile(r"\[(\d+)\]: ")
_MEMBER = re.compile(r"(.*?) \((key|value|required|optional), type != .*?\): ", re.DOTALL)
_CONTEXT = re.compile(r"(?:Not a valid union type|Trying .*?|Failed intersection type .*?): ", re.DOTALL)


def finding_of(text: str) -> Finding:
    """Takes the prefixes of a message apart. A key that itself looks like a prefix ends the path."""
    path, rest = "", text
    while True:
        if match := _ELEMENT.match(rest):
            path += "[%s]" % match[1]
        elif match := _CONTEXT.match(rest):
            pass
        elif match := _MEMBER.match(rest):
            path += "." + match[1] if path else match[1]
        else:
            return Finding(path, rest, text)
        rest = rest[match.end():]


class Schema:
    """A schema: a text, a live dictionary or a plain one.

    It is held as it is; its faults are told by `check`, and otherwise by the first validation that
    meets them. It must not be changed while a validation runs.
    """

    def __init__(self, schema: Any, session: Session | None = None):
        self._session = session = session or default_session()
        if isinstance(schema, (str, bytes)):
            schema = _text.loads(schema, session)
        session._enter()
        with _values.Holder(session, schema) as handle:
            self._schema = _values.Value(session, handle)
            self._validator = _values.Value(
                session, session._struct_validators.NewPOSStructValidator(handle))
        self._callbacks: dict[bytes, Any] = {}  # kept alive for the library
        self._functions: dict[bytes, Callable[[Any], bool | str | None]] = {}
        self._running = 0
        self._raised: BaseException | None = None

    def check(self) -> list[Finding]:
        """What is wrong with the schema itself: a list of `Finding`, empty when nothing is."""
        session = self._session
        session._enter()
        return self._collect(
            lambda report: session._struct_validators.ValidateSchema(self._schema._handle, report))

    def validate(self, value: Any, type_name: str) -> list[Finding]:
        """Checks a value, live or plain, against a type of the schema.

        Returns a list of `Finding`, empty when it conforms. Raises `SchemaError` when the check could
        not be carried out, and whatever a callback raised.
        """
        session = self._session
        session._enter()
        with _values.Holder(session, value) as handle:
            with session._atom(_values.encode_text(type_name)) as atom:
                return self._collect(lambda report: session._validators.Validate(
                    self._validator._handle, handle, atom, report))

    def register(self, type_name: str, function: Callable[[Any], bool | str | None]) -> None:
        """Has ``function(value)`` asked for each value that conforms to a type of the schema so far.

        It returns None or True to accept the value, and False or a text to reject it; the text, of
        which 1,023 bytes are kept, becomes the message. It may be asked several times for one value.
        A function takes the place of an earlier one at any time; the first one of a type cannot be
        registered while the schema validates, and `SchemaError` is raised then.
        """
        session = self._session
        session._enter()
        name = _values.encode_text(type_name)
        if name not in self._callbacks:
            if self._running:
                raise SchemaError("a function for another type cannot be registered during a validation")
            callback = _abi.CallbackProc(lambda value, _, buffer, __: self._answer(name, value, buffer))
            with session._atom(name) as atom:
                session._struct_validators.RegisterCallbackProc(
                    self._validator._handle, atom, callback, None)
                session._check("register")
            self._callbacks[name] = callback
        self._functions[name] = function

    def _answer(self, name, value, buffer):
        session = self._session
        try:
            answer = self._functions[name](_values.from_handle(session, value))
        except BaseException as raised:  # pylint: disable=broad-except
            self._raised = self._raised or raised
            return 0
        if answer is None or answer is True:
            return 1
        if isinstance(answer, str):
            text = _values.encode_text(answer).split(b"\0")[0][:session._buffers.GetSize(buffer) - 1]
            ctypes.memmove(session._buffers.GetBuffer(buffer), text + b"\0", len(text) + 1)
        return 0

    def _collect(self, call):
        lines: list[bytes] = []
        report = _abi.MessageProc(lines.append)
        outer, self._raised = self._raised, None  # a callback may validate too
        self._running += 1
        try:
            conforms = call(report)
        finally:
            self._running -= 1
        raised, self._raised = self._raised, outer
        if raised is not None:
            self._session._host.take_reports()
            raise raised
        if not conforms and (not lines or self._session._host.report_count()):
            self._session._fail("the check could not be carried out", SchemaError)
        return [finding_of(_values.decode_key(line)) for line in lines]
