"""Builds the extension module by the project's own CMake and puts it beside the Python files."""
import os
import pathlib
import re
import shlex
import subprocess
import sys

from setuptools import Extension, setup
from setuptools.command.build_ext import build_ext

ROOT = pathlib.Path(__file__).resolve().parents[2]


class BuildByCMake(build_ext):
    """The one extension, from a build tree of its own; CMAKE_ARGS has further options."""

    def build_extension(self, ext):
        tree = pathlib.Path(self.build_temp).resolve()
        target = pathlib.Path(self.get_ext_fullpath(ext.name)).resolve()
        parts = ("TOOLS", "TESTS", "GDAL", "BENCH", "FUZZ")
        wanted = shlex.split(os.environ.get("CMAKE_ARGS", ""))
        subprocess.run(["cmake", "-S", ROOT, "-B", tree, "-DCMAKE_BUILD_TYPE=Release",
                        "-DTAVO_BUILD_PYTHON=ON", "-DCMAKE_UNITY_BUILD=ON",
                        f"-DPython_EXECUTABLE={sys.executable}",
                        *(f"-DTAVO_BUILD_{part}=OFF" for part in parts), *wanted],
                       check=True)
        subprocess.run(["cmake", "--build", tree, "--target", "tavo_python",
                        "--parallel", str(os.cpu_count() or 1)], check=True)
        self.copy_file(tree / "python" / "tavo" / target.name, target)


version = re.search(r"VERSION (\d+\.\d+\.\d+)", (ROOT / "CMakeLists.txt").read_text())
setup(version=version.group(1), ext_modules=[Extension("tavo._tavo", [])],
      cmdclass={"build_ext": BuildByCMake})
