#!/usr/bin/python3
"""Speed of the Python package as ratios of medians, all measured in one run:
python.py TAVO [POINTS], with PYTHONPATH naming the package. See docs/performance.md."""
import csv
import datetime
import pathlib
import statistics
import subprocess
import sys
import tempfile
import threading
import time

import pandas

import tavo

COLUMNS = ("PointNo", "PointID", "CLASS", "East", "North", "Elevation", "CodeNo", "Code", "Date")
ROUNDS = 5


def write(folder, count):
    """The same points as a survey and as CSV."""
    rows = "".join(
        f'{n},"P{n}",MEAS,{400000 + n * 7919 % 1000000 / 1000:.4f},'
        f'{5300000 + n * 104729 % 1000000 / 1000:.4f},{400 + n % 1000 / 10:.4f},{n % 50},"C{n % 50:03d}",'
        f'{1 + n % 28:02d}-09-2024/{n // 3600 % 24:02d}:{n // 60 % 60:02d}:{n % 60:02d}.0\n'
        for n in range(1, count + 1))
    survey, table = folder / "points.tvo", folder / "points.csv"
    survey.write_text(f"DATABASE\nPOINTS ({','.join(COLUMNS)})\n" + rows.replace("\n", ";\n") +
                      "END POINTS\nEND DATABASE\n")
    table.write_text(",".join(COLUMNS) + "\n" + rows)
    return survey, table


def by_csv_module(path):
    """What a program of one's own would do with such a text."""
    rows = []
    with open(path, newline="") as file:
        for row in csv.reader(line.rstrip(";\n") for line in file):
            if len(row) == len(COLUMNS) and row[0].isdigit():
                rows.append((int(row[0]), row[1], row[2], float(row[3]), float(row[4]), float(row[5]),
                             int(row[6]), row[7],
                             datetime.datetime.strptime(row[8], "%d-%m-%Y/%H:%M:%S.%f")))
    return pandas.DataFrame(rows, columns=COLUMNS)


def in_threads(paths):
    """All at once."""
    threads = [threading.Thread(target=tavo.read, args=(path,)) for path in paths]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()


def medians(works):
    """Seconds of each work, in turn, so that what else the machine does meets all of them."""
    times = {name: [] for name in works}
    for _ in range(ROUNDS):
        for name, work in works.items():
            began = time.perf_counter()
            work()
            times[name].append(time.perf_counter() - began)
    return {name: statistics.median(values) for name, values in times.items()}


def main(tool, count):
    """Prints the seconds and the ratios."""
    with tempfile.TemporaryDirectory() as name:
        files = [write(pathlib.Path(name), count // 8)[0].read_bytes()] * 8
        survey, table = write(pathlib.Path(name), count)
        seconds = medians({
            "tavo check": lambda: subprocess.run([tool, "check", survey], check=True, capture_output=True),
            "tavo.read": lambda: tavo.read(survey),
            "to a DataFrame": lambda: tavo.read(survey).to_pandas("POINTS"),
            "pandas.read_csv": lambda: pandas.read_csv(table, engine="c"),
            "csv module": lambda: by_csv_module(survey),
            "8 files in 8 threads": lambda: in_threads(files),
            "8 files one by one": lambda: [tavo.read(part) for part in files],
        })
    for work, taken in seconds.items():
        print(f"{work:24}{taken:8.3f} s")
    for over, under, goal in (("tavo.read", "tavo check", "at most 2.5"),
                              ("csv module", "to a DataFrame", "at least 10"),
                              ("pandas.read_csv", "to a DataFrame", "above 1"),
                              ("8 files one by one", "8 files in 8 threads", "above 1")):
        print(f"{over} / {under}: {seconds[over] / seconds[under]:.2f} ({goal})")


if __name__ == "__main__":
    main(sys.argv[1], int(sys.argv[2]) if len(sys.argv) > 2 else 1000000)
