"""The blocks of the page about Python, run one after the other."""

import os
import pathlib
import re

PAGE = pathlib.Path(os.environ.get("ZEL_DOCS", pathlib.Path(__file__).parents[3] / "docs")) / "python.md"


def test_the_page(tmp_path, monkeypatch, capsys):
    monkeypatch.chdir(tmp_path)
    blocks = re.findall(r"```python\n(.*?)```", PAGE.read_text(encoding="utf-8"), re.DOTALL)
    names = {}
    for block in blocks:
        exec(compile(block, str(PAGE), "exec"), names)  # pylint: disable=exec-used
    names.clear()
    assert len(blocks) == 5
    assert capsys.readouterr().out == ("pages[1].width Number below mininum value 10.000000\n"
                                       "pages[2].width no multiple of 5\n")
