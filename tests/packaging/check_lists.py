"""Compares the packages' lists with what is installed: check_lists.py DEBIAN BUILD SCRATCH VERSION. Every
file is in one package, and no line of a list is without a file. SCRATCH is left with the installed copy."""
import fnmatch
import pathlib
import re
import shutil
import subprocess
import sys

debian, build, scratch = map(pathlib.Path, sys.argv[1:4])
# Where packages have what an installation below a prefix has elsewhere.
MOVES = ((r"^usr/lib/(?=lib|cmake/|pkgconfig/|gdalplugins/)", "usr/lib/ANY/"),
         (r"^usr/lib/python3\.\d+/site-packages/", "usr/lib/python3/dist-packages/"),
         (r"/zsh/site-functions/", "/zsh/vendor-completions/"), (r"^usr/share/doc/tavo/", "usr/share/doc/tavo-doc/"))

shutil.rmtree(scratch, ignore_errors=True)
subprocess.run(["cmake", "--install", build, "--prefix", scratch], check=True, stdout=subprocess.DEVNULL)
files = []
for path in scratch.rglob("*"):
    if path.is_dir() and not path.is_symlink():
        continue
    name = f"usr/{path.relative_to(scratch)}"
    for pattern, place in MOVES:
        name = re.sub(pattern, place, name)
    if not re.search(r"/doc/.*/LICENSE", name):  # debian/rules takes them out
        files.append(name)

faults, used = [], set()
lists = {path.stem: path.read_text().split() for path in debian.glob("*.install")}
for name in files:
    found = [(package, line) for package, lines in lists.items() for line in lines
             if fnmatch.fnmatch(name, line) or fnmatch.fnmatch(name, f"{line}/*")]
    used.update(found)
    if len({package for package, line in found}) != 1:
        faults.append(f"{name} is in {[package for package, line in found]}")
faults += [f"{package}: nothing is {line}" for package, lines in lists.items() for line in lines
           if (package, line) not in used]
packages = re.findall(r"^Package: (\S+)", (debian / "control").read_text(), re.MULTILINE)
if sorted(packages) != sorted(lists):
    faults.append(f"packages {packages}, lists {sorted(lists)}")
if not (debian / "changelog").read_text().startswith(f"tavo ({sys.argv[4]})"):
    faults.append(f"the changelog does not begin with version {sys.argv[4]}")
print("\n".join(faults) or f"{len(files)} files in {len(packages)} packages")
sys.exit(bool(faults))
