"""Grids: their nodes as arrays, what is derived of them, and how long what is shown lives."""

import gc
import math

import numpy as np
import pytest

import qelt


def test_a_grid_is_the_file_that_the_program_writes(cap, cscan, tmp_path):
    cscan("prepare", cap, tmp_path / "program.quads", "--pixel", "0.5")
    result = qelt.prepare(part=cap, grid=tmp_path / "module.quads", resolution={"pixel": 0.5})
    assert (tmp_path / "module.quads").read_bytes() == (tmp_path / "program.quads").read_bytes()
    loaded = qelt.Grid.from_file(tmp_path / "program.quads")
    loaded.save(tmp_path / "again.quads")
    assert (tmp_path / "again.quads").read_bytes()[1024:] == (tmp_path / "program.quads").read_bytes()[1024:]
    assert (result.surface.points[result.surface.valid] == loaded.points[loaded.valid]).all()
    assert loaded.extents == (result.grid.extent_u, result.grid.extent_v)


def test_extension_is_that_of_the_program(cap, cscan, tmp_path):
    cscan("prepare", cap, tmp_path / "program.quads", "--pixel", "0.5", "--extend", "3", "--smooth", "2")
    plain = qelt.prepare(part=cap, grid=tmp_path / "plain.quads", resolution={"pixel": 0.5}).surface
    plain.extended(3, 2).save(tmp_path / "program2.quads")
    first, second = (qelt.Grid.from_file(tmp_path / name) for name in ("program.quads", "program2.quads"))
    assert first.points.tobytes() == second.points.tobytes()
    assert first.flags.tobytes() == second.flags.tobytes()
    assert plain.extents[0] + 6 == first.extents[0]


def test_nodes_are_copied_and_rows_are_shown(grid):
    points = grid.points
    height, width = grid.extents[1] + 1, grid.extents[0] + 1
    assert points.shape == (height, width, 3) and points.dtype == np.float32
    assert grid.valid.shape == grid.flags.shape == (height, width)
    assert grid.valid.dtype == bool and grid.flags.dtype == np.uint8
    assert ((grid.flags & 1) == grid.valid).all()
    for v in (0, 7, height - 1):
        row = grid.row(v)
        assert row.shape == (width, 3) and not row.flags.owndata and not row.flags.writeable
        assert row.tobytes() == points[v].tobytes()
        assert np.shares_memory(row, grid.row(v))
    points[:] = 0
    assert grid.points.any()
    with pytest.raises(ValueError, match="read-only"):
        grid.row(0)[0, 0] = 1
    for bad in (height, 2**32 - 1):
        with pytest.raises(IndexError):
            grid.row(bad)
    with pytest.raises(ValueError):
        grid.row(-1)


def test_a_row_outlives_its_grid(grid):
    expected = grid.points[5].tobytes()
    row = grid.row(5)
    del grid
    gc.collect()
    fill = [qelt.Grid.height_field() for _ in range(20)]
    assert row.tobytes() == expected and len(fill) == 20


def test_a_row_of_a_grid_in_a_result_outlives_the_result(cap, tmp_path):
    result = qelt.prepare(part=cap, grid=tmp_path / "a.quads", resolution={"pixel": 1.0})
    expected = result.surface.points[4].tobytes()
    row = result.surface.row(4)
    del result
    gc.collect()
    assert row.tobytes() == expected


def test_analytic_grids_lie_on_their_surfaces():
    plane = qelt.Grid.plane((4.0, 2.0), 0.5, centred=True)
    assert plane.extents == (8, 4) and (plane.points[..., 2] == 0).all()
    assert np.allclose(plane.points.reshape(-1, 3).mean(axis=0), 0)
    cylinder = qelt.Grid.cylinder_arc(5.0, 1.0, 8.0, 0.25)
    x, y = cylinder.points[cylinder.valid][:, 0], cylinder.points[cylinder.valid][:, 1]
    assert np.allclose(np.hypot(x, y), 5.0, atol=1e-5)
    sphere = qelt.Grid.sphere_cap(5.0, 0.5, 0.1)
    assert np.allclose(np.linalg.norm(sphere.points[sphere.valid], axis=1), 5.0, atol=1e-5)
    bowl = qelt.Grid.paraboloid((0, 0, 0), (1, 0, 0), (0, 1, 0), 0.2, 0.1, 2.0, 0.2)
    px, py, pz = bowl.points[bowl.valid].T
    assert np.allclose(np.abs(pz), (0.2 * px**2 + 0.1 * py**2) / 2, atol=1e-4)
    assert qelt.Grid.height_field().extents == (128, 128)
    with pytest.raises(qelt.Failure, match="larger than max_mb allows"):
        qelt.Grid.plane((1e4, 1e4), 0.1, max_mb=1)
    with pytest.raises(qelt.Failure):
        qelt.Grid.plane((-1, 1), 0.1)


def test_derived_grids(grid):
    thin = grid.thinned_out(factor=3)
    assert (thin.points == grid.points[::3, ::3]).all()
    assert grid.thinned_out(quads=500).summary().extent_u < grid.extents[0] / 2
    part = grid.restricted((10, 5), (30, 25))
    assert (part.points[part.valid] == grid.points[5:26, 10:31][grid.valid[5:26, 10:31]]).all()
    flat = grid.flattened().points[grid.valid]
    assert (flat[:, 2] == 0).all()
    normal = grid.normalised(2.0)
    extent = np.ptp(normal.points[normal.valid], axis=0).max()
    assert math.isclose(extent, 2.0, rel_tol=1e-5)
    moved = grid.transformed(np.eye(3), translation=(1, 2, 3))
    assert np.allclose(moved.points[grid.valid], grid.points[grid.valid] + [1, 2, 3], atol=1e-5)
    turned = grid.transformed([[0, -1, 0], [1, 0, 0], [0, 0, 1]])
    assert (turned.points[grid.valid][:, 0] == -grid.points[grid.valid][:, 1]).all()
    mirror = grid.mirrored("plane_yz")
    assert np.allclose(np.sort(mirror.points[mirror.valid][:, 0]), np.sort(-grid.points[grid.valid][:, 0]))
    with pytest.raises(TypeError, match="either 'factor' or 'quads'"):
        grid.thinned_out()
    with pytest.raises(ValueError, match="'plane' needs one of 'plane_yz'"):
        grid.mirrored("up")
    with pytest.raises(ValueError, match=r"'matrix' needs the shape \(3, 3\)"):
        grid.transformed(np.eye(3)[:2])


def test_what_derives_a_grid_leaves_the_grid_alone(grid):
    before = grid.points.tobytes()
    row = grid.row(9)
    expected = row.tobytes()
    for made in (grid.mirrored("plane_xy"), grid.transformed(2 * np.eye(3)), grid.extended(2)):
        assert made.points.tobytes() != before
    assert grid.points.tobytes() == before and row.tobytes() == expected


def test_settings_of_a_grid(grid):
    assert grid.offset == (0, 0)
    grid.offset = (5, -3)
    assert grid.offset == (5, -3)
    with pytest.raises(ValueError, match="a sequence of 2, not of 3"):
        grid.offset = (1, 2, 3)
    least, mean, greatest = grid.quad_areas
    assert least <= mean <= greatest
    assert grid.summary().mean_quad_area == mean
    assert grid.quad_sizes().quad_count == grid.summary().valid_quad_count


def test_a_damaged_file_is_a_failure(tmp_path):
    (tmp_path / "a.quads").write_bytes(b"no grid at all")
    with pytest.raises(qelt.Failure, match=r"a\.quads"):
        qelt.Grid.from_file(tmp_path / "a.quads")
    with pytest.raises(qelt.Failure, match="cannot be"):
        qelt.Grid.from_file(tmp_path / "none.quads")
