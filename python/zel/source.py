"""Sources: captures as bytes that the library may look at, and where they came from."""

from __future__ import annotations

import mmap
import os
from typing import Any, BinaryIO, Optional, Union

import numpy as np

Source = Union[str, "os.PathLike[str]", bytes, bytearray, memoryview, mmap.mmap, BinaryIO]


class Capture:
    """The bytes of a source.

    Args:
        source: path (the file is mapped: do not shorten it meanwhile), bytes, memory map, or open binary stream, which
            is read to its end.
        start: offset of the bytes in the file that they were taken from.
        name: of that file.

    Attributes:
        address, size: where the bytes lie; they stay as long as the object. `view` looks at them.
    """

    def __init__(self, source: Source, start: int = 0, name: Optional[str] = None) -> None:
        self.name = name
        self.start = start
        content: Any = source
        if isinstance(source, (str, os.PathLike)):
            self.name = os.fspath(source)
            with open(source, "rb") as file:
                # What is empty, or no file, cannot be mapped.
                is_mapped = os.fstat(file.fileno()).st_size > 0 and file.seekable()
                content = mmap.mmap(file.fileno(), 0, access=mmap.ACCESS_READ) if is_mapped else file.read()
        elif hasattr(source, "read") and not isinstance(source, mmap.mmap):
            self.name = name or getattr(source, "name", None)
            content = source.read()
        if isinstance(content, str):
            raise TypeError("the stream is one of text; open it with \"rb\"")
        self.bytes = np.frombuffer(content, np.uint8) if len(content) else np.zeros(0, np.uint8)
        self.view = self.bytes.data
        self.address: int = self.bytes.ctypes.data
        self.size: int = len(self.bytes)
