#!/usr/bin/env python3
"""The driver through GDAL's Python: driver_test.py ROOT."""
import pathlib
import sys
import unittest

from osgeo import gdal, ogr

ROOT = pathlib.Path(sys.argv.pop(1))
EXAMPLES = sorted((ROOT / "examples").rglob("*.tvo"))
gdal.UseExceptions()


def opened(path, *options):
    return gdal.OpenEx(str(path), gdal.OF_VECTOR, open_options=list(options))


class Examples(unittest.TestCase):
    def test_every_example_opens_with_places_and_systems(self):
        for path in EXAMPLES:
            dataset = opened(path)
            names = [dataset.GetLayer(i).GetName() for i in range(dataset.GetLayerCount())]
            self.assertTrue(any(name.startswith("points") for name in names), path)
            for name in names:
                layer = dataset.GetLayerByName(name)
                self.assertEqual(layer.GetFeatureCount(), sum(1 for _ in layer), (path, name))


if __name__ == "__main__":
    gdal.PushErrorHandler("CPLQuietErrorHandler")
    unittest.main()
