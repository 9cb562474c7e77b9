"""The code of docs/python.md runs, block by block, and prints what stands there."""
import doctest
import os
import re
import shutil

from conftest import EXAMPLES, ROOT


def test_page(tmp_path, monkeypatch):
    for name in ("survey", "mistakes", "all-sections"):
        shutil.copy(EXAMPLES / f"{name}.tvo", tmp_path)
    monkeypatch.chdir(tmp_path)
    page = (ROOT / "docs" / "python.md").read_text(encoding="utf-8")
    blocks = re.findall(r"^```python\n(.*?)^```", page, re.M | re.S)
    example = doctest.DocTestParser().get_doctest("\n".join(blocks), {}, "docs/python.md", None, 0)
    told = []
    failed = doctest.DocTestRunner().run(example, out=told.append).failed
    assert failed == 0, "".join(told)
    assert len(example.examples) > 30 and os.path.exists("summary.csv")
