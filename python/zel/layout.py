"""Layouts: the dtype of records, and the binding by which the library fills and reads such records.

A record has its columns, a byte for each that tells whether its field is there, and for a message with a repeating
group the number of repetitions and room for them.
"""

from __future__ import annotations

import ctypes
import weakref
from ctypes import byref
from dataclasses import dataclass
from typing import Callable, Dict, List, Mapping, Optional, Sequence, Tuple

import numpy as np

from . import library
from .dictionary import Entry, Field, MessageType
from .library import BAD_LAYOUT, CLayout, Error, Group, Member, lib
from .values import MONEY

_POINTER = np.dtype(np.uintp).itemsize
VIEW = np.dtype([("data", np.uintp), ("length", np.uintp)])

# Bytes of a text, until a longer one comes.
FIRST_WIDTH = 8

_EIGHT_FLAGS = np.uint64(0x0101010101010101)

# What a member is, and how it lies in the record.
Slot = Tuple[int, np.dtype]
SlotOf = Callable[[Field], Slot]

_FIXED: Dict[str, Slot] = {
    "short": (library.INT16, np.dtype("<i2")), "long": (library.INT32, np.dtype("<i4")),
    "int": (library.INT32, np.dtype("<i4")), "float": (library.FLOAT, np.dtype("<f4")),
    "double": (library.DOUBLE, np.dtype("<f8")), "money": (library.MONEY, MONEY),
    "datetime": (library.DATETIME, np.dtype("<u8")),
}
_SECONDS: Slot = (library.SECONDS, np.dtype("<M8[s]"))
_VIEW: Slot = (library.VIEW, VIEW)
_WIDE: Slot = (library.INT64, np.dtype("<i8"))


def in_place(widths: Mapping[str, int], has_seconds: bool) -> SlotOf:
    """Slots with texts and bytes in the record, as many bytes of each as `widths` says; dates as seconds, or as they
    travel."""

    def slot(field: Field) -> Slot:
        if field.type == "datetime" and has_seconds:
            return _SECONDS
        if field.type in _FIXED:
            return _FIXED[field.type]
        width = widths.get(field.name, field.length or FIRST_WIDTH)
        if field.type in ("chars", "text"):
            return library.CHARS, np.dtype(f"S{width}")
        return library.BYTES, np.dtype([("length", "<u4"), ("data", f"V{width}")])

    return slot


def viewed(field: Field) -> Slot:
    """Slots with views of texts and bytes."""
    return _FIXED.get(field.type, _VIEW)


def packed(field: Field) -> Slot:
    """The same, with whole numbers of 64 bits, whose range packing checks."""
    return _WIDE if field.type in ("short", "long", "int") else viewed(field)


@dataclass(frozen=True)
class Column:
    """A member: where it lies, and the byte that tells whether its field is there."""

    field: Field
    kind: int
    dtype: np.dtype
    offset: int
    flag: int


class Part:
    """The members of a record outside its group, or of one repetition.

    Mandatory fields that are no columns need members, too: they share a place after the columns that nobody reads.
    """

    def __init__(self, entries: Sequence[Entry], hidden: Sequence[Entry], slot_of: SlotOf, has_flags: bool) -> None:
        slots = [(entry.field, *slot_of(entry.field)) for entry in entries]
        offsets, at = {}, 0
        # Wide numbers before texts, where the processor likes them.
        order = (library.INT16, library.INT32, library.CHARS, library.BYTES)
        for field, kind, dtype in sorted(slots, key=lambda slot: order.index(slot[1]) if slot[1] in order else -1):
            align = 8 if dtype.itemsize % 8 == 0 else dtype.alignment
            at = -(-at // align) * align
            offsets[field.name] = at
            at += dtype.itemsize
        at = -(-at // 8) * 8
        self.flags = at
        self.has_flags = has_flags
        self.columns: Dict[str, Column] = {}
        for field, kind, dtype in slots:
            self.columns[field.name] = Column(field, kind, dtype, offsets[field.name],
                                              at if has_flags else library.NOWHERE)
            # As many as a mask of the column has.
            at += len(dtype.names or "1") if has_flags else 0
        self.hidden = -(-at // 8) * 8
        self._hidden_entries = hidden
        self.size = self.hidden + (VIEW.itemsize if hidden else 0)

    def dtype(self, formats: Optional[Mapping[str, np.dtype]] = None) -> np.dtype:
        """Of the columns as they lie; `formats` has those that are looked at as something else of the same size."""
        return np.dtype({"names": list(self.columns), "offsets": [each.offset for each in self.columns.values()],
                         "formats": [(formats or {}).get(name, each.dtype) for name, each in self.columns.items()],
                         "itemsize": self.size})

    def members(self) -> "ctypes.Array[Member]":
        given = [_member(each.field, each.kind, each.dtype, each.offset, each.flag) for each in self.columns.values()]
        for entry in self._hidden_entries:
            kind, dtype = viewed(entry.field)
            given.append(_member(entry.field, kind, dtype, self.hidden, library.NOWHERE))
        return (Member * len(given))(*given)


def _member(field: Field, kind: int, dtype: np.dtype, offset: int, flag: int) -> Member:
    size, start, length = dtype.itemsize, offset, 0
    if kind == library.BYTES:
        start, length, size = offset + 4, offset, size - 4
    elif kind == library.VIEW:
        length = offset + _POINTER
    return Member(None, field.id, kind, start, size, length, flag)


class Layout:
    """A layout of one message and its binding, made against the dictionary that the library serves.

    Args:
        columns: of the message outside its group, and of the group.
        capacity: repetitions that a record has room for; None: they are passed over and not counted.
        fills_gaps: for reading: mandatory fields need no column.

    Raises:
        Error: 2001 with every disagreement between columns and dictionary; 1415, 1416.
    """

    def __init__(self, message: MessageType, columns: Sequence[Entry], slot_of: SlotOf, *,
                 capacity: Optional[int] = None, has_flags: bool = True, fills_gaps: bool = True) -> None:
        chosen = {entry.field.name for entry in columns}

        def part(in_group: bool) -> Part:
            hidden = [entry for entry in message.columns.values()
                      if fills_gaps and entry.mandatory and entry.in_group == in_group and entry.field.name not in chosen]
            return Part([entry for entry in columns if entry.in_group == in_group], hidden, slot_of, has_flags)

        self.message = message
        self.outside = part(False)
        self.group = part(True)
        self.capacity = capacity
        # Repetitions without members take no room, however many there are.
        self.room = 32767 if capacity is not None and self.group.size == 0 else capacity or 0
        self.count = self.outside.size
        self.repetitions = self.count + (8 if capacity is not None else 0)
        self.stride = max(-(-(self.repetitions + self.room * self.group.size) // 8) * 8, 8)
        self.binding = self._bind()

    def _bind(self) -> ctypes.c_void_p:
        outside, inside = self.outside.members(), self.group.members()
        group = Group(self.repetitions, self.group.size, self.room, self.count, inside, len(inside))
        layout = CLayout(self.message.type, self.message.sub_type, self.stride, outside, len(outside),
                         ctypes.pointer(group) if self.capacity is not None else None)
        binding = ctypes.c_void_p()
        text = ctypes.create_string_buffer(1 << 16)
        result = lib.ZELBind(byref(layout), byref(binding), text, len(text))
        if result != 0:
            raise Error(result, text.value.decode(errors="replace").strip() or f"{self.message.name} cannot be bound")
        weakref.finalize(self, lib.ZELFreeBinding, binding)
        return binding

    def records(self, count: int) -> np.ndarray:
        """Records, as rows of bytes."""
        # What lies after the bytes of a value is not written.
        kinds = {column.kind for part in (self.outside, self.group) for column in part.columns.values()}
        return (np.zeros if library.BYTES in kinds else np.empty)((count, self.stride), np.uint8)

    def counts(self, records: np.ndarray) -> np.ndarray:
        """The number of repetitions of each."""
        return _column(records, self.count, np.dtype("<u4"))

    def outer(self, records: np.ndarray, dtype: Optional[np.dtype] = None) -> np.ndarray:
        return _column(records, 0, dtype or self.outside.dtype())

    def inner(self, records: np.ndarray) -> np.ndarray:
        """The repetitions of each, in use or not, as rows of blocks: copies of structs lose what lies between."""
        block = np.dtype(f"V{self.group.size}")
        if len(records) == 0 or self.group.size == 0:
            return np.zeros((len(records), self.room), block)
        return np.ndarray((len(records), self.room), block, records, self.repetitions, (self.stride, self.group.size))

    def field_name(self, number: int) -> Optional[str]:
        names = (entry.field.name for entry in self.message.entries if entry.field.id == number)
        return next(names, None)


def _column(records: np.ndarray, offset: int, dtype: np.dtype) -> np.ndarray:
    if len(records) == 0:
        return np.zeros(0, dtype)
    return np.ndarray(len(records), dtype, records, offset, records.strides[:1])


def mark_missing(records: np.ndarray, part: Part) -> None:
    """Turns the flags of fields that are there into a mask of those that are not, with two bytes for a struct."""
    for column in part.columns.values():
        if column.dtype.names:
            records[:, column.flag + 1] = records[:, column.flag]
    for at in range(part.flags, part.hidden, 8):
        eight = _column(records, at, np.dtype(np.uint64))
        eight ^= _EIGHT_FLAGS


def mask_in(records: np.ndarray, part: Part, dtype: np.dtype) -> np.ndarray:
    """The mask where it lies: one bool for each column, in their order, and two for structs."""
    return _column(records, part.flags, dtype)


def choose(message: MessageType, names: Optional[Sequence[str]], in_group: bool) -> List[Entry]:
    """The entries of these columns: without names all outside the group, or all of the group.

    Raises:
        Error: 2001 with the names that the message does not have.
    """
    columns = message.columns
    if names is None:
        return [entry for entry in columns.values() if entry.in_group == in_group]
    wrong = [name for name in names if name not in columns]
    if wrong:
        raise Error(BAD_LAYOUT, f"{message.name} has no field {', '.join(map(repr, wrong))}", str(wrong[0]))
    entries = [columns[name] for name in dict.fromkeys(names)]
    inside = [entry.field.name for entry in entries if entry.in_group]
    if inside and not in_group:
        raise Error(BAD_LAYOUT, f"{', '.join(inside)}: in the repeating group; ask for it by group=", inside[0])
    return entries
