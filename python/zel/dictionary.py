"""Dictionaries: which fields there are, and which of them each message carries. From images and from sources."""

from __future__ import annotations

import functools
import json
import os
import re
import zlib
from dataclasses import dataclass
from typing import Any, Dict, Iterable, List, Optional, Tuple, Union

import numpy as np

from .library import BAD_LAYOUT, NOT_STARTED, Error

TYPES = ("", "short", "long", "int", "chars", "text", "float", "double", "datetime", "money", "bytes10", "bytes11")
_LENGTHS = (0, 2, 4, 4, 0, 0, 4, 8, 8, 6, 0, 0)

MARKER_ID = 140
_MANDATORY, _OPTIONAL = 2, 1
_VERSION = 1
_MAGIC = b"ZELDATA\x1a"
_MOST_PROBES = 64

_HEADER = np.dtype([("magic", "S8"), ("version", "<u4"), ("fileSize", "<u4"), ("checksum", "<u4"),
                    ("dictionaryOffset", "<u4"), ("typesOffset", "<u4"), ("typeCount", "<u4"),
                    ("subTypesOffset", "<u4"), ("subTypeCount", "<u4"), ("fieldListsOffset", "<u4"),
                    ("fieldListCount", "<u4"), ("namesOffset", "<u4"), ("nameSlotCount", "<u4"), ("reserved", "V8")])
_FIELD = np.dtype([("version", "<i2"), ("type", "<u2"), ("length", "<i2"), ("name", "S65"), ("text", "S89")])
_TYPE = np.dtype([("type", "<i2"), ("subTypeCount", "<u2"), ("firstSubType", "<u4")])
_SUB_TYPE = np.dtype([("subType", "<i2"), ("repeatFieldId", "<u2"), ("groupSize", "<i2"), ("fieldCount", "<i2"),
                      ("firstField", "<u4"), ("name", "S65"), ("reserved", "V3")])
_ENTRY = np.dtype([("field", "<u2"), ("presence", "<u2")])


@dataclass(frozen=True)
class Field:
    """A field: `id` on the wire, `name`, `type` (a name of docs/dictionary.md), `length` of a value in bytes or 0,
    `version` (the lowest that carries it), `text` about it."""

    id: int
    name: str
    type: str
    length: int
    version: int
    text: str


@dataclass(frozen=True)
class Entry:
    """A place in a message's list of fields."""

    field: Field
    mandatory: bool
    in_group: bool


@dataclass(frozen=True)
class MessageType:
    """A message: `type` and `sub_type` on the wire, `name`, `entries` in the order in which they are packed, and
    `count`, the field that counts the repetitions of the group, or None."""

    type: int
    sub_type: int
    name: str
    entries: Tuple[Entry, ...]
    count: Optional[Field]

    @functools.cached_property
    def columns(self) -> Dict[str, Entry]:
        """The entries that rows have columns for, by name: not the count and the group's markers, which the library
        keeps itself. Of a field that is listed twice, the first place."""
        found: Dict[str, Entry] = {}
        for entry in self.entries:
            is_number = entry.in_group and entry.field.id == MARKER_ID or entry.field == self.count
            if not is_number:
                found.setdefault(entry.field.name, entry)
        return found

    def __str__(self) -> str:
        lines = [f"{self.name}, type {self.type}, sub-type {self.sub_type}"]
        for entry in self.entries:
            indent = "    " if entry.in_group else "  "
            presence = "mandatory" if entry.mandatory else "optional"
            lines.append(f"{indent}{entry.field.name:24} {entry.field.type:9} {presence:10} {entry.field.text}")
        return "\n".join(lines)


class Dictionary:
    """A dictionary from an image or a source.

    Args:
        source: path of an image, path of a source (its name ends with .json), or the bytes of an image.

    Attributes:
        image: bytes of the image.
        fields: every `Field` by name.
        messages: every `MessageType` by name. `dictionary["NEW_ORDER"]` and `dictionary[10, 1]` find one.

    Raises:
        Error: not an image of the version that this package reads, damaged, or a source with a fault (2010).
    """

    def __init__(self, source: Union[str, "os.PathLike[str]", bytes]) -> None:
        if isinstance(source, bytes):
            self.image, name = source, "image"
        else:
            name = os.fspath(source)
            with open(source, "rb") as file:
                content = file.read()
            try:
                self.image = _build(_parse(content)) if name.endswith(".json") else content
            except Error as fault:
                raise Error(fault.code, f"{name}: {fault.text}") from None
        try:
            self.fields, self.messages, self._by_number = _read(self.image)
        except (ValueError, IndexError) as fault:
            text = fault.text if isinstance(fault, Error) else f"a part lies outside the file ({fault})"
            raise Error(NOT_STARTED, f"{name}: {text}") from None

    def __getitem__(self, message: Union[str, Tuple[int, int]]) -> MessageType:
        found = self.messages.get(message) if isinstance(message, str) else self._by_number.get(message)
        if found is None:
            raise Error(BAD_LAYOUT, f"the dictionary has no message {message}")
        return found

    def __eq__(self, other: object) -> bool:
        return isinstance(other, Dictionary) and self.image == other.image

    def __hash__(self) -> int:
        return hash(self.image)

    def __reduce__(self) -> Tuple[Any, ...]:
        return _of_image, (self.image,)

    def __repr__(self) -> str:
        return f"<zel.Dictionary of {len(self.fields)} fields and {len(self.messages)} messages>"


@functools.lru_cache(maxsize=4)
def _of_image(image: bytes) -> Dictionary:
    """Tasks of a cluster each bring the same dictionary."""
    return Dictionary(image)


Numbered = Dict[Tuple[int, int], MessageType]


def _read(image: bytes) -> Tuple[Dict[str, Field], Dict[str, MessageType], Numbered]:
    if len(image) < _HEADER.itemsize or not image.startswith(_MAGIC):
        raise Error(NOT_STARTED, "is not a dictionary image")
    header = np.frombuffer(image, _HEADER, 1)[0]
    if header["version"] != _VERSION:
        raise Error(NOT_STARTED, f"has image version {header['version']}; this package reads version {_VERSION}")
    if header["fileSize"] != len(image) or header["checksum"] != zlib.crc32(image[_HEADER.itemsize:]):
        raise Error(NOT_STARTED, f"is damaged: {len(image)} bytes, its header says {header['fileSize']}, or they "
                                 "have another checksum")

    def part(dtype: np.dtype, name: str, count: int) -> np.ndarray:
        if count == 0:
            return np.zeros(0, dtype)
        return np.frombuffer(image, dtype, count, int(header[name + "Offset"]))

    # The count of the fields lies where a record has its length.
    records = part(_FIELD, "dictionary", 1 + int(part(_FIELD, "dictionary", 1)[0]["length"]))
    by_id = {number: Field(number, record["name"].decode("latin-1"), TYPES[record["type"]], int(record["length"]),
                           int(record["version"]), record["text"].decode("utf-8", "replace"))
             for number, record in enumerate(records) if number and record["type"]}
    lists = part(_ENTRY, "fieldLists", int(header["fieldListCount"]))
    subs = part(_SUB_TYPE, "subTypes", int(header["subTypeCount"]))
    numbered: Numbered = {}
    for kind in part(_TYPE, "types", int(header["typeCount"])):
        first = int(kind["firstSubType"])
        for sub in subs[first:first + int(kind["subTypeCount"])]:
            message = _message(int(kind["type"]), sub, lists, by_id)
            numbered.setdefault((message.type, message.sub_type), message)
    return {field.name: field for field in by_id.values()}, {each.name: each for each in numbered.values()}, numbered


def _message(kind: int, sub: np.void, lists: np.ndarray, by_id: Dict[int, Field]) -> MessageType:
    first, size, count_id = int(sub["firstField"]), int(sub["fieldCount"]), int(sub["repeatFieldId"])
    entries = [(int(entry["field"]), entry["presence"] == _MANDATORY) for entry in lists[first:first + size]]
    ids = [number for number, _ in entries]
    begin = ids.index(count_id) + 1 if count_id else 0
    inside = range(begin, begin + int(sub["groupSize"]))
    if any(number not in by_id for number in ids):
        raise Error(NOT_STARTED, f"has an unknown field in message {kind}/{sub['subType']}")
    return MessageType(kind, int(sub["subType"]), sub["name"].decode("latin-1"),
                       tuple(Entry(by_id[number], mandatory, at in inside)
                             for at, (number, mandatory) in enumerate(entries)),
                       by_id[count_id] if count_id else None)


# ---- Sources --------------------------------------------------------------------------------------------------------

_COMMENT = re.compile(rb'("(?:\\.|[^"\\])*")|//[^\n]*|/\*.*?\*/', re.DOTALL)


def _refuse(text: str) -> Error:
    return Error(NOT_STARTED, f"{text} (`zel dict check` tells all faults)")


def _unique(pairs: List[Tuple[str, Any]]) -> Dict[str, Any]:
    keys = dict(pairs)
    if len(keys) != len(pairs):
        raise _refuse(f"a key stands twice in the object with {sorted(keys)}")
    return keys


def _parse(text: bytes) -> Dict[str, Any]:
    try:
        source = json.loads(_COMMENT.sub(lambda found: found.group(1) or b" ", text), object_pairs_hook=_unique)
    except (json.JSONDecodeError, UnicodeDecodeError, RecursionError) as fault:
        raise _refuse(f"is not JSON: {fault}") from None
    return _members(source, "source", ("fields", "messages"), ("$schema",))


def _members(value: Any, place: str, needed: Tuple[str, ...], others: Tuple[str, ...] = ()) -> Dict[str, Any]:
    if not isinstance(value, dict) or not set(needed) <= set(value) <= set(needed) | set(others):
        raise _refuse(f"{place}: expected an object with {', '.join(needed)}"
                      + (f" and perhaps {', '.join(others)}" if others else ""))
    return value


def _number(value: Any, place: str, least: int, most: int) -> int:
    if not isinstance(value, int) or isinstance(value, bool) or not least <= value <= most:
        raise _refuse(f"{place}: is {value!r}; expected a whole number from {least} to {most}")
    return value


def _text(value: Any, place: str, most: int) -> bytes:
    if not isinstance(value, str) or len(value.encode()) > most:
        raise _refuse(f"{place}: is {value!r}; expected a text of at most {most} bytes")
    return value.encode()


def _build(source: Dict[str, Any]) -> bytes:
    """The image of a source, byte for byte that of `zel dict build`."""
    try:
        return _image(source)
    except (TypeError, ValueError, OverflowError) as fault:
        if isinstance(fault, Error):
            raise
        raise _refuse(f"a value has another type or range than it should: {fault}") from None


def _image(source: Dict[str, Any]) -> bytes:
    ids: Dict[str, int] = {}
    fields = [_members(each, "fields", ("id", "name", "type"), ("length", "version", "text"))
              for each in source["fields"]]
    highest = max((_number(each["id"], f"field {each['name']}.id", 1, 32767) for each in fields), default=0)
    records = np.zeros(1 + highest, _FIELD)
    records["length"][0] = highest  # the header's count lies there
    for each in fields:
        name, kind = each["name"], each["type"]
        place = f"field {name}"
        number = _number(TYPES.index(kind) if kind in TYPES[1:] else kind, place + ".type", 1, len(TYPES) - 1)
        if name in ids or records[each["id"]]["type"]:
            raise _refuse(f"{place}: its name or its id stands twice")
        ids[name] = each["id"]
        records[each["id"]] = (_number(each.get("version", 1), place + ".version", 0, 15), number,
                               _number(each.get("length", _LENGTHS[number]), place + ".length", 0, 12284),
                               _text(name, place, 64), _text(each.get("text", ""), place + ".text", 88))
    kinds: Dict[int, List[Tuple[Any, ...]]] = {}
    for each in source["messages"]:
        message = _members(each, "messages", ("type", "subType", "name", "fields"))
        kind = _number(message["type"], f"message {message['name']}.type", -32768, 32767)
        kinds.setdefault(kind, []).append(_list(message, ids))
    types: List[Tuple[Any, ...]] = []
    subs: List[Tuple[Any, ...]] = []
    lists: List[Tuple[int, int]] = []
    for kind, messages in kinds.items():
        types.append((kind, len(messages), len(subs)))
        for sub_type, count_id, group_size, name, entries in messages:
            subs.append((_number(sub_type, f"message {name}.subType", -32768, 32767), count_id, group_size, len(entries),
                         len(lists), _text(name, f"message {name}", 64), b""))
            lists += entries
    parts = {"dictionary": records, "types": np.array(types, _TYPE), "subTypes": np.array(subs, _SUB_TYPE),
             "fieldLists": np.array(lists, _ENTRY), "names": _names(ids)}
    header = np.zeros((), _HEADER)
    header["magic"], header["version"] = _MAGIC, _VERSION
    header["typeCount"], header["subTypeCount"] = len(types), len(subs)
    header["fieldListCount"], header["nameSlotCount"] = len(lists), len(parts["names"])
    body = b""
    for name, content in parts.items():
        header[name + "Offset"] = _HEADER.itemsize + len(body)
        body += content.tobytes()
    header["fileSize"], header["checksum"] = _HEADER.itemsize + len(body), zlib.crc32(body)
    return header.tobytes() + body


def _list(message: Dict[str, Any], ids: Dict[str, int]) -> Tuple[Any, ...]:
    """Sub-type, id of the count field, size of the group, name, entries."""
    entries: List[Tuple[int, int]] = []
    count_id = group_size = 0

    def add(entry: Any) -> None:
        given = {"field": entry} if isinstance(entry, str) else entry
        _members(given, message["name"], ("field",), ("presence",))
        presence = given.get("presence", "optional")
        if given["field"] not in ids or presence not in ("optional", "mandatory"):
            raise _refuse(f"message {message['name']}: no field {given['field']}, or another presence than optional "
                          "and mandatory")
        entries.append((ids[given["field"]], _MANDATORY if presence == "mandatory" else _OPTIONAL))

    for entry in message["fields"]:
        if not isinstance(entry, dict) or "group" not in entry:
            add(entry)
            continue
        group = _members(_members(entry, message["name"], ("group",))["group"], message["name"], ("count", "fields"))
        if group_size:
            raise _refuse(f"message {message['name']}: a second group; expected one at most")
        add(group["count"])
        count_id, group_size = entries[-1][0], len(group["fields"])
        for member in group["fields"]:
            add(member)
    return message["subType"], count_id, group_size, message["name"], entries


def _hash(name: str) -> int:
    """FNV-1a."""
    value = 2166136261
    for byte in name.encode()[:64]:
        value = (value ^ byte) * 16777619 & 0xFFFFFFFF
    return value


def _names(ids: Dict[str, int]) -> np.ndarray:
    """The smallest table, at most half full, in which every name lies near its hash."""
    in_order: Iterable[Tuple[int, str]] = sorted((number, name) for name, number in ids.items())
    hashes = [(number, _hash(name)) for number, name in in_order]
    size = 1 << (2 * len(ids) + 1).bit_length()
    while size <= 1 << 20:
        slots = np.zeros(size, "<u2")
        if all(_insert(slots, number, value) for number, value in hashes):
            return slots
        size *= 2
    raise _refuse("the field names have too many hash collisions; rename some fields")


def _insert(slots: np.ndarray, number: int, value: int) -> bool:
    for probe in range(_MOST_PROBES):
        at = (value + probe) % len(slots)
        if slots[at] == 0:
            slots[at] = number
            return True
    return False
