#!/usr/bin/env python3
"""Reads every stream in a folder with examples/read_stream.py; tests/stream_format_test.cpp compares.

usage: read_streams.py EXAMPLES FOLDER      one line for each file: name, TAB, JSON or error text

A Unicode string is {"": text} and binary data {"": [type name, digits]}; no key of a dictionary that
is compared is empty.
"""
import json
import os
import sys

sys.dont_write_bytecode = True
sys.path.insert(0, sys.argv[1])
import read_stream  # pylint: disable=import-error,wrong-import-position


def to_json(value):
    if isinstance(value, float):
        return "%.17g" % value
    if isinstance(value, bytes):
        return json.dumps(value.decode("latin-1"))
    if isinstance(value, str):
        return '{"": %s}' % json.dumps(value)
    if isinstance(value, read_stream.BinData):
        return '{"": [%s, "%s"]}' % (to_json(value.type_name), value.data.hex())
    if isinstance(value, list):
        return "[" + ", ".join(to_json(element) for element in value) + "]"
    pairs = sorted(value.items())
    return "{" + ", ".join(f"{to_json(key)}: {to_json(part)}" for key, part in pairs) + "}"


def read(path):
    with open(path, "rb") as file:
        data = file.read()
    try:
        value, position = read_stream.read_stream(data)
        return "%s\t%d" % (to_json(value), position)
    except read_stream.StreamError as error:
        return str(error)


sys.setrecursionlimit(10000)
for name in sorted(os.listdir(sys.argv[2])):
    print(name, read(os.path.join(sys.argv[2], name)), sep="\t")
