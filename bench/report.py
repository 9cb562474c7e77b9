#!/usr/bin/python3
"""Measures the page of `tavo report` in a headless Chromium: report.py TOOL [POINTS...]

For surveys of so many points (default 1000, 100000, 1000000), one line each: seconds to make the page,
its size, seconds to the first map and until all is there, and milliseconds to draw the map anew after
a pan, of all points in sight and zoomed in (medians). Needs chromium-driver and python3-selenium.
"""
import pathlib
import statistics
import subprocess
import sys
import tempfile
import time

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent / "tests" / "report"))
from browser import Browser  # noqa: E402

CODES = ["TREE", "RDED", "LAMP", "MANH", "BLDG", "FENC", "CURB", "GRND"]
# Reading a pixel waits until the canvas has really been drawn.
PAN = """const map = window.tavoReport.map;
const started = performance.now();
map.panBy([arguments[0], 30], {animate: false});
document.querySelector('#map canvas').getContext('2d').getImageData(0, 0, 1, 1);
return performance.now() - started;"""


def write_survey(path, points):
    """A field of points 4 m apart, a line along every twentieth pair of neighbours."""
    width = max(10, int((points * 1.6) ** 0.5))
    with open(path, "w", encoding="ascii") as file:
        file.write("HEADER\n  VERSION 1.31\n  UNITS\n    LINEAR METRE\n    TIME DMY\n  END UNITS\n"
                   "END HEADER\nDATABASE\n"
                   "  POINTS (PointNo,PointID,East,North,Elevation,CodeNo,Code,Date)\n")
        for i in range(1, points + 1):
            east = 500000 + i % width * 4 + i * 7919 % 1000 / 400
            north = 5200000 + i // width * 4 + i * 104729 % 1000 / 400
            seconds = i * 3
            file.write(f'    {i},"P{i}",{east:.4f},{north:.4f},{400 + i % 977 / 50:.4f},{i % 8},'
                       f'"{CODES[i % 8]}",{1 + seconds // 86400 % 28:02d}-09-2024/'
                       f"{seconds // 3600 % 24:02d}:{seconds // 60 % 60:02d}:{seconds % 60:02d}.0;\n")
        lines = range(1, points, 20)
        file.write("  END POINTS\n  LINES (LineNo,LineID,Code)\n")
        file.writelines(f'    {i},"L{i}","RDED";\n' for i in lines)
        file.write("    EDGES (LineNo,StartPt,EndPt)\n")
        file.writelines(f"      {i},{i},{i + 1};\n" for i in lines)
        file.write("    END EDGES\n  END LINES\nEND DATABASE\n")


def redraw(browser):
    """Median milliseconds of a redraw after a pan, there and back."""
    return statistics.median(browser.run(PAN, 60 if i % 2 else -60) for i in range(9))


def measure(tool, points, folder):
    survey, page = folder / "survey.tvo", folder / "report.html"
    write_survey(survey, points)
    started = time.monotonic()
    subprocess.run([tool, "report", survey, "-o", page], check=True, stderr=subprocess.DEVNULL)
    made = time.monotonic() - started
    with Browser() as browser:
        browser.open(page)
        first, ready = browser.run("return [window.tavoReport.firstMap, window.tavoReport.ready];")
        whole = redraw(browser)
        browser.run("window.tavoReport.map.setZoom(window.tavoReport.map.getZoom() + 3, {animate: false});")
        near = redraw(browser)
    print(f"{points:9d} points: page {made:6.2f} s {page.stat().st_size / 1e6:6.1f} MB,"
          f" first map {first / 1000:5.2f} s, all {ready / 1000:5.2f} s,"
          f" redraw {whole:6.1f} ms, zoomed in {near:6.1f} ms", flush=True)
    page.unlink()


def main(arguments):
    if not arguments:
        print(__doc__)
        return 2
    with tempfile.TemporaryDirectory() as folder:
        for points in [int(word) for word in arguments[1:]] or [1000, 100000, 1000000]:
            measure(arguments[0], points, pathlib.Path(folder))
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
