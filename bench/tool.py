#!/usr/bin/env python3
"""Measures zelpos beside its neighbours on one large document: seconds of the processor and the
most memory of each command, one run each. A neighbour that is not installed has no row. Fails where
zelpos takes longer than the faster one of jq and Python.

usage: tool.py ZELPOS FOLDER [--size MB]

The document is the same for all: written as a POS text, as JSON and as a property list in FOLDER.
"""
import argparse
import os
import pathlib
import re
import resource
import shutil
import signal
import subprocess
import sys

LONGEST = 120
COLOURS = ["red", "green", "blue", "grey", "black"]
SCHEMA = """<
  Catalog <category array membertype Item>
  Item <category dict required <id Count name Name width Length sizes Sizes tags Tags size Size>>
  Count <category int min 0>
  Name <category string minlen 1 maxlen 40>
  Length <category real minexcl 0 max 10000>
  Sizes <category array membertype Length>
  Tags <category array membertype Name>
  Size <category dict required <w Length h Length>>
>
"""
LENGTH = '{"type": "number", "exclusiveMinimum": 0, "maximum": 10000}'
NAME = '{"type": "string", "minLength": 1, "maxLength": 40}'
JSON_SCHEMA = f"""{{"type": "array", "items": {{"type": "object",
  "required": ["id", "name", "width", "sizes", "tags", "size"], "additionalProperties": false,
  "properties": {{"id": {{"type": "integer", "minimum": 0}}, "name": {NAME}, "width": {LENGTH},
  "sizes": {{"type": "array", "items": {LENGTH}}}, "tags": {{"type": "array", "items": {NAME}}},
  "size": {{"type": "object", "required": ["w", "h"], "additionalProperties": false,
            "properties": {{"w": {LENGTH}, "h": {LENGTH}}}}}}}}}}}
"""


def item(i):
    tags = [COLOURS[i % 5], COLOURS[i * 7 % 5], "number %d" % (i % 1000)]
    sizes = [i % 9 + 1, i % 13 + 0.25, i % 101 + 1.5, i % 7 + 2]
    return (i, "item number %d of the list" % i, i % 900 + 0.125, sizes, tags, i % 50 + 0.5, i % 60 + 1)


def write_documents(folder, size):
    """Returns the number of items that make a POS text of so many bytes."""
    count = 0
    with open(folder / "large.pos", "w", encoding="ascii") as pos, \
            open(folder / "large.json", "w", encoding="ascii") as json, \
            open(folder / "large.plist", "w", encoding="ascii") as plist:
        pos.write("[\n")
        json.write("[\n")
        plist.write('<?xml version="1.0" encoding="UTF-8"?>\n<plist version="1.0"><array>\n')
        while count % 1000 or pos.tell() < size:
            number, name, width, sizes, tags, w, h = item(count)
            pos.write("<id %d name (%s) width %s sizes [%s] tags [%s] size <w %s h %s>>\n" % (
                number, name, width, " ".join(map(str, sizes)),
                " ".join("(%s)" % tag for tag in tags), w, h))
            json.write('%s{"id": %d, "name": "%s", "width": %s, "sizes": [%s], "tags": [%s], '
                       '"size": {"w": %s, "h": %s}}\n' % (
                           "," if count else "", number, name, width, ", ".join(map(str, sizes)),
                           ", ".join('"%s"' % tag for tag in tags), w, h))
            plist.write("<dict><key>id</key><integer>%d</integer><key>name</key><string>%s</string>"
                        "<key>width</key><real>%s</real><key>sizes</key><array>%s</array>"
                        "<key>tags</key><array>%s</array><key>size</key><dict><key>w</key>"
                        "<real>%s</real><key>h</key><real>%s</real></dict></dict>\n" % (
                            number, name, width, "".join("<real>%s</real>" % s for s in sizes),
                            "".join("<string>%s</string>" % tag for tag in tags), w, h))
            count += 1
        pos.write("]\n")
        json.write("]\n")
        plist.write("</array></plist>\n")
    return count


def measure(command, folder):
    """Seconds of the processor and MB at the most, or None where LONGEST seconds are not enough; the
    exit status must be 0."""
    child = subprocess.Popen(command, cwd=folder, stdout=subprocess.DEVNULL, stderr=subprocess.PIPE,
                             preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_CPU,
                                                                   (LONGEST, LONGEST)))
    error = child.stderr.read()
    _, status, usage = os.wait4(child.pid, 0)
    child.returncode = os.waitstatus_to_exitcode(status)
    if -child.returncode in (signal.SIGXCPU, signal.SIGKILL):
        return None
    if child.returncode != 0:
        sys.exit("%s: status %d\n%s" % (" ".join(command), child.returncode, error.decode()))
    return usage.ru_utime + usage.ru_stime, usage.ru_maxrss / 1024


def rows(zelpos, last):
    middle = last // 2
    jsonschema = ("import json, sys, jsonschema; validator = jsonschema.Draft7Validator(json.load("
                  "open('schema.json'))); sys.exit(any(validator.iter_errors(json.load(open("
                  "'large.json')))))")
    look = "import json; print(json.load(open('large.json'))[%d]['size']['w'])" % middle
    return [
        ("print", "zelpos print", [zelpos, "print", "large.pos"]),
        ("print", "jq .", ["jq", ".", "large.json"]),
        ("print", "python3 -m json.tool", ["python3", "-m", "json.tool", "large.json"]),
        ("print", "xmllint --format", ["xmllint", "--huge", "--format", "large.plist"]),
        ("convert", "zelpos convert (text to stream)",
         [zelpos, "convert", "large.pos", "-o", "large.zel"]),
        ("convert", "zelpos convert (stream to text)",
         [zelpos, "convert", "large.zel", "--to", "text"]),
        ("convert", "zelpos convert (text to JSON)", [zelpos, "convert", "large.pos", "--to", "json"]),
        ("convert", "zelpos convert (JSON to text)", [zelpos, "convert", "large.json", "--to", "text"]),
        ("convert", "jq -c .", ["jq", "-c", ".", "large.json"]),
        ("convert", "plistutil (XML to binary)",
         ["plistutil", "-i", "large.plist", "-o", "large.bplist", "-f", "bin"]),
        ("validate", "zelpos validate",
         [zelpos, "validate", "schema.pos", "Catalog", "large.pos"]),
        ("validate", "python3 jsonschema", ["python3", "-c", jsonschema]),
        ("look into", "zelpos get", [zelpos, "get", "large.pos", "[%d].size.w" % middle]),
        ("look into", "jq '.[i].size.w'", ["jq", ".[%d].size.w" % middle, "large.json"]),
        ("look into", "python3 json.load", ["python3", "-c", look]),
        ("count", "zelpos stats", [zelpos, "stats", "large.pos"]),
    ]


def main():
    parser = argparse.ArgumentParser(description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("zelpos", type=pathlib.Path)
    parser.add_argument("folder", type=pathlib.Path)
    parser.add_argument("--size", type=int, default=200, metavar="MB", help="of the POS text")
    parser.add_argument("--only", default="", metavar="REGEX", help="rows whose command matches")
    options = parser.parse_args()
    options.folder.mkdir(parents=True, exist_ok=True)
    count = write_documents(options.folder, options.size * 1000000)
    (options.folder / "schema.pos").write_text(SCHEMA, encoding="ascii")
    (options.folder / "schema.json").write_text(JSON_SCHEMA, encoding="ascii")
    sizes = [(options.folder / ("large." + name)).stat().st_size // 1000000
             for name in ("pos", "json", "plist")]
    print("%d items: %d MB of POS text, %d MB of JSON, %d MB of property list\n" % (count, *sizes))
    print("| work | command | seconds | MB |\n| --- | --- | --: | --: |")
    ours, fastest = {}, {}
    for work, name, command in rows(str(options.zelpos.resolve()), count):
        if not shutil.which(command[0]) or not re.search(options.only, name):
            continue
        found = measure(command, options.folder)
        figures = "%.1f | %.0f" % found if found else "over %d | " % LONGEST
        print("| %s | `%s` | %s |" % (work, name, figures), flush=True)
        seconds = found[0] if found else LONGEST
        if name.startswith("zelpos"):
            ours.setdefault(work, seconds)
        elif name.startswith(("jq", "python3")):
            fastest[work] = min(seconds, fastest.get(work, seconds))
    slower = [work for work in ours if ours[work] > fastest.get(work, ours[work])]
    if slower:
        sys.exit("slower than the faster one of jq and Python: " + ", ".join(slower))


if __name__ == "__main__":
    main()
