"""The format's own tables: blocks, their fields, and the dtypes of their records."""

from __future__ import annotations

import functools
from typing import Any, Iterator, NamedTuple

import numpy as np

from . import _tavo
from ._error import refusal

# Types of fields, as the library numbers them.
CHAR, UINT8, UINT16, INT16, UINT32, FLOAT, DOUBLE, BITS, DATE_TIME, TEXT, DEFAULT, ENUM, FREE = range(13)
# Kinds of blocks that are not tables of fields, or not lines.
CONTAINER, ITEMS, COMPLETION, TIME_TAGGED, OPERATIONS = 0, 1, 4, 5, 6
NO_UNIT, ANGULAR, LINEAR, GEOGRAPHIC = range(4)
UNKNOWN = 1009
COLUMNS_RECORD = np.dtype([("comment", "S250"), ("fields", "<u4", 41)])
END_OF_COLUMNS = 131
_MOST_COLUMNS = 40

DATE = np.dtype([(name, "<i2") for name in
                 ("year", "month", "day", "hour", "minute", "second", "hundredths")])
_FREE = np.dtype([("kind", "<u4"), ("text", "S127"), ("real", "<f8"), ("integer", "<i4")])
_DEFAULT = np.dtype([("kind", "<u4"), ("text", "S41"), ("real", "<f8")])
ENTRY = np.dtype([("name", "S31"), ("kind", "<u4"), ("text", "S31"), ("real", "<f8"),
                  ("integer", "<i4")])
_PLAIN = {CHAR: "S1", UINT8: "u1", UINT16: "<u2", INT16: "<i2", UINT32: "<u4", FLOAT: "<f4",
          DOUBLE: "<f8", DATE_TIME: DATE, DEFAULT: _DEFAULT, ENUM: "<u4", FREE: _FREE}
_UNIT_NAMES = ("", "angular", "linear", "geographic")
# Records without a table of fields: their type, and how they lie in memory.
_FIXED = {
    91: np.dtype({"names": ["Code", "TimeTag", "Number", "EntryCount"],
                  "formats": ["S9", DATE, "<u2", "<u2"], "offsets": [0, 9, 23, 25],
                  "itemsize": 35}),
    56: np.dtype([("Operation", "<u4")]),
    57: np.dtype([("points", [("PointNo", "<u4"), ("PointID", "S18")], 10)]),
}


class Field(NamedTuple):
    """A column or item of a block, or a member that none of them names (``hidden``)."""

    id: int
    name: str
    type: int
    width: int  # of a text its bytes with the end mark, of a bit field its bits
    offset: int | None  # None: read and checked, but not kept
    size: int
    unit_kind: int
    converted: bool  # records hold metres or radians, not the file's unit
    group: int
    hidden: bool
    alias: bool  # a further name of another field's member

    @property
    def unit(self) -> str:
        """``"linear"``, ``"angular"``, ``"geographic"`` or ``""``."""
        return _UNIT_NAMES[self.unit_kind]

    @property
    def values(self) -> dict[int, str]:
        """Names of the numbers that an enumeration takes, else empty."""
        if self.type != ENUM:
            return {}
        return _group(self.group) if self.group else enumeration()

    @property
    def format(self) -> Any:
        """The member as NumPy sees it."""
        if self.type == TEXT:
            return f"S{self.width}"
        return f"<u{self.size}" if self.type == BITS else _PLAIN[self.type]


def _measured(field: Field, keyword: str) -> Field:
    """A field with its unit: geocentric coordinates of points are lengths like all others."""
    if keyword == "POINTS" and field.name in ("X", "Y", "Z"):
        return field._replace(unit_kind=LINEAR)
    return field


class Block:
    """A block of the format: where it stands, its record types and its fields.

    Attributes:
        keyword, parent: its own keyword and that of the block around it ("" at top level).
        path: the keyword, with the parent's where the keyword alone says too little.
        kind, columns_type, data_type: numbers of the library.
        fields: all of its :class:`Field` rows, in the order of its table.
        dtype: of its data records, None where it has none.
    """

    def __init__(self, row: tuple[Any, ...], shared: bool) -> None:
        self.keyword, self.parent, self.kind, self.columns_type, self.data_type = row[:5]
        self.path: str = f"{self.parent}/{self.keyword}" if shared else self.keyword
        self.fields = tuple(_measured(Field(*field), self.keyword) for field in row[6])
        self._places = {field.name: place for place, field in enumerate(self.fields)}
        kept = self.kept
        self.dtype: np.dtype[Any] | None = _FIXED.get(self.data_type)
        if self.dtype is None and kept and self.kind != COMPLETION:
            layout: Any = {
                "names": [field.name for field in kept],
                "formats": [field.format for field in kept],
                "offsets": [field.offset for field in kept],
                "itemsize": row[5]}
            self.dtype = np.dtype(layout)

    @property
    def kept(self) -> list[Field]:
        """The fields that have a member of their own in the record."""
        return [field for field in self.fields if field.offset is not None and not field.alias]

    def place(self, name: str) -> int:
        """Place of a field in the table: the bit of its presence."""
        if name not in self._places:
            raise refusal(self.path, f"there is no field {name!r}")
        return self._places[name]

    def field(self, name: str) -> Field:
        """A field by its name; :class:`tavo.Error` when there is none."""
        return self.fields[self.place(name)]

    def column_name(self, number: int) -> str | None:
        """Name of a declared column by the number of its field."""
        return next((field.name for field in self.fields if field.id == number), None)

    def __repr__(self) -> str:
        return f"<tavo block {self.path}: {', '.join(field.name for field in self.kept)}>"


class Schema:
    """All blocks by their path, in the format's order.

    >>> import tavo
    >>> tavo.schema["JOBS"]
    <tavo block JOBS: JobNo, Name, Operator, FieldParty, Date, TimeZone>
    >>> tavo.schema["POINTS"].field("East").unit
    'linear'
    """

    def __init__(self) -> None:
        rows = _tavo.schema_blocks()
        keywords = [row[0] for row in rows]
        self._blocks = {block.path: block for block in
                        (Block(row, keywords.count(row[0]) > 1) for row in rows)}
        # The points of operations are records of their own.
        points = Block(("OPERATION_POINTS", "OPERATIONS", OPERATIONS, 55, 57, 0, []), False)
        self._blocks[points.path] = points

    def __getitem__(self, name: str) -> Block:
        path = name.upper()
        if path in self._blocks:
            return self._blocks[path]
        parent, _, keyword = path.rpartition("/")
        for block in self._blocks.values():
            if block.keyword == keyword and block.parent == parent:
                return block
        raise refusal(name, "the format has no such block" + ("" if keyword not in (
            shared.keyword for shared in self) else f"; it has {', '.join(self.paths(keyword))}"))

    def __iter__(self) -> Iterator[Block]:
        return iter(self._blocks.values())

    def __len__(self) -> int:
        return len(self._blocks)

    def paths(self, keyword: str) -> list[str]:
        """Paths of all blocks with a keyword, in the format's order."""
        return [block.path for block in self if block.keyword == keyword.upper()]

    @functools.cached_property
    def by_type(self) -> dict[int, Block]:
        """Blocks by the type of their data and columns records, of several the first."""
        found: dict[int, Block] = {}
        for block in self:
            for kind in (block.data_type, block.columns_type):
                if kind:
                    found.setdefault(kind, block)
        return found

    @functools.cached_property
    def messages(self) -> dict[int, tuple[int, str, str]]:
        """Findings by number: kind, the log's words, explanation."""
        return _tavo.schema_messages()

    @functools.cached_property
    def operations(self) -> dict[int, str]:
        """Operations by number."""
        return {number: name for number, name, _ in _tavo.schema_operations()}


@functools.lru_cache(maxsize=None)
def _group(group: int) -> dict[int, str]:
    return _tavo.schema_group(group)


@functools.lru_cache(maxsize=None)
def enumeration() -> dict[int, str]:
    """Names of all enumeration numbers."""
    return _tavo.schema_values()


def columns_record(block: Block, columns: list[int]) -> bytes:
    """The columns record that declares fields of a block."""
    if len(columns) > _MOST_COLUMNS:
        raise refusal(block.path, f"a block has at most {_MOST_COLUMNS} columns")
    record = np.zeros((), COLUMNS_RECORD)
    record["fields"][:len(columns)] = columns
    record["fields"][len(columns)] = END_OF_COLUMNS
    return record.tobytes()


schema = Schema()
