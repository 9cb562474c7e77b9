"""The one exception of the package, apart from it so that the extension module can raise it."""

from __future__ import annotations


class Error(Exception):
    """What failed, in the library's words.

    Attributes:
        status: the number of the library (``tavo_status``), 2576 for what a caller got wrong.
        text: one sentence without a full stop.
        where: the path, or the place in the records ("POINTS, row 3, field PointID"); may be "".
        row, field: that row, from 0, and field; None where it is about no single one.

    >>> import tavo
    >>> try:
    ...     tavo.read("missing.tvo")
    ... except tavo.Error as error:
    ...     print(error.status, error.text, error.where, sep=" | ")
    2571 | a file could not be opened or created, no such file or folder | missing.tvo
    """

    # Where users find it, and what a traceback says.
    __module__ = "tavo"

    def __init__(self, status: int, text: str, where: str = "", row: int | None = None,
                 field: str | None = None) -> None:
        super().__init__(status, text, where, row, field)
        self.status = status
        self.text = text
        self.where = where
        self.row = row
        self.field = field

    def __str__(self) -> str:
        return f"{self.where}: {self.text}" if self.where else self.text


ARGUMENT = 2576


def refusal(where: str, text: str) -> Error:
    """What a caller gave cannot be used."""
    return Error(ARGUMENT, text, where)


def unfit(path: str, row: int, field: str | None, text: str) -> Error:
    """The format cannot hold a value, or a whole row."""
    where = f"{path}, row {row}" + (f", field {field}" if field else "")
    return Error(ARGUMENT, text, where, int(row), field)
