"""Live values beside the plain Python objects that they stand for."""

import copy
import gc
import math
import random
import subprocess
import sys
import threading

import pytest

import zelutils
from zelutils import BinData, ByteString, Dict, UnicodeString


@pytest.mark.parametrize("value", [
    0, 1, -1, 2**52, 0.5, -0.0, 1e300, 5e-324, float(2**53), math.inf,
    "", "word", "two words", "umläut €", ByteString(b"\xff\x01"), UnicodeString(""),
    UnicodeString("A\u00e9\u4e2d\U0001f600\ud800"), BinData("image/png", bytes(range(256))),
    BinData("empty", b""), [], {}, [1, [2, [3]], {"a": ["b"]}], {"": {"ä": 1, "\udcff": 2}},
])
def test_what_goes_in_comes_out(value):
    live = zelutils.from_python({"v": value})
    found = live["v"]
    plain = found.to_python() if isinstance(found, zelutils.Value) else found
    assert plain == value and repr(plain) == repr(value)
    assert type(plain) is type(value) or isinstance(value, (int, float))
    assert value == math.inf or zelutils.from_stream(zelutils.to_stream(live)) == live
    assert copy.deepcopy(live) == live


@pytest.mark.parametrize("value, kind", [
    (None, TypeError), (object(), TypeError), ({1: 2}, TypeError), ({"k": {2, 3}}, TypeError),
    (bytearray(b"x"), TypeError), (2**53 + 1, ValueError), (10**400, OverflowError),
    ("a\0b", ValueError), (b"a\0", ValueError), (UnicodeString("a\0"), ValueError),
    ({"a\0": 1}, ValueError), (BinData("t\0", b""), ValueError),
])
def test_what_has_no_counterpart_is_refused(value, kind):
    for place in ([value], {"deep": [1, value]}):
        with pytest.raises(kind):
            zelutils.from_python(place)


def nested(depth):
    value = []
    for _ in range(depth - 1):
        value = [value]
    return value


def test_nesting_ends_in_order():
    live = zelutils.from_python(nested(512))
    assert live.to_python() == nested(512) == zelutils.loads(zelutils.dumps(live)).to_python()
    with pytest.raises(ValueError, match="nesting too deep"):
        zelutils.from_python(nested(513))


def test_changes_are_made_in_place():
    book = zelutils.loads("<pages [<width 595> <width 612>] title (A book)>")
    pages = book["pages"]
    pages[0]["width"] = 600
    assert book["pages"][0]["width"] == 600 and book.deep_get("pages[1].width") == 612
    shared = book["again"] = pages
    shared.append(3)
    assert len(book["pages"]) == 3
    assert book.deep_get("nowhere[1]", "default") == "default"
    rows = zelutils.from_python([[1, {"a": [2]}]])
    for path, found in [("[0][1].a[0]", 2), ("[0][0]", 1), ("[0]", [1, {"a": [2]}]), ("[1]", None), ("a", None),
                        ("[0][0].a", None), ("[0][1].b", None), ("[0]x", None), ("", None),
                        ("[00]", [1, {"a": [2]}]), ("[%s]" % ("9" * 5000), None)]:
        assert rows.deep_get(path) == found, path
    assert "title" in book and "titl" not in book and 5 not in book
    del book["again"]
    with pytest.raises(KeyError):
        del book["again"]
    with pytest.raises(KeyError):
        book["again"]
    for index, kind in [(3, IndexError), (-4, IndexError), ("b", TypeError), (1.5, TypeError)]:
        with pytest.raises(kind):
            pages[index]
    assert bool(zelutils.from_python({})) is False and bool(book) is True
    assert copy.copy(pages) == pages and copy.copy(pages)[0]._handle == pages[0]._handle


def test_an_iteration_survives_changes():
    live = zelutils.from_python({str(i): i for i in range(50)})
    for key in live:
        del live[key]
    assert len(live) == 0
    array = zelutils.from_python([1, 2])
    grown = [array.append(member) or member for member in array if len(array) < 5]
    assert grown == [1, 2, 1] and len(array) == 5
    holder = zelutils.from_python({"a": [1, 2]})
    holder["a"].extend(holder["a"])
    holder["a"] += holder["a"][:1]
    holder["a"][1:1] = holder["a"]
    assert holder["a"] == [1, 1, 2, 1, 2, 1, 2, 1, 2, 1]


def random_value(source, depth, kinds=range(7)):
    kind = source.choice([kind for kind in kinds if depth or kind < 4])
    if kind < 2:
        return source.choice([source.randrange(-99, 99), source.random()])
    if kind == 2:
        return "".join(source.choices("ab é€", k=source.randrange(5)))
    if kind == 3:
        return BinData("t", bytes(source.choices(range(256), k=source.randrange(9))))
    members = [random_value(source, depth - 1, kinds) for _ in range(source.randrange(4))]
    return members if kind < 5 else {str(source.randrange(5)): member for member in members}


def test_a_list_and_a_dict_do_the_same():
    source = random.Random(7)
    live, plain = zelutils.from_python([[], {}]), [[], {}]
    for step in range(100000):
        value = random_value(source, 1)
        index, end = source.randrange(-6, 7), source.randrange(-6, 7)
        key = str(source.randrange(12))
        change = source.choice([
            lambda v: v[0].append(value), lambda v: v[0].insert(index, value), lambda v: v[0].pop(),
            lambda v: v[0].pop(index), lambda v: v[0].__setitem__(index, value),
            lambda v: v[0].__delitem__(slice(index, end)), lambda v: v[0][index],
            lambda v: v[0].__setitem__(slice(index, end), [value]), lambda v: v[0][index:end:2],
            lambda v: v[1].__setitem__(key, value), lambda v: v[1].pop(key),
            lambda v: v[1].setdefault(key, value), lambda v: v[1].get(key), lambda v: key in v[1],
            lambda v: v[1].update({key: value}), lambda v: len(v[0]) + len(v[1]),
            lambda v: v[0].reverse() if step % 2 else v[0].clear(), lambda v: value in v[0],
        ])
        results = []
        for container in (live, plain):
            try:
                results.append(change(container))
            except (IndexError, KeyError) as error:
                results.append(type(error))
        assert [r.to_python() if isinstance(r, zelutils.Value) else r for r in results[:1]] == (
            results[1:]) or results[0] == results[1], step
        if step % 1000 == 0:
            assert live == plain and zelutils.from_stream(zelutils.to_stream(live)) == live
        if step % 20 == 0:
            del plain[0][30:]
            del live[0][30:]


def test_the_order_of_the_collector_does_not_matter():
    class Ring:
        pass

    for _ in range(50):
        ring = Ring()
        ring.me, ring.value = ring, zelutils.from_python([{"a": [1]}])
        ring.part, ring.keys = ring.value[0], iter(ring.value[0])
        next(ring.keys)
    del ring
    collector = threading.Thread(target=gc.collect)
    collector.start()
    collector.join()


def test_a_session_belongs_to_its_thread():
    live, raised = zelutils.from_python([1]), []

    def use():
        try:
            live.append(2)
        except RuntimeError as error:
            raised.append(str(error))

    thread = threading.Thread(target=use)
    thread.start()
    thread.join()
    assert raised == ["a session can be used by the thread alone that made it"]


def test_values_may_outlive_their_session():
    program = """
import zelutils
session = zelutils.Session()
live = zelutils.loads("[<a 1>]", session)
keys = iter(live[0])
next(keys)
session.close()
session.close()
try:
    live[0]
except zelutils.Error as error:
    print(error)
# One that cannot start does not stand in the way of the next.
missing = zelutils._abi.INTERFACES["POSArrayInterface"]
missing.append(("None", "NoneProc", None, ()))
try:
    zelutils.Session()
except OSError as error:
    print(error)
missing.pop()
with zelutils.Session() as other:
    print(zelutils.loads("[1]", other).to_python())
"""
    done = subprocess.run([sys.executable, "-c", program], capture_output=True, text=True)
    assert (done.stdout, done.stderr) == (
        "the session is closed\nthe library offers no None of POSArrayInterface\n[1]\n", "")


def test_a_value_that_contains_itself_is_told():
    cycle = zelutils.from_python([])
    cycle.append(cycle)
    with pytest.raises(zelutils.Error, match="nesting too deep"):
        copy.deepcopy(cycle)
    assert "nesting too deep" in repr(cycle)
    cycle.clear()


def test_empty_slots():
    live = Dict(zelutils.default_session())
    live["a"] = [1, 2]
    session = live._session
    session._arrays.SetAt(live["a"]._handle, 3, live["a"]._handle)
    assert live["a"][2] is None
    for change in (lambda a: a.__setitem__(slice(1, 2), [5]), lambda a: a.insert(0, 5)):
        with pytest.raises(TypeError):
            change(live["a"])
        assert [member is None for member in live["a"]] == [False, False, True, False]
    live["a"].clear()
