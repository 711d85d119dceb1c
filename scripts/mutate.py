#!/usr/bin/env python3
"""Changes one line of src/ at a time and lists the changes that no test notices.

A change is an operator, a bound or a constant replaced, or a statement left out. Each is built and
tested in a copy of the tracked files in build/mutate; the checkout stays as it is. A change counts as
noticed when a test fails, crashes or hangs in the release build, or under the sanitizers for those
that get past it. Each outcome is written at once, and a run that was cut off goes on where it
stopped. Changes that are known to change nothing are listed, with the reason, in
tests/mutants.txt.
"""

import argparse
import collections
import hashlib
import os
import pathlib
import random
import re
import shutil
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
WORK = ROOT / "build" / "mutate"
COPY = WORK / "source"
KNOWN = ROOT / "tests" / "mutants.txt"
PRESETS = ("release", "asan")

# Operators stand between blanks in our style; those of templates and references do not.
OPERATORS = [
    (" < ", (" <= ", " > ")),
    (" <= ", (" < ",)),
    (" > ", (" >= ", " < ")),
    (" >= ", (" > ",)),
    (" == ", (" != ",)),
    (" != ", (" == ",)),
    (" && ", (" || ",)),
    (" || ", (" && ",)),
    (" + ", (" - ",)),
    (" - ", (" + ",)),
    (" * ", (" + ",)),
    (" << ", (" >> ",)),
    (" >> ", (" << ",)),
    (" & ", (" | ",)),
    (" | ", (" & ",)),
    (" += ", (" -= ",)),
    (" -= ", (" += ",)),
    ("true", ("false",)),
    ("false", ("true",)),
]
NUMBER = re.compile(r"(?<![\w.\"'])(\d+)(?![\w.\"'])")
STATEMENT = re.compile(r"^\s+[\w:]+(?:(?:\.|->|::)\w+|\[[^\]]*\])*(?:\(.*\)| [-+|&]?= .*|\+\+|--);$")
SKIPPED = re.compile(r"^\s*(?://|#|static_assert|template|using|namespace|enum|return std::move)|^\s*$")

Mutant = collections.namedtuple("Mutant", "path line old new")


def mutants_of(path):
    """All changes of one file, in the order of its lines."""
    for number, line in enumerate((ROOT / path).read_text().splitlines(), 1):
        code = line.split("//")[0].rstrip()
        if SKIPPED.match(code):
            continue
        quoted = [(m.start(), m.end()) for m in re.finditer(r'"(?:[^"\\]|\\.)*"|\'(?:[^\'\\]|\\.)*\'', code)]

        def outside_of_texts(start):
            return all(not begin <= start < end for begin, end in quoted)

        for operator, replacements in OPERATORS:
            pattern = r"\b%s\b" % operator if operator.isalpha() else re.escape(operator)
            for match in re.finditer(pattern, code):
                if outside_of_texts(match.start()):
                    for replacement in replacements:
                        yield Mutant(path, number, line, code[: match.start()] + replacement + code[match.end():])
        for match in NUMBER.finditer(code):
            if outside_of_texts(match.start()):
                for value in {int(match[1]) + 1, max(int(match[1]) - 1, 0)} - {int(match[1])}:
                    yield Mutant(path, number, line, code[: match.start()] + str(value) + code[match.end():])
        if STATEMENT.match(code):
            yield Mutant(path, number, line, re.match(r"\s*", code)[0] + ";")


def key_of(mutant):
    """Names a change by its texts, so that a line that moves keeps its name."""
    text = "\0".join((mutant.path, mutant.old.strip(), mutant.new.strip()))
    return hashlib.sha256(text.encode()).hexdigest()[:12]


def known_mutants():
    """The changes that change nothing: key -> reason."""
    known = {}
    if KNOWN.exists():  # lines of a key and a reason
        for line in KNOWN.read_text().splitlines():
            if line and not line.startswith("#"):
                key, reason = line.split(maxsplit=1)
                known[key] = reason
    return known


def run(*command, timeout=None):
    """Exit status of a command in the copy; a time-out and a crash are failures like others."""
    with open(WORK / "last.log", "wb") as log:
        process = subprocess.Popen(
            command, cwd=COPY, stdout=log, stderr=subprocess.STDOUT, stdin=subprocess.DEVNULL, start_new_session=True)
        try:
            return process.wait(timeout)
        except subprocess.TimeoutExpired:
            os.killpg(process.pid, 9)
            process.wait()
            return 1


def refresh_copy():
    """The tracked files as they are in the checkout; files that have not changed keep their times."""
    names = subprocess.run(
        ["git", "ls-files", "-z", "--cached", "--others", "--exclude-standard"], cwd=ROOT, check=True, capture_output=True
    ).stdout.decode().split("\0")
    present = {name for name in names if name and (ROOT / name).is_file()}
    for folder, _, files in os.walk(COPY):
        if "/build" in folder.removeprefix(str(COPY)):
            continue
        for file in files:
            path = pathlib.Path(folder, file)
            if str(path.relative_to(COPY)) not in present:
                path.unlink()
    for name in present:
        target = COPY / name
        if not target.exists() or target.read_bytes() != (ROOT / name).read_bytes():
            target.parent.mkdir(parents=True, exist_ok=True)
            shutil.copy(ROOT / name, target)


def build(preset):
    return run("cmake", "--build", "--preset", preset) == 0


def quick_test(preset):
    """The cases that are quick, in one process each, up to the first that fails."""
    folder = COPY / "build" / preset
    return all(
        run(str(folder / program), "--gtest_fail_fast", "--gtest_brief=1", "--gtest_filter=-*Tool*:*FaultSweep*:*Docs*",
            timeout=120) == 0
        for program in ("zel_inside_tests", "zel_tests"))


def test(preset, jobs, timeout):
    return run("ctest", "--preset", preset, "-j", str(jobs), "--stop-on-failure", "-E", "^(package|docs)", timeout=timeout) == 0


def prepare(jobs):
    for preset in PRESETS:
        if run("cmake", "--preset", preset, "-DZEL_WERROR=OFF", "-DCMAKE_EXPORT_COMPILE_COMMANDS=OFF") != 0 or not build(preset):
            sys.exit(f"mutate: the unchanged sources do not build ({preset}); see {WORK / 'last.log'}")
        if not quick_test(preset) or not test(preset, jobs, 900):
            sys.exit(f"mutate: a test fails on the unchanged sources ({preset}); see {WORK / 'last.log'}")


def outcome_of(mutant, jobs):
    target = COPY / mutant.path
    original = target.read_text()
    lines = original.splitlines()
    lines[mutant.line - 1] = mutant.new
    target.write_text("\n".join(lines) + "\n")
    try:
        for preset in PRESETS:
            if not build(preset):
                return "does not compile"
            if not quick_test(preset) or not test(preset, jobs, 300):
                return f"noticed ({preset})"
        return "survived"
    finally:
        target.write_text(original)


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("count", nargs="?", type=int, default=20, help="changes that compile; 20 by default")
    parser.add_argument("path", nargs="?", default="src/", help="beginning of the files' paths, such as src/pos/dict")
    parser.add_argument("--seed", type=int, default=1, help="the same seed makes the same changes of the same files")
    parser.add_argument("--jobs", type=int, default=os.cpu_count(), help="tests that run at a time")
    parser.add_argument("--require", type=float, default=0, metavar="PERCENT", help="fail if fewer were noticed")
    options = parser.parse_args()

    WORK.mkdir(parents=True, exist_ok=True)
    refresh_copy()
    prepare(options.jobs)

    files = sorted(str(p.relative_to(ROOT)) for p in (ROOT / "src").rglob("*") if p.suffix in (".h", ".cpp"))
    candidates = [
        m for f in files if f.startswith(options.path) and not f.endswith("_windows.cpp") for m in mutants_of(f)]
    random.Random(options.seed).shuffle(candidates)

    # Outcomes of this state of the sources: another state may well notice what that one did not.
    state = hashlib.sha256(b"\0".join(
        (COPY / f).read_bytes() for f in sorted(str(p.relative_to(COPY)) for folder in ("src", "tests", "include", "host")
                                                 for p in (COPY / folder).rglob("*") if p.is_file()))).hexdigest()[:12]
    record = WORK / f"outcomes-{state}.txt"
    done = dict(line.split(maxsplit=1) for line in record.read_text().splitlines()) if record.exists() else {}
    known = known_mutants()

    tried, noticed, survivors = 0, 0, []
    for mutant in candidates:
        if tried == options.count:
            break
        key = key_of(mutant)
        if key in known:
            outcome = "changes nothing"
        else:
            outcome = done.get(key) or outcome_of(mutant, options.jobs)
            if key not in done:
                with open(record, "a", encoding="utf-8") as file:
                    file.write(f"{key} {outcome}\n")
        if outcome == "does not compile":
            continue
        tried += 1
        if outcome == "survived":
            survivors.append(mutant)
        else:
            noticed += 1
        print(f"{tried:4} {outcome:17} {key} {mutant.path}:{mutant.line}", flush=True)
        if outcome == "survived":
            print(f"     - {mutant.old.strip()}\n     + {mutant.new.strip()}", flush=True)

    share = 100 * noticed / tried if tried else 100.0
    print(f"\n{noticed} of {tried} changes noticed or known to change nothing ({share:.0f} %), {len(survivors)} survived")
    for mutant in survivors:
        print(f"{mutant.path}:{mutant.line}: {mutant.old.strip()}  ->  {mutant.new.strip()}  [{key_of(mutant)}]")
    return 1 if share < options.require else 0


if __name__ == "__main__":
    sys.exit(main())
