#!/usr/bin/python3
"""Writing of surveys through GDAL: write_test.py ROOT TOOL."""
import math
import pathlib
import subprocess
import sys
import tempfile
import unittest

from osgeo import gdal, ogr, osr

TOOL = sys.argv.pop()
ROOT = pathlib.Path(sys.argv.pop())
EXAMPLES = sorted(p for p in (ROOT / "examples").rglob("*.tvo") if p.name != "mistakes.tvo")
gdal.UseExceptions()


class Said:
    """What GDAL says while something runs."""

    def __enter__(self):
        self.texts = []
        gdal.PushErrorHandler(lambda kind, number, text: self.texts.append(text))
        return self

    def __exit__(self, *_):
        gdal.PopErrorHandler()

    def about(self, words):
        return [text for text in self.texts if words in text]


def system(code):
    made = osr.SpatialReference()
    made.SetFromUserInput(code)
    made.SetAxisMappingStrategy(osr.OAMS_TRADITIONAL_GIS_ORDER)
    return made


def rows(layer):
    """Points, lines or polygons of our own reading side by their number."""
    names = [field.GetName() for field in layer.schema]
    made = {}
    for feature in layer:
        values = {name: feature[name] for name in names if feature[name] is not None}
        values.pop("PrjSetNo", None)
        made[values[names[0]]] = values, feature.GetGeometryRef() and feature.GetGeometryRef().Clone()
    return made


class Case(unittest.TestCase):
    maxDiff = None

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)

    def sound(self, path):
        check = subprocess.run([TOOL, "check", str(path)], capture_output=True, text=True)
        self.assertEqual(check.returncode, 0, check.stdout + check.stderr)
        self.assertIn("0 errors, 0 warnings", check.stdout + check.stderr)

    def written(self, layers, options=()):
        """A survey of (name, geometry type, system, fields, rows of (wkt, values)), and what was said."""
        path = self.folder / f"out{len(list(self.folder.iterdir()))}.tvo"
        with Said() as said:
            dataset = gdal.GetDriverByName("TAVO").Create(str(path), 0, 0, 0, 0, list(options))
            for title, kind, reference, fields, features in layers:
                layer = dataset.CreateLayer(title, reference and system(reference), kind)
                for field, of in fields:
                    layer.CreateField(ogr.FieldDefn(field, of))
                for wkt, values in features:
                    feature = ogr.Feature(layer.GetLayerDefn())
                    for field, value in values.items():
                        feature.SetFieldBinaryFromHexString(field, value.hex()) if isinstance(value, bytes) \
                            else feature.SetField(field, value)
                    feature.SetGeometry(wkt and ogr.CreateGeometryFromWkt(wkt))
                    layer.CreateFeature(feature)
            del dataset, layer, feature
        self.sound(path)
        return path, said


class RoundTrips(Case):
    def test_every_example_comes_back_through_a_geopackage(self):
        for path in EXAMPLES:
            with self.subTest(path.name), Said():
                package, again = self.folder / (path.stem + ".gpkg"), self.folder / path.name
                gdal.VectorTranslate(str(package), str(path))
                gdal.VectorTranslate(str(again), str(package), format="TAVO")
                self.sound(again)
                first, second = gdal.OpenEx(str(path)), gdal.OpenEx(str(again))
                for kind in ("points", "lines", "polygons"):
                    self.compare(kind, first, second)

    def layers(self, dataset, kind):
        all_layers = [dataset.GetLayer(i) for i in range(dataset.GetLayerCount())]
        return [layer for layer in all_layers if layer.GetName().split("_")[0] == kind]

    def compare(self, kind, first, second):
        before, after = {}, {}
        for made, dataset in ((before, first), (after, second)):
            for layer in self.layers(dataset, kind):
                made.update(rows(layer))
        self.assertEqual(before.keys(), after.keys())
        for number, (values, geometry) in before.items():
            others, place = after[number]
            for name, value in values.items():
                if isinstance(value, float):
                    self.assertAlmostEqual(others[name], value, 4, (kind, number, name))
                else:
                    self.assertEqual(others[name], value, (kind, number, name))
            given = {"East", "North", "Elevation"}
            self.assertLessEqual(others.keys() - values.keys(), given, (kind, number))
            self.assertEqual(geometry is None, place is None)
            if geometry is not None:
                self.assertEqual(geometry.GetGeometryType(), place.GetGeometryType())
                self.assertLess(geometry.HausdorffDistance(place) if hasattr(geometry, "HausdorffDistance")
                                else geometry.Distance(place), 1e-4)
                self.assertEqual(geometry.GetPointCount(), place.GetPointCount())

    def test_utm_and_transverse_mercator_are_the_system_again(self):
        for name in ("survey.tvo", "projections/utm.tvo", "projections/mercator.tvo"):
            path, again = ROOT / "examples" / name, self.folder / "again.tvo"
            with Said():
                gdal.VectorTranslate(str(again), str(path), format="TAVO")
                datasets = [gdal.OpenEx(str(p)) for p in (path, again)]
            systems = [dataset.GetLayer(0).GetSpatialRef() for dataset in datasets]
            self.assertTrue(systems[0].IsSame(systems[1], ["IGNORE_COORDINATE_EPOCH=YES"]), name)


class Systems(Case):
    def test_points_lie_where_proj_puts_them(self):
        for code, longitude, latitude in (("EPSG:32632", 8.1, 47.9), ("EPSG:32719", -70.2, -33.4),
                                          ("EPSG:27700", -1.5, 52.1), ("EPSG:31467", 9.3, 48.7),
                                          ("EPSG:2180", 19.2, 52.3), ("EPSG:2222", -110, 33),
                                          ("EPSG:4326", 8.1, 47.9), ("EPSG:4258", 8.1, 47.9),
                                          ("+proj=tmerc +lon_0=9 +pm=paris +ellps=clrk80 +type=crs", 8, 47)):
            with self.subTest(code):
                target = system(code)
                base = target.CloneGeogCS() if target.IsProjected() else target
                base.SetAxisMappingStrategy(osr.OAMS_TRADITIONAL_GIS_ORDER)
                x, y, _ = osr.CoordinateTransformation(base, target).TransformPoint(longitude, latitude)
                path, _ = self.written([("p", ogr.wkbPoint, code, [], [(f"POINT({x!r} {y!r})", {})])])
                dataset = gdal.OpenEx(str(path))
                layer = dataset.GetLayer(0)
                feature = layer.GetNextFeature()
                found = feature.GetGeometryRef()
                own = layer.GetSpatialRef()
                geographic = own.CloneGeogCS()
                geographic.SetAxisMappingStrategy(osr.OAMS_TRADITIONAL_GIS_ORDER)
                back = osr.CoordinateTransformation(own, geographic).TransformPoint(found.GetX(), found.GetY())
                east = base.GetPrimeMeridian() if hasattr(base, "GetPrimeMeridian") else 2.33722917 * ("paris" in code)
                self.assertAlmostEqual(back[0], longitude + east, 8)
                self.assertAlmostEqual(back[1], latitude, 8)

    def test_systems_are_kept_apart_and_others_named(self):
        point = [("POINT(500000 5300000)", {})]
        path, said = self.written([("north", ogr.wkbPoint, "EPSG:32632", [], point),
                                   ("south", ogr.wkbPoint, "EPSG:32719", [], point),
                                   ("degrees", ogr.wkbPoint, "EPSG:4326", [], [("POINT(8 47)", {})]),
                                   ("conic", ogr.wkbPoint, "EPSG:2154", [], point),
                                   ("none", ogr.wkbPoint, None, [], point)])
        self.assertEqual(len(said.about("neither UTM nor transverse Mercator")), 1, said.texts)
        dataset = gdal.OpenEx(str(path))
        names = [dataset.GetLayer(i).GetName() for i in range(5)]
        self.assertEqual(names, ["points_set1", "points_set2", "points_set3_geographic", "points_set4",
                                 "points_set5"])
        self.assertEqual([dataset.GetLayer(i).GetSpatialRef().GetUTMZone() for i in range(2)], [32, -19])

    def test_easting_comes_first_whatever_order_the_data_have(self):
        reference = osr.SpatialReference()
        reference.ImportFromEPSG(4326)  # latitude first
        path = str(self.folder / "swapped.tvo")
        with Said():
            dataset = gdal.GetDriverByName("TAVO").Create(path, 0, 0, 0, 0)
            layer = dataset.CreateLayer("p", reference, ogr.wkbPoint)
            feature = ogr.Feature(layer.GetLayerDefn())
            feature.SetGeometry(ogr.CreateGeometryFromWkt("POINT(47 8)"))
            layer.CreateFeature(feature)
            del dataset
        dataset = gdal.OpenEx(path)
        feature = dataset.GetLayer(0).GetNextFeature()
        self.assertEqual((feature["Longitude"], feature["Latitude"]), (8, 47))


class Contents(Case):
    def test_vertices_are_shared_and_areas_keep_their_holes(self):
        rings = "((0 0,10 0,10 10,0 10,0 0),(2 2,4 2,4 4,2 4,2 2))"
        path, said = self.written([
            ("areas", ogr.wkbMultiPolygon, None, [], [(f"MULTIPOLYGON({rings},((20 0,30 0,30 5,20 0)))", {})]),
            ("walls", ogr.wkbLineString, None, [], [("LINESTRING(0 0,10 0,10 10)", {}),
                                                    ("LINESTRING Z(0 0 1,10 0 2)", {})]),
            ("marks", ogr.wkbPoint, None, [], [("POINT(10 0)", {}), ("POINT Z(0 0 1)", {})])])
        self.assertEqual(said.texts, [])
        dataset = gdal.OpenEx(str(path))
        points = dataset.GetLayerByName("points")
        # Two marks, nine more vertices of areas, and the second end of the wall that has a height.
        self.assertEqual(points.GetFeatureCount(), 2 + 9 + 1)
        feature = dataset.GetLayerByName("polygons").GetNextFeature()
        area = feature.GetGeometryRef()
        self.assertEqual(area.GetArea(), 100 - 4 + 25)
        self.assertEqual([area.GetGeometryRef(i).GetGeometryCount() for i in range(2)], [2, 1])

    def test_what_is_no_plain_point_line_or_area_is_taken_apart_and_named(self):
        kinds = (("MULTIPOINT((1 1),(2 2))", "points", 2, "multi points"),
                 ("MULTILINESTRING((0 0,1 1),(5 5,6 6))", "lines", 2, "multi lines"),
                 ("GEOMETRYCOLLECTION(POINT(1 1),LINESTRING(0 0,2 2))", "lines", 1, "collections"),
                 ("CIRCULARSTRING(0 0,1 1,2 0)", "lines", 1, "curves"),
                 ("CURVEPOLYGON(CIRCULARSTRING(0 0,4 0,4 4,0 4,0 0))", "polygons", 1, "curves"),
                 ("TIN(((0 0,1 0,0 1,0 0)),((1 0,1 1,0 1,1 0)))", "polygons", 1, "surfaces"),
                 ("LINESTRING ZM(0 0 1 7,1 1 2 8)", "lines", 1, "M values"),
                 ("LINESTRING(500 500,500 500.00001,505 505)", "lines", 1, "repeat"),
                 ("LINESTRING(3 3,3 3)", "lines", 1, "without length"),
                 ("POLYGON((0 0,1 1,2 2,0 0))", "polygons", 1, "without area"),
                 ("POINT(1e400 0)", "points", 1, "no numbers"))
        for wkt, kind, count, words in kinds:
            with self.subTest(wkt):
                path, said = self.written([("all", ogr.wkbUnknown, None, [("n", ogr.OFTInteger)], [(wkt, {"n": 5})])])
                self.assertEqual(len(said.about(words)), 1, said.texts)
                dataset = gdal.OpenEx(str(path))
                layer = dataset.GetLayerByName(kind)
                # Points of vertices are not those of the layer.
                self.assertEqual(sum(1 for f in layer if f["a_n"] == 5), count)

    def test_a_ring_that_meets_its_first_vertex_again_stays_one_ring(self):
        wkt = "POLYGON((0 0,10 0,10 10,0 0,-10 10,-10 0,0 0))"
        path, _ = self.written([("a", ogr.wkbPolygon, None, [], [(wkt, {})])])
        dataset = gdal.OpenEx(str(path))
        feature = dataset.GetLayerByName("polygons").GetNextFeature()
        self.assertEqual(feature.GetGeometryRef().GetArea(), 100)

    def test_values_come_back_or_are_named(self):
        long, wide = "x" * 200, "\u0416\u4e2d\U0001F600" * 20
        rows_ = ((ogr.OFTInteger, -7, -7, None), (ogr.OFTInteger64, 2**40, str(2**40), "beyond 32 bits"),
                 (ogr.OFTReal, 0.125, 0.125, None), (ogr.OFTReal, 1e300, 1e300, None),
                 (ogr.OFTReal, 1 / 3, 0.3333333333, "rounded"),
                 (ogr.OFTReal, math.nan, None, "not finite"), (ogr.OFTReal, -math.inf, None, "not finite"),
                 (ogr.OFTString, "", "", None), (ogr.OFTString, "\u0416 \u4e2d", "\u0416 \u4e2d", None),
                 (ogr.OFTString, "it's \"so\"; a\\b, (END POINTS)", "it's \"so\"; a\\b, (END POINTS)", None),
                 (ogr.OFTString, 'a\\";b', 'a/";b', "cannot hold"),
                 (ogr.OFTString, "two\nlines\x1a", "two lines ", "cannot hold"),
                 (ogr.OFTString, "; " * 50 + "'", "; " * 50 + "'", None),
                 (ogr.OFTString, long, long[:126], "cut"), (ogr.OFTString, wide, None, "cut"),
                 (ogr.OFTString, '"' * 126, '"' * 63, "cut"),
                 (ogr.OFTDate, "2024-02-29", "2024-02-29", "dates and times"),
                 (ogr.OFTTime, "07:08:09", "07:08:09", "dates and times"),
                 (ogr.OFTDateTime, "2024-02-29T01:02:03Z", "2024-02-29T01:02:03Z", "dates and times"),
                 (ogr.OFTBinary, b"\x00\x01", None, "binary"))
        for of, value, expected, words in rows_:
            with self.subTest(value):
                path, said = self.written([("trees", ogr.wkbPoint, None, [("v", of)], [("POINT(1 2)", {"v": value})])])
                self.assertEqual(len(said.texts), 0 if words is None else 1, said.texts)
                self.assertEqual(len(said.about(words or "-")), 0 if words is None else 1)
                dataset = gdal.OpenEx(str(path))
                feature = dataset.GetLayer(0).GetNextFeature()
                self.assertEqual(feature["CodeName"], "trees")
                if expected is not None:
                    self.assertEqual(feature["a_v"], expected)
                elif isinstance(value, str):
                    self.assertTrue(value.startswith(feature["a_v"]) and len(feature["a_v"].encode()) > 120)
                else:
                    self.assertIsNone(feature["a_v"] if feature.GetFieldIndex("a_v") >= 0 else None)

    def test_names_and_numbers_are_made_unique(self):
        fields = [("v" * 30 + one, ogr.OFTInteger) for one in "ab"] + [("PointNo", ogr.OFTInteger64)]
        path, said = self.written([("One", ogr.wkbPoint, None, fields, [
            ("POINT(1 2)", {"PointNo": 7, fields[0][0]: 1, fields[1][0]: 2}), ("POINT(2 2)", {"PointNo": 7}),
            ("POINT(3 2)", {"PointNo": 2**40}), ("POINT(4 2)", {})]),
            ("one", ogr.wkbLineString, None, [], [("LINESTRING(1 2,9 9)", {})])][:1] + [
            ("Wall 1", ogr.wkbLineString, None, [], [("LINESTRING(1 2,9 9)", {})]),
            ("Wall-1", ogr.wkbLineString, None, [], [("LINESTRING(1 2,9 9)", {})])])
        self.assertEqual(len(said.about("given anew")), 1, said.texts)
        dataset = gdal.OpenEx(str(path))
        numbers = [feature["PointNo"] for feature in dataset.GetLayerByName("points")]
        self.assertEqual(numbers, [7, 8, 9, 10, 11])
        first = dataset.GetLayerByName("points").GetFeature(1)
        self.assertEqual((first["a_" + "v" * 30], first["a_" + "v" * 29 + "2"]), (1, 2))
        codes = [feature["Code"] for feature in dataset.GetLayerByName("lines")]
        self.assertEqual(codes, ["WALL1", "WALL12"])

    def test_choices_become_a_list(self):
        path = str(self.folder / "out.tvo")
        with Said() as said:
            dataset = gdal.GetDriverByName("TAVO").Create(path, 0, 0, 0, 0)
            dataset.AddFieldDomain(ogr.CreateCodedFieldDomain("state", "", ogr.OFTString, ogr.OFSTNone,
                                                              {"good": "good", "bad": "in a bad state"}))
            layer = dataset.CreateLayer("p", None, ogr.wkbPoint)
            field = ogr.FieldDefn("State", ogr.OFTString)
            field.SetDomainName("state")
            layer.CreateField(field)
            feature = ogr.Feature(layer.GetLayerDefn())
            feature["State"] = "bad"
            layer.CreateFeature(feature)
            del dataset
        self.assertEqual(len(said.about("descriptions")), 1, said.texts)
        self.sound(path)
        dataset = gdal.OpenEx(path)
        definition = dataset.GetLayer(0).GetLayerDefn()
        domain = definition.GetFieldDefn(definition.GetFieldIndex("a_State")).GetDomainName()
        self.assertEqual(sorted(dataset.GetFieldDomain(domain).GetEnumeration()), ["bad", "good"])


class Files(Case):
    def ogr2ogr(self, *arguments):
        return subprocess.run(["ogr2ogr", "-f", "TAVO", *map(str, arguments)], capture_output=True, text=True)

    def test_only_a_survey_is_replaced_and_nothing_is_changed_in_place(self):
        source, target, other = ROOT / "examples/survey.tvo", self.folder / "out.tvo", self.folder / "notes.txt"
        other.write_text("Not a survey.\n")
        for path, arguments, words in ((target, [], None), (target, [], None), (other, [], "not replaced"),
                                       (self.folder, [], "folder"), (self.folder / "a/b.tvo", [], "not there"),
                                       (target, ["-append"], "existing"), (target, ["-update"], "existing")):
            with self.subTest(words):
                before = target.read_bytes() if target.exists() else None
                run = self.ogr2ogr(*arguments, path, source)
                self.assertEqual(run.returncode == 0, words is None, run.stderr)
                if words:
                    self.assertIn(words, run.stderr)
                    self.assertEqual(target.read_bytes(), before)
        self.assertEqual(other.read_text(), "Not a survey.\n")
        self.sound(target)

    def test_virtual_files_and_standard_output(self):
        run = self.ogr2ogr("/vsistdout/", ROOT / "examples/survey.tvo", "points")
        self.assertTrue(run.stdout.startswith("HEADER"), run.stderr)
        with Said():
            gdal.VectorTranslate("/vsimem/a.tvo", str(ROOT / "examples/survey.tvo"), format="TAVO")
        dataset = gdal.OpenEx("/vsimem/a.tvo")
        self.assertEqual(dataset.GetLayerByName("points").GetFeatureCount(), 151)

    def test_a_full_medium_is_said_and_leaves_nothing(self):
        run = self.ogr2ogr("/dev/full", ROOT / "examples/survey.tvo")
        self.assertIn("ERROR", run.stderr)

    def test_units_and_decimals_are_those_that_are_wanted(self):
        path, _ = self.written([("p", ogr.wkbPoint, "EPSG:32632", [], [("POINT(500000.123456 5300000)", {})])],
                               ["LINEAR=US_SURVEY_FEET", "DECIMALS=6", "ALIGN=NO"])
        self.assertIn("1640417.071705", path.read_text())
        dataset = gdal.OpenEx(str(path))
        feature = dataset.GetLayer(0).GetNextFeature()
        self.assertAlmostEqual(feature["East"], 500000.123456, 6)


if __name__ == "__main__":
    gdal.PushErrorHandler("CPLQuietErrorHandler")
    unittest.main()
