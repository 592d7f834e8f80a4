"""Blocks of whole frames, and data frames of them that are those of the whole capture."""

import json
import os
import pickle

import made
import pandas
import pytest
import zel
from zel.blocks import Block, blocks, read_block, size_of

dask = pytest.importorskip("dask")
import zel.dask  # noqa: E402


@pytest.fixture(scope="module", params=[1, 2])
def case(request, tmp_path_factory):
    source, target, _ = made.capture(request.param, tmp_path_factory.mktemp("case"), 300)
    return zel.Dictionary(source), target


@pytest.mark.parametrize("blocksize", [1, 200, "1KB", "1 MB"])
def test_blocks_are_whole_frames(case, blocksize):
    dictionary, target = case
    found = blocks(target, blocksize, dictionary=dictionary)
    starts = [message.offset for message in zel.messages(target, dictionary=dictionary)]
    assert b"".join(map(read_block, found)) == target.read_bytes()
    assert {block.offset for block in found} <= set(starts)
    for block in found:
        frames = sum(block.offset <= start < block.offset + block.length for start in starts)
        assert frames == 1 or block.length <= size_of(blocksize)
    if blocksize == 1:
        assert [block.offset for block in found] == starts


def test_an_index_is_kept_and_made_anew(case, monkeypatch):
    dictionary, target = case
    first = blocks(target, 500, index=True, dictionary=dictionary)
    with monkeypatch.context() as patch:
        patch.setattr(zel.blocks, "_walk", None)
        assert blocks(target, 500, index=True) == first
        assert [block.path for block in blocks(str(target), 500, index=True)] == [str(target)] * len(first)
    target.write_bytes(target.read_bytes() * 2)
    assert len(blocks(target, 500, index=True, dictionary=dictionary)) > len(first)
    kept = target.parent / (target.name + ".zelindex")
    good, content = blocks(target, 500, dictionary=dictionary), json.loads(kept.read_text())
    wild = [{**content, "borders": borders} for borders in ([-5, 10], [10, 5], [10**18], [1e999], [None], 5)]
    for damaged in ("", "[]", '{"stamp": 1}', *map(json.dumps, wild)):
        kept.write_text(damaged)
        assert blocks(target, 500, index=True, dictionary=dictionary) == good
    kept.unlink()
    kept.mkdir()
    with pytest.warns(UserWarning, match="no index is kept"):
        assert blocks(target, 500, index=True, dictionary=dictionary) == good
    assert not list(target.parent.glob(".zelindex-*"))


def test_partitions_are_the_capture(case):
    dictionary, target = case
    for kind in dictionary.messages.values():
        whole = zel.frame(target, kind.name, offset=True, dictionary=dictionary)
        table = zel.dask.read([target], kind.name, blocksize=700, offset=True, dictionary=dictionary)
        assert table.npartitions > 3
        assert list(table.dtypes) == list(whole.dtypes)
        pandas.testing.assert_frame_equal(table.compute(scheduler="threads").reset_index(drop=True), whole)
        # What a scheduler would do after a worker is lost: the same task again, elsewhere.
        again = pickle.loads(pickle.dumps(table)).partitions[2]
        pandas.testing.assert_frame_equal(again.compute(), table.partitions[2].compute())


def test_errors_name_file_and_offset(case, tmp_path):
    dictionary, target = case
    kind = next(iter(dictionary.messages))
    bad = tmp_path / "bad.zel"
    bad.write_bytes(target.read_bytes()[:-1])
    last = [message.offset for message in zel.messages(target, dictionary=dictionary)][-1]
    table = zel.dask.read(bad, kind, blocksize=700, dictionary=dictionary)
    with pytest.raises(zel.Error, match=f"bad.zel: offset {last}: 2006"):
        table.compute(scheduler="sync")
    left = zel.dask.read(str(tmp_path / "*.zel"), kind, blocksize=700, errors="skip", dictionary=dictionary)
    everything = zel.frame(bad, kind, errors="skip", dictionary=dictionary)
    assert len(left.compute(scheduler="sync")) == len(everything)
    os.truncate(bad, 10)
    with pytest.raises(zel.Error, match="shorter"):
        left.compute(scheduler="sync")
    with pytest.raises(FileNotFoundError):
        zel.dask.read(tmp_path / "none.zel", kind, dictionary=dictionary)
    with pytest.raises(zel.Error, match="NOPE"):
        zel.dask.read(bad, kind, ["NOPE"], dictionary=dictionary)
    with pytest.raises(ValueError, match="collect"):
        zel.dask.read(bad, kind, errors="collect", dictionary=dictionary)


@pytest.mark.parametrize("text, size", [(5, 5), ("64MB", 64 * 10**6), ("1 GiB", 1 << 30), ("2kb", 2000), ("", None),
                                        ("MB", None), ("-1", None), ("0", None), ("1.5MB", None), ("8X", None)])
def test_sizes(text, size):
    if size is None:
        with pytest.raises(ValueError, match="blocksize"):
            size_of(text)
    else:
        assert size_of(text) == size


def test_an_empty_capture_is_one_empty_partition(tmp_path, case):
    dictionary, _ = case
    (tmp_path / "empty.zel").write_bytes(b"")
    assert blocks(tmp_path / "empty.zel", dictionary=dictionary) == [Block(str(tmp_path / "empty.zel"), 0, 0)]
    kind = next(iter(dictionary.messages))
    assert len(zel.dask.read(tmp_path / "empty.zel", kind, dictionary=dictionary).compute()) == 0
