#!/usr/bin/env python3
"""Shows a page to Doxygen: titles get the anchors that links name, and a link to a file that is no
page of the site becomes its text."""
import os
import re
import sys


def slug(page, title):
    return page + "-" + re.sub(r"[^\w\- ]", "", title.lower()).replace(" ", "-")


def main():
    with open(sys.argv[1], encoding="utf-8") as file:
        text = file.read()
    page = os.path.splitext(os.path.basename(sys.argv[1]))[0].lower()
    # Doxygen 1.9.4 loses its way in a link whose text goes over the end of a line.
    text = re.sub(r"\[([^\[\]\n]*)\n *([^\[\]\n]*)\]\(", r"[\1 \2](", text)
    linked = re.sub(r"\[([^\]]*)\]\((?:\.\./)?(?:examples/README\.md|LICENSE|examples/[\w.]+)\)", r"\1", text)
    linked = re.sub(r"\]\(#([\w-]+)\)", rf"](#{page}-\1)", linked)
    linked = re.sub(r"\]\((?:docs/|\.\./)?([\w-]+)\.md#([\w-]+)\)", lambda link: f"](#{link[1].lower()}-{link[2]})",
                    linked)
    inside, lines = False, []
    for line in linked.splitlines():
        inside ^= line.lstrip().startswith("```")
        title = re.match(r"##+ +(.*)$", line)
        lines.append(f"{line} {{#{slug(page, title.group(1))}}}" if title and not inside else line)
    print("\n".join(lines))


main()
