#!/usr/bin/python3
"""Holds the JSON that the tool prints against the schemas in docs/json.

usage: check_json.py TOOL SCHEMAS EXAMPLES CASES
"""
import json
import pathlib
import subprocess
import sys
import tempfile

import jsonschema


def lines(tool, *arguments):
    run = subprocess.run([tool, *map(str, arguments)], capture_output=True, check=False)
    assert run.returncode in (0, 1, 2), (arguments, run.returncode, run.stderr)
    return [json.loads(line) for line in run.stdout.decode().splitlines()]


def main():
    tool, schemas, examples, cases = sys.argv[1], *map(pathlib.Path, sys.argv[2:])
    validators = {}
    for path in schemas.glob("*.schema.json"):
        schema = json.loads(path.read_text())
        jsonschema.Draft202012Validator.check_schema(schema)
        validators[path.name.split(".")[0]] = jsonschema.Draft202012Validator(schema)
    surveys = sorted(examples.rglob("*.tvo")) + sorted(cases.glob("*.tvo"))
    assert surveys
    count = 0

    def hold(shape, objects):
        nonlocal count
        assert objects, shape
        for value in objects:
            validators[shape].validate(value)
            count += 1

    hold("tavo-check", lines(tool, "check", "--format", "json", "none.tvo", *surveys))
    hold("tavo-info", lines(tool, "info", "--format", "json", *surveys))
    hold("tavo-explain", lines(tool, "explain", "--all", "--format", "json"))
    hold("tavo-schema", lines(tool, "schema", "--format", "json"))
    sarif = lines(tool, "check", "--deep", "--format", "sarif", "none.tvo", *surveys)
    hold("sarif-2", sarif)
    run = sarif[0]["runs"][0]
    rules = [rule["id"] for rule in run["tool"]["driver"]["rules"]]
    assert run["results"] and len(set(rules)) == len(rules)
    assert all(rules[result["ruleIndex"]] == result["ruleId"] for result in run["results"])
    for survey in surveys:
        hold("tavo-dump", lines(tool, "dump", survey))
        hold("tavo-timeline", lines(tool, "timeline", "--format", "json", survey))
    hold("tavo-check", lines(tool, "check", "--deep", "--format", "json", *surveys))
    first, second, *_ = sorted(examples.glob("*.tvo"))
    hold("tavo-diff", lines(tool, "diff", "--format", "json", first, second))
    for survey in sorted(examples.glob("*.tvo")):
        hold("tavo-dump", lines(tool, "dump", "--units", "si", survey))
        with tempfile.TemporaryDirectory() as folder:
            data = pathlib.Path(folder) / "survey.dat"
            for kind in ["--compatible"], []:
                subprocess.run([tool, "import", *kind, survey, "-o", data], capture_output=True,
                               check=False)
                hold("tavo-dump", lines(tool, "dump", data))
                hold("tavo-info", lines(tool, "info", "--format", "json", data))
                hold("tavo-diff", lines(tool, "diff", "--format", "json", survey, data))
                hold("tavo-verify", lines(tool, "verify", "--format", "json", data))
                cut = pathlib.Path(folder) / "cut.dat"
                cut.write_bytes(data.read_bytes()[:9216])
                hold("tavo-verify", lines(tool, "verify", "--format", "json", cut))
                hold("tavo-repair", lines(tool, "repair", "--format", "json", cut, "-o", data))
    print(f"{count} objects keep their shape")


if __name__ == "__main__":
    main()
