#!/usr/bin/python3
"""Surveys beside what the driver makes of them: cases_test.py FOLDER [--write].

NAME.tvo is read; NAME.txt has what is said and the layers: each with its geometry type and reference system, and a
line for each row with what is not null, its geometry and its style. --write writes those anew.
"""
import difflib
import os
import pathlib
import sys

from osgeo import gdal, ogr

gdal.UseExceptions()
# Rows of these are the format's own, field for field, and have tests of their own.
PLAIN = {"header", "units", "offsets", "layers", "choicelist", "codes", "attributes", "ellipsoids", "utm",
         "plane", "projection_sets", "properties", "items"}


def value(feature, i):
    kind = feature.GetFieldDefnRef(i).GetType()
    if kind == ogr.OFTReal:
        return f"{feature.GetField(i):.10g}"
    return repr(feature.GetField(i)) if kind == ogr.OFTString else feature.GetFieldAsString(i)


def head(layer):
    system = layer.GetSpatialRef()
    place = ogr.GeometryTypeToName(layer.GetGeomType())
    return f"{layer.GetName()}: {place}" + (f", {system.GetName()}" if system else "")


def columns(layer):
    definition = layer.GetLayerDefn()
    fields = [definition.GetFieldDefn(i) for i in range(definition.GetFieldCount())]
    texts = [f"{field.GetName()} {field.GetTypeName()}" for field in fields]
    texts = [text + (f" as {field.GetAlternativeName()}" if field.GetAlternativeName() else "")
             for text, field in zip(texts, fields)]
    return "  (" + ", ".join(texts) + ")"


def row(feature):
    parts = [f"{feature.GetFieldDefnRef(i).GetName()}={value(feature, i)}"
             for i in range(feature.GetFieldCount()) if feature.IsFieldSetAndNotNull(i)]
    geometry = feature.GetGeometryRef()
    if geometry:
        # Three decimals, and no -0.
        parts.append(ogr.CreateGeometryFromJson(
            geometry.ExportToJson(["COORDINATE_PRECISION=3"])).ExportToIsoWkt())
    if feature.GetStyleString():
        parts.append(feature.GetStyleString().replace("\n", "\\n"))
    return "  " + " ".join(parts)


def shown(path):
    said = []
    gdal.PushErrorHandler(lambda kind, number, text: said.append(text))
    dataset = gdal.OpenEx(path.name, gdal.OF_VECTOR)
    gdal.PopErrorHandler()
    lines = ["said: " + text for text in said]
    for i in range(dataset.GetLayerCount()):
        layer = dataset.GetLayer(i)
        if layer.GetName() in PLAIN:
            continue
        lines += ["", head(layer), columns(layer)] + [row(feature) for feature in layer]
    for name in dataset.GetFieldDomainNames() or []:
        codes = ", ".join(dataset.GetFieldDomain(name).GetEnumeration())
        if name.split("_")[0] not in PLAIN:
            lines += [f"domain {name}: {codes}"]
    return lines


def main(folder, write=False):
    os.chdir(folder)
    failed = 0
    cases = sorted(pathlib.Path().glob("*.tvo"))
    for path in cases:
        expected = path.with_suffix(".txt")
        lines = shown(path)
        if write:
            expected.write_text("\n".join(lines) + "\n", encoding="utf-8")
        wanted = expected.read_text(encoding="utf-8").splitlines()
        difference = list(difflib.unified_diff(wanted, lines, expected.name, "read", lineterm=""))
        failed += bool(difference)
        print("\n".join(difference), end="")
    print(f"{len(cases)} cases, {failed} differ")
    return 1 if failed or not cases else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1], "--write" in sys.argv))
