#!/usr/bin/python3
"""Checks the include graph against the layers: check_layers.py ROOT, or --self-test.

A module may include headers of itself, of include/tavo where it may see the public types, and of
the modules listed for it; anything else of ours is a fault. Files are opened, renamed and deleted
by the platform module alone. Faults are printed, exit code 1.
"""
import pathlib
import re
import sys
import tempfile

# Module (folder below src) -> modules whose headers it may include. "tavo" is include/tavo.
LAYERS = {
    "schema": {"tavo"},
    "platform": set(),
    "reader": {"tavo", "schema", "platform"},
    "sections": {"tavo", "reader", "schema", "platform"},
    "store/engine": {"platform"},
    "store": {"tavo", "schema", "store/engine", "platform"},
    "writers": {"tavo", "schema", "platform"},
    "survey": {"tavo", "schema", "platform", "reader", "sections", "store", "store/engine",
               "writers"},
    "api": {"tavo", "schema", "platform", "reader", "sections", "store", "store/engine", "writers",
            "survey"},
    # Below root/tools, root/plugins and root/bindings: what a host sees, and nothing else.
    "tools": {"tavo"},
    "plugins": {"tavo"},
    "bindings": {"tavo"},
}
HOSTS = ("tools", "plugins", "bindings")
INCLUDE = re.compile(r'^\s*#\s*include\s*["<]([^">]+)[">]')
# What opens, renames or deletes a file; only OWNER may. A member or function of ours of such a name
# is written otherwise (`store.remove(`, `tavo::platform::removeFile(`).
OWNER = "platform"
FILE_CALL = re.compile(
    r"\bstd::(?:filesystem|i?o?fstream|basic_\w*fstream|filebuf|freopen|fopen|tmpfile|remove|rename)\b"
    r"|(?<![\w:.>])(?:::)?_?w?(?:f|fre|fd|s|p)open(?:_s)?\s*\("
    r"|(?<![\w:])::_?(?:open(?:at)?|creat|unlink|remove|rename|mkstemp)\s*\("
    r"|\b(?:CreateFile|DeleteFile|MoveFile\w*|ReplaceFile|OpenFile|_l?open|_creat|_sopen\w*)[AW2]?\s*\("
    r"|#\s*include\s*<(?:fstream|filesystem|fcntl\.h|sys/stat\.h|io\.h)>")
SOURCES = {".h", ".hpp", ".cpp", ".c", ".inc"}


def module_of(path):
    """The module that a path below src belongs to, or None."""
    folder = pathlib.PurePosixPath(path).parent.as_posix()
    while folder not in ("", "."):
        if folder in LAYERS:
            return folder
        folder = pathlib.PurePosixPath(folder).parent.as_posix()
    return None


def target_of(root, source, name):
    """The module that an include names ("tavo" for public headers), or None if it is not ours."""
    beside = (source.parent / name).resolve()
    src = (root / "src").resolve()
    for candidate in (beside, src / name):
        if candidate.is_file() and candidate.resolve().is_relative_to(src):
            return module_of(candidate.resolve().relative_to(src).as_posix())
    if name.startswith("tavo/") or (root / "include" / name).is_file():
        return "tavo"
    return module_of(name)


def faults_in(root):
    """Faults of the tree (src, include and the hosts), one text each, and the files read."""
    faults = []
    count = 0
    for source in sorted(path for part in ("src", "include", *HOSTS)
                         for path in (root / part).rglob("*")):
        if source.suffix not in SOURCES:
            continue
        count += 1
        public = source.is_relative_to(root / "include")
        where = source.relative_to(root).as_posix()
        part = source.relative_to(root).parts[0]
        if part in HOSTS:
            module = part
        else:
            module = "tavo" if public else module_of(source.relative_to(root / "src").as_posix())
        if module is None:
            faults.append(f"{where}: belongs to no module")
            continue
        allowed = {module} | (set() if public else LAYERS[module])
        for number, line in enumerate(source.read_text(encoding="utf-8").splitlines(), 1):
            code = line.split("//")[0]
            call = FILE_CALL.search(code)
            # The terminal of the tool needs headers that also open files.
            terminal = module in HOSTS and call is not None and call.group(0).startswith("#")
            if module != OWNER and call is not None and not terminal:
                faults.append(f"{where}:{number}: only {OWNER} opens files ({call.group(0)})")
            match = INCLUDE.match(line)
            target = target_of(root, source, match.group(1)) if match else None
            if target is not None and target not in allowed:
                faults.append(f"{where}:{number}: {module} must not include {target} "
                              f"({match.group(1)})")
    return faults, count


def self_test():
    """Seeds one fault of each kind into a small tree and expects exactly those to be found."""
    seeds = {
        "src/schema/a.h": '#include "tavo/tavo.h"\n#include <string>\n',
        "src/reader/b.cpp": '#include "schema/a.h"\n#include "sections/c.h"\n',
        "src/sections/c.h": '#include "reader/b.h"\n',
        "src/store/engine/d.cpp": '#include "platform/file.h"\n#include "tavo/records.h"\n',
        "src/store/f.cpp": "FILE* f = fopen(path);\nfiles.open(path);  // or fopen(path)\n"
                           "int g = ::open(path, 0);\nh = CreateFileA(path);\n"
                           "#include <filesystem>\nbool Store::open(const char* path) {\n"
                           "std::ofstream(path);\nstd::remove(path);\nstore::remove(record);\n",
        "src/platform/file.h": '  #  include "../schema/a.h"\n',
        "src/stray/e.cpp": "",
        "include/tavo/tavo.h": '#include "schema/a.h"\n',
        "tools/tavo/g.cpp": '#include "g.h"\n#include "tavo/tavo.h"\n#include "schema/a.h"\n',
        "tools/tavo/g.h": "",
        "plugins/p/h.cpp": '#include "tavo/tavo.h"\n#include "schema/a.h"\n',
    }
    expected = ["include/tavo/tavo.h:1", "plugins/p/h.cpp:2", "src/platform/file.h:1", "src/reader/b.cpp:2",
                "src/store/engine/d.cpp:2", "src/store/f.cpp:1", "src/store/f.cpp:3",
                "src/store/f.cpp:4", "src/store/f.cpp:5", "src/store/f.cpp:7", "src/store/f.cpp:8",
                "src/stray/e.cpp", "tools/tavo/g.cpp:3"]
    with tempfile.TemporaryDirectory() as folder:
        root = pathlib.Path(folder)
        for name, text in seeds.items():
            (root / name).parent.mkdir(parents=True, exist_ok=True)
            (root / name).write_text(text, encoding="utf-8")
        found = sorted(fault.split(": ")[0] for fault in faults_in(root)[0])
    if found != expected:
        print(f"self-test: expected {expected}, found {found}")
        return 1
    print("self-test: every seeded fault was found")
    return 0


def main(arguments):
    if arguments == ["--self-test"]:
        return self_test()
    if len(arguments) != 1:
        print(__doc__)
        return 2
    faults, count = faults_in(pathlib.Path(arguments[0]).resolve())
    for fault in faults:
        print(fault)
    if count == 0:
        print("no sources found")
        return 1
    print(f"{count} files, {len(faults)} faults")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
