"""Records of one type as a NumPy structured array that knows their lines and what they give."""

from __future__ import annotations

from typing import Any

import numpy as np

from ._error import refusal
from ._schema import Block, schema


class Records(np.ndarray):
    """Records of a block, shape ``(n,)``, one field of the dtype for each field of the block.

    Values are those of the library's records: coordinates of POINTS in the file's unit, what the
    schema calls ``converted`` in metres and radians, texts as bytes, enumerations as numbers. Of a
    survey that was read they lie in its own memory, are read-only and keep it alive. A field
    (``points["East"]``) is an ordinary array; a part (``points[10:20]``) keeps lines and presence.

    >>> import tavo
    >>> points = tavo.read(b"DATABASE\\nPOINTS (PointNo,East)\\n1,2.5;\\n2,;\\nEND POINTS\\nEND DATABASE\\n").points
    >>> points["East"].tolist(), points.given("East").tolist(), points.lines.tolist()
    ([2.5, 0.0], [True, False], [3, 4])
    """

    block: Block | None
    _lines: np.ndarray | None
    _presence: np.ndarray | None

    @classmethod
    def over(cls, array: np.ndarray, block: Block, lines: np.ndarray,
             presence: np.ndarray) -> Records:
        """An array of a block's records with the arrays that go with it."""
        made = array.view(cls)
        made.block, made._lines, made._presence = block, lines, presence
        return made

    def __array_finalize__(self, source: Any) -> None:
        # Of the very same records, that is: what NumPy makes of them may have another order.
        same = (self.dtype.names is not None and isinstance(source, Records)
                and (source.shape, source.strides) == (self.shape, self.strides)
                and source.__array_interface__["data"] == self.__array_interface__["data"])
        self.block = getattr(source, "block", None)
        self._lines = getattr(source, "_lines", None) if same else None
        self._presence = getattr(source, "_presence", None) if same else None

    def __getitem__(self, key: Any) -> Any:
        part = super().__getitem__(key)
        if not isinstance(part, Records):
            return part
        named = isinstance(key, str) or (isinstance(key, list) and key and isinstance(key[0], str))
        if named or self._lines is None or self._presence is None:
            return part.view(np.ndarray)
        part._lines, part._presence = self._lines[key], self._presence[key]
        return part

    def copy(self, order: Any = "C") -> Any:
        """The records, their lines and what they give, to change."""
        made = super().copy(order)
        for name in ("_lines", "_presence"):
            own = getattr(self, name)
            setattr(made, name, None if own is None else own.copy())
        return made

    def __copy__(self) -> Any:
        return self.copy()

    def __deepcopy__(self, memo: Any, /) -> Any:
        return self.copy()

    def sort(self, axis: Any = -1, kind: Any = None, order: Any = None) -> None:
        """Sorts in place, with lines and presence."""
        places = self.argsort(axis, kind, order).view(np.ndarray)
        for array in (self.view(np.ndarray), self._lines, self._presence):
            if array is not None:
                array[:] = array[places]

    def __reduce__(self) -> Any:
        path = None if self.block is None else self.block.path
        return _again, (np.array(self.view(np.ndarray)), path, self._lines, self._presence)

    @property
    def lines(self) -> np.ndarray:
        """Line of each record in the file, from 1, shape ``(n,)``; 0 where it is not known."""
        if self._lines is None:
            raise refusal("lines", "they went with an operation that makes other records")
        return self._lines

    @property
    def presence(self) -> np.ndarray:
        """Bits of the fields that each record gave, shape ``(n,)``, by their place in the block."""
        if self._presence is None:
            raise refusal("presence", "it went with an operation that makes other records")
        return self._presence

    def _bit(self, field: str) -> np.uint64:
        if self.block is None:
            raise refusal(field, "these records belong to no block")
        # The owner's number has another name in each block that THEMINFO stands in.
        places = ([place for place, one in enumerate(self.block.fields) if one.offset == 0]
                  if field == "OwnerNo" else [self.block.place(field)])
        return np.uint64(sum(1 << place for place in places))

    def given(self, field: str) -> np.ndarray:
        """Whether each record's line gave the field, shape ``(n,)`` of bool: an empty column and a
        declared 0 are different things."""
        return (self.presence & self._bit(field)) != 0

    def give(self, field: str, rows: Any = slice(None), value: Any = None) -> None:
        """Sets a field of some rows, or declares the value that it has as given. Only of a copy
        that :meth:`tavo.Survey.edit` made."""
        self.presence[rows] |= self._bit(field)
        if value is not None:
            self[field][rows] = value

    def clear(self, field: str, rows: Any = slice(None)) -> None:
        """Empties a field of some rows."""
        self[field][rows] = np.zeros((), self.dtype[field])
        self.presence[rows] &= ~self._bit(field)


def _again(array: np.ndarray, path: str | None, lines: Any, presence: Any) -> Any:
    return array if path is None else Records.over(array, schema[path], lines, presence)
