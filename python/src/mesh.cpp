#include "python/src/arrays.h"
#include "python/src/objects.h"

namespace QELT::Python {

namespace {

namespace TriMesh = QELT::Geometry::ThreeDimensional::TriMesh;
using Cloud = QELT::Geometry::ThreeDimensional::PointCloud::Cloud;
using MeshHandle = std::shared_ptr<Mesh>;

Mesh& freeMesh(Mesh& mesh) {
    requireFree(&mesh);
    return mesh;
}

MeshHandle meshFromArrays(py::object const& pointArray, py::object const& faceArray,
                          std::string const& name) {
    auto const points = finitePointsFrom(pointArray, "points");
    auto const faces = facesFrom(faceArray, points.size());
    return runLong(py::none(), {}, [&](ProgressListener*) {
        auto mesh = std::make_shared<Mesh>(points, faces);
        mesh->setFileName(name);
        return mesh;
    });
}

MeshHandle meshFromCloud(py::object const& pointArray, py::object const& progress) {
    auto const points = finitePointsFrom(pointArray, "points");
    return runLong(progress, {}, [&](ProgressListener* listener) {
        Cloud cloud;
        for (Point const& point : points) {
            cloud.addPoint(point);
        }
        auto mesh = std::make_shared<Mesh>();
        Attached const attached(*mesh, listener);
        mesh->construct(cloud);
        return mesh;
    });
}

MeshHandle loadMesh(py::object const& file, py::object const& progress) {
    auto const path = pathFrom(file, "path");
    return runFileWork(progress, {}, [&](ProgressListener* listener) {
        auto mesh = std::make_shared<Mesh>();
        Attached const attached(*mesh, listener);
        fillMesh(*mesh, loadPart(path), path);
        return mesh;
    });
}

void saveMesh(Mesh& mesh, py::object const& file, bool withFlat) {
    auto const path = pathFrom(file, "path");
    runFileWork(py::none(), {&mesh}, [&](ProgressListener*) {
        if (withFlat) {
            saveFlatObj(mesh, path);
        } else {
            saveObj(mesh, path);
        }
    });
}

FlatteningReport flattenMesh(Mesh& mesh, py::object const& mode, py::object const& solver,
                             py::object const& progress) {
    FlatteningOptions options;
    options.mode = fromPython<FlatteningMode>(mode, "'mode'");
    options.solver = fromPython<SolverKind>(solver, "'solver'");
    // What the core would print is kept back by a change of the standard stream, which all calls share.
    return runFileWork(progress, {&mesh}, [&](ProgressListener* listener) {
        Attached const attached(mesh, listener);
        return flatten(mesh, options, listener);
    });
}

bool cutMesh(Mesh& mesh, py::object const& metric, unsigned long axis, unsigned long perpendicularAxis) {
    constexpr Enumerator words[] = {{TriMesh::Minimum, "minimum"}, {TriMesh::Maximum, "maximum"}};
    auto const end = static_cast<TriMesh::CutMetric>(enumeratorFrom(metric, "'metric'", words));
    return runLong(py::none(), {&mesh},
                   [&](ProgressListener*) { return mesh.makeCut(end, axis, perpendicularAxis); });
}

std::optional<CutPlane> cutMeshAsTube(Mesh& mesh, py::kwargs const& given) {
    TubeCut cut;
    fillFields(&cut, Description<TubeCut>::fields(), given, "cut_tube()");
    return runLong(py::none(), {&mesh}, [&](ProgressListener*) { return cutTube(mesh, cut); });
}

py::array pointsOfMesh(Mesh& mesh) {
    return arrayOf(faceMeshOf(freeMesh(mesh)).points);
}

py::array facesOfMesh(Mesh& mesh) {
    auto const faces = faceMeshOf(freeMesh(mesh)).faces;
    py::array_t<std::int32_t> array({faces.size(), std::size_t{3}});
    std::int32_t* place = array.mutable_data();
    for (Face const& face : faces) {
        for (std::uint32_t const vertex : face) {
            *place++ = static_cast<std::int32_t>(vertex);
        }
    }
    return array;
}

py::array flatOfMesh(Mesh& mesh) {
    freeMesh(mesh);
    std::vector<FlatPoint> places;
    for (unsigned long i = 0; i < mesh.getNumberOfVertices(); ++i) {
        places.push_back(mesh.getVertex(i).getPoint2D());
    }
    return arrayOf(places);
}

py::array cutOfMesh(Mesh& mesh) {
    auto const& [first, second] = freeMesh(mesh).getCutEdgeIndices();
    std::vector<GridIndex> pairs;
    for (std::size_t i = 0; i < first.size(); ++i) {
        pairs.emplace_back(static_cast<int>(first[i].index), static_cast<int>(second[i].index));
    }
    return arrayOf(pairs);
}

py::array cornersOfMesh(Mesh& mesh) {
    std::vector<Point> corners(4);
    freeMesh(mesh).getCorners(corners.data());
    return arrayOf(corners);
}

void defineMaking(py::class_<Mesh, MeshHandle>& type) {
    type.def_static(
        "from_arrays", &meshFromArrays, py::arg("points"), py::arg("faces"), py::kw_only(),
        py::arg("name") = "",
        "A mesh of points (n, 3), rounded to 32-bit floats, and triangles (m, 3) of their indices from 0, "
        "which hang together and are wound alike. Points that no triangle names are left out.");
    type.def_static(
        "from_cloud", &meshFromCloud, py::arg("points"), py::kw_only(), py::arg("progress") = py::none(),
        "A surface through points (n, 3), by an advancing front from the closest two on, facing up there.");
    type.def_static(
        "load", &loadMesh, py::arg("path"), py::kw_only(), py::arg("progress") = py::none(),
        "Reads a mesh of any format of parts, an OBJ file with its flat coordinates and its cut.");
    type.def("save", &saveMesh, py::arg("path"), py::kw_only(), py::arg("flat") = false,
             "Writes an .obj file, with the flat coordinates if asked for, and the cut beside it.");
}

void defineWork(py::class_<Mesh, MeshHandle>& type) {
    type.def(
        "flatten", &flattenMesh, py::arg("mode") = "developable", py::arg("solver") = "direct", py::kw_only(),
        py::arg("progress") = py::none(),
        "Gives every vertex its place in the plane, in the unit of the points, and tells how the solves "
        "ended. "
        "Vertices are renumbered. Modes: 'developable' rolls the outer rim out, 'pinned' fixes two points of "
        "it. Solvers: 'direct', 'conjugate_gradients'.");
    type.def("cut", &cutMesh, py::arg("metric"), py::arg("axis"), py::arg("perpendicular_axis"),
             "Slits a tube along edges from the rim's 'minimum' or 'maximum' along `axis` (0 to 2), in the "
             "plane along "
             "both axes; the surface's normal points along the second there. False if there is no way.");
    type.def(
        "cut_tube",
        [](Mesh& mesh, py::kwargs const& given) {
            auto const plane = cutMeshAsTube(mesh, given);
            return plane ? handOver(*plane) : py::none();
        },
        "The same, with other planes tried where there is no way in the one that `TubeCut`'s options tell; "
        "the plane "
        "that served, or None.");
}

void defineShowing(py::class_<Mesh, MeshHandle>& type) {
    type.def_property_readonly("points", &pointsOfMesh, "A copy of the vertices, (n, 3) float32.");
    type.def_property_readonly("faces", &facesOfMesh, "A copy of the triangles, (m, 3) int32, from 0.");
    type.def_property_readonly(
        "flat", &flatOfMesh,
        "A copy of the flat places of the vertices, (n, 2) float64; zeros before `flatten`.");
    type.def_property_readonly("cut_pairs", &cutOfMesh,
                               "The pairs of vertices on both lips of the cut, (k, 2) int32.");
    type.def_property_readonly("corners", &cornersOfMesh,
                               "The four corners of the longest rim, (4, 3) float32.");
    type.def_property(
        "name", [](Mesh& mesh) { return freeMesh(mesh).getFileName(); },
        [](Mesh& mesh, std::string const& name) { freeMesh(mesh).setFileName(name); },
        "What a grid made of the mesh is called.");
    type.def(
        "boundary_loops", [](Mesh& mesh) { return toPython(boundaryLoopsOf(freeMesh(mesh)), {}); },
        "The rims of the outline and of the holes, the longest first.");
    type.def(
        "summary", [](Mesh& mesh) { return handOver(meshSummaryOf(freeMesh(mesh))); },
        "Counts, box and area.");
    type.def(
        "map_quality", [](Mesh& mesh) { return handOver(mapQualityOf(freeMesh(mesh))); },
        "How true the flat map is to the surface.");
    type.def("__repr__", [](Mesh const& mesh) {
        return "<qelt.Mesh of " + std::to_string(mesh.getNumberOfVertices()) + " vertices>";
    });
}

} // namespace

void bindMesh(py::module_& module) {
    py::class_<Mesh, MeshHandle> type(
        module, "Mesh", plainType(),
        "The triangulated surface of a part. One call at a time works on a mesh.");
    defineMaking(type);
    defineWork(type);
    defineShowing(type);
}

} // namespace QELT::Python
