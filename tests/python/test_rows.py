"""Rows and messages say what `zel decode --json` says, for random messages of random dictionaries."""

import datetime
import io
import json

import generated
import made
import numpy as np
import pandas
import pytest
import zel
from zel.values import DATETIME, DateTime, Money, datetime_records, real_json, text_json

SEEDS = range(16)


@pytest.fixture(scope="module", params=SEEDS)
def case(request, tmp_path_factory):
    source, target, lines = made.capture(request.param, tmp_path_factory.mktemp("case"))
    assert len(lines) == 60
    return zel.Dictionary(source), source, target, lines


def value_json(field, value):
    """A value of an array as the command shows it."""
    if field.type == "money":
        return Money(*map(int, value)).json()
    if field.type == "datetime":
        return DateTime(*map(int, value)).json()
    if field.type in ("float", "double"):
        return real_json(field.type, value.tobytes()[::-1])
    if field.type in ("bytes10", "bytes11"):
        return value["data"].tobytes()[:value["length"]].hex()
    return text_json(bytes(value)) if field.type in ("text", "chars") else int(value)


def rows_json(kind, rows, in_group):
    names = [name for name, entry in kind.columns.items() if entry.in_group == in_group]
    return [{name: value_json(kind.columns[name].field, row[name]) for name in names if not np.any(mask[name].tolist())}
            for row, mask in zip(rows.data, rows.mask)]


def chosen(kind, values):
    """What rows have columns for. NumPy drops zeros at the end."""
    return {name: value if not isinstance(value, str) else value.rstrip("\0") for name, value in values.items()
            if name in kind.columns}


def test_images_are_those_of_the_command(case, tmp_path):
    dictionary, source, _, _ = case
    made.run("dict", "build", source, "-o", tmp_path / "image")
    assert dictionary.image == (tmp_path / "image").read_bytes()


def test_messages(case):
    dictionary, _, target, lines = case
    frames = target.read_bytes()
    found = list(zel.messages(target, dictionary=dictionary))
    assert [message.json() for message in found] == lines
    for message, line in zip(found, lines):
        frame = frames[message.offset:message.offset + message.size]
        line = {**line, "offset": 0}
        assert zel.decode(frame, dictionary=dictionary) == line
        # Another compressor may make other bytes, and packing gives fields of the version 0 alone no place.
        assert zel.decode(zel.encode(line, dictionary=dictionary), dictionary=dictionary) == line
    counts = zel.summary(target, dictionary=dictionary)
    assert {name: count.messages for name, count in counts.items()} == \
        {name: sum(line["name"] == name for line in lines) for name in {line["name"] for line in lines}}
    assert sum(count.bytes for count in counts.values()) == len(frames)


def test_rows_and_back(case, tmp_path):
    dictionary, _, target, lines = case
    for kind in dictionary.messages.values():
        wanted = [line for line in lines if line["name"] == kind.name]
        rows = zel.read(target, kind.name, dates="record", offset=True, dictionary=dictionary)
        assert rows["offset"].tolist() == [line["offset"] for line in wanted]
        assert rows_json(kind, rows, False) == [chosen(kind, line["fields"]) for line in wanted]
        group = None
        if kind.count:
            assert rows[kind.count.name].tolist() == [len(line.get("group", [])) for line in wanted]
            group = zel.read(target, kind.name, group=kind.count.name, dates="record", dictionary=dictionary)
            assert list(zip(group["row"].tolist(), rows_json(kind, group, True))) == \
                [(at, chosen(kind, each)) for at, line in enumerate(wanted) for each in line.get("group", [])]
        copy = tmp_path / "copy.zel"
        zel.write(copy, kind.name, rows, group, dictionary=dictionary)
        again = zel.read(copy, kind.name, dates="record", dictionary=dictionary)
        assert rows_json(kind, again, False) == rows_json(kind, rows, False)
        if kind.count:
            again = zel.read(copy, kind.name, group=kind.count.name, dates="record", dictionary=dictionary)
            assert (again["row"].tolist(), rows_json(kind, again, True)) == \
                (group["row"].tolist(), rows_json(kind, group, True))


def test_frames_and_back(case):
    dictionary, _, target, _ = case
    for kind in dictionary.messages.values():
        options = {"group": kind.count.name} if kind.count else {}
        table = zel.frame(target, kind.name, money="record", dictionary=dictionary)
        group = zel.frame(target, kind.name, money="record", dictionary=dictionary, **options) if options else None
        copy = io.BytesIO()
        zel.write(copy, kind.name, table, group, dictionary=dictionary)
        again = zel.frame(copy.getvalue(), kind.name, money="record", dictionary=dictionary)
        pandas.testing.assert_frame_equal(again, table)
        # Frames do not tell NaN and NaT from what is not there; without markers values then move to other repetitions.
        if group is not None and any(entry.field.name == "MARK" for entry in kind.entries):
            again = zel.frame(copy.getvalue(), kind.name, money="record", dictionary=dictionary, **options)
            pandas.testing.assert_frame_equal(again, group)


def test_dates(tmp_path):
    """Every date and time of the ranges, what lies just outside, and anything; days and back."""
    random = np.random.default_rng(1)
    dates = np.zeros(200_000, DATETIME)
    for name, most in zip(DATETIME.names, (33, 14, 256, 27, 62, 62, 2, 5)):
        dates[name] = random.integers(0, most, len(dates))
    dates[:1000] = random.integers(0, 2**63, 1000, np.uint64).view(DATETIME)
    fields = [*generated.HEADER, {"id": 10, "name": "AT", "type": "datetime"}]
    listed = [{"type": 1, "subType": 1, "name": "M", "fields": ["AT"]}]
    (tmp_path / "dates.json").write_text(json.dumps({"fields": fields, "messages": listed}))
    dictionary = zel.Dictionary(tmp_path / "dates.json")

    def there_and_back(values):
        frames = io.BytesIO()
        zel.write(frames, "M", {"AT": values}, dictionary=dictionary)
        return zel.read(frames.getvalue(), "M", mask=False, dictionary=dictionary)["AT"]

    for value, found in zip(dates.tolist(), there_and_back(dates).tolist()):
        one = DateTime(*value)
        # The end of a day is no datetime of Python's.
        late = one.kind & 2 and one.hour == 24
        wanted = (one._replace(hour=0) if late else one).value()
        if type(wanted) is datetime.date:
            wanted = datetime.datetime.combine(wanted, datetime.time())
        elif isinstance(wanted, datetime.time):
            wanted = datetime.datetime.combine(datetime.date(1970, 1, 1), wanted)
        assert found == (wanted + datetime.timedelta(days=1) if late and wanted else wanted), value
    days = np.arange("1900-01-01", "2156-01-01", dtype="M8[D]")
    for stamps in (days, days + np.timedelta64(86399, "s")):
        assert (there_and_back(stamps) == stamps).all()


def test_fields_and_forms(case):
    """Each column alone is that of all; forms and frames change no values."""
    dictionary, _, target, _ = case
    for kind in dictionary.messages.values():
        everything = zel.read(target, kind.name, dictionary=dictionary)
        for name in everything.dtype.names:
            alone = zel.read(target, kind.name, [name], dictionary=dictionary)
            assert alone.dtype.names == (name,)
            assert repr(alone[name].tolist()) == repr(everything[name].tolist())
        decimals = zel.read(target, kind.name, money="decimal", texts="str", mask=False, dictionary=dictionary)
        floats = zel.read(target, kind.name, money="float", mask=False, dictionary=dictionary)
        for name in floats.dtype.names:
            if everything.dtype[name].names == ("amount", "code"):
                assert np.array_equal(decimals[name].astype(float), floats[name], equal_nan=True)
            if decimals.dtype[name].kind == "U":
                assert [text.encode("utf-8", "surrogateescape") for text in decimals[name]] == floats[name].tolist()
        table = zel.frame(target, kind.name, texts="bytes", dictionary=dictionary)
        for name in floats.dtype.names:
            mask = everything.mask[name]
            mask = mask[mask.dtype.names[0]] if mask.dtype.names else mask
            values = floats[name].tolist()
            if floats.dtype[name].names:
                values = [data[:length] for length, data in values]
            for gone, value, shown in zip(mask, values, table[name].tolist()):
                assert pandas.isna(shown) if gone or pandas.isna(value) else shown == value
