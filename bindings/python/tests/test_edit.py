"""Writing: what comes back from a text that was written, and what is refused with row and field."""
import numpy as np
import pandas
import pytest

import tavo
from tavo._schema import TEXT
from conftest import EXAMPLES, text

NAN = float("nan")


def same(one, other):
    """Records, presence and findings of two surveys are the same."""
    assert [finding for finding in other.findings if finding.kind != "note"] == []
    for block in one.schema:
        if block.dtype is None:
            continue
        old, new = one[block.path], other[block.path]
        assert len(old) == len(new), block
        for field in block.kept:
            # An empty text and one that is not given are written alike.
            if not field.hidden and field.type != TEXT:
                assert (old.given(field.name) == new.given(field.name)).all(), (block, field)
            if old[field.name].dtype.kind != "f":
                assert (old[field.name] == new[field.name]).all(), (block, field)
            else:
                assert np.allclose(old[field.name], new[field.name], atol=1e-3), (block, field)


@pytest.mark.parametrize("path", sorted(path.relative_to(EXAMPLES).as_posix()
                                        for path in EXAMPLES.rglob("*.tvo") if path.stem != "mistakes"))
def test_examples_come_back(path):
    survey = tavo.read(EXAMPLES / path)
    same(survey, survey.edit().survey())
    same(survey, tavo.read(survey.build(columns=False)))


def test_what_is_not_given_stays_so():
    """Numbers that are absent are not written as 0, wherever they are absent."""
    survey = tavo.read(text("POINTS (PointNo,East,North,Elevation,LayerNo)\n1,1,2,,;\n2,,,5,;\n"
                            "3,,,,7;\n4,1,2,0,0;\n5,1,2,,;\n6,1,2,,;\nEND POINTS"))
    same(survey, tavo.read(tavo.build(None, survey)))
    edit = survey.edit()
    edit.points["East"] += 1.5
    edit.points.clear("North", 0)
    edit.points.give("Elevation", [1, 2])
    back = edit.survey().points
    assert back["East"].tolist() == [2.5, 1.5, 1.5, 2.5, 2.5, 2.5]
    assert back.given("North").tolist() == [False, False, False, True, True, True]
    assert back.given("Elevation").tolist() == [False, True, True, True, False, False]


def test_rows_of_every_kind(tmp_path):
    rows = [{"PointNo": 1, "PointID": "ä", "East": 1.25, "CLASS": "FIX", "Flags": "101",
             "Date": "2024-09-17T07:42:29.6"}, {"PointNo": 2, "East": None, "Date": np.datetime64("2024-09-18")}]
    frame = pandas.DataFrame({"PointNo": [1, 2], "PointID": ["ä", None], "East": [1.25, NAN],
                              "CLASS": pandas.Categorical(["FIX", None]), "Flags": pandas.array([5, pandas.NA]),
                              "Date": pandas.to_datetime(["2024-09-17T07:42:29.6", "2024-09-18"])})
    columns = {name: list(values) for name, values in frame.items()}
    first = tavo.build(None, {"POINTS": rows})
    assert {tavo.build(None, {"POINTS": one}) for one in (frame, columns)} == {first}
    path = tmp_path / "out.tvo"
    assert tavo.build(path, [("POINTS", frame)], decimals=(4, 1, 10), columns=False) is None
    assert "1.2" in path.read_text() or "1.3" in path.read_text()
    survey = tavo.read(path)
    again = survey.edit()
    again["POINTS"] = survey.points[survey.points["PointNo"] == 2]
    assert again.survey().points["PointNo"].tolist() == [2]


def test_units_and_blocks_in_their_order():
    survey = tavo.read(tavo.build(None, {
        "SLOPE": {"TgtNo": 1, "Hz": 100.0, "SDist": 10.0}, "SETUP": {"STN_NO": 1, "INST_HT": 1.5},
        "UNITS": {"ANGULAR": "GRADS", "LINEAR": "INT_FEET"}, "POINTS": {"PointNo": [1], "East": 5},
        "POINTS/THEMINFO": [{"PointNo": 1, "Attribute": "n", "Value": value} for value in ("t", 2, 2.5)]}))
    assert survey.slopes["Hz"][0] == pytest.approx(np.pi / 2)
    assert survey.slopes["SDist"][0] == pytest.approx(3.048)
    assert survey.to_pandas("POINTS/THEMINFO").Value.tolist() == ["t", 2, 2.5]
    edit = survey.edit()
    edit.put("SLOPE", survey.to_pandas("SLOPE", units="si"), units="si")
    assert edit.survey().slopes["SDist"][0] == pytest.approx(3.048)
    edit.append("POINTS", {"PointNo": 2})
    assert edit.survey().points["PointNo"].tolist() == [1, 2] and edit.units.linear == "INT_FEET"


def test_units_of_one_s_own():
    """One word for three numbers."""
    given = {"ANGULAR": "USER", "angularFactor": 2.5, "LINEAR": "USER", "linearFactor": 0.5, "GEOCRD": "USER",
             "geographicFactor": 3.0}
    survey = tavo.read(tavo.build(None, {"UNITS": given}))
    assert survey["UNITS"][["ANGULAR", "LINEAR", "GEOCRD"]][0].tolist() == (4, 14, 20)
    assert survey.units[6:9] == (2.5, 0.5, 3.0) and survey.to_pandas("UNITS").LINEAR.tolist() == ["USER"]


def test_sorted_and_copied_records():
    edit = tavo.read(text("POINTS (PointNo,East)\n3,;\n1,5;\n2,1;\nEND POINTS")).edit()
    kept = edit.points.copy()
    edit.points.sort(order="PointNo")
    back = edit.survey(decimals=[4, 4, 10]).points
    assert back["PointNo"].tolist() == [1, 2, 3] and back.given("East").tolist() == [True, True, False]
    edit["POINTS"] = kept
    assert edit.survey().points.given("East").tolist() == [False, True, True]


REFUSED = [
    ("POINTS", "PointNo", -1), ("POINTS", "PointNo", 2**32), ("POINTS", "PointNo", 1.5), ("POINTS", "JobNo", 65536),
    ("POINTS", "PointNo", "one"), ("POINTS", "PointID", "x" * 17), ("POINTS", "PointID", "ä" * 9),
    ("POINTS", "PointID", "a\nb"), ("POINTS", "PointID", 5), ("POINTS", "CLASS", "BEST"), ("POINTS", "CLASS", 100),
    ("POINTS", "East", float("inf")), ("POINTS", "SymDim1", 1e300),
    ("POINTS", "Flags", "12"), ("POINTS", "Date", "yesterday"), ("POINTS", "Date", "2024-09-17T00:00+01:00"),
    ("POINTS/THEMINFO", "Value", "x" * 127),
    ("POINTS/THEMINFO", "Value", True)]


@pytest.mark.parametrize("block, field, value", REFUSED)
def test_what_does_not_fit_is_refused(tmp_path, block, field, value):
    rows = [{"PointNo": 1}, {"PointNo": 1, field: value}]
    path = tmp_path / "out.tvo"
    path.write_bytes(b"before")
    for cells in (rows, pandas.DataFrame(rows), {name: [row.get(name) for row in rows] for name in rows[1]}):
        with pytest.raises(tavo.Error) as caught:
            tavo.build(path, {"POINTS": {"PointNo": 1}, block: cells} if "/" in block else {block: cells})
        assert caught.value.row == 1 and caught.value.field in (field, None), str(caught.value)
        assert caught.value.status == 2576
    assert path.read_bytes() == b"before"


def test_arrays_that_were_changed_are_checked():
    for field, value in (("East", NAN), ("PointID", b"a" * 17), ("PointID", b"a\nb"), ("CLASS", 7),
                         ("Date", (2024, 100, 1, 0, 0, 0, 0))):
        edit = tavo.read(EXAMPLES / "survey.tvo").edit()
        edit.points[field][3] = value
        with pytest.raises(tavo.Error) as caught:
            edit.build()
        assert (caught.value.row, caught.value.field) == (3, field)
    for wrong in ({"Easting": 1}, {"PointNo": [1, 2], "East": [1]}):
        with pytest.raises(tavo.Error):
            tavo.build(None, {"POINTS": wrong})
    edit = tavo.read(EXAMPLES / "all-sections.tvo").edit()
    edit["TIME_TAGGED_CODES"]["EntryCount"][0] += 1
    with pytest.raises(tavo.Error, match="EntryCount"):
        edit.build()
    with pytest.raises(ValueError):
        tavo.build(None, tavo.read(b""), decimals=(4, 4))
    with pytest.raises(TypeError):
        tavo.build(None, tavo.read(b""), decimals=(4, 4.5, 10))
