"""Records in a data file: found, read in order, replaced and deleted one at a time."""

from __future__ import annotations

import os
from typing import Any, Callable, Iterable, Iterator, NamedTuple

import numpy as np

from . import _cells, _tavo
from ._error import refusal
from ._records import Records
from ._schema import COLUMNS_RECORD, END_OF_COLUMNS, ENTRY, Block, columns_record, schema
from ._survey import file_path, opened, value_of

_MODES = {"open": 0, "read": 1, "create": 2}
_BY_TYPE, _BY_LIST, _BY_NUMBER, _BY_ID = 1, 2, 3, 4
_CURRENT, _NEXT, _FIRST = 0, 1, 3
_NOT_KNOWN = 2**64 - 1
_LISTS = ("SubjectNo", "LayerNo", "ListNo", "CodeNo", "JobNo", "CfgNo")
_NUMBERS = ("PointNo", "LineNo", "PolygonNo", "StnNo", "STN_NO", "TgtNo")
_IDS = ("PointID", "LineID", "PolygonID", "StnID", "STN_ID", "TgtID")


class StoredRecord:
    """A record of a data file: ``record["East"]`` is a field as a plain value, ``array`` all of it
    as a structured scalar, ``line`` its line in the text that it comes from, 0: not known; of a
    columns record ``columns`` are the declared names.
    """

    def __init__(self, type_: int, data: bytes, line: int, presence: int, entries: bytes) -> None:
        self.type = type_
        self.line = line
        self.presence = presence
        #: Named values of a time-tagged code.
        self.entries = np.frombuffer(entries, ENTRY)
        self.block: Block = schema.by_type[type_]
        self.is_columns = type_ == self.block.columns_type
        dtype = COLUMNS_RECORD if self.is_columns else self.block.dtype
        assert dtype is not None
        self.array: np.void = np.frombuffer(data, dtype)[0]

    @property
    def columns(self) -> list[str | None]:
        """Declared columns, None for one that the format does not know."""
        if not self.is_columns:
            raise refusal(self.block.path, "this is a data record")
        names: list[str | None] = []
        for number in self.array["fields"]:
            if number == END_OF_COLUMNS:
                break
            names.append(self.block.column_name(int(number)) if number else None)
        return names

    def __getitem__(self, name: str) -> Any:
        field = self.block.field(name)
        return value_of(field, self.array[field.name])

    def given(self, name: str) -> bool:
        """Whether the record gave a field; of a compatible file, which does not know, True."""
        return bool(self.presence >> self.block.place(name) & 1)

    def values(self) -> dict[str, Any]:
        """All fields as plain values; of time-tagged codes and operations the array's."""
        if not self.block.kept:
            return {name: self.array[name] for name in self.array.dtype.names or ()}
        return {field.name: self[field.name] for field in self.block.kept}

    def __repr__(self) -> str:
        if self.is_columns:
            return f"<{self.block.path} columns {', '.join(map(str, self.columns))}>"
        shown = {name: value for name, value in self.values().items()
                 if self.array[name] != np.zeros((), self.array.dtype[name])}
        return f"<{self.block.path} {', '.join(f'{name}={value!r}' for name, value in shown.items())}>"


class StoreFinding(NamedTuple):
    """What :func:`verify` found; page -1, record and record_type 0: of no single one."""

    kind: str
    page: int
    record: int
    record_type: int
    text: str


def verify(path: str | os.PathLike[str]) -> list[StoreFinding]:
    """Checks a closed data file whole; an empty list says that it is sound.

    Raises:
        Error: it cannot be read as a data file.
    """
    return _findings(opened(path, _tavo.verify))


def _findings(rows: list[tuple[Any, ...]]) -> list[StoreFinding]:
    return [StoreFinding(("note", "warning", "error")[row[0]], *row[1:]) for row in rows]


class Repair(NamedTuple):
    """What :func:`repair` saved: records by the path of their block ("columns" behind it for
    columns records, "" for those that cannot be told), and how many are gone without a trace."""

    found: dict[str, int]
    damaged: dict[str, int]
    twice: dict[str, int]
    untraced: int
    findings: list[StoreFinding]

    @property
    def complete(self) -> bool:
        """Whether nothing is missing."""
        return not self.damaged and not self.untraced


def repair(path: str | os.PathLike[str], target: str | os.PathLike[str]) -> Repair:
    """Saves every record of a closed data file that is whole into a new one; the old one stays.

    Raises:
        Error: no record is there, or the new file cannot be written; the target is as it was.
    """
    findings, found, damaged, twice, untraced = _tavo.repair(file_path(path), file_path(target))
    return Repair(_by_name(found), _by_name(damaged), _by_name(twice), untraced, _findings(findings))


def _by_name(counts: dict[int, int]) -> dict[str, int]:
    return {_name(type_): count for type_, count in counts.items()}


def _name(type_: int) -> str:
    block = schema.by_type.get(type_)
    if block is None:
        return ""
    return block.path + (" columns" if type_ == block.columns_type else "")


class Store:
    """An open data file; a context manager that closes it.

    Args:
        path: of the file.
        mode: ``"open"`` an existing file, ``"read"`` without changing it, or ``"create"`` a new one.
        cache_pages: pages of 1024 bytes kept in memory.
        journal: path of a journal. With one every change is on the medium when its call returns;
            all who open the file must name the same one.
        kind: of a new file: ``"compatible"`` with the functions of ``tavo.h``, which keeps records
            by type, each point once, or ``"complete"``, which keeps all of a text in its order.

    ``len(store)`` counts its records, iterating gives them in the file's order. One thread at a
    time may use a store.

    >>> import tavo, tempfile, os
    >>> path = os.path.join(tempfile.mkdtemp(), "survey.dat")
    >>> with tavo.Store(path, "create") as store:
    ...     store.write("POINTS", [{"PointNo": 1, "East": 2.5}, {"PointNo": 2}])
    ...     store.find(number=1)["East"]
    ...     store.update({"East": 3.5})
    ...     [record["East"] for record in store]
    2.5
    [3.5, 0.0]
    >>> tavo.verify(path)
    []
    """

    def __init__(self, path: str | os.PathLike[str], mode: str = "open", *, cache_pages: int = 10,
                 journal: str | os.PathLike[str] | None = None,
                 kind: str = "compatible") -> None:
        if kind not in ("compatible", "complete"):
            raise refusal("kind", 'it is "compatible" or "complete"')
        if mode not in _MODES:
            raise refusal("mode", f"it is one of {', '.join(_MODES)}")
        if not 0 <= cache_pages < 2**31:
            raise refusal("cache_pages", "it is a number of pages")
        self.path = os.fsdecode(path)
        self._opening = (cache_pages, b"" if journal is None else file_path(journal),
                         kind == "complete")
        self._mode = mode
        self._handle = self._open(mode)
        self._current: StoredRecord | None = None

    def _open(self, mode: str) -> Any:
        return opened(self.path, lambda path: _tavo.Store(path, _MODES[mode], *self._opening))

    def __enter__(self) -> Store:
        return self

    def __exit__(self, *_: object) -> None:
        self.close()

    def close(self) -> None:
        """Writes what is pending and closes the file; a second time is no fault."""
        self._handle.close()

    def __len__(self) -> int:
        return int(self._handle.size())

    def __iter__(self) -> Iterator[StoredRecord]:
        record = self._take(self._handle.read(_FIRST))
        while record is not None:
            yield record
            if self._current is not record:
                raise refusal(self.path, "the store was moved while it was iterated")
            record = self._take(self._handle.read(_NEXT))

    @property
    def kind(self) -> str:
        """``"compatible"`` or ``"complete"``."""
        return "complete" if self._handle.is_complete() else "compatible"

    def _take(self, row: tuple[int, bytes, int, int, bytes] | None) -> StoredRecord | None:
        self._current = None if row is None else StoredRecord(*row)
        return self._current

    def find(self, block: str = "POINTS", *, number: int | None = None, id: str | None = None,
             list: int | None = None) -> StoredRecord | None:
        """The first record of a block with a number, an identifier, or the number of its list (of a
        subject, layer, list, code, job or configuration); without any the first of the block. It
        becomes the current one. None when there is none.

        Raises:
            Error: the block has no such key, or several were asked for.
        """
        wanted = [(lookup, names, value) for lookup, names, value in (
            (_BY_NUMBER, _NUMBERS, number), (_BY_ID, _IDS, id), (_BY_LIST, _LISTS, list))
            if value is not None]
        if len(wanted) > 1:
            raise refusal("find", "one of number, id and list can be asked for")
        made = schema[block]
        record = _cells.empty(made, 1)
        lookup = _BY_TYPE
        if wanted:
            lookup, names, value = wanted[0]
            own = [field.name for field in made.kept if field.name in names]
            if not own:
                raise refusal(made.path, "its records have no such key")
            record = _cells.records_of(made, {own[0]: [value]}, _cells.AS_RECORDS, {})
        found = self._handle.find(made.data_type, lookup, record.tobytes())
        return self._take(self._handle.read(_CURRENT) if found else None)

    def write(self, block: str, rows: Any, entries: Any = None) -> None:
        """Stores records behind all others: rows as :meth:`tavo.Edit.put` takes them, values as
        records hold them (metres and radians where the schema says ``converted``, else the file's
        unit). ``entries`` are the named values of time-tagged codes, as :attr:`tavo.Edit.entries`
        has them, which a complete file keeps."""
        made = schema[block]
        records = self._records(made, rows)
        values = np.asarray([] if entries is None else entries, ENTRY)
        counts = records["EntryCount"] if made.data_type == 91 else np.zeros(len(records), int)
        ends = np.concatenate([[0], np.cumsum(counts, dtype="i8")])
        if ends[-1] != len(values):
            raise refusal(made.path, "EntryCount must add up to the number of entries")
        self._current = None
        for at, presence in enumerate(records.presence.tolist()):
            self._handle.append(made.data_type, records[at].tobytes(), presence,
                                values[ends[at]:ends[at + 1]].tobytes())

    def declare(self, block: str, columns: Iterable[str]) -> None:
        """Stores the columns record of a block, which a text that is built from the file needs in
        front of its records: the names of its columns, at most 40."""
        made = schema[block]
        fields = [made.field(name).id for name in columns]
        self._current = None
        self._handle.append(made.columns_type, columns_record(made, fields), _NOT_KNOWN, b"")

    @staticmethod
    def _records(block: Block, rows: Any) -> Records:
        records = _cells.records_of(block, rows, _cells.AS_RECORDS, {})
        _cells.check(records, 0, len(records))
        return records

    def _now(self, record: StoredRecord | None) -> StoredRecord:
        if self._current is None or record is not None and record is not self._current:
            raise refusal(self.path, "that is not the current record; find it, or iterate to it")
        return self._current

    def update(self, values: Any, record: StoredRecord | None = None) -> None:
        """Changes fields of the current record: the one that ``find`` or the iteration gave last.
        ``record``, when given, must be that one."""
        current = self._now(record)
        if current.is_columns:
            raise refusal(current.block.path, "a columns record cannot be changed")
        if not values:
            return
        changed = self._records(current.block, {name: [value] for name, value in values.items()})
        made = np.array([current.array], current.array.dtype)
        for name in values:
            made[name] = changed[name]
        presence = current.presence | int(changed.presence[0])
        self._handle.replace(current.type, made.tobytes(), current.line, presence,
                             current.entries.tobytes())
        current.array, current.presence = made[0], presence

    def delete(self, record: StoredRecord | None = None) -> None:
        """Deletes the current record, as ``update`` knows it."""
        self._now(record)
        self._handle.remove()

    def verify(self) -> list[StoreFinding]:
        """Closes the file, checks it whole with :func:`tavo.verify` and opens it again."""
        return self._closed(lambda: verify(self.path))

    def repair(self, target: str | os.PathLike[str]) -> Repair:
        """Closes the file, saves what is whole with :func:`tavo.repair` and opens it again."""
        return self._closed(lambda: repair(self.path, target))

    def _closed(self, work: Callable[[], Any]) -> Any:
        self.close()
        try:
            return work()
        finally:
            self._handle = self._open("read" if self._mode == "read" else "open")
            self._current = None
