"""Messages of all types, one at a time: as objects, and in the form of `zel decode --json`."""

from __future__ import annotations

import ctypes
import functools
import struct
from ctypes import byref
from typing import Any, Callable, Dict, Iterator, List, Mapping, NamedTuple, Optional, Tuple


from . import library
from .dictionary import Dictionary, Field, MessageType
from .layout import Column, Layout, Part, packed, viewed
from .library import Envelope, Error, Failure, Reading, lib, using
from .source import Capture, Source
from .values import (DateTime, Money, NaN, bytes_of_json, datetime_of_json, hex_digits, money_of_json, real_json,
                     real_of_json, text_json)

# Messages and repetitions, about, that are made while the dictionary is held: a message of 60 bytes may have 32767.
_BATCH = 256

_FRAMES = ("long", "short", "none")

# Ids and numbers of the header's first two fields: flags, then type and sub-type.
_HEAD = struct.Struct(">HHHhh")


class Message:
    """A message.

    Attributes:
        name, type, sub_type: of the message.
        offset: in bytes from the start of the source.
        size: in bytes, frame included.
        fields: value of each field that is there, by name, as they travel: int, float, str (bytes, when they are not
            UTF-8), bytes, `Money`, `DateTime`. The count of the repetitions is among them.
        group: a dict like `fields` for each repetition.
        header: what travels beside the fields, as in the JSON of the command.

    `message["SYMBOL"]` is a field's value; `get` returns None for one that is not there.
    """

    __slots__ = ("name", "type", "sub_type", "offset", "size", "fields", "group", "header", "_kind")

    def __init__(self, kind: MessageType, offset: int, size: int, fields: Dict[str, Any], group: List[Dict[str, Any]],
                 header: Dict[str, Any]) -> None:
        self.name, self.type, self.sub_type = kind.name, kind.type, kind.sub_type
        self.offset, self.size = offset, size
        self.fields, self.group, self.header = fields, group, header
        self._kind = kind

    def __getitem__(self, name: str) -> Any:
        return self.fields[name]

    def get(self, name: str, otherwise: Any = None) -> Any:
        return self.fields.get(name, otherwise)

    def __repr__(self) -> str:
        return f"<{self.name} at offset {self.offset}: {self.fields}{f', {self.group}' if self.group else ''}>"

    def json(self) -> Dict[str, Any]:
        """The message as `zel decode --json` writes it, parsed."""
        columns = self._kind.columns
        count = self._kind.count.name if self._kind.count else None

        def values(given: Mapping[str, Any]) -> Dict[str, Any]:
            return {name: value if name == count or name not in columns else _json(columns[name].field, value)
                    for name, value in given.items()}

        found: Dict[str, Any] = {"offset": self.offset, "frame": self.header["frame"]}
        if self.name:
            found["name"] = self.name
        found.update(type=self.type, subType=self.sub_type)
        found.update(self.header)
        found["fields"] = values(self.fields)
        if self.group:
            found["group"] = [values(each) for each in self.group]
        return found


def _json(field: Field, value: Any) -> Any:
    if isinstance(value, (Money, DateTime, NaN)):
        return value.json()
    if field.type in ("float", "double"):
        return real_json(field.type, struct.pack(">f" if field.type == "float" else ">d", value))
    if isinstance(value, bytes):
        return value.hex() if field.type in ("bytes10", "bytes11") else text_json(value)
    return value


# ---- In -------------------------------------------------------------------------------------------------------------


def messages(source: Source, errors: str = "raise", dictionary: Optional[Dictionary] = None) -> Iterator[Any]:
    """All messages of a source, one after the other.

    Args:
        source: path, bytes, memory map or open binary stream with frames back to back.
        errors: "raise" at the first message that cannot be read, "skip" such, or "collect": the `Error` comes in place
            of the message.
        dictionary: None: that of `zel.use`.

    Yields:
        `Message`.

    Raises:
        Error: also where the source ends within a frame (2006) or has bytes that are none (2007).
    """
    if errors not in ("raise", "skip", "collect"):
        raise ValueError(f"errors={errors!r}; expected one of raise, skip, collect")
    with using(dictionary) as served:
        reader = _Reader(served, Capture(source))
    while reader.at < reader.capture.size:
        with using(served):
            found: List[Any] = []
            room = _BATCH
            while room > 0 and reader.at < reader.capture.size:
                found.append(reader.next())
                room -= 1 + len(getattr(found[-1], "group", ()))
        for each in found:
            if isinstance(each, Message) or errors == "collect":
                yield each
            elif errors == "raise":
                raise each


def decode(message: bytes, framed: bool = True, dictionary: Optional[Dictionary] = None) -> Dict[str, Any]:
    """One message in the form of `zel decode --json` (docs/tools.md): its parsed line.

    What records do not tell is not in it: `order`, and second values of fields that a message lists twice. The markers
    of a group are counted from 1.

    Args:
        message: its bytes, and none after them; no path.
        framed: False: the message has no frame.

    Raises:
        Error: the message cannot be read, or more bytes follow (1001).
    """
    with using(dictionary) as served:
        reader = _Reader(served, Capture(memoryview(message)))
        found = reader.next(framed) if len(message) or not framed else Error(library.INCOMPLETE, offset=0)
    if isinstance(found, Error):
        raise found
    if found.size != len(message):
        raise Error(1001, f"{len(message) - found.size} bytes follow the message", offset=found.size)
    return found.json()


class Frame(NamedTuple):
    """Where a frame lies in its capture, and what its header says the message is; None: it has no readable header."""

    at: int
    size: int
    kind: Optional[Tuple[int, int]]


def frame_at(capture: Capture, at: int, framed: bool = True) -> Frame:
    """The frame at an offset into the capture.

    Raises:
        Error: 2006, 2007.
    """
    left = capture.size - at
    size, head = left, 0
    if framed:
        found = ctypes.c_size_t()
        result = lib.ZELFindFrame(capture.address + at, left, byref(found))
        if result != 0:
            raise Error(result, "", None, at + capture.start, capture.name)
        size, head = found.value, 6 if capture.view[at + 1] >> 4 == 3 else 4
    if size < head + _HEAD.size:
        return Frame(at, size, None)
    _, _, _, kind, sub_type = _HEAD.unpack_from(capture.view, at + head)
    return Frame(at, size, (kind, sub_type))


class _Reader:
    """Goes through a capture message by message."""

    def __init__(self, dictionary: Dictionary, capture: Capture) -> None:
        self.capture = capture
        self.at = 0
        self._dictionary = dictionary
        self._scratch = ctypes.create_string_buffer(library.SCRATCH_SIZE)
        self._openers: Dict[Tuple[int, int], _Opener] = {}

    def next(self, framed: bool = True) -> Any:
        """The next message, or the Error that comes in its place."""
        at = self.at
        try:
            frame = frame_at(self.capture, at, framed)
        except Error as fault:
            self.at = self.capture.size
            return fault
        self.at += frame.size
        # A message of no known type is refused by whatever binding: so its report has one statement.
        kind = frame.kind if frame.kind in self._dictionary._by_number else next(iter(self._dictionary._by_number))
        opener = self._openers.get(kind)
        if opener is None:
            opener = self._openers[kind] = _Opener(self._dictionary[kind])
        return opener.open(self.capture, frame, framed, self._scratch)


class _Opener:
    """Makes messages of one type."""

    def __init__(self, kind: MessageType, capacity: int = 16) -> None:
        self.kind = kind
        self.envelope = Envelope()
        self.layout = Layout(kind, list(kind.columns.values()), viewed, capacity=capacity if kind.count else None)
        self.record = ctypes.create_string_buffer(self.layout.stride)
        self._outside = _plan(kind, self.layout.outside, False)
        self._inside = _plan(kind, self.layout.group, True)

    def open(self, capture: Capture, frame: Frame, framed: bool, scratch: Any) -> Any:
        failure = Failure()
        reading = Reading(scratch=ctypes.addressof(scratch), scratchSize=len(scratch),
                          envelope=ctypes.pointer(self.envelope))
        unpack = lib.ZELUnpackRecord if framed else lib.ZELUnpackRecordNoFrame
        result = unpack(self.layout.binding, capture.address + frame.at, frame.size, self.record, byref(reading),
                        byref(failure))
        if result == library.TOO_MANY and self.layout.room < 32767:
            self.__init__(self.kind, min(4 * self.layout.room, 32767))  # type: ignore[misc]
            return self.open(capture, frame, framed, scratch)
        if result != 0:
            return Error(result, failure.text.decode(errors="replace"), self.layout.field_name(failure.fieldId),
                         frame.at + capture.start, capture.name)
        count = struct.unpack_from("<I", self.record, self.layout.count)[0] if self.kind.count else None
        fields = self._values(self._outside, 0, count)
        group = [self._values(self._inside, self.layout.repetitions + number * self.layout.group.size, number + 1)
                 for number in range(count or 0)]
        return Message(self.kind, frame.at + capture.start, frame.size, fields, group, self._header())

    def _values(self, plan: List["_Step"], base: int, number: Optional[int]) -> Dict[str, Any]:
        record = self.record
        return {name: number if take is None else take(record, base + offset)
                for name, offset, flag, take in plan if flag < 0 or record[base + flag] != b"\0"}

    def _header(self) -> Dict[str, Any]:
        sent = self.envelope
        found: Dict[str, Any] = {
            "frame": _FRAMES[sent.frameKind],
            "serviceId": [sent.serviceIdHigh & 0xFFFF, sent.serviceIdLow & 0xFFFF],
            "messageId": [sent.msgIdSeq, sent.msgIdPart2, sent.msgIdPart3],
        }
        if sent.varUserData is None:
            found["userData"] = sent.userData
        else:
            found["varUserData"] = ctypes.string_at(sent.varUserData, sent.varUserDataLength).hex()
        found.update(format=sent.format, version=sent.version, packFlags=sent.packFlags, encryptFlag=sent.encryptFlag)
        return found


# Name, offset, offset of the flag or -1, and what takes the value from there; None: a number that is counted.
_Step = Tuple[str, int, int, Optional[Callable[[Any, int], Any]]]


def _plan(kind: MessageType, part: Part, in_group: bool) -> List[_Step]:
    steps: Dict[str, _Step] = {}
    for entry in kind.entries:
        name = entry.field.name
        if entry.in_group != in_group or name in steps:
            continue
        if name in part.columns:
            column = part.columns[name]
            steps[name] = (name, column.offset, column.flag, _taker(column))
        elif name not in kind.columns:
            steps[name] = (name, 0, -1, None)
    return list(steps.values())


def _taker(column: Column) -> Callable[[Any, int], Any]:
    kind = column.field.type
    simple = {"short": "<h", "long": "<i", "int": "<i", "double": "<d", "float": "<f"}.get(kind)
    if simple:
        one, size = struct.Struct(simple).unpack_from, struct.calcsize(simple)

        def take_number(record: Any, at: int) -> Any:
            (value,) = one(record, at)
            return value if value == value else NaN(record[at:at + size][::-1])

        return take_number
    if kind == "money":
        money = struct.Struct("<ih").unpack_from
        return lambda record, at: Money(*money(record, at))
    if kind == "datetime":
        date = struct.Struct("<bbBbbbBB").unpack_from
        return lambda record, at: DateTime(*date(record, at))
    view = struct.Struct("@PN")

    def take(record: Any, at: int) -> Any:
        data, length = view.unpack_from(record, at)
        value = ctypes.string_at(data, length) if length else b""
        if kind in ("bytes10", "bytes11"):
            return value
        try:
            if kind == "chars":
                return value.rstrip(b"\0").decode() if length == column.field.length else value
            return value.decode()
        except UnicodeDecodeError:
            return value

    return take


# ---- Out ------------------------------------------------------------------------------------------------------------


def encode(message: Mapping[str, Any], dictionary: Optional[Dictionary] = None) -> bytes:
    """The bytes of one message, given in the form of `zel decode --json` (docs/tools.md).

    Everything but `name`, or `type` and `subType`, may be missing. Money is whatever text the library reads as such. Not
    taken: `order`, second values of fields that a message lists twice, packing flags that the library does not choose
    itself, and counts other than the length of `group`.

    Raises:
        Error: a member is none, or its value is not one of its field; or the library does not pack it.
    """
    with using(dictionary) as served:
        return _Packing(served, message).bytes()


class _Packing:
    """One message on its way to bytes."""

    def __init__(self, dictionary: Dictionary, message: Mapping[str, Any]) -> None:
        known = {"offset", "frame", "name", "type", "subType", "serviceId", "messageId", "userData", "varUserData",
                 "format", "version", "packFlags", "encryptFlag", "fields", "group", "repeatCount"}
        for name in message:
            _expect(name in known, str(name), f"{'cannot be written' if name == 'order' else 'is no member'}")
        number = message.get("type", 0), message.get("subType", 0)
        self.kind = dictionary[message["name"] if "name" in message else number]
        self.kept: List[Any] = []  # what views lead to
        fields, group = message.get("fields", {}), message.get("group", [])
        _expect(isinstance(fields, Mapping), "fields", "expected an object with values by name")
        _expect(isinstance(group, (list, tuple)), "group", "expected a list of objects")
        _expect(not group or self.kind.count is not None, "group", f"{self.kind.name} has none")
        self.envelope = self._envelope(message)
        chosen = list(self.kind.columns.values())
        self.layout = Layout(self.kind, chosen, packed, capacity=len(group) if self.kind.count else None)
        self.record = ctypes.create_string_buffer(max(self.layout.stride, 1))
        if self.kind.count:
            given = fields.get(self.kind.count.name, message.get("repeatCount", len(group)))
            _expect(given == len(group), self.kind.count.name, f"is {given!r}; the group has {len(group)} elements")
            struct.pack_into("<I", self.record, self.layout.count, len(group))
        self._fill(self.layout.outside, 0, fields, "fields", len(group))
        for number, each in enumerate(group):
            self._fill(self.layout.group, self.layout.repetitions + number * self.layout.group.size, each,
                       f"group[{number}]", number + 1)

    def _envelope(self, message: Mapping[str, Any]) -> Envelope:
        def number(name: str, least: int, most: int, otherwise: int) -> int:
            value = message.get(name, otherwise)
            _expect(isinstance(value, int) and least <= value <= most, name,
                    f"is {value!r}; expected a whole number from {least} to {most}")
            return int(value)

        frame, flags = message.get("frame", "long"), number("packFlags", 0, 15, 1)
        _expect(frame in _FRAMES, "frame", f"is {frame!r}; expected one of {', '.join(_FRAMES)}")
        modes = {1: 0, 5: 1, 9: 2}
        _expect(flags in modes, "packFlags", f"is {flags}; the library writes 1, 5 and 9")
        service, ident = message.get("serviceId", [0, 0]), message.get("messageId", [1, 1, 1])
        _expect(_are_numbers(service, (65535, 65535)), "serviceId", f"is {service!r}; expected [0..65535, 0..65535]")
        _expect(_are_numbers(ident, (65535, 255, 255)) and ident[0] > 0, "messageId",
                f"is {ident!r}; expected [1..65535, 0..255, 0..255]")
        envelope = Envelope(
            serviceIdHigh=service[0], serviceIdLow=service[1], version=number("version", 0, 15, 0),
            format=number("format", 0, 2, 0), compressMode=modes[flags], encryptFlag=number("encryptFlag", 0, 15, 0),
            frameKind=_FRAMES.index(frame), msgIdSeq=ident[0], msgIdPart2=ident[1], msgIdPart3=ident[2],
            userData=number("userData", -2**31, 2**31 - 1, 0))
        if "varUserData" in message:
            data = _value("varUserData", hex_digits, message["varUserData"])
            self.kept.append(ctypes.create_string_buffer(data, max(len(data), 1)))
            envelope.varUserData, envelope.varUserDataLength = ctypes.addressof(self.kept[-1]), len(data)
        return envelope

    def _fill(self, part: Part, base: int, values: Mapping[str, Any], place: str, number: int) -> None:
        _expect(isinstance(values, Mapping), place, "expected an object with values by name")
        for name, value in values.items():
            if name in part.columns:
                column = part.columns[name]
                data = _value(f"{place}.{name}", functools.partial(_slot, column.field), value)
                if column.kind == library.VIEW:
                    self.kept.append(ctypes.create_string_buffer(data, max(len(data), 1)))
                    data = struct.pack("@PN", ctypes.addressof(self.kept[-1]), len(data))
                struct.pack_into(f"{len(data)}s", self.record, base + column.offset, data)
                struct.pack_into("B", self.record, base + column.flag, 1)
                continue
            counted = {entry.field.name for entry in self.kind.entries} - set(self.kind.columns)
            _expect(name in counted, f"{place}.{name}", f"{self.kind.name} has no such field here")
            _expect(value == number, f"{place}.{name}", f"is {value!r}; the library counts {number}")

    def bytes(self) -> bytes:
        room = library.MAX_FRAME + self.envelope.varUserDataLength
        buffer, length, failure = ctypes.create_string_buffer(room), ctypes.c_size_t(), Failure()
        result = lib.ZELPackRecord(self.layout.binding, self.record, byref(self.envelope), buffer, room,
                                   byref(length), byref(failure))
        if result != 0:
            raise Error(result, failure.text.decode(errors="replace"), self.layout.field_name(failure.fieldId))
        return buffer.raw[:length.value]


def _expect(holds: bool, name: str, text: str) -> None:
    if not holds:
        raise Error(1001, f"{name}: {text}", name.rpartition(".")[2])


def _are_numbers(value: Any, most: Tuple[int, ...]) -> bool:
    return (isinstance(value, (list, tuple)) and len(value) == len(most)
            and all(isinstance(each, int) and 0 <= each <= top for each, top in zip(value, most)))


def _value(place: str, read: Callable[[Any], bytes], value: Any) -> bytes:
    try:
        return read(value)
    except (ValueError, struct.error) as fault:
        raise Error(1001, f"{place}: is {value!r}; expected {fault}", place.rpartition(".")[2]) from None


def _slot(field: Field, value: Any) -> bytes:
    """The value as the member has it; of texts and bytes what the view leads to."""
    if field.type in ("short", "long", "int"):
        most = 2**15 if field.type == "short" else 2**31
        if not isinstance(value, int) or isinstance(value, bool) or not -most <= value < most:
            raise ValueError(f"a whole number from {-most} to {most - 1}")
        return struct.pack("<q", value)
    if field.type in ("float", "double"):
        return real_of_json(field.type, value)[::-1]
    if field.type == "money":
        return struct.pack("<ih2x", *money_of_json(value))
    if field.type == "datetime":
        return struct.pack("<bbBbbbBB", *datetime_of_json(value))
    if field.type in ("bytes10", "bytes11"):
        return hex_digits(value)
    given = bytes_of_json(value)
    if given is None and not isinstance(value, str):
        raise ValueError('a text, or {"hex": ...} with its bytes')
    return value.encode() if given is None else given


# ---- Counts ---------------------------------------------------------------------------------------------------------


class Counts(NamedTuple):
    """Messages of a type, and the bytes of their frames."""

    messages: int
    bytes: int


def summary(source: Source, dictionary: Optional[Dictionary] = None) -> Dict[str, Counts]:
    """How many messages of each type a source has, and how many bytes; nothing after the headers is read.

    Args:
        source: path, bytes, memory map or open binary stream with frames back to back.

    Returns:
        `Counts` by name, the most bytes first. Types that the dictionary lacks are called TYPE/SUBTYPE, frames without
        a header "?".

    Raises:
        Error: the source ends within a frame (2006) or has bytes that are none (2007).
    """
    with using(dictionary) as served:
        capture, at = Capture(source), 0
        counts: Dict[Any, List[int]] = {}
        while at < capture.size:
            frame = frame_at(capture, at)
            at += frame.size
            count = counts.setdefault(frame.kind, [0, 0])
            count[0] += 1
            count[1] += frame.size

        def name(kind: Optional[Tuple[int, int]]) -> str:
            known = served._by_number.get(kind) if kind else None
            return known.name if known else "{}/{}".format(*kind) if kind else "?"

        in_order = sorted(counts.items(), key=lambda each: -each[1][1])
        return {name(kind): Counts(*count) for kind, count in in_order}
