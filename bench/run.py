#!/usr/bin/env python3
"""Runs the benchmark programs and compares the library with its peers.

Each benchmark runs in a process of its own, all of a round in an order of its own: what an earlier
benchmark leaves in the heap alone changes the time of the same work by a third. The figures are
medians over the rounds; the spread is the distance of the quartiles.
"""

import argparse
import json
import os
import platform
import random
import re
import statistics
import subprocess
import sys
import tempfile

sys.dont_write_bytecode = True  # the folder holds sources alone
import report  # pylint: disable=wrong-import-position

PROGRAMS = ["zel", "client", "jansson", "json_c", "rapidjson", "nlohmann", "inside"]

# Rounds and seconds of each run, by the first part of a name; "compare" stands for all operations.
PLANS = {
    "full": {"compare": (11, 0.05), "call": (5, 0.05), "inside": (5, 0.05), "growth": (2, 0.01),
             "keys": (3, 0.01), "memory": (1, 0), "peak": (1, 0), "services": (1, 0)},
    "quick": {"compare": (3, 0.02), "call": (3, 0.02), "inside": (1, 0.02), "memory": (1, 0),
              "services": (1, 0)},
}
INSTRUCTIONS = re.compile(r"^(parse|write|read|clone|equality|lookup|lookup_by_atom|path|build|"
                          r"release|validate)/[^/]*/(zel|before|32 bits|not hardened|checked)$|^client/")
# Figures whose quartiles lie farther apart are taken again, with as many rounds, so often.
WIDE, REPEATS = 0.25, 2
MARKS = re.compile(r"/(manual_time|iterations:\d+)")


def list_benchmarks(build, programs=PROGRAMS):
    """The program and full name of each benchmark by its plain name."""
    found = {}
    for program in programs:
        path = os.path.join(build, "bench_" + program)
        if not os.path.exists(path):
            raise SystemExit("there is no " + path)
        listed = subprocess.run([path, "--benchmark_list_tests"], check=True, text=True,
                                stdout=subprocess.PIPE).stdout
        for name in listed.splitlines():
            found[MARKS.sub("", name)] = (path, name)
    return found


def run_once(path, name, seconds):
    """The figures of one run: time in ns per item and the counters, or an error text."""
    command = [path, "--benchmark_filter=^" + re.sub(r"([.+*?()|])", r"[\1]", name) + "$",
               "--benchmark_format=json", "--benchmark_min_time=%g" % seconds]
    done = subprocess.run(command, text=True, stdout=subprocess.PIPE, stderr=subprocess.PIPE)
    if done.returncode != 0:
        return {"error": done.stderr.strip()[-200:]}
    result = json.loads(done.stdout)["benchmarks"][0]
    if result.get("error_occurred"):
        return {"error": result["error_message"]}
    timed = "real_time" if "/manual_time" in name else "cpu_time"
    known = set("""name family_index per_family_instance_index run_name run_type repetitions
        repetition_index threads iterations real_time cpu_time time_unit""".split())
    figures = {key: value for key, value in result.items() if key not in known}
    figures["ns"] = result[timed] / figures.get("items", 1)
    return figures


def run_rounds(benchmarks, plan, show):
    runs = {name: [] for name in benchmarks}
    rounds = {name: (0, 0) for name in benchmarks}
    for name in benchmarks:
        group = name.split("/")[0]
        is_operation = group in report.OPERATIONS and group != "memory"
        if name.endswith(("/32 bits", "/not hardened", "/checked")):
            continue
        rounds[name] = plan.get("compare" if is_operation else group, (0, 0))

    def run_all(wanted):
        most = max((rounds[name][0] for name in wanted), default=0)
        for number in range(most):
            names = [name for name in wanted if number < rounds[name][0]]
            random.shuffle(names)
            for position, name in enumerate(names):
                show("round %d of %d, %d of %d: %s" % (number + 1, most, position + 1, len(names),
                                                       name))
                path, full_name = benchmarks[name]
                runs[name].append(run_once(path, full_name, rounds[name][1]))

    run_all(benchmarks)
    for _ in range(REPEATS):
        wide = [name for name, results in runs.items() if len(results) >= 4 and is_wide(results)]
        run_all(wide)
    show("")
    return {name: summary(results) for name, results in runs.items() if results}


def is_wide(results):
    figures = summary(results)
    return "error" not in figures and figures["high"] - figures["low"] > WIDE * figures["ns"]


def summary(results):
    errors = [result["error"] for result in results if "error" in result]
    if errors:
        return {"error": errors[0]}
    times = sorted(result["ns"] for result in results)
    low, high = times[0], times[-1]
    if len(times) >= 4:
        low, _, high = statistics.quantiles(times, n=4)
    combined = dict(results[0], runs=len(results), low=low, high=high)
    combined["ns"] = statistics.median(times)
    return combined


def count_instructions(benchmarks, show):
    """Instructions per item and the functions that spend most of them, as callgrind sees them."""
    counted = {}
    names = [name for name in benchmarks if INSTRUCTIONS.match(name)]
    for position, name in enumerate(names):
        show("callgrind, %d of %d: %s" % (position + 1, len(names), name))
        environment = dict(os.environ)
        if name.endswith("/checked"):
            layer = os.path.join(os.path.dirname(benchmarks[name][0]), "libZELUtilsCheck.so")
            environment.update(ZEL_BENCH_LIBRARY=os.path.abspath(layer), ZELUTILS_CHECK="report")
        with tempfile.TemporaryDirectory() as folder:
            out = os.path.join(folder, "callgrind.out")
            done = subprocess.run(
                ["valgrind", "--tool=callgrind", "--toggle-collect=zelbench_measured",
                 "--callgrind-out-file=" + out, benchmarks[name][0],
                 "--once=" + MARKS.sub("", benchmarks[name][1])],
                text=True, env=environment, stdout=subprocess.PIPE, stderr=subprocess.PIPE)
            if done.returncode != 0:
                counted[name] = {"error": done.stderr.strip()[-200:]}
                continue
            items = int(done.stdout.split()[-1])
            listing = subprocess.run(["callgrind_annotate", "--threshold=100", out], check=True,
                                     text=True, stdout=subprocess.PIPE).stdout
        counted[name] = parse_annotation(listing, items)
    show("")
    return counted


def parse_annotation(listing, items):
    total = 0
    functions = []
    for line in listing.splitlines():
        match = re.match(r"\s*([\d,]+)\s+\(\s*[\d.]+%\)\s+(.*)", line)
        if not match:
            continue
        count = int(match.group(1).replace(",", ""))
        if "PROGRAM TOTALS" in match.group(2):
            total = count
            continue
        functions.append([short_name(match.group(2)), round(count / items, 1)])
    return {"per_item": round(total / items, 1), "functions": functions[:12]}


def short_name(listed):
    """A function's name without its file, namespace details, template arguments and parameters."""
    name, _, library = listed.partition(" [")
    name = name.split(":", 1)[-1].replace("(anonymous namespace)::", "")
    if name.startswith("0x"):
        return "in " + os.path.basename(library.rstrip("]"))
    while "<" in name.replace("operator<", ""):
        shorter = re.sub(r"<[^<>]*>", "", name)
        if shorter == name:
            break
        name = shorter
    name = re.sub(r"\(.*", "", name)
    return name.split(" ")[-1]


def machine():
    model = platform.processor() or platform.machine()
    try:
        with open("/proc/cpuinfo", encoding="ascii", errors="replace") as info:
            model = re.search(r"model name\s*:\s*(.*)", info.read()).group(1)
    except (OSError, AttributeError):
        pass
    try:
        compiler = subprocess.run(["c++", "--version"], text=True,
                                  stdout=subprocess.PIPE).stdout.splitlines()[0]
    except (OSError, IndexError):
        compiler = "unknown"
    return {"processor": model, "processors": os.cpu_count(), "system": platform.platform(),
            "compiler": compiler, "load": os.getloadavg()[0]}


def main():
    parser = argparse.ArgumentParser(description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("build", help="the build folder with the programs")
    parser.add_argument("--quick", action="store_true", help="a rough comparison in two minutes")
    parser.add_argument("--rounds", type=int, help="of what is compared")
    parser.add_argument("--only", metavar="REGEX", help="benchmarks whose names match, such as "
                        "'^parse/.*/(zel|json-c)$'")
    parser.add_argument("--instructions", action="store_true",
                        help="count the library's instructions with callgrind too")
    parser.add_argument("--no-times", action="store_true", help="only count instructions")
    parser.add_argument("--before", metavar="DIR", help="an older build to measure beside this one")
    parser.add_argument("--bits32", metavar="DIR",
                        help="a 32-bit build whose instructions are counted as well")
    parser.add_argument("--not-hardened", metavar="DIR", dest="not_hardened",
                        help="a build without hardening whose instructions are counted as well")
    parser.add_argument("--check", action="store_true",
                        help="count instructions with the checking layer as well")
    parser.add_argument("--goals", action="store_true",
                        help="print what misses a goal of goals.json behind the tables")
    parser.add_argument("--json", metavar="FILE", help="write all figures there")
    arguments = parser.parse_args()

    plan = dict(PLANS["quick" if arguments.quick else "full"])
    if arguments.rounds:
        plan["compare"] = (arguments.rounds, plan["compare"][1])
    benchmarks = list_benchmarks(arguments.build)
    if arguments.before:
        for name, found in list_benchmarks(arguments.before, ["zel"]).items():
            if name.endswith("/zel"):
                benchmarks[name[:-len("zel")] + "before"] = found
    for folder, column in ((arguments.bits32, "32 bits"), (arguments.not_hardened, "not hardened")):
        program = os.path.join(folder or "", "bench_zel")
        for name, (_, full_name) in list(benchmarks.items()):
            if folder and name.endswith("/zel") and INSTRUCTIONS.match(name):
                benchmarks[name[:-len("zel")] + column] = (program, full_name)
    for name, found in list(benchmarks.items()):
        if arguments.check and name.endswith("/zel") and INSTRUCTIONS.match(name):
            benchmarks[name[:-len("zel")] + "checked"] = found
    if arguments.only:
        benchmarks = {name: found for name, found in benchmarks.items()
                      if re.search(arguments.only, name)}

    def show(text):
        if sys.stderr.isatty():
            sys.stderr.write("\r\033[K" + text)
            sys.stderr.flush()

    figures = {"machine": machine(), "times": {}, "instructions": {}}
    if not arguments.no_times:
        figures["times"] = run_rounds(benchmarks, plan, show)
    if arguments.instructions or arguments.no_times:
        figures["instructions"] = count_instructions(benchmarks, show)
    if arguments.json:
        with open(arguments.json, "w", encoding="utf-8") as file:
            json.dump(figures, file, indent=1)
            file.write("\n")
    print(report.text(figures))
    if arguments.goals:
        print("\nShort of its goal:\n" + "\n".join(report.shortfalls(figures)))
    if any("error" in result for part in ("times", "instructions")
           for result in figures[part].values()):
        sys.exit(1)


if __name__ == "__main__":
    main()
