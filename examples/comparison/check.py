#!/usr/bin/env python3
"""The same programs with several libraries: that they print the same, and how long they are.

usage: check.py PROGRAM... [--page FILE]     runs the programs, and compares the table in a page
       check.py --print                      prints the table
"""
import argparse
import json
import pathlib
import re
import subprocess
import sys

HERE = pathlib.Path(__file__).resolve().parent
LIBRARIES = ["zelutils", "nlohmann", "rapidjson", "jansson"]
TASKS = {"tree": "build a tree, look into it, print it",
         "schema": "read a file, print everything that is wrong with it",
         "struct": "a struct from a text and back"}
# Files that a program needs besides.
BESIDES = {"schema_zelutils": ["book.schema.pos"]}
ALLOWED = 2  # lines more than with the library that needs the fewest
HELLO, HELLO_LINES = HERE.parent / "hello.c", 30


def lines(file):
    """Lines of code: those that are neither blank nor a comment."""
    text = re.sub(r"^ *(//.*|/\*[\s\S]*?\*/)$", "", file.read_text(encoding="utf-8"), flags=re.M)
    return sum(1 for line in text.splitlines() if line.strip())


def length(task, library):
    name = f"{task}_{library}"
    files = [*HERE.glob(name + ".c*"), *(HERE / file for file in BESIDES.get(name, []))]
    return sum(lines(file) for file in files)


def rows():
    for task, words in TASKS.items():
        yield f"| {words} | " + " | ".join(str(length(task, name)) for name in LIBRARIES) + " |"


def meaning(task, output):
    """What a program has said, whatever the library calls it."""
    if task == "schema":  # a finding to a line, each about one of these
        places = [re.findall(r"title|\[\d\]", line)[:1] for line in output.splitlines()]
        return sorted(places)
    return [json.loads(line) for line in output.splitlines()]


def check_programs(programs):
    said = {}
    for program in programs:
        task, library = pathlib.Path(program).stem.split("_")
        run = subprocess.run([program], cwd=HERE, check=True, stdout=subprocess.PIPE, text=True)
        said.setdefault(task, {})[library] = meaning(task, run.stdout)
    for library in LIBRARIES:
        if any(library not in of_task for of_task in said.values()):
            print(f"not run: the programs with {library}, which are not built here")
    expected = {"tree": 2, "schema": 4, "struct": 1}
    for task, of_task in said.items():
        ours = of_task["zelutils"]
        if len(ours) != expected[task]:
            yield f"{task}_zelutils prints {ours}"
        for library, theirs in of_task.items():
            if theirs != ours:
                yield f"{task}_{library} prints {theirs}, not {ours}"
    if set(said) != set(TASKS):
        yield "not every task has been run"


def check_lengths(page):
    if lines(HELLO) > HELLO_LINES:
        yield f"{HELLO} has more than {HELLO_LINES} lines"
    for row in rows():
        if page and row not in page.read_text(encoding="utf-8").splitlines():
            yield f"{page} does not have the row\n{row}"
    for task in TASKS:
        of_task = {library: length(task, library) for library in LIBRARIES}
        if of_task["zelutils"] > min(of_task.values()) + ALLOWED:
            yield f"{task} is longer here than elsewhere: {of_task}"


def main():
    parser = argparse.ArgumentParser(usage=__doc__)
    parser.add_argument("programs", nargs="*")
    parser.add_argument("--page", type=pathlib.Path)
    parser.add_argument("--print", action="store_true")
    options = parser.parse_args()
    if options.print:
        print("\n".join(rows()))
        return 0
    faults = [*check_programs(options.programs), *check_lengths(options.page)]
    for fault in faults:
        print(fault)
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
