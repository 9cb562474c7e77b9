"""A survey as a notebook shows it: a line of counts, the first findings, and a small map as SVG."""

from __future__ import annotations

from html import escape
from typing import TYPE_CHECKING

import numpy as np

from ._places import Places
from ._schema import schema

if TYPE_CHECKING:
    from ._survey import Survey

_MOST_THINGS = 3000
_MOST_LABELS = 60
_MOST_FINDINGS = 5
_WIDTH, _HEIGHT, _MARGIN = 480, 360, 12
_STYLE = ('<style>.tavo .a{fill:#d9e6d3;stroke:#7a9a6b}.tavo .l{fill:none;stroke:#3f6f9f}'
          '.tavo .p{fill:#222}.tavo text{font:9px sans-serif;fill:#333}</style>')


def page(survey: Survey) -> str:
    """The HTML of a survey."""
    parts = [f"<div class='tavo'><b>{escape(repr(survey)[6:-1])}</b>"]
    shown = [one for one in survey.findings if one.kind != "note"]
    if shown:
        rows = "".join(f"<li>{escape(str(one))}</li>" for one in shown[:_MOST_FINDINGS])
        more = len(shown) - _MOST_FINDINGS
        parts.append(f"<ul>{rows}</ul>" + (f"<p>and {more} more</p>" if more > 0 else ""))
    if sum(len(survey[path]) for path in ("POINTS", "LINES", "POLYGONS")) <= _MOST_THINGS:
        parts.append(picture(survey))
    return "".join(parts) + "</div>"


def picture(survey: Survey) -> str:
    """The map of the system in which most points lie, "" where nothing has a place."""
    places = Places.of(survey)
    points = places.positions(schema["POINTS"].data_type)
    placed = points["dimension"] > 0
    systems = points["crs"][placed]
    if not len(systems):
        return ""
    system = int(np.bincount(systems).argmax())
    mine = np.flatnonzero(placed & (points["crs"] == system))
    at = np.column_stack([points["x"][mine], points["y"][mine]])
    low, high = at.min(axis=0), at.max(axis=0)
    size = high - low
    room = np.array([_WIDTH - 2 * _MARGIN, _HEIGHT - 2 * _MARGIN])
    scale = float(np.min(room / np.where(size > 0, size, np.inf))) or 1.0
    if not np.isfinite(scale):
        scale = 1.0
    height = size[1] * scale + 2 * _MARGIN + 16

    def to_page(xy: np.ndarray) -> np.ndarray:
        return np.round((xy - low) * [scale, -scale] + [_MARGIN, height - 16 - _MARGIN], 1)

    width = max(size[0] * scale + 2 * _MARGIN, 160) + 40
    drawn = [f'<svg xmlns="http://www.w3.org/2000/svg" width="{width:.0f}" height="{height:.0f}" '
             f'viewBox="0 0 {width:.0f} {height:.0f}" role="img" aria-label="Map">{_STYLE}']
    for path, look in (("POLYGONS", "a"), ("LINES", "l")):
        for _, where, area, runs in places.runs(schema[path].data_type):
            if where == system:
                lines = "".join("M" + "L".join(f"{x:g} {y:g}" for x, y in to_page(run)) for run in runs)
                end = "Z" if area else ""
                drawn.append(f'<path class="{look}" fill-rule="evenodd" d="{lines}{end}"/>')
    names = survey["POINTS"]
    for row, (x, y) in zip(mine, to_page(at)):
        drawn.append(f'<circle class="p" cx="{x:g}" cy="{y:g}" r="1.6"/>')
        if len(mine) <= _MOST_LABELS:
            name = names["PointID"][row].decode("utf-8", "replace") or str(names["PointNo"][row])
            drawn.append(f'<text x="{x + 3:g}" y="{y - 2:g}">{escape(name)}</text>')
    drawn.append(_scale_bar(scale, height, places.systems[system].coordinates))
    return "".join(drawn) + "</svg>"


def _scale_bar(scale: float, height: float, coordinates: str) -> str:
    """A bar of a round length, about a quarter of the map."""
    wanted = 120 / scale
    power = 10.0 ** np.floor(np.log10(wanted))
    length = max(step * power for step in (1, 2, 5) if step * power <= wanted)
    unit = "°" if coordinates == "geographic" else " m"
    y = height - 8
    return (f'<path class="l" d="M{_MARGIN} {y:g}h{length * scale:.1f}"/>'
            f'<text x="{_MARGIN + length * scale + 4:.1f}" y="{y + 3:g}">{length:g}{unit}</text>')
