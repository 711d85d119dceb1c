"""Texts, streams and files."""

import io
import os
import random
import subprocess
import sys

import pytest

import zelutils
from zelutils import BinData, UnicodeString

from test_values import random_value


@pytest.mark.parametrize("value, text, indented", [
    ([], "[]", "[]"),
    ({"b": [1, -0.5], "a b": "x y"}, "<(a b) (x y) b [1 -0.5]>",
     "<\n  (a b) (x y)\n  b [\n    1\n    -0.5\n  ]\n>"),
    (["tr)ue\\", "_a1", "1a", "", True], r"[(tr\)ue\\) _a1 (1a) () true]", None),
    ([UnicodeString("é"), 1e22, 1e-7], "[`00e9` 10000000000000000000000 0.0000001]", None),
])
def test_writing(value, text, indented):
    assert zelutils.dumps(value) == zelutils.dumps(zelutils.from_python(value)) == text
    assert indented is None or zelutils.dumps(value, 2) == indented
    expected = [("true" if member is True else member) for member in value] if isinstance(
        value, list) else value
    assert zelutils.loads(text) == zelutils.loads(zelutils.dumps(value, 2)) == expected


@pytest.mark.parametrize("value, place", [
    ([{"a": BinData("t", b"")}], r"\[0\]\.a: .*BinData"), ({"a": [1, "x" * 101]}, r"a\[1\]: .*101"),
    ([float("nan")], r"\[0\]: .*nan"), ({"a": [None]}, r"a\[0\]: .*NoneType"), (1e300, "the value: "), ([")" * 51], r"\[0\]: .*102"),
    ({"k" * 101: 1}, "k: "), ([UnicodeString("x" * 101)], r"\[0\]: .*101"),
])
def test_what_the_syntax_cannot_say(value, place):
    with pytest.raises(ValueError, match=place):
        zelutils.dumps(value)


@pytest.mark.parametrize("text, line, column, said", [
    ("[1 2", 1, 5, "at the end"), ("[1\n é >", 2, 2, "before 'é >'"), ("", 1, 1, "at the end"),
    ("<a>", 1, 4, "at the end"), ("[1]\0", 1, 4, r"before '\\x00'"), ('{"a": 1}', 1, 1, """before '{"a": 1}'"""),
])
def test_what_is_no_text(text, line, column, said):
    expected = "line %d, column %d: this is no value; reading stopped %s" % (line, column, said)
    with pytest.raises(zelutils.ParseError, match=expected) as raised:
        zelutils.loads(text)
    assert (raised.value.line, raised.value.column) == (line, column)


def test_random_values_come_back():
    source = random.Random(3)
    for _ in range(500):
        value, text = random_value(source, 4), random_value(source, 4, (0, 2, 4, 5, 6))
        assert as_plain(zelutils.from_stream(zelutils.to_stream(value))) == value
        for indent in (None, 2):
            assert as_plain(zelutils.loads(zelutils.dumps(text, indent))) == text


def as_plain(value):
    return value.to_python() if isinstance(value, zelutils.Value) else value


@pytest.mark.parametrize("data, what", [
    (b"", "getNextChar unexpected EOF"), (b"x ", "unrecognized version"),
    (b"POSStreamerTypeA_Version1.0 [#1 ", "unexpected EOF"),
])
def test_what_is_no_stream(data, what):
    with pytest.raises(zelutils.StreamError, match=what):
        zelutils.from_stream(data)


def test_files(tmp_path):
    value = {"a": [1, 2], "b": "text"}
    text, stream = tmp_path / "v.pos", tmp_path / "v.zel"
    with open(text, "w", encoding="utf-8") as file:
        zelutils.dump(value, file, indent=2)
    zelutils.store_file(value, stream)
    with open(stream, "rb") as file:
        assert zelutils.load(file) == value
    assert zelutils.parse_file(text) == zelutils.parse_file(stream) == value
    buffer = io.BytesIO()
    zelutils.dump(value, buffer)
    assert buffer.getvalue() == stream.read_bytes()
    with pytest.raises(ValueError):
        zelutils.store_file(["a\0"], stream)
    assert zelutils.parse_file(stream) == value and sorted(os.listdir(tmp_path)) == ["v.pos", "v.zel"]
    # Permissions and links stay; what is no regular file is written to.
    stream.chmod(0o640)
    os.symlink("v.zel", tmp_path / "link")
    zelutils.store_file([1], tmp_path / "link")
    assert zelutils.parse_file(stream) == [1] and stream.stat().st_mode & 0o777 == 0o640
    assert (tmp_path / "link").is_symlink()
    os.mkfifo(tmp_path / "pipe")
    pipe = os.open(tmp_path / "pipe", os.O_RDONLY | os.O_NONBLOCK)
    zelutils.store_file([1], tmp_path / "pipe")
    assert os.read(pipe, 999) == zelutils.to_stream([1])
    os.close(pipe)
    assert sorted(os.listdir(tmp_path)) == ["link", "pipe", "v.pos", "v.zel"]


def test_temporary_files():
    with zelutils.TempFile("abc", "bin") as file:
        file.write(b"head")
        file.store({"a": 1})
        file.store([2])
        with file.reader() as one, file.reader() as other:
            assert one.read(4) == b"head" == other.read(4)
            assert (one.load(), one.load(), one.read()) == ({"a": 1}, [2], b"")
            other.seek(0)
            assert other.tell() == 0 and other.read().startswith(b"headPOSStreamer")
            with pytest.raises(zelutils.StreamError):
                file.write(b"no longer")
    with pytest.raises(ValueError, match="closed"):
        file.read()
    with pytest.raises(zelutils.StreamError):
        zelutils.TempFile(mode="nonsense")


SCHEMA = """<
  Book <category dict required <title Title pages Pages> optional <cover any>>
  Title <category string minlen 1>
  Pages <category array membertype Page>
  Page <category dict required <width Width>>
  Width <category real min 10>
>"""


def test_validation():
    schema = zelutils.Schema(SCHEMA)
    assert schema.check() == []
    value = {"title": "A book", "pages": [{"width": 10}, {"width": 3}], "colour": "red"}
    assert [(f.path, f.message) for f in schema.validate(value, "Book")] == [
        ("", "Unknown member colour"), ("pages[1].width", "Number below mininum value 10.000000")]
    assert zelutils.from_python(value).deep_get("pages[1].width") == 3
    faults = zelutils.Schema("<T <category int oneof [a]>>").check()
    assert any(f.path == "T" and f.message == "Unknown member oneof" for f in faults)
    with pytest.raises(zelutils.SchemaError, match="Unknown category in schema"):
        zelutils.Schema("<T <category nonsense>>").validate(1, "T")


def test_callbacks():
    schema = zelutils.Schema(SCHEMA)
    seen = []
    schema.register("Width", lambda width: seen.append(width) or width % 2 == 0 or "odd: %s" % width)
    schema.register("Page", lambda page: seen.append(page["width"]))
    pages = {"title": "t", "pages": [{"width": 12}, {"width": 13}]}
    assert [f[:2] for f in schema.validate(pages, "Book")] == [("pages[1].width", "odd: 13")]
    assert seen == [12, 12, 13]
    schema.register("Width", lambda width: "x" * 2000)
    assert [f.message for f in schema.validate(12, "Width")] == ["x" * 1023]

    schema.register("Width", lambda width: None)

    def failing(_):
        raise KeyError("of a callback")

    schema.register("Title", failing)
    with pytest.raises(KeyError, match="of a callback"):
        schema.validate(pages, "Book")

    # One that validates within, after another has raised, and puts another into its own place.
    def inner(width):
        schema.register("Width", lambda _: "inner")
        with pytest.raises(zelutils.SchemaError, match="during a validation"):
            schema.register("Book", inner)
        return schema.validate(width, "Width")[0].message

    schema.register("Width", inner)
    with pytest.raises(KeyError, match="of a callback"):
        schema.validate({"title": "t", "pages": [{"width": 12}, {"width": 12}]}, "Book")
    schema.register("Width", inner)
    assert [f.message for f in schema.validate(12, "Width")] == ["inner"]


def run(*arguments):
    return subprocess.run([sys.executable, "-m", "zelutils", *map(str, arguments)],
                          capture_output=True, text=True)


def test_command_line(tmp_path):
    files = {"book.pos": "<title (A book) pages [<width 5>]>", "schema.pos": SCHEMA, "bad.pos": "[1 }",
             "faulty.pos": "<T <category nonsense>>", "list.pos": "[1 <a [2]>]",
             "long.pos": "[[%s]]" % (30 * "word ")}
    for name, text in files.items():
        (tmp_path / name).write_text(text)
    book, schema = tmp_path / "book.pos", tmp_path / "schema.pos"
    for arguments, status, output in [
            (("get", book, "pages[0].width", "title"), 0, "5\n(A book)\n"),
            (("get", "--raw", book, "title"), 0, "A book\n"),
            (("get", book, ""), 0, "<pages [<width 5>] title (A book)>\n"),
            (("get", tmp_path / "list.pos", "[1].a[0]", "[0]"), 0, "2\n1\n"),
            (("get", tmp_path / "long.pos", "[0]"), 0, "[\n  %s\n]\n" % "\n  ".join(["word"] * 30)),
            (("validate", schema, "Nope", book), 2, ""), (("get", tmp_path / "list.pos", "[2]"), 1, ""),
            (("get", book, "nowhere"), 1, ""),
            (("get", tmp_path / "bad.pos", ""), 2, ""), (("get", tmp_path / "none", ""), 2, ""),
            (("validate", schema, "Book", book), 1,
             "%s: pages[0].width: Number below mininum value 10.000000\n" % book),
            (("validate", schema, "any", book), 0, ""),
            (("validate", tmp_path / "faulty.pos", "T", book), 2, "")]:
        done = run(*arguments)
        assert (done.returncode, done.stdout) == (status, output), done.stderr
        assert bool(done.stderr) == (status == 2 or not output and status == 1)
