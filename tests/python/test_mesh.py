"""Meshes from arrays, files and clouds."""

import gc
import os

import numpy as np
import pytest

import qelt

SQUARE = np.array([[0, 0, 0], [1, 0, 0], [1, 1, 0], [0, 1, 0]], dtype=np.float32)
HALVES = np.array([[0, 1, 2], [0, 2, 3]], dtype=np.int32)


def rows_of(path, kind):
    return np.array([line.split()[1:] for line in path.read_text().splitlines() if line.split()[:1] == [kind]])


def test_arrays_make_the_mesh_that_the_file_makes(cap):
    loaded = qelt.Mesh.load(cap)
    points, faces = rows_of(cap, "v").astype(np.float64), rows_of(cap, "f").astype(int) - 1
    made = qelt.Mesh.from_arrays(points, faces, name="cap")
    assert made.points.dtype == np.float32 and made.faces.dtype == np.int32
    assert made.points.tobytes() == loaded.points.tobytes() == points.astype(np.float32).tobytes()
    assert made.faces.tobytes() == loaded.faces.tobytes()
    assert made.name == loaded.name == "cap"

    def turned(face):
        first = min(range(3), key=lambda corner: face[corner])
        return tuple(int(face[(first + k) % 3]) for k in range(3))

    assert sorted(map(turned, made.faces)) == sorted(map(turned, faces))


def test_a_saved_mesh_is_what_the_program_writes(cap, cscan, tmp_path):
    cscan("import", cap, tmp_path / "program.obj")
    qelt.import_part(in_=cap, out=tmp_path / "module.obj")
    assert (tmp_path / "module.obj").read_bytes() == (tmp_path / "program.obj").read_bytes()


def test_flattened_mesh_is_saved_as_the_program_saves_it(cap, cscan, tmp_path):
    cscan("prepare", cap, tmp_path / "a.quads", "--mode", "developable", "--flat", tmp_path / "program.obj")
    mesh = qelt.Mesh.load(cap)
    assert mesh.flat.any() == False  # noqa: E712
    report = mesh.flatten("developable")
    assert report.is_trustworthy and report.solver == "direct"
    mesh.save(str(tmp_path / "module.obj"), flat=True)
    assert (tmp_path / "module.obj").read_bytes() == (tmp_path / "program.obj").read_bytes()
    assert mesh.flat.shape == (169, 2) and mesh.flat.min() == 0.0
    assert mesh.map_quality().turned_count == 0


@pytest.mark.parametrize("dtype", [np.float32, np.float64, ">f8", ">f4", np.float16, np.int64, np.uint8])
def test_points_of_any_numbers_become_floats(dtype):
    mesh = qelt.Mesh.from_arrays(SQUARE.astype(dtype), HALVES)
    assert mesh.points.tobytes() == SQUARE.tobytes()


@pytest.mark.parametrize("dtype", [np.int8, np.uint16, np.int32, np.uint32, np.int64, np.uint64, ">i4"])
def test_faces_of_any_whole_numbers(dtype):
    assert (qelt.Mesh.from_arrays(SQUARE, HALVES.astype(dtype)).faces == HALVES).all()


def test_arrays_of_any_strides_and_without_leave_to_write():
    wide = np.zeros((8, 7), dtype=np.float64)
    wide[::2, ::3] = SQUARE
    view = wide[::2, ::3]
    view.flags.writeable = False
    for points in (view, np.asfortranarray(SQUARE), SQUARE[::-1][::-1], SQUARE.tolist()):
        for faces in (HALVES, np.asfortranarray(HALVES), HALVES.tolist()):
            assert qelt.Mesh.from_arrays(points, faces).points.tobytes() == SQUARE.tobytes()


def test_an_array_at_an_odd_address_is_read():
    raw = np.zeros(SQUARE.nbytes + 1, dtype=np.uint8)
    points = raw[1:].view(np.float32).reshape(4, 3)
    points[:] = SQUARE
    assert not points.flags.aligned
    assert qelt.Mesh.from_arrays(points, HALVES).points.tobytes() == SQUARE.tobytes()


@pytest.mark.parametrize(
    ("points", "faces", "error", "text"),
    [
        (SQUARE[:, :2], HALVES, ValueError, "points needs the shape (n, 3), not (4, 2)"),
        (SQUARE.ravel(), HALVES, ValueError, "points needs the shape (n, 3), not (12,)"),
        (SQUARE, HALVES[:, :2], ValueError, "faces needs the shape (n, 3), not (2, 2)"),
        (SQUARE.astype(complex), HALVES, TypeError, "points needs an array of numbers, not of complex128"),
        (SQUARE.astype(str), HALVES, TypeError, "points needs an array of numbers"),
        (SQUARE > 0, HALVES, TypeError, "points needs an array of numbers, not of bool"),
        (None, HALVES, TypeError, "points needs an array of numbers"),
        (SQUARE, HALVES.astype(float), TypeError, "faces needs an array of whole numbers, not of float64"),
        (SQUARE, HALVES - 1, ValueError, "faces names a point in row 0 that is not there"),
        (SQUARE, HALVES + 1, ValueError, "faces names a point in row 1 that is not there"),
        (SQUARE, np.uint64(2**64 - 1) - HALVES.astype(np.uint64), ValueError, "faces names a point"),
        (SQUARE * np.nan, HALVES, ValueError, "points needs finite coordinates; those of row 0 are not"),
        (SQUARE.astype(np.float64) * 1e39, HALVES, ValueError, "points needs finite coordinates; those of row 1 are not"),
        (SQUARE, np.zeros((0, 3), int), RuntimeError, "Mesh construction failure"),
        (np.zeros((0, 3)), np.zeros((0, 3), int), RuntimeError, "Mesh construction failure"),
    ],
)
@pytest.mark.filterwarnings("ignore::RuntimeWarning")
def test_what_is_no_mesh_is_refused(points, faces, error, text):
    with pytest.raises(error) as raised:
        qelt.Mesh.from_arrays(points, faces)
    assert text in str(raised.value)


def test_no_reference_is_kept_or_lost():
    import sys

    points = SQUARE.copy()
    before = sys.getrefcount(points)
    for _ in range(50):
        qelt.Mesh.from_arrays(points, HALVES)
    gc.collect()
    assert sys.getrefcount(points) == before


def test_a_cloud_becomes_a_surface():
    x, y = np.meshgrid(np.arange(12.0), np.arange(10.0))
    rng = np.random.default_rng(3)
    points = np.column_stack([x.ravel(), y.ravel(), 0 * x.ravel()]) + 0.1 * rng.random((120, 3))
    mesh = qelt.Mesh.from_cloud(points)
    assert (mesh.points == points.astype(np.float32)).all()
    assert mesh.summary().face_count > 150
    with pytest.raises(RuntimeError, match="Cannot add floating triangle"):
        qelt.Mesh.from_cloud(points[:2])


def test_a_tube_is_slit_as_the_program_slits_it(tube, cscan, tmp_path):
    cscan("cut", tube, tmp_path / "program.obj", "--metric", "max", "--axis", "z", "--across", "x")
    mesh = qelt.Mesh.load(tube)
    assert len(mesh.boundary_loops()) == 2 and len(mesh.cut_pairs) == 0
    plane = mesh.cut_tube(is_from_greatest=True, axis=2, normal_axis=0)
    assert plane is not None
    assert len(mesh.boundary_loops()) == 1
    mesh.save(tmp_path / "module.obj")
    assert (tmp_path / "module.obj").read_bytes() == (tmp_path / "program.obj").read_bytes()
    again = qelt.Mesh.load(tmp_path / "module.obj")
    assert len(again.cut_pairs) >= len(mesh.cut_pairs) > 10
    with pytest.raises(ValueError, match="'metric' needs one of 'minimum', 'maximum', not 'middle'"):
        mesh.cut("middle", 2, 0)


def test_a_closed_or_missing_part_is_told_with_its_text(tmp_path):
    corners = np.array([[0, 0, 0], [1, 0, 0], [0, 1, 0], [0, 0, 1]])
    closed = qelt.Mesh.from_arrays(corners, [[0, 2, 1], [0, 1, 3], [1, 2, 3], [0, 3, 2]])
    with pytest.raises(RuntimeError, match="Mesh has no boundary"):
        closed.flatten()
    with pytest.raises(qelt.Failure, match="cannot be read"):
        qelt.Mesh.load(tmp_path / "none.obj")
    with pytest.raises(TypeError, match="'?path'? needs a str or os.PathLike"):
        qelt.Mesh.load(3)
    assert issubclass(qelt.Failure, RuntimeError) and isinstance(os.fspath(tmp_path), str)
