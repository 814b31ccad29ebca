#include "python/src/arrays.h"
#include "python/src/objects.h"

#include <cmath>
#include <functional>

namespace QELT::Python {

namespace {

namespace QuadMesh = QELT::Geometry::ThreeDimensional::QuadMesh;
using QELT::Geometry::ThreeDimensional::AffineMap;
using QELT::Geometry::ThreeDimensional::LinearMap;
using Size = QELT::Geometry::TwoDimensional::Vector<double>;
using IndexBox = QELT::Geometry::TwoDimensional::BoundingBoxAA<int>;

/// What an analytic grid may take, in megabytes, unless told otherwise.
constexpr unsigned long defaultMegabytes = 4096;

Grid& freeGrid(SharedGrid& shared) {
    requireFree(&shared);
    return shared.grid;
}

/// A grid that `fill` makes, which tells whether it could.
GridHandle madeBy(std::function<bool(Grid&)> const& fill) {
    return runLong(py::none(), {}, [&](ProgressListener*) {
        auto made = std::make_shared<SharedGrid>();
        require(fill(made->grid),
                "The grid is larger than max_mb allows, or a size or the spacing makes no sense");
        return made;
    });
}

/// A grid that `derive` makes of another.
GridHandle derivedFrom(SharedGrid& from, std::function<void(Grid const&, Grid&)> const& derive) {
    return runLong(py::none(), {&from}, [&](ProgressListener*) {
        auto made = std::make_shared<SharedGrid>();
        derive(from.grid, made->grid);
        return made;
    });
}

GridHandle gridFromMesh(Mesh& mesh, double quadArea, std::optional<double> const& spacing,
                        py::object const& progress) {
    return runLong(progress, {&mesh}, [&](ProgressListener* listener) {
        auto made = std::make_shared<SharedGrid>();
        Attached const attached(made->grid, listener);
        made->grid.construct(mesh, quadArea, spacing);
        return made;
    });
}

GridHandle gridFromFile(py::object const& file) {
    auto const path = pathFrom(file, "path");
    return runFileWork(py::none(), {}, [&](ProgressListener*) {
        auto made = std::make_shared<SharedGrid>();
        loadGrid(made->grid, path);
        return made;
    });
}

void saveSharedGrid(SharedGrid& shared, py::object const& file) {
    auto const path = pathFrom(file, "path");
    runFileWork(py::none(), {&shared}, [&](ProgressListener*) { saveGrid(shared.grid, path); });
}

GridHandle extended(SharedGrid& from, unsigned long passes, unsigned long smoothingPasses,
                    py::object const& progress) {
    return runLong(progress, {&from}, [&](ProgressListener* listener) {
        auto made = std::make_shared<SharedGrid>();
        made->grid = from.grid;
        made->grid.setOffset(from.grid.getOffset());
        Attached const attached(made->grid, listener);
        made->grid.extendBoundary(QuadMesh::Basic, passes, smoothingPasses);
        return made;
    });
}

GridHandle thinnedOut(SharedGrid& from, std::optional<unsigned long> factor,
                      std::optional<unsigned long> quads) {
    if (factor.has_value() == quads.has_value()) {
        throw py::type_error("thinned_out() needs either 'factor' or 'quads'");
    }
    return derivedFrom(from, [&](Grid const& grid, Grid& result) {
        grid.getSubSampled(factor ? Grid::Factor : Grid::ApproximateQuadCount, factor ? *factor : *quads,
                           result);
    });
}

GridHandle restricted(SharedGrid& from, py::object const& low, py::object const& high) {
    auto const first = fromPython<GridIndex>(low, "'low'");
    auto const last = fromPython<GridIndex>(high, "'high'");
    return derivedFrom(from, [&](Grid const& grid, Grid& result) {
        grid.getRestrictedToAABB(IndexBox(first, last - first), result);
    });
}

GridHandle mirrored(SharedGrid& from, py::object const& plane, py::object const& axis,
                    py::object const& origin) {
    auto const chosenPlane = fromPython<QuadMesh::CanonicalPlane>(plane, "'plane'");
    auto const chosenAxis = fromPython<QuadMesh::CanonicalAxis>(axis, "'axis'");
    auto const place = fromPython<Point>(origin, "'origin'");
    return derivedFrom(from, [&](Grid const& grid, Grid& result) {
        result = grid;
        result.mirror(chosenPlane, place, chosenAxis);
    });
}

GridHandle transformed(SharedGrid& from, py::object const& matrix, py::object const& translation,
                       py::object const& origin) {
    Rows const rows(matrix, "'matrix'", 3);
    if (rows.size() != 3) {
        throw py::value_error("'matrix' needs the shape (3, 3)");
    }
    LinearMap linear;
    for (unsigned long i = 0; i < 9; ++i) {
        linear.set(i / 3, i % 3, rows.at(i / 3, i % 3));
    }
    AffineMap const map(linear, fromPython<Vector>(translation, "'translation'"));
    auto const place = fromPython<Point>(origin, "'origin'");
    return derivedFrom(from, [&](Grid const& grid, Grid& result) {
        result = grid;
        result.transform(place, map);
    });
}

/// One value for each node, row by row: (v + 1, u + 1).
template <class T, class Read>
py::array_t<T> nodeArrayOf(Grid const& grid, py::ssize_t perNode, Read read) {
    auto const extents = grid.getExtents();
    auto const width = static_cast<int>(extents.getdU()) + 1;
    auto const height = static_cast<int>(extents.getdV()) + 1;
    bool const isEmpty = grid.getRow(0) == nullptr;
    std::vector<py::ssize_t> shape{isEmpty ? 0 : height, isEmpty ? 0 : width};
    if (perNode > 1) {
        shape.push_back(perNode);
    }
    py::array_t<T> array(shape);
    T* place = array.mutable_data();
    for (int v = 0; v < shape[0]; ++v) {
        for (int u = 0; u < shape[1]; ++u, place += perNode) {
            read(GridIndex(u, v), place);
        }
    }
    return array;
}

py::array pointsOfGrid(SharedGrid& shared) {
    Grid const& grid = freeGrid(shared);
    return nodeArrayOf<float>(grid, 3, [&](GridIndex const& node, float* place) {
        Point const point = grid.getPoint(node);
        std::copy_n(point.getCoordinates(), 3, place);
    });
}

py::array validOfGrid(SharedGrid& shared) {
    Grid const& grid = freeGrid(shared);
    return nodeArrayOf<bool>(
        grid, 1, [&](GridIndex const& node, bool* place) { *place = grid.getIsPointValid(node); });
}

py::array flagsOfGrid(SharedGrid& shared) {
    Grid const& grid = freeGrid(shared);
    return nodeArrayOf<std::uint8_t>(grid, 1, [&](GridIndex const& node, std::uint8_t* place) {
        *place = static_cast<std::uint8_t>(grid.getPointFlags(node));
    });
}

/// The row lives as long as the array, whatever becomes of the grid.
py::array rowOfGrid(SharedGrid& shared, py::object const& v) {
    using Row = std::shared_ptr<Point const>;
    Grid const& grid = freeGrid(shared);
    auto const index = wholeFrom(v, "row(): 'v'", 0, UINT32_MAX);
    Row const row = grid.getRow(static_cast<unsigned long>(index));
    if (!row) {
        throw py::index_error("The grid has no row " + std::to_string(index));
    }
    py::capsule const owner(new Row(row), [](void* held) { delete static_cast<Row*>(held); });
    auto const count = static_cast<py::ssize_t>(grid.getExtents().getdU()) + 1;
    py::array array(py::dtype::of<float>(), {count, py::ssize_t{3}}, {sizeof(Point), sizeof(float)},
                    row->getCoordinates(), owner);
    py::detail::array_proxy(array.ptr())->flags &= ~py::detail::npy_api::NPY_ARRAY_WRITEABLE_;
    return array;
}

Footprint footprintOfGrid(SharedGrid& shared, py::kwargs const& given) {
    SpreadingBeam beam;
    fillFields(&beam, Description<SpreadingBeam>::fields(), given, "footprint()");
    return runLong(py::none(), {&shared}, [&](ProgressListener*) { return footprintOf(shared.grid, beam); });
}

void defineMaking(py::class_<SharedGrid, GridHandle>& type) {
    type.def_static(
        "from_mesh", &gridFromMesh, py::arg("mesh"), py::arg("quad_area"), py::arg("spacing") = py::none(),
        py::kw_only(), py::arg("progress") = py::none(),
        "Samples a flattened mesh: quads have this area on the surface on average, or nodes this spacing "
        "in the flat map. Lengths are in the unit of the points.");
    type.def_static("from_file", &gridFromFile, py::arg("path"), "Reads a .quads file, whole or not at all.");
    type.def("save", &saveSharedGrid, py::arg("path"), "Writes a .quads file.");
}

void defineFlatFormulas(py::class_<SharedGrid, GridHandle>& type) {
    type.def_static(
        "plane",
        [](py::object const& size, double spacing, bool isCentred, unsigned long maxMegabytes) {
            auto const sides = fromPython<Size>(size, "'size'");
            return madeBy(
                [&](Grid& grid) { return grid.setAsPlane(sides, spacing, isCentred, maxMegabytes); });
        },
        py::arg("size"), py::arg("spacing"), py::kw_only(), py::arg("centred") = false,
        py::arg("max_mb") = defaultMegabytes, "A rectangle of (u, v) in the plane z = 0.");
    type.def_static(
        "height_field", [] { return madeBy([](Grid& grid) { return grid.setAsHeightField(); }); },
        "A fixed wavy field of 129 by 129 nodes.");
}

void defineRoundFormulas(py::class_<SharedGrid, GridHandle>& type) {
    type.def_static(
        "cylinder_arc",
        [](double radius, double arcAngle, double length, double spacing, unsigned long maxMegabytes) {
            return madeBy([&](Grid& grid) {
                return grid.setAsCylinderArc(radius, arcAngle, length, spacing, maxMegabytes);
            });
        },
        py::arg("radius"), py::arg("arc_angle"), py::arg("length"), py::arg("spacing"), py::kw_only(),
        py::arg("max_mb") = defaultMegabytes, "An arc of a cylinder around z, of an angle in radians.");
    type.def_static(
        "sphere_cap",
        [](double radius, double halfAngle, double spacing, unsigned long maxMegabytes) {
            return madeBy([&](Grid& grid) {
                return grid.setAsSphereArcStereographic(radius, halfAngle, spacing, maxMegabytes);
            });
        },
        py::arg("radius"), py::arg("half_angle"), py::arg("spacing"), py::kw_only(),
        py::arg("max_mb") = defaultMegabytes,
        "A cap of a sphere around the origin at its +z pole, by stereographic projection; radians.");
    type.def_static(
        "paraboloid",
        [](py::object const& apex, py::object const& axisU, py::object const& axisV, double curvatureU,
           double curvatureV, double height, double spacing, unsigned long maxMegabytes) {
            auto const place = fromPython<Point>(apex, "'apex'");
            auto const alongU = fromPython<Vector>(axisU, "'axis_u'");
            auto const alongV = fromPython<Vector>(axisV, "'axis_v'");
            return madeBy([&](Grid& grid) {
                return grid.setAsParaboloid(place, alongU, alongV, curvatureU, curvatureV, height, spacing,
                                            maxMegabytes);
            });
        },
        py::arg("apex"), py::arg("axis_u"), py::arg("axis_v"), py::arg("curvature_u"), py::arg("curvature_v"),
        py::arg("height"), py::arg("spacing"), py::kw_only(), py::arg("max_mb") = defaultMegabytes,
        "An elliptic paraboloid over two orthonormal axes, cut off at a height above its apex.");
}

void defineDeriving(py::class_<SharedGrid, GridHandle>& type) {
    type.def("extended", &extended, py::arg("passes"), py::arg("smoothing_passes") = 0, py::kw_only(),
             py::arg("progress") = py::none(),
             "A grid grown past the part's outline by so many rows of invented nodes: node (u, v) becomes "
             "(u + passes, v + passes).");
    type.def(
        "flattened",
        [](SharedGrid& from) { return derivedFrom(from, [](Grid const& g, Grid& r) { g.getFlattened(r); }); },
        "Rolled out into a plane of equal quads.");
    type.def(
        "normalised",
        [](SharedGrid& from, double size) {
            return derivedFrom(from, [&](Grid const& g, Grid& r) { g.getNormalised(size, r); });
        },
        py::arg("size") = 1.0, "Centred on the origin, with `size` as the longest side of its box.");
    type.def("thinned_out", &thinnedOut, py::kw_only(), py::arg("factor") = py::none(),
             py::arg("quads") = py::none(),
             "Every `factor`-th node along each axis, or at most `quads` quads.");
    type.def("restricted", &restricted, py::arg("low"), py::arg("high"),
             "The nodes of a box of indices (u, v), both ends taken.");
    type.def("mirrored", &mirrored, py::arg("plane"), py::arg("axis") = "axis_u",
             py::arg("origin") = py::make_tuple(0, 0, 0),
             "Reflected through 'plane_yz', 'plane_xz' or 'plane_xy' moved to `origin`, with columns "
             "('axis_u') or "
             "rows ('axis_v') turned end for end, so that the outside stays outside.");
    type.def("transformed", &transformed, py::arg("matrix"), py::arg("translation") = py::make_tuple(0, 0, 0),
             py::arg("origin") = py::make_tuple(0, 0, 0),
             "Each point p at origin + matrix (p - origin) + translation.");
}

void defineNodes(py::class_<SharedGrid, GridHandle>& type) {
    type.def_property_readonly(
        "extents", [](SharedGrid& shared) { return toPython(freeGrid(shared).getExtents(), {}); },
        "The numbers of quads along u and v, one less than nodes.");
    type.def_property_readonly(
        "points", &pointsOfGrid,
        "A copy of all points, (v + 1, u + 1, 3) float32; of nodes that are not valid too.");
    type.def_property_readonly("valid", &validOfGrid,
                               "A copy of which nodes hold a point, (v + 1, u + 1) bool.");
    type.def_property_readonly(
        "flags", &flagsOfGrid,
        "A copy of the flags, (v + 1, u + 1) uint8: bit 0 valid, 1 interior, 2 boundary, 4 "
        "boundary beside a cut.");
    type.def("row", &rowOfGrid, py::arg("v"),
             "The points of a row of nodes, (u + 1, 3) float32: a view that cannot be written and outlives "
             "the grid.");
    type.def_property_readonly(
        "quad_areas",
        [](SharedGrid& shared) {
            Grid const& g = freeGrid(shared);
            return py::make_tuple(g.getMinQuadArea(), g.getMeanQuadArea(), g.getMaxQuadArea());
        },
        "The least, mean and greatest area of a quad.");
    type.def(
        "summary", [](SharedGrid& shared) { return handOver(gridSummaryOf(freeGrid(shared))); },
        "Counts, areas and box.");
    type.def(
        "quad_sizes", [](SharedGrid& shared) { return handOver(quadSizesOf(freeGrid(shared))); },
        "How large the quads are, each beside their median.");
    type.def("__repr__", [](SharedGrid const& shared) {
        auto const extents = shared.grid.getExtents();
        return "<qelt.Grid of " + std::to_string(extents.getdU()) + " x " + std::to_string(extents.getdV()) +
               " quads>";
    });
}

void defineSettings(py::class_<SharedGrid, GridHandle>& type) {
    type.def_property_readonly(
        "name", [](SharedGrid& shared) { return freeGrid(shared).getShortFileName(); }, "Of its file.");
    type.def_property(
        "offset", [](SharedGrid& shared) { return toPython(freeGrid(shared).getOffset(), {}); },
        [](SharedGrid& shared, py::object const& offset) {
            freeGrid(shared).setOffset(fromPython<GridOffset>(offset, "'offset'"));
        },
        "Added to the indices (u, v) that beams are answered with.");
    type.def(
        "set_flip_normals", [](SharedGrid& shared, bool value) { freeGrid(shared).setDoFlipNormals(value); },
        py::arg("value"), "Whether beams take the grid's other side for the outside.");
    type.def(
        "footprint",
        [](SharedGrid& shared, py::kwargs const& given) { return handOver(footprintOfGrid(shared, given)); },
        "What a spreading beam covers, of the options of `SpreadingBeam`; in quads.");
}

} // namespace

SharedGrid::SharedGrid(Grid const& other) : grid(other) {
    grid.setProgressListener(nullptr);
}

SureSearch const& SharedGrid::getSureSearch() {
    if (!search) {
        search = std::make_unique<SureSearch>(std::vector<Grid const*>{&grid});
    }
    return *search;
}

py::object gridOf(Grid const& grid) {
    return py::cast(std::make_shared<SharedGrid>(grid));
}

void bindGrid(py::module_& module) {
    py::class_<SharedGrid, GridHandle> type(module, "Grid", plainType(),
                                            "A surface as a grid of points, whose quads are the pixels of a "
                                            "scan. Its nodes never change; what derives "
                                            "another grid returns it. One call at a time works on a grid, "
                                            "which remembers where the last beam hit.");
    defineMaking(type);
    defineFlatFormulas(type);
    defineRoundFormulas(type);
    defineDeriving(type);
    defineNodes(type);
    defineSettings(type);
}

} // namespace QELT::Python
