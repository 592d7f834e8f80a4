"""libzel by ctypes: where it lies, its C records, its errors, and which dictionary it serves.

The library serves one dictionary at a time. `using` holds it at one for as long as calls need it; calls that need
another wait until those are done.
"""

from __future__ import annotations

import contextlib
import ctypes
import ctypes.util
import os
import tempfile
import threading
from ctypes import POINTER, Structure, c_char, c_char_p, c_int16, c_int32, c_size_t, c_uint16, c_uint32, c_void_p
from pathlib import Path
from typing import TYPE_CHECKING, Iterator, List, Optional

if TYPE_CHECKING:
    from .dictionary import Dictionary

# Results of zelreport.h that are handled here; all others are passed on.
BAD_LAYOUT = 2001
TEXT_TOO_LONG = 2003
TOO_MANY = 2004
INCOMPLETE = 2006
NO_FRAME = 2007
NO_SCRATCH = 2009
NOT_STARTED = 2010

# Kinds of members.
INT16, INT32, INT64, FLOAT, DOUBLE, MONEY, DATETIME, CHARS, BYTES, VIEW, SECONDS = range(1, 12)

NOWHERE = 0xFFFFFFFF
MAX_FRAME = 12326
SCRATCH_SIZE = 12288

# What stands in place of a text for codes that come without one.
_TEXTS = {
    INCOMPLETE: "the bytes end within a frame",
    NO_FRAME: "no frame starts here",
    NOT_STARTED: "no dictionary provider, or it refuses the dictionary image",
}


class Error(ValueError):
    """What the library, or this package in its place, has to say against bytes, rows, names or a dictionary.

    Attributes:
        code: one of those of zelreport.h, for example 1427: a field cannot be read.
        text: what is wrong, in English.
        field: name of the field concerned, or None.
        offset: of the message, in bytes from the start of the source, or None.
        source: file that the message stands in, or None.
    """

    def __init__(self, code: int, text: str = "", field: Optional[str] = None, offset: Optional[int] = None,
                 source: Optional[str] = None) -> None:
        super().__init__(code, text, field, offset, source)
        self.code = code
        self.text = text or _TEXTS.get(code, "")
        self.field = field
        self.offset = offset
        self.source = source

    def __str__(self) -> str:
        place = f"{self.source}: " if self.source else ""
        place += f"offset {self.offset}: " if self.offset is not None else ""
        about = f" (field {self.field})" if self.field and self.field not in self.text else ""
        return f"{place}{self.code} {self.text}{about}"


class Failure(Structure):
    _fields_ = [("result", c_int32), ("fieldId", c_int32), ("repetition", c_int32), ("offset", c_uint32),
                ("text", c_char * 192)]


class Member(Structure):
    _fields_ = [("field", c_char_p), ("fieldId", c_int32), ("kind", c_int32), ("offset", c_uint32), ("size", c_uint32),
                ("lengthOffset", c_uint32), ("presenceOffset", c_uint32)]


class Group(Structure):
    _fields_ = [("offset", c_uint32), ("stride", c_uint32), ("capacity", c_uint32), ("countOffset", c_uint32),
                ("members", POINTER(Member)), ("memberCount", c_uint32)]


class CLayout(Structure):
    _fields_ = [("msgType", c_int16), ("subType", c_int16), ("size", c_uint32), ("members", POINTER(Member)),
                ("memberCount", c_uint32), ("group", POINTER(Group))]


class Envelope(Structure):
    _fields_ = [("serviceIdHigh", c_int16), ("serviceIdLow", c_int16), ("version", c_int16), ("format", c_int16),
                ("compressMode", c_int16), ("encryptFlag", c_uint16), ("frameKind", c_int16), ("sequence", c_uint16),
                ("msgIdSeq", c_uint16), ("msgIdPart2", c_uint16), ("msgIdPart3", c_uint16), ("packFlags", c_uint16),
                ("userData", c_int32), ("varUserData", c_void_p), ("varUserDataLength", c_size_t)]


class Reading(Structure):
    _fields_ = [("scratch", c_void_p), ("scratchSize", c_size_t), ("absent", c_void_p), ("absentCapacity", c_uint32),
                ("absentCount", c_uint32), ("envelope", POINTER(Envelope)), ("used", c_size_t)]


class CRun(Structure):
    _fields_ = [("scratch", c_void_p), ("scratchSize", c_size_t), ("offsets", c_void_p), ("stopAtBad", c_int32),
                ("firstBadResult", c_int32), ("firstBad", c_size_t), ("used", c_size_t), ("read", c_size_t),
                ("skipped", c_size_t), ("bad", c_size_t)]


class CMoney(Structure):
    _fields_ = [("amount", c_int32), ("displayCode", c_int16)]


_SIGNATURES = {
    "ZELStart": [],
    "ZELStop": [],
    "ZELBind": [POINTER(CLayout), POINTER(c_void_p), c_void_p, c_size_t],
    "ZELFreeBinding": [c_void_p],
    "ZELPackRecord": [c_void_p, c_void_p, POINTER(Envelope), c_void_p, c_size_t, POINTER(c_size_t), POINTER(Failure)],
    "ZELUnpackRecord": [c_void_p, c_void_p, c_size_t, c_void_p, POINTER(Reading), POINTER(Failure)],
    "ZELUnpackRecordNoFrame": [c_void_p, c_void_p, c_size_t, c_void_p, POINTER(Reading), POINTER(Failure)],
    "ZELFindFrame": [c_void_p, c_size_t, POINTER(c_size_t)],
    "ZELUnpackRun": [c_void_p, c_void_p, c_size_t, c_void_p, c_size_t, c_size_t, POINTER(CRun)],
    "ZELMoneyToStr": [POINTER(CMoney), c_char_p, c_int16],
    "ZELStrToMoney": [c_char_p, POINTER(CMoney)],
}
_NO_RESULT = ("ZELStop", "ZELFreeBinding")


def _candidates() -> Iterator[str]:
    names = ["zel.dll"] if os.name == "nt" else ["libzel.so.0", "libzel.so"]
    if os.environ.get("ZEL_LIBRARY"):
        yield os.environ["ZEL_LIBRARY"]
        return
    beside = Path(__file__).resolve().parent
    for name in names:
        yield str(beside / name)
    yield from names
    found = ctypes.util.find_library("zel")
    if found:
        yield found


def _load() -> ctypes.CDLL:
    faults: List[str] = []
    for name in _candidates():
        try:
            library = ctypes.CDLL(name)
            break
        except OSError as fault:
            faults.append(str(fault))
    else:
        raise ImportError("libzel is neither beside the package nor where the system looks for libraries; "
                          "name it in ZEL_LIBRARY. " + "; ".join(faults))
    for name, arguments in _SIGNATURES.items():
        function = getattr(library, name)
        function.argtypes = arguments
        function.restype = None if name in _NO_RESULT else ctypes.c_int
    return library


lib = _load()


def folder() -> Path:
    """The folder that libzel was loaded from, which has the provider and its image, too."""
    if os.path.dirname(lib._name):
        return Path(lib._name).resolve().parent
    with open("/proc/self/maps", encoding="utf-8", errors="surrogateescape") as maps:
        for line in maps:
            path = line.split(maxsplit=5)[-1].rstrip("\n")
            if os.path.basename(path).startswith("libzel.so"):
                return Path(path).parent
    raise Error(NOT_STARTED, "nobody knows where libzel lies; name the dictionary image in ZELDATA_IMAGE")


_turn = threading.Condition(threading.RLock())  # of a call that looks at, or changes, what follows
_served: Optional["Dictionary"] = None  # by the library
_users = 0  # calls in progress
_chosen: Optional["Dictionary"] = None  # by use()


def _start_alone() -> None:
    """After a fork: the calls that other threads had in progress go on in the parent alone."""
    global _turn, _users
    _turn, _users = threading.Condition(threading.RLock()), 0


if hasattr(os, "register_at_fork"):
    os.register_at_fork(after_in_child=_start_alone)


def use(dictionary: Optional["Dictionary"]) -> None:
    """Makes a dictionary that of all calls that name none. None: that of the provider again.

    Raises:
        Error: 2010, the provider refuses it. The dictionary before stays in use.
    """
    global _chosen
    with using(dictionary or default()):
        _chosen = dictionary


def default() -> "Dictionary":
    """The dictionary that the provider serves: the image that ZELDATA_IMAGE names, else zeldata.img beside libzel."""
    from .dictionary import Dictionary

    return Dictionary(os.environ.get("ZELDATA_IMAGE") or folder() / "zeldata.img")


@contextlib.contextmanager
def using(dictionary: Optional["Dictionary"] = None) -> Iterator["Dictionary"]:
    """Holds the library at a dictionary: without one at that of `use`. Calls that need another one wait."""
    global _users, _chosen
    with _turn:
        if dictionary is None:
            if _chosen is None:
                _chosen = default()
            dictionary = _chosen
        _turn.wait_for(lambda: _users == 0 or _served == dictionary)
        if _served != dictionary:
            _start(dictionary)
        _users += 1
    try:
        yield dictionary
    finally:
        with _turn:
            _users -= 1
            _turn.notify_all()


def _start(dictionary: "Dictionary") -> None:
    """Starts the library anew, from a file of our own: whoever replaces the image meanwhile changes nothing."""
    global _served
    before, former = _served, os.environ.get("ZELDATA_IMAGE")
    _served = None
    lib.ZELStop()
    handle, name = tempfile.mkstemp(prefix="zel-", suffix=".img")
    try:
        with os.fdopen(handle, "wb") as file:
            file.write(dictionary.image)
        os.environ["ZELDATA_IMAGE"] = name
        result = lib.ZELStart()
    finally:
        os.environ.pop("ZELDATA_IMAGE")
        if former is not None:
            os.environ["ZELDATA_IMAGE"] = former
        with contextlib.suppress(OSError):
            os.unlink(name)
    if result != 0:
        if before is not None:
            _start(before)
        raise Error(result)
    _served = dictionary
