#!/usr/bin/python3
"""Surveys in PostGIS, counted and measured by SQL: postgres_test.py TOOL EXAMPLES PLUGINS."""
import os
import random
import signal
import subprocess
import sys
import time

import postgres
from tool import EXAMPLES, SURVEY, TOOL, export, run, write_survey

COUNT = 200


def generate(folder):
    """Surveys of parcels side by side; the area and the number of points of each."""
    known = {}
    random.seed(11)
    for number in range(COUNT):
        east, north = 400000 + 1000 * (number % 20), 5300000 + 1000 * (number // 20)
        points, edges, parcels, area = [], [], [], 0.0
        for parcel in range(1, random.randint(2, 12)):
            width, height = random.randint(10, 80), random.randint(10, 80)
            area += width * height
            first = len(points) + 1
            x, y = east + 90 * parcel, north + random.randint(0, 50)
            points += [(x, y, 1), (x + width, y, 2), (x + width, y + height, 3), (x, y + height, 4)]
            parcels.append(f"    {parcel};")
            edges += [f"      {parcel},{first + i},{first + (i + 1) % 4};" for i in range(4)]
        rest = "\n".join(["  POLYGONS (PolygonNo)", *parcels,
                          "    EDGES (PolygonNo,StartPt,EndPt)", *edges, "    END EDGES",
                          "  END POLYGONS"])
        write_survey(f"{folder}/s{number:03}.tvo", points, rest)
        known[f"s{number:03}"] = (len(points), len(parcels), area)
    return known


def stored(server):
    points = dict(postgres.sql(server, "SELECT survey, count(*) FROM points GROUP BY 1"))
    areas = postgres.sql(server, "SELECT survey, count(*), sum(ST_Area(geom)) FROM polygons"
                                 " GROUP BY 1")
    return {name: (int(points[name]), int(count), round(float(area), 6))
            for name, count, area in areas}


def test_database():
    known = generate(".")
    files = [f"{name}.tvo" for name in known]
    with postgres.server() as server:
        database = f"PG:host={server} user=postgres dbname=survey"
        # In one transaction, then one by one, as an office gets them.
        export(*files[:150], "-o", database)
        for file in files[150:160]:
            export(file, "-o", database)
        # And from two places at once.
        halves = [subprocess.Popen([TOOL, "export", *files[start::2], "-o", database])
                  for start in (160, 161)]
        assert [half.wait() for half in halves] == [0, 0]
        assert stored(server) == known
        # A table has indexes on its places and on the survey, and knows its system.
        assert len(postgres.sql(server, "SELECT 1 FROM pg_indexes WHERE tablename = 'polygons'")) == 3
        assert postgres.sql(server, "SELECT DISTINCT proj4text FROM points JOIN spatial_ref_sys ON"
                                    " srid = ST_SRID(geom)")[0][0].startswith("+proj=utm +zone=32")

        export(files[7], "-o", database, status=2, says="has survey 's007' already")
        write_survey(files[7], [(1, 2, 3)])
        export(files[7], "-o", database, "--replace")
        known["s007"] = None
        points = dict(postgres.sql(server, "SELECT survey, count(*) FROM points GROUP BY 1"))
        assert points["s007"] == "1" and points["s008"] == str(known["s008"][0])
        assert not postgres.sql(server, "SELECT 1 FROM polygons WHERE survey = 's007'")

        # What fails changes nothing: an unreadable file at the end, another system, an interruption.
        before = stored(server)
        export(files[0], "missing.tvo", "-o", database, "--replace", status=2, says="no such file")
        export(SURVEY, "-o", database, "--crs", "EPSG:31467", status=2, says="--to-crs")
        write_survey("big.tvo", [(500000 + i, 5300000, 1) for i in range(100000)])
        process = subprocess.Popen([TOOL, "export", "big.tvo", "-o", database])
        while not postgres.sql(server, "SELECT 1 FROM pg_stat_activity WHERE query LIKE 'COPY%' AND state = 'active'"):
            assert process.poll() is None
            time.sleep(0.01)
        process.send_signal(signal.SIGTERM)
        assert process.wait() == -signal.SIGTERM
        assert stored(server) == before
        assert not postgres.sql(server, "SELECT 1 FROM points WHERE survey = 'big'")

        # Nobody else's table is touched.
        postgres.sql(server, "CREATE TABLE jobs (survey text); INSERT INTO jobs VALUES ('survey')")
        export(SURVEY, "-o", database, "--layer", "jobs", "--replace", status=2,
               says="is not of an export")
        assert postgres.sql(server, "SELECT * FROM jobs") == [["survey"]]

        # The other way: GDAL's own program with the driver.
        subprocess.run(["ogr2ogr", "-f", "PostgreSQL", database, SURVEY, "polygons", "-nln", "plain"],
                       check=True, env={**os.environ, "GDAL_DRIVER_PATH": sys.argv[3]})
        assert postgres.sql(server, "SELECT count(*) FROM plain") == [["14"]]
    export(files[0], "-o", database, status=2, says="the database cannot be opened")


def various(number):
    """A survey with tables and columns that no other has."""
    rest = ["  JOBS (JobNo,Name)", f'    {number},"a job";', "  END JOBS"] if number % 2 else []
    write_survey(f"v{number}.tvo", [(500000 + i, 5300000, 1) for i in range(number + 1)], "\n".join([
        "  POINTS (PointNo,East,North,Elevation,Code)", f"    {100 + number},500000,5300000,1,\"c\";",
        "    THEMINFO (PointNo,Attribute,Value)", f"      1,\"own {number}\",{number}{'.5' if number % 3 else ''};",
        f"      1,\"shared\",{number}{'.5' if number % 3 else ''};", "    END THEMINFO", "  END POINTS", *rest]))


def test_side_by_side():
    for number in range(10):
        various(number)
    with postgres.server() as server:
        # Into an empty database, where the first to come make the tables, and each makes columns.
        for base in ("first", "second"):
            postgres.sql(server, f"CREATE DATABASE {base} TEMPLATE survey", database="postgres")
            exports = [subprocess.Popen([TOOL, "export", f"v{number}.tvo", "--replace", "-o",
                                         f"PG:host={server} user=postgres dbname={base}"])
                       for number in list(range(10)) + [3]]
            assert [each.wait() for each in exports] == [0] * 11
            counts = dict(postgres.sql(server, "SELECT survey, count(*) FROM points GROUP BY 1", base))
            assert counts == {f"v{number}": str(number + 2) for number in range(10)}
            assert postgres.sql(server, "SELECT count(*) FROM jobs", base) == [["5"]]
            assert postgres.sql(server, "SELECT a_shared FROM points WHERE survey = 'v7' AND a_own_7 = 7.5",
                                base) == [["7.5"]]

        # An export is repeated while the server still has the first one's rows, which come or do not.
        database = f"PG:host={server} user=postgres dbname=first"
        write_survey("big.tvo", [(500000 + i, 5300000, 1) for i in range(50000)])
        for number in (signal.SIGCONT, signal.SIGKILL):
            first = subprocess.Popen([TOOL, "export", "big.tvo", "--replace", "--survey", "v1", "-o", database])
            wait_for(server, "pg_stat_activity WHERE query LIKE 'COPY%' AND state = 'active'")
            first.send_signal(signal.SIGSTOP)
            again = subprocess.Popen([TOOL, "export", "v1.tvo", "--replace", "-o", database])
            wait_for(server, "pg_locks WHERE locktype = 'advisory' AND NOT granted")
            export("v2.tvo", "--replace", "-o", database)
            assert again.poll() is None
            first.send_signal(number)
            assert first.wait() == (0 if number == signal.SIGCONT else -number) and again.wait() == 0
            assert postgres.sql(server, "SELECT count(*) FROM points WHERE survey = 'v1'", "first") == [["3"]]

        # One that waits for its turn can be ended.
        holder = subprocess.Popen(["psql", "-h", server, "-U", "postgres", "-d", "first", "-qc",
                                   "BEGIN; SELECT pg_advisory_xact_lock(1952544367, 0), pg_sleep(600)"],
                                  stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        wait_for(server, "pg_stat_activity WHERE query LIKE '%pg_sleep(600)' AND state = 'active'")
        waiting = subprocess.Popen([TOOL, "export", "v1.tvo", "--replace", "-o", database])
        wait_for(server, "pg_locks WHERE locktype = 'advisory' AND NOT granted")
        waiting.send_signal(signal.SIGINT)
        assert waiting.wait() == -signal.SIGINT
        holder.kill()
        holder.wait()


def wait_for(server, rows):
    end = time.monotonic() + 120
    while not postgres.sql(server, f"SELECT 1 FROM {rows}", "first"):
        assert time.monotonic() < end, rows
        time.sleep(0.02)


if postgres.PROGRAMS:
    run([test_database, test_side_by_side])
else:
    print("PostgreSQL with PostGIS was not found: databases are not tested")
