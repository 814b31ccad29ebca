"""Where the part lies in the cell: a frame by marks, how well they fit, and beams taken to the part with it."""

import pathlib
import sys

import numpy as np

import qelt

folder = pathlib.Path(sys.argv[1] if len(sys.argv) > 1 else ".")

on_part = np.array([[0, 0, 0], [200, 0, 0], [200, 120, 0], [0, 120, 10], [90, 60, 35.0]])
quarter_turn = np.array([[0, -1, 0], [1, 0, 0], [0, 0, 1.0]])
in_cell = on_part @ quarter_turn.T + [1000, 500, 250]
in_cell += np.random.default_rng(7).normal(scale=0.02, size=in_cell.shape)  # of the probing

fit = qelt.fit_frame(in_cell, on_part)  # takes what the cell tells to the part's coordinates
print(f"residual {fit.rms:.2f} mm, the worst mark is number {fit.worst + 1}")
qelt.write_frame(folder / "frame.json", fit.frame)

# The same by the file, as every command takes it.
grid = qelt.Grid.plane((200.0, 120.0), 1.0, centred=True).transformed(np.eye(3), translation=(100.0, 60.0, 0.0))
frame = qelt.read_frame(folder / "frame.json")
w, axis = frame.turn.w, np.array([frame.turn.x, frame.turn.y, frame.turn.z])  # a unit quaternion


def turned(vector):
    return vector + 2 * np.cross(axis, np.cross(axis, vector) + w * np.asarray(vector))


beam_in_cell = np.array([1000 - 60, 500 + 100, 250 + 80.0])  # over the middle of the part
origin = turned(beam_in_cell) + frame.translation
hits = grid.intersect([origin], [turned([0, 0, -1.0])])
print(f"quad {hits.indices[0, 0]} {hits.indices[0, 1]} at {hits.distances[0]:.1f} mm")
