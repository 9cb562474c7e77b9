#!/usr/bin/python3
"""Opens the example in QGIS itself, on a screen of its own, and looks at what it shows: qgis_test.py FOLDER,
which has examples/. The driver is found as GDAL finds it."""
import os
import pathlib
import shlex
import subprocess
import sys
import tempfile

os.environ["QT_QPA_PLATFORM"] = "offscreen"
from qgis.PyQt.QtGui import QImage, qGray  # noqa: E402
from qgis.core import QgsApplication, QgsCoordinateTransformContext, QgsProviderRegistry, QgsProviderSublayerDetails  # noqa: E402

COMMAND = "qgis examples/survey.tvo"
PLACES = (419000, 5309600, 419900, 5310100)  # all that the example has lies within
KINDS = {"points": 0, "lines": 1, "polygons": 2, "edges": 1, "annotations": 0, "texts": 0,
         "findings": 0}
TABLE = 4


def check_layers(path):
    """Each layer is there, as a table or within the survey; a layer without end would push it off the map."""
    application = QgsApplication([], False)
    application.initQgis()
    options = QgsProviderSublayerDetails.LayerOptions(QgsCoordinateTransformContext())
    found = QgsProviderRegistry.instance().providerMetadata("ogr").querySublayers(path)
    for layer in [one.toLayer(options) for one in found]:
        name, kind, extent = layer.name().split(" — ")[-1], layer.geometryType(), layer.extent()
        assert layer.isValid() and kind == KINDS.get(name, TABLE), (name, kind)
        assert name not in KINDS or layer.crs().isValid()
        assert kind == TABLE or (extent.xMinimum() > PLACES[0] and extent.yMinimum() > PLACES[1] and
                                 extent.xMaximum() < PLACES[2] and extent.yMaximum() < PLACES[3]), (
            name, extent.toString())
    assert set(KINDS) < {one.name().split(" — ")[-1] for one in found} and len(found) > 15, found
    print(f"{len(found)} layers")


def check_picture(folder, scratch):
    """The survey fills the map: something is drawn in a good part of twenty columns."""
    picture = f"{scratch}/map.png"
    words = shlex.split(COMMAND)
    # It looks along PATH for its Python, where another one may come first, and waits behind a message without it.
    settings = {"PATH": "/usr/bin:/bin", "QT_QPA_PLATFORM": "xcb", "XDG_RUNTIME_DIR": scratch}
    # Its exit status says nothing; it is 1 behind a picture.
    run = subprocess.run(["xvfb-run", "-a", words[0], "--nologo", "--noversioncheck", "--profiles-path", scratch,
                          "--snapshot", picture, "--width", "1200", "--height", "800", *words[1:]], cwd=folder,
                         env={**os.environ, **settings}, timeout=600, stderr=subprocess.PIPE, text=True)
    assert "ERROR" not in run.stderr, run.stderr
    image = QImage(picture)
    drawn = {x // 60 for x in range(0, image.width(), 2) for y in range(0, image.height(), 2)
             if qGray(image.pixel(x, y)) < 200}
    assert len(drawn) > 6, (picture, image.width(), sorted(drawn))
    print(f"the map is drawn in {len(drawn)} of 20 columns")


with tempfile.TemporaryDirectory() as own:
    check_layers(str(pathlib.Path(sys.argv[1]) / "examples/survey.tvo"))
    check_picture(sys.argv[1], own)
