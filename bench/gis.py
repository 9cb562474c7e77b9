#!/usr/bin/python3
"""What GIS costs, as ratios of one run: gis.py BUILD [POINTS] (default: build/linux, a million).

A survey and a CSV file of the same points are written to a temporary folder. Compared are the
processor's seconds, the best of several rounds, of `ogrinfo -so` with `tavo check`, and of ogr2ogr to
GeoPackage from the survey and from the CSV file.
"""
import os
import pathlib
import random
import resource
import subprocess
import sys
import tempfile

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent / "tests" / "export"))
from surveys import HEAD  # noqa: E402

COLUMNS = "PointNo,PointID,CLASS,East,North,Elevation,Code"


def write(folder, count):
    random.seed(1)
    with open(folder / "points.tvo", "w") as survey, open(folder / "points.csv", "w") as table:
        survey.write(f"{HEAD.format(zone=32)}DATABASE\n  POINTS ({COLUMNS})\n")
        table.write(COLUMNS + "\n")
        for i in range(1, count + 1):
            east, north = 419000 + 5000 * random.random(), 5309000 + 5000 * random.random()
            row = f'{i},"P{i}",MEAS,{east:.4f},{north:.4f},{400 + 100 * random.random():.4f},"C{i % 50}"'
            survey.write(f"    {row};\n")
            table.write(row + "\n")
        survey.write("  END POINTS\nEND DATABASE\n")


def seconds(command, folder, rounds):
    best = float("inf")
    for _ in range(rounds):
        (folder / "out.gpkg").unlink(missing_ok=True)
        before = resource.getrusage(resource.RUSAGE_CHILDREN)
        subprocess.run(command, cwd=folder, check=True, stdout=subprocess.DEVNULL)
        after = resource.getrusage(resource.RUSAGE_CHILDREN)
        best = min(best, after.ru_utime + after.ru_stime - before.ru_utime - before.ru_stime)
    return best


def main(build="build/linux", count="1000000"):
    build = pathlib.Path(build).resolve()
    os.environ["GDAL_DRIVER_PATH"] = str(build / "lib" / "gdalplugins")
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        write(folder, int(count))
        check = seconds([build / "bin" / "tavo", "check", "points.tvo"], folder, 5)
        info = seconds(["ogrinfo", "-so", "-al", "points.tvo"], folder, 5)
        print(f"ogrinfo -so / tavo check:         {info / check:.2f}  ({info:.2f} s, {check:.2f} s)")
        csv = ["points.csv", "-a_srs", "EPSG:25832"]
        for option in ("X_POSSIBLE_NAMES=East", "Y_POSSIBLE_NAMES=North", "Z_POSSIBLE_NAMES=Elevation",
                       "AUTODETECT_TYPE=YES"):
            csv += ["-oo", option]
        copy = ["ogr2ogr", "-f", "GPKG", "out.gpkg"]
        table = seconds(copy + csv, folder, 2)
        survey = seconds(copy + ["points.tvo", "points"], folder, 2)
        print(f"to GeoPackage, survey / CSV:      {survey / table:.2f}  ({survey:.2f} s, {table:.2f} s)")


if __name__ == "__main__":
    main(*sys.argv[1:])
