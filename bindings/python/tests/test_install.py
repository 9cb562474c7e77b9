"""The package installed by pip in a virtual environment, and by CMake below a prefix."""
import os
import shutil
import subprocess
import sys

from conftest import BUILD, EXAMPLES, ROOT

USE = f"import tavo; print(tavo.__file__); print(len(tavo.read({str(EXAMPLES / 'survey.tvo')!r}).points))"


def run(*command, **environment):
    clean = {name: value for name, value in os.environ.items() if name != "PYTHONPATH"}
    done = subprocess.run([str(word) for word in command], env={**clean, **environment},
                          capture_output=True, text=True, check=False)
    assert done.returncode == 0, done.stdout + done.stderr
    return done.stdout.split()


def test_pip(tmp_path):
    own = tmp_path / "own"
    run(sys.executable, "-m", "venv", "--system-site-packages", own)
    # From a copy, since what pip builds stays in the folder; quick to compile, not to run.
    for part in ("cmake", "src", "include", "bindings", "docs", "packaging", "plugins"):
        shutil.copytree(ROOT / part, tmp_path / "source" / part)
    for part in ("CMakeLists.txt", "README.md", "LICENSE"):
        shutil.copy(ROOT / part, tmp_path / "source")
    run(own / "bin" / "pip", "install", "-q", "--no-build-isolation", "--no-index",
        tmp_path / "source" / "bindings" / "python",
        CMAKE_ARGS="-DCMAKE_BUILD_TYPE=Debug -DCMAKE_CXX_FLAGS=-O0")
    where, points = run(own / "bin" / "python", "-c", USE)
    assert where.startswith(str(own)) and points == "151"


def test_prefix(tmp_path):
    run("cmake", "--install", BUILD, "--prefix", tmp_path, "--component", "python")
    (folder,) = tmp_path.glob("lib/python3*/site-packages")
    where, points = run(sys.executable, "-c", USE, PYTHONPATH=str(folder))
    assert where.startswith(str(tmp_path)) and points == "151"
    assert (folder / "tavo" / "py.typed").exists()
