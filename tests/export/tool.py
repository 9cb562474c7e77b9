"""What the tests of the export share: the tool, the examples and generated surveys."""
import os
import pathlib
import signal
import subprocess
import sys
import tempfile
import time

from osgeo import gdal, ogr, osr

from surveys import HEAD

for module in (gdal, ogr, osr):
    module.UseExceptions()

TOOL, EXAMPLES = sys.argv[1], pathlib.Path(sys.argv[2])
SURVEY = str(EXAMPLES / "survey.tvo")
UTM = HEAD + """DATABASE
  POINTS (PointNo,East,North{heights})
{points}
  END POINTS
{rest}
END DATABASE
"""


def export(*words, status=0, says="", **options):
    """Runs `tavo export`, expects its exit status and words on standard error, which it returns."""
    result = subprocess.run([TOOL, "export", *map(str, words)], capture_output=True, text=True,
                            timeout=300, **options)
    assert result.returncode == status and says in result.stderr, \
        f"{words}: status {result.returncode}, wanted {status}: {result.stderr!r}, wanted {says!r}"
    assert all(line.startswith("tavo: ") for line in result.stderr.splitlines()), result.stderr
    return result.stderr


def read(path, name=None):
    """The rows of a layer (columns by name, `geometry` among them) and its reference system; nothing
    of GDAL's own, whose features must not outlive their source."""
    source = ogr.Open(path)
    layer = source.GetLayer(0) if name is None else source.GetLayerByName(name)
    rows = []
    for feature in layer:
        geometry = feature.GetGeometryRef()
        rows.append({**feature.items(), "geometry": geometry.Clone() if geometry else None})
    system = layer.GetSpatialRef()
    return rows, system.Clone() if system else None


def write_survey(path, points, rest="", zone=32, heights=True):
    """points: (east, north, height) of points that are numbered from 1."""
    lines = "\n".join(f"    {i},{e:.3f},{n:.3f}{f',{h:.3f}' if heights else ''};"
                      for i, (e, n, h) in enumerate(points, 1))
    pathlib.Path(path).write_text(UTM.format(zone=zone, heights=",Elevation" if heights else "",
                                             points=lines, rest=rest))


def leftovers():
    return [name for name in os.listdir() if name.endswith(".tmp")]


def interrupt(words, number):
    """Starts an export, sends it a signal as soon as it writes, and returns its exit status."""
    process = subprocess.Popen([TOOL, "export", *words], stderr=subprocess.PIPE)
    while process.poll() is None and not leftovers():
        time.sleep(0.001)
    process.send_signal(number)
    process.communicate()
    return process.returncode


def run(tests):
    """Each function in an empty folder."""
    home = os.getcwd()
    for test in tests:
        with tempfile.TemporaryDirectory(dir=home) as folder:
            os.chdir(folder)
            test()
            assert not leftovers(), leftovers()
            os.chdir(home)
            print("ok:", test.__name__)
