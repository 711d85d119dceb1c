#!/usr/bin/env python3
"""Draws the comparison of a JSON file of run.py as SVG: chart.py FILE SVG

Each bar goes from the fastest of Jansson and json-c, which is 1, to the library: to the left where
it is faster, to the right where it is slower. The marks are the others.
"""

import json
import math
import sys

sys.dont_write_bytecode = True  # the folder holds sources alone
import report  # pylint: disable=wrong-import-position

ROW, BAR, LEFT, RIGHT, TOP = 22, 12, 150, 60, 64
WIDTH = 860
LEAST, MOST = 1 / 16, 16
MARKS = {"jansson": ("#1f4e79", "J"), "json-c": ("#1f4e79", "C"), "rapidjson": ("#6b5b1e", "R"),
         "nlohmann": ("#6b5b1e", "N")}
FASTER, SLOWER, INK = "#2e7d5b", "#b4532a", "#333333"


def place(ratio):
    """The horizontal place of a ratio on the logarithmic axis."""
    bounded = min(max(ratio, LEAST), MOST)
    part = math.log(bounded / LEAST) / math.log(MOST / LEAST)
    return LEFT + part * (WIDTH - LEFT - RIGHT)


def element(name, content="", **attributes):
    text = "".join(' %s="%s"' % (key.replace("_", "-"), number if isinstance(number, str)
                                 else "%.1f" % number) for key, number in attributes.items())
    return "<%s%s>%s</%s>" % (name, text, content, name)


def rows(times):
    for document in report.DOCUMENTS:
        for operation in report.OPERATIONS:
            best = report.best_peer(times, operation, document)
            ours = report.figure(times, operation, document, "zel")
            if best and ours and operation != "lookup_by_atom":
                yield document, operation, best, ours


def draw(times):
    parts = []
    y = TOP
    drawn = None
    for document, operation, best, ours in rows(times):
        if document != drawn:
            y += 10
            parts.append(element("text", document, x=10, y=y + 12, font_weight="bold"))
            y += ROW
            drawn = document
        middle = y + ROW / 2
        parts.append(element("text", operation, x=LEFT - 10, y=middle + 4, text_anchor="end"))
        ratio = report.value(ours, operation) / best
        start, end = sorted((place(1), place(ratio)))
        parts.append(element("rect", x=start, y=middle - BAR / 2, width=max(end - start, 1),
                             height=BAR, fill=FASTER if ratio <= 1 else SLOWER))
        for library, (colour, letter) in MARKS.items():
            other = report.figure(times, operation, document, library)
            if other:
                parts.append(element("text", letter, x=place(report.value(other, operation) / best),
                                     y=middle + 4, text_anchor="middle", fill=colour,
                                     font_size="10"))
        parts.append(element("text", "%.2f" % ratio, x=WIDTH - 10, y=middle + 4,
                             text_anchor="end"))
        y += ROW
    height = y + 30
    axis = []
    ratio = LEAST
    while ratio <= MOST:
        axis.append(element("line", x1=place(ratio), x2=place(ratio), y1=TOP, y2=y,
                            stroke=INK if ratio == 1 else "#dddddd"))
        axis.append(element("text", "%g" % ratio if ratio >= 1 else "1/%g" % (1 / ratio),
                            x=place(ratio), y=y + 16, text_anchor="middle"))
        ratio *= 2
    head = [element("text", "Time (memory: bytes) over that of the fastest of Jansson and json-c "
                    "(validate: RapidJSON)", x=10, y=20, font_size="14"),
            element("text", "J Jansson, C json-c, R RapidJSON, N nlohmann/json; logarithmic", x=10, y=40)]
    return element("svg", "\n".join([element("rect", width=WIDTH, height=height, fill="white")]
                                    + head + axis + parts),
                   xmlns="http://www.w3.org/2000/svg", width=WIDTH, height=height,
                   viewBox="0 0 %d %d" % (WIDTH, height), font_family="sans-serif",
                   font_size="12", fill=INK) + "\n"


def main():
    if len(sys.argv) != 3:
        sys.exit(__doc__)
    with open(sys.argv[1], encoding="utf-8") as file:
        times = json.load(file)["times"]
    with open(sys.argv[2], "w", encoding="utf-8") as file:
        file.write(draw(times))


if __name__ == "__main__":
    main()
