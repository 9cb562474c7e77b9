"""Records in a data file: walking, finding, changing, and what a damaged file gives."""
import pytest

import tavo
from conftest import EXAMPLES


@pytest.fixture
def path(tmp_path):
    path = tmp_path / "survey.dat"
    with tavo.Store(path, "create") as store:
        store.write("POINTS", [{"PointNo": n, "PointID": f"P{n}", "East": n / 2, "CodeNo": n % 2} for n in range(1, 101)])
        store.write("JOBS", {"JobNo": 4, "Name": "a job"})
        assert len(store) == 101
    return path


def test_walk_and_find(path):
    with tavo.Store(path, "read") as store:
        numbers = [record["PointNo"] for record in store if record.block.path == "POINTS"]
        assert sorted(numbers) == list(range(1, 101)) and len(store) == 101
        assert store.find(number=7)["PointID"] == "P7" and store.find(id="P9")["East"] == 4.5
        assert store.find("JOBS", list=4)["Name"] == "a job" and "Name='a job'" in repr(store.find("JOBS"))
        assert store.find(number=1000) is None
        for wrong in ({"number": 1, "id": "P1"}, {"block": "JOBS", "id": "x"}, {"number": -1}):
            with pytest.raises(tavo.Error):
                store.find(**wrong)
        with pytest.raises(tavo.Error):
            store.write("JOBS", {"JobNo": 5})
        assert store.verify() == []
    with pytest.raises(tavo.Error, match="closed"):
        store.find(number=1)


def test_change_and_delete(path):
    with tavo.Store(path) as store:
        seven = store.find(number=7)
        store.update({"East": 70.25, "PointID": "seven"}, seven)
        assert (seven["East"], store.find(id="seven")["PointNo"]) == (70.25, 7)
        with pytest.raises(tavo.Error, match="current"):
            store.update({"East": 1}, seven)
        with pytest.raises(tavo.Error) as caught:
            store.update({"PointID": "x" * 17})
        assert caught.value.field == "PointID"
        store.update({})
        store.find(number=8)
        store.delete()
        assert store.find(number=8) is None and len(store) == 100
        gone = 0
        for record in store:
            if record.block.path == "POINTS" and record["CodeNo"] == 1:
                store.delete(record)
                gone += 1
        assert gone == 50 and len(store) == 50
    assert tavo.verify(path) == []


def test_refusals(tmp_path):
    with tavo.Store(tmp_path / "a.dat", "create") as store:
        for block, values in (("TIME_TAGGED_CODES", {"Code": "a"}), ("POINTS", {"East": float("nan"), "CLASS": 5}),
                              ("TIME_TAGGED_CODES", tavo.read(EXAMPLES / "all-sections.tvo").time_tagged_codes)):
            with pytest.raises(tavo.Error):
                store.write(block, values)
        with pytest.raises(tavo.Error):
            store.delete()
    with pytest.raises(tavo.Error):
        tavo.Store(tmp_path / "a.dat", "create")
    (tmp_path / "b.dat").write_bytes(b"no data file" * 100)
    for call in (tavo.Store, tavo.verify):
        for name, why in (("b.dat", ""), ("none.dat", "no such file"), ("", "folder")):
            with pytest.raises(tavo.Error, match=why) as caught:
                call(tmp_path / name)
            assert caught.value.where == str(tmp_path / name)
    for wrong in ({"mode": "w"}, {"kind": "x"}, {"cache_pages": -1}):
        with pytest.raises(tavo.Error):
            tavo.Store(tmp_path / "a.dat", **wrong)


def test_a_complete_file_keeps_all(tmp_path):
    survey = tavo.read(EXAMPLES / "all-sections.tvo")
    path = tmp_path / "all.dat"
    with tavo.Store(path, "create", kind="complete") as store:
        store.declare("POINTS", ["PointNo", "East", "Longitude"])
        store.write("POINTS", survey.points)
        store.write("TIME_TAGGED_CODES", survey.time_tagged_codes, survey.entries)
        assert store.kind == "complete"
        columns, *records = store
        assert columns.columns == ["PointNo", "East", "Longitude"]
        points = records[:len(survey.points)]
        assert [record.given("East") for record in points] == survey.points.given("East").tolist()
        assert b"".join(record.entries.tobytes() for record in records) == survey.entries.tobytes()
        store.find(number=int(survey.points["PointNo"][0]))
        store.update({"Color": 5})
        assert store.find(number=int(survey.points["PointNo"][0])).given("Color")
        assert store.verify() == []
    assert len(list(tavo.Store(path, "read"))) == len(records) + 1


def test_damage_is_found_and_repaired(path, tmp_path):
    data = bytearray(path.read_bytes())
    data[1024:1064] = b"\xff" * 40
    path.write_bytes(data)
    assert any(finding.kind == "error" for finding in tavo.verify(path))
    report = tavo.repair(path, tmp_path / "new.dat")
    assert report.found["JOBS"] == 1 and 0 < report.found["POINTS"] <= 100
    assert tavo.verify(tmp_path / "new.dat") == []
    with tavo.Store(tmp_path / "new.dat", "read") as store:
        assert len(store) == sum(report.found.values()) and store.find(id="P99")["East"] == 49.5
        assert store.repair(tmp_path / "again.dat").complete
    with pytest.raises(tavo.Error):
        tavo.repair(tmp_path / "none.dat", tmp_path / "x.dat")
