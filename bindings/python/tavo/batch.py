"""Many surveys at once: checked or exported by local processes, or on whatever an executor reaches.

An executor of :mod:`concurrent.futures` takes the files one by one. Without one, a pool of local
processes does, one for each processor. A Dask cluster gives one by ``Client.get_executor()``, and
so the same call works through an office's surveys on many machines that see the same paths.

A worker that dies costs nothing: the files that it had are taken up again, and a file stands once
in the result, however often it was begun. A file that takes its worker with it three times is told
of as failed.
"""

from __future__ import annotations

import concurrent.futures
import csv
import ctypes
import os
import shutil
import signal
import sqlite3
import subprocess
import sys
from concurrent.futures.process import ProcessPoolExecutor
from typing import TYPE_CHECKING, Any, Callable, Iterable, Iterator, Union

from ._error import Error, refusal

if TYPE_CHECKING:
    import pandas

Path = Union[str, "os.PathLike[str]"]
Progress = Callable[[int, int], Any]

# Of Linux: the signal that a process gets when the thread that began it dies.
_SET_DEATH_SIGNAL = 1
_ATTEMPTS = 3
# Files that are with the workers at once, for each of them: enough to keep it busy, few to repeat.
_AHEAD = 4
_FIRST_COLUMNS = ("path", "status", "detail", "errors", "warnings", "notes", "lines", "records")


class Summary:
    """One row for each file, in the order in which they were named.

    A row is a dict: ``path``; ``status``, which is ``"sound"``, ``"findings"`` or ``"failed"``;
    ``detail``, the reason of a failure; the counts ``errors``, ``warnings``, ``notes``, ``lines``,
    ``records``; and under the code of each finding ("E2051") how many there are. Of an export only
    the first three.
    """

    def __init__(self, rows: list[dict[str, Any]]) -> None:
        self.rows = rows

    def __len__(self) -> int:
        return len(self.rows)

    def __iter__(self) -> Iterator[dict[str, Any]]:
        return iter(self.rows)

    @property
    def columns(self) -> list[str]:
        """Names that occur: the fixed ones, then the codes in order."""
        names = {name for row in self.rows for name in row}
        fixed = [name for name in _FIRST_COLUMNS if name in names]
        return fixed + sorted(names.difference(fixed))

    def _cells(self) -> Iterator[list[Any]]:
        columns = self.columns
        # A code that a file has not is a 0, a count of a file that failed is not known.
        for row in self.rows:
            none = None if row["status"] == "failed" else 0
            yield [_printable(row.get(name, none)) for name in columns]

    def to_pandas(self) -> pandas.DataFrame:
        """A DataFrame with a row for each file."""
        import pandas

        return pandas.DataFrame(list(self._cells()), columns=self.columns)

    def to_csv(self, path: Path) -> None:
        """Writes the rows as CSV, UTF-8."""
        with open(path, "w", newline="", encoding="utf-8") as file:
            writer = csv.writer(file)
            writer.writerow(self.columns)
            writer.writerows(self._cells())

    def to_sqlite(self, path: Path, table: str = "summary") -> None:
        """Writes the rows into a table of an SQLite file, in the place of one that is there."""
        def quoted(name: str) -> str:
            return '"' + name.replace('"', '""') + '"'

        columns = self.columns
        with sqlite3.connect(os.fspath(path)) as base:
            base.execute(f"DROP TABLE IF EXISTS {quoted(table)}")
            base.execute(f"CREATE TABLE {quoted(table)} ({', '.join(map(quoted, columns))})")
            base.executemany(f"INSERT INTO {quoted(table)} VALUES ({', '.join('?' * len(columns))})",
                             self._cells())
        base.close()

    def __repr__(self) -> str:
        counts = {status: sum(row["status"] == status for row in self.rows)
                  for status in ("sound", "findings", "failed")}
        return f"<tavo.batch.Summary of {len(self)}: " + ", ".join(
            f"{count} {status}" for status, count in counts.items()) + ">"


def _printable(value: Any) -> Any:
    """A path that is no text with its odd bytes in numbers."""
    if not isinstance(value, str):
        return value
    return value.encode("utf-8", "backslashreplace").decode("utf-8")


def check(paths: Iterable[Path], executor: concurrent.futures.Executor | None = None, *,
          limit: int | None = None, on_progress: Progress | None = None) -> Summary:
    """Checks many files.

    Args:
        paths: of the files; one that is named twice counts once.
        executor: of :mod:`concurrent.futures`; None: local processes.
        limit: of errors in a file, as :func:`tavo.read` has it.
        on_progress: called with the files done and all files; what it raises ends the batch.

    >>> import tavo.batch, tempfile, os
    >>> path = os.path.join(tempfile.mkdtemp(), "a.tvo")
    >>> _ = open(path, "w").write("DATABASE\\nPOINTS (PointNo)\\n1;\\nx;\\nEND POINTS\\nEND DATABASE\\n")
    >>> summary = tavo.batch.check([path])
    >>> summary
    <tavo.batch.Summary of 1: 0 sound, 1 findings, 0 failed>
    >>> summary.rows[0]["E2500"]
    1
    """
    return Summary(_run(check_one, list(_each_once(paths)), (limit,), executor, on_progress))


def check_one(path: str, limit: int | None = None) -> dict[str, Any]:
    """The row of one file; runs in a worker."""
    from ._survey import check as check_file

    try:
        checked = check_file(path, limit=limit)
    except Error as error:
        return _failed(path, error.text)
    counts = checked.counts
    row: dict[str, Any] = {
        "path": path,
        "status": "findings" if counts["errors"] or counts["warnings"] else "sound",
        "detail": "",
        "errors": counts["errors"],
        "warnings": counts["warnings"],
        "notes": sum(finding.kind == "note" for finding in checked.findings),
        "lines": counts["lines"],
        "records": counts["records"],
    }
    row.update(checked.by_code)
    return row


def export(paths: Iterable[Path], target: Path, executor: concurrent.futures.Executor | None = None,
           *, layers: Iterable[str] | None = None, options: Iterable[str] = (),
           program: Path | None = None, on_progress: Progress | None = None) -> Summary:
    """Exports many files with ``tavo export``, which must have GDAL.

    Args:
        paths: of the files; one that is named twice counts once.
        target: ``"PG:dbname=office"``, a PostGIS database, in whose tables each survey has its rows
            once, by its path in column ``survey``, however often it is exported; or a pattern with
            ``{stem}`` for a file of its own for each survey, ``"out/{stem}.gpkg"``.
        executor: as for :func:`check`.
        layers: names of the layers to take; None: all.
        options: further words for the tool, ``["--to-crs=EPSG:25832"]`` for one system in all tables.
        program: path of the tool; None: ``tavo`` of the PATH.
        on_progress: as for :func:`check`.

    Raises:
        Error: the target is neither, two files would become one, or there is no tool.
    """
    where = os.fspath(target)
    files = list(_each_once(paths))
    database = where.upper().startswith("PG:")
    if not database:
        if "{stem}" not in where:
            raise refusal(where, 'the target is "PG:..." or a pattern with {stem}')
        outputs = [_output(where, path) for path in files]
        twice = {output for output in outputs if outputs.count(output) > 1}
        if twice:
            raise refusal(min(twice), "several files would become this one")
    tool = shutil.which(os.fspath(program) if program else "tavo")
    if tool is None:
        raise refusal("export", "the program tavo is not on the PATH; name it by program=")
    words = [f"--layer={layer}" for layer in layers or ()] + list(options)
    return Summary(_run(export_one, files, (where, database, os.path.abspath(tool), words),
                        executor, on_progress))


def _output(pattern: str, path: str) -> str:
    return pattern.replace("{stem}", os.path.splitext(os.path.basename(path))[0])


def export_one(path: str, target: str, database: bool, tool: str,
               options: list[str]) -> dict[str, Any]:
    """The row of one file; runs in a worker. The rows of one that died half-way are taken out
    with those of an earlier export, a file is there whole or not at all."""
    command = [tool, "export", *options, "-o", target if database else _output(target, path)]
    command += ["--replace", f"--survey={path}"] if database else ["--overwrite"]
    run = subprocess.run([*command, "--", path], stdin=subprocess.DEVNULL, capture_output=True,
                         text=True, errors="replace", check=False, preexec_fn=_die_with_worker())
    said = run.stderr.strip()
    if run.returncode not in (0, 1):
        return _failed(path, said or f"tavo export ended with {run.returncode}")
    return {"path": path, "status": "findings" if run.returncode else "sound", "detail": said}


def _die_with_worker() -> Callable[[], Any] | None:
    """A program that outlived its worker would write beside the one that repeats its work."""
    if not sys.platform.startswith("linux"):
        return None
    prctl, worker = ctypes.CDLL(None).prctl, os.getpid()

    def prepare() -> None:
        prctl(_SET_DEATH_SIGNAL, signal.SIGKILL)
        # It may have died before.
        if os.getppid() != worker:
            os._exit(1)

    return prepare


def _failed(path: str, why: str) -> dict[str, Any]:
    return {"path": path, "status": "failed", "detail": why}


def _each_once(paths: Iterable[Path]) -> Iterator[str]:
    if isinstance(paths, (str, os.PathLike)):
        raise TypeError("paths is a list of them")
    return iter(dict.fromkeys(os.fsdecode(path) for path in paths))


class _Pool:
    """The executor in use: the caller's, or one of our own, which is made anew when it breaks."""

    def __init__(self, given: concurrent.futures.Executor | None) -> None:
        self.given = given
        self.own: ProcessPoolExecutor | None = None
        self.workers = int(getattr(given, "_max_workers", 0) or os.cpu_count() or 1)
        if given is None:
            self.renew()
        elif not hasattr(given, "_max_workers"):
            # One that does not tell how many it has, on a cluster for example, has many.
            self.workers = 1000

    @property
    def executor(self) -> concurrent.futures.Executor:
        executor = self.own or self.given
        assert executor is not None
        return executor

    def renew(self) -> None:
        """After a break: local processes, like the caller's where his were local, too."""
        self.close()
        like = self.given if isinstance(self.given, ProcessPoolExecutor) else None
        self.own = ProcessPoolExecutor(
            self.workers, mp_context=getattr(like, "_mp_context", None),
            initializer=getattr(like, "_initializer", None),
            initargs=getattr(like, "_initargs", ()))

    def close(self) -> None:
        if self.own is not None:
            self.own.shutdown(wait=True, cancel_futures=True)
            self.own = None


def _run(work: Callable[..., dict[str, Any]], files: list[str], arguments: tuple[Any, ...],
         executor: concurrent.futures.Executor | None,
         on_progress: Progress | None) -> list[dict[str, Any]]:
    """A row for each file, in their order. ``work`` gives a row for whatever a file has, so what a
    future raises is the loss of its worker."""
    rows: dict[str, dict[str, Any]] = {}
    lost: dict[str, int] = {}
    waiting = files[::-1]
    running: dict[concurrent.futures.Future[dict[str, Any]], str] = {}
    pool = _Pool(executor)
    try:
        while len(rows) < len(files):
            broken = False
            while waiting and not broken:
                # The last attempt is made alone, so that none suffers by another's side.
                last = lost.get(waiting[-1], 0) == _ATTEMPTS - 1
                if len(running) >= (1 if last else _AHEAD * pool.workers):
                    break
                path = waiting.pop()
                try:
                    running[pool.executor.submit(work, path, *arguments)] = path
                except concurrent.futures.BrokenExecutor:
                    waiting.append(path)
                    broken = True
                if last:
                    break
            done, _ = concurrent.futures.wait(
                running, return_when=concurrent.futures.FIRST_COMPLETED)
            for future in done:
                path = running.pop(future)
                broken |= not _settle(future, path, rows, lost, waiting)
            if broken and isinstance(pool.executor, ProcessPoolExecutor):
                _give_back(running, rows, lost, waiting)
                pool.renew()
            if on_progress is not None and done:
                on_progress(len(rows), len(files))
    finally:
        for future in running:
            future.cancel()
        pool.close()
    return [rows[path] for path in files]


def _settle(future: concurrent.futures.Future[dict[str, Any]], path: str,
            rows: dict[str, dict[str, Any]], lost: dict[str, int], waiting: list[str]) -> bool:
    """Takes the row of a future that ended, or takes its file up again: whether it had one."""
    try:
        rows[path] = future.result()
        return True
    except (Exception, concurrent.futures.CancelledError) as error:
        lost[path] = lost.get(path, 0) + 1
        if lost[path] >= _ATTEMPTS:
            rows[path] = _failed(path, f"its worker was lost {_ATTEMPTS} times: {error}")
        else:
            # Behind the others: what may take a worker along comes last.
            waiting.insert(0, path)
        return False


def _give_back(running: dict[Any, str], rows: dict[str, dict[str, Any]], lost: dict[str, int],
               waiting: list[str]) -> None:
    """A broken pool ends all of its futures; those that were done before have their rows."""
    concurrent.futures.wait(running)
    for future, path in running.items():
        _settle(future, path, rows, lost, waiting)
    running.clear()
