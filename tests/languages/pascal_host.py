"""Compiles the Pascal program of a page for 32-bit Windows and runs it beside a DLL, under Wine:
pascal_host.py PAGE DLL SURVEY SOURCES SCRATCH EMULATOR... Debian has no Free Pascal that makes Windows
programs, but its SOURCES; a compiler is made of them first, which stays in SCRATCH."""
import pathlib
import re
import shutil
import subprocess
import sys

page, dll, survey, sources, scratch = map(pathlib.Path, sys.argv[1:6])
emulator = sys.argv[6:]


def run(*words, **more):
    done = subprocess.run([str(word) for word in words], cwd=scratch, stdout=subprocess.PIPE,
                          stderr=subprocess.STDOUT, text=True, **more)
    if done.returncode != 0:
        sys.exit(f"status {done.returncode}: {' '.join(map(str, words))}\n{done.stdout}")
    return done.stdout


def folders(root, *names):
    """Where units and included files lie."""
    return [f"-F{kind}{root / name}" for name in names for kind in "ui"]


def make_compiler():
    """Free Pascal for 32-bit Windows, and the unit that every program begins with."""
    compiler = sources / "compiler"
    native = pathlib.Path(shutil.which("ppcx64")).resolve()
    run("fpc", "-v0", "-FEmade", compiler / "utils/msg2inc.pp")
    run("made/msg2inc", native.parent / "msg/errore.msg", "msg", "msg")
    run("fpc", "-v0", "-di386", "-O1", *folders(compiler, "i386", "x86", "systems", "."), "-Fi.", "-FEmade",
        "-oppcross386", compiler / "pp.pas")
    return scratch / "made/ppcross386"


(scratch / "made").mkdir(parents=True, exist_ok=True)
(scratch / "units").mkdir(exist_ok=True)
cross = scratch / "made/ppcross386"
words = [cross if cross.exists() else make_compiler(), "-n", "-Twin32", "-v0", "-FUunits", *folders(
    sources / "rtl", "inc", "i386", "win", "win/wininc", "win32", "objpas", "objpas/sysutils")]
if not (scratch / "units/system.ppu").exists():
    run(*words, "-Us", sources / "rtl/win32/system.pp")
program = re.search(r"^```pascal file=(\S+)\n(.*?)^```$", page.read_text(encoding="utf-8"), re.M | re.S)
(scratch / program[1]).write_text(program[2], encoding="utf-8")
run(*words, "-FE.", program[1])
for file in (dll, survey):
    shutil.copy(file, scratch)
shown = run(*emulator, scratch / program[1].replace(".pas", ".exe"), survey.name, "host.log")
print(shown)
wanted = "status 0, 0 errors, 0 warnings\n151 points, the highest at 510.900\n"
sys.exit(0 if shown == wanted and (scratch / "host.log").stat().st_size else f"not:\n{wanted}")
