"""Records as DataFrames, and layers as GeoDataFrames. pandas, GeoPandas and pyproj are imported
here alone, when a frame is asked for."""

from __future__ import annotations

import warnings
from typing import TYPE_CHECKING, Any, Iterable

import numpy as np

from . import _tavo
from ._error import refusal
from ._places import Places, System
from ._records import Records
from ._schema import (BITS, DATE_TIME, DEFAULT, DOUBLE, ENUM, FLOAT, FREE, NO_UNIT, TEXT, UINT32,
                      UNKNOWN, Block, Field, schema)

if TYPE_CHECKING:
    from ._survey import Survey

_NOT_A_TIME = np.iinfo("i8").min
_AT_ONCE = 4096
_FLAT_POINT = b"\x01\x01\x00\x00\x00"  # what stands in front of x and y


class _Layer:
    """What a layer takes its rows from, whether its shapes are single lines, and whether they are
    places of labels, which have heights all or not at all."""

    def __init__(self, *paths: str, single: bool = False, labels: bool = False) -> None:
        self.paths = paths
        self.single = single
        self.labels = labels


LAYERS = {
    "points": _Layer("POINTS"),
    "lines": _Layer("LINES"),
    "polygons": _Layer("POLYGONS"),
    "edges": _Layer("LINES/EDGES", "POLYGONS/EDGES", single=True),
    "annotations": _Layer("POINTS/ANNOTATIONS", "LINES/ANNOTATIONS", "POLYGONS/ANNOTATIONS",
                          labels=True),
    "texts": _Layer("BOX_ON_POINT", labels=True),
    "setups": _Layer("SETUP"),
    "observations": _Layer("SLOPE", single=True),
}
# Owners of THEMINFO and the fields that name them there.
_OWNERS = {"POINTS": ("PointNo", "PointID"), "LINES": ("LineNo", "LineID"),
           "POLYGONS": ("PolygonNo", "PolygonID")}


def _runs_of_units(survey: Survey, block: Block) -> list[tuple[int, int, dict[str, Any]]]:
    return survey._handle.unit_runs(block.data_type)


def _real(values: np.ndarray, field: Field, runs: Any, units: str) -> np.ndarray:
    """Values in the units asked for, of the type that the field has."""
    if field.unit_kind == NO_UNIT or field.converted == (units == "si"):
        return values
    wide = values.astype("f8")
    for first, count, in_force in runs:
        # A part of a contiguous array is one, so the values themselves are converted.
        _tavo.convert(wide[first:first + count], in_force, field.unit_kind, units == "si")
    return wide.astype(values.dtype, copy=False)


def _members(records: Records, fields: list[Field]) -> dict[str, np.ndarray]:
    """Copies of whole columns. Some thousand records at a time, for all columns, so that each
    record comes into the processor's cache once."""
    plain = records.view(np.ndarray)
    made = {field.name: np.empty(len(plain), plain.dtype[field.name]) for field in fields}
    for first in range(0, len(plain), _AT_ONCE):
        part = plain[first:first + _AT_ONCE]
        for name, column in made.items():
            column[first:first + _AT_ONCE] = part[name]
    return made


def _column(values: np.ndarray, field: Field, absent: np.ndarray | None, runs: Any,
            units: str) -> Any:
    """Values of one field as a column; ``absent`` None: all are given."""
    import pandas

    if field.type in (FLOAT, DOUBLE):
        made = _real(values, field, runs, units)
        if absent is not None:
            made[absent] = np.nan
        return made
    if field.type == ENUM:
        return _categories(values, field, absent)
    if field.type == DATE_TIME:
        times = _tavo.times(values)
        none = times == _NOT_A_TIME
        lost = np.count_nonzero(none if absent is None else none & ~absent)
        if lost:
            warnings.warn(f"{field.name}: {lost} dates that are none, or outside the years 1678 "
                          "to 2262, are NaT", stacklevel=5)
        return times.view("M8[ns]")
    if field.type in (FREE, DEFAULT):
        return _free(values, absent)
    if values.dtype.kind == "S":
        # Writing makes an empty text of one that is not given, so both are told alike.
        return _tavo.texts(values, True)
    wide = np.int64 if field.type == UINT32 else np.int32
    return pandas.arrays.IntegerArray(
        values.astype(wide), np.zeros(len(values), bool) if absent is None else absent)


def _categories(values: np.ndarray, field: Field, absent: np.ndarray | None) -> Any:
    import pandas

    names = {**field.values, UNKNOWN: "UNKNOWN"}
    # Several numbers may have one name.
    places = {name: at for at, name in enumerate(dict.fromkeys(names.values()))}
    # By a table from numbers to places, whose last entry is for all numbers that are none.
    table = np.full(max(names) + 2, -1, "i1" if len(places) < 128 else "i2")
    table[list(names)] = [places[name] for name in names.values()]
    codes = table[np.minimum(values, len(table) - 1)]
    if absent is not None:
        codes[absent] = -1
    return pandas.Categorical.from_codes(codes, list(places))


def _free(values: np.ndarray, absent: np.ndarray | None) -> np.ndarray:
    from ._survey import free_value

    made = np.full(len(values), None, object)
    rows = np.arange(len(values)) if absent is None else np.flatnonzero(~absent)
    for row in rows:
        made[row] = free_value(values[row])
    return made


def _absent(records: Records, field: Field, everywhere: int) -> np.ndarray | None:
    """Where a field is not given; of a member without a column, where it is 0."""
    assert records.block is not None
    if field.hidden:
        return _zero(records, field)
    return None if everywhere >> records.block.place(field.name) & 1 else ~records.given(field.name)


def _zero(records: Records, field: Field) -> np.ndarray:
    return np.asarray(records[field.name] == np.zeros((), records.dtype[field.name]))


def _wanted(records: Records, columns: Any) -> list[Field]:
    assert records.block is not None
    fields = records.block.kept
    if records.block.data_type in (56, 91):
        return []
    if columns is None:
        # Without records those that there could be.
        declared = int(np.bitwise_or.reduce(records.presence)) if len(records) else -1
        return [field for field in fields
                if (declared >> records.block.place(field.name) & 1 if not field.hidden
                    else not bool(_zero(records, field).all()))]
    if isinstance(columns, str):
        if columns != "all":
            raise refusal("columns", 'they are None, "all" or names')
        return fields
    return [records.block.field(name) for name in dict.fromkeys(columns)]


def to_pandas(survey: Survey, name: str, units: str, columns: Any, theminfo: bool) -> Any:
    """See :meth:`tavo.Survey.to_pandas`."""
    import pandas

    if units not in ("file", "si"):
        raise refusal("units", 'they are "file" or "si"')
    if name.upper() == "FINDINGS":
        return _findings(survey)
    paths = schema.paths(name) or [schema[name].path]
    if len(paths) == 1:
        return pandas.DataFrame(_columns(survey, paths[0], units, columns, theminfo), copy=False)
    frames = []
    for path in paths:
        made = _columns(survey, path, units, columns, theminfo)
        frame = pandas.DataFrame(made, copy=False)
        frame.insert(0, "Block", schema[path].parent)
        if len(frame):
            frames.append(frame)
    return pandas.concat(frames, ignore_index=True) if frames else pandas.DataFrame({"Block": []})


def _findings(survey: Survey) -> Any:
    import pandas

    from ._survey import Finding

    frame = pandas.DataFrame(survey.findings, columns=list(Finding._fields))
    frame.insert(0, "code", [finding.code for finding in survey.findings])
    return frame


def _columns(survey: Survey, path: str, units: str, columns: Any, theminfo: bool) -> dict[str, Any]:
    records = survey[path]
    block = schema[path]
    runs = _runs_of_units(survey, block)
    made: dict[str, Any] = {}
    if block.data_type == 91:
        made = _time_tagged(survey, records)
    elif block.data_type == 56:
        made = _operations(survey, records)
    elif block.data_type == 57:
        raise refusal(path, "the points of operations are columns of OPERATIONS")
    fields = _wanted(records, columns)
    everywhere = int(np.bitwise_and.reduce(records.presence)) if len(records) else -1
    members = _members(records, fields)
    for field in fields:
        made[field.name] = _column(members.pop(field.name), field,
                                   _absent(records, field, everywhere), runs, units)
    if theminfo:
        for name, values in _theminfo(survey, path).items():
            made[_free_name(f"a_{name}", made)] = values
    return made


def _free_name(name: str, taken: Iterable[str]) -> str:
    """The name, with a number where it is taken but for capitals."""
    upper = {one.upper() for one in taken}
    made, twin = name, 2
    while made.upper() in upper:
        made, twin = f"{name}_{twin}", twin + 1
    return made


def _time_tagged(survey: Survey, records: Records) -> dict[str, Any]:
    made: dict[str, Any] = {
        "Code": _tavo.texts(records["Code"]),
        "TimeTag": _tavo.times(records["TimeTag"]).view("M8[ns]"),
        "Number": records["Number"].astype("i4"),
    }
    from ._survey import free_value

    row = np.repeat(np.arange(len(records)), records["EntryCount"])
    names = _tavo.texts(np.ascontiguousarray(survey.entries["name"]))
    values = [(int(at), name, free_value(entry))
              for at, name, entry in zip(row, names, survey.entries)]
    for name, column in _wide(values, len(records)).items():
        made[_free_name(f"a_{name}", made)] = column
    return made


def _operations(survey: Survey, records: Records) -> dict[str, Any]:
    names = schema.operations
    made: dict[str, Any] = {"Operation": [names.get(int(number), "UNKNOWN")
                                          for number in records["Operation"]]}
    points = survey["OPERATION_POINTS"]["points"]
    used = (points["PointNo"] != 0) | (points["PointID"] != b"")
    for place in range(int(used.any(axis=0).nonzero()[0].max(initial=-1)) + 1):
        number = points["PointNo"][:, place].astype("f8")
        made[f"PointNo{place + 1}"] = np.where(number == 0, np.nan, number)
        made[f"PointID{place + 1}"] = _tavo.texts(np.ascontiguousarray(points["PointID"][:, place]))
    return made


def _wide(values: list[tuple[int, str, Any]], rows: int) -> dict[str, Any]:
    """(row, name, value) as a column for each name: whole, real or text, whichever holds all of
    its values. Of several values of one row under one name the first is the column's."""
    import pandas

    by_name: dict[str, dict[int, Any]] = {}
    further = 0
    for row, name, value in values:
        column = by_name.setdefault(name, {})
        further += row in column
        column.setdefault(row, value)
    if further:
        warnings.warn(f"{further} further values of attributes that a row has already are left out",
                      stacklevel=5)
    made: dict[str, Any] = {}
    for name, column in by_name.items():
        present = [value for value in column.values() if value is not None]
        if any(isinstance(value, str) for value in present):
            cells = np.full(rows, None, object)
            for row, value in column.items():
                cells[row] = value if value is None else str(value)
            made[name] = cells
            continue
        numbers = np.full(rows, np.nan)
        for row, value in column.items():
            numbers[row] = np.nan if value is None else value
        if any(isinstance(value, float) for value in present):
            made[name] = numbers
        else:
            absent = np.isnan(numbers)
            made[name] = pandas.arrays.IntegerArray(np.where(absent, 0, numbers).astype("i8"),
                                                    absent)
    return made


def _theminfo(survey: Survey, path: str) -> dict[str, Any]:
    if path not in _OWNERS:
        raise refusal(path, f"THEMINFO belongs to {', '.join(_OWNERS)}")
    from ._survey import free_value

    number, text = _OWNERS[path]
    owners, infos = survey[path], survey[f"{path}/THEMINFO"]
    by_number: dict[Any, int] = {}
    by_text: dict[Any, int] = {}
    for row, (key, name) in enumerate(zip(owners[number].tolist(), owners[text].tolist())):
        by_number.setdefault(key, row)
        by_text.setdefault(name, row)
    names = _tavo.texts(infos["Attribute"])
    values, lost = [], 0
    for at in np.flatnonzero(infos.given("Value")):
        info = infos[at]
        owner = (by_number.get(int(info[number])) if info[number]
                 else by_text.get(info["PointID"]) if info["PointID"] else None)
        if owner is None:
            lost += 1
        else:
            values.append((owner, names[at], free_value(info["Value"])))
    if lost:
        warnings.warn(f"{lost} THEMINFO lines name an owner that {path} does not have", stacklevel=6)
    return _wide(values, len(owners))


def to_geopandas(survey: Survey, places: Places, name: str, crs: Any, system: int | None,
                 theminfo: bool) -> Any:
    """See :meth:`tavo.Survey.to_geopandas`."""
    import geopandas
    import pandas

    layer = LAYERS.get(name.lower()) or next(
        (one for one in LAYERS.values() if name.upper() in one.paths), None)
    if layer is None:
        raise refusal(name, f"there is no such layer; there are {', '.join(LAYERS)}")
    parts = [(path, *_placed(survey, places, path, layer.single)) for path in layer.paths]
    used = sorted({int(at) for _, _, systems, _ in parts for at in systems if at >= 0})
    if system is None:
        if len(used) > 1:
            names = "; ".join(f"{at} {_name(places, at)}" for at in used)
            raise refusal(name, f"it lies in several reference systems, say which by system=: {names}")
        system = used[0] if used else 0
    elif system not in (used or [0]):
        raise refusal(name, f"nothing of it lies in system {system}")
    frames, shapes = [], []
    for path, rows, systems, wkb in parts:
        # Things without a place are with the layer's first system.
        mine = (systems == system) | ((systems < 0) & (system == (used[0] if used else 0)))
        frame = _attributes(survey, places, path, theminfo).iloc[rows[mine]]
        if len(layer.paths) > 1:
            frame.insert(0, "Block", schema[path].parent)
        if len(frame):
            frames.append(frame)
            shapes.append(wkb[mine])
    table = (pandas.concat(frames, ignore_index=True) if len(frames) > 1
             else frames[0].reset_index(drop=True) if frames
             else _attributes(survey, places, layer.paths[0], theminfo))
    wkbs = np.concatenate(shapes) if shapes else np.array([], object)
    if layer.labels and len({len(one) for one in wkbs if one is not None}) > 1:
        wkbs = np.array([None if one is None else _FLAT_POINT + one[5:21] for one in wkbs], object)
    if system < len(places.systems):
        crs = _crs(crs, places.systems[system])
    return geopandas.GeoDataFrame(table, geometry=geopandas.GeoSeries.from_wkb(wkbs), crs=crs)


def _crs(wanted: Any, own: System) -> Any:
    """The system that is wanted, which must be of the own one's kind, or that."""
    import pyproj

    if wanted is None:
        return own.wkt or None
    made = pyproj.CRS.from_user_input(wanted)
    kind = "geographic" if made.is_geographic else "geocentric" if made.is_geocentric else "grid"
    if kind != own.coordinates:
        raise refusal(str(wanted), f"it is for another kind of coordinates than {own.coordinates}")
    return made


def _name(places: Places, at: int) -> str:
    one = places.systems[at]
    zone = f", zone {one.zone}" if one.zone >= 0 else ""
    return f"{one.name or 'without a set'} ({one.coordinates}{zone})"


def _placed(survey: Survey, places: Places, path: str, single: bool) -> tuple[Any, Any, Any]:
    """Rows of the block's records, their systems (-1: without a place) and their WKB or None. A
    line that runs through several systems has a row in each."""
    block = schema[path]
    count = len(survey[path])
    wkb, systems = places.wkb(block.data_type)
    if len(wkb) == count and count > 0:
        placed = np.array([one is not None for one in wkb])
        return np.arange(count), np.where(placed, systems.astype("i8"), -1), wkb
    shapes = places.shapes(block.data_type, single)
    rows = [owner for owner, _, _ in shapes]
    without = np.setdiff1d(np.arange(count), rows)
    all_rows = np.concatenate([np.array(rows, int), without])
    order = np.argsort(all_rows, kind="stable")
    systems = np.concatenate([np.array([at for _, at, _ in shapes], int), np.full(len(without), -1)])
    made = np.full(len(all_rows), None, object)
    made[:len(shapes)] = [one for _, _, one in shapes]
    return all_rows[order], systems[order], made[order]


def _attributes(survey: Survey, places: Places, path: str, theminfo: bool) -> Any:
    import pandas

    frame = pandas.DataFrame(
        _columns(survey, path, "file", None, theminfo and path in _OWNERS), copy=False)
    if path == "SLOPE":
        reduced = places.observations()
        for column, name in (("red_hz", "red_Hz"), ("red_vz", "red_Vz"),
                             ("red_distance", "red_HDist"), ("red_height", "red_dH")):
            frame[name] = reduced[column]
    return frame
