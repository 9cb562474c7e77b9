"""Surveys for the tests: the examples, small texts, and as many made ones as are wanted."""
import os
import pathlib
import random

import pytest

ROOT = pathlib.Path(os.environ["TAVO_ROOT"])
BUILD = pathlib.Path(os.environ["TAVO_BUILD"])
EXAMPLES = ROOT / "examples"

HEADER = """HEADER
  UNITS
    ANGULAR GRADS
    LINEAR {linear}
    TIME DMY
  END UNITS
  OFFSETS
    EAST 1000
  END OFFSETS
END HEADER
"""


def text(body, linear="METRE"):
    """The bytes of a survey with a DATABASE of these lines."""
    return (HEADER.format(linear=linear) + f"DATABASE\n{body}\nEND DATABASE\n").encode()


def made(seed):
    """A survey of up to sixty points, some of whose lines are wrong."""
    draw = random.Random(seed)
    lines = []
    for number in range(draw.randrange(1, 60)):
        east, north = draw.uniform(0, 1e5), draw.uniform(0, 1e5)
        kind = draw.choice(["FIX", "MEAS", "NONE"]) if draw.random() < 0.1 else "MEAS"
        first = "x" if draw.random() < 0.03 else number
        lines.append(f'{first},"P{number}",{kind},{east:.3f},{north:.3f};')
    return text("POINTS (PointNo,PointID,CLASS,East,North)\n" + "\n".join(lines) + "\nEND POINTS")


@pytest.fixture(scope="session")
def surveys(tmp_path_factory):
    """Paths of 500 made surveys."""
    folder = tmp_path_factory.mktemp("surveys")
    paths = [folder / f"{seed}.tvo" for seed in range(500)]
    for seed, path in enumerate(paths):
        path.write_bytes(made(seed))
    return paths
