"""The blocks of the page about Python, and those of the package's own, each page run as one program."""

import os
import pathlib
import re

import pytest

ROOT = pathlib.Path(__file__).parents[1]
DOCS = pathlib.Path(os.environ.get("ZEL_DOCS", ROOT.parents[1] / "docs"))


@pytest.mark.parametrize("page, count, output", [
    (DOCS / "python.md", 5, "pages[1].width Number below mininum value 10.000000\n"
                            "pages[2].width no multiple of 5\n"),
    (ROOT / "README.md", 1,
     "595 <cover <colour blue width 612> pages [<width 595>] title (A book)>\n"),
])
def test_a_page(page, count, output, tmp_path, monkeypatch, capsys):
    monkeypatch.chdir(tmp_path)
    blocks = re.findall(r"```python\n(.*?)```", page.read_text(encoding="utf-8"), re.DOTALL)
    names = {}
    for block in blocks:
        exec(compile(block, str(page), "exec"), names)  # pylint: disable=exec-used
    names.clear()
    assert len(blocks) == count
    assert capsys.readouterr().out == output
