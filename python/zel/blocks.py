"""Blocks: parts of a capture that end where frames end, so that each can be read on its own, anywhere."""

from __future__ import annotations

import json
import os
import tempfile
import warnings
from ctypes import byref, c_size_t
from typing import List, NamedTuple, Optional, Union

import numpy as np

from . import library
from .dictionary import Dictionary
from .layout import Layout, viewed
from .library import CRun, Error, lib, using
from .source import Capture

# Borders are kept this far apart, so that one index serves block sizes from here on.
_STEP = 1 << 20
_INDEX_VERSION = 1

# More records than there are.
_ALL = 1 << 62

_UNITS = {"": 1, "B": 1, "KB": 10**3, "MB": 10**6, "GB": 10**9, "KIB": 1 << 10, "MIB": 1 << 20, "GIB": 1 << 30}


class Block(NamedTuple):
    """A part of a file: all that a worker needs to know."""

    path: str
    offset: int
    length: int


def size_of(text: Union[int, str]) -> int:
    """Bytes of "64MB", "1 GiB" or a number.

    Raises:
        ValueError: anything else.
    """
    digits = str(text).rstrip("BbGgIiKkMm ")
    unit = str(text)[len(digits):].strip().upper()
    if not digits.isdigit() or unit not in _UNITS or int(digits) == 0:
        raise ValueError(f"blocksize={text!r}; expected bytes as a number, or as in \"64MB\"")
    return int(digits) * _UNITS[unit]


def blocks(path: Union[str, "os.PathLike[str]"], blocksize: Union[int, str] = "64MB", index: bool = False,
           dictionary: Optional[Dictionary] = None) -> List[Block]:
    """The blocks of a capture, of whole frames and about `blocksize` bytes; the last has all that is left, also what
    is no frame.

    Args:
        index: keep the borders in a file beside the capture, PATH.zelindex, and find them there the next time. An
            index of another file, by size and time of its last change, is made anew. One that cannot be written is
            warned of.
    """
    path, size = os.fspath(path), size_of(blocksize)
    step = min(size, _STEP)
    borders = _from_index(path, step) if index else None
    if borders is None:
        borders = _walk(path, step, dictionary)
        if index:
            _keep_index(path, step, borders)
    starts, before = [0], 0
    for border in borders:
        if border - starts[-1] > size and before > starts[-1]:
            starts.append(before)
        before = border
    ends = [*starts[1:], os.stat(path).st_size]
    return [Block(path, start, end - start) for start, end in zip(starts, ends)]


def _walk(path: str, step: int, dictionary: Optional[Dictionary]) -> List[int]:
    """Where a frame ends at or before each step, counted from the border before."""
    borders: List[int] = []
    with using(dictionary) as served:
        capture = Capture(path)
        # All frames are passed that lie within the bytes given. Frames of other messages cost least, so that the
        # message with the fewest fields is looked for.
        kind = min(served.messages.values(), key=lambda message: len(message.entries))
        layout = Layout(kind, [], viewed)
        record = layout.records(1)
        scratch = np.empty(library.SCRATCH_SIZE, np.uint8)
        run = CRun(scratch=scratch.ctypes.data, scratchSize=len(scratch))
        at, length, whole = 0, step, c_size_t()
        while at < capture.size:
            lib.ZELUnpackRun(layout.binding, capture.address + at, min(length, capture.size - at), record.ctypes.data, 0,
                             _ALL, byref(run))
            at += run.used
            length = step
            if run.used:
                borders.append(at)
            elif lib.ZELFindFrame(capture.address + at, capture.size - at, byref(whole)) == 0:
                length = whole.value  # a frame longer than a step
            else:
                break
    return borders


def _stamp(path: str, step: int) -> List[int]:
    state = os.stat(path)
    return [_INDEX_VERSION, state.st_size, state.st_mtime_ns, step]


def _from_index(path: str, step: int) -> Optional[List[int]]:
    try:
        with open(path + ".zelindex", encoding="ascii") as file:
            found = json.load(file)
        stamp = _stamp(path, step)
        borders = [int(border) for border in found["borders"]]
        rises = all(first < second for first, second in zip([0, *borders], [*borders, stamp[1] + 1]))
        return borders if rises and found["stamp"] == stamp else None
    except (OSError, ValueError, KeyError, TypeError, OverflowError):
        return None


def _keep_index(path: str, step: int, borders: List[int]) -> None:
    """Where the folder may not be written to, the next call walks again."""
    try:
        handle, name = tempfile.mkstemp(dir=os.path.dirname(path) or ".", prefix=".zelindex-")
        try:
            with os.fdopen(handle, "w", encoding="ascii") as file:
                json.dump({"stamp": _stamp(path, step), "borders": borders}, file)
            os.replace(name, path + ".zelindex")
        except BaseException:
            os.unlink(name)
            raise
    except OSError as fault:
        warnings.warn(f"no index is kept: {fault}", stacklevel=3)


def read_block(block: Block) -> bytes:
    """Its bytes.

    Raises:
        Error: 2006, the file has become shorter.
    """
    with open(block.path, "rb") as file:
        file.seek(block.offset)
        content = file.read(block.length)
    if len(content) != block.length:
        raise Error(library.INCOMPLETE, "the capture is shorter than when its blocks were found", None, block.offset,
                    block.path)
    return content
