"""One batch of beams at several grids as one: which of them each beam meets, and how many meet each."""

import numpy as np

import qelt

plate = qelt.Grid.plane((40.0, 30.0), 0.5, centred=True)  # at height 0
step = qelt.Grid.plane((10.0, 30.0), 0.5, centred=True).transformed(matrix=np.eye(3), translation=(0.0, 0.0, 4.0))
step.offset = (1000, 0)  # its place in the common scan plane
group = qelt.Group([plate, step])

x, y = np.meshgrid(np.arange(-24.8, 25, 0.4), np.arange(-14.8, 15, 0.4))
origins = np.stack([x, y, np.full(x.shape, 50.0)], axis=-1).reshape(-1, 3)
hits = group.intersect(origins, np.broadcast_to([0.0, 0.0, -1.0], origins.shape))

on_step = hits.valid & (hits.indices[:, 0] >= 1000)
on_plate = hits.valid & ~on_step
print(f"{len(hits)} beams: {on_plate.sum()} meet the plate, {on_step.sum()} the step, {(~hits.valid).sum()} nothing")
print(f"distances {hits.distances[on_plate].mean():.2f} and {hits.distances[on_step].mean():.2f}")
