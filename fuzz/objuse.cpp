#include "fuzz/objuse.h"

#include "fuzz/harness.h"
#include "fuzz/meshuse.h"

#include <cstddef>
#include <cstdint>
#include <stdexcept>

namespace QELT::Fuzzing {

namespace {

/// Larger meshes are not flattened: the solver's time would hide what the loader does.
constexpr unsigned long maxVerticesToFlatten = 200;

bool doesLoad(TriMesh::Mesh& mesh, char const* path) {
    try {
        mesh.load(path);
        return true;
    } catch (std::runtime_error const&) {
        return false;
    }
}

/// A file holds the triangles that are listed, which need not hang together without the others.
void writeAndReadAgain(TriMesh::Mesh const& mesh, std::size_t numberOfListedTriangles) {
    TemporaryFile const copy(".obj");
    mesh.save(copy.getPath(), true, false);
    TriMesh::Mesh again;
    if (doesLoad(again, copy.getPath())) {
        require(again.getNumberOfVertices() == mesh.getNumberOfVertices(), "vertices survive a file");
        require(walkTriangles(again) == numberOfListedTriangles, "triangles survive a file");
    }
}

} // namespace

void useObjText(std::string const& text) {
    TemporaryFile const file(".obj");
    file.write(reinterpret_cast<std::uint8_t const*>(text.data()), text.size());
    TriMesh::Mesh mesh;
    if (!doesLoad(mesh, file.getPath())) {
        return;
    }
    std::array<Point, 4> corners;
    mesh.getCorners(corners.data());
    std::size_t const numberOfTriangles = walkTriangles(mesh);
    require(numberOfTriangles > 0, "a mesh that loads has a triangle");
    writeAndReadAgain(mesh, numberOfTriangles - mesh.getUnlistedTriangles().size());
    if (mesh.getNumberOfVertices() <= maxVerticesToFlatten) {
        flatten(mesh, true);
        flatten(mesh, false);
        require(walkTriangles(mesh) == numberOfTriangles, "flattening keeps the triangles");
    }
    cutAllWays(mesh);
    require(walkTriangles(mesh) == numberOfTriangles, "cuts keep the triangles");
}

} // namespace QELT::Fuzzing
