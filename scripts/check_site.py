#!/usr/bin/env python3
"""Fails on links of a site of HTML pages that lead nowhere (files and anchors), and on commands of
Doxygen that are left in the text.

usage: check_site.py FOLDER
"""
import html.parser
import pathlib
import re
import sys
import urllib.parse


class Page(html.parser.HTMLParser):
    def __init__(self, path):
        super().__init__()
        self.names, self.links, self.left = set(), set(), set()
        self.feed(path.read_text(encoding="utf-8"))

    def handle_data(self, data):
        self.left.update(re.findall(r"@(?:ref|section|subsection|anchor)\b.{,40}", data))

    def handle_starttag(self, tag, attrs):
        for name, value in attrs:
            if name in ("id", "name"):
                self.names.add(value)
            elif name in ("href", "src") and value:
                self.links.add(value)


def main():
    root = pathlib.Path(sys.argv[1])
    pages = {path: Page(path) for path in root.rglob("*.html")}
    links, faults = 0, []
    for path, page in pages.items():
        faults += [f"{path.relative_to(root)}: left in the text: {text}" for text in page.left]
        for link in page.links:
            # Doxygen's summary of a class with private classes inside names a section without them.
            if re.match(r"[a-z]+:", link) or link in ("#", "#nested-classes"):
                continue
            links += 1
            file, _, anchor = urllib.parse.unquote(link).partition("#")
            target = (path.parent / file).resolve() if file else path.resolve()
            if not target.exists():
                faults.append(f"{path.relative_to(root)}: {link}")
            elif anchor and target.suffix == ".html":
                if anchor not in pages[root / target.relative_to(root.resolve())].names:
                    faults.append(f"{path.relative_to(root)}: {link}")
    print("\n".join(faults))
    print(f"site: {len(pages)} pages, {links} links, {len(faults)} faults")
    return 1 if faults or not links else 0


sys.exit(main())
