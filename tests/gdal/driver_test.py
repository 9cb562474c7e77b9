#!/usr/bin/python3
"""The driver through GDAL's Python: driver_test.py ROOT."""
import gzip
import pathlib
import subprocess
import sys
import threading
import unittest
import zipfile

from osgeo import gdal, ogr, osr

ROOT = pathlib.Path(sys.argv.pop(1))
SURVEY = str(ROOT / "examples" / "survey.tvo")
ALL = str(ROOT / "examples" / "all-sections.tvo")
gdal.UseExceptions()


KEPT = []  # what GDAL's Python hands out does not keep its data set


def opened(path, *options):
    KEPT.append(gdal.OpenEx(str(path), gdal.OF_VECTOR, open_options=list(options)))
    return KEPT[-1]


def layer_of(path, name, *options):
    return opened(path, *options).GetLayerByName(name)


def layers(dataset):
    return [dataset.GetLayer(i) for i in range(dataset.GetLayerCount())]


def contents(path, *options):
    """All that a data set holds, as text."""
    dataset = opened(path, *options)
    return [(layer.GetName(), [feature.ExportToJson() for feature in layer]) for layer in layers(dataset)]


def in_memory(text, name="/vsimem/case.tvo"):
    gdal.FileFromMemBuffer(name, text if isinstance(text, bytes) else text.encode())
    return name


class Recognised(unittest.TestCase):
    def test_by_content_and_by_suffix_where_that_leaves_it_open(self):
        comments = "; " + "x" * 70 + "\n"
        for text, name, survey in (
                ("HEADER\nEND HEADER\n", "a.txt", True),
                (60 * comments + " DATABASE ; points\nEND DATABASE\n", "b", True),
                ("HEADER    HYDROLASE  01-JAN-94\n", "c.tvo", False),
                ("HEADERS\nDATABASE\n", "d.txt", False),
                ("SURVEY\nHEADER\nEND HEADER\n", "e.tvo", True),
                ("; nothing but a comment\n", "f.tvo", True),
                ("; nothing but a comment\n", "g.ini", False),
                ("point,x,y\n1,2,3\n", "h.tvo", False)):
            path = in_memory(text, "/vsimem/" + name)
            found = gdal.IdentifyDriverEx(path, gdal.OF_VECTOR, ["TAVO"])
            self.assertEqual(found is not None, survey, name)

    def test_wherever_gdal_reads(self):
        expected = contents(SURVEY)
        text = pathlib.Path(SURVEY).read_bytes()
        with zipfile.ZipFile("survey.zip", "w", zipfile.ZIP_DEFLATED) as archive:
            archive.writestr("folder/survey.tvo", text)
        with gzip.open("survey.tvo.gz", "wb") as packed:
            packed.write(text)
        for path in ("/vsizip/survey.zip/folder/survey.tvo", "/vsigzip/survey.tvo.gz", in_memory(text),
                     "/vsisubfile/0_%d,%s" % (len(text), SURVEY)):
            self.assertEqual(contents(path), expected, path)
        said = subprocess.run(["ogrinfo", "-so", "/vsistdin/", "points"], input=text, check=True,
                              stdout=subprocess.PIPE).stdout.decode()
        self.assertIn("Feature Count: 151", said)

    def test_what_cannot_be_read_is_said(self):
        text = pathlib.Path(SURVEY).read_bytes()
        packed = gzip.compress(text)
        half = in_memory(packed[:len(packed) // 2], "/vsimem/half.tvo.gz")
        for path, flags, options, words in (
                ("/vsigzip/" + half, 0, [], "failed before its end"),
                (SURVEY, gdal.OF_UPDATE, [], "not changed in place"),
                (SURVEY, 0, ["CRS=EPSG:0"], "names no reference system"),
                (SURVEY, 0, ["CRS=EPSG:4326"], "another kind of coordinates"),
                (str(ROOT / "examples" / "mistakes.tvo"), 0, ["STRICT=YES"], "STRICT refuses it")):
            with self.assertRaisesRegex(RuntimeError, words, msg=path):
                gdal.OpenEx(path, gdal.OF_VECTOR | flags, open_options=options)
        self.assertIsNotNone(opened(SURVEY, "STRICT=YES"))

    def test_who_asks_for_no_errors_finds_the_reason(self):
        shown = []
        gdal.DontUseExceptions()
        gdal.PushErrorHandler(lambda *error: shown.append(error))
        try:
            self.assertIsNone(gdal.OpenEx(SURVEY, gdal.OF_VECTOR | gdal.OF_UPDATE))
            self.assertIn("not changed in place", gdal.GetLastErrorMsg())
            self.assertEqual(shown, [])
        finally:
            gdal.PopErrorHandler()
            gdal.UseExceptions()


class Layers(unittest.TestCase):
    def test_count_extent_and_numbers_agree_with_reading(self):
        for path in sorted((ROOT / "examples").rglob("*.tvo")):
            dataset = opened(path)
            self.assertTrue(any(layer.GetName().startswith("points") for layer in layers(dataset)), path)
            for layer in layers(dataset):
                rows = list(layer)
                self.assertEqual(layer.GetFeatureCount(), len(rows))
                boxes = [row.GetGeometryRef().GetEnvelope() for row in rows if row.GetGeometryRef()]
                if boxes:
                    low, high = [min(column) for column in zip(*boxes)], [max(c) for c in zip(*boxes)]
                    self.assertEqual(layer.GetExtent(), (low[0], high[1], low[2], high[3]))
                self.assertEqual([row.GetFID() for row in rows], list(range(1, len(rows) + 1)))
                for row in rows[:3] + rows[-3:]:
                    self.assertTrue(row.Equal(layer.GetFeature(row.GetFID())))

    def test_filters(self):
        layer = layer_of(SURVEY, "points")
        every = [(f["PointNo"], f.GetGeometryRef().GetX(), f.GetGeometryRef().GetY()) for f in layer]
        box = (419400.0, 5309870.0, 419500.0, 5309930.0)
        inside = [n for n, x, y in every if box[0] <= x <= box[2] and box[1] <= y <= box[3]]
        self.assertGreater(len(inside), 10)
        layer.SetSpatialFilterRect(*box)
        self.assertEqual([f["PointNo"] for f in layer], inside)
        self.assertEqual(layer.GetFeatureCount(), len(inside))
        self.assertFalse(layer.TestCapability(ogr.OLCFastFeatureCount))
        layer.SetAttributeFilter("Code = 'TREE' AND a_Height > 10")
        both = [f["PointNo"] for f in layer]
        self.assertTrue(0 < len(both) < len(inside))
        layer.SetNextByIndex(1)
        self.assertEqual(layer.GetNextFeature()["PointNo"], both[1])
        triangle = ogr.CreateGeometryFromWkt(
            "POLYGON ((419400 5309870,419500 5309870,419400 5309930,419400 5309870))")
        layer.SetAttributeFilter(None)
        layer.SetSpatialFilter(triangle)
        self.assertTrue(0 < len(list(layer)) < len(inside))
        layer.SetSpatialFilter(None)
        self.assertTrue(layer.TestCapability(ogr.OLCFastFeatureCount))
        self.assertEqual(layer.GetFeatureCount(), len(every))
        rings = layer_of(SURVEY, "polygons")
        rings.SetSpatialFilterRect(419374, 5309825, 419420, 5309867)
        self.assertIn(101, [f["PolygonNo"] for f in rings])

    def test_only_what_is_asked_for(self):
        layer = layer_of(SURVEY, "lines")
        layer.SetIgnoredFields(["Description", "OGR_GEOMETRY", "OGR_STYLE"])
        feature = layer.GetFeature(3)
        self.assertFalse(feature.IsFieldSet("Description"))
        self.assertIsNone(feature.GetGeometryRef())
        self.assertIsNone(feature.GetStyleString())
        self.assertEqual(feature["LineID"], "SEWER")

    def test_domains_belong_to_the_fields(self):
        dataset = opened(ALL)
        field = dataset.GetLayerByName("points_set2").GetLayerDefn()
        domain = field.GetFieldDefn(field.GetFieldIndex("CLASS")).GetDomainName()
        self.assertEqual(domain, "points_CLASS")
        self.assertIn("ADJ", dataset.GetFieldDomain(domain).GetEnumeration())
        choices = dataset.GetFieldDomain("points_a_State").GetEnumeration()
        self.assertEqual(sorted(choices), ["damaged", "good"])

    def test_columns_of_a_database_are_the_same_for_every_survey(self):
        def names(path):
            definition = layer_of(path, "lines", "ALL_COLUMNS=YES").GetLayerDefn()
            fields = [definition.GetFieldDefn(i).GetName() for i in range(definition.GetFieldCount())]
            return [name for name in fields if not name.startswith("a_")]
        self.assertEqual(names(SURVEY), names(ALL))
        self.assertIn("ExagFactor", names(ALL))

    def test_sql(self):
        dataset = opened(ALL)
        rows = dataset.ExecuteSQL("SELECT LayerName, COUNT(*) AS n FROM points_set2 GROUP BY LayerName "
                                  "ORDER BY n", dialect="SQLITE")
        self.assertEqual([(row["LayerName"], row["n"]) for row in rows], [("Pillars", 2), ("Targets", 6)])
        dataset.ReleaseResultSet(rows)


class Threads(unittest.TestCase):
    def test_layers_of_one_survey_and_surveys_in_many_threads(self):
        expected = dict(contents(ALL))
        shared = opened(ALL)
        faults = []

        def read(layer):
            for _ in range(3):
                if [feature.ExportToJson() for feature in layer] != expected[layer.GetName()]:
                    faults.append(layer.GetName())

        def open_and_read():
            if dict(contents(ALL)) != expected:
                faults.append("a survey of its own")

        threads = [threading.Thread(target=read, args=(layer,)) for layer in layers(shared)]
        threads += [threading.Thread(target=open_and_read) for _ in range(4)]
        for thread in threads:
            thread.start()
        for thread in threads:
            thread.join()
        self.assertEqual(faults, [])


class Options(unittest.TestCase):
    def test_a_system_in_place_of_the_surveys_own_has_easting_first(self):
        # These say northing first.
        for code in (31467, 2180):
            layer = layer_of(SURVEY, "lines", f"CRS=EPSG:{code}")
            system = layer.GetSpatialRef()
            self.assertEqual(system.GetAuthorityCode(None), str(code))
            self.assertEqual(system.GetDataAxisToSRSAxisMapping(), [2, 1])
            self.assertEqual(layer.GetExtent()[0] // 1e5, 4)
        # Where a survey has several kinds of coordinates, those of its kind take it.
        case = str(ROOT / "tests" / "gdal" / "cases" / "systems.tvo")
        dataset = opened(case, "CRS=EPSG:4258")
        self.assertEqual(dataset.GetLayerByName("points_geographic").GetSpatialRef().GetAuthorityCode(None),
                         "4258")
        self.assertEqual(dataset.GetLayerByName("points_set1").GetSpatialRef().GetName(), "Zone 32")

    def test_transformations_and_origins(self):
        self.assertTrue(layer_of(ALL, "points_set2").GetSpatialRef().IsLocal())
        text = pathlib.Path(ALL).read_text(encoding="utf-8").replace('"Dam plane",1,11,', '"Dam plane",1,1,')
        path = in_memory(text)
        self.assertFalse(layer_of(path, "lines").GetSpatialRef().IsProjected())
        self.assertTrue(layer_of(path, "lines", "IGNORE_TRANSFORMATIONS=YES").GetSpatialRef()
                        .IsProjected())
        rso = ROOT / "examples" / "projections" / "rso.tvo"
        methods = [layer_of(rso, "points", *options).GetSpatialRef().GetAttrValue("PROJECTION")
                   for options in ([], ["HOTINE_ORIGIN=CENTRE"], ["HOTINE_ORIGIN=NATURAL"])]
        self.assertEqual(methods, ["Hotine_Oblique_Mercator", "Hotine_Oblique_Mercator_Azimuth_Center",
                                   "Hotine_Oblique_Mercator"])


if __name__ == "__main__":
    # What is said besides is the business of the cases.
    gdal.PushErrorHandler("CPLQuietErrorHandler")
    unittest.main()
