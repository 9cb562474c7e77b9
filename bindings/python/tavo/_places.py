"""Where the things of a survey lie: the layer's geometry, worked out once for each survey."""

from __future__ import annotations

import weakref
from typing import TYPE_CHECKING, Any, NamedTuple

import numpy as np

from . import _tavo
from ._error import refusal

if TYPE_CHECKING:
    from ._survey import Survey

POSITION = np.dtype([("x", "<f8"), ("y", "<f8"), ("z", "<f8"), ("crs", "<u4"),
                     ("dimension", "<u4")])
OBSERVATION = np.dtype([("setup", "<u8")] + [(name, "<f8") for name in (
    "hz", "vz", "ori", "distance", "instrument_height", "target_height", "red_hz", "red_vz",
    "red_distance", "red_height")])
_COORDINATES = ("grid", "geographic", "geocentric")
_HEIGHTS = ("none", "elevation", "ellipsoidal")
_KINDS = ("note", "warning", "error")
_HOTINE_ORIGINS = (None, "centre", "natural")


class System(NamedTuple):
    """A reference system in which things of a survey lie.

    ``coordinates`` is ``"grid"`` (metres), ``"geographic"`` (degrees, longitude first) or
    ``"geocentric"`` (metres); ``heights`` ``"none"``, ``"elevation"`` or ``"ellipsoidal"``;
    ``set_no`` the number of its projection set, None without one; ``zone`` -1 but for one of
    several zones; ``wkt`` its WKT2, "" where there is no system.
    """

    coordinates: str
    heights: str
    set_no: int | None
    zone: int
    name: str
    wkt: str


class Remark(NamedTuple):
    """What the geometry found on a record; ``type`` 0: on the survey as a whole."""

    kind: str
    type: int
    row: int
    line: int
    text: str


class Places:
    """Geometry of a survey as arrays."""

    _known: weakref.WeakKeyDictionary[Any, dict[Any, Places]] = weakref.WeakKeyDictionary()

    def __init__(self, survey: Survey, ignore_transformations: bool, origin: int) -> None:
        self._handle = _tavo.Geometry(survey._handle, ignore_transformations, origin)
        self.systems = [System(_COORDINATES[row[0]], _HEIGHTS[row[1]], *row[2:])
                        for row in self._handle.systems()]

    @classmethod
    def of(cls, survey: Survey, ignore_transformations: bool = False,
           hotine_origin: str | None = None) -> Places:
        """Those of a survey, which are kept as long as it lives."""
        if hotine_origin not in _HOTINE_ORIGINS:
            raise refusal("hotine_origin", 'it is None, "centre" or "natural"')
        options = (bool(ignore_transformations), _HOTINE_ORIGINS.index(hotine_origin))
        kept = cls._known.setdefault(survey, {})
        if options not in kept:
            kept[options] = cls(survey, *options)
        return kept[options]

    @property
    def remarks(self) -> list[Remark]:
        return [Remark(_KINDS[row[0]], *row[1:]) for row in self._handle.findings()]

    def positions(self, type_: int) -> np.ndarray:
        """Of each record of a type, shape ``(n,)``: x, y, z, crs, dimension (0: it has none)."""
        return self._handle.positions(type_).view(POSITION)

    def observations(self) -> np.ndarray:
        """Of each slope, shape ``(n,)``; angles in gon, lengths in metres, NaN: not given."""
        return self._handle.observations().view(OBSERVATION)

    def shapes(self, type_: int, single: bool) -> list[tuple[int, int, bytes]]:
        """Owner, system and WKB of each shape of a record type: single lines, or collections."""
        return self._handle.shapes(type_, single)

    def runs(self, type_: int) -> list[tuple[int, int, bool, list[np.ndarray]]]:
        """Owner, system, whether it is an area, and the runs ``(k, 2)`` of each shape."""
        return self._handle.runs(type_)

    def wkb(self, type_: int) -> tuple[np.ndarray, np.ndarray]:
        """Points as WKB, shape ``(n,)`` of bytes or None, and their systems."""
        at = self.positions(type_)
        made = np.full(len(at), None, object)
        for dimension, code in ((2, 1), (3, 1001)):
            rows = np.flatnonzero(at["dimension"] == dimension)
            points = np.zeros(len(rows), [("order", "u1"), ("type", "<u4"), ("at", "<f8", dimension)])
            points["order"], points["type"] = 1, code
            for axis, name in enumerate("xyz"[:dimension]):
                points["at"][:, axis] = at[name][rows]
            size = points.dtype.itemsize
            data = points.tobytes()
            made[rows] = [data[i:i + size] for i in range(0, len(data), size)]
        return made, at["crs"]
