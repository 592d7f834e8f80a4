"""Reading one type of message: captures to structured arrays, and to columns, of which data frames are made."""

from __future__ import annotations

from ctypes import byref
from typing import Any, Dict, Iterator, List, Mapping, NamedTuple, Optional, Sequence, Tuple, Union

import numpy as np

from . import library
from .dictionary import Dictionary, Field, MessageType
from .layout import FIRST_WIDTH, VIEW, Layout, Part, choose, in_place, mark_missing, mask_in, viewed
from .library import BAD_LAYOUT, CRun, Error, Failure, Reading, lib, using
from .source import Capture, Source
from .values import DATETIME, money_to_decimal, money_to_float

# Records that are filled by one call: what is done with them next should find them near the processor.
_BATCH = 2048
# Bytes of records that are looked at before they become columns.
_PIECE = 4 << 20
# For views of compressed messages.
_SCRATCH = 1 << 20
# Messages of which the longest texts are looked for at once.
_LOOK_AHEAD = 256
# Repetitions, until more come; and the bytes of them that a record has at most. A message with more than those is read
# on its own: one in a capture must not make all records large.
_FIRST_CAPACITY = 8
_MOST_GROUP = 1 << 15
_ALL_REPETITIONS = 32767

Message = Union[str, Tuple[int, int]]


class Forms(NamedTuple):
    """What values become."""

    money: str = "record"
    texts: str = "bytes"
    dates: str = "datetime64"

    def check(self) -> "Forms":
        for name, choices in (("money", ("record", "float", "decimal")), ("texts", ("bytes", "str")),
                              ("dates", ("datetime64", "record"))):
            if getattr(self, name) not in choices:
                raise ValueError(f"{name}={getattr(self, name)!r}; expected one of {', '.join(choices)}")
        return self


class Run:
    """Reads the messages of one type from a capture into records.

    Attributes:
        layout: of the records. It changes when a text, or a group, comes that has no room in it.
        bad: what is wrong with the messages left out.
    """

    def __init__(self, capture: Capture, message: MessageType, columns: Sequence[Any], has_group: bool, forms: Forms,
                 errors: str, width: Optional[int], has_flags: bool) -> None:
        if errors not in ("raise", "skip", "collect"):
            raise ValueError(f"errors={errors!r}; expected one of raise, skip, collect")
        if width is not None and (not isinstance(width, int) or width < 1):
            raise ValueError(f"width={width!r}; expected bytes, from 1 on, or None")
        self.capture, self.message, self.errors, self.forms = capture, message, errors, forms
        self.bad: List[Error] = []
        self._columns, self._most, self._has_flags = columns, width, has_flags
        self._widths: Dict[str, int] = {}
        self._capacity = _FIRST_CAPACITY if has_group else None
        self._is_large = False
        self._at = 0
        self._scratch = np.empty(_SCRATCH, np.uint8)
        self._offsets = np.empty(_BATCH, np.uint64)
        self._run = CRun(scratch=self._scratch.ctypes.data, scratchSize=_SCRATCH, offsets=self._offsets.ctypes.data,
                         stopAtBad=1)
        self._bind()

    def _bind(self) -> None:
        capacity = _ALL_REPETITIONS if self._is_large else self._capacity
        self.layout = Layout(self.message, self._columns, in_place(self._widths, self.forms.dates == "datetime64"),
                             capacity=capacity, has_flags=self._has_flags)

    @property
    def is_done(self) -> bool:
        return self._at >= self.capture.size

    def rows_left(self, read: int) -> int:
        """A guess: those that are left are as long as those read."""
        return int((self.capture.size - self._at) * (read / max(self._at, 1)) * 1.02) + 64

    def fill(self, records: np.ndarray, offsets: np.ndarray) -> int:
        """Fills records of the layout, and the offset of each message; returns how many.

        Fewer than there are when the capture is done, or the layout has changed.
        """
        layout, run, filled = self.layout, self._run, 0
        while filled < len(records) and not self.is_done and layout is self.layout:
            room = 1 if self._is_large else min(len(records) - filled, _BATCH)
            result = lib.ZELUnpackRun(layout.binding, self.capture.address + self._at, self.capture.size - self._at,
                                      records.ctypes.data + filled * layout.stride, layout.stride, room, byref(run))
            done = slice(filled, filled + run.read)
            offsets[done] = self._offsets[:run.read]
            offsets[done] += np.uint64(self._at + self.capture.start)
            if self._has_flags and run.read:
                # As long as the records are near the processor.
                mark_missing(records[done], layout.outside)
            filled += run.read
            self._at += run.used
            if result != 0 and not (result == library.NO_SCRATCH and run.read > 0):
                self._pass_bad()
            elif self._is_large and run.read:
                self._is_large = False
                self._bind()
        return filled

    def _pass_bad(self) -> None:
        """Makes room for the message that is next, or leaves it out."""
        failure = Failure()
        reading = Reading(scratch=self._scratch.ctypes.data, scratchSize=_SCRATCH)
        record = self.layout.records(1)
        result = lib.ZELUnpackRecord(self.layout.binding, self.capture.address + self._at,
                                     self.capture.size - self._at, record.ctypes.data, byref(reading), byref(failure))
        name = self.layout.field_name(failure.fieldId)
        if result == library.TOO_MANY and not self._is_large:
            self._is_large = 2 * self.layout.room * self.layout.group.size > _MOST_GROUP
            self._capacity = self._capacity if self._is_large else 2 * self.layout.room
            return self._bind()
        if result == library.TEXT_TOO_LONG and name is not None and self._widen(name):
            return self._bind()
        text = "" if result in (library.INCOMPLETE, library.NO_FRAME) else failure.text.decode(errors="replace")
        fault = Error(result, text, name, self._at + self.capture.start, self.capture.name)
        if self.errors == "raise":
            raise fault
        self.bad.append(fault)
        self._at = self._at + reading.used if reading.used else self.capture.size
        return None

    def _widen(self, name: str) -> bool:
        """Makes room for the texts of the message that is next: False when one may not be as long."""
        needed = self._lengths()
        needed[name] = max(needed.get(name, 0), self._width(name) + 1)
        most = self._most or 65535
        for each, length in needed.items():
            width = self._width(each)
            while width < min(length, most):
                width = width + 8 if width < 32 else width * 3 // 16 * 8
            self._widths[each] = min(width, most) if width > self._width(each) else self._width(each)
        return needed[name] <= most

    def _width(self, name: str) -> int:
        return self._widths.get(name, self.message.columns[name].field.length or FIRST_WIDTH)

    def _lengths(self) -> Dict[str, int]:
        """The longest of each text outside the group in the messages that are next."""
        texts = [each for each in self._columns if not each.in_group and viewed(each.field)[1] == VIEW]
        views = Layout(self.message, texts, viewed, has_flags=False)
        records = views.records(_LOOK_AHEAD)
        run = CRun(scratch=self._scratch.ctypes.data, scratchSize=_SCRATCH)
        lib.ZELUnpackRun(views.binding, self.capture.address + self._at, self.capture.size - self._at,
                         records.ctypes.data, views.stride, _LOOK_AHEAD, byref(run))
        found = views.outer(records[:run.read])
        return {name: int(found[name]["length"].max(initial=0)) for name in views.outside.columns}


# ---- Arrays ---------------------------------------------------------------------------------------------------------


def read(source: Source, message: Message, fields: Optional[Sequence[str]] = None, group: Optional[str] = None, *,
         money: str = "record", texts: str = "bytes", dates: str = "datetime64", mask: bool = True,
         offset: bool = False, errors: str = "raise", width: Optional[int] = None,
         dictionary: Optional[Dictionary] = None) -> Any:
    """The messages of one type as a structured array: one row a message, or one a repetition of the group.

    Args:
        source: path, bytes, memory map or open binary stream with frames back to back.
        message: name, or (type, sub-type). Messages of other types are passed over.
        fields: columns wanted, by name; None: all outside the group, or with `group` all of the group.
        group: name of the field that counts the repetitions: one row a repetition, with a column `row`, the number of
            its message from 0 (the row of that message without `group`). Fields outside the group are repeated.
        money: "record" (fields amount, int32, and code, the display code), "float" (float64), "decimal" (objects).
        texts: "bytes" (S), "str" (U; bytes that are no UTF-8 become surrogates). NumPy drops zero bytes at the end.
        dates: "datetime64" (seconds; times alone on 1970-01-01; NaT for what is none), "record" (as they travel).
        mask: unset fields are masked, and the array is a numpy.ma.MaskedArray. False: an ndarray in which they are 0,
            empty or NaT; this is the fastest.
        offset: adds a column `offset`, the place of the message in the source in bytes.
        errors: "raise" at the first message that cannot be read, "skip" such, or "collect": returns the array and a
            list of `Error`.
        width: most bytes of a text; a message with a longer one cannot be read (2003). None: as long as the longest,
            in every row.
        dictionary: None: that of `zel.use`.

    Returns:
        An array of shape (rows,), or a tuple of it and the errors. short is int16, long and int int32, float float32,
        double float64, chars and text S, bytes a struct of length and data (V), the count field uint32.

    Raises:
        Error: see `errors`; 2001, no such message or field; 2006, the source ends within a frame.
    """
    forms = Forms(money, texts, dates).check()
    with using(dictionary) as served:
        kind = served[message]
        run = _start(source, kind, fields, group, forms, errors, width, mask)
        count = _count_column(kind, fields, group)
        if run.layout.group.size == 0 and texts == "bytes" and money != "decimal":
            rows = _read_records(run, count, mask, offset)
        else:
            rows = _structured(list(pieces(run, group, count, offset)), run, group, count, mask, offset)
    return (rows, run.bad) if errors == "collect" else rows


def _start(source: Source, kind: MessageType, fields: Optional[Sequence[str]], group: Optional[str], forms: Forms,
           errors: str, width: Optional[int], mask: bool, **place: Any) -> Run:
    if group is not None and (kind.count is None or group != kind.count.name):
        other = f"; {kind.count.name} counts one" if kind.count else ""
        raise Error(BAD_LAYOUT, f"{kind.name} has no group that {group} counts{other}", group)
    count = _count_column(kind, fields, group)
    names = fields if fields is None else [name for name in fields if name != count]
    has_group = group is not None or count is not None
    return Run(Capture(source, **place), kind, choose(kind, names, group is not None), has_group, forms, errors, width,
               mask)


def _count_column(kind: MessageType, fields: Optional[Sequence[str]], group: Optional[str]) -> Optional[str]:
    """The column that has the numbers of repetitions, if there is one."""
    if kind.count is None or (group is not None if fields is None else kind.count.name not in fields):
        return None
    return kind.count.name


def _extra(run: Run, names: Sequence[str]) -> None:
    for name in names:
        if name in run.message.columns:
            raise Error(BAD_LAYOUT, f"{run.message.name} has a field of its own called {name}", name)


def _read_records(run: Run, count: Optional[str], mask: bool, offset: bool) -> np.ndarray:
    """All records in one block, which then is the array: what the library has filled is not copied."""
    _extra(run, ["offset"] if offset else [])
    layout, filled = run.layout, 0
    records = layout.records(0)
    offsets = np.zeros(0, np.uint64)
    while not run.is_done:
        if layout is not run.layout:
            records = _moved(records[:filled], layout, run.layout, len(records))
            layout = run.layout
        if filled == len(records):
            room = filled + (max(run.rows_left(filled), filled // 4, _BATCH) if filled else _BATCH)
            records = _copied(records, layout.records(room))
            offsets = _copied(offsets, np.empty(room, np.uint64))
        filled += run.fill(records[filled:], offsets[filled:])
    if layout is not run.layout:
        records = _moved(records[:filled], layout, run.layout, filled)
    records = records[:filled]
    formats = {name: _looked_at(each.field, run.forms) or each.dtype
               for name, each in run.layout.outside.columns.items()}
    for name, each in run.layout.outside.columns.items():
        if each.field.type == "money" and run.forms.money == "float":
            place = records[:, each.offset:each.offset + 8]
            place[:] = money_to_float(run.layout.outer(records)[name]).view(np.uint8).reshape(-1, 8)
    names, places = list(formats), [each.offset for each in run.layout.outside.columns.values()]
    if count is not None:
        listed = [entry.field.name for entry in run.message.entries]
        before = sum(listed.index(name) < listed.index(count) for name in names)
        names.insert(before, count)
        places.insert(before, run.layout.count)
        formats[count] = np.dtype("<u4")
    dtype = np.dtype({"names": names, "formats": [formats[name] for name in names], "offsets": places,
                      "itemsize": run.layout.stride})
    rows = run.layout.outer(records, dtype)
    if offset:
        rows = _with_column(rows, "offset", offsets[:filled])
    if not mask:
        return rows
    part = run.layout.outside
    if {name: rows.dtype[name].names for name in rows.dtype.names or ()} == {
            name: each.dtype.names for name, each in part.columns.items()}:
        return _masked(rows, mask_in(records, part, np.ma.make_mask_descr(rows.dtype)))
    return _masked(rows, _mask_of(rows, _absent(records, part)))


def _looked_at(field: Field, forms: Forms) -> Optional[np.dtype]:
    if field.type == "datetime" and forms.dates == "record":
        return DATETIME
    if field.type == "money" and forms.money == "float":
        return np.dtype("<f8")
    return None


def _copied(array: np.ndarray, longer: np.ndarray) -> np.ndarray:
    longer[:len(array)] = array
    return longer


def _moved(records: np.ndarray, old: Layout, new: Layout, size: int) -> np.ndarray:
    """Records of a layout in one with wider texts."""
    out = new.records(max(size, len(records)))
    head = out[:len(records)]
    source, target = old.outer(records), new.outer(head)
    for name in old.outside.columns:
        target[name] = source[name]
    head[:, new.outside.flags:new.outside.hidden] = records[:, old.outside.flags:old.outside.hidden][
        :, :new.outside.hidden - new.outside.flags]
    if old.capacity is not None:
        new.counts(head)[:] = old.counts(records)
    return out


def _with_column(rows: np.ndarray, name: str, values: np.ndarray) -> np.ndarray:
    out = np.zeros(len(rows), [(name, values.dtype), *((each, rows.dtype[each]) for each in rows.dtype.names)])
    out[name] = values
    for each in rows.dtype.names:
        out[each] = rows[each]
    return out


def _mask_of(rows: np.ndarray, columns: Mapping[str, Optional[np.ndarray]]) -> np.ndarray:
    """The mask of rows of which some columns have bools for what is missing."""
    mask = np.zeros(len(rows), np.ma.make_mask_descr(rows.dtype))
    for name, gone in columns.items():
        if gone is not None:
            mask[name] = gone  # of a struct all members
    return mask


def _masked(rows: np.ndarray, mask: np.ndarray) -> np.ma.MaskedArray:
    return np.ma.MaskedArray(rows, mask, copy=False, keep_mask=False) if rows.dtype.names else np.ma.MaskedArray(rows)


# ---- Columns --------------------------------------------------------------------------------------------------------


class Piece(NamedTuple):
    """Some rows, column by column: the values, and which of them are missing or None. `rows` of them."""

    rows: int
    columns: Dict[str, Tuple[np.ndarray, Optional[np.ndarray]]]


def pieces(run: Run, group: Optional[str], count: Optional[str], offset: bool) -> Iterator[Piece]:
    """The rows of a run in pieces of bounded size; at least one, which may be empty."""
    _extra(run, [*(["offset"] if offset else []), *(["row"] if group else [])])
    first, layout, records = 0, None, np.zeros((0, 0), np.uint8)
    while True:
        if layout is not run.layout:
            layout = run.layout
            records = layout.records(max(_PIECE // layout.stride, 1))
            offsets = np.zeros(len(records), np.uint64)
        filled = run.fill(records, offsets)
        if filled or (run.is_done and first == 0):
            yield _piece(run.forms, layout, records[:filled], offsets[:filled], first, group, count, offset)
            first += filled
        if run.is_done:
            return
        records[:] = 0


def _piece(forms: Forms, layout: Layout, records: np.ndarray, offsets: np.ndarray, first: int, group: Optional[str],
           count: Optional[str], offset: bool) -> Piece:
    columns: Dict[str, Tuple[np.ndarray, Optional[np.ndarray]]] = {}
    parents: Any = slice(None)
    rows = len(records)
    if group:
        used = np.arange(layout.room) < layout.counts(records)[:, None]
        parents = np.nonzero(used)[0]
        rows = len(parents)
        columns["row"] = (parents + first, None)
    if offset:
        columns["offset"] = (offsets[parents].copy(), None)
    outside = layout.outer(records)
    gone = _absent(records, layout.outside)
    found = {name: (form(outside[name][parents], each.field, forms), gone[name][parents])
             for name, each in layout.outside.columns.items()}
    if count is not None:
        found[count] = (layout.counts(records)[parents].copy(), None)
    if group:
        inside = layout.inner(records)[used]
        repetitions = inside.view(np.uint8).reshape(rows, layout.group.size)
        if layout.group.has_flags:
            mark_missing(repetitions, layout.group)
        gone = _absent(repetitions, layout.group)
        inside = inside.view(layout.group.dtype())
        for name, each in layout.group.columns.items():
            found[name] = (form(inside[name], each.field, forms), gone[name])
    for entry in layout.message.entries:
        if entry.field.name in found:
            columns.setdefault(entry.field.name, found[entry.field.name])
    return Piece(rows, columns)


def _absent(records: np.ndarray, part: Part) -> Dict[str, np.ndarray]:
    """Of each column, bools: its field is not there."""
    if not part.has_flags:
        return dict.fromkeys(part.columns, np.zeros(len(records), bool))
    return {name: records[:, column.flag].astype(bool) for name, column in part.columns.items()}


def form(values: np.ndarray, field: Field, forms: Forms) -> np.ndarray:
    """A column of records in the form that is wanted."""
    values = np.array(values)  # the records are filled again
    if field.type == "datetime" and forms.dates == "record":
        return values.view(DATETIME)
    if field.type == "money" and forms.money != "record":
        return money_to_float(values) if forms.money == "float" else money_to_decimal(values)
    if field.type in ("text", "chars") and forms.texts == "str":
        return decoded(values)
    return values


def decoded(values: np.ndarray) -> np.ndarray:
    try:
        return values.astype(np.dtype(f"U{values.dtype.itemsize}"))
    except UnicodeDecodeError:
        return np.char.decode(values, "utf-8", "surrogateescape")


def joined(parts: Sequence[np.ndarray]) -> np.ndarray:
    """One column of the same column of several pieces."""
    if parts[0].dtype.names != ("length", "data"):
        return np.concatenate(parts)
    widest = max((part.dtype for part in parts), key=lambda dtype: dtype.itemsize)
    out = np.zeros(sum(map(len, parts)), widest)
    at = 0
    for part in parts:
        out[at:at + len(part)] = part
        at += len(part)
    return out


def _structured(found: List[Piece], run: Run, group: Optional[str], count: Optional[str], mask: bool,
                offset: bool) -> np.ndarray:
    names = list(found[0].columns)
    columns = {name: joined([piece.columns[name][0] for piece in found]) for name in names}
    rows = np.zeros(sum(piece.rows for piece in found), [(name, columns[name].dtype) for name in names])
    for name in names:
        rows[name] = columns[name]
    if not mask:
        return rows
    missing = {name: [piece.columns[name][1] for piece in found] for name in names}
    return _masked(rows, _mask_of(rows, {name: None if parts[0] is None else np.concatenate(parts)
                                         for name, parts in missing.items()}))
