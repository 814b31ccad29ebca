"""From an STL file to a table of indications: the part's grid, a made up measurement, what it shows."""

import pathlib
import sys

import numpy as np

import qelt

folder = pathlib.Path(sys.argv[1] if len(sys.argv) > 1 else ".")


def write_stl(path):
    """A shallow dome of 40 by 30 as a text STL, in place of the file that a customer sends."""
    x, y = np.meshgrid(np.linspace(-20, 20, 41), np.linspace(-15, 15, 31))
    nodes = np.stack([x, y, -(x**2 + y**2) / 120], axis=-1)
    a, b, c, d = nodes[:-1, :-1], nodes[:-1, 1:], nodes[1:, 1:], nodes[1:, :-1]
    triangles = np.concatenate([np.stack(t, axis=-2).reshape(-1, 3, 3) for t in [(a, b, c), (a, c, d)]])
    with open(path, "w") as file:
        file.write("solid dome\n")
        for triangle in triangles:
            corners = "\n".join("vertex %.6f %.6f %.6f" % tuple(corner) for corner in triangle)
            file.write(f"facet normal 0 0 1\nouter loop\n{corners}\nendloop\nendfacet\n")
        file.write("endsolid dome\n")


write_stl(folder / "dome.stl")
prepared = qelt.prepare(part=folder / "dome.stl", grid=folder / "dome.quads", resolution={"pixel": 0.5}, unit="mm")
assert prepared.is_written, prepared.shortcomings

# What the instrument would write: the echo is lost over a disc of 8 mm.
x, y = (each.ravel() for each in np.meshgrid(np.arange(-18, 18.1, 0.5), np.arange(-13, 13.1, 0.5)))
amplitude = np.where(np.hypot(x + 4, y - 3) < 4, 8, 75)
shots = np.column_stack([x, y, np.full(x.shape, 20), 0 * x, 0 * x, 0 * x - 1, amplitude])
heading = "ox[mm],oy[mm],oz[mm],dx,dy,dz,amp[%FSH]"
np.savetxt(folder / "shots.csv", shots, "%.6g", ",", header=heading, comments="")

scan = qelt.measured_scan(
    grids=[{"file": folder / "dome.quads"}],
    shots={"shots": folder / "shots.csv"},
    fill=0.5,
    result=folder / "scan.h5",
)
found = qelt.indications(
    result=folder / "scan.h5",
    search={
        "value": "amp",
        "threshold": {"is_share": True, "number": 0.5},
        "from_": 75,
        "is_below": True,
        "min_area": 1,
    },
    table=folder / "indications.csv",
)
print(f"{scan.figures.shot_count} shots")
for each in found.search.indications:
    print(f"indication {each.number}: {each.area:.1f} mm2 at {each.centre.point[0]:.1f} {each.centre.point[1]:.1f}")
