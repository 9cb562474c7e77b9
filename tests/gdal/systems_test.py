#!/usr/bin/python3
"""Reference systems as formats write them and read them back, against PROJ's own: systems_test.py ROOT.

Each survey goes through GeoPackage, FlatGeobuf and Shapefile. With the system that comes back, places
on its ellipsoid are projected, and must be where PROJ's own system puts them, to a millimetre.
"""
import pathlib
import re
import sys
import unittest

from osgeo import gdal, ogr, osr

ROOT = pathlib.Path(sys.argv.pop(1))
PROJECTIONS = ROOT / "examples" / "projections"
gdal.UseExceptions()
osr.UseExceptions()

FORMATS = {"GPKG": ".gpkg", "FlatGeobuf": ".fgb", "ESRI Shapefile": ".shp"}
# Survey and set -> PROJ's own system and places in it.
AROUND = [(0, 0), (0.4, 0.3), (-0.5, 0.2), (0.1, -0.4)]
JUDGES = {
    "utm 1": ("EPSG:26718", -73.5, 40.5),
    "lambert 1": ("EPSG:32040", -96.0, 28.5),
    "lambert-with-scale 1": ("EPSG:24200", -77.0, 18.0),
    "mercator 1": ("EPSG:27700", 0.5, 50.5),
    "mercator-2 1": ("EPSG:3395", 100.0, 24.0),
    "oblique-mercator 1": ("EPSG:29873", 115.8, 5.4),
    "rso 1": ("+proj=omerc +no_uoff +lat_0=4 +lonc=115 +alpha=53.315820472222 +gamma=53.130102361111 "
              "+k=0.99984 +a=6377298.556 +rf=300.8017", 115.8, 5.4),
    "cassini-soldner 1": ("EPSG:30200", -62.0, 10.0),
    "double-stereographic 1": ("EPSG:28992", 6.0, 53.0),
    "polar-stereographic 1": ("EPSG:32661", 44.0, 73.0),
    "polar-stereographic 2": ("EPSG:3032", 120.0, -75.0),
    "special 1": ("EPSG:21781", 8.5, 47.0),
    "special 2": ("EPSG:21782", 8.5, 47.0),
    "special 3": ("EPSG:2056", 8.5, 47.0),
    "special 4": ("EPSG:28992", 6.0, 53.0),
    "special 5": ("EPSG:3168", 102.0, 4.0),
    "special 6": ("EPSG:23700", 19.0, 47.0),
    "special 7": ("EPSG:3068", 13.5, 52.5),
    "special 8": ("EPSG:27200", 174.0, -41.0),
    "special 9": ("EPSG:2393", 26.0, 62.0),
}


POINTS = {"OB-0814", "GRID", "GRID A", "GRID B", "GRID 1", "GRID 2", "GRID 3", "GRID 4", "GRID 5", "GRID 6",
          "GRID 7", "GRID 8", "GRID 9"}


def system_of(wanted):
    system = osr.SpatialReference()
    system.SetFromUserInput(wanted)
    system.SetAxisMappingStrategy(osr.OAMS_TRADITIONAL_GIS_ORDER)
    return system


def judged(judge, places):
    """Metres by a system of the registry, or by an operation of PROJ's, which must not become a system
    first: a conic of one parallel would lose its origin on the way."""
    if not judge.startswith("+"):
        return projected(system_of(judge), places)
    options = osr.CoordinateTransformationOptions()
    options.SetOperation("+proj=pipeline +step +proj=unitconvert +xy_in=deg +xy_out=rad +step " + judge)
    any_system = system_of("OGC:CRS84")  # longitude first by itself
    moved = osr.CoordinateTransformation(any_system, any_system, options).TransformPoints(places)
    return [(x, y) for x, y, _ in moved]


def projected(system, places):
    """Metres in a system of longitudes and latitudes on its own ellipsoid."""
    base = system.CloneGeogCS()
    base.SetAxisMappingStrategy(osr.OAMS_TRADITIONAL_GIS_ORDER)
    moved = osr.CoordinateTransformation(base, system).TransformPoints(places)
    return [(x * system.GetLinearUnits(), y * system.GetLinearUnits()) for x, y, _ in moved]


def through(format_name, source, layer, options=()):
    """The layer as the format keeps it: its system and the place of point 1."""
    path = "/vsimem/out" + FORMATS[format_name]
    gdal.VectorTranslate(path, source, format=format_name, layers=[layer], layerCreationOptions=list(options))
    dataset = gdal.OpenEx(path, gdal.OF_VECTOR)
    kept = dataset.GetLayer(0)
    system = kept.GetSpatialRef().Clone()
    system.SetAxisMappingStrategy(osr.OAMS_TRADITIONAL_GIS_ORDER)
    row = next(row for row in kept if row["PointID"] in POINTS)
    place = row.GetGeometryRef().GetPoint_2D()
    del row, kept, dataset
    gdal.Unlink(path)
    return system, place


class Systems(unittest.TestCase):
    def check(self, source, layer, judge, longitude, latitude, formats=tuple(FORMATS)):
        places = [(longitude + x, latitude + y) for x, y in AROUND]
        expected = judged(judge, places)
        for name in formats:
            system, _ = through(name, source, layer)
            self.assertEqual(system.GetAttrValue("DATUM").lower().removeprefix("d_"), "unknown", name)
            for (x, y), (east, north) in zip(projected(system, places), expected):
                self.assertLess(max(abs(x - east), abs(y - north)), 0.001, (source, layer, name, x, y, east, north))

    def test_every_kind_of_projection(self):
        for key, (judge, longitude, latitude) in JUDGES.items():
            stem, number = key.rsplit(" ", 1)
            dataset = gdal.OpenEx(str(PROJECTIONS / f"{stem}.tvo"), gdal.OF_VECTOR)
            names = [dataset.GetLayer(i).GetName() for i in range(dataset.GetLayerCount())]
            layer = next(n for n in names if re.fullmatch(rf"points(_set{number}(_zone\d+)?)?", n))
            with self.subTest(key):
                self.check(dataset, layer, judge, longitude, latitude)

    def test_parameters_that_are_easily_taken_for_others(self):
        for stem, old, new, judge, longitude, latitude in (
                # The other hemisphere, and a sphere.
                ("utm", ",18,NORTH", ",18,SOUTH", "+proj=utm +zone=18 +south +ellps=clrk66", -73.5, -40.5),
                ("mercator", "299.3249646", "0", "+proj=tmerc +lat_0=49 +lon_0=-2 +k=0.9996012717 "
                 "+x_0=400000 +y_0=-100000 +R=6377563.396", 0.5, 50.5),
                # A flattening in place of its inverse.
                ("utm", "294.9786982", "0.00339007529", "EPSG:26718", -73.5, 40.5),
                # The northing is that of OriginLat, the scale that of Phi.
                ("lambert-with-scale", "18.0000,-77.0000,18.0000", "17.0000,-77.0000,18.0000",
                 "+proj=lcc +lat_1=18 +lat_0=17 +lon_0=-77 +k_0=1 +x_0=250000 +y_0=150000 +ellps=clrk66",
                 -77.0, 18.0),
                # The azimuth at the centre, from which the rectifying angle follows or not.
                ("oblique-mercator", "53.07483685,NORTH,GAMMA_0", "53.18569537,NORTH,ALPHA_C",
                 "+proj=omerc +lat_0=4 +lonc=115 +alpha=53.315820472222 +k=0.99984 +x_0=590476.87 "
                 "+y_0=442857.65 +a=6377298.556 +rf=300.8017", 115.8, 5.4)):
            text = (PROJECTIONS / f"{stem}.tvo").read_text(encoding="utf-8")
            self.assertIn(old, text)
            gdal.FileFromMemBuffer("/vsimem/edited.tvo", text.replace(old, new).encode())
            with self.subTest(f"{stem} {new}"):
                dataset = gdal.OpenEx("/vsimem/edited.tvo", gdal.OF_VECTOR)
                self.check(dataset, "points", judge, longitude, latitude)

    def test_easting_first_also_where_the_system_says_otherwise(self):
        for code in (31467, 2180, 2393):
            source = gdal.OpenEx(str(ROOT / "examples" / "survey.tvo"), gdal.OF_VECTOR,
                                 open_options=[f"CRS=EPSG:{code}"])
            for name in FORMATS:
                system, place = through(name, source, "points")
                self.assertEqual([round(value, 3) for value in place], [419099.669, 5309985.872], name)
                self.assertIn(str(code), [system.GetAuthorityCode(None)] + [
                    match.GetAuthorityCode(None) for match, _ in system.FindMatches()])


if __name__ == "__main__":
    gdal.PushErrorHandler("CPLQuietErrorHandler")
    unittest.main()
