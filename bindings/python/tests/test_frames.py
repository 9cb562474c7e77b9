"""Tables and layers: values, units, what is not given, joined attributes, places and systems."""
import contextlib
import re

import numpy as np
import pandas
import pytest

import tavo
from conftest import EXAMPLES, ROOT, text

SURVEY = text("""POINTS (PointNo,PointID,CLASS,East,North,Elevation,Date,Color,LayerNo)
1,"a",FIX,10,20,5,17-09-2024/07:42:29.65,4000000000,;
2,"\u00e4",,,,0,,,7;
3,,UNKNOWN,30,40,,,,;
THEMINFO (PointNo,Attribute,Value)
1,"Kind","oak";
1,"Kind","elm";
2,"Girth",3;
1,"Girth",2.5;
1,"kind",7;
9,"Kind","lost";
END THEMINFO
END POINTS
LINES (LineNo)
4;
EDGES (LineNo,StartPt,EndPt,LINETYPE)
4,1,3,STRAIGHT;
END EDGES
END LINES""", linear="INT_FEET")


def test_a_table_tells_what_is_not_given():
    frame = tavo.read(SURVEY).to_pandas("points")
    assert list(frame) == ["PointNo", "PointID", "CLASS", "East", "North", "Elevation", "Date",
                           "Color", "LayerNo"]
    assert frame.Color.tolist() == [4000000000, pandas.NA, pandas.NA]
    assert frame.LayerNo.isna().tolist() == [True, False, True]
    assert frame.East.isna().tolist() == [False, True, False] and frame.Elevation[1] == 0
    assert frame.PointID.tolist() == ["a", "ä", None]
    assert frame.CLASS.tolist()[::2] == ["FIX", "UNKNOWN"] and frame.CLASS.isna()[1]
    assert frame.Date[0] == pandas.Timestamp("2024-09-17 07:42:29.65") and pandas.isna(frame.Date[1])
    assert "SymNo1" in tavo.read(SURVEY).to_pandas("POINTS", columns="all")
    assert list(tavo.read(SURVEY).to_pandas("POINTS", columns=["North"])) == ["North"]
    assert len(tavo.read(b"").to_pandas("SLOPE").columns) > 10
    assert list(tavo.read(SURVEY).to_pandas("POINTS", columns=["North", "East", "North"])) == ["North", "East"]
    for wrong in ({"units": "feet"}, {"columns": "some"}, {"columns": ["Est"]}):
        with pytest.raises(tavo.Error):
            tavo.read(SURVEY).to_pandas("POINTS", **wrong)
    with pytest.warns(UserWarning, match="1 dates"):
        odd = text("POINTS (PointNo,Date)\n1,99-99-2024/00:00:00.0;\nEND POINTS")
        assert tavo.read(odd).to_pandas("POINTS").Date.isna().all()


@pytest.mark.parametrize("name", ["survey.tvo", "all-sections.tvo"])
def test_every_block_is_a_table(name):
    survey = tavo.read(EXAMPLES / name)
    for block in survey.schema:
        if block.dtype is None or block.path == "OPERATION_POINTS":
            continue
        for units in ("file", "si"):
            frame = survey.to_pandas(block.path, units, columns="all")
            assert len(frame) == len(survey[block.path]), block
        for field in block.kept:
            if field.values:
                names = frame[field.name].dropna().tolist()
                assert names == [field.values.get(number, "UNKNOWN") for number in
                                 survey[block.path][field.name][frame[field.name].notna()].tolist()], field


def test_units():
    survey = tavo.read(SURVEY)
    assert survey.to_pandas("POINTS", units="si").East[0] == pytest.approx(3.048)
    assert survey.to_pandas("POINTS").East[0] == 10
    centred = tavo.read(text("POINTS (PointNo,X,Y,Z)\n1,10,20,30;\nEND POINTS", linear="INT_FEET"))
    place = centred.to_geopandas("points").geometry[0]
    si = centred.to_pandas("POINTS", units="si")
    assert (si.X[0], si.Y[0], si.Z[0]) == pytest.approx((place.x, place.y, place.z)) == (3.048, 6.096, 9.144)
    again = tavo.Edit()
    again["UNITS"] = {"LINEAR": "INT_FEET"}
    again.put("POINTS", si, units="si")
    assert again.survey().points["Z"][0] == pytest.approx(30)
    survey = tavo.read(EXAMPLES / "all-sections.tvo")
    raw, file = survey.slopes["Hz"], survey.to_pandas("SLOPE").Hz
    given = survey.slopes.given("Hz")
    assert np.allclose(raw[given] * 200 / np.pi, file[given])
    assert (survey.to_pandas("SLOPE", units="si").Hz[given] == raw[given]).all()


def test_attributes_are_joined_wide():
    with pytest.warns(UserWarning) as told:
        frame = tavo.read(SURVEY).to_pandas("POINTS", theminfo=True)
    assert sorted(str(one.message).split()[0] for one in told) == ["1", "1"]
    assert frame.a_Kind.tolist() == ["oak", None, None]
    assert frame.a_Girth.tolist()[:2] == [2.5, 3.0]
    assert frame.a_kind_2.tolist() == [7, pandas.NA, pandas.NA]
    with pytest.raises(tavo.Error):
        tavo.read(SURVEY).to_pandas("JOBS", theminfo=True)
    codes = tavo.read(EXAMPLES / "all-sections.tvo").to_pandas("TIME_TAGGED_CODES")
    assert codes.columns[0] == "Code" and any(name.startswith("a_") for name in codes)
    assert "PointNo1" in tavo.read(EXAMPLES / "all-sections.tvo").to_pandas("OPERATIONS")
    infos = tavo.read(EXAMPLES / "survey.tvo").to_pandas("THEMINFO")
    assert len(infos) == 74 and infos.iloc[-1].Value == "K. Brunner"


def test_layers_have_places_and_systems():
    survey = tavo.read(SURVEY)
    points = survey.to_geopandas("points")
    assert points.crs is None and points.geometry.isna().tolist() == [False, True, False]
    assert (points.geometry[0].x, points.geometry[0].y) == pytest.approx((307.848, 6.096))
    assert points.geometry[0].z == pytest.approx(1.524)
    assert not points.geometry[2].has_z and points.to_crs is not None
    assert survey.to_geopandas("points", crs="EPSG:25832").crs.to_epsg() == 25832
    line = survey.to_geopandas("lines").geometry[0]
    assert line.geom_type == "MultiLineString" and len(line.geoms[0].coords) == 2
    example = tavo.read(EXAMPLES / "survey.tvo")
    areas = example.to_geopandas("polygons")
    assert (areas.geom_type == "MultiPolygon").all() and areas.area.gt(50).all()
    assert areas.crs.name == "UTM zone 32" and areas.crs.axis_info[0].direction == "east"
    assert len(example.to_geopandas("edges")) == 116
    rays = tavo.read(EXAMPLES / "all-sections.tvo").to_geopandas("observations")
    assert len(rays) == 24 and "red_HDist" in rays
    with pytest.raises(tavo.Error, match="points, lines"):
        survey.to_geopandas("dots")


def test_a_layer_of_several_systems():
    mixed = text("POINTS (PointNo,East,North,Longitude,Latitude)\n1,1,2,,;\n2,,,10,50;\n3,,,,;\nEND POINTS")
    survey = tavo.read(mixed)
    assert len(survey.systems()) == 2
    with pytest.raises(tavo.Error, match="system="):
        survey.to_geopandas("points")
    rows = [survey.to_geopandas("points", system=at).PointNo.tolist() for at in (0, 1)]
    assert sorted(sum(rows, [])) == [1, 2, 3]
    assert survey.to_geopandas("points", system=1).geometry.notna().any()


SURVEYS = sorted(path.relative_to(ROOT).as_posix() for folder in ("examples", "tests/gdal/cases")
                 for path in (ROOT / folder).rglob("*.tvo"))
OPTIONS = [(path, {}) for path in SURVEYS] + [("examples/all-sections.tvo", {"ignore_transformations": True})] + [
    (f"examples/projections/{name}.tvo", {"hotine_origin": origin})
    for name in ("oblique-mercator", "rso") for origin in ("centre", "natural")]
LAYERS = ("points", "lines", "polygons", "edges", "annotations", "texts", "setups", "observations")
# Columns with values of other records, and the owner's number under another name.
THEIRS = {"CodeName", "LayerName", "Text", "STN_NO", "STN_ID", "INST_HT"}


def wkb(shape):
    return None if shape is None else bytes(shape.ExportToIsoWkb())


@pytest.mark.parametrize("path, options", OPTIONS)
def test_layers_are_those_of_the_gdal_driver(path, options):
    """Where the driver is built: the same layers, rows, geometry and systems, and all that it fills."""
    ogr = pytest.importorskip("osgeo.ogr")
    from osgeo import gdal, osr

    if gdal.GetDriverByName("TAVO") is None:
        pytest.skip("the driver is not built")
    survey = tavo.read(ROOT / path)
    words = [f"{name.upper()}={'YES' if value is True else value}" for name, value in options.items()]
    dataset = gdal.OpenEx(str(ROOT / path), gdal.OF_VECTOR, allowed_drivers=["TAVO"], open_options=words)
    layers = [dataset.GetLayer(at) for at in range(dataset.GetLayerCount())]
    compared = 0
    for name in LAYERS:
        # One for each reference system, in the order of those.
        theirs = [layer for layer in layers
                  if re.fullmatch(f"{name}((_set|_zone)[0-9]+)*(_geographic|_geocentric|_grid)?", layer.GetName())]
        frames = all_systems(survey, name, options)
        assert len(theirs) == len(frames), name
        for layer, frame in zip(theirs, frames):
            rows = list(layer)
            assert [wkb(row.GetGeometryRef()) for row in rows] == [
                shape and wkb(ogr.CreateGeometryFromWkb(shape.wkb)) for shape in frame.geometry], layer.GetName()
            system = layer.GetSpatialRef()
            assert (system is None) == (frame.crs is None), layer.GetName()
            if system is not None:
                ours = osr.SpatialReference(frame.crs.to_wkt())
                ours.SetAxisMappingStrategy(osr.OAMS_TRADITIONAL_GIS_ORDER)
                assert ours.IsSame(system), layer.GetName()
            filled = {name for row in rows for name, value in row.items().items() if value is not None}
            assert filled - THEIRS <= set(frame), layer.GetName()
            compared += len(rows)
    assert compared > 0 or path.endswith("findings.tvo")


def all_systems(survey, name, options):
    """A frame for each system in which a layer lies."""
    frames = []
    for at in range(len(survey.systems(**options)) or 1):
        with contextlib.suppress(tavo.Error):
            frames.append(survey.to_geopandas(name, system=at, theminfo=name in LAYERS[:3], **options))
    return [frame for frame in frames if len(frame)]


def test_systems_by_choice():
    oblique = tavo.read(EXAMPLES / "projections" / "oblique-mercator.tvo")
    at = [oblique.to_geopandas("points", hotine_origin=origin).crs for origin in (None, "centre", "natural")]
    assert at[0] == at[1] != at[2]
    with pytest.raises(tavo.Error, match="natural"):
        oblique.systems(hotine_origin="north")
    mixed = tavo.read(ROOT / "tests" / "gdal" / "cases" / "systems.tvo")
    for at, own in enumerate(mixed.systems()):
        for crs, kind in (("EPSG:25832", "grid"), ("EPSG:4258", "geographic"), ("EPSG:4936", "geocentric")):
            if kind == own.coordinates:
                assert mixed.to_geopandas("points", crs, system=at).crs == crs
                continue
            with pytest.raises(tavo.Error, match="kind of coordinates"):
                mixed.to_geopandas("points", crs, system=at)
