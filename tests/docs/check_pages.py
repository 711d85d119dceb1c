#!/usr/bin/env python3
"""Checks the pages: links and their anchors, folders and commands that are named, blocks that no
test runs, the options of the build, the version.

usage: check_pages.py VERSION          the project's version
"""
import pathlib
import re
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parents[2]
PAGES = [ROOT / name for name in ("README.md", "CHANGELOG.md", "CONTRIBUTING.md", "SECURITY.md",
                                  "examples/README.md", "bindings/python/README.md")]
PAGES += sorted((ROOT / "docs").glob("*.md"))
# The tests that carry out the blocks of the pages, by the languages that they take.
RUN_BY = {
    "docs/text-syntax.md": ("DocsTest", "pos pos-same pos-error"),
    "docs/schema-language.md": ("DocsTest", "schema wrong-schema schema-messages-include value "
                                            "messages report"),
    "docs/stream-format.md": ("StreamFormatTest", "stream json stream-cases"),
    "docs/zelpos.md": ("ToolDocsTest", "console"),
    "docs/c.md": ("page_c", "c output"),
    "docs/cpp.md": ("page_cpp", "cpp output"),
    "docs/python.md": ("test-python", "python"),
    "docs/checking.md": ("checking", "c text"),
    "docs/tutorial.md": ("package", "pos console cpp cmake c sh python"),
    "README.md": ("package", "cpp"),
}
# Commands and fragments are named, not carried out; check_names looks at them.
READ_ONLY = {"sh", "cmake"}
SHOWN = {("docs/host-contract.md", "c"), ("bindings/python/README.md", "python")}
LINK = re.compile(r"!?\[[^\]]*\]\(([^)\s]+)\)")


def anchors(page):
    found = set()
    for title in re.findall(r"^#+ +(.*)$", without_code(page), re.M):
        text = re.sub(r"[^\w\- ]", "", title.lower()).replace(" ", "-")
        found.add(text)
    return found


def without_code(page):
    return re.sub(r"^ *```.*?^ *```", "", page.read_text(encoding="utf-8"), flags=re.M | re.S)


def check_links(page, faults):
    count = 0
    for target in LINK.findall(re.sub(r"`[^`\n]*`", "", without_code(page))):
        count += 1
        if re.match(r"https?://", target):
            continue
        path, _, anchor = target.partition("#")
        file = (page.parent / path) if path else page
        if not file.exists():
            faults.append(f"{page.relative_to(ROOT)}: no file {path}")
        elif anchor and anchor not in anchors(file):
            faults.append(f"{page.relative_to(ROOT)}: no title {anchor} in {file.name}")
    return count


def check_names(page, faults):
    """Paths of the repository and commands of ./dev that are named in code."""
    usage = subprocess.run([ROOT / "dev", "help"], check=True, capture_output=True, text=True).stdout
    commands = set(re.findall(r"^  ([a-z][a-z0-9-]*)", usage, re.M)) | {"help"}
    text = page.read_text(encoding="utf-8")
    for command in re.findall(r"\./dev ([a-z][a-z0-9-]*)", text):
        if command not in commands:
            faults.append(f"{page.relative_to(ROOT)}: ./dev has no command {command}")
    for path in re.findall(r"`((?:src|tests|host|tool|fuzz|bench|docs|examples|include|scripts|cmake|"
                           r"packaging|bindings|check)/[\w./-]*)`", text):
        if not (ROOT / path).exists():
            faults.append(f"{page.relative_to(ROOT)}: there is no {path}")


def check_blocks(page, faults):
    """Every block is carried out by a test. Returns how many are."""
    name = str(page.relative_to(ROOT))
    languages = re.findall(r"^ *```([\w-]+)", page.read_text(encoding="utf-8"), re.M)
    run = RUN_BY.get(name, ("", ""))[1].split()
    for language in languages:
        if language not in run and language not in READ_ONLY and (name, language) not in SHOWN:
            faults.append(f"{name}: no test runs the block of {language}")
    return sum(language in run for language in languages)


def check_options(faults):
    """The README lists each option of the build, and no other."""
    listed = re.findall(r"^\| `(ZEL_\w+)`", (ROOT / "README.md").read_text(encoding="utf-8"), re.M)
    options = re.findall(r"^(?:option|set)\((ZEL_\w+) .*(?:OFF|LEVEL}|STRING|PATH)",
                         (ROOT / "cmake/Options.cmake").read_text(encoding="utf-8"), re.M)
    for name in set(options) ^ set(listed):
        faults.append(f"README.md and cmake/Options.cmake do not agree about {name}")


def check_version(version, faults):
    changelog = (ROOT / "CHANGELOG.md").read_text(encoding="utf-8")
    newest = re.search(r"^## ([\d.]+)", changelog, re.M).group(1)
    if newest != version:
        faults.append(f"the changelog begins with {newest}, the project is {version}")
    python = (ROOT / "bindings/python/zelutils/__init__.py").read_text(encoding="utf-8")
    if f'__version__ = "{version}"' not in python:
        faults.append("the Python package has another version")


def main():
    faults, links, blocks = [], 0, 0
    for page in PAGES:
        links += check_links(page, faults)
        check_names(page, faults)
        blocks += check_blocks(page, faults)
    check_options(faults)
    check_version(sys.argv[1], faults)
    print("\n".join(faults))
    print(f"{len(PAGES)} pages, {links} links, {blocks} blocks run by tests, {len(faults)} faults")
    return 1 if faults or links < 20 else 0


sys.exit(main())
