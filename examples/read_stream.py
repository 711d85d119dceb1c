#!/usr/bin/env python3
"""Reads the stream format of ZELUtils without ZELUtils, from what docs/stream-format.md says.

usage: read_stream.py FILE      prints the value in FILE

A value becomes a float, bytes, str (a Unicode string), BinData, list or dict (keys are bytes)."""
import collections
import re
import sys

BinData = collections.namedtuple("BinData", "type_name data")
SPACES = b" \t\n\r"
SCALAR = 1000  # levels enough for what holds nothing
VERSION = b"POSStreamerTypeA_Version1.0"
NUMBER = re.compile(rb"[+-]?(?:\d+\.?\d*|\.\d+)(?:[Ee][+-]?\d+)?")


class StreamError(ValueError):
    """The bytes are no value; the text is what the library reports."""


def require(condition, message):
    if not condition:
        raise StreamError(message)


class Reader:
    """Reads values from bytes; `position` is behind the last byte that was consumed."""

    def __init__(self, data, position=0):
        self.data, self.position, self.depth = data, position, 0
        self.close, self.letters = b"\0", {}  # of the innermost value, here of none
        # By the marker: closing byte, letters behind a backslash, reader, levels around it at most.
        self.kinds = {
            b"#": (b" ", {b" ": b" "}, self.number, SCALAR),
            b'"': (b'"', {b'"': b'"', b"n": b"\n", b"r": b"\r", b"t": b"\t"}, self.string, SCALAR),
            b"`": (b"`", {b"`": b"`"}, self.unicode_string, SCALAR),
            b"{": (b"}", {b"}": b"}"}, self.binary_data, 512),
            b"$": (b" ", {b" ": b" "}, self.raw_pointer, SCALAR),
            b"[": (b"]", {b"]": b"]"}, self.array, 511),
            b"<": (b">", {b">": b">"}, self.dictionary, 511),
        }

    def byte(self, message="unexpected EOF"):
        require(self.position < len(self.data), message)
        self.position += 1
        return self.data[self.position - 1:self.position]

    def char(self):
        """The next byte of content; None at the closing byte, which is consumed."""
        byte = self.byte()
        if byte == b"\\":
            letter = self.byte()
            if letter.isdigit():
                digits = letter + self.byte() + self.byte()
                return bytes([sum((d - 48) * 8 ** (2 - i) for i, d in enumerate(digits)) % 256])
            require(letter == b"\\" or letter in self.letters, "Unexpected escape sequence")
            return self.letters.get(letter, letter)
        byte = b" " if byte in SPACES else byte
        return None if byte == self.close else byte

    def chars(self, most, skipped=b""):
        found = bytearray()
        while len(found) < most:
            char = self.char()
            if char is None:
                break
            found += b"" if char in skipped else char
        return bytes(found)

    def value(self):
        """The next value; None where the one around it is closed."""
        marker = next(char for char in iter(self.char, b"") if char != b" ")
        if marker is None:
            return None
        require(marker in self.kinds, "Cannot determine streaming params")
        close, letters, read, levels = self.kinds[marker]
        require(self.depth <= levels, "nesting too deep")
        outer = self.close, self.letters, self.depth
        self.close, self.letters, self.depth = close, letters, self.depth + (levels < SCALAR)
        result = read()
        self.close, self.letters, self.depth = outer
        return result

    def number(self):
        text = self.chars(63)
        require(0 < len(text) < 63 and not text.strip(b"+-0123456789.Ee"), "malformed number")
        match = NUMBER.match(text)
        return float(match.group()) if match else 0.0

    def string(self):
        return self.chars(len(self.data)).split(b"\0")[0]

    def unicode_string(self):
        units = []
        for group in iter(lambda: self.chars(4), b""):
            require(re.fullmatch(b"[0-9A-Fa-f]{4}", group), "malformed Unicode string")
            units.append(bytes.fromhex(group.decode()))
        units.append(b"\0\0")
        return b"".join(units[:units.index(b"\0\0")]).decode("utf-16-be", "surrogatepass")

    def binary_data(self):
        name = self.value()
        require(isinstance(name, bytes), "downcast from CPOSObject to CPOSString failed")
        size = self.value()
        require(isinstance(size, float), "downcast from CPOSObject to CPOSNumber failed")
        require(0 <= size < 2 ** 32, "malformed binary data size")
        data = bytearray()
        while len(data) < int(size):
            pair = self.chars(2, SPACES)
            require(len(pair) == 2, "GetChars ran out of input")
            require(re.fullmatch(b"[0-9A-Fa-f]{2}", pair), "malformed binary data")
            data += bytes.fromhex(pair.decode())
        require(not self.chars(1, SPACES), "Unexpected chars after binary data")
        return BinData(name, bytes(data))

    def raw_pointer(self):
        require(False, "Cannot meaningfully read in a raw pointer (write is for debugging only)")

    def array(self):
        return list(iter(self.value, None))

    def dictionary(self):
        found = {}
        for key in iter(self.value, None):
            require(isinstance(key, bytes), "downcast from CPOSObject to CPOSString failed")
            found[key] = self.value()
            require(found[key] is not None, "missing dictionary value")
        return found


def read_stream(data, position=0):
    """The value whose header begins at `position`, and the position behind it."""
    reader, version = Reader(data, position), b" "
    while version == b" ":
        version = reader.byte("getNextChar unexpected EOF")
    while len(version) < 64 and not version.endswith(b" "):
        version += reader.byte("getNextChar unexpected EOF")
    require(version == VERSION + b" ", "StreamerBase::LookupStreamer unrecognized version")
    value = reader.value()
    require(value is not None, "POSObjectStreamerImpl::Deserialize failure")
    return value, reader.position


if __name__ == "__main__":
    sys.setrecursionlimit(10000)
    with open(sys.argv[1], "rb") as file:
        print(read_stream(file.read())[0])
