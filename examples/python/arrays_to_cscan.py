"""From arrays to a C-scan: a part, its grid of pixels, a raster of beams, and a picture of the distances."""

import sys

import matplotlib.pyplot as plt
import numpy as np

import qelt

x, y = np.meshgrid(np.linspace(-30, 30, 61), np.linspace(-20, 20, 41))  # a measured surface, as arrays
points = np.stack([x, y, 6 - (x / 12) ** 2 + 0.5 * np.sin(y / 4)], axis=-1).reshape(-1, 3)
low = np.arange(points.shape[0]).reshape(x.shape)[:-1, :-1].reshape(-1, 1)
faces = np.concatenate([low + [0, 1, 62], low + [0, 62, 61]])

mesh = qelt.Mesh.from_arrays(points, faces)
mesh.flatten()
grid = qelt.Grid.from_mesh(mesh, quad_area=0.25)  # the pixels of the C-scan

u, v = np.meshgrid(np.arange(-29.5, 29.5, 0.4), np.arange(-19.5, 19.5, 0.4))
origins = np.stack([u, v, np.full(u.shape, 40.0)], axis=-1).reshape(-1, 3)
hits = grid.intersect(origins, np.broadcast_to([0.0, 0.0, -1.0], origins.shape))

image = np.full(grid.extents[::-1], np.nan)  # a row for each v, a column for each u
image[hits.indices[hits.valid, 1], hits.indices[hits.valid, 0]] = hits.distances[hits.valid]
plt.imshow(image, origin="lower")
plt.colorbar(label="distance to the probe")
plt.savefig(sys.argv[1] if len(sys.argv) > 1 else "cscan.png")
print(f"{hits.valid.mean():.1%} of {len(hits)} beams met the part")
