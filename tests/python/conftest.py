"""What the tests of the Python module share: the example parts, the program, a grid and a measured scan."""

import os
import pathlib
import subprocess

import numpy as np
import pytest

import qelt

EXAMPLES = pathlib.Path(__file__).parents[2] / "examples"


@pytest.fixture
def cap():
    return EXAMPLES / "cap.obj"


@pytest.fixture
def tube():
    return EXAMPLES / "tube.obj"


@pytest.fixture
def cloud():
    return EXAMPLES / "cloud.xyz"


@pytest.fixture
def cscan():
    """Runs the program; fails the test if it does not end well."""

    def run(*arguments):
        command = [os.environ["QELT_CSCAN"], *map(str, arguments)]
        outcome = subprocess.run(command, capture_output=True, text=True)
        assert outcome.returncode == 0, f"{command}\n{outcome.stdout}{outcome.stderr}"

    return run


@pytest.fixture
def grid(cap):
    """The cap in pixels of 0.5."""
    mesh = qelt.Mesh.load(cap)
    mesh.flatten()
    return qelt.Grid.from_mesh(mesh, 0.25)


def beams_over(grid, step=0.7, height=20.0):
    """Beams straight down over the grid's box and past its rim, as origins and directions (n, 3)."""
    points = grid.points[grid.valid]
    low, high = points.min(axis=0) - 1.0, points.max(axis=0) + 1.0
    x, y = np.meshgrid(np.arange(low[0], high[0], step), np.arange(low[1], high[1], step))
    origins = np.stack([x.ravel(), y.ravel(), np.full(x.size, height)], axis=1)
    return origins, np.broadcast_to([0.0, 0.0, -1.0], origins.shape)


@pytest.fixture
def prepared(cap, tmp_path):
    path = tmp_path / "cap.quads"
    assert qelt.prepare(part=cap, grid=path, resolution={"pixel": 0.5}, unit="mm").is_written
    return path


@pytest.fixture
def shots(prepared, tmp_path):
    """A table of what an instrument might have measured: full echoes but in a disc of radius 3."""
    grid = qelt.Grid.from_file(prepared)
    origins, directions = beams_over(grid, step=0.45)
    amplitudes = np.where(np.hypot(origins[:, 0] - 4.0, origins[:, 1] - 2.0) < 3.0, 12.0, 80.0)
    table = np.column_stack([origins, directions, amplitudes, np.full(len(origins), 4.0)])
    path = tmp_path / "shots.csv"
    np.savetxt(path, table, delimiter=",", comments="", header="ox,oy,oz,dx,dy,dz,amp[%FSH],tof[us]", fmt="%.6f")
    return path


@pytest.fixture
def measured(prepared, shots, tmp_path):
    path = tmp_path / "scan.h5"
    options = {"values": [{"quantity": "amp", "statistic": "max"}, {"quantity": "tof", "statistic": "min"}]}
    scan = qelt.measured_scan(
        grids=[{"file": prepared}], shots={"shots": shots}, quantities=options, result=path, do_keep_shots=True
    )
    return path, scan
