"""Arrays over a survey's own memory: what they hold, how they share it, and what a survey tells."""
import copy
import gc
import io
import os
import pickle

import numpy as np
import pytest

import tavo
from conftest import EXAMPLES, text

POINTS = text('POINTS (PointNo,PointID,East,North,Date)\n1,"a",1.5,,17-09-2024/07:42:29.6;\n'
              '2,"\xfc",,0,;\nx,"c",1,1,;\nEND POINTS\n').decode().encode("latin-1")


def test_sources_are_the_same(tmp_path):
    path = tmp_path / "a ü.tvo"
    path.write_bytes(POINTS)
    surveys = [tavo.read(source) for source in (
        path, str(path), POINTS, bytearray(POINTS), memoryview(POINTS), io.BytesIO(POINTS),
        open(path, "rb"))]
    assert {survey.points.tobytes() for survey in surveys} == {surveys[0].points.tobytes()}
    assert [survey.name for survey in surveys[:3]] == [str(path), str(path), ""]
    assert surveys[0].counts["errors"] == 1
    assert tavo.check(path).counts == surveys[0].counts


def test_paths_are_the_system_s_own(tmp_path):
    path = os.fsdecode(os.fsencode(tmp_path) + b"/\xff.tvo")
    with open(path, "wb") as file:
        file.write(POINTS)
    survey = tavo.read(path)
    survey.build(path + "2")
    assert len(tavo.read(path + "2").points) == len(survey.points) == 2 and survey.name == path
    with pytest.raises(tavo.Error) as caught:
        tavo.read(path + "3")
    assert caught.value.where == path + "3"
    for call in (tavo.read, tavo.verify, survey.build):
        with pytest.raises(tavo.Error, match="zero byte"):
            call(path + "\0")


def test_lines_and_presence_go_with_their_records():
    points = tavo.read(text("POINTS (PointNo,East)\n3,;\n1,5;\n2,1;\nEND POINTS")).points
    in_order = np.sort(points, order="PointNo")
    for ordered in (in_order, points[[1, 2, 0]], points[::-1][[1, 0, 2]], in_order.copy(), copy.deepcopy(in_order)):
        assert ordered["PointNo"].tolist() == [1, 2, 3] and ordered.lines.tolist() == [14, 15, 13]
        assert ordered.given("East").tolist() == [True, True, False]
    # NumPy says nothing of what it took.
    with pytest.raises(tavo.Error):
        points.take([1, 2, 0]).lines
    in_order.copy().give("East", 2)
    assert not in_order.given("East")[2]


def test_presence_lines_and_findings():
    survey = tavo.read(POINTS)
    points = survey.points
    assert points["PointNo"].tolist() == [1, 2] and points.lines.tolist() == [13, 14]
    assert points.given("East").tolist() == [True, False]
    assert points.given("North").tolist() == [False, True]
    part = points[points["PointNo"] == 2]
    assert (part.lines.tolist(), part.given("North").tolist()) == ([14], [True])
    again = pickle.loads(pickle.dumps(points))
    assert again.given("East").tolist() == [True, False] and again["East"].tolist() == [1.5, 0]
    with pytest.raises(tavo.Error):
        points.given("Easting")
    (finding,) = survey.findings
    assert (finding.code, finding.line, finding.column, finding.text) == ("E2500", 15, 1, "x")
    assert finding.source == 'x,"c",1,1,;' and "E2500" in tavo.check(POINTS).by_code


def test_arrays_lie_in_the_survey_and_keep_it():
    survey = tavo.read(EXAMPLES / "survey.tvo")
    points = survey.points
    assert points.__array_interface__["data"] == survey["points"].__array_interface__["data"]
    east = points["East"]
    copy = east.copy()
    del survey, points
    gc.collect()
    assert (east == copy).all() and len(east) == 151
    for array in (east, tavo.read(POINTS).points):
        with pytest.raises(ValueError):
            array[:1] = 0
        with pytest.raises(ValueError):
            array.flags.writeable = True


def test_every_block_has_the_dtype_of_its_record():
    survey = tavo.read(EXAMPLES / "all-sections.tvo")
    counted = 0
    for block in survey.schema:
        if block.dtype is None:
            continue
        records = survey[block.path]
        counted += len(records)
        assert records.dtype.itemsize == block.dtype.itemsize == records.strides[0]
        for field in block.kept:
            assert records[field.name].dtype.itemsize == field.size, field
    # Lines of time-tagged codes have no columns record.
    columns = sum(not block[5] and block[1] != 91 for block in survey._blocks)
    assert counted + columns == survey.counts["records"]


def test_blocks_of_one_keyword():
    survey = tavo.read(EXAMPLES / "survey.tvo")
    infos = survey["THEMINFO"]
    assert len(infos) == sum(len(survey[f"{owner}/THEMINFO"]) for owner in ("POINTS", "LINES", "POLYGONS"))
    assert set(infos["Block"]) == {"POINTS", "LINES", "POLYGONS"}
    assert infos["OwnerNo"][-1] == survey["POLYGONS/THEMINFO"]["PolygonNo"][-1] == 103
    assert infos.given("OwnerNo").all() and infos.lines[-1] > infos.lines[0]
    with pytest.raises(tavo.Error, match="POINTS/EDGES"):
        survey["POINTS/EDGES"]


def test_what_a_survey_tells():
    survey = tavo.read(EXAMPLES / "survey.tvo")
    assert repr(survey).endswith("151 points, 4 lines, 14 polygons; GRADS, METRE; no findings>")
    assert survey.header["VERSION"] == 1.31 and survey.header["PROJECT"]["CITY"] == "Oberried"
    assert survey.units.linear == "METRE" and tavo.read(POINTS).units.offset_east == 1000
    page = survey._repr_html_()
    assert page.count("<circle") == 151 and page.count('class="a"') >= 14
    markup = text('POINTS (PointNo,PointID,East,North)\n1,"<b>",1,1;\nEND POINTS\n')
    assert "&lt;b&gt;" in tavo.read(markup)._repr_html_()
    timeline = tavo.read(EXAMPLES / "all-sections.tvo").timeline()
    assert (np.diff(timeline["time"]) >= 0).all() and set(timeline["type"]) <= {34, 53, 54, 91}
    empty = tavo.read(b"")
    assert len(empty.points) == len(empty.timeline()) == 0 and "no points" in repr(empty)
    assert empty._repr_html_() and empty.header == {} and empty.points.given("East").tolist() == []
