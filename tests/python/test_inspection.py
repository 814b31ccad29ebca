"""Every function of the inspection library, from a part to its report, beside what the program writes."""

import io
import json
import math

import numpy as np
import pytest

import qelt


def test_check_and_crop(cap, cscan, tmp_path):
    result = qelt.check_part(part=cap)
    assert result.is_mesh and result.can_be_prepared and result.format == "obj"
    assert result.analysis.face_count == 288 and len(result.analysis.rims) == 1
    cscan("crop", cap, tmp_path / "program.obj", "--box", "-9,-9,-99,9,9,99")
    cropped = qelt.crop_part(
        part=cap,
        result=tmp_path / "module.obj",
        choice={"boxes": [qelt.CropBox(low=(-9, -9, -99), high=(9, 9, 99))]},
    )
    assert 0 < cropped.crop.kept_count < 288 and cropped.can_be_prepared
    assert (tmp_path / "module.obj").read_bytes() == (tmp_path / "program.obj").read_bytes()


def test_faults_are_told_with_their_remedies(tube):
    result = qelt.check_part(part=tube)
    assert not result.can_be_prepared
    fault = next(fault for fault in result.faults if fault.is_in_the_way)
    assert fault.kind == "tube" and fault.remedy.startswith("cscan cut")


def test_import_repairs_and_maps_axes(cap, tmp_path):
    result = qelt.import_part(
        in_=cap, out=tmp_path / "a.obj", scale=2.0, axes="x,-z,y", repair=qelt.PartRepairOptions(largest_hole=3)
    )
    assert result.triangles_out == 288 and result.repair.added_count == 0
    first, second = qelt.Mesh.load(cap).points, qelt.Mesh.load(tmp_path / "a.obj").points
    assert np.allclose(second, 2 * first[:, [0, 2, 1]] * [1, -1, 1], atol=1e-4)
    part = qelt.load_part(tmp_path / "a.obj")
    assert part.points.shape == (169, 3) and part.triangles.shape == (288, 3)
    with pytest.raises(ValueError, match="three axes such as"):
        qelt.import_part(in_=cap, out=tmp_path / "b.obj", axes="x,x,y")


def test_cut(tube, cscan, tmp_path):
    cscan("cut", tube, tmp_path / "program.obj", "--metric", "max", "--axis", "z", "--across", "x")
    result = qelt.cut(
        part=tube, result=tmp_path / "module.obj", cut={"is_from_greatest": True, "axis": 2, "normal_axis": 0}
    )
    assert (tmp_path / "module.obj").read_bytes() == (tmp_path / "program.obj").read_bytes()
    assert result.cut_file.exists() and result.part.cut_entry_count > 10


def test_reconstruct_and_neighbours(cloud, cscan, tmp_path):
    cscan("reconstruct", cloud, tmp_path / "program.obj")
    result = qelt.reconstruct(cloud=cloud, part=tmp_path / "module.obj")
    assert (tmp_path / "module.obj").read_bytes() == (tmp_path / "program.obj").read_bytes()
    assert result.repair.cloud.spacing.form == "even"
    points = qelt.load_part(cloud).points
    place = points[17]
    found = qelt.find_neighbours(cloud=cloud, place=place, count=5)
    indices, distances = qelt.NearestPoints(points).nearest([place], 5)
    assert found[0].index == indices[0, 0] == 17 and found[0].distance == distances[0, 0] == 0.0
    order = np.argsort(np.linalg.norm(points.astype(np.float32) - place, axis=1), kind="stable")[:5]
    assert set(indices[0]) == set(order)
    assert qelt.spacing_of(points).form == "even"
    thin = qelt.thinned(points, 2 * qelt.spacing_of(points).nearest)
    assert 0 < len(thin) < len(points)


def test_prepare_draws_its_pictures(cap, tmp_path):
    drawn = qelt.draw_preparation(
        prepare=qelt.PrepareOptions(part=cap, grid=tmp_path / "a.quads"), image_prefix=str(tmp_path / "a")
    )
    assert drawn.prepared.is_fit and [path.name for path in drawn.images] == ["a_map.png", "a_pixels.png"]
    assert all(path.read_bytes().startswith(b"\x89PNG") for path in drawn.images)
    told = qelt.prepare(part=cap, grid=tmp_path / "b.quads", resolution={"width": 50})
    assert told.mesh.flat.any() and len(told.maps) == 2 and told.map.quality.turned_count == 0
    assert told.shortcomings == () and told.grid.extent_u == told.surface.extents[0]


@pytest.mark.parametrize(
    ("derivation", "arguments"),
    [
        (qelt.FlattenGrid(), ["--flatten"]),
        (qelt.NormaliseGrid(size=3), ["--normalise", "3"]),
        (qelt.ThinOutGrid(is_factor=True, value=2), ["--factor", "2"]),
        (qelt.MirrorGrid(plane="plane_xz", axis="axis_v"), ["--mirror", "xz", "--along", "v"]),
        (qelt.ScaleGrid(scale=2), ["--scale", "2"]),
        (qelt.RestrictGrid(low=(3, 4), high=(20, 21)), ["--restrict", "3,4,20,21"]),
    ],
)
def test_derive(prepared, cscan, tmp_path, derivation, arguments):
    summary = qelt.derive(source=prepared, result=tmp_path / "module.quads", derivation=derivation)
    cscan("derive", prepared, tmp_path / "program.quads", *arguments)
    assert (tmp_path / "module.quads").read_bytes()[1024:] == (tmp_path / "program.quads").read_bytes()[1024:]
    assert summary.valid_node_count == qelt.Grid.from_file(tmp_path / "module.quads").valid.sum()


def test_derive_wants_a_class(prepared, tmp_path):
    with pytest.raises(TypeError, match="needs one of FlattenGrid, NormaliseGrid"):
        qelt.derive(source=prepared, result=tmp_path / "a.quads", derivation={"scale": 2})


def test_info(prepared, cap, cloud, shots, measured, tmp_path):
    info = qelt.file_info_of(file=prepared)
    assert isinstance(info, qelt.GridFileInfo) and info.record.misfits == ()
    assert info.header.extent_u == info.grid.extent_u and info.byte_count == prepared.stat().st_size
    assert isinstance(qelt.file_info_of(file=cap), qelt.MeshFileInfo)
    assert isinstance(qelt.file_info_of(file=cloud), qelt.CloudFileInfo)
    table = qelt.file_info_of(file=shots)
    assert isinstance(table, qelt.TableFileInfo) and table.row_count > 1000
    result = qelt.result_info_of(measured[0])
    assert result.coverage.reached_share == measured[1].coverage.reached_share


def test_scan_writes_the_programs_table(prepared, cscan, tmp_path):
    files = ["--csv", tmp_path / "p.csv", "--image", tmp_path / "p"]
    cscan("scan", prepared, "--raster", "0.6", "--standoff", "20", "--direction", "0,0,-1", *files)
    raster = {"step": 0.6, "standoff": 20, "direction": (0, 0, -1)}
    scan = qelt.scan(grids=[{"file": prepared}], raster=raster, hits=tmp_path / "m.csv", do_compare=True)
    assert (tmp_path / "m.csv").read_bytes() == (tmp_path / "p.csv").read_bytes()
    assert scan.result.hits.valid.sum() > 1000 and scan.comparison.elsewhere_count == 0
    assert scan.surface.surface.sum() == qelt.Grid.from_file(prepared).summary().valid_quad_count
    drawn = qelt.draw_scan(
        scan={"grids": [{"file": prepared}], "raster": raster, "hits": tmp_path / "d.csv"},
        image_prefix=str(tmp_path / "d"),
    )
    assert [path.read_bytes() for path in drawn.images] == [
        (tmp_path / f"p_{name}.png").read_bytes() for name in ("distance", "angle", "coverage")
    ]
    assert (tmp_path / "d.csv").read_bytes() == (tmp_path / "p.csv").read_bytes()


def test_footprint_and_selftest(prepared, tmp_path):
    beam = {"origin": (0, 0, 20), "axis_a": (1, 0, 0), "axis_b": (0, -1, 0), "cotangent": 5.67, "aperture_radius": 1.5}
    drawn = qelt.draw_footprint(grid=prepared, beam=beam, image=tmp_path / "f.png")
    assert drawn.quad == qelt.Grid.from_file(prepared).footprint(**beam).quad
    assert (tmp_path / "f.png").exists()
    tested = qelt.selftest(grid=prepared, line_count=20)
    assert tested.pass_count > 100 and tested.failure_count == 0


def test_fits(tmp_path):
    rng = np.random.default_rng(5)
    directions = rng.normal(size=(300, 3))
    directions /= np.linalg.norm(directions, axis=1)[:, None]
    points = (3 + 4 * directions).astype(np.float32)
    sphere = qelt.fit_sphere(points)
    assert np.allclose(sphere.centre, 3, atol=1e-3) and math.isclose(sphere.radius, 4, rel_tol=1e-3)
    np.savetxt(tmp_path / "cloud.xyz", points, fmt="%.9g")
    assert qelt.fit(surface="sphere", cloud=tmp_path / "cloud.xyz").radius == sphere.radius
    angles, heights = rng.uniform(0, 6, 200), rng.uniform(0, 5, 200)
    normals = np.column_stack([np.cos(angles), np.sin(angles), np.zeros(200)])
    around = 2 * normals + np.column_stack([np.zeros((200, 2)), heights])
    cylinder = qelt.fit_cylinder(around, normals)
    assert math.isclose(cylinder.radius, 2, rel_tol=1e-3) and math.isclose(abs(cylinder.axis_direction[2]), 1, rel_tol=1e-4)
    with pytest.raises(ValueError, match="points and normals need the same length"):
        qelt.fit_cylinder(around, normals[:5])


def test_registrations(tmp_path):
    sources = np.array([[0, 0, 0], [40, 0, 0], [0, 30, 0], [5, 6, 20.0]])
    turn = np.array([[0, -1, 0], [1, 0, 0], [0, 0, 1.0]])
    targets = sources @ turn.T + [1, 2, 3]
    assert np.allclose(qelt.rigid_registration(sources[:3], targets[:3]).map, turn, atol=1e-3)
    assert np.allclose(qelt.affine_registration(sources, targets).map, turn, atol=1e-4)
    fit = qelt.fit_frame(sources, targets)
    assert fit.rms < 1e-9 and np.allclose(fit.frame.translation, [1, 2, 3]) and not fit.is_mirrored
    qelt.write_frame(tmp_path / "frame.json", fit.frame)
    assert qelt.read_frame(tmp_path / "frame.json").translation == fit.frame.translation
    np.savetxt(
        tmp_path / "pairs.csv", np.column_stack([sources, targets]), "%.9g", ",", header="sx,sy,sz,tx,ty,tz", comments=""
    )
    told = qelt.register_points(pairs=tmp_path / "pairs.csv", frame=tmp_path / "out.json", unit="mm")
    assert told.is_rigid and told.fit.rms < 1e-6 and json.loads((tmp_path / "out.json").read_text())
    with pytest.raises(RuntimeError):
        qelt.fit_frame(sources[:2], targets[:2])


def test_measured_scan(measured, prepared, shots, tmp_path):
    path, scan = measured
    result = scan.result
    assert scan.figures.shot_count == sum(1 for _ in open(shots)) - 1
    assert scan.coverage.reached_share > 0.9 and scan.figures.incidence.median < 45
    amplitude = result.value("amp:max")
    assert amplitude.shape == result.states.shape == (result.height, result.width)
    assert result.points.shape == (result.height, result.width, 3) and not amplitude.flags.writeable
    assert set(np.unique(amplitude[~np.isnan(amplitude)])) == {12.0, 80.0}
    assert qelt.PIXEL_STATES[3] == "echo" and (result.states == 3).sum() == (~np.isnan(amplitude)).sum()
    assert [each.name for each in result.values][:2] == ["amp:max", "tof:min"]
    assert np.shares_memory(amplitude, result.values[0].values)
    assert result.unit == "mm" and json.loads(result.record)
    again = qelt.read_result(path)
    assert again.value("amp").tobytes() == amplitude.tobytes()
    qelt.write_result(tmp_path / "again.h5", again)
    assert qelt.read_result(tmp_path / "again.h5").areas.tobytes() == result.areas.tobytes()
    kept = qelt.read_shots(path)
    assert len(kept.lines) == scan.figures.shot_count and kept.origins.size == 3 * len(kept.lines)
    assert qelt.coverage_of(again).reached_area == scan.coverage.reached_area
    with pytest.raises(qelt.Failure, match="amp"):
        result.value("nothing")


def test_measured_scan_is_the_programs_file(prepared, shots, cscan, tmp_path):
    cscan("scan", prepared, "--data", shots, "--value", "amp:max", "--result", tmp_path / "p.h5", "--unit", "mm")
    drawn = qelt.draw_measured_scan(
        scan={
            "grids": [{"file": prepared}],
            "shots": {"shots": shots},
            "quantities": {"values": [qelt.ValueRequest(quantity="amp")]},
            "result": tmp_path / "m.h5",
            "unit": "mm",
        },
        image_prefix=str(tmp_path / "m"),
    )
    assert drawn.images and all(path.exists() for path in drawn.images)
    assert (tmp_path / "m.h5").read_bytes() == (tmp_path / "p.h5").read_bytes()


def test_indications(measured, cscan, tmp_path):
    path, scan = measured
    options = {"value": "amp:max", "threshold": {"number": 50.0}, "is_below": True, "min_area": 2.0}
    found = qelt.search_indications(scan.result, **options)
    assert len(found.indications) == 1
    disc = found.indications[0]
    assert np.allclose(disc.centre.point[:2], (4, 2), atol=0.3) and math.isclose(disc.area, 9 * math.pi, rel_tol=0.15)
    assert disc.peak == 12.0 and disc.outlines[0].shape[1] == 2 and disc.pixels.dtype == np.uint32
    cscan(
        "indications", path, tmp_path / "p.csv", "--value", "amp:max", "--threshold", "50", "--below", "--min-area", "2"
    )
    table = qelt.draw_indications(
        indications={"result": path, "table": tmp_path / "m.csv", "search": options}, image=tmp_path / "m.png"
    )
    assert (tmp_path / "m.csv").read_bytes() == (tmp_path / "p.csv").read_bytes()
    assert len(table.search.indications) == 1 and (tmp_path / "m.png").exists()
    poses = qelt.indications(
        result=path, table=tmp_path / "n.csv", search=options, poses=tmp_path / "poses.csv", standoff=20
    )
    assert poses.result.width == scan.result.width and (tmp_path / "poses.csv").exists()
    with pytest.raises(qelt.Failure):
        qelt.search_indications(scan.result, value="amp", threshold={"number": 5000.0})


def test_path(prepared, cscan, tmp_path):
    cscan("path", prepared, tmp_path / "p.csv", "--step", "1", "--standoff", "20")
    plan = qelt.plan_path(grid=prepared, path=tmp_path / "m.csv", settings={"step": 1, "standoff": 20})
    assert (tmp_path / "m.csv").read_bytes() == (tmp_path / "p.csv").read_bytes()
    assert plan.is_fit and plan.check.coverage.reached_share > 0.99
    assert plan.path.poses[0].kind == "scan" and plan.path.line_count > 10


def test_pictures_and_exports(measured, cscan, tmp_path):
    path, scan = measured
    qelt.draw_result(result=path, value="amp", image=tmp_path / "a.png", style={"map": "grey", "limits": (0, 100)})
    assert (tmp_path / "a.png").read_bytes().startswith(b"\x89PNG")
    picture = qelt.value_picture(scan.result, "amp", map="grey")
    assert picture.dtype == np.uint8 and picture.shape[2] == 3 and len(np.unique(picture)) > 5
    assert qelt.state_picture(scan.result).shape[2] == 3
    cscan("export", path, tmp_path / "p.npz")
    exported = qelt.export_result(result=path, output=tmp_path / "m.npz")
    assert (tmp_path / "m.npz").read_bytes() == (tmp_path / "p.npz").read_bytes()
    assert exported.values[0] == "amp:max"
    arrays = np.load(io.BytesIO((tmp_path / "m.npz").read_bytes()))
    assert any(arrays[name].shape == scan.result.states.shape for name in arrays.files if name.endswith("max"))
    for suffix, limits in (("vts", None), ("ply", qelt.ColourLimits(low=0, high=99)), ("tif", None)):
        told = ["--limits", "0,99"] if limits else []
        cscan("export", path, tmp_path / f"p.{suffix}", "--value", "amp", *told)
        qelt.export_result(result=path, output=tmp_path / f"m.{suffix}", value="amp", limits=limits)
        assert (tmp_path / f"m.{suffix}").read_bytes() == (tmp_path / f"p.{suffix}").read_bytes()


def test_pages(measured, cscan, tmp_path):
    path, _ = measured
    report = qelt.report(result=path, page=tmp_path / "report.html")
    assert report.is_as_recorded and report.picture_count > 0 and report.inputs[0].state == "as_recorded"
    cscan("report", path, tmp_path / "program.html")
    assert (tmp_path / "report.html").read_bytes() == (tmp_path / "program.html").read_bytes()
    if qelt.has_page():
        view = qelt.view(input=path, output=tmp_path / "page.html")
        assert view.kind == "of_result" and view.byte_count == (tmp_path / "page.html").stat().st_size
    else:
        with pytest.raises(qelt.Failure):
            qelt.view(input=path, output=tmp_path / "page.html")


def test_frame_correction(prepared, tmp_path):
    """Shots that were told 0.4 too low are put right along the one motion that the bowl tells best."""
    from conftest import beams_over

    grid = qelt.Grid.from_file(prepared)
    origins, directions = beams_over(grid, step=0.9)
    hits = grid.intersect(origins, directions)
    origins, directions = origins[hits.valid], directions[hits.valid]
    times = 2 * hits.distances[hits.valid] / 1480.0 * 1e3
    told = origins - [0, 0, 0.4]
    table = np.column_stack([told, directions, times])
    np.savetxt(
        tmp_path / "s.csv", table, "%.9g", ",", comments="", header="ox[mm],oy[mm],oz[mm],dx,dy,dz,front[us]"
    )
    qelt.write_frame(tmp_path / "frame.json", qelt.Frame(unit="mm"))
    qelt.measured_scan(
        grids=[{"file": prepared}],
        shots={"shots": tmp_path / "s.csv", "frame": tmp_path / "frame.json"},
        quantities={"front": {"time": "front", "speed": 1480.0}},
        result=tmp_path / "s.h5",
        do_keep_shots=True,
    )
    corrected = qelt.correct_frame(
        result=tmp_path / "s.h5",
        front="front",
        couplant_speed=1480.0,
        frame=tmp_path / "frame.json",
        is_accepted=True,
        out=tmp_path / "better.json",
    )
    assert corrected.fit.after < 0.05 < corrected.fit.before
    assert math.isclose(corrected.frame.translation[2], 0.4, abs_tol=0.1)
    assert (tmp_path / "better.json").exists() and corrected.is_written


def test_versions():
    assert qelt.library_version() == qelt.__version__


def test_a_part_in_a_cells_coordinates_comes_with_its_frame(cap, tmp_path):
    frame = tmp_path / "frame.json"
    rotation = [[1, 0, 0], [0, 1, 0], [0, 0, 1]]
    frame.write_text(json.dumps({"kind": "rigid frame", "version": 1, "rotation": rotation, "translation": [1, 2, 3]}))
    qelt.import_part(in_=cap, out=tmp_path / "cell.obj")
    qelt.import_part(in_={"file": cap, "frame": frame}, out=tmp_path / "part.obj")
    moved = qelt.Mesh.load(tmp_path / "part.obj").points - qelt.Mesh.load(tmp_path / "cell.obj").points
    assert np.allclose(moved, [1, 2, 3], atol=1e-4)
