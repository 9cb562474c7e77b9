"""Many files by local processes, by executors and by a Dask cluster, while workers are killed."""
import concurrent.futures
import os
import signal
import sqlite3
import stat

import pytest

import tavo
import tavo.batch
from conftest import text


@pytest.fixture(scope="module")
def expected(surveys):
    """The rows as one process gives them."""
    rows = [tavo.batch.check_one(str(path)) for path in surveys]
    assert {row["status"] for row in rows} == {"sound", "findings"}
    return rows


def test_local_processes_and_executors(surveys, expected, tmp_path):
    seen = []
    summary = tavo.batch.check(surveys + surveys[:3], on_progress=lambda done, total: seen.append((done, total)))
    assert summary.rows == expected and seen[-1] == (500, 500) and seen == sorted(seen)
    with concurrent.futures.ThreadPoolExecutor(2) as threads:
        assert tavo.batch.check(surveys, threads).rows == expected
    frame = summary.to_pandas()
    assert frame.errors.sum() == sum(row["errors"] for row in expected) == frame["E2500"].sum() > 0
    summary.to_csv(tmp_path / "a.csv")
    summary.to_sqlite(tmp_path / "a.sqlite")
    summary.to_sqlite(tmp_path / "a.sqlite")
    import pandas
    assert pandas.read_csv(tmp_path / "a.csv", keep_default_na=False).E2500.tolist() == frame.E2500.tolist()
    with sqlite3.connect(tmp_path / "a.sqlite") as base:
        assert base.execute("SELECT count(*), sum(errors) FROM summary").fetchone() == (500, frame.errors.sum())


def kill_once(pids):
    """An on_progress that kills a worker in the middle."""
    def look(done, total):
        if done > total // 3 and pids:
            os.kill(pids.pop(), signal.SIGKILL)
    return look


def test_a_killed_worker_of_a_pool_costs_nothing(surveys, expected):
    with concurrent.futures.ProcessPoolExecutor(2) as pool:
        pids = {pool.submit(os.getpid).result() for _ in range(20)}
        left = set(list(pids)[:1])
        assert tavo.batch.check(surveys, pool, on_progress=kill_once(left)).rows == expected
        assert not left


def test_a_killed_worker_of_a_cluster_costs_nothing(surveys, expected):
    distributed = pytest.importorskip("distributed")
    with distributed.LocalCluster(n_workers=2, threads_per_worker=1, processes=True,
                                  dashboard_address=None) as cluster:
        with distributed.Client(cluster) as client:
            left = set(list(client.run(os.getpid).values())[:1])
            summary = tavo.batch.check(surveys, client.get_executor(), on_progress=kill_once(left))
            assert summary.rows == expected and not left


def deadly(path):
    """Dies of one file."""
    if path == "7":
        os.kill(os.getpid(), signal.SIGKILL)
    return {"path": path, "status": "sound", "detail": ""}


def test_a_file_that_kills_its_workers_fails_alone():
    rows = tavo.batch._run(deadly, [str(n) for n in range(40)], (), None, None)
    assert [row["path"] for row in rows] == [str(n) for n in range(40)]
    assert [row["path"] for row in rows if row["status"] == "failed"] == ["7"]


def test_what_cannot_be_read_is_a_row(tmp_path):
    (tmp_path / "a.tvo").write_bytes(text("POINTS (PointNo)\n1;\nEND POINTS"))
    odd = os.fsdecode(b"none\xff.tvo")
    summary = tavo.batch.check([tmp_path / "a.tvo", odd, tmp_path])
    assert [row["status"] for row in summary] == ["sound", "failed", "failed"] and summary.rows[1]["path"] == odd
    assert summary.to_pandas().errors.isna().tolist() == [False, True, True]
    summary.to_csv(tmp_path / "a.csv")
    summary.to_sqlite(tmp_path / "a.sqlite")
    with sqlite3.connect(tmp_path / "a.sqlite") as base:
        (path,) = base.execute("SELECT path FROM summary WHERE path LIKE 'none%'").fetchone()
    assert path == r"none\udcff.tvo" and path in (tmp_path / "a.csv").read_text()

    def stop(done, total):
        raise KeyError("own")
    with pytest.raises(KeyError):
        tavo.batch.check([tmp_path / "a.tvo"], on_progress=stop)


TOOL = """#!/bin/sh
echo "$@" >> '{calls}'
for last; do :; done
case $last in *2.tvo) echo 'no database' >&2; exit 2 ;; esac
"""


def test_export_calls_the_tool_once_a_file(tmp_path):
    calls = tmp_path / "calls"
    tool = tmp_path / "tavo"
    tool.write_text(TOOL.format(calls=calls))
    tool.chmod(tool.stat().st_mode | stat.S_IEXEC)
    paths = [f"{n}.tvo" for n in range(4)]
    summary = tavo.batch.export(paths, "PG:dbname=office", program=tool, layers=["points"],
                                options=["--to-crs=EPSG:25832"])
    assert [row["status"] for row in summary] == ["sound", "sound", "failed", "sound"]
    assert summary.rows[2]["detail"] == "no database"
    assert sorted(calls.read_text().splitlines()) == [
        f"export --layer=points --to-crs=EPSG:25832 -o PG:dbname=office --replace --survey={path} -- {path}"
        for path in paths]
    assert tavo.batch.export(paths[:1], "{stem}.gpkg", program=tool).rows[0]["status"] == "sound"
    assert "-o 0.gpkg --overwrite" in calls.read_text()
    for wrong in ((paths, "all.gpkg"), (["a/1.tvo", "b/1.tvo"], "{stem}.csv")):
        with pytest.raises(tavo.Error):
            tavo.batch.export(*wrong, program=tool)
    with pytest.raises(tavo.Error, match="PATH"):
        tavo.batch.export(paths, "PG:", program="no-such-tool")
