#!/usr/bin/env python3
"""Does what the tutorial says: writes its files, runs its commands, compares what they print.

usage: tutorial.py PAGE FOLDER PREFIX [--without-python]

PREFIX is an installation; FOLDER is made. CC, CXX and their flags are those of the environment.
"""
import os
import pathlib
import re
import shutil
import subprocess
import sys

page, folder, prefix = (pathlib.Path(path).resolve() for path in sys.argv[1:4])
shutil.rmtree(folder, ignore_errors=True)
folder.mkdir(parents=True)
environment = dict(os.environ, PREFIX=str(prefix), LC_ALL="C.UTF-8",
                   PATH=f"{prefix}/bin:{os.environ['PATH']}",
                   PYTHONPATH=str(page.parents[1] / "bindings/python"), PYTHONDONTWRITEBYTECODE="1")
cc = "cc() { ${CC:-gcc} $CFLAGS \"$@\"; }\n"
counts = {"files": 0, "commands": 0}
exports = ""


def run(command):
    done = subprocess.run(["sh", "-c", cc + exports + command], cwd=folder, env=environment, text=True,
                          stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
    return done.returncode, done.stdout


def check(command, expected=None):
    counts["commands"] += 1
    status, printed = run(command)
    if status != 0 or expected not in (None, printed):
        sys.exit(f"{command}\nstatus {status}, printed:\n{printed}\nwanted:\n{expected}")


text = page.read_text(encoding="utf-8").partition("\n## A document")[2]
if "--without-python" in sys.argv:
    text = text.partition("\n## The same in Python")[0]
for before, language, block in re.findall(r"([^\n]*)\n\n```(\w+)\n(.*?)\n```", text, re.S):
    if language == "sh":
        check("set -e\n" + block)
        exports += "".join(line + "\n" for line in block.splitlines() if line.startswith("export "))
    elif language == "console":
        for command, printed in re.findall(r"^\$ (.*)\n((?:(?!\$ ).*\n)*)", block + "\n", re.M):
            check(command, printed)
    else:
        (folder / re.findall(r"`([\w.]+)`", before)[-1]).write_text(block + "\n", encoding="utf-8")
        counts["files"] += 1
print(f"tutorial: {counts['files']} files, {counts['commands']} commands")
sys.exit(0 if counts["commands"] >= 8 else 1)
