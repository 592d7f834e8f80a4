"""Captures larger than one machine: Dask data frames whose partitions are blocks of whole frames.

A partition is a pure function of a block (file, offset, length), of the arguments and of the dictionary, which travels
with it: a scheduler may repeat it on another worker. Each worker starts the library for itself. All workers must see
the captures under the same paths.
"""

from __future__ import annotations

import glob
import os
from typing import Any, Dict, List, Optional, Sequence, Union

import dask.dataframe

from .blocks import Block, blocks, read_block
from .dictionary import Dictionary
from .library import using
from .reading import Message
from .table import frame

Paths = Union[str, "os.PathLike[str]"]


def read(sources: Union[Paths, Sequence[Paths]], message: Message, fields: Optional[Sequence[str]] = None,
         group: Optional[str] = None, *, blocksize: Union[int, str] = "64MB", index: bool = False, money: str = "float",
         texts: str = "str", offset: bool = False, errors: str = "raise", width: Optional[int] = None,
         dictionary: Optional[Dictionary] = None) -> Any:
    """The messages of one type of all captures as a Dask DataFrame, with the columns of `zel.frame`.

    Args:
        sources: a path, one with wildcards, or a list of either; partitions stand in their order.
        blocksize: bytes of a capture for each partition, at most; as "64MB" or a number. A worker's memory is bounded
            by it: the block's bytes and its rows, for each task that it runs at a time.
        index: keep where the blocks begin in a file beside each capture (`zel.blocks.blocks`): without one each call
            walks through all frames once, here.
        errors: "raise" or "skip"; an `Error` names the file, and the offset in it.
        group, money, texts, offset, width: as for `zel.frame`. `row` counts within each partition.
        dictionary: None: that of `zel.use` here; workers need none of their own.

    Raises:
        FileNotFoundError: no such capture.
        Error: 2001, no such message or field.
    """
    if errors not in ("raise", "skip"):
        raise ValueError(f"errors={errors!r}; expected one of raise, skip: nobody collects from workers")
    options: Dict[str, Any] = {"fields": None if fields is None else list(fields), "group": group, "money": money, "texts": texts,
               "offset": offset, "errors": errors, "width": width}
    with using(dictionary) as served:
        partition = Partition(message, served, options)
        meta = frame(b"", message, dictionary=served, **options)
        parts = [block for path in _paths(sources) for block in blocks(path, blocksize, index, served)]
    return dask.dataframe.from_map(partition, parts, meta=meta, label="zel-read", enforce_metadata=False)


class Partition:
    """Makes the rows of a block; all partitions share one."""

    def __init__(self, message: Message, dictionary: Dictionary, options: Any) -> None:
        self.message, self.dictionary, self.options = message, dictionary, options

    def __call__(self, block: Block) -> Any:
        return frame(read_block(block), self.message, dictionary=self.dictionary, start=block.offset, name=block.path,
                     **self.options)

    def __dask_tokenize__(self) -> Any:
        return self.message, self.dictionary.image, sorted(self.options.items(), key=str)


def _paths(sources: Any) -> List[str]:
    given = [sources] if isinstance(sources, (str, os.PathLike)) else list(sources)
    found: List[str] = []
    for path in (str(os.fspath(each)) for each in given):
        matches = [path] if os.path.exists(path) else sorted(glob.glob(path))
        if not matches:
            raise FileNotFoundError(f"no capture {path}")
        found += map(os.path.abspath, matches)
    return found
