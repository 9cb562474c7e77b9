"""Values of a caller as members of records, and members as the format can hold them: each is
checked, and what does not fit is refused with its row and field."""

from __future__ import annotations

import datetime
from typing import Any, Mapping

import numpy as np

from . import _tavo
from ._error import refusal, unfit
from ._records import Records
from ._schema import (BITS, CHAR, DATE, DATE_TIME, DEFAULT, DOUBLE, ENUM, FLOAT, FREE, LINEAR,
                      NO_UNIT, TEXT, UNKNOWN, Block, Field, enumeration)

_NOT_IN_TEXTS = (b"\n", b"\r", b"\x1a")
_DATE_LIMITS = {"year": (-999, 9999), "hundredths": (-99, 99)}
# Values as records hold them, of which nothing is converted.
AS_RECORDS = "records"
_KIND_TEXT, _KIND_REAL, _KIND_INT = 100, 101, 102
# Names that several numbers have, where it is not the first of them.
_OWN_NUMBERS = {("LINEAR", "USER"): 14, ("GEOCRD", "USER"): 20}


def empty(block: Block, count: int) -> Records:
    """Records that give nothing."""
    assert block.dtype is not None
    return Records.over(np.zeros(count, block.dtype), block, np.zeros(count, "u8"),
                        np.zeros(count, "u8"))


def joined(block: Block, parts: list[Records]) -> Records:
    """Records one behind the other. NumPy's own way would lay their members out anew."""
    made = empty(block, sum(map(len, parts)))
    at = 0
    for part in parts:
        rows = slice(at, at + len(part))
        made[rows], made.lines[rows], made.presence[rows] = part, part.lines, part.presence
        at += len(part)
    return made


def given(records: Records, field: Field) -> np.ndarray:
    """Where a field is given, which it is where it is not 0."""
    values = np.asarray(records[field.name])
    return records.given(field.name) | (values != np.zeros((), values.dtype))


def records_of(block: Block, rows: Any, units: str, in_force: dict[str, Any]) -> Records:
    """Records from whatever :meth:`tavo.Edit.put` takes."""
    if units not in ("file", "si", AS_RECORDS):
        raise refusal("units", 'they are "file" or "si"')
    if isinstance(rows, Records) and rows.dtype == block.dtype and rows._presence is not None:
        return rows.copy()
    # Whole records that lost their presence: what is not 0 is given.
    whole = isinstance(rows, Records) and rows.dtype.names == (block.dtype and block.dtype.names)
    raw = isinstance(rows, np.ndarray) and rows.dtype.names is not None
    columns = _columns_of(block, rows)
    counts = {len(cells) for cells in columns.values()}
    if len(counts) > 1:
        raise refusal(block.path, f"columns of different lengths: {sorted(counts)}")
    made = empty(block, counts.pop() if counts else 0)
    for name, cells in columns.items():
        field = _field(block, name)
        present = np.ones(len(cells), bool)
        if raw and np.asarray(cells).dtype == made.dtype[field.name]:
            made[field.name] = cells
        else:
            present = _fill(made, field, cells)
            _convert(made, field, present, units, in_force)
        if not field.hidden and not whole:
            made.give(field.name, present)
    return made


def _field(block: Block, name: str) -> Field:
    field = block.field(name)
    if field.offset is None:
        raise refusal(block.path, f"field {name!r} is checked but not kept")
    # Names that share a member: the one that is the block's own.
    return next(one for one in block.kept if one.offset == field.offset)


def _columns_of(block: Block, rows: Any) -> dict[str, Any]:
    """Cells by the name of their field."""
    if isinstance(rows, np.ndarray) and rows.dtype.names is not None:
        rows = np.atleast_1d(rows)
        return {name: rows[name] for name in rows.dtype.names or ()}
    if hasattr(rows, "columns") and hasattr(rows, "iloc"):
        return {str(name): rows[name] for name in rows.columns}
    if isinstance(rows, Mapping):
        plural = [len(cells) for cells in rows.values() if not _is_scalar(cells)]
        count = max(plural, default=1)
        return {name: [cells] * count if _is_scalar(cells) else cells
                for name, cells in rows.items()}
    rows = list(rows)
    for at, row in enumerate(rows):
        if not isinstance(row, Mapping):
            raise unfit(block.path, at, None, "a row is a dict from fields to values")
    names = dict.fromkeys(name for row in rows for name in row)
    return {name: [row.get(name) for row in rows] for name in names}


def _is_scalar(value: Any) -> bool:
    return isinstance(value, (str, bytes)) or not hasattr(value, "__len__") or (
        isinstance(value, np.ndarray) and value.ndim == 0)


def _is_missing(value: Any) -> bool:
    if value is None:
        return True
    try:
        return bool(value != value)  # NaN and NaT
    except TypeError:  # pandas.NA has no truth
        return True


def _fill(records: Records, field: Field, cells: Any) -> np.ndarray:
    """Puts cells into a field: where there is one. Numbers in bulk, everything else one by one."""
    values = records[field.name]
    bulk = getattr(cells, "dtype", None)
    if isinstance(bulk, np.dtype) and bulk.kind in "iuf" and field.type not in (
            FREE, DEFAULT, DATE_TIME, TEXT, CHAR, ENUM):
        return _fill_numbers(records, field, np.asarray(cells))
    assert records.block is not None
    path = records.block.path
    present = np.zeros(len(cells), bool)
    take = _TAKERS.get(field.type, _take_number)
    for row, cell in enumerate(cells):
        if _is_missing(cell):
            continue
        try:
            values[row] = take(field, cell)
        except (TypeError, ValueError, OverflowError, UnicodeError) as error:
            raise unfit(path, row, field.name, str(error)) from None
        present[row] = True
    return present


def _fill_numbers(records: Records, field: Field, cells: np.ndarray) -> np.ndarray:
    assert records.block is not None
    values = records[field.name]
    present = ~np.isnan(cells) if cells.dtype.kind == "f" else np.ones(len(cells), bool)
    safe = np.where(present, cells, 0)
    if values.dtype.kind == "u" or values.dtype.kind == "i":
        limits = np.iinfo(values.dtype)
        wrong = (safe < limits.min) | (safe > limits.max) | (safe != np.floor(safe))
    else:
        with np.errstate(over="ignore"):
            wrong = ~np.isfinite(safe.astype(values.dtype))
    if wrong.any():
        row = int(np.argmax(wrong))
        try:
            _take_number(field, cells[row].item())
        except (ValueError, OverflowError) as error:
            raise unfit(records.block.path, row, field.name, str(error)) from None
    values[:] = safe
    return present


def _take_number(field: Field, cell: Any) -> Any:
    kind = np.dtype(field.format)
    if isinstance(cell, (bool, np.bool_)) or not isinstance(cell, (int, float, np.number)):
        raise ValueError(f"{cell!r} is not a number")
    if kind.kind == "f":
        with np.errstate(over="ignore"):
            if not np.isfinite(kind.type(cell)):
                raise ValueError(f"{cell!r} is not a number that the field holds")
        return cell
    limits = np.iinfo(kind)
    if not float(cell).is_integer() or not limits.min <= cell <= limits.max:
        raise ValueError(f"{cell} is not a whole number from {limits.min} to {limits.max}")
    return int(cell)


def _take_bits(field: Field, cell: Any) -> Any:
    if not isinstance(cell, str):
        return _take_number(field, cell)
    if len(cell) > field.width or not set(cell) <= {"0", "1"} or not cell:
        raise ValueError(f"{cell!r} is not a bit field of {field.width} digits 0 and 1")
    return int(cell, 2)


def _bytes_of(cell: Any, room: int) -> bytes:
    if not isinstance(cell, (str, bytes)):
        raise ValueError(f"{cell!r} is not a text")
    text = cell.encode() if isinstance(cell, str) else bytes(cell)
    if len(text) > room:
        raise ValueError(f"{cell!r} takes {len(text)} bytes, {room} at most")
    if b"\0" in text or any(mark in text for mark in _NOT_IN_TEXTS):
        raise ValueError(f"{cell!r} holds a line end or another character that a text cannot have")
    return text


def _take_text(field: Field, cell: Any) -> bytes:
    return _bytes_of(cell, 1 if field.type == CHAR else field.width - 1)


def _take_enum(field: Field, cell: Any) -> int:
    names = {**field.values, UNKNOWN: "UNKNOWN"}
    if isinstance(cell, str):
        if (field.name, cell) in _OWN_NUMBERS:
            return _OWN_NUMBERS[field.name, cell]
        for number, name in names.items():
            if name == cell:
                return number
    elif int(cell) in names:
        return int(cell)
    raise ValueError(f"{cell!r} is none of {', '.join(names.values())}")


def _take_date(field: Field, cell: Any) -> Any:
    if isinstance(cell, str):
        cell = datetime.datetime.fromisoformat(cell)
    if isinstance(cell, np.datetime64):
        cell = cell.astype("M8[us]").item()
    if not isinstance(cell, datetime.date):
        raise ValueError(f"{cell!r} is not a date")
    if getattr(cell, "tzinfo", None) is not None:
        raise ValueError(f"{cell} has a time zone, which the format does not keep")
    if not isinstance(cell, datetime.datetime):
        cell = datetime.datetime(cell.year, cell.month, cell.day)
    # To the nearest hundredth, with carry into the date.
    cell += datetime.timedelta(microseconds=5000)
    return (cell.year, cell.month, cell.day, cell.hour, cell.minute, cell.second,
            cell.microsecond // 10000)


def _take_free(field: Field, cell: Any) -> Any:
    room = 126 if field.type == FREE else 40
    whole = (0,) if field.type == FREE else ()
    if isinstance(cell, (str, bytes)):
        return (_KIND_TEXT, _bytes_of(cell, room), 0.0, *whole)
    if isinstance(cell, (bool, np.bool_)):
        raise ValueError(f"{cell!r} is neither text nor number")
    if isinstance(cell, (int, np.integer)) and field.type == FREE:
        if not -2**31 <= cell < 2**31:
            raise ValueError(f"{cell} is outside the whole numbers of 32 bits")
        return (_KIND_INT, b"", 0.0, int(cell))
    if isinstance(cell, (int, float, np.number)) and np.isfinite(cell):
        return (_KIND_REAL, b"", float(cell), *whole)
    raise ValueError(f"{cell!r} is neither text nor a finite number")


_TAKERS = {BITS: _take_bits, TEXT: _take_text, CHAR: _take_text, ENUM: _take_enum,
           DATE_TIME: _take_date, FREE: _take_free, DEFAULT: _take_free}


def _convert(records: Records, field: Field, present: np.ndarray, units: str,
             in_force: dict[str, Any]) -> None:
    """From the caller's units to those of the records."""
    if field.unit_kind == NO_UNIT or units == AS_RECORDS or field.converted == (units == "si"):
        return
    wide = np.ascontiguousarray(records[field.name], "f8").copy()
    _tavo.convert(wide, in_force, field.unit_kind, field.converted)
    records[field.name] = np.where(present, wide, 0)


def check(records: Records, first: int, count: int) -> None:
    """Refuses members that the format cannot hold, in whole columns."""
    assert records.block is not None
    part = records[first:first + count]
    for field in records.block.kept:
        values = np.asarray(part[field.name])
        wrong, text = _faults(field, values)
        if wrong is not None and wrong.any():
            row = int(np.argmax(wrong))
            raise unfit(records.block.path, first + row, field.name,
                        text.format(values[row], room=field.width - 1))


def _faults(field: Field, values: np.ndarray) -> tuple[Any, str]:
    if field.type in (FLOAT, DOUBLE):
        return ~np.isfinite(values), "{} is not a finite number"
    if field.type == TEXT:
        return _faulty_texts(values), "{!r} is longer than {room} bytes or holds a line end"
    if field.type == ENUM:
        return (~np.isin(values, [0, UNKNOWN, *field.values]),
                "{} is none of " + ", ".join(field.values.values()))
    if field.type == DATE_TIME:
        wrong = np.zeros(len(values), bool)
        for name in DATE.names or ():
            low, high = _DATE_LIMITS.get(name, (-9, 99))
            wrong |= (values[name] < low) | (values[name] > high)
        return wrong & (values["year"] != 0), "{} has more digits than a date-time"
    if field.type in (FREE, DEFAULT):
        kinds = [0, _KIND_TEXT, _KIND_REAL, _KIND_INT][:4 if field.type == FREE else 3]
        return (~np.isin(values["kind"], kinds) | ~np.isfinite(values["real"]) |
                _faulty_texts(values["text"])), "{} is neither text nor number"
    return None, ""


def _faulty_texts(values: np.ndarray) -> np.ndarray:
    width = values.dtype.itemsize
    texts = np.ascontiguousarray(values).view("u1").reshape(len(values), width)
    inside = texts != 0
    ends = (texts == 10) | (texts == 13) | (texts == 26)
    # Nothing may stand behind the end mark, which must be there.
    return inside[:, -1] | ends.any(axis=1) | (inside[:, 1:] & ~inside[:, :-1]).any(axis=1)


def compare(records: Records, back: Records, decimals: tuple[int, int, int],
            units: dict[str, Any]) -> None:
    """Refuses what came back otherwise: more than the decimals, and tenths of a second, round."""
    assert records.block is not None
    for field in records.block.kept:
        if field.hidden:
            continue
        there = given(records, field)
        if not there.any():
            continue
        old, new = np.asarray(records[field.name]), np.asarray(back[field.name])
        wrong = there & _differ(field, old, new, decimals, units)
        if wrong.any():
            row = int(np.argmax(wrong))
            raise unfit(records.block.path, row, field.name, f"{old[row]} would become {new[row]}")


def _differ(field: Field, old: np.ndarray, new: np.ndarray, decimals: tuple[int, int, int],
            units: dict[str, Any]) -> np.ndarray:
    if field.type in (FLOAT, DOUBLE):
        return _far(old, new, decimals, units["linear_factor"] if field.unit_kind == LINEAR else 1)
    if field.type == DATE_TIME:
        whole = [name for name in DATE.names or () if name != "hundredths"]
        wrong = np.zeros(len(old), bool)
        for name in whole:
            wrong |= old[name] != new[name]
        # The order MJD rounds to the nearest hundredth, with carry.
        return wrong & (np.abs(_tavo.times(old) - _tavo.times(new)) > 10**8)
    if field.type == ENUM:
        return (old != new) & ~(np.isin(old, (0, UNKNOWN)) & np.isin(new, (0, UNKNOWN)))
    if field.type in (FREE, DEFAULT):
        wrong = (old["kind"] != new["kind"]) | (old["text"] != new["text"])
        return wrong | _far(old["real"], new["real"], decimals, 1)
    return old != new


def _far(old: np.ndarray, new: np.ndarray, decimals: tuple[int, int, int],
         factor: float) -> np.ndarray:
    # One decimal is the least that any real is written with.
    step = 0.51 * max(10.0 ** -min(decimals), 0.1) * max(1.0, abs(factor))
    return np.abs(old.astype("f8") - new) > step + 1e-5 * np.abs(old)
