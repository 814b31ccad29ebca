"""Batches of beams: the answers of the library, whatever the arrays are like."""

import csv
import threading

import numpy as np
import pytest

import qelt
from conftest import beams_over


def rows_of(path):
    with open(path, newline="") as file:
        return list(csv.DictReader(file))


@pytest.mark.parametrize("search", ["sure", "walk"])
def test_hits_are_those_of_the_programs_table(prepared, cscan, tmp_path, search):
    grid = qelt.Grid.from_file(prepared)
    origins, directions = beams_over(grid)
    header = "ox,oy,oz,dx,dy,dz"
    np.savetxt(
        tmp_path / "beams.csv", np.column_stack([origins, directions]), "%.17g", ",", header=header, comments=""
    )
    files = ["--beams", tmp_path / "beams.csv", "--csv", tmp_path / "hits.csv", "--image", tmp_path / "hits"]
    cscan("scan", prepared, *files, "--search", search)
    rows = rows_of(tmp_path / "hits.csv")
    hits = grid.intersect(origins, directions, search)
    assert len(hits) == len(rows) > 1000
    assert 0.5 < hits.valid.mean() < 0.95
    for i, row in enumerate(rows):
        assert hits.valid[i] == (row["valid"] == "1")
        assert hits.states[i] == ["miss", "hit", "edge"].index(row["state"])
        if hits.valid[i]:
            assert tuple(hits.indices[i]) == (int(row["u"]), int(row["v"]))
            assert tuple(hits.points[i]) == tuple(np.float32(row[axis]) for axis in "xyz")
            assert (hits.distances[i], hits.angles[i]) == (float(row["distance"]), float(row["angle"]))
        else:
            assert (hits.indices[i] == -1).all() and np.isnan(hits.points[i]).all()
            assert np.isnan(hits.distances[i]) and np.isnan(hits.angles[i])


NAMES = ("indices", "points", "distances", "angles", "valid", "states")


def same(a, b):
    return all(getattr(a, name).tobytes() == getattr(b, name).tobytes() for name in NAMES)


def test_kinds_of_arrays_make_no_difference(grid):
    origins, directions = beams_over(grid, step=1.7)
    origins = origins.astype(np.float32).astype(np.float64)
    expected = grid.intersect(origins, directions)
    assert expected.indices.dtype == np.int32 and expected.points.dtype == np.float32
    assert expected.distances.dtype == expected.angles.dtype == np.float64
    assert expected.valid.dtype == bool and expected.states.dtype == np.uint8
    wide = np.zeros((len(origins), 9))
    wide[:, ::4] = origins
    locked = origins.copy()
    locked.flags.writeable = False
    kinds = [wide[:, ::4], locked, np.asfortranarray(origins), origins.astype(np.float32), origins.tolist()]
    kinds += [origins.astype(">f8"), origins[::-1].copy()[::-1]]
    for kind in kinds:
        assert same(grid.intersect(kind, np.ascontiguousarray(directions)), expected)
        assert same(grid.intersect(kind, directions.astype(int)), expected)


@pytest.mark.parametrize("search", ["sure", "walk"])
def test_pieces_of_a_batch_make_no_difference(prepared, search):
    first, second = qelt.Grid.from_file(prepared), qelt.Grid.from_file(prepared)
    origins, directions = beams_over(first, step=0.4)
    assert len(origins) > 5000
    whole = first.intersect(origins, directions, search)
    pieces = [
        second.intersect(origins[i : i + 777], directions[i : i + 777], search) for i in range(0, len(origins), 777)
    ]
    for name in NAMES:
        assert np.concatenate([getattr(piece, name) for piece in pieces]).tobytes() == getattr(whole, name).tobytes()


def test_no_beams_and_odd_beams(grid):
    assert len(grid.intersect(np.zeros((0, 3)), np.zeros((0, 3)))) == 0
    odd = np.array([[np.nan, 0, 9], [0, 0, np.inf], [0, 0, 9], [1e300, 0, 9]])
    for search in ("sure", "walk"):
        hits = grid.intersect(odd, [[0, 0, -1]] * 2 + [[0, 0, 0]] + [[0, 0, -1]], search)
        assert len(hits) == 4 and not hits.valid[[0, 2]].any()


@pytest.mark.parametrize(
    ("origins", "directions", "error", "text"),
    [
        (np.zeros((4, 2)), np.zeros((4, 3)), ValueError, "origins needs the shape (n, 3), not (4, 2)"),
        (np.zeros((4, 3)), np.zeros((4, 3, 1)), ValueError, "directions needs the shape (n, 3)"),
        (np.zeros(3), np.zeros(3), ValueError, "origins needs the shape (n, 3), not (3,)"),
        (np.zeros((4, 3)), np.zeros((5, 3)), ValueError, "need the same length, not 4 and 5"),
        (np.zeros((4, 3), complex), np.zeros((4, 3)), TypeError, "origins needs an array of numbers"),
        (np.array([["a"] * 3]), np.zeros((1, 3)), TypeError, "origins needs an array of numbers"),
        (np.array([[object()] * 3]), np.zeros((1, 3)), TypeError, "origins needs an array of numbers"),
    ],
)
def test_what_is_no_batch_is_refused(grid, origins, directions, error, text):
    with pytest.raises(error) as raised:
        grid.intersect(origins, directions)
    assert text in str(raised.value)


def test_an_unknown_search_is_refused(grid):
    with pytest.raises(ValueError, match="'search' needs one of 'sure', 'walk', not 'guess'"):
        grid.intersect([[0, 0, 1]], [[0, 0, -1]], "guess")


def test_a_huge_batch_that_no_memory_holds_is_an_error(grid):
    huge = np.broadcast_to(np.zeros((1, 3)), (2**40, 3))
    with pytest.raises(MemoryError):
        grid.intersect(huge, huge)


def test_groups_answer_for_all_their_grids(prepared, tmp_path):
    first = qelt.Grid.from_file(prepared)
    second = first.transformed(np.eye(3), translation=(100, 0, 0))
    second.offset = (200, 7)
    second.save(tmp_path / "second.quads")
    group = qelt.Group([first, second])
    groups = qelt.Groups.from_files([[prepared, tmp_path / "second.quads"]], [[(0, 0), (200, 7)]])
    assert group.box == groups.box == ((0, 0), (200 + second.extents[0], 7 + second.extents[1]))
    origins, directions = beams_over(first)
    there = origins + [100, 0, 0]
    alone = first.intersect(origins, directions)
    for hits in (group.intersect(there, directions), group.intersect(there, directions, "walk")):
        assert hits.valid.sum() >= 0.99 * alone.valid.sum()
        assert (hits.indices[hits.valid] >= (200, 7)).all()
    assert same(group.intersect(there, directions, "walk"), groups.intersect(there, directions))
    groups.set_position(3)


def test_a_group_keeps_its_grids():
    group = qelt.Group([qelt.Grid.plane((9, 9), 1.0)])
    assert group.intersect([[3.3, 2.1, 5]], [[0, 0, -1]]).indices.tolist() == [[3, 2]]


def test_turned_normals_turn_angles(grid):
    plain = grid.intersect([[0, 0, 9]], [[0, 0, -1]])
    grid.set_flip_normals(True)
    turned = grid.intersect([[0, 0, 9]], [[0, 0, -1]])
    assert np.isclose(plain.angles[0] + turned.angles[0], np.pi)


def test_grids_of_their_own_serve_threads_at_a_time(cap):
    mesh = qelt.Mesh.load(cap)
    mesh.flatten()
    grids = [qelt.Grid.from_mesh(mesh, 0.5) for _ in range(3)]
    origins, directions = beams_over(grids[0], step=0.3)
    expected = [grid.intersect(origins, directions, "walk") for grid in grids]
    found = [None] * 3

    def work(i):
        found[i] = grids[i].intersect(origins, directions, "walk")

    threads = [threading.Thread(target=work, args=(i,)) for i in range(3)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    assert all(same(a, b) for a, b in zip(found, expected))


def test_a_footprint(grid):
    footprint = grid.footprint(
        origin=(0, 0, 20), axis_a=(1, 0, 0), axis_b=(0, -1, 0), cotangent=5.67, aperture_radius=1.5
    )
    assert footprint.quad == tuple(grid.intersect([[0, 0, 20]], [[0, 0, -1]]).indices[0])
    assert len(footprint.ends) == 4
    with pytest.raises(RuntimeError):
        grid.footprint(origin=(999, 0, 20), axis_a=(1, 0, 0), axis_b=(0, -1, 0))
