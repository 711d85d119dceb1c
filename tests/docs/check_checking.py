#!/usr/bin/env python3
"""The page about the checking layer: what its program prints, and the rules that it lists.

usage: check_checking.py PROGRAM LAYER

Each block after a comment with a setting of ZELUTILS_CHECK is part of what the program then prints:
addresses, places in the code and times may differ, and a line "..." stands for any lines.
"""
import json
import os
import pathlib
import re
import signal
import subprocess
import sys
import tempfile

ROOT = pathlib.Path(__file__).resolve().parents[2]
PAGE = (ROOT / "docs/checking.md").read_text(encoding="utf-8")


def normalised(text):
    text = re.sub(r"0x[0-9a-f]+", "0x", text)
    text = re.sub(r"[\w.]*\+0x in [\w.]+\+0x|[\w.]+\+0x", "PLACE", text)
    text = re.sub(r"call \d+", "call N", text)
    return re.sub(r"\[ *\d+\.\d+\]", "[TIME]", text)


def pieces(block):
    return [piece.strip("\n") for piece in re.split(r"(?m)^ *\.\.\.\n?", block) if piece.strip()]


def check_output(program, layer, faults):
    blocks = re.findall(r"<!-- ZELUTILS_CHECK=(\S+) -->\n```text\n(.*?)```", PAGE, re.S)
    for setting, block in blocks:
        run = subprocess.run([program, layer], capture_output=True, text=True, check=True,
                             env=dict(os.environ, ZELUTILS_CHECK=setting))
        printed = normalised(run.stderr)
        for piece in pieces(block):
            if normalised(piece) not in printed:
                faults.append(f"{setting} does not print\n{piece}\nbut\n{run.stderr}")
    return len(blocks)


def check_events(program, layer, faults):
    """A trace of events is JSON with a name, a time and a duration for each call."""
    with tempfile.TemporaryDirectory() as folder:
        file = pathlib.Path(folder) / "trace.json"
        subprocess.run([program, layer], capture_output=True, check=True,
                       env=dict(os.environ, ZELUTILS_CHECK=f"trace={file}"))
        events = json.loads(file.read_text(encoding="utf-8"))
    names = [event["name"] for event in events if event["ph"] == "X" and event["dur"] >= 0]
    if names.count("POSStreamerInterface.Serialize") != 1 or len(names) != len(events):
        faults.append("the trace of events has not just one call of Serialize")


def check_abort(program, layer, faults):
    """The first finding ends the process, and no other is told of."""
    run = subprocess.run([program, layer], capture_output=True, text=True,
                         env=dict(os.environ, ZELUTILS_CHECK="core,abort"))
    if run.returncode != -signal.SIGABRT or run.stderr.count("zelutils-check: ") != 1:
        faults.append(f"abort ends with {run.returncode} and prints\n{run.stderr}")


def check_rules(faults):
    header = (ROOT / "check/rules.h").read_text(encoding="utf-8")
    rules = re.findall(r'X\(\w+, "([a-z0-9-]+)"', header)
    listed = re.findall(r"(?m)^\| `([a-z0-9]+(?:-[a-z0-9]+)+)` \|", PAGE)
    if rules != listed:
        faults.append(f"the page lists other rules: {sorted(set(rules) ^ set(listed)) or 'in another order'}")


def main():
    faults = []
    count = check_output(sys.argv[1], sys.argv[2], faults)
    check_events(sys.argv[1], sys.argv[2], faults)
    check_abort(sys.argv[1], sys.argv[2], faults)
    check_rules(faults)
    print("\n".join(faults))
    print(f"{count} blocks, {len(faults)} faults")
    return 1 if faults or count < 3 else 0


sys.exit(main())
