#!/usr/bin/python3
"""Several surveys in one output, and what is left when an export fails: adding_test.py TOOL
EXAMPLES."""
import os
import pathlib
import re
import shutil
import signal
import subprocess

from osgeo import ogr

from tool import EXAMPLES, SURVEY, TOOL, export, interrupt, leftovers, read, run, write_survey

HERE = pathlib.Path()


def surveys_of(path, layer="points"):
    rows = read(path, layer)[0]
    names = [row["survey"] for row in rows]
    return {name: names.count(name) for name in names}


def attribute(value):
    return f'    THEMINFO (PointNo,Attribute,Value)\n      1,"Girth",{value};\n    END THEMINFO'


def write_pair():
    """Two surveys whose attribute is of different types, the second with heights."""
    write_survey("a.tvo", [(500000, 5300000, 0), (500001, 5300000, 0)], heights=False)
    write_survey("b.tvo", [(500002, 5300000, 7)])
    for name, value in (("a", "12"), ("b", "1.25")):
        text = pathlib.Path(f"{name}.tvo").read_text()
        pathlib.Path(f"{name}.tvo").write_text(
            text.replace("  END POINTS", f"{attribute(value)}\n  END POINTS"))


def check_pair(path):
    rows = {row["survey"]: row for row in reversed(read(path, "points")[0])}
    assert surveys_of(path) == {"a": 2, "b": 1}
    assert rows["a"]["a_Girth"] == 12 and rows["b"]["a_Girth"] == 1.25, rows
    assert rows["b"]["geometry"].GetZ() == 7 and rows["a"]["geometry"].GetZ() == 0


def test_one_call():
    write_pair()
    export("a.tvo", "b.tvo", "-o", "both.gpkg")
    check_pair("both.gpkg")
    os.mkdir("other")
    shutil.copy("a.tvo", "other/a.tvo")
    export("a.tvo", "other/a.tvo", "-o", "no.gpkg", status=2, says="both be survey 'a'")


def test_append_and_replace():
    write_pair()
    export("a.tvo", "-o", "out.gpkg")
    export("b.tvo", "-o", "out.gpkg", "--append")
    check_pair("out.gpkg")
    before = pathlib.Path("out.gpkg").read_bytes()
    export("b.tvo", "-o", "out.gpkg", "--append", status=2, says="has survey 'b' already")
    assert pathlib.Path("out.gpkg").read_bytes() == before
    write_survey("b.tvo", [(500003, 5300000, 8), (500004, 5300000, 9)])
    export("b.tvo", "-o", "out.gpkg", "--replace")
    assert surveys_of("out.gpkg") == {"a": 2, "b": 2}
    export("a.tvo", "-o", "out.gpkg", "--append", "--survey", "again")
    assert surveys_of("out.gpkg") == {"a": 2, "b": 2, "again": 2}
    export("a.tvo", "-o", "out.gpkg")
    assert surveys_of("out.gpkg") == {"a": 2}
    write_survey("east.tvo", [(300000, 5300000, 1)], zone=33)
    export("east.tvo", "-o", "out.gpkg", "--append", status=2, says="--to-crs")
    export("a.tvo", "-o", "a.dxf", "--append", status=2, says="cannot be added to")


def test_others_files_stay():
    write_pair()
    driver = ogr.GetDriverByName("GPKG")
    theirs = driver.CreateDataSource("theirs.gpkg")
    theirs.CreateLayer("points")
    del theirs
    before = pathlib.Path("theirs.gpkg").read_bytes()
    pathlib.Path("text.gpkg").write_text("no GeoPackage")
    os.mkdir("folder.gpkg")
    for words, says in ((["theirs.gpkg"], "use --overwrite"), (["text.gpkg"], "use --overwrite"),
                        (["theirs.gpkg", "--append"], "not of an export"),
                        (["text.gpkg", "--append"], "is no GeoPackage"),
                        (["folder.gpkg"], "not a regular file"),
                        (["nowhere/a.gpkg"], "No such file"), (["a.txt"], "names no format")):
        export("a.tvo", "-o", *words, status=2, says=says)
    assert pathlib.Path("theirs.gpkg").read_bytes() == before
    shutil.copy("a.tvo", "a.gpkg")
    export("a.gpkg", "-o", "a.gpkg", "--overwrite", status=2, says="is the input itself")
    export("a.tvo", "-o", "theirs.gpkg", "--overwrite")
    assert surveys_of("theirs.gpkg") == {"a": 2}


def test_findings():
    mistakes = EXAMPLES / "mistakes.tvo"
    says = export(mistakes, "-o", "m.gpkg", status=1)
    assert re.search(r"33 errors, \d+ warnings", says) and len(read("m.gpkg", "points")[0]) == 1
    export(mistakes, "-o", "no.gpkg", "--strict", status=1, says="refused")
    assert not HERE.joinpath("no.gpkg").exists()
    export("missing.tvo", "-o", "no.gpkg", status=2, says="no such file")
    export(SURVEY, "-o", "no.gpkg", "--layer", "roads", status=2, says="there is no layer 'roads'")
    export(SURVEY, "-o", "no.gpkg", "--crs", "EPSG:1", status=2, says="names no reference system")


def test_stream_and_layers():
    with open(SURVEY, "rb") as text:
        export("-", "-o", "out.gpkg", "--layer", "points,lines", stdin=text, says="14 polygons")
    assert surveys_of("out.gpkg") == {"stdin": 151} and ogr.Open("out.gpkg").GetLayerCount() == 2


def test_interrupted():
    write_survey("big.tvo", [(500000 + i, 5300000, 1) for i in range(60000)])
    write_survey("small.tvo", [(500000, 5300000, 1)])
    for suffix in ("gpkg", "geojson"):
        export("small.tvo", "-o", f"out.{suffix}")
        before = pathlib.Path(f"out.{suffix}").read_bytes()
        for number in (signal.SIGINT, signal.SIGTERM):
            assert interrupt(["big.tvo", "-o", f"out.{suffix}"], number) == -number
            assert not leftovers() and pathlib.Path(f"out.{suffix}").read_bytes() == before


def test_no_gdal():
    os.mkdir("bin")
    shutil.copy(TOOL, "bin/tavo")
    for suffix, status in (("gpkg", 2), ("csv", 0)):
        result = subprocess.run(["bin/tavo", "export", SURVEY, "-o", f"out.{suffix}"],
                                capture_output=True, text=True)
        assert result.returncode == status, result
        assert (status == 0) != ("needs GDAL" in result.stderr), result
    os.makedirs("libexec/tavo")
    os.symlink(pathlib.Path(TOOL).parent / "tavo-export", "libexec/tavo/tavo-export")
    subprocess.run(["bin/tavo", "export", SURVEY, "-o", "out.gpkg"], check=True)


def test_full_disk():
    """On a file system of 256 kB, which needs root."""
    write_survey("big.tvo", [(500000 + i, 5300000, 1) for i in range(20000)])
    os.mkdir("full")
    mount = ["mount", "-t", "tmpfs", "-o", "size=256k", "tmpfs", "full"]
    if subprocess.run(mount, capture_output=True).returncode != 0:
        print("a file system cannot be mounted here: a full disk is not tested")
        return
    try:
        for suffix in ("gpkg", "geojson", "dxf", "kml", "fgb", "shp", "csv"):
            export("big.tvo", "-o", f"full/out.{suffix}", status=2, says="full")
            assert os.listdir("full") == [], (suffix, os.listdir("full"))
    finally:
        subprocess.run(["umount", "full"], check=True)


run([test_one_call, test_append_and_replace, test_others_files_stay, test_findings,
     test_stream_and_layers, test_interrupted, test_no_gdal, test_full_disk])
