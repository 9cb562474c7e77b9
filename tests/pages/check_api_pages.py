"""Asks man for every function of tavo.h and survey.h: check_api_pages.py HEADERS PAGES."""
import pathlib
import re
import subprocess
import sys

headers, pages = map(pathlib.Path, sys.argv[1:])
shown, faults, count = {}, [], 0
for header in ("tavo.h", "survey.h"):
    text = (headers / header).read_text()
    for name in re.findall(r"^T(?:AV|V)O_API [^;(]*?(\w+)\(", text, re.MULTILINE):
        count += 1
        source = pages / "man3" / f"{name}.3"
        page = re.sub(r"^\.so ", "", source.read_text()).strip() if source.exists() else ""
        if page not in shown:
            call = ["man", "--warnings", "-l", pages / page] if page else ["true"]
            done = subprocess.run(call, capture_output=True, text=True, env={
                "MANWIDTH": "80", "MANPAGER": "cat", "PATH": "/usr/bin:/bin"})
            shown[page] = done.stdout
            if done.stderr:
                faults.append(f"{page}: {done.stderr}")
        # The declaration once in the list of functions, and once with what it does.
        if len(re.findall(rf"\b{name} \(", shown[page])) < 2:
            faults.append(f"{name} has no page that describes it")
assert count > 60, count
print("\n".join(faults) or f"{count} functions")
sys.exit(bool(faults))
