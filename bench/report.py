#!/usr/bin/env python3
"""Tables of the figures that run.py has measured.

report.py FILE [--markdown] [--profiles] prints those of a JSON file; with --update PAGE they take the
place of what stands between the marks FIRST and LAST in a Markdown file.
"""

import argparse
import json
import os

OPERATIONS = ["parse", "write", "read", "clone", "equality", "lookup", "lookup_by_atom", "path",
              "build", "release", "validate", "memory"]
DOCUMENTS = ["catalog", "numbers", "words", "coordinates", "events", "messages"]
LIBRARIES = ["zel", "jansson", "json-c", "rapidjson", "nlohmann"]
FIRST, LAST = "<!-- figures -->", "<!-- end of figures -->"
GOALS = os.path.join(os.path.dirname(os.path.abspath(__file__)), "goals.json")


def figure(times, operation, document, library):
    """The result of a benchmark, or None."""
    if operation == "lookup_by_atom" and library not in ("zel", "before"):
        operation = "lookup"
    result = times.get("%s/%s/%s" % (operation, document, library))
    return None if result is None or "error" in result else result


def value(result, operation):
    return result["bytes"] if operation == "memory" else result["ns"]


def best_peer(times, operation, document, libraries=None):
    if libraries is None:
        libraries = ["rapidjson"] if operation == "validate" else ["jansson", "json-c"]
    found = [figure(times, operation, document, library) for library in libraries]
    return min((value(result, operation) for result in found if result), default=None)


def ratio(times, operation, document, libraries=None):
    ours = figure(times, operation, document, "zel")
    best = best_peer(times, operation, document, libraries)
    return value(ours, operation) / best if ours and best else None


def number(amount):
    if amount is None:
        return "-"
    return "%.0f" % amount if amount >= 100 else "%.1f" % amount


class Table:
    def __init__(self, title, head):
        self.title = title
        self.rows = [head]

    def add(self, row):
        self.rows.append(row)

    def lines(self, markdown):
        if len(self.rows) == 1:
            return []
        if markdown:
            rule = ["---"] + ["--:"] * (len(self.rows[0]) - 1)
            rows = [self.rows[0], rule] + self.rows[1:]
            return ["### " + self.title, ""] + ["| " + " | ".join(row) + " |" for row in rows] + [""]
        widths = [max(len(row[column]) for row in self.rows)
                  for column in range(len(self.rows[0]))]
        lines = [self.title]
        for row in self.rows:
            cells = [row[0].ljust(widths[0])]
            cells += [cell.rjust(width) for cell, width in zip(row[1:], widths[1:])]
            lines.append("  " + "  ".join(cells).rstrip())
        return lines + [""]


def compared(times):
    with_before = any(name.endswith("/before") for name in times)
    table = Table("ns per value (memory: bytes), medians",
                  ["operation"] + ["before"] * with_before
                  + ["zel", "spread", "jansson", "json-c", "rapidjson", "nlohmann", "ratio"])
    for operation in OPERATIONS:
        for document in DOCUMENTS:
            results = [figure(times, operation, document, library) for library in LIBRARIES]
            if results[0] is None:
                continue
            spread = "-"
            if operation != "memory":
                ours = results[0]
                spread = "%.0f %%" % (100 * (ours["high"] - ours["low"]) / ours["ns"])
            found = ratio(times, operation, document)
            figures = [number(value(result, operation)) if result else "-" for result in results]
            older = figure(times, operation, document, "before")
            before = [number(value(older, operation)) if older else "-"] * with_before
            table.add([operation + " " + document] + before + [figures[0], spread] + figures[1:]
                      + ["-" if found is None else "%.2f" % found])
    return table


def digits(times):
    table = Table("Numbers: million digits per second written",
                  ["library", "ns per value", "digits per value", "million digits/s"])
    for library in ["before"] + LIBRARIES:
        result = figure(times, "write", "numbers", library)
        if result and "digits" in result:
            per_value = result["digits"] / result["items"]
            table.add([library, number(result["ns"]), "%.1f" % per_value,
                       "%.0f" % (1000 * per_value / result["ns"])])
    return table


def calls(times):
    table = Table("Single steps", ["step", "ns", "beside an indirect call"])
    base = times.get("call/indirect call", {}).get("ns")
    for name, result in times.items():
        if name.startswith(("call/", "inside/", "client/")) and "error" not in result:
            beside = "%.1f" % (result["ns"] / base) if base and name.startswith("call/") else ""
            table.add([name.split("/", 1)[1], "%.1f" % result["ns"], beside])
    return table


def growth(times):
    found = {}
    for name, result in times.items():
        if name.startswith("growth/") and "error" not in result:
            _, operation, shape, count = name.split("/")
            found.setdefault((operation, shape), {})[int(count)] = result["ns"]
    sizes = sorted({size for row in found.values() for size in row})
    table = Table("Growth: ns per value by the number of values",
                  ["operation"] + ["%d" % size for size in sizes] + ["last/first"])
    for (operation, shape), row in found.items():
        last = row.get(sizes[-1], 0) / row[sizes[0]] if sizes[0] in row else 0
        table.add([operation + " " + shape.replace("_", " ")]
                  + [number(row.get(size)) for size in sizes] + ["%.1f" % last])
    return table


def keys(times):
    """Put and Get of 100,000 keys of each kind, beside random keys."""
    table = Table("Keys of one kind: ns per key put and looked up", ["keys", "ns", "beside random"])
    base = times.get("keys/put and get/random", {}).get("ns")
    for name, result in times.items():
        if name.startswith("keys/") and "error" not in result:
            beside = "%.1f" % (result["ns"] / base) if base else ""
            table.add([name.split("/", 2)[2], number(result["ns"]), beside])
    return table


def peaks(times):
    table = Table("Bytes of memory that a streamer takes beside the value",
                  ["value", "stream", "writing", "reading"])
    for name, result in times.items():
        if name.startswith("peak/") and "error" not in result:
            _, shape, count = name.split("/")
            table.add(["%s of %s" % (shape.replace("_", " "), count)]
                      + ["%d" % result[key]
                         for key in ("stream_bytes", "writing_bytes", "reading_bytes")])
    return table


def services(times):
    """How often the host's procedures are called, those that are called at all."""
    found = {name.split("/", 1)[1]: result for name, result in times.items()
             if name.startswith("services/") and "error" not in result}
    columns = []
    for result in found.values():
        columns += [key for key in result
                    if key not in ("ns", "low", "high", "runs", "error") and key not in columns
                    and max(row.get(key, 0) for row in found.values()) >= 0.05]
    table = Table("Calls of the host's procedures per value", ["operation"] + columns)
    for name, result in found.items():
        table.add([name.replace("/", " ")] + ["%.1f" % result.get(key, 0) for key in columns])
    return table


def instructions(counted):
    """Of the library itself, beside those of other builds."""
    columns = [column for column in ("before", "32 bits", "not hardened")
               if any(name.endswith("/" + column) for name in counted)]
    table = Table("Instructions per value", ["operation", "zel"] + columns)
    for name, result in counted.items():
        if name.endswith("/zel") and "error" not in result:
            others = [counted.get(name[:-len("zel")] + column, {}) for column in columns]
            table.add([" ".join(name.split("/")[:2]), number(result["per_item"])]
                      + [number(other.get("per_item")) for other in others])
    return table


def checked_costs(counted):
    """Instructions of each operation without the checking layer and with it."""
    for name, result in counted.items():
        checked = counted.get(name[:-len("zel")] + "checked", {}).get("per_item")
        if name.endswith("/zel") and checked and "error" not in result:
            yield " ".join(name.split("/")[:2]), result["per_item"], checked


def checked(counted):
    table = Table("The checking layer: instructions per value",
                  ["operation", "without", "with", "times"])
    for name, without, with_layer in checked_costs(counted):
        table.add([name, number(without), number(with_layer), "%.1f" % (with_layer / without)])
    return table


def client_costs(counted):
    """Instructions of each operation as a careful program in C does it and by the typed client."""
    for name, result in counted.items():
        if name.startswith("client/") and name.endswith("/client") and "error" not in result:
            stem = name[:-len("client")]
            bare, careful = (counted.get(stem + way, {}).get("per_item") for way in
                             ("bare", "careful"))
            if bare and careful:
                yield stem.split("/")[1], bare, careful, result["per_item"]


def client(counted):
    table = Table("The typed C++ client: instructions per call",
                  ["operation", "bare calls", "careful C", "client", "added"])
    for name, bare, careful, added in client_costs(counted):
        table.add([name, number(bare), number(careful), number(added),
                   "%.0f %%" % (100 * (added / careful - 1))])
    return table


def hardening(counted):
    """By how many per cent hardening adds to the instructions of all operations counted, or None."""
    pairs = [(result["per_item"], counted[name[:-len("zel")] + "not hardened"]["per_item"])
             for name, result in counted.items()
             if name.endswith("/zel") and name[:-len("zel")] + "not hardened" in counted]
    if not pairs:
        return None
    return 100 * (sum(hardened / plain for hardened, plain in pairs) / len(pairs) - 1)


def shortfalls(figures):
    """What misses a goal of goals.json, a line each."""
    with open(GOALS, encoding="utf-8") as file:
        goals = json.load(file)
    times, counted = figures["times"], figures["instructions"]
    lines = []
    for name, goal in goals["ratios"].items():
        found = ratio(times, *name.split(), goal.get("peers"))
        if found is not None and found > goal["limit"]:
            lines.append("%-24s %6.2f, wanted %g" % (name, found, goal["limit"]))
    for name, limit in goals["instructions"].items():
        found = counted.get(name.replace(" ", "/") + "/zel", {}).get("per_item")
        if found is not None and found > limit:
            lines.append("%-24s %6.0f instructions per value, wanted %d" % (name, found, limit))
    for name, result in counted.items():
        narrow = counted.get(name[:-len("zel")] + "32 bits", {}).get("per_item")
        limit = goals["32 bits"]["instructions"]
        if name.endswith("/zel") and narrow and narrow > limit * result["per_item"]:
            lines.append("%-24s %6.2f times as many instructions on 32 bits, wanted %g" % (
                " ".join(name.split("/")[:2]), narrow / result["per_item"], limit))
    for name, _, careful, added in client_costs(counted):
        limit = goals["client"]
        if added > (1 + limit / 100) * careful:
            lines.append("%-24s %6.0f %% more instructions by the client, wanted %g %%" % (
                name, 100 * (added / careful - 1), limit))
    for name, without, with_layer in checked_costs(counted):
        if with_layer > goals["checked"] * without:
            lines.append("%-24s %6.1f times as many instructions with the checking layer, wanted %g" % (
                name, with_layer / without, goals["checked"]))
    cost, limit = hardening(counted), goals["hardening"]
    if cost is not None and cost > limit:
        lines.append("hardening %31.1f %% more instructions, wanted %g %%" % (cost, limit))
    return lines or ["All goals that were measured are met."]


def profiles(counted):
    tables = []
    for name, result in counted.items():
        if "error" in result or not name.endswith("/zel"):
            continue
        table = Table("Profile of " + " ".join(name.split("/")[:2]),
                      ["function", "instructions per value"])
        for function, count in result["functions"]:
            table.add([function, number(count)])
        tables.append(table)
    return tables


def text(figures, markdown=False, with_profiles=False):
    times, counted = figures["times"], figures["instructions"]
    tables = [compared(times), digits(times), calls(times), growth(times), keys(times), peaks(times),
              services(times), instructions(counted), checked(counted), client(counted)]
    if with_profiles:
        tables += profiles(counted)
    lines = [line for table in tables for line in table.lines(markdown)]
    cost = hardening(counted)
    if cost is not None:
        lines.append("hardening: %.1f %% more instructions, on average over the operations" % cost)
    errors = ["not measured: %s: %s" % (name, result["error"])
              for part in (times, counted) for name, result in part.items() if "error" in result]
    return "\n".join(lines + errors)


def update(page, figures):
    with open(page, encoding="utf-8") as file:
        before, rest = file.read().split(FIRST)
    after = rest.split(LAST)[1]
    where = "Measured on %(processor)s with %(processors)d processors, %(system)s, %(compiler)s." % (
        figures["machine"])
    with open(page, "w", encoding="utf-8") as file:
        file.write("".join([before, FIRST, "\n\n", where, "\n\n", text(figures, True), "\n", LAST,
                            after]))


def main():
    parser = argparse.ArgumentParser(description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("file")
    parser.add_argument("--markdown", action="store_true")
    parser.add_argument("--profiles", action="store_true", help="with the costliest functions")
    parser.add_argument("--update", metavar="PAGE")
    parser.add_argument("--goals", action="store_true", help="only what misses a goal")
    arguments = parser.parse_args()
    with open(arguments.file, encoding="utf-8") as file:
        figures = json.load(file)
    if arguments.update:
        update(arguments.update, figures)
    elif arguments.goals:
        print("\n".join(shortfalls(figures)))
    else:
        print(text(figures, arguments.markdown, arguments.profiles))


if __name__ == "__main__":
    main()
