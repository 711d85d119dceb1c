#!/usr/bin/env python3
"""The tables of docs/host-contract.md, from the lists and typedefs of the public headers.

usage: contract.py            fails unless the page has just these rows, and tells the difference
       contract.py --print    prints the tables
"""
import pathlib
import re
import sys

ROOT = pathlib.Path(__file__).resolve().parents[2]
HEADERS = ["binder.h", "core.h", "pos.h", "streamer.h", "validator.h", "fileutils.h"]
# Interfaces by the stem of their lists; a stem that has no name of its own is a family of methods
# that an instance offers.
ENTRY = re.compile(r"X\(\s*(\w+)\s*,\s*(\w+)\s*\)")


def squeezed(text):
    return re.sub(r"\s+", " ", text).replace("( ", "(").replace("* (", "*(").strip()


def read_headers():
    """Prototypes by typedef name; (interface, [(method, typedef)]) in the order of the headers."""
    prototypes, names, lists = {}, {}, []
    for header in HEADERS:
        text = (ROOT / "include/zelutils" / header).read_text(encoding="utf-8")
        text = re.sub(r"/\*.*?\*/", " ", text, flags=re.S).replace("\\\n", " ")
        names.update(re.findall(r'#define (\w+) "(\w+)"', text))
        for stem, body in re.findall(r"#define (\w+)_METHODS\(X\)(.*)", text):
            lists.append((stem, ENTRY.findall(body)))
        for result, name, rest in re.findall(r"typedef ([^;{}]*?)\(\*(\w+)\)\(([^;]*)\);", text):
            prototypes[name] = squeezed(f"{result.strip()} ({rest})")
        for name in re.findall(r"typedef ZELProc (\w+);", text):
            prototypes[name] = None
    tables = []
    for stem, methods in lists:
        name = names.get(stem + "_INTERFACE", names.get(stem))
        tables.append((name or stem.replace("ZEL_", "").replace("_", " ").lower(), methods))
    return tables, prototypes


def rows(tables, prototypes):
    found = []
    for name, methods in tables:
        for method, proc_type in methods:
            prototype = prototypes[proc_type]
            shown = "any address" if prototype is None else f"`{prototype}`"
            found.append(f"| `{name}` | `{method}` | `{proc_type}` | {shown} |")
    return found


def main():
    expected = rows(*read_headers())
    if "--print" in sys.argv:
        print("\n".join(expected))
        return 0
    page = (ROOT / "docs/host-contract.md").read_text(encoding="utf-8")
    shown = [line for line in page.splitlines() if re.match(r"\| `[^`]*` \| `\w+` \| `\w+` \|", line)]
    for row in expected:
        if row not in shown:
            print("missing or changed:", row)
    for row in shown:
        if row not in expected:
            print("not in the headers:", row)
    print(len(expected), "procedures in the headers,", len(shown), "in the table")
    return 0 if shown == expected and len(expected) > 100 else 1


sys.exit(main())
