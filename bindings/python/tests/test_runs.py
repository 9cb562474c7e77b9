"""Errors, callbacks, Ctrl-C and threads: how a run ends, and what goes on meanwhile."""
import io
import signal
import subprocess
import sys
import threading
import time

import numpy
import pytest

import tavo
from conftest import EXAMPLES, text


class Own(Exception):
    """Not one of the package's."""


def test_an_error_has_status_and_text(tmp_path):
    (tmp_path / "file").write_bytes(b"")
    for source, words in ((tmp_path / "none.tvo", "no such file"), (tmp_path, "folder")):
        with pytest.raises(tavo.Error, match=words) as caught:
            tavo.read(source)
        assert caught.value.status == 2571 and str(source) in str(caught.value)
    with pytest.raises(TypeError):
        tavo.read(7)
    with pytest.raises(tavo.Error):
        tavo.read(b"", limit=-1)
    with pytest.raises(TypeError, match="integer"):
        tavo.read(b"", limit=1.5)


def test_callbacks_end_a_run_and_come_out_whole():
    body = text("POINTS (PointNo)\n" + "1;\n" * 100000 + "END POINTS")

    def fail(*_):
        raise Own("told")

    class Broken(io.BytesIO):
        read = fail

    for call in (lambda: tavo.read(body, on_progress=fail), lambda: tavo.read(Broken()),
                 lambda: tavo.check(body + b"x", on_progress=fail),
                 lambda: tavo.check(text("POINTS (PointNo)\nx;\nEND POINTS"), on_finding=fail)):
        with pytest.raises(Own, match="told") as caught:
            call()
        assert any(entry.name == "fail" for entry in caught.traceback)
    with pytest.raises(TypeError, match="binary"):
        tavo.read(io.StringIO("HEADER"))
    with pytest.raises(tavo.Error) as cancelled:
        tavo.read(body, on_progress=lambda done, total: False)
    assert cancelled.value.status == 2578
    with pytest.raises(ValueError, match="truth value"):
        tavo.read(body, on_progress=lambda done, total: numpy.zeros(2))
    seen = []
    tavo.read(body, on_progress=lambda done, total: seen.append((done, total)))
    assert seen == sorted(seen) and {total for _, total in seen} == {len(body)}


def test_limit():
    wrong = text("POINTS (PointNo)\n" + "x;\n" * 10 + "END POINTS")
    assert tavo.read(wrong).counts["errors"] == 10
    assert 0 < tavo.read(wrong, limit=3).counts["errors"] < 10


ENDLESS = """
import io, tavo
class Endless(io.RawIOBase):
    lines = 0
    def read(self, size=-1):
        self.lines += 1
        if self.lines == 1: print("reading", flush=True)
        return b"\\n" * size
try:
    tavo.read(Endless())
except KeyboardInterrupt:
    print("interrupted", flush=True)
"""


def test_ctrl_c_ends_a_long_run():
    run = subprocess.Popen([sys.executable, "-c", ENDLESS], stdout=subprocess.PIPE, text=True)
    assert run.stdout.readline() == "reading\n"
    time.sleep(0.2)
    run.send_signal(signal.SIGINT)
    assert run.communicate(timeout=60)[0] == "interrupted\n" and run.returncode == 0


def interrupted(work, after):
    """Runs ``work``, with a signal after so many seconds, whose exception comes out whole."""
    def fail(*_):
        raise Own("told")

    before = signal.signal(signal.SIGALRM, fail)
    try:
        signal.setitimer(signal.ITIMER_REAL, after)
        with pytest.raises(Own, match="told"):
            work()
    finally:
        signal.setitimer(signal.ITIMER_REAL, 0)
        signal.signal(signal.SIGALRM, before)


def seconds(work):
    """The shortest of three runs: on a busy machine one may take several times as long as the next."""
    times = [time.monotonic()]
    for _ in range(3):
        work()
        times.append(time.monotonic())
    return min(after - before for before, after in zip(times, times[1:]))


def test_a_signal_ends_the_writing(tmp_path):
    """No file is made, nor anything left beside it."""
    survey = tavo.read(text("POINTS (PointNo,PointID,East,North)\n" + '1,"a",1,2;\n' * 400000 + "END POINTS"))
    whole = seconds(survey.build)
    for call in (lambda: survey.build(tmp_path / "a.tvo"), lambda: survey.edit().build(tmp_path / "a.tvo")):
        interrupted(call, whole / 8)
    assert list(tmp_path.iterdir()) == []


def test_a_signal_ends_a_repair(tmp_path):
    """The old file and the target stay as they are."""
    path, target = tmp_path / "a.tvd", tmp_path / "b.tvd"
    rows = "".join(f'{n},"a";\n' for n in range(1, 100001))
    points = tavo.read(text(f"POINTS (PointNo,PointID)\n{rows}END POINTS")).points
    with tavo.Store(path, "create") as store:
        store.write("POINTS", points)
    file = path.read_bytes()
    whole = seconds(lambda: tavo.repair(path, target))
    target.write_bytes(b"stays")
    interrupted(lambda: tavo.repair(path, target), whole / 8)
    assert (path.read_bytes(), target.read_bytes()) == (file, b"stays")
    assert sorted(tmp_path.iterdir()) == [path, target]


def test_other_threads_run_while_one_reads():
    body = text("POINTS (PointNo,East)\n" + "1,1;\n" * 400000 + "END POINTS")
    counted = 0
    done = threading.Event()

    def read():
        tavo.read(body)
        done.set()

    reader = threading.Thread(target=read)
    reader.start()
    while not done.wait(0.001):
        counted += 1
    reader.join()
    assert counted > 10


def test_many_threads_on_one_survey():
    survey = tavo.read(EXAMPLES / "all-sections.tvo")
    found = []

    def use():
        found.append((survey.build(), survey.timeline().tobytes(), len(survey.to_geopandas("lines"))))

    threads = [threading.Thread(target=use) for _ in range(8)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    assert len(found) == 8 and len(set(found)) == 1
