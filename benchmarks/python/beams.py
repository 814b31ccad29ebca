"""Batches of beams beside the plain loop in C++: processor time, taken in turns, the best of each.

usage: PYTHONPATH=build/release/python /usr/bin/python3 benchmarks/python/beams.py build/release/benchmarks/beamloop
"""

import pathlib
import subprocess
import sys
import tempfile
import time
import tracemalloc

import numpy as np

import qelt

TURNS = 5


def beams_over(grid, step):
    points = grid.points[grid.valid]
    low, high = points.min(axis=0), points.max(axis=0)
    x, y = np.meshgrid(np.arange(low[0], high[0], step), np.arange(low[1], high[1], step))
    x[1::2] = x[1::2, ::-1]  # to and fro, as a probe moves
    down = np.broadcast_to([0.0, 0.0, -1.0], (x.size, 3))
    return np.stack([x.ravel(), y.ravel(), np.full(x.size, 80.0)], axis=1), np.ascontiguousarray(down)


def seconds_of(grid, origins, directions, search):
    start = time.process_time()
    hits = grid.intersect(origins, directions, search)
    return time.process_time() - start, int(hits.valid.sum())


def compare(program, folder, grid, origins, directions, search):
    numbers = folder / "beams"
    np.column_stack([origins, directions]).tofile(numbers)
    best_module, best_loop = np.inf, np.inf
    grid.intersect(origins[:1], directions[:1], search)  # the search is set up before
    for _ in range(TURNS):
        module, hit_count = seconds_of(grid, origins, directions, search)
        printed = subprocess.run([program, folder / "grid.quads", numbers, search], check=True, capture_output=True)
        loop, loop_hit_count = map(float, printed.stdout.split())
        assert hit_count == loop_hit_count, (hit_count, loop_hit_count)
        best_module, best_loop = min(best_module, module), min(best_loop, loop)
    per_beam = 1e9 / len(origins)
    print(
        f"{search}: {len(origins)} beams, {hit_count} hits: module {best_module * per_beam:.0f} ns a beam, "
        f"loop {best_loop * per_beam:.0f} ns, ratio {best_module / best_loop:.2f}"
    )


def tell_memory(grid, origins, directions):
    tracemalloc.start()
    hits = grid.intersect(origins, directions)
    arrays = sum(getattr(hits, n).nbytes for n in ("indices", "points", "distances", "angles", "valid", "states"))
    print(f"memory: {tracemalloc.get_traced_memory()[1]} bytes at most, of which results {arrays}")
    tracemalloc.stop()


def main():
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        qelt.Grid.sphere_cap(60.0, 0.5, 0.2).save(folder / "grid.quads")
        grid = qelt.Grid.from_file(folder / "grid.quads")
        origins, directions = beams_over(grid, 0.1)
        for search in ("sure", "walk"):
            compare(sys.argv[1], folder, grid, origins, directions, search)
        tell_memory(grid, origins, directions)


if __name__ == "__main__":
    main()
