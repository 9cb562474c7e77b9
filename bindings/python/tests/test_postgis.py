"""Surveys in a PostGIS database, brought by a cluster while its workers are killed: the rows that one
process brings."""
import os
import signal
import subprocess
import sys

import pytest

import tavo.batch
from conftest import BUILD, ROOT

sys.path.append(str(ROOT / "tests" / "export"))
import postgres  # noqa: E402  the tests' server of its own

TOOL = BUILD / "bin" / "tavo"
KILLS = 3
# A survey's rows in a table, however the survey is called and whenever they came.
ROWS = r"""SELECT regexp_replace(survey, '^.*/|\.tvo$', '', 'g'), count(*), md5(string_agg(line, ' ' ORDER BY line))
           FROM (SELECT survey, (to_jsonb(t) - 'survey' - 'id')::text AS line FROM {} t) each
           GROUP BY survey ORDER BY 1"""

if not postgres.PROGRAMS:
    pytest.skip("PostgreSQL with PostGIS was not found: databases are not tested", allow_module_level=True)
if not (BUILD / "bin" / "tavo-export").exists():
    pytest.skip("tavo-export is not built: databases are not tested", allow_module_level=True)
distributed = pytest.importorskip("distributed")


@pytest.fixture(scope="module")
def server():
    with postgres.server() as folder:
        postgres.sql(folder, "CREATE DATABASE single TEMPLATE survey", database="postgres")
        yield folder


def target(server, database):
    return f"PG:host={server} user=postgres dbname={database}"


def stored(server, database):
    return {table: postgres.sql(server, ROWS.format(table), database) for table in ("points", "findings")}


class Killer:
    """An on_progress that kills workers while they export, and knows whether it did."""

    def __init__(self, cluster):
        self.nannies, self.killed = list(cluster.workers.values()), 0

    def __call__(self, done, total):
        pid = self.nannies[self.killed % len(self.nannies)].pid  # None while it is begun anew
        if self.killed < KILLS and done > total * (self.killed + 1) // (KILLS + 1) and pid:
            os.kill(pid, signal.SIGKILL)
            self.killed += 1


def test_killed_workers_bring_each_survey_once(surveys, server):
    surveys = surveys[:100]  # each by a program of its own
    single = [str(TOOL), "export", *map(str, surveys), "-o", target(server, "single")]
    done = subprocess.run(single, capture_output=True, text=True, check=False)
    assert done.returncode == 1, done.stderr  # some surveys have errors
    with distributed.LocalCluster(n_workers=2, threads_per_worker=1, processes=True,
                                  dashboard_address=None) as cluster:
        with distributed.Client(cluster) as client:
            killer = Killer(cluster)
            summary = tavo.batch.export(surveys, target(server, "survey"), client.get_executor(),
                                        program=TOOL, on_progress=killer)
    assert killer.killed == KILLS
    assert [row["detail"] for row in summary if row["status"] == "failed"] == []
    assert [row["path"] for row in summary] == list(map(str, surveys))
    expected = stored(server, "single")
    assert stored(server, "survey") == expected
    assert len(expected["points"]) > 95 and len(expected["findings"]) > 50
