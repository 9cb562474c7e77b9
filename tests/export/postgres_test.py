#!/usr/bin/env python3
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
        while not postgres.sql(server, "SELECT 1 FROM pg_stat_activity WHERE query LIKE 'COPY%'"):
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


if postgres.PROGRAMS:
    run([test_database])
else:
    print("PostgreSQL was not found: databases are not tested")
