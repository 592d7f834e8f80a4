"""Bad input of every kind: what is raised, skipped and collected."""

import io
import mmap
import os
import pickle
import signal
import threading
from decimal import Decimal

import made
import numpy as np
import pandas
import pytest
import zel

ROOT = made.ROOT
ORDERS = (ROOT / "examples" / "orders.jsonl").read_bytes()
SAMPLE = zel.Dictionary(ROOT / "zeldata" / "sample.json")


@pytest.fixture(scope="module")
def capture(tmp_path_factory):
    zel.use(SAMPLE)
    path = tmp_path_factory.mktemp("orders") / "orders.zel"
    path.write_bytes(made.run("encode", "-d", ROOT / "zeldata" / "sample.json", given=ORDERS))
    yield path
    zel.use(None)


def rows(**columns):
    return {"CLIENT_ORDER_REF": ["A"], "SYMBOL": ["RYE"], **{name: [value] for name, value in columns.items()}}


def write_one(**columns):
    return zel.write(io.BytesIO(), "NEW_ORDER", {**rows(SIDE=1), **columns})


CALLS = {
    "no such message": (lambda path: zel.read(path, "NOPE"), 2001, None, "no message NOPE"),
    "no such number": (lambda path: zel.read(path, (9, 9)), 2001, None, "no message"),
    "no such field": (lambda path: zel.read(path, "CANCEL_ORDER", ["SYMBOL", "SIDE"]), 2001, "SIDE", "has no field"),
    "in the group": (lambda path: zel.read(path, "NEW_ORDER", ["ALLOCATION_FEE"]), 2001, "ALLOCATION_FEE", "group="),
    "no such group": (lambda path: zel.read(path, "NEW_ORDER", group="LEG_COUNT"), 2001, "LEG_COUNT", "ALLOCATION_COUNT"),
    "no group": (lambda path: zel.read(path, "CANCEL_ORDER", group="SYMBOL"), 2001, "SYMBOL", "no group"),
    "too wide": (lambda path: zel.read(path, "CANCEL_ORDER", width=4), 2003, "CLIENT_ORDER_REF", "offset 247"),
    "cut": (lambda path: zel.read(path.read_bytes()[:-1], "CANCEL_ORDER"), 2006, None, "offset 621"),
    "none": (lambda path: zel.frame(b"\x01\x30none of it", "CANCEL_ORDER"), 2007, None, "offset 0"),
    "messages, none": (lambda path: list(zel.messages(b"none")), 2007, None, "offset 0"),
    "summary, cut": (lambda path: zel.summary(path.read_bytes()[:-1]), 2006, None, "offset 621"),
    "decode, more": (lambda path: zel.decode(path.read_bytes()), 1001, None, "447 bytes follow"),
    "decode, nothing": (lambda path: zel.decode(b""), 2006, None, ""),
    "decode, no frame": (lambda path: zel.decode(b"12345", framed=False), 1413, None, ""),
    "encode, name": (lambda path: zel.encode({"name": "NOPE"}), 2001, None, "NOPE"),
    "encode, member": (lambda path: zel.encode({"name": "SIGN_OFF", "size": 1}), 1001, "size", "no member"),
    "encode, field": (lambda path: zel.encode({"name": "SIGN_OFF", "fields": {"SIDE": 1}}), 1001, "SIDE", "no such"),
    "encode, value": (lambda path: zel.encode({"name": "SIGN_OFF", "fields": {"SENT_AT": "now"}}), 1001, "SENT_AT", "1999"),
    "encode, missing": (lambda path: zel.encode({"name": "CANCEL_ORDER"}), 1476, "CLIENT_ORDER_REF", ""),
    "encode, count": (lambda path: zel.encode({"name": "NEW_ORDER", "fields": {"ALLOCATION_COUNT": 2}}), 1001,
                      "ALLOCATION_COUNT", "0 elements"),
    "write, mandatory": (lambda path: zel.write(io.BytesIO(), "CANCEL_ORDER", {"SYMBOL": ["A"]}), 2001, None,
                         "CLIENT_ORDER_REF"),
    "write, no field": (lambda path: zel.write(io.BytesIO(), "CANCEL_ORDER", rows(SIDE=1)), 2001, "SIDE", "no field"),
    "write, float": (lambda path: zel.write(io.BytesIO(), "NEW_ORDER", rows(SIDE=1.0)), 2001, "SIDE", "whole numbers"),
    "write, range": (lambda path: zel.write(io.BytesIO(), "NEW_ORDER", rows(SIDE=70000)), 2002, "SIDE", "row 0"),
    "write, money": (lambda path: zel.write(io.BytesIO(), "NEW_ORDER", rows(SIDE=1, LIMIT_PRICE=1.5)), 2001,
                     "LIMIT_PRICE", "zel.money"),
    "write, date": (lambda path: zel.write(io.BytesIO(), "NEW_ORDER", rows(SIDE=1, ENTERED_AT="2024")), 2001,
                    "ENTERED_AT", "datetime64"),
    "write, year": (lambda path: zel.write(io.BytesIO(), "NEW_ORDER", rows(SIDE=1, ENTERED_AT=np.datetime64("1800"))),
                    2001, "ENTERED_AT", "1900"),
    "write, bytes": (lambda path: zel.write(io.BytesIO(), "NEW_ORDER", rows(SIDE=1, ROUTE_TOKEN="text")), 2001,
                     "ROUTE_TOKEN", "bytes"),
    "write, no rows": (lambda path: zel.write(io.BytesIO(), "NEW_ORDER", np.zeros(3)), 2001, None, "structured"),
    "write, group": (lambda path: zel.write(io.BytesIO(), "NEW_ORDER", rows(SIDE=1), {"row": [1], "ALLOCATION_KIND": [0]}),
                     2001, "row", "rise"),
    "write, counts": (lambda path: zel.write(io.BytesIO(), "NEW_ORDER", zel.read(path, "NEW_ORDER")), 2001,
                      "ALLOCATION_COUNT", "group="),
    "write, wide money": (lambda path: write_one(LIMIT_PRICE=np.array([(2**40, 20)], [("amount", "i8"), ("code", "i8")])),
                          2001, "LIMIT_PRICE", "32 bits"),
    "write, half an amount": (lambda path: write_one(LIMIT_PRICE=np.array([(1.5, 20)], [("amount", "f8"), ("code", "i2")])),
                              2001, "LIMIT_PRICE", "whole numbers"),
    "write, money columns": (lambda path: write_one(**{"LIMIT_PRICE.amount": [2**40], "LIMIT_PRICE.code": [20]}), 2001,
                             "LIMIT_PRICE", "32 bits"),
    "write, decimal": (lambda path: write_one(LIMIT_PRICE=[Decimal("1e999999")]), 2001, "LIMIT_PRICE", "32 bits"),
    "write, wide dates": (lambda path: write_one(ENTERED_AT=np.ones(1, [(name, "i4") for name in zel.DateTime._fields])),
                          2001, "ENTERED_AT", "datetime64"),
    "write, a table": (lambda path: write_one(QUANTITY=np.ones((1, 1), int)), 2001, "QUANTITY", "2 dimensions"),
    "write, a scalar": (lambda path: write_one(QUANTITY=1), 2001, "QUANTITY", "0 dimensions"),
    "write, a column twice": (lambda path: zel.write(io.BytesIO(), "NEW_ORDER", pandas.DataFrame([[1, 2]], columns=["SIDE"] * 2)),
                              2001, "SIDE", "2 dimensions"),
    "write, objects": (lambda path: write_one(ROUTE_TOKEN=np.array([(1, b"a")], [("length", "u4"), ("data", "O")])), 2001,
                       "ROUTE_TOKEN", "V or S"),
    "write, arrays": (lambda path: write_one(ROUTE_TOKEN=np.array([(1, [1, 2])], [("length", "u4"), ("data", "u1", 2)])),
                      2001, "ROUTE_TOKEN", "V or S"),
    "encode, no fields": (lambda path: zel.encode({"name": "SIGN_OFF", "fields": [1]}), 1001, "fields", "object"),
    "encode, no group": (lambda path: zel.encode({"name": "NEW_ORDER", "group": {"row": 1}}), 1001, "group", "list"),
    "encode, no element": (lambda path: zel.encode({"name": "NEW_ORDER", "group": [1]}), 1001, "group[0]", "object"),
    "encode, zero byte": (lambda path: zel.encode({"name": "NEW_ORDER", "fields": {"LIMIT_PRICE": "1\0"}}), 1001,
                          "LIMIT_PRICE", "money as text"),
    "money, code": (lambda path: zel.money([1], 7), 1462, None, "display code"),
    "money, nan": (lambda path: zel.money([np.nan], 20), 2002, None, ""),
    "dictionary, capture": (lambda path: zel.Dictionary(path), 2010, None, "not a dictionary image"),
    "dictionary, cut": (lambda path: zel.Dictionary(SAMPLE.image[:-1]), 2010, None, "damaged"),
    "dictionary, version": (lambda path: zel.Dictionary(SAMPLE.image[:8] + b"\x02" + SAMPLE.image[9:]), 2010, None,
                            "version 2"),
}


@pytest.mark.parametrize("name", CALLS)
def test_errors(capture, name):
    call, code, field, text = CALLS[name]
    with pytest.raises(zel.Error) as raised:
        call(capture)
    assert (raised.value.code, raised.value.field) == (code, field)
    assert text in str(raised.value)
    again = pickle.loads(pickle.dumps(raised.value))
    assert (str(again), again.code, again.offset) == (str(raised.value), code, raised.value.offset)


ARGUMENTS = {
    "width": lambda: zel.read(b"", "NEW_ORDER", width=0), "version": lambda: write_with(version=65536),
    "user_data": lambda: write_with(user_data=2**32), "first_id": lambda: write_with(first_id=70000),
    "service_id": lambda: write_with(service_id=(0, -40000)), "format": lambda: write_with(format=3),
    "money": lambda: zel.read(b"", "NEW_ORDER", money="text"), "errors": lambda: zel.messages(b"", errors="none").__next__(),
}


def write_with(**options):
    return zel.write(io.BytesIO(), "NEW_ORDER", rows(SIDE=1), **options)


@pytest.mark.parametrize("name", ARGUMENTS)
def test_arguments(capture, name):
    with pytest.raises(ValueError, match=f"^{name}.*=.*expected"):
        ARGUMENTS[name]()


def test_paths_that_cannot_be(capture, tmp_path):
    with pytest.raises(FileNotFoundError, match="none/x.part"):
        zel.write(tmp_path / "none" / "x", "NEW_ORDER", rows(SIDE=1))
    with pytest.raises(TypeError, match="bytes-like"):
        zel.decode(str(capture))


SOURCES = {"x": "is not JSON", '{"fields":[],"messages":[],"more":1}': "expected an object",
           '{"fields":[{"id":10,"id":11,"name":"A","type":"text"}],"messages":[]}': "a key stands twice",
           '{"fields":[{"id":10,"name":"A","type":"words"}],"messages":[]}': "field A.type",
           '{"fields":[{"id":99999,"name":"A","type":"text"}],"messages":[]}': "field A.id",
           '{"fields":[],"messages":[{"type":1,"subType":1,"name":"M","fields":["B"]}]}': "no field B"}


@pytest.mark.parametrize("text", SOURCES)
def test_faults_of_sources(tmp_path, text):
    (tmp_path / "bad.json").write_text(text)
    with pytest.raises(zel.Error, match=SOURCES[text]):
        zel.Dictionary(tmp_path / "bad.json")


def test_bad_messages_are_collected_or_left_out(capture):
    """A text that runs past the end of its message, twice; then a frame that is cut."""
    good = capture.read_bytes()
    bad = bytearray(good)
    for offset in (247, 621):
        at = good.index(b"\0\x0fORD", offset)
        bad[at:at + 2] = b"\xff\xff"
    bad += good[:-1]
    everything = zel.read(good + good, "CANCEL_ORDER", offset=True)
    left, errors = zel.read(bytes(bad), "CANCEL_ORDER", offset=True, errors="collect")
    assert [(error.code, error.field, error.offset) for error in errors] == \
        [(1427, "CLIENT_ORDER_REF", 247), (1427, "CLIENT_ORDER_REF", 621), (2006, None, 694 + 621)]
    assert left.tolist() == everything[2:3].tolist()
    assert zel.read(bytes(bad), "CANCEL_ORDER", offset=True, errors="skip").tolist() == left.tolist()
    assert len(zel.frame(bytes(bad), "CANCEL_ORDER", errors="skip")) == 1
    found = list(zel.messages(bytes(bad), errors="collect"))
    assert [type(each).__name__ for each in found] == \
        ["Message", "Error", "Message", "Message", "Error", "Message", "Message", "Message", "Message", "Error"]
    assert len(list(zel.messages(bytes(bad), errors="skip"))) == 7


def test_every_cut_and_every_changed_byte(capture):
    """Whatever bytes there are: rows or errors, and `messages` finds as many as `read`."""
    good = capture.read_bytes()
    random = np.random.default_rng(1)
    for length in range(len(good)):
        with pytest.raises(zel.Error) if length not in (0, 247, 327, 513, 621) else open(os.devnull):
            zel.summary(good[:length])
        if length % 3:
            continue
        changed = bytearray(good)
        changed[length] ^= int(random.integers(1, 256))
        for kind in ("CANCEL_ORDER", "MULTI_LEG_ORDER"):
            left, _ = zel.read(bytes(changed), kind, errors="collect")
            assert len(left) == sum(getattr(each, "name", None) == kind
                                    for each in zel.messages(bytes(changed), errors="skip"))


def test_every_kind_of_source(capture):
    wanted = zel.read(capture, "CANCEL_ORDER").tolist()
    content = capture.read_bytes()
    with open(capture, "rb") as file, mmap.mmap(file.fileno(), 0, access=mmap.ACCESS_READ) as mapped:
        for source in (str(capture), content, bytearray(content), memoryview(content), mapped, file, io.BytesIO(content)):
            assert zel.read(source, "CANCEL_ORDER").tolist() == wanted
    with pytest.raises(TypeError, match="rb"):
        zel.read(io.StringIO("text"), "NEW_ORDER")
    assert zel.read(os.devnull, "NEW_ORDER").shape == (0,)
    for empty in (b"", io.BytesIO()):
        assert (zel.read(empty, "NEW_ORDER").shape, len(zel.frame(empty, "NEW_ORDER")), zel.summary(empty)) == ((0,), 0, {})


def test_a_capture_of_another_dictionary(capture):
    """Types that the dictionary lacks are bad messages; what it has is read."""
    older = zel.Dictionary(ROOT / "examples" / "older.json")
    kind = next(iter(older.messages.values()))
    left, errors = zel.read(capture, kind.name, errors="collect", dictionary=older)
    assert {error.code for error in errors} <= {1414, 1415, 1416, 1427}
    assert len(errors) >= 3


def test_dictionaries_take_turns(capture):
    """Threads that need different dictionaries wait for one another; `use` holds for those that name none."""
    other = zel.Dictionary(ROOT / "examples" / "older.json")
    kind, wanted, found = next(iter(other.messages)), zel.read(capture, "CANCEL_ORDER").tolist(), []

    def work(number):
        for _ in range(20):
            if number % 2:
                found.append(zel.read(capture, "CANCEL_ORDER").tolist() == wanted)
            else:
                zel.read(b"", kind, dictionary=other)

    threads = [threading.Thread(target=work, args=(number,)) for number in range(4)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    assert found == [True] * 40
    pausing = zel.messages(capture)
    next(pausing)
    zel.use(other)
    with pytest.raises(zel.Error):
        zel.read(capture, "CANCEL_ORDER")
    assert sum(1 for _ in pausing) == 4
    zel.use(SAMPLE)


@pytest.mark.skipif(not hasattr(os, "fork"), reason="no fork")
def test_a_child_does_not_wait_for_calls_of_its_parent(capture):
    other = zel.Dictionary(ROOT / "examples" / "older.json")
    kind = next(iter(other.messages))
    inside, done = threading.Event(), threading.Event()

    class Slow(io.BytesIO):
        def read(self, *_):
            inside.set()
            done.wait()
            return b""

    thread = threading.Thread(target=zel.read, args=(Slow(), "NEW_ORDER"))
    thread.start()
    inside.wait()
    child = os.fork()
    if child == 0:
        signal.alarm(20)
        os._exit(0 if len(zel.read(b"", kind, dictionary=other)) == 0 else 1)
    status = os.waitpid(child, 0)[1]
    done.set()
    thread.join()
    assert status == 0


def test_messages_of_many_repetitions_are_made_a_few_at_a_time(capture):
    """A frame of 80 bytes may say that it has thousands."""
    frame = zel.encode({"name": "NEW_ORDER", "fields": {"CLIENT_ORDER_REF": "A", "SYMBOL": "B", "SIDE": 1},
                        "group": [{"ALLOCATION_KIND": 1}] * 400})
    reader = zel.messages(frame * 30)
    next(reader)
    assert sum(len(each.group) for each in reader.gi_frame.f_locals["found"]) == 400


def test_a_refused_image_leaves_the_one_before(capture):
    """The provider checks more than this package does."""
    image = bytearray(SAMPLE.image)
    image[64 + 160 * 10] = 99  # the version of field 10
    image[16:20] = __import__("zlib").crc32(bytes(image[64:])).to_bytes(4, "little")
    with pytest.raises(zel.Error, match="2010"):
        zel.use(zel.Dictionary(bytes(image)))
    assert len(zel.read(capture, "CANCEL_ORDER")) == 2


def test_a_failed_write_leaves_the_target(tmp_path, capture):
    target = tmp_path / "target.zel"
    target.write_bytes(b"before")
    with pytest.raises(zel.Error):
        zel.write(target, "NEW_ORDER", rows(SIDE=70000))
    assert (target.read_bytes(), os.listdir(tmp_path)) == (b"before", ["target.zel"])


def test_one_large_group(capture):
    """One message of 2500 repetitions among small ones costs no record of those."""
    small, large = 3, 2500
    sizes = [small] * 500 + [large] + [small] * 500
    target = io.BytesIO()
    zel.write(target, "NEW_ORDER", {"SYMBOL": ["RYE"] * len(sizes), "SIDE": [1] * len(sizes)},
              {"row": np.repeat(np.arange(len(sizes)), sizes), "ALLOCATION_KIND": np.arange(sum(sizes)) % 7})
    group = zel.read(target.getvalue(), "NEW_ORDER", group="ALLOCATION_COUNT")
    assert np.bincount(group["row"]).tolist() == sizes
    assert group["ALLOCATION_KIND"].tolist() == [number % 7 for number in range(sum(sizes))]
    assert zel.read(target.getvalue(), "NEW_ORDER")["ALLOCATION_COUNT"].tolist() == sizes
    assert [len(message.group) for message in zel.messages(target.getvalue())] == sizes


def test_long_texts_cost_frames_nothing(capture):
    """One text of 12 KB among short ones."""
    texts = ["short"] * 20000 + ["x" * 12000]
    table = {"CLIENT_ORDER_REF": texts, "SYMBOL": ["RYE"] * len(texts)}
    target = io.BytesIO()
    zel.write(target, "CANCEL_ORDER", table)
    assert zel.frame(target.getvalue(), "CANCEL_ORDER").CLIENT_ORDER_REF.tolist() == texts
    assert len(zel.read(target.getvalue(), "CANCEL_ORDER", width=16, errors="skip")) == 20000
    assert isinstance(pandas.DataFrame(table), pandas.DataFrame)
