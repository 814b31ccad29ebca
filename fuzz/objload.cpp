// OBJ texts: whatever the file holds, `load` ends with a mesh or with an exception, and a mesh that was
// loaded can be walked, written, read again and flattened.

#include "Geometry/geometry.h"
#include "fuzz/harness.h"

#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <vector>

using namespace QELT::Geometry::ThreeDimensional;
using QELT::Fuzzing::require;
using QELT::Fuzzing::TemporaryFile;

namespace {

/// Larger meshes are not flattened: the solver's time would hide what the loader does.
constexpr unsigned long mostVerticesToFlatten = 200;

bool doesLoad(TriMesh::Mesh& mesh, char const* path) {
    try {
        mesh.load(path);
        return true;
    } catch (std::runtime_error const&) {
        return false;
    }
}

/// The number of triangles, all of whose corners and neighbours have been looked at.
std::size_t walkTriangles(TriMesh::Mesh const& mesh) {
    std::vector<TriMesh::Triangle*> list;
    std::vector<TriMesh::Triangle*>::iterator first;
    std::vector<TriMesh::Triangle*>::iterator last;
    mesh.getTriangles(list, first, last);
    std::size_t count = 0;
    for (auto i = first; i != last; ++i, ++count) {
        for (unsigned long side = 0; side < 3; ++side) {
            TriMesh::Edge const edge = (*i)->getEdge(side);
            require(edge.org() < mesh.getNumberOfVertices(), "a corner is a vertex of the mesh");
            require(edge.isBoundary() || edge.sym().sym() == edge, "neighbours know each other");
            require(edge.isBoundary() || edge.sym().org() == edge.dest(), "neighbours are wound alike");
        }
    }
    return count;
}

void writeAndReadAgain(TriMesh::Mesh const& mesh, std::size_t numberOfTriangles) {
    TemporaryFile const copy(".obj");
    mesh.save(copy.getPath(), true, false);
    TriMesh::Mesh again;
    if (doesLoad(again, copy.getPath())) {
        require(again.getNumberOfVertices() == mesh.getNumberOfVertices(), "vertices survive a file");
        require(walkTriangles(again) == numberOfTriangles, "triangles survive a file");
    }
}

void flatten(TriMesh::Mesh& mesh, bool doPinExtremeCorners) {
    try {
        mesh.conformalMap(doPinExtremeCorners, nullptr, false);
    } catch (std::runtime_error const&) {
        // A mesh without a usable boundary has no flat map.
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    TemporaryFile const file(".obj");
    file.write(data, size);
    TriMesh::Mesh mesh;
    if (!doesLoad(mesh, file.getPath())) {
        return 0;
    }
    std::size_t const numberOfTriangles = walkTriangles(mesh);
    require(numberOfTriangles > 0, "a mesh that loads has a triangle");
    writeAndReadAgain(mesh, numberOfTriangles);
    if (mesh.getNumberOfVertices() <= mostVerticesToFlatten) {
        flatten(mesh, true);
        flatten(mesh, false);
        require(walkTriangles(mesh) == numberOfTriangles, "flattening keeps the triangles");
    }
    return 0;
}
