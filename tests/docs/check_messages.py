"""Holds the explanations of `tavo explain` against what the tool finds: each wrong example has its
finding, at one of its own lines, and the right one has none of it; docs/messages.md is the tool's own page, and
the table of docs/check.md has its rules.

check_messages.py TOOL DOCS SCRATCH
"""

import json
import pathlib
import re
import subprocess
import sys


def run(*arguments):
    return subprocess.run(arguments, capture_output=True, check=False).stdout.decode()


def findings(tool, folder, name, text, code):
    path = folder / name
    path.write_text(text)
    options = ["--deep", "--format", "json"]
    # Rules that are off stay so, unless it is this one; T141 and T142 take the place of notes.
    if code.startswith("T"):
        options += ["--rule", f"{code}=warning"]
    elif code.startswith("N"):
        options += ["--rule", "T141=off,T142=off"]
    found = json.loads(run(tool, "check", *options, path))
    return [finding for finding in found["findings"] if finding["code"] == code]


def main(tool, docs, scratch):
    docs, folder = pathlib.Path(docs), pathlib.Path(scratch)
    topics = json.loads(run(tool, "explain", "--all", "--format", "json"))["topics"]
    assert run(tool, "explain", "--all", "--format", "md") == (docs / "messages.md").read_text()
    rows = re.findall(r"^\| (T\d+) \| (\w+) \| ([^|]*) \|", (docs / "check.md").read_text(), re.M)
    rules = [topic for topic in topics if topic["kind"] == "rule"]
    assert rows == [(rule["code"], rule["severity"], rule["name"]) for rule in rules]
    tried = 0
    for topic in topics:
        if "wrong" not in topic:
            continue
        code = topic["code"]
        wrong = findings(tool, folder, "wrong.tvo", topic["wrong"], code)
        assert wrong, f"{code}: the wrong example has no such finding"
        right = findings(tool, folder, "right.tvo", topic["right"], code)
        assert not right, f"{code}: the right example has {right}"
        tried += 1
    assert tried > 50, tried
    print(f"{tried} of {len(topics)} explanations were tried")


if __name__ == "__main__":
    main(*sys.argv[1:])
