"""Reading: a survey in memory with its records, findings, units and places."""

from __future__ import annotations

import functools
import operator
import os
from typing import TYPE_CHECKING, Any, BinaryIO, Callable, NamedTuple, Union

import numpy as np

from . import _tavo
from ._error import Error, refusal
from ._records import Records
from ._schema import (DATE_TIME, DEFAULT, ENTRY, ENUM, FLOAT, FREE, TEXT, Field, Schema,
                      enumeration, schema)

if TYPE_CHECKING:
    import geopandas
    import pandas

    from ._edit import Edit

Source = Union[str, "os.PathLike[str]", bytes, bytearray, memoryview, BinaryIO]
Progress = Callable[[int, int], Any]

_KINDS = ("note", "warning", "error")
_NOT_OPEN = (2564, 2571)
_REASONS = ("", "no such file or folder", "it is a folder", "permission denied",
            "another program holds it", "the system refuses it")
MOMENT = np.dtype({"names": ["time", "type", "index"], "formats": ["<i8", "<u4", "<u8"],
                   "offsets": [0, 8, 16], "itemsize": 24})


class Finding(NamedTuple):
    """Something that a reading found.

    ``line`` counts from 1, ``column`` and ``length`` are bytes of the file's own line (column 0:
    the text is not there), ``source`` is that line, None where there is none.
    """

    number: int
    kind: str
    line: int
    column: int
    length: int
    text: str
    message: str
    source: str | None

    @property
    def code(self) -> str:
        """``"E2051"``, ``"W7010"``, ``"N7000"``."""
        return f"{self.kind[0].upper()}{self.number}"

    def __str__(self) -> str:
        return f"line {self.line}: {self.kind} {self.number}: {self.message or self.text}" + (
            f": {self.text!r}" if self.message and self.text else "")


class Units(NamedTuple):
    """Units and offsets in force. Names as the format has them; offsets in metres."""

    angular: str
    linear: str
    geographic: str
    temperature: str
    pressure: str
    date_order: str
    angular_factor: float
    linear_factor: float
    geographic_factor: float
    offset_east: float
    offset_north: float
    offset_elevation: float

    @classmethod
    def of(cls, raw: dict[str, Any]) -> Units:
        """From the numbers of the library."""
        names = enumeration()
        return cls(**{name: names.get(value, "UNKNOWN") if isinstance(value, int) else value
                      for name, value in raw.items()})


class Check(NamedTuple):
    """What :func:`check` found: counts and findings, without the records."""

    name: str
    counts: dict[str, int]
    findings: list[Finding]

    @property
    def by_code(self) -> dict[str, int]:
        """How many findings there are of each code, in the order of the codes."""
        counts: dict[str, int] = {}
        for code in sorted(finding.code for finding in self.findings):
            counts[code] = counts.get(code, 0) + 1
        return counts


def file_path(path: Any) -> bytes:
    """A path as the library takes it: whatever the system's own names are."""
    name = os.fsencode(path)
    if b"\0" in name:
        raise refusal(os.fsdecode(name), "no path has a zero byte")
    return name


def _source(source: Any) -> tuple[bytes | None, Any, Any, str]:
    if isinstance(source, (str, os.PathLike)):
        return file_path(source), None, None, os.fsdecode(source)
    if isinstance(source, (bytes, bytearray, memoryview)):
        return None, source, None, ""
    if callable(getattr(source, "read", None)):
        name = getattr(source, "name", "")
        return None, None, source, name if isinstance(name, str) else ""
    raise TypeError(f"a path, bytes or a file object is needed, not {type(source).__name__}")


def opened(path: Any, call: Callable[[bytes], Any]) -> Any:
    """What a call makes of a file. An error says which one it is, and why it cannot be opened."""
    name = file_path(path)
    try:
        return call(name)
    except Error as error:
        reason = _tavo.why_not_open(name) if error.status in _NOT_OPEN else 0
        text = error.text + (f", {_REASONS[reason]}" if reason else "")
        raise Error(error.status, text, error.where or os.fsdecode(path)) from None


def _run(call: Callable[..., Any], source: Any, limit: int | None, *callbacks: Any) -> Any:
    limit = 65535 if limit is None else operator.index(limit)
    if not 0 <= limit <= 65535:
        raise refusal("limit", "it is 0 to 65535")
    path, data, file, name = _source(source)
    if path is not None:
        return opened(path, lambda path: call(path, None, None, limit, *callbacks))
    try:
        return call(None, data, file, limit, *callbacks)
    except Error as error:
        raise Error(error.status, error.text, error.where or name) from None


def read(source: Source, *, limit: int | None = None,
         on_progress: Progress | None = None) -> Survey:
    """Reads a survey whole. Errors in the text are no failure: they are ``findings``.

    Args:
        source: a path, the bytes of a text, or a file object open in binary mode.
        limit: after so many errors the next one ends the reading; None: 65535.
        on_progress: called with the bytes done and all bytes (0: not known); False cancels. What
            it raises ends the reading and comes out whole, as Ctrl-C does.

    Raises:
        Error: the file cannot be opened or read, or the reading was cancelled.

    Other threads run meanwhile.

    >>> import tavo
    >>> tavo.read(b"DATABASE\\nPOINTS (PointNo,East,North)\\n7,1,2;\\nEND POINTS\\nEND DATABASE\\n")
    <tavo.Survey: 1 point; GRADS, METRE; no findings>
    """
    name = _source(source)[3]
    return Survey(_run(_tavo.read, source, limit, on_progress), name)


def check(source: Source, *, limit: int | None = None, on_progress: Progress | None = None,
          on_finding: Callable[[Finding], Any] | None = None) -> Check:
    """Checks a survey without keeping its records. Arguments and errors are those of :func:`read`;
    ``on_finding`` gets each finding as it comes.

    >>> import tavo
    >>> tavo.check(b"DATABASE\\nPOINTS (PointNo)\\nx;\\nEND POINTS\\nEND DATABASE\\n").by_code
    {'E2500': 1}
    """
    findings: list[Finding] = []

    def take(*row: Any) -> None:
        findings.append(_finding(row))
        if on_finding is not None:
            on_finding(findings[-1])

    counts = _run(_tavo.analyse, source, limit, on_progress, take)
    return Check(_source(source)[3], counts, findings)


def _finding(row: tuple[Any, ...]) -> Finding:
    return Finding(row[0], _KINDS[row[1]], *row[2:])


def value_of(field: Field, value: Any) -> Any:
    """One member as a plain Python value; None for a date that no calendar has."""
    if field.type == ENUM:
        return field.values.get(int(value), enumeration().get(int(value), "UNKNOWN"))
    if field.type in (FREE, DEFAULT):
        return free_value(value)
    if field.type == DATE_TIME:
        time = _tavo.times(np.array([value]))[0]
        return None if time == np.iinfo("i8").min else np.datetime64(int(time), "ns")
    if field.type == TEXT or isinstance(value, bytes):
        return _tavo.texts(np.array([value], f"S{max(1, len(value))}"))[0]
    # 1.31 and not the nearest double of the nearest float.
    return float(str(value)) if field.type == FLOAT else value.item()


def own_name(records: Records, offset: int) -> str:
    """The name that the member at an offset has in the records' block."""
    assert records.block is not None
    return next(field.name for field in records.block.kept if field.offset == offset)


def free_value(value: Any) -> Any:
    """Text, real or whole number, whichever is live; None for none."""
    kind = enumeration().get(int(value["kind"]), "")
    if kind == "TEXT":
        return _tavo.texts(np.array([value["text"]]))[0]
    if kind == "REAL":
        return float(value["real"])
    return int(value["integer"]) if kind == "INT" else None


def _of(path: str) -> Any:
    return property(lambda self: self[path], doc=f"Records of {path}, shape (n,), in place.")


class Survey:
    """A survey in memory. Made by :func:`read`; nothing in it can be changed, see :meth:`edit`.

    ``survey["JOBS"]`` gives the records of any block as :class:`tavo.Records`; THEMINFO, EDGES and
    ANNOTATIONS stand in several, so ``survey["POINTS/THEMINFO"]`` are those of the points, in
    place, and ``survey["THEMINFO"]`` a copy of all, whose first field ``Block`` names the owner's.

    Attributes:
        name: the path or name that it was read from.
        counts: lines, records, errors, warnings, comments and losses, as whole numbers.
    """

    def __init__(self, handle: Any, name: str) -> None:
        self._handle = handle
        self.name = name
        self.counts: dict[str, int] = handle.counts()
        self._known: dict[str, Records] = {}

    points: Records = _of("POINTS")
    lines: Records = _of("LINES")
    polygons: Records = _of("POLYGONS")
    setups: Records = _of("SETUP")
    slopes: Records = _of("SLOPE")
    jobs: Records = _of("JOBS")
    layers: Records = _of("LAYERS")
    codes: Records = _of("CODES")
    attributes: Records = _of("ATTRIBUTES")
    instruments: Records = _of("INSTRUMENTS")
    time_tagged_codes: Records = _of("TIME_TAGGED_CODES")
    operations: Records = _of("OPERATIONS")

    @property
    def schema(self) -> Schema:
        """The format's own tables, the same for all surveys."""
        return schema

    def _records(self, path: str) -> Records:
        if path not in self._known:
            block = schema[path]
            if block.dtype is None:
                raise refusal(block.path, "the block has no records of its own")
            data, lines, presence = self._handle.records(block.data_type)
            self._known[path] = Records.over(data.view(block.dtype), block, lines, presence)
        return self._known[path]

    def __getitem__(self, name: str) -> Records:
        paths = schema.paths(name)
        return self._joined(paths) if len(paths) > 1 else self._records(name.upper())

    def _joined(self, paths: list[str]) -> Records:
        parts = [self._records(path) for path in paths]
        first = parts[0].dtype
        assert first.names is not None and first.fields is not None
        # Where the owner's number has the name of its block in each, it has none of them here.
        names = tuple(name if all(name in (part.dtype.names or ()) for part in parts) else "OwnerNo"
                      for name in first.names)
        owner = max(len(path) for path in paths)
        made = np.zeros(sum(map(len, parts)), [("Block", f"U{owner}")] + [
            (name, first.fields[field][0]) for name, field in zip(names, first.names)])
        at = 0
        for path, part in zip(paths, parts):
            rows = slice(at, at + len(part))
            made["Block"][rows] = schema[path].parent
            for name, field in zip(names, first.names):
                made[name][rows] = part[own_name(part, first.fields[field][1])]
            at += len(part)
        made.flags.writeable = False
        return Records.over(made, schema[paths[0]], np.concatenate([part.lines for part in parts]),
                            np.concatenate([part.presence for part in parts]))

    @functools.cached_property
    def entries(self) -> np.ndarray:
        """Named values of all time-tagged codes one behind the other, a copy, shape ``(m,)``:
        ``name``, ``kind``, ``text``, ``real``, ``integer``. Each code's ``EntryCount`` says how
        many are its own."""
        return np.frombuffer(self._handle.entries(), ENTRY)

    @functools.cached_property
    def findings(self) -> list[Finding]:
        """What the reading found, in the order of the file."""
        return [_finding(row) for row in self._handle.findings()]

    @functools.cached_property
    def _blocks(self) -> list[tuple[Any, ...]]:
        return self._handle.blocks()

    @property
    def units(self) -> Units:
        """Units and offsets at the last block, or the format's own without any block."""
        raw = self._blocks[-1][7] if self._blocks else _tavo.units_behind([])
        return Units.of(raw)

    @property
    def header(self) -> dict[str, Any]:
        """What the HEADER gives, as plain values; UNITS, OFFSETS and PROJECT as dicts inside."""
        header = self._items("HEADER")
        for path in ("UNITS", "OFFSETS", "PROJECT"):
            if len(self[path]):
                header[path] = self._items(path)
        return header

    def _items(self, path: str) -> dict[str, Any]:
        records = self[path]
        if len(records) == 0:
            return {}
        last = len(records) - 1
        return {field.name: value_of(field, records[field.name][last])
                for field in schema[path].kept
                if not field.hidden and records.given(field.name)[last]}

    def timeline(self) -> np.ndarray:
        """Points, setups, slopes and time-tagged codes in the order of their time, shape ``(n,)``,
        in place: ``time`` (hundredths of a second in months of 31 days: orders, does not measure),
        ``type`` (the record type) and ``index`` among the records of that type."""
        return self._handle.timeline().view(MOMENT)

    def systems(self, *, ignore_transformations: bool = False,
                hotine_origin: str | None = None) -> list[Any]:
        """Reference systems that things of the survey lie in, see :class:`tavo.System`. Arguments
        are those of :meth:`to_geopandas`."""
        from ._places import Places

        return Places.of(self, ignore_transformations, hotine_origin).systems

    @property
    def remarks(self) -> list[Any]:
        """What the geometry found: things without a place or a system, see :class:`tavo.Remark`."""
        from ._places import Places

        return Places.of(self).remarks

    def to_pandas(self, block: str = "POINTS", units: str = "file", *,
                  columns: Any = None, theminfo: bool = False) -> pandas.DataFrame:
        """Records of a block as a DataFrame, one row each; see :func:`tavo._frames.to_pandas`.

        Args:
            block: ``"POINTS"``, ``"SLOPE"``, ``"LINES/THEMINFO"`` ..., or ``"FINDINGS"``.
            units: ``"file"``, or ``"si"`` for metres and radians. Offsets are not added.
            columns: names to take; None: those that any record gives; ``"all"``.
            theminfo: joins the owners' THEMINFO, a column ``a_NAME`` for each attribute.

        Whole numbers are Int32 or Int64 with NA, reals float with NaN, texts str with None,
        enumerations categories, dates datetime64[ns] with NaT, all where nothing is given.
        """
        from ._frames import to_pandas

        return to_pandas(self, block, units, columns, theminfo)

    def to_geopandas(self, layer: str = "points", crs: Any = None, *, system: int | None = None,
                     theminfo: bool = False, ignore_transformations: bool = False,
                     hotine_origin: str | None = None) -> geopandas.GeoDataFrame:
        """A layer as a GeoDataFrame: points, lines, polygons, edges, annotations, texts, setups or
        observations.

        Args:
            layer: its name.
            crs: a reference system in place of the survey's own, for example ``"EPSG:25832"``,
                of the same kind of coordinates. They stay as they are; ``frame.to_crs`` moves them.
            system: place among :meth:`systems`; needed where the layer lies in several.
            theminfo: joins the owners' THEMINFO as :meth:`to_pandas` does.
            ignore_transformations: takes a set's projection although it names an LTrfNo.
            hotine_origin: from where false coordinates of OBLIQUE_MERCATOR and RSO count:
                ``"centre"``, the projection centre, or ``"natural"``, the natural origin; None: as
                the block is usually meant, OBLIQUE_MERCATOR from the one, RSO from the other.

        Coordinates are metres with the offsets added, or degrees with the longitude first. A row
        without a place has no geometry.
        """
        from ._frames import to_geopandas
        from ._places import Places

        places = Places.of(self, ignore_transformations, hotine_origin)
        return to_geopandas(self, places, layer, crs, system, theminfo)

    def edit(self) -> Edit:
        """A copy that can be changed and written back."""
        from ._edit import Edit

        return Edit.of(self)

    def build(self, path: Any = None, *, decimals: tuple[int, int, int] = (4, 4, 10),
              columns: bool = True) -> bytes | None:
        """Writes the survey as text; see :func:`tavo.build`."""
        from ._edit import build

        return build(path, self, decimals, columns)

    def __repr__(self) -> str:
        counts = [(len(self[path]), one, many) for path, one, many in (
            ("POINTS", "point", "points"), ("LINES", "line", "lines"),
            ("POLYGONS", "polygon", "polygons"), ("SLOPE", "observation", "observations"))]
        things = ", ".join(f"{count} {one if count == 1 else many}"
                           for count, one, many in counts if count) or "no points"
        units = self.units
        found = [f"{count} {kind}{'s' if count > 1 else ''}" for kind, count in
                 (("error", self.counts["errors"]), ("warning", self.counts["warnings"])) if count]
        name = f" {self.name!r}" if self.name else ""
        return (f"<tavo.Survey{name}: {things}; {units.angular}, {units.linear}; "
                f"{', '.join(found) or 'no findings'}>")

    def _repr_html_(self) -> str:
        from ._map import page

        return page(self)
