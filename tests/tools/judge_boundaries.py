"""Holds the deep check's self-crossing rings against GEOS: of random polygons on small grids, where corners and
sides meet often, both find the same ones invalid.

judge_boundaries.py TOOL
"""

import json
import random
import subprocess
import sys

from shapely.geometry import Polygon


def main(tool):
    random.seed(20240917)
    points, edges, polygons, invalid = [], [], [], set()
    for number in range(1, 1500):
        size = random.choice([3, 6, 50])
        ring = [(random.randint(0, size), random.randint(0, size)) for _ in range(random.randint(3, 8))]
        ring = [corner for i, corner in enumerate(ring) if corner != ring[i - 1]]
        if len(ring) < 3:
            continue
        if not Polygon(ring).is_valid:
            invalid.add(number)
        polygons.append(f"{number};")
        first = len(points) + 1
        for i, (x, y) in enumerate(ring):
            points.append(f"{first + i},{x},{y};")
            edges.append(f"{number},{first + i},{first + (i + 1) % len(ring)};")
    text = "\n".join(
        ["DATABASE", "POINTS (PointNo,East,North)", *points, "END POINTS", "POLYGONS (PolygonNo)",
         *polygons, "EDGES (PolygonNo,StartPt,EndPt)", *edges, "END EDGES", "END POLYGONS",
         "END DATABASE", ""])
    run = subprocess.run([tool, "check", "--deep", "--format", "json", "-"], input=text.encode(),
                         capture_output=True, check=False)
    found = {finding["owner"]["number"] for finding in json.loads(run.stdout)["findings"]
             if finding["code"] == "T124"}
    assert found == invalid, sorted(found ^ invalid)
    assert 100 < len(invalid) < len(polygons) - 100
    print(f"{len(polygons)} polygons, {len(invalid)} of them invalid to both")


if __name__ == "__main__":
    main(*sys.argv[1:])
