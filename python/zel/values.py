"""Values: money, dates and times in bulk, as NumPy has them, and one at a time, as the JSON of the command has them."""

from __future__ import annotations

import datetime
import re
import struct
from ctypes import byref, create_string_buffer
from decimal import Decimal
from typing import Any, Dict, NamedTuple, Optional, Union

import numpy as np

from .library import CMoney, Error, lib

# Amount in units of 1/denominator, and the display code that says which; two bytes of padding as in C.
MONEY = np.dtype({"names": ["amount", "code"], "formats": ["<i4", "<i2"], "offsets": [0, 4], "itemsize": 8})
DATETIME = np.dtype([("day", "i1"), ("month", "i1"), ("year", "u1"), ("hour", "i1"), ("minute", "i1"),
                     ("second", "i1"), ("extra", "u1"), ("kind", "u1")])

_DENOMINATORS: Dict[int, int] = {**{1 << power: 1 << power for power in range(9)}, 10: 10, 20: 100, 30: 1000, 40: 10000,
                                 50: 100000}
_LARGE = 512  # codes from here on: whole units, and the code's excess in hundredths

# ---- Money ----------------------------------------------------------------------------------------------------------


def money_to_float(money: np.ndarray) -> np.ndarray:
    """float64 of an array of `MONEY`; NaN where the display code is none (as in money that is not set).

    Hundredths of the large form have the sign of the amount.
    """
    table = np.full(_LARGE, np.nan)
    for code, denominator in _DENOMINATORS.items():
        table[code] = denominator
    amount, codes = money["amount"], money["code"].astype(np.uint16)
    value = amount / table[np.minimum(codes, _LARGE - 1)]
    large = np.asarray(codes >= _LARGE)
    if large.any():
        hundredths = (codes[large] - _LARGE) / 100.0
        value[large] = amount[large] + np.where(amount[large] < 0, -hundredths, hundredths)
    return value


def money_to_decimal(money: np.ndarray) -> np.ndarray:
    """An object array of `decimal.Decimal`, exact; NaN where the display code is none."""
    found: Dict[Any, Decimal] = {}
    pairs = list(zip(money["amount"].tolist(), money["code"].tolist()))
    for pair in set(pairs):
        found[pair] = Money(*pair).decimal()
    out = np.empty(len(pairs), object)
    out[:] = [found[pair] for pair in pairs]
    return out


def money(values: Any, code: int) -> np.ndarray:
    """Money of plain numbers, for `write`: an array of dtype [("amount", "i4"), ("code", "i2")], rounded to the
    nearest amount that the display code can say.

    Raises:
        Error: 1462, no such display code; 2002, an amount of more than 32 bits.
    """
    if code not in _DENOMINATORS:
        raise Error(1462, f"{code} is no display code: 1, 2, 4 ... 256 are fractions, 10 to 50 are 1 to 5 decimals")
    amounts = np.rint(np.asarray(values, np.float64) * _DENOMINATORS[code])
    if not (np.abs(amounts) < 2**31).all():
        raise Error(2002, f"an amount does not fit into 32 bits, or is no number, with display code {code}")
    out = np.zeros(amounts.shape, MONEY)
    out["amount"], out["code"] = amounts, code
    return out


class Money(NamedTuple):
    """One value of money: an amount in units of 1/denominator, and the display code."""

    amount: int
    code: int

    def decimal(self) -> Decimal:
        """Its value, exact; NaN when the display code is none."""
        code = self.code & 0xFFFF
        if code >= _LARGE:
            hundredths = Decimal(code - _LARGE) / 100
            return self.amount + (-hundredths if self.amount < 0 else hundredths)
        if code not in _DENOMINATORS:
            return Decimal("NaN")
        return Decimal(self.amount) / _DENOMINATORS[code]

    def __str__(self) -> str:
        text = create_string_buffer(24)
        lib.ZELMoneyToStr(byref(CMoney(*self)), text, 0)
        return text.value.decode()

    def json(self) -> Any:
        text = str(self)
        read = CMoney()
        again = lib.ZELStrToMoney(text.encode(), byref(read)) == 0 and (read.amount, read.displayCode) == self
        is_valid = self.code >= _LARGE or self.code in _DENOMINATORS
        return text if again and is_valid else {"amount": self.amount, "displayCode": self.code}


def money_of_json(value: Any) -> Money:
    if isinstance(value, str) and "\0" not in value:
        read = CMoney()
        if lib.ZELStrToMoney(value.encode(), byref(read)) == 0:
            return Money(read.amount, read.displayCode)
    elif isinstance(value, dict) and value and set(value) <= {"amount", "displayCode"}:
        return Money(value.get("amount", 0), value.get("displayCode", 0))
    raise ValueError('money as text such as "12.50" or "101\'16", or {"amount": ..., "displayCode": ...}')


def decimal_to_money(value: Decimal) -> Money:
    """With as many decimals as the number has."""
    exponent = value.as_tuple().exponent
    decimals = max(-exponent, 0) if isinstance(exponent, int) else 6
    if decimals > 5 or abs(value) * 10**decimals >= 2**31:
        raise ValueError("a finite number of at most 5 decimals and 32 bits")
    return Money(int(value.scaleb(decimals)), 10 * decimals or 1)


# ---- Dates and times ------------------------------------------------------------------------------------------------


def datetime_records(values: np.ndarray) -> np.ndarray:
    """Records of 8 bytes, as uint64, of datetime64 values; days give dates, NaT gives zeros, 1970-01-01 times alone.

    Raises:
        ValueError: a year that is not from 1900 to 2155.
    """
    whole_days = np.datetime_data(values.dtype)[0] == "D"
    stamp = values.astype("M8[s]")
    is_none = np.isnat(stamp)
    stamp = np.where(is_none, np.datetime64(0, "s"), stamp)
    day = stamp.astype("M8[D]")
    month = day.astype("M8[M]")
    year = month.astype("M8[Y]")
    time = (stamp - day).astype(np.int64)
    numbers = year.astype(np.int64) + 70
    if ((numbers < 0) | (numbers > 255)).any():
        raise ValueError("years from 1900 to 2155")
    out = np.zeros(len(stamp), DATETIME)
    has_date = (day != np.datetime64(0, "D")) | whole_days
    out["day"] = np.where(has_date, (day - month).astype(np.int64) + 1, 0)
    out["month"] = np.where(has_date, (month - year).astype(np.int64) + 1, 0)
    out["year"] = np.where(has_date, numbers, 0)
    out["hour"], out["minute"], out["second"] = time // 3600, time // 60 % 60, time % 60
    out["kind"] = has_date + (0 if whole_days else 2)
    raw = out.view(np.uint64)
    raw[is_none] = 0
    return raw


class DateTime(NamedTuple):
    """One date, time or both as it travels: years since 1900; kind 0 none, 1 date, 2 time, 3 both."""

    day: int
    month: int
    year: int
    hour: int
    minute: int
    second: int
    extra: int
    kind: int

    def value(self) -> Union[datetime.date, datetime.time, datetime.datetime, None]:
        """A date, time or datetime; None for no value and for numbers that are none (as 24 hours or 31 February)."""
        try:
            if self.kind == 1:
                return datetime.date(1900 + self.year, self.month, self.day)
            if self.kind == 2:
                return datetime.time(self.hour, self.minute, self.second)
            if self.kind == 3:
                return datetime.datetime(1900 + self.year, self.month, self.day, self.hour, self.minute, self.second)
        except ValueError:
            pass
        return None

    def json(self) -> Any:
        has_date, has_time = self.kind & 1, self.kind & 2
        date, time = self[:3], self[3:6]
        date_fits = self._replace(kind=1).value() is not None if has_date else date == (0, 0, 0)
        is_end_of_day = time == (24, 0, 0)
        time_fits = is_end_of_day or self._replace(kind=2).value() is not None if has_time else time == (0, 0, 0)
        if self.kind > 3 or self.extra or not date_fits or not time_fits:
            return self._asdict()
        texts = [f"{1900 + self.year}-{self.month:02}-{self.day:02}"] if has_date else []
        texts += ["{:02}:{:02}:{:02}".format(*time)] if has_time else []
        return "T".join(texts)

    def __str__(self) -> str:
        return str(self.json())


_DATE_TEXT = re.compile(r"(?:(\d{4})-(\d\d)-(\d\d))?(?:(?:(?<=\d)[T ])?(\d\d):(\d\d):(\d\d))?")


def datetime_of_json(value: Any) -> DateTime:
    if isinstance(value, dict) and value and set(value) <= set(DateTime._fields):
        return DateTime(*(value.get(name, 0) for name in DateTime._fields))
    found = _DATE_TEXT.fullmatch(value) if isinstance(value, str) else None
    if found and (found[1] is None or found[4] is None or value[10] in "T "):
        numbers = [int(text) if text else 0 for text in found.groups()]
        kind = (found[1] is not None) + 2 * (found[4] is not None)
        year, month, day, hour, minute, second = numbers
        read = DateTime(day, month, year - 1900 if found[1] else 0, hour, minute, second, 0, kind)
        if 0 <= read.year <= 255 and read.json() == value.replace(" ", "T"):
            return read
    raise ValueError('"1999-11-30", "09:05:07", "1999-11-30T09:05:07", "" or an object with the record\'s members')


# ---- Numbers and bytes as JSON --------------------------------------------------------------------------------------

_REALS = {"float": (">I", ">f", 0x7FC00000), "double": (">Q", ">d", 0x7FF8000000000000)}


def real_json(kind: str, bits: bytes) -> Any:
    """Of the big-endian bytes: the number with the fewest digits that mean it, or what says it."""
    as_bits, as_real, nan = _REALS[kind]
    (value,) = struct.unpack(as_real, bits)
    if value != value:
        return "NaN" if struct.unpack(as_bits, bits)[0] == nan else {"hex": bits.hex()}
    if value in (float("inf"), float("-inf")):
        return "Infinity" if value > 0 else "-Infinity"
    return float(str(np.float32(value))) if kind == "float" else value


class NaN(float):
    """A float that is no number and keeps its bytes, of which there are many."""

    bits: bytes

    def __new__(cls, bits: bytes) -> "NaN":
        made = super().__new__(cls, "nan")
        made.bits = bits
        return made

    def json(self) -> Any:
        return real_json("float" if len(self.bits) == 4 else "double", self.bits)


def real_of_json(kind: str, value: Any) -> bytes:
    as_bits, as_real, nan = _REALS[kind]
    given = bytes_of_json(value)
    if given is not None and len(given) == struct.calcsize(as_bits):
        return given
    if value == "NaN":
        return struct.pack(as_bits, nan)
    if value in ("Infinity", "-Infinity"):
        return struct.pack(as_real, float(value))
    if isinstance(value, (int, float)) and not isinstance(value, bool):
        try:
            return struct.pack(as_real, value)
        except OverflowError:
            pass
    raise ValueError('a number that fits, "NaN", "Infinity", "-Infinity", or {"hex": ...} with its bytes')


def bytes_of_json(value: Any) -> Optional[bytes]:
    """The bytes of {"hex": "..."}, or None for other values."""
    if not isinstance(value, dict) or set(value) != {"hex"}:
        return None
    return hex_digits(value["hex"])


def hex_digits(value: Any) -> bytes:
    if not isinstance(value, str) or not re.fullmatch("([0-9A-Fa-f]{2})*", value):
        raise ValueError("pairs of hex digits in quotes")
    return bytes.fromhex(value)


def text_json(value: bytes) -> Any:
    try:
        return value.decode()
    except UnicodeDecodeError:
        return {"hex": value.hex()}
