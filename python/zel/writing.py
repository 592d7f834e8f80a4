"""Writing: arrays and data frames to frames."""

from __future__ import annotations

import ctypes
import os
from ctypes import byref
from decimal import Decimal
from typing import Any, BinaryIO, Dict, Mapping, NamedTuple, Optional, Tuple, Union

import numpy as np

from . import library
from .dictionary import Dictionary, Field, MessageType
from .layout import Layout, Part, packed
from .library import BAD_LAYOUT, Envelope, Error, Failure, lib, using
from .reading import Message
from .values import DATETIME, MONEY, datetime_records, decimal_to_money

# Rows that become records at a time, and the bytes that are handed to the target at a time.
_PIECE = 4096
_ROOM = 1 << 20

# Columns of `read` that say where a row was, and are no fields.
_PLACES = ("offset", "row")


class Given(NamedTuple):
    """A column of the rows: its values, which of them are missing, and whether it is the values that say so (NaN and
    NaT of data frames): mandatory fields send those."""

    values: Any
    missing: np.ndarray
    by_value: bool = False


class Values(NamedTuple):
    """A column on its way out: what its members hold, which of them are not there, and what views lead to."""

    members: np.ndarray
    missing: np.ndarray
    kept: Any = None


def write(target: Union[str, "os.PathLike[str]", BinaryIO], message: Message, rows: Any, group: Any = None, *,
          service_id: Tuple[int, int] = (0, 0), user_data: int = 0, version: int = 0, format: int = 0,
          compress: bool = False, short_frame: bool = False, first_id: int = 1,
          dictionary: Optional[Dictionary] = None) -> int:
    """Writes one message for each row.

    Args:
        target: path (replaced when all is written), or open binary stream.
        message: name, or (type, sub-type).
        rows: what `read` or `frame` returns: structured array, data frame, or mapping of names to arrays. Masked
            values, None, and NA, NaN and NaT of a data frame are not sent; mandatory fields send NaN, and NaT as a date
            of zeros. `offset` and `row` are passed over. Whole numbers
            take integer arrays; money structs of amount and code, or columns NAME.amount and NAME.code, or Decimals
            (floats have no display code: `zel.money` gives them one); dates datetime64; texts bytes or str.
        group: the repetitions of all messages, likewise, with a column `row`: the row of the message.
        service_id, user_data, version, format: of the header; version 0 sends every field.
        compress: compressed payloads, where that makes them smaller.
        first_id: the id of the first message; ids are 1 to 65535 and begin again.

    Returns:
        The number of messages.

    Raises:
        Error: 2001, a column is no field, is of another type than its field, or a mandatory field is missing; 2002 and
            2003, a value does not fit; each with the field, the last two with the row in the text.
    """
    with using(dictionary) as served:
        kind = served[message]
        batch = _Batch(kind, rows, group)
        numbers = {"service_id": (service_id[0], -2**15, 2**16 - 1), "service_id[1]": (service_id[1], -2**15, 2**16 - 1),
                   "user_data": (user_data, -2**31, 2**31 - 1), "version": (version, 0, 15), "format": (format, 0, 2),
                   "first_id": (first_id, 1, 2**16 - 1)}
        for name, (value, least, most) in numbers.items():
            if not least <= value <= most:
                raise ValueError(f"{name}={value!r}; expected a whole number from {least} to {most}")
        envelope = Envelope(serviceIdHigh=service_id[0], serviceIdLow=service_id[1], userData=user_data,
                            version=version, format=format, compressMode=1 if compress else 0,
                            frameKind=1 if short_frame else 0, sequence=first_id)
        if not isinstance(target, (str, os.PathLike)):
            return batch.pack(target, envelope)
        part = os.fspath(target) + ".part"
        file = open(part, "wb")
        try:
            with file:
                count = batch.pack(file, envelope)
            os.replace(part, target)
        except BaseException:
            os.unlink(part)
            raise
        return count


class _Batch:
    """Rows, checked against their message."""

    def __init__(self, kind: MessageType, rows: Any, group: Any) -> None:
        self.kind = kind
        given = _columns(rows)
        self.rows = len(next(iter(given.values())).values) if given else 0
        counted = kind.count.name if kind.count else ""
        count = given.pop(counted, None)
        self.outside = _fields(kind, given, False)
        self.inside: Dict[str, Values] = {}
        self.counts = np.zeros(self.rows, np.int64)
        if group is not None:
            self._take_group(group)
        if count is not None and not np.array_equal(np.where(count.missing, 0, count.values),
                                                          self.counts):
            raise Error(BAD_LAYOUT, f"{counted} counts other repetitions than group= has", counted)
        chosen = [entry for name, entry in kind.columns.items() if name in self.outside or name in self.inside]
        capacity = int(self.counts.max(initial=0)) if kind.count else None
        self.layout = Layout(kind, chosen, packed, capacity=capacity, fills_gaps=False)

    def _take_group(self, group: Any) -> None:
        if self.kind.count is None:
            raise Error(BAD_LAYOUT, f"{self.kind.name} has no repeating group")
        given = _columns(group)
        if "row" not in given:
            raise Error(BAD_LAYOUT, "group= has no column row with the numbers of the messages", "row")
        parents = np.asarray(given["row"].values)
        if parents.dtype.kind not in "iu" or (np.diff(parents) < 0).any() or (
                len(parents) and not 0 <= parents[0] <= parents[-1] < self.rows):
            raise Error(BAD_LAYOUT, f"the column row of group= has to rise from 0 to at most {self.rows - 1}", "row")
        self.inside = _fields(self.kind, given, True)
        self.counts = np.bincount(parents.astype(np.int64), minlength=self.rows)

    def pack(self, target: BinaryIO, envelope: Envelope) -> int:
        room = np.empty(_ROOM + library.MAX_FRAME, np.uint8)
        ends = np.cumsum(self.counts)
        # Records of long groups are large.
        piece = max(1, min(_PIECE, (16 << 20) // max(self.layout.stride, 1)))
        for first in range(0, self.rows, piece):
            rows = slice(first, min(first + piece, self.rows))
            start = int(ends[first - 1]) if first else 0
            records = self._records(rows, slice(start, int(ends[rows.stop - 1])))
            self._pack_records(records, first, room, target, envelope)
        return self.rows

    def _records(self, rows: slice, repetitions: slice) -> np.ndarray:
        counts = self.counts[rows]
        records = self.layout.records(len(counts))
        self._put(records, self.layout.outside, self.outside, rows)
        if self.layout.capacity is not None:
            self.layout.counts(records)[:] = counts
        if self.inside:
            size = self.layout.group.size
            inside = np.zeros((repetitions.stop - repetitions.start, size), np.uint8)
            self._put(inside, self.layout.group, self.inside, repetitions)
            used = np.arange(self.layout.room) < counts[:, None]
            self.layout.inner(records)[used] = inside.view(np.dtype(f"V{size}"))[:, 0]
        return records

    def _put(self, records: np.ndarray, part: Part, values: Mapping[str, Values], rows: slice) -> None:
        if len(records) == 0:
            return
        outer: np.ndarray = np.ndarray(len(records), part.dtype(), records, 0, records.strides[:1])
        for name, column in part.columns.items():
            given = values[name]
            outer[name] = given.members[rows]
            records[:, column.flag] = ~given.missing[rows]

    def _pack_records(self, records: np.ndarray, first: int, room: np.ndarray, target: BinaryIO,
                      envelope: Envelope) -> None:
        length, used, pack, binding = ctypes.c_size_t(), 0, lib.ZELPackRecord, self.layout.binding
        to, sent, out = room.ctypes.data, byref(envelope), byref(length)
        begin, stride = records.ctypes.data, self.layout.stride
        for at in range(begin, begin + len(records) * stride, stride):
            if pack(binding, at, sent, to + used, len(room) - used, out, None) != 0:
                self._refuse(at, first + (at - begin) // stride, envelope, room)
            used += length.value
            if used >= _ROOM:
                target.write(room[:used].data)
                used = 0
        target.write(room[:used].data)

    def _refuse(self, record: int, row: int, envelope: Envelope, room: np.ndarray) -> None:
        failure = Failure()
        result = lib.ZELPackRecord(self.layout.binding, record, byref(envelope), room.ctypes.data, len(room),
                                   byref(ctypes.c_size_t()), byref(failure))
        name = self.layout.field_name(failure.fieldId)
        raise Error(result, f"row {row}: {failure.text.decode(errors='replace')}", name)


# ---- Columns --------------------------------------------------------------------------------------------------------


def _columns(rows: Any) -> Dict[str, Given]:
    if isinstance(rows, np.ndarray):
        if rows.dtype.names is None:
            raise Error(BAD_LAYOUT, f"the rows are an array of {rows.dtype}; expected a structured array")
        rows = {name: rows[name] for name in rows.dtype.names}
    found: Dict[str, Given] = {}
    for name in rows:
        values = rows[name] if hasattr(rows[name], "ndim") else np.asarray(rows[name])
        if values.ndim != 1:
            raise Error(BAD_LAYOUT, f"{name}: has {values.ndim} dimensions; expected one value a row", str(name))
        if isinstance(values, np.ma.MaskedArray):
            mask = np.ma.getmaskarray(values)
            missing = mask[mask.dtype.names[0]] if mask.dtype.names else mask
            found[str(name)] = Given(values.data, missing)
        elif hasattr(values, "isna"):
            missing = values.isna().to_numpy(bool)
            plain = _plain(values, missing)
            found[str(name)] = Given(plain, missing, plain.dtype.kind in "fM")
        else:
            missing = np.array([value is None for value in values.tolist()], bool) if values.dtype == object else None
            found[str(name)] = Given(values, np.zeros(len(values), bool) if missing is None else missing)
    if len({len(column.values) for column in found.values()}) > 1:
        raise Error(BAD_LAYOUT, "the columns have different lengths")
    return found


def _plain(values: Any, missing: np.ndarray) -> np.ndarray:
    """The NumPy array of a pandas column."""
    kind = getattr(values.dtype, "kind", "O")
    if kind in "iub" and missing.any():
        return values.fillna(0).to_numpy(f"{kind if kind != 'b' else 'i'}8")
    plain = values.to_numpy()
    return values.to_numpy(f"{kind}8") if plain.dtype == object and kind in "iu" else plain


def _fields(kind: MessageType, given: Dict[str, Given], in_group: bool) -> Dict[str, Values]:
    """The columns that are fields, as members."""
    found: Dict[str, Values] = {}
    for name in [name[:-len(".amount")] for name in given if name.endswith(".amount")]:
        if name in kind.columns and name + ".code" in given:
            amount, code = given.pop(name + ".amount"), given.pop(name + ".code")
            both = np.zeros(len(amount.values), [("amount", amount.values.dtype), ("code", code.values.dtype)])
            both["amount"], both["code"] = amount.values, code.values
            given[name] = Given(both, amount.missing | code.missing)
    for name, (values, missing, by_value) in given.items():
        entry = kind.columns.get(name)
        if entry is None and name in _PLACES:
            continue
        if entry is None or entry.in_group != in_group:
            where = f"{'in' if entry.in_group else 'outside'} the repeating group" if entry else f"no field of {kind.name}"
            raise Error(BAD_LAYOUT, f"{name}: {where}", name)
        try:
            is_sent = by_value and entry.mandatory
            found[name] = _members(entry.field, values, np.zeros_like(missing) if is_sent else missing)
        except (TypeError, ValueError, OverflowError) as fault:
            raise Error(BAD_LAYOUT, f"{name}: the rows have {values.dtype}; {entry.field.type} takes {fault}",
                        name) from None
    return found


def _members(field: Field, values: np.ndarray, missing: np.ndarray) -> Values:
    kind = values.dtype.kind
    if field.type in ("short", "long", "int"):
        if kind not in "iub" or (kind == "u" and (values > np.iinfo(np.int64).max).any()):
            raise ValueError("whole numbers")
        return Values(values.astype(np.int64), missing)
    if field.type in ("float", "double"):
        if kind not in "iuf":
            raise ValueError("numbers")
        return Values(values.astype(np.float32 if field.type == "float" else np.float64), missing)
    if field.type == "money":
        return Values(_money(values, missing), missing)
    if field.type == "datetime":
        if values.dtype == DATETIME:
            return Values(np.ascontiguousarray(values).view(np.uint64), missing)
        if kind != "M":
            raise ValueError("datetime64, or what dates=\"record\" gives")
        return Values(datetime_records(values), missing)
    return _views(field, values, missing)


def _money(values: np.ndarray, missing: np.ndarray) -> np.ndarray:
    out = np.zeros(len(values), MONEY)
    if values.dtype.names == MONEY.names:
        for name in MONEY.names:
            wide, limits = values[name], np.iinfo(MONEY[name])
            if wide.dtype.kind not in "iu" or ((wide < limits.min) | (wide > limits.max))[~missing].any():
                raise ValueError("an amount of 32 bits and a display code of 16, whole numbers")
            out[name] = wide
        return out
    is_decimal = values.dtype == object and all(isinstance(value, Decimal) or gone
                                                for value, gone in zip(values.tolist(), missing.tolist()))
    if not is_decimal:
        raise ValueError("structs of amount and code, or Decimals; zel.money makes such of numbers")
    for at, value in enumerate(values.tolist()):
        if not missing[at]:
            out[at] = decimal_to_money(value)
    return out


def _views(field: Field, values: np.ndarray, missing: np.ndarray) -> Values:
    """Members that lead into one block of bytes."""
    is_text = field.type in ("text", "chars")
    if values.dtype.names == ("length", "data") and not is_text:
        kept = np.ascontiguousarray(values["data"])
        if kept.ndim != 1 or kept.dtype.kind not in "VS" or kept.dtype.hasobject:
            raise ValueError("data as bytes (V or S), one value a row")
        lengths, starts = values["length"].astype(np.int64), np.arange(len(values)) * kept.dtype.itemsize
        if (lengths > kept.dtype.itemsize).any():
            raise ValueError("lengths within their data")
    elif values.dtype.kind == "S":
        kept = np.ascontiguousarray(values)
        lengths, starts = np.char.str_len(kept), np.arange(len(values)) * kept.dtype.itemsize
    elif values.dtype.kind in "UO":
        texts = [_bytes(value, is_text) if not gone else b"" for value, gone in zip(values.tolist(), missing.tolist())]
        kept = np.frombuffer(b"".join(texts) or b"\0", np.uint8)
        lengths = np.array([len(text) for text in texts], np.int64)
        starts = np.cumsum(lengths) - lengths
    else:
        raise ValueError("bytes or str" if is_text else "bytes, or structs of length and data")
    members = np.zeros(len(values), [("data", np.uintp), ("length", np.uintp)])
    members["data"], members["length"] = kept.ctypes.data + starts, lengths
    return Values(members, missing, kept)


def _bytes(value: Any, is_text: bool) -> bytes:
    if isinstance(value, str) and is_text:
        return value.encode("utf-8", "surrogateescape")
    if isinstance(value, bytes):
        return value
    raise ValueError(f"bytes{' or str' if is_text else ''}, not {type(value).__name__}")
