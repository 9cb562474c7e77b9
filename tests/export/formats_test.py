#!/usr/bin/python3
"""What each format gets of a survey: formats_test.py TOOL EXAMPLES."""
import json

from osgeo import ogr, osr

from tool import EXAMPLES, SURVEY, export, read, run, write_survey

# Suffix -> (file of a layer, layer, whether in WGS 84), and words of the one note.
COUNTS = {"points": 151, "lines": 4, "polygons": 14, "annotations": 5, "texts": 3}
FORMATS = {
    "gpkg": ("out.gpkg", "{0}", False, ""),
    "kml": ("out.kml", "{0}", True, "left out of the KML: 1 ellipsoids"),
    "fgb": ("out_{0}.fgb", "{0}", False, "one file for each layer: out_points.fgb, out_lines.fgb"),
    "shp": ("out_{0}.shp", "out_{0}", False, "Description -> Descriptio"),
}
NUMBERS = {"points": "PointNo", "lines": "LineNo", "polygons": "PolygonNo"}
# (layer, index of the feature) -> columns that every format keeps.
VALUES = {("points", 0): {"survey": "survey", "PointID": "OB-0814", "Code": "CTRL"},
          ("lines", 2): {"LineID": "SEWER", "a_Kerb": None},
          ("polygons", 0): {"PolygonID": "H1", "a_Storeys": 3}}


def epsg25832(geometry, wgs84):
    """The place in UTM zone 32; the datum was taken for the new one, on nearly its ellipsoid."""
    if wgs84:
        source = osr.SpatialReference()
        source.ImportFromEPSG(4326)
        source.SetAxisMappingStrategy(osr.OAMS_TRADITIONAL_GIS_ORDER)
        target = osr.SpatialReference()
        target.ImportFromEPSG(32632)
        geometry.Transform(osr.CoordinateTransformation(source, target))
    return geometry


def test_formats():
    for suffix, (file, layer, wgs84, says) in FORMATS.items():
        export(SURVEY, "-o", f"out.{suffix}", says=says)
        of_kind = {}
        for kind, count in COUNTS.items():
            of_kind[kind], system = read(file.format(kind), layer.format(kind))
            # A file with a spatial index has an order of its own.
            if kind in NUMBERS:
                of_kind[kind].sort(key=lambda row: int(row[NUMBERS[kind]]))
            assert len(of_kind[kind]) == count, (suffix, kind, len(of_kind[kind]))
            assert system.IsGeographic() == wgs84, (suffix, kind)
            if not wgs84:
                assert system.GetProjParm("central_meridian") == 9
                assert "unknown" in system.GetAttrValue("DATUM").lower(), system
        for (kind, index), values in VALUES.items():
            for name, value in values.items():
                assert of_kind[kind][index][name] == value, (suffix, kind, name)
        first = epsg25832(of_kind["points"][0]["geometry"], wgs84)
        assert abs(first.GetX() - 419099.669) < 1e-3 and abs(first.GetY() - 5309985.872) < 1e-3
        assert abs(first.GetZ() - 464.774) < 1e-6, suffix
        area = epsg25832(of_kind["polygons"][0]["geometry"], wgs84).Area()
        assert abs(area - 125.846) < 0.01, (suffix, area)
    assert read("out_points.shp")[0][0]["Date"] == "2024-09-17T07:42:29.60"


def test_domains_and_tables():
    export(EXAMPLES / "all-sections.tvo", "-o", "out.gpkg")
    source = ogr.Open("out.gpkg")
    names = {source.GetLayer(i).GetName() for i in range(source.GetLayerCount())}
    assert {"points_set1", "points_set2", "jobs", "operations", "findings"} <= names, names
    points = source.GetLayer("points_set2").GetLayerDefn()
    assert points.GetFieldDefn(points.GetFieldIndex("CLASS")).GetDomainName()


def test_geojson():
    says = export(SURVEY, "-o", "out.geojson",
                  says="left out of the GeoJSON: 116 edges, 1 ellipsoids")
    assert "taken for that of the new reference system" in says
    with open("out.geojson", encoding="utf-8") as text:
        collection = json.load(text)
    kinds = [feature["properties"]["layer"] for feature in collection["features"]]
    assert {kind: kinds.count(kind) for kind in kinds} == COUNTS and "crs" not in collection
    first = collection["features"][0]["geometry"]["coordinates"]
    assert first == [7.916768863, 47.938079669, 464.774], first
    export(SURVEY, "-o", "named.geojson", "--crs", "EPSG:25832", "--strict")
    export(SURVEY, "-o", "no.geojson", "--strict", status=2, says="datum")
    export(SURVEY, "-o", "no.geojson", "--to-crs", "EPSG:25832", status=2, says="its standard asks")
    export(EXAMPLES / "projections/plane.tvo", "-o", "no.geojson", status=2, says="--crs")


def test_dxf():
    write_survey("plan.tvo", [(500000, 5300000, 1.5), (500010, 5300000, 2.25)],
                 "  LINES (LineNo,Code)\n    1,\"A/B\";\n    EDGES (LineNo,StartPt,EndPt)\n"
                 "      1,1,2;\n    END EDGES\n  END LINES")
    export("plan.tvo", "-o", "plan.dxf", says="all attributes")
    found = [(row["Layer"], row["Text"], row["geometry"]) for row in read("plan.dxf")[0]]
    assert [(name, text) for name, text, _ in found] == [
        ("points", None), ("points_NUMBER", "1"), ("points_HEIGHT", "1.50"),
        ("points", None), ("points_NUMBER", "2"), ("points_HEIGHT", "2.25"), ("A_B", None)], found
    assert found[0][2].ExportToIsoWkt() == "POINT Z (500000 5300000 1.5)"
    assert found[6][2].ExportToIsoWkt() == "LINESTRING Z (500000 5300000 1.5,500010 5300000 2.25)"
    with open("plan.prj", encoding="utf-8") as text:
        assert text.read().startswith('PROJCS["UTM"')


def test_csv_has_no_need_of_gdal():
    assert export(SURVEY, "-o", "out.csv").startswith("tavo: left out of the csv")
    with open("out.csv", encoding="utf-8") as text:
        assert "East [m],North [m],Elevation [m]" in text.readline()


def test_to_crs():
    write_survey("west.tvo", [(760000, 5300000, 1)], zone=31)
    write_survey("east.tvo", [(310000, 5300000, 1)], zone=32)
    export("west.tvo", "east.tvo", "-o", "out.gpkg", status=2, says="use --to-crs")
    export("west.tvo", "east.tvo", "-o", "out.gpkg", "--to-crs", "EPSG:31467")
    points = read("out.gpkg", "points")[0]
    # Easting first, although that system names the northing first.
    assert [row["survey"] for row in points] == ["west", "east"]
    assert all(3.2e6 < row["geometry"].GetX() < 3.4e6 for row in points)


run([test_formats, test_domains_and_tables, test_geojson, test_dxf, test_csv_has_no_need_of_gdal,
     test_to_crs])
