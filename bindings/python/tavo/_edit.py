"""Changing and writing: records in arrays of one's own, checked against what the format can hold,
and the text that they become."""

from __future__ import annotations

import operator
from typing import Any, Iterable, Mapping

import numpy as np

from . import _cells, _tavo
from ._error import refusal, unfit
from ._records import Records
from ._schema import (BITS, DOUBLE, ENTRY, FLOAT, INT16, ITEMS, OPERATIONS, TIME_TAGGED, UINT16,
                      UINT32, UINT8, Block, columns_record, schema)
from ._survey import Survey, Units, file_path, read

# An empty one would be written as 0.
_NUMBERS = {UINT8, UINT16, INT16, UINT32, FLOAT, DOUBLE, BITS}


class _Section:
    """Records of one block that follow each other in the text, and the columns declared for them."""

    def __init__(self, block: Block, columns: list[int], first: int, count: int,
                 continued: bool = False) -> None:
        self.block, self.columns = block, columns
        self.first, self.count, self.continued = first, count, continued


class Edit:
    """A survey to change and write: made by :meth:`tavo.Survey.edit`, or empty.

    ``edit["POINTS"]`` are its records of a block, which can be changed in place; values other than
    0 count as given, ``give`` and ``clear`` of :class:`tavo.Records` settle the rest.
    ``edit["POINTS"] = rows`` puts others in their place: records, a structured array, a DataFrame,
    a list of dicts or a dict of columns. Rows count from 0.

    >>> import tavo
    >>> edit = tavo.Edit()
    >>> edit["POINTS"] = [{"PointNo": 1, "East": 2.5}, {"PointNo": 2, "PointID": "a point"}]
    >>> edit["POINTS"]["East"] += 1
    >>> print(edit.build().decode())
    DATABASE
      POINTS (PointNo,PointID,East)
        1,  "",         3.5000;
        2,  "a point",  1.0000;
      END POINTS
    END DATABASE
    <BLANKLINE>
    """

    def __init__(self) -> None:
        self._sections: list[_Section] = []
        self._records: dict[str, Records] = {}
        #: Named values of all time-tagged codes one behind the other.
        self.entries: np.ndarray = np.zeros(0, ENTRY)

    @classmethod
    def of(cls, survey: Survey, copy: bool = True) -> Edit:
        """A copy of a survey's records, or a view to write from."""
        made = cls()
        for columns_type, data_type, first, count, columns, continued, _, _ in survey._blocks:
            block = schema.by_type[data_type]
            made._sections.append(_Section(block, columns, first, count, continued))
            made._take(survey, block.path, copy)
            if block.kind == OPERATIONS:
                made._take(survey, "OPERATION_POINTS", copy)
        made.entries = survey.entries.copy() if copy else survey.entries
        return made

    def _take(self, survey: Survey, path: str, copy: bool) -> None:
        if path in self._records:
            return
        self._records[path] = survey[path].copy() if copy else survey[path]

    @property
    def points(self) -> Records:
        """Records of POINTS."""
        return self["POINTS"]

    @property
    def units(self) -> Units:
        """Units and offsets that its UNITS and OFFSETS set."""
        return Units.of(self._units())

    def _units(self) -> dict[str, Any]:
        rows = []
        for section in self._sections:
            if section.block.path in ("UNITS", "OFFSETS"):
                records = self[section.block.path]
                for at in range(section.first, section.first + section.count):
                    columns = columns_record(section.block, _item_columns(records, at))
                    rows.append((columns, section.block.data_type, records[at].tobytes()))
        return _tavo.units_behind(rows)

    def __getitem__(self, name: str) -> Records:
        paths = schema.paths(name)
        if len(paths) > 1:
            raise refusal(name, f"it stands in several blocks, say {' or '.join(paths)}")
        block = schema[name]
        if block.path not in self._records:
            if block.dtype is None:
                raise refusal(block.path, "the block has no records of its own")
            self._records[block.path] = _cells.empty(block, 0)
        return self._records[block.path]

    def __setitem__(self, name: str, rows: Any) -> None:
        self.put(name, rows)

    def put(self, name: str, rows: Any, units: str = "file") -> None:
        """Puts records in the place of a block's: all of its blocks become the first one, or a new
        one where the format has it.

        Args:
            name: path of the block.
            rows: see above. Arrays hold what records hold; everything else holds values
                in the file's units, or in metres and radians with ``units="si"``.

        Raises:
            Error: a value that the format cannot hold, with its row and field.
        """
        block = self[name].block
        assert block is not None
        records = _cells.records_of(block, rows, units, self._units())
        mine = [section for section in self._sections if section.block is block]
        self._records[block.path] = records
        if sum(section.count for section in mine) == len(records) and mine:
            return
        columns = list(dict.fromkeys(one for section in mine for one in section.columns))
        section = _Section(block, columns, 0, len(records))
        if block.data_type == 57:  # goes with the operations
            return
        order = list(schema).index
        at = (self._sections.index(mine[0]) if mine else
              1 + max((place for place, other in enumerate(self._sections)
                       if order(other.block) <= order(block)), default=-1))
        self._sections = [one for one in self._sections if one.block is not block]
        self._sections.insert(at, section)

    def append(self, name: str, rows: Any, units: str = "file") -> None:
        """Adds a further block behind all others. Arguments and errors are those of :meth:`put`."""
        old = self[name]
        assert old.block is not None
        new = _cells.records_of(old.block, rows, units, self._units())
        self._records[old.block.path] = _cells.joined(old.block, [old, new])
        if old.block.data_type != 57:
            self._sections.append(_Section(old.block, [], len(old), len(new)))

    def build(self, path: Any = None, *, decimals: tuple[int, int, int] = (4, 4, 10),
              columns: bool = True) -> bytes | None:
        """Writes the text and reads it again: what does not come back is refused with its row and
        field, and no file is made. Arguments and result are those of :func:`tavo.build`."""
        for section in self._sections:
            _cells.check(self[section.block.path], section.first, section.count)
        text = self._text(decimals, columns)
        self._compare(read(text), decimals)
        if path is None:
            return text
        _tavo.replace_file(file_path(path), text)
        return None

    def survey(self, *, decimals: tuple[int, int, int] = (4, 4, 10)) -> Survey:
        """The survey that the text is, rounded to the decimals."""
        text = self.build(decimals=decimals)
        assert text is not None
        return read(text)

    def _text(self, decimals: tuple[int, int, int], columns: bool, path: Any = None) -> Any:
        places = tuple(map(operator.index, decimals))
        rows: list[Any] = []
        declared: dict[int, list[int]] = {}  # columns of the latest block of each data type
        for section in self._sections:
            if section.block.kind in (OPERATIONS, TIME_TAGGED):
                rows += self._fixed(section, rows)
            else:
                rows += self._rows(section, declared)
        return _tavo.build_sections(rows, path, places, columns)

    def _rows(self, section: _Section, declared: dict[int, list[int]]) -> list[Any]:
        """What the library writes of a section: a columns record and records, again wherever the
        numbers that are given change, since an empty one would be written as 0."""
        block, records = section.block, self[section.block.path]
        runs = list(_runs(section, records)) if section.count else []
        if not runs and not section.continued:
            runs = [(0, 0, _known(section.columns))]
        made: list[Any] = []
        for place, (first, count, listed) in enumerate(runs):
            opens = place == 0 and not section.continued
            columns = None
            if opens or listed != declared.get(block.data_type):
                columns = columns_record(block, listed)
                declared[block.data_type] = listed
            made.append((block.columns_type, columns, block.data_type, count,
                         _bytes(records[first:first + count]), None))
        return made

    def _fixed(self, section: _Section, before: list[Any]) -> list[Any]:
        """The same of lines with a layout of their own. A block of them goes on with the one right
        before it, and one without lines has no written form."""
        block, records = section.block, self[section.block.path]
        if section.count == 0:
            return []
        goes_on = before and before[-1][2] == block.data_type
        part = slice(section.first, section.first + section.count)
        return [(block.columns_type, None if goes_on else columns_record(block, section.columns),
                 block.data_type, section.count, _bytes(records[part]),
                 self._beside(block, records, part))]

    def _beside(self, block: Block, records: Records, part: slice) -> Any:
        if block.kind == OPERATIONS:
            points = self["OPERATION_POINTS"]
            if len(points) != len(records):
                raise refusal("OPERATIONS", "there must be as many OPERATION_POINTS")
            return _bytes(points[part])
        ends = np.concatenate([[0], np.cumsum(records["EntryCount"], dtype="i8")])
        if ends[-1] != len(self.entries):
            raise refusal("TIME_TAGGED_CODES", "EntryCount must add up to the number of entries")
        return _bytes(self.entries[ends[part.start]:ends[part.stop]])

    def _compare(self, again: Survey, decimals: tuple[int, int, int]) -> None:
        """Refuses what the text does not give back."""
        wrong = next((one for one in again.findings if one.kind != "note"), None)
        for path, records in self._records.items():
            back = again[path]
            if len(back) != len(records) and wrong is not None:
                row = int(np.searchsorted(back.lines, wrong.line))
                raise unfit(path, row, None, f"a reader of its line would say: {wrong}")
            if len(back) != len(records):
                raise refusal(path, f"of {len(records)} records {len(back)} would come back")
            _cells.compare(records, back, decimals, self._units())
        if wrong is not None:
            raise refusal("the text", f"a reader would say: {wrong}")


def _bytes(records: np.ndarray) -> Any:
    return np.ascontiguousarray(records).view(np.ndarray).view("u1").reshape(-1)


def _known(columns: Iterable[int]) -> list[int]:
    """Without those that the format does not know, and repeated ones."""
    return list(dict.fromkeys(one for one in columns if one))


def _item_columns(records: Records, at: int) -> list[int]:
    assert records.block is not None
    return [field.id for field in records.block.kept
            if not field.hidden and (records[field.name][at] != np.zeros((), field.format)
                                     or records.given(field.name)[at])]


def _runs(section: _Section, records: Records) -> Iterable[tuple[int, int, list[int]]]:
    """First record, count and columns, wherever the numbers that are given change."""
    block = section.block
    part = records[section.first:section.first + section.count]
    if block.kind == ITEMS:
        for at in range(section.count):
            yield section.first + at, 1, _item_columns(part, at)
        return
    given = {field.id: _cells.given(part, field) for field in block.kept if not field.hidden}
    kept = {field.id: field for field in block.kept}
    columns = _known(section.columns)
    columns += [field for field, rows in given.items() if field not in columns and rows.any()]
    numbers = [one for one in columns if one in kept and kept[one].type in _NUMBERS]
    mask = np.zeros(len(part), "u8")
    for place, one in enumerate(numbers):
        mask |= given[one].astype("u8") << np.uint64(place)
    starts = np.concatenate([[0], np.flatnonzero(mask[1:] != mask[:-1]) + 1, [len(part)]])
    for first, end in zip(starts[:-1].tolist(), starts[1:].tolist()):
        bits = int(mask[first])
        listed = [one for one in columns
                  if one not in numbers or bits >> numbers.index(one) & 1] or columns[:1]
        yield section.first + first, end - first, listed


def build(path: Any, records: Any, decimals: tuple[int, int, int] = (4, 4, 10),
          columns: bool = True) -> bytes | None:
    """Writes a survey as text.

    Args:
        path: of the file, which is replaced when the text is complete; None: gives the text back.
        records: a :class:`Survey`, an :class:`Edit`, a mapping from blocks to rows (written in the
            format's order), or pairs of block and rows (written as they come). Rows are what
            :meth:`Edit.put` takes; values are in the file's units.
        decimals: of angles, of lengths, and of latitudes, longitudes and other 64-bit reals, in the
            file's units.
        columns: whether columns are aligned.

    Raises:
        Error: the file cannot be written, or the format cannot hold a value: ``row`` and ``field``
            say which.

    What a record does not give stays empty: where the numbers that are given change from one row to
    the next, a block ends and another one with other columns begins.

    >>> import tavo
    >>> print(tavo.build(None, {"POINTS": {"PointNo": [1, 2], "East": [2.5, 10], "CLASS": "FIX"}}).decode())
    DATABASE
      POINTS (PointNo,CLASS,East)
        1,  FIX,   2.5000;
        2,  FIX,  10.0000;
      END POINTS
    END DATABASE
    <BLANKLINE>
    >>> tavo.build(None, {"POINTS": [{"PointNo": 1}, {"PointNo": -2}]})
    Traceback (most recent call last):
    tavo.Error: POINTS, row 1, field PointNo: -2 is not a whole number from 0 to 4294967295
    """
    if isinstance(records, Survey):
        target = None if path is None else file_path(path)
        return Edit.of(records, copy=False)._text(decimals, columns, target)
    if isinstance(records, Edit):
        return records.build(path, decimals=decimals, columns=columns)
    edit = Edit()
    if isinstance(records, Mapping):
        order = [block.path for block in schema]
        pairs = sorted(records.items(), key=lambda pair: order.index(schema[pair[0]].path))
    else:
        pairs = list(records)
    for name, rows in pairs:
        if name.upper() == "ENTRIES":
            edit.entries = np.asarray(rows)
        else:
            edit.append(name, rows)
    return edit.build(path, decimals=decimals, columns=columns)
