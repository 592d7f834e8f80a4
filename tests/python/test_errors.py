"""Bad input of every kind: what is raised, skipped and collected."""

import io
import mmap
import os
import pickle
import signal
import threading
from decimal import Decimal  # like pandas, for the cases

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


@pytest.mark.parametrize("row", made.cases("errors.txt"), ids=lambda row: row[0])
def test_errors(capture, row):
    _, code, field, text, call = row
    with pytest.raises(zel.Error) as raised:
        eval(call, globals(), {"path": capture})
    assert (raised.value.code, raised.value.field) == (int(code), field or None)
    assert text in str(raised.value)
    again = pickle.loads(pickle.dumps(raised.value))
    assert (str(again), again.code, again.offset) == (str(raised.value), int(code), raised.value.offset)


def write_with(**options):
    return zel.write(io.BytesIO(), "NEW_ORDER", rows(SIDE=1), **options)


@pytest.mark.parametrize("name, call", made.cases("arguments.txt"))
def test_arguments(capture, name, call):
    with pytest.raises(ValueError, match=f"^{name}.*=.*expected"):
        eval(call)


def test_paths_that_cannot_be(capture, tmp_path):
    with pytest.raises(FileNotFoundError, match="none/x.part"):
        zel.write(tmp_path / "none" / "x", "NEW_ORDER", rows(SIDE=1))
    with pytest.raises(TypeError, match="bytes-like"):
        zel.decode(str(capture))


@pytest.mark.parametrize("fault, text", made.cases("sources.txt"))
def test_faults_of_sources(tmp_path, fault, text):
    (tmp_path / "bad.json").write_text(text)
    with pytest.raises(zel.Error, match=fault):
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
