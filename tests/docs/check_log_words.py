"""Compares the numbers and words of docs/log.md with a log that has every finding there is.

check_log_words.py TOOL DOCUMENT EXAMPLES SCRATCH
"""

import pathlib
import re
import subprocess
import sys

LINE = r"line (\d{4,}) {2}: (?:error E(\d{4}) {3}|warning W(\d{4}) ): '(.{0,20})' +: (.*)"
NOTE = r" {52}: lines? \d+( - \d+)? will be ignored"


def main(tool, document, examples, scratch):
    rows = re.findall(r"^\| (\d{4}) \| ([^|]*) \| ([^|]*) \|$", pathlib.Path(document).read_text(), re.M)
    words = {number: text for number, text, _ in rows}
    never = {number for number, _, meaning in rows if meaning.startswith("Never reported")}
    log = pathlib.Path(scratch) / "document.log"
    subprocess.run([tool, "check", pathlib.Path(examples) / "mistakes.tvo", "--log", log],
                   capture_output=True)
    *findings, empty, summary = log.read_text().splitlines()
    found = [(line, re.fullmatch(LINE, line)) for line in findings if not re.fullmatch(NOTE, line)]
    for line, match in found:
        assert match and match[5] == words[match[2] or match[3]], line
        assert len(line) - len(match[5]) == 54, line
    reported = {match[2] or match[3] for _, match in found}
    assert reported == set(words) - never, reported ^ (set(words) - never)
    errors = sum(1 for _, match in found if match[2])
    assert empty == "" and summary.endswith(
        f"mistakes.tvo - {errors} error(s), {len(found) - errors} warning(s)"), summary
    print(f"{len(found)} findings of {len(reported)} numbers agree")


if __name__ == "__main__":
    main(*sys.argv[1:])
