"""Data frames: the columns of `read` as those of pandas."""

from __future__ import annotations

from typing import Any, Dict, List, Optional, Sequence

import numpy as np

from .dictionary import Dictionary
from .library import using
from .reading import Forms, Message, _count_column, _start, pieces
from .source import Source


def frame(source: Source, message: Message, fields: Optional[Sequence[str]] = None, group: Optional[str] = None, *,
          money: str = "float", texts: str = "str", dates: str = "datetime64", offset: bool = False,
          errors: str = "raise", width: Optional[int] = None, dictionary: Optional[Dictionary] = None,
          **place: Any) -> Any:
    """The messages of one type as a `pandas.DataFrame`: one row a message, or one a repetition of the group.

    The arguments and errors are those of `read`. The columns have the same types whatever a capture holds:

    - short Int16, long and int Int32 (nullable), the count field uint32; float float32, double float64 with NaN
    - money float64 with NaN; "decimal": Decimals or None; "record": NAME.amount (Int32) and NAME.code (Int16)
    - datetime datetime64[ns] with NaT
    - texts str or None; "bytes": bytes or None; bytes10 and bytes11 bytes or None

    Memory: rows are read in pieces, so that a long text costs what it has and no more.

    Returns:
        A DataFrame, or with errors="collect" a tuple of it and a list of `Error`.
    """
    import pandas

    forms = Forms(money, texts, dates).check()
    if dates != "datetime64":
        raise ValueError("dates: a data frame has datetime64 alone; use read")
    with using(dictionary) as served:
        kind = served[message]
        run = _start(source, kind, fields, group, forms, errors, width, True, **place)
        found: Dict[str, List[Any]] = {}
        for piece in pieces(run, group, _count_column(kind, fields, group), offset):
            for name, (values, missing) in piece.columns.items():
                for column, given in _shown(name, values, missing).items():
                    found.setdefault(column, []).append(given)
    table = pandas.DataFrame({name: pandas.concat(parts, ignore_index=True) if len(parts) > 1 else parts[0]
                              for name, parts in found.items()}, copy=False)
    return (table, run.bad) if errors == "collect" else table


def _shown(name: str, values: np.ndarray, missing: Optional[np.ndarray]) -> Dict[str, Any]:
    """The column, or columns, of a column."""
    import pandas

    if values.dtype.names == ("amount", "code"):
        return {f"{name}.{part}": _whole(np.ascontiguousarray(values[part]), missing) for part in ("amount", "code")}
    if values.dtype.kind in "iu" and missing is not None:
        return {name: _whole(values, missing)}
    if values.dtype.names == ("length", "data"):
        return {name: _objects([data[:length] for length, data in values.tolist()], missing)}
    if values.dtype.kind in "SUO":
        return {name: _objects(values.tolist(), missing)}
    if values.dtype.kind == "f" and missing is not None:
        values[missing] = np.nan
    if values.dtype.kind == "M":
        values = values.astype("M8[ns]")
        values[missing] = np.datetime64("NaT")
    return {name: pandas.Series(values)}


def _whole(values: np.ndarray, missing: Optional[np.ndarray]) -> Any:
    import pandas

    return pandas.Series(pandas.arrays.IntegerArray(values, np.array(missing)))


def _objects(values: List[Any], missing: Optional[np.ndarray]) -> Any:
    import pandas

    out = np.empty(len(values), object)
    out[:] = values
    out[missing] = None
    return pandas.Series(out)
