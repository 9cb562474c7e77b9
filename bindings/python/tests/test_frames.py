"""Tables and layers: values, units, what is not given, joined attributes, places and systems."""
import numpy as np
import pandas
import pytest

import tavo
from conftest import EXAMPLES, text

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
    for wrong in ({"units": "feet"}, {"columns": "some"}, {"columns": ["Est"]}):
        with pytest.raises(tavo.Error):
            tavo.read(SURVEY).to_pandas("POINTS", **wrong)
    with pytest.warns(UserWarning, match="1 dates"):
        odd = text("POINTS (PointNo,Date)\n1,99-99-2024/00:00:00.0;\nEND POINTS")
        assert tavo.read(odd).to_pandas("POINTS").Date.isna().all()


def test_units():
    survey = tavo.read(SURVEY)
    assert survey.to_pandas("POINTS", units="si").East[0] == pytest.approx(3.048)
    assert survey.to_pandas("POINTS").East[0] == 10
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


def test_places_are_those_of_the_gdal_driver():
    """Where the driver is built: the same layers, rows, geometry and systems."""
    ogr = pytest.importorskip("osgeo.ogr")
    from osgeo import gdal

    if gdal.OpenEx(str(EXAMPLES / "survey.tvo"), gdal.OF_VECTOR) is None:
        pytest.skip("the driver is not built")
    def wkb(shape):
        return None if shape is None else bytes(shape.ExportToIsoWkb())

    compared = 0
    for path in sorted(EXAMPLES.rglob("*.tvo")):
        survey = tavo.read(path)
        dataset = gdal.OpenEx(str(path), gdal.OF_VECTOR, allowed_drivers=["TAVO"])
        for name in ("points", "lines", "polygons", "edges", "annotations", "texts", "setups", "observations"):
            # A layer of several systems has another name for each.
            layer = dataset.GetLayerByName(name)
            if layer is None:
                continue
            frame = survey.to_geopandas(name)
            theirs = [wkb(feature.GetGeometryRef()) for feature in layer]
            ours = [None if one is None else wkb(ogr.CreateGeometryFromWkb(one.wkb)) for one in frame.geometry]
            assert ours == theirs, (path, name)
            system = layer.GetSpatialRef()
            assert (None if system is None else system.GetName()) == (frame.crs and frame.crs.name), (path, name)
            compared += len(ours)
    assert compared > 300
