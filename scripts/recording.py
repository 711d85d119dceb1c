#!/usr/bin/env python3
"""Draws a session of zelpos, from its real output, as docs/zelpos.svg.

usage: recording.py ZELPOS [--check]      --check: fails unless the drawing is what it would be now
"""
import html
import pathlib
import shlex
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parents[1]
SESSION = [
    ("zelpos get document.pos 'pages[0].size'", 2),
    ("zelpos tree --depth 1 document.pos", 7),
    ("zelpos validate document.schema.pos Document broken.pos", 5),
]
WIDTH, LINE = 900, 19


def main():
    lines = []
    for command, most in SESSION:
        arguments = [str(pathlib.Path(sys.argv[1]).resolve())] + shlex.split(command)[1:]
        done = subprocess.run(arguments, cwd=ROOT / "examples", capture_output=True, text=True, check=False)
        output = done.stdout.splitlines()
        lines.append(("#80cbc4", "$ " + command))
        lines += [("#eceff1", line[:105]) for line in output[:most]]
        lines += [("#90a4ae", f"… {len(output) - most} lines more")] if len(output) > most else []
    height = (len(lines) + 1) * LINE + 10
    drawing = [f'<svg xmlns="http://www.w3.org/2000/svg" width="{WIDTH}" height="{height}">',
               f'<rect width="{WIDTH}" height="{height}" rx="6" fill="#263238"/>',
               '<g font-family="DejaVu Sans Mono, Menlo, Consolas, monospace" font-size="13" xml:space="preserve">']
    drawing += [f'<text x="14" y="{(row + 1) * LINE + 4}" fill="{color}">{html.escape(text)}</text>'
                for row, (color, text) in enumerate(lines)]
    text = "\n".join(drawing + ["</g>", "</svg>", ""])
    file = ROOT / "docs/zelpos.svg"
    if "--check" in sys.argv:
        return 0 if file.read_text(encoding="utf-8") == text else "docs/zelpos.svg is out of date"
    file.write_text(text, encoding="utf-8")
    return 0


sys.exit(main())
