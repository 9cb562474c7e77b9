"""The package installed by pip in a virtual environment, and by CMake below a prefix."""
import os
import subprocess
import sys

from conftest import BUILD, EXAMPLES, ROOT

USE = f"import tavo; print(tavo.__file__); print(len(tavo.read({str(EXAMPLES / 'survey.tvo')!r}).points))"


def run(*command, **environment):
    clean = {name: value for name, value in os.environ.items() if name != "PYTHONPATH"}
    done = subprocess.run([str(word) for word in command], env={**clean, **environment},
                          capture_output=True, text=True)
    assert done.returncode == 0, done.stdout + done.stderr
    return done.stdout.split()


def test_pip(tmp_path):
    own = tmp_path / "own"
    run(sys.executable, "-m", "venv", "--system-site-packages", own)
    # From a copy, since what pip builds stays in the folder.
    copy = tmp_path / "source"
    run("git", "-C", ROOT, "worktree", "list")
    run("cp", "-r", "--parents", *(ROOT / part for part in (
        "CMakeLists.txt", "cmake", "src", "include", "bindings", "README.md", "LICENSE", "docs")), copy) \
        if copy.mkdir() is None else None
    package = copy / str(ROOT).lstrip("/") / "bindings" / "python"
    run(own / "bin" / "pip", "install", "-q", "--no-build-isolation", "--no-index", package)
    where, points = run(own / "bin" / "python", "-c", USE)
    assert where.startswith(str(own)) and points == "151"


def test_prefix(tmp_path):
    run("cmake", "--install", BUILD, "--prefix", tmp_path, "--component", "python")
    (folder,) = tmp_path.glob("lib/python3*/site-packages")
    where, points = run(sys.executable, "-c", USE, PYTHONPATH=str(folder))
    assert where.startswith(str(tmp_path)) and points == "151"
    assert (folder / "tavo" / "py.typed").exists()
