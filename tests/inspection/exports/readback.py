"""Reads exported samples with other programs' readers and compares every number with the samples' formulas.

Usage: readback.py FORMAT FOLDER. Ends with 77 where the reader is not installed.
"""

import math
import struct
import sys

SKIPPED = 77
WIDTH, HEIGHT = 7, 5
NO_SURFACE, NOT_REACHED, NO_ECHO, ECHO, SATURATED, REFUSED = range(6)
HOLE = {(2, 1), (3, 1), (2, 2), (3, 2)}
FIRST_STATES = [NO_ECHO, REFUSED, NOT_REACHED, SATURATED]

try:
    import numpy
except ImportError:
    print("skipped: python3-numpy is not installed")
    sys.exit(SKIPPED)


def state_of(u, v):
    if (u, v) in HOLE:
        return NO_SURFACE
    return FIRST_STATES[u] if v == 0 and u < len(FIRST_STATES) else ECHO


def plane(read, dtype=float):
    return numpy.array([[read(u, v) for u in range(WIDTH)] for v in range(HEIGHT)], dtype=dtype)


def node(u, v):
    return (math.nan,) * 3 if (u, v) == (3, 2) else (2.0 * u, 3.0 * v, u * v / 8.0)


def is_measured(u, v):
    return state_of(u, v) in (ECHO, SATURATED)


STATES = plane(state_of, int)
AMPLITUDES = plane(lambda u, v: 10.0 * u + v if is_measured(u, v) else math.nan)
DEPTHS = plane(lambda u, v: u / 4.0 if is_measured(u, v) else math.nan)
NODES = numpy.array([[node(u, v) for u in range(WIDTH + 1)] for v in range(HEIGHT + 1)])
CENTRES = (NODES[:-1, :-1] + NODES[1:, :-1] + NODES[:-1, 1:] + NODES[1:, 1:]) / 4.0
QUADS = int((STATES != NO_SURFACE).sum())


def expect(is_good, what):
    if not is_good:
        print("wrong:", what)
        sys.exit(1)


def expect_same(found, expected, what):
    found = numpy.asarray(found)
    expect(found.shape == expected.shape, f"{what}: shape {found.shape} instead of {expected.shape}")
    expect(numpy.array_equal(found.astype(float), expected.astype(float), equal_nan=True), f"{what}: {found}")


def read_npz(folder):
    import json

    arrays = numpy.load(folder + "/all.npz")
    expect_same(arrays["state"], STATES, "state")
    expect_same(arrays["amplitude_max"], AMPLITUDES, "amplitude")
    expect_same(arrays["depth_mean"], DEPTHS, "depth")
    expect_same(arrays["nodes_0"], NODES, "nodes")
    expect_same(arrays["point"], CENTRES, "centres")
    expect_same(arrays["refused"], plane(lambda u, v: 3 if (u, v) == (1, 0) else 0, int), "refused")
    expect_same(arrays["count"], plane(lambda u, v: int(is_measured(u, v) or (u, v) == (0, 0)), int), "count")
    expect(arrays["state"].dtype == numpy.uint8 and arrays["point"].dtype == numpy.float64, "types")
    expect((arrays["area"][STATES != NO_SURFACE] > 6.0).all(), "areas")
    expect(numpy.allclose((arrays["normal"] ** 2).sum(2)[STATES != NO_SURFACE], 1.0), "normals")
    about = json.loads(arrays["about.json"])
    expect(about["unit"] == "mm" and about["states"][NO_ECHO] == "no echo", "about.json")
    expect([value["array"] for value in about["values"]] == ["amplitude_max", "depth_mean"], "about.json: values")
    expect(about["values"][0]["ceiling"] == 100.0 and about["values"][1]["statistic"] == "mean", "about.json")
    import zipfile

    with zipfile.ZipFile(folder + "/all.npz") as archive:
        expect(archive.testzip() is None, "checksums")
        expect(all(one.date_time == (1980, 1, 1, 0, 0, 0) for one in archive.infolist()), "time stamps")
    two = numpy.load(folder + "/two.npz")
    expect(two["nodes_0"].shape == (3, 4, 3) and two["nodes_1"][0, 0, 0] == 100.0, "the second grid's nodes")


def read_tiff(folder):
    try:
        from PIL import Image
    except ImportError:
        print("skipped: python3-pil is not installed")
        sys.exit(SKIPPED)
    with Image.open(folder + "/all.tif") as image:
        expect(image.n_frames == 2, f"{image.n_frames} pages")
        for page, (values, label) in enumerate([(AMPLITUDES, "amplitude:max [%FSH]"), (DEPTHS, "depth:mean [mm]")]):
            image.seek(page)
            expect(image.mode == "F", f"mode {image.mode}")
            expect(image.tag_v2[317] == 3 and image.tag_v2[259] == 8, "predictor 3 and deflate")
            expect(306 not in image.tag_v2, "a time stamp")
            expect(image.tag_v2[270] == label, f"description {image.tag_v2[270]}")
            expect_same(numpy.array(image)[::-1], values, label)
    with Image.open(folder + "/depth.tiff") as image:
        expect(image.n_frames == 1, "one page")
        expect_same(numpy.array(image)[::-1], DEPTHS, "depth alone")


PLY_TYPES = {"double": "d", "uchar": "B", "uint": "I"}


def read_ply(folder):
    with open(folder + "/amplitude.ply", "rb") as file:
        head, body = file.read().split(b"end_header\n", 1)
    lines = head.decode("ascii").splitlines()
    expect(lines[:2] == ["ply", "format binary_little_endian 1.0"], "the head")
    comments = [line[8:] for line in lines if line.startswith("comment ")]
    expect("value amplitude:max [%FSH]" in comments, "the value's name")
    expect(any(one.startswith("colours from 0 %FSH (") and ") to 64 %FSH (" in one for one in comments), "limits")
    counts = [int(line.split()[2]) for line in lines if line.startswith("element ")]
    # The four quads around the missing node are gone, and with them no other node.
    expect(counts == [(WIDTH + 1) * (HEIGHT + 1) - 1, QUADS], f"counts {counts}")
    vertices = numpy.frombuffer(body, "<f8", 3 * counts[0]).reshape(-1, 3)
    face = struct.Struct("<B4I3BBd")
    expect(len(body) == vertices.nbytes + counts[1] * face.size, "the size")
    seen = set()
    for found in face.iter_unpack(body[vertices.nbytes:]):
        corners = vertices[list(found[1:5])]
        expect(found[0] == 4, "quads")
        u, v = int(corners[0, 0] / 2.0), int(corners[0, 1] / 3.0)
        expected = [node(u, v), node(u + 1, v), node(u + 1, v + 1), node(u, v + 1)]
        expect_same(corners, numpy.array(expected), f"corners of {u}, {v}")
        expect(found[8] == STATES[v, u], f"state of {u}, {v}")
        expect_same(found[9], AMPLITUDES[v, u], f"value of {u}, {v}")
        seen.add((u, v, found[5:8]))
    expect(len({one[:2] for one in seen}) == QUADS, "every quad once")
    colours = {one[:2]: one[2] for one in seen}
    expect(colours[(2, 0)] == (255, 255, 255), "what was not reached is white")
    expect(len({colours[(0, 0)], colours[(1, 0)], colours[(2, 0)], colours[(4, 4)]}) == 4, "colours of states")
    expect(colours[(0, 0)] == (15, 15, 15) and colours[(1, 0)] == (240, 150, 60), "colours of states")
    expect(any("2 no echo (15 15 15)" in one for one in comments), "their colours are told")
    brightness = [sum(colours[(u, 4)]) for u in range(WIDTH)]
    expect(brightness == sorted(brightness), "more is brighter")


def read_vts(folder):
    try:
        from vtkmodules.util.numpy_support import vtk_to_numpy
        from vtkmodules.vtkCommonCore import vtkPoints
        from vtkmodules.vtkCommonDataModel import vtkPolyData
        from vtkmodules.vtkFiltersCore import vtkCellDataToPointData, vtkProbeFilter
        from vtkmodules.vtkFiltersGeometry import vtkGeometryFilter
        from vtkmodules.vtkIOXML import vtkXMLMultiBlockDataReader, vtkXMLStructuredGridReader
    except ImportError:
        print("skipped: python3-vtk9 is not installed")
        sys.exit(SKIPPED)
    reader = vtkXMLStructuredGridReader()
    reader.SetFileName(folder + "/all.vts")
    reader.Update()
    grid = reader.GetOutput()
    expect(grid.GetDimensions() == (WIDTH + 1, HEIGHT + 1, 1), f"dimensions {grid.GetDimensions()}")

    def cells(name, data=None):
        array = (data or grid).GetCellData().GetArray(name)
        expect(array is not None, f"no array {name}")
        return vtk_to_numpy(array)

    expect_same(cells("amplitude:max [%FSH]").reshape(HEIGHT, WIDTH), AMPLITUDES, "amplitude")
    expect_same(cells("depth:mean [mm]").reshape(HEIGHT, WIDTH), DEPTHS, "depth")
    expect_same(cells("state").reshape(HEIGHT, WIDTH), STATES, "state")
    expect((cells("area [mm^2]").reshape(HEIGHT, WIDTH)[STATES != NO_SURFACE] > 6.0).all(), "areas")
    points = vtk_to_numpy(grid.GetPoints().GetData())
    expect(points.dtype == numpy.float64 and numpy.isfinite(points).all(), "points")
    hidden = vtk_to_numpy(grid.GetPointData().GetArray("vtkGhostType"))
    expect_same(hidden == 2, numpy.isnan(NODES.reshape(-1, 3)[:, 0]), "hidden nodes")
    is_there = numpy.isfinite(NODES.reshape(-1, 3)[:, 0])
    expect_same(points[is_there], NODES.reshape(-1, 3)[is_there], "nodes")
    expect(grid.GetBounds() == (0.0, 2.0 * WIDTH, 0.0, 3.0 * HEIGHT, 0.0, WIDTH * HEIGHT / 8.0), "bounds")
    expect(grid.GetFieldData().GetAbstractArray("unit").GetValue(0) == "mm", "unit")

    surface = vtkGeometryFilter()
    surface.SetInputData(grid)
    surface.Update()
    shown = surface.GetOutput()
    expect(shown.GetNumberOfCells() == QUADS, f"{shown.GetNumberOfCells()} cells are shown instead of {QUADS}")
    expect((cells("state", shown) != NO_SURFACE).all(), "a cell without surface is shown")
    finite = numpy.isfinite(cells("amplitude:max [%FSH]", shown)).sum()
    expect(finite == numpy.isfinite(AMPLITUDES).sum(), "values that are shown")

    # Between cells: nothing finite at a node that a pixel without a value has, nor in the hole.
    averaged = vtkCellDataToPointData()
    averaged.SetInputData(grid)
    averaged.Update()
    at_nodes = vtk_to_numpy(averaged.GetOutput().GetPointData().GetArray("amplitude:max [%FSH]"))
    for v in range(HEIGHT + 1):
        for u in range(WIDTH + 1):
            around = [(i, j) for i in (u - 1, u) for j in (v - 1, v) if 0 <= i < WIDTH and 0 <= j < HEIGHT]
            shown_around = [cell for cell in around if cell not in HOLE]
            if not shown_around:
                continue  # VTK puts a zero there; no cell that it shows has the node
            expected = all(is_measured(i, j) for i, j in shown_around)
            expect(numpy.isfinite(at_nodes[v * (WIDTH + 1) + u]) == expected, f"the mean at node {u}, {v}")
    surface.SetInputData(averaged.GetOutput())
    surface.Update()
    shown_at_nodes = vtk_to_numpy(surface.GetOutput().GetPointData().GetArray("amplitude:max [%FSH]"))
    expect(surface.GetOutput().GetNumberOfCells() == QUADS, "cells that are shown between means")
    least = numpy.nanmin(AMPLITUDES)
    expect((shown_at_nodes[numpy.isfinite(shown_at_nodes)] >= least).all(), "a value that no cell has")
    places = vtkPoints()
    for u, v in sorted(HOLE) + [(5, 3)]:
        places.InsertNextPoint(2.0 * u + 1.0, 3.0 * v + 1.5, (u + 0.5) * (v + 0.5) / 8.0)
    probes = vtkPolyData()
    probes.SetPoints(places)
    probe = vtkProbeFilter()
    probe.SetInputData(probes)
    probe.SetSourceData(averaged.GetOutput())
    probe.SetTolerance(0.25)
    probe.SetComputeTolerance(False)
    probe.Update()
    found = vtk_to_numpy(probe.GetOutput().GetPointData().GetArray("amplitude:max [%FSH]"))
    is_valid = vtk_to_numpy(probe.GetOutput().GetPointData().GetArray("vtkValidPointMask")) != 0
    expect(not (is_valid & numpy.isfinite(found))[:-1].any(), f"finite values in the hole: {found}, {is_valid}")
    expect(is_valid[-1] and numpy.isfinite(found[-1]), f"a finite value beside the hole: {found}, {is_valid}")

    blocks = vtkXMLMultiBlockDataReader()
    blocks.SetFileName(folder + "/two.vtm")
    blocks.Update()
    two = blocks.GetOutput()
    expect(two.GetNumberOfBlocks() == 2, "two blocks")
    for i in range(2):
        block = two.GetBlock(i)
        expect(block.GetNumberOfCells() == 6, f"cells of block {i}")
        expect(block.GetBounds()[0] == 100.0 * i, f"place of block {i}")
        values = cells("amplitude:max [%FSH]", block)
        expect(values.tolist() == [3.0 * i, 3.0 * i + 1.0, 3.0 * i + 2.0] * 2, f"values of block {i}")


def read_h5(folder):
    try:
        import h5py
    except ImportError:
        print("skipped: python3-h5py is not installed")
        sys.exit(SKIPPED)
    with h5py.File(folder + "/one.h5", "r") as file:
        expect_same(file["pixels/state"], STATES, "state")
        names = h5py.check_enum_dtype(file["pixels/state"].dtype)
        expect(names is not None and names["no echo"] == NO_ECHO, "names of states")
        values = file["values"]
        expect(sorted(values) == ["amplitude:max", "depth:mean"], "names of values")
        expect_same(values["amplitude:max"], AMPLITUDES, "amplitude")
        expect_same(values["depth:mean"], DEPTHS, "depth")

        def text(name, attribute):
            found = values[name].attrs[attribute]
            return found.decode() if isinstance(found, bytes) else found

        expect(text("amplitude:max", "unit") == "%FSH" and text("depth:mean", "statistic") == "mean", "attributes")
        move = numpy.array([1000.0, -50.0, 7.0])
        expect_same(file["pixels/point"][()] - move, CENTRES, "centres")
        expect_same(file["patches/0/nodes"][()] - move, NODES, "nodes")


READERS = {"h5": read_h5, "npz": read_npz, "tiff": read_tiff, "ply": read_ply, "vts": read_vts}

if __name__ == "__main__":
    READERS[sys.argv[1]](sys.argv[2])
    print("read back as it was written")
