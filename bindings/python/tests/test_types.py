"""Annotations hold for mypy, the stub of the extension module is what the module has, and the
examples of the docstrings run."""
import doctest
import importlib
import os
import pkgutil
import shutil
import subprocess

import pytest

import tavo
from conftest import ROOT

PACKAGE = ROOT / "bindings" / "python"


def run(*command):
    environment = {**os.environ, "MYPYPATH": os.environ["PYTHONPATH"]}
    done = subprocess.run(command, env=environment, capture_output=True, text=True, check=False)
    assert done.returncode == 0, done.stdout + done.stderr


@pytest.mark.skipif(shutil.which("mypy") is None, reason="mypy is not installed")
def test_mypy(tmp_path):
    config = f"--config-file={PACKAGE / 'pyproject.toml'}"
    run("mypy", config, f"--cache-dir={tmp_path}", str(PACKAGE / "tavo"))


@pytest.mark.skipif(shutil.which("stubtest") is None, reason="stubtest is not installed")
def test_the_stub_is_the_module(tmp_path):
    # Classes of the module have a metaclass that nobody needs to know.
    allowed = tmp_path / "allowed"
    allowed.write_text("".join(f"tavo._tavo.{name}\n" for name in ("Geometry", "Store", "Survey")))
    run("stubtest", f"--mypy-config-file={PACKAGE / 'pyproject.toml'}", f"--allowlist={allowed}",
        "tavo._tavo")


@pytest.mark.parametrize("name", ["tavo", *(f"tavo.{module.name}" for module in pkgutil.iter_modules(tavo.__path__))])
def test_docstrings(name):
    found = doctest.testmod(importlib.import_module(name))
    assert found.failed == 0
    for path in (PACKAGE / "tavo").glob("*.py"):
        assert path.read_text().startswith('"""'), path
