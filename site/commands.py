#!/usr/bin/python3
"""The commands and programs that the documents show. played() runs those of a page and puts their output
in; what needs a tree, root or another machine is in elsewhere.json with the place that runs it, and a
command that is in neither way run fails. commands.py PAGE PLACE runs, in the tree that it stands in, those
of the page that elsewhere.json has at that place."""
import contextlib
import json
import os
import pathlib
import re
import shutil
import subprocess
import sys

TREE = pathlib.Path(__file__).resolve().parent.parent
sys.path.insert(0, str(TREE / "tests/export"))
import postgres  # noqa: E402  the tests' server of its own

ELSEWHERE = {command: entry for entry in json.loads((TREE / "site/elsewhere.json").read_text())
             for command in entry["commands"]}
used = set()  # of them, by the pages so far
# What makes words in backticks a command, and not the name of a file or function.
COMMAND = re.compile(r"(?:\w+=\S+ )*(?:(?:sudo )?(?:tavo|apt|c\+\+|cc|cl|cmake|createdb|ctest|git|man|ogr\w+|psql|"
                     r"python3|qgis|sha256sum) |(?:scripts|packaging)/[\w-]+(?= |$)|build/\w+/bin/|"
                     r"(?:bench|tests|/usr/bin)/\S+ )")
FENCE = re.compile(r"^```(\w*) ?([^\n]*)\n(.*?)^```$", re.MULTILINE | re.DOTALL)
PROGRAMS = ("c", "cpp", "cmake", "csharp", "pascal", "python", "sql")


class Tool:
    """Runs commands as a user of the installed copy does, in a folder with the examples."""

    def __init__(self, prefix, folder):
        self.prefix, self.folder = prefix, folder
        libraries = next(path.parent for path in prefix.rglob("libtavo.so"))
        self.environment = os.environ | {
            "PATH": f"{prefix}/bin:/usr/bin:/bin:/usr/sbin", "LD_LIBRARY_PATH": str(libraries),
            "LIBRARY_PATH": str(libraries), "CPATH": f"{prefix}/include", "MANPATH": f"{prefix}/share/man",
            "PKG_CONFIG_PATH": f"{libraries}/pkgconfig", "CMAKE_PREFIX_PATH": str(prefix),
            "GDAL_DRIVER_PATH": ":".join(str(path.parent) for path in prefix.rglob("ogr_TAVO.so")),
            "PYTHONPATH": ":".join(str(path.parent.parent) for path in prefix.rglob("tavo/__init__.py")),
            "COLUMNS": "80", "LC_ALL": "C.UTF-8"}
        self.clear()

    def clear(self):
        """A new folder, with the examples at its top and as the folder that the tree has."""
        shutil.rmtree(self.folder, ignore_errors=True)
        shutil.copytree(TREE / "examples", self.folder)
        shutil.copytree(TREE / "examples", self.folder / "examples")

    def run(self, command, status=(0,)):
        return run(command, self.folder, self.environment, status)

    @contextlib.contextmanager
    def database(self):
        """Commands run meanwhile find a PostgreSQL server."""
        with postgres.server() as folder:
            self.environment |= {"PGHOST": folder, "PGUSER": "postgres"}
            yield

    def has(self, program):
        """Whether a program, a PostgreSQL server or a module of Python is there."""
        if program == "postgres":
            return bool(postgres.PROGRAMS)
        return (shutil.which(program, path=self.environment["PATH"]) is not None or
                subprocess.run(["/usr/bin/python3", "-c", f"import {program}"], capture_output=True).returncode == 0)

    def json(self, command):
        return json.loads(self.run(command))


def run(command, folder, environment, status):
    done = subprocess.run(["bash", "-c", command], cwd=folder, env=environment, text=True, stdout=subprocess.PIPE,
                          stderr=subprocess.STDOUT, stdin=subprocess.DEVNULL)
    if done.returncode not in status:
        sys.exit(f"site: status {done.returncode}, not {status[0]}: {command}\n{done.stdout}")
    return done.stdout.rstrip("\n")


def elsewhere(command):
    """Whether another place runs a command, which is looked up there."""
    command = " ".join(command.split())
    entry = ELSEWHERE.get(command)
    if entry and entry["there"] not in (TREE / entry["place"]).read_text(encoding="utf-8"):
        sys.exit(f"site: {entry['place']} does not run {command}: {entry['there']} is not in it")
    used.update([command] if entry else [])
    return entry is not None


def check_all_used():
    """Nothing in the list is left of a page that no longer says it."""
    if used != set(ELSEWHERE):
        sys.exit(f"site: elsewhere.json has what no page has: {set(ELSEWHERE) - used}")


def commands(language, body):
    """Those of a fence: behind $ in ```console, with lines that go on, else each line but what # begins."""
    if language == "console":
        return re.findall(r"^\$ ((?:.*\\\n)*.*)$", body, re.MULTILINE)
    return [line for line in re.sub(r"(^|\s+)#.*", "", body, flags=re.MULTILINE).split("\n") if line.strip()]


def spans(text):
    """What stands in backticks outside of fences, a row of a table under `tavo` behind that word."""
    prose = FENCE.sub("", text)
    rows = r"^(\| `tavo` \|.*\n)((?:\|.*\n)*)"
    prose = re.sub(rows, lambda table: table[1] + re.sub(r"^\| `(?!tavo )", "| `tavo ", table[2], flags=re.MULTILINE),
                   prose, flags=re.MULTILINE)
    return [" ".join(span.split()) for span in re.findall(r"`([^`]+)`", prose)]


def play_fence(name, match, tool):
    """A fence, run and with its output, or as it is."""
    language, words, body = match[1], dict(word.split("=", 1) for word in match[2].split()), match[3]
    if "file" in words:
        path = tool.folder / words["file"]
        path.parent.mkdir(exist_ok=True)
        path.write_text(body, encoding="utf-8")
        return f"```{language}\n{body}```"
    if language in PROGRAMS and not elsewhere(f"{name}: {language}"):
        sys.exit(f"site: {name}: a program without file=NAME, which nobody runs:\n{body}")
    if language not in ("console", "sh"):
        if any(COMMAND.match(line.strip()) for line in body.split("\n")):
            sys.exit(f"site: {name}: commands in a fence that is neither console nor sh:\n{body}")
        return match[0]
    absent = [program for program in words.get("needs", "").split(",") if program and not tool.has(program)]
    if absent:
        print(f"site: {name}: {', '.join(absent)} is not installed: its commands are shown without their output")
    here = [command for command in commands(language, body) if not elsewhere(command)]
    status = [int(words.get("status", 0))]
    if language == "sh":  # as a whole, so that a loop may be in it
        if here and not absent:
            tool.run("\n".join(["set -e", *here]), status)
        return f"```sh\n{body}```"
    lines = []
    for command in commands(language, body):
        output = [] if absent or command not in here else tool.run(command, status).split("\n")
        most = int(words.get("lines", 40))
        lines += [f"$ {command}", *(output[:most] if output != [""] else [])]
        lines += ["..."] if len(output) > most else []
    return "```console\n" + "\n".join(lines) + "\n```"


def play_span(name, span, tool):
    """A command in the text is run; of what only tells a form of the tool's, the options are looked up."""
    words = span.split()
    if elsewhere(span):
        return
    verb = words[1] if words[0] == "tavo" and words[1].isalpha() and words[1].islower() else ""
    if verb:
        text = tool.run(f"tavo {verb} --help")
        for option in re.findall(r"(?<= )--?[a-z][\w-]*", span.partition(" | ")[0]):
            if not re.search(rf"(?<![\w-]){option}(?![\w-])", text):
                sys.exit(f"site: {name}: tavo {verb} has no option {option}: {span}")
    bare = verb and all(word[0] == "-" for word in words[2:])
    if not bare and not re.search(r"\b(FILE|VERB|CODE|PATH)\b", span):
        tool.run(span, (0, 1) if words[0] == "tavo" else (0,))


def played(name, text, tool):
    """A page with its commands run and its programs written: ```console [status=N] [lines=N] [needs=A,B]
    holds `$ command` lines and gets their output, ```sh is run and stays, ```LANGUAGE file=NAME is a file
    first, and what stands in backticks and looks like a command is run when all else is there."""
    tool.clear()
    served = "needs=postgres" in text and tool.has("postgres")
    with tool.database() if served else contextlib.nullcontext():
        page = FENCE.sub(lambda match: play_fence(name, match, tool), text)
        for span in spans(text):
            if COMMAND.match(span):
                play_span(name, span, tool)
    indented = re.search(r"\n\n {4}.*", FENCE.sub("```\n```", text))
    if indented:
        sys.exit(f"site: {name}: a block that no fence says what it is:{indented[0]}")
    every = "\n".join(commands_of(text))
    for file in re.findall(r"^```\w+ .*?file=(\S+)", text, re.MULTILINE):
        if file not in every and file != "CMakeLists.txt":
            sys.exit(f"site: {name}: nothing is done with {file}")
    return page


def commands_of(text):
    return [command for match in FENCE.finditer(text) if match[1] in ("console", "sh")
            for command in commands(match[1], match[3])] + spans(text)


def main(page, place):
    for command in commands_of((TREE / page).read_text(encoding="utf-8")):
        if ELSEWHERE.get(" ".join(command.split()), {}).get("place") == place:
            print(f"$ {command}", flush=True)
            print(run(command, TREE, os.environ, (0,))[-2000:], flush=True)


if __name__ == "__main__":
    main(*sys.argv[1:])
