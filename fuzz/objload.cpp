// OBJ texts: whatever the file holds, `load` ends with a mesh or with an exception, and a mesh that was
// loaded can be walked, written, read again, flattened and cut.

#include "Geometry/geometry.h"
#include "fuzz/harness.h"
#include "fuzz/meshuse.h"

#include <cstddef>
#include <cstdint>
#include <stdexcept>

using namespace QELT::Geometry::ThreeDimensional;
using QELT::Fuzzing::cutAllWays;
using QELT::Fuzzing::flatten;
using QELT::Fuzzing::require;
using QELT::Fuzzing::TemporaryFile;
using QELT::Fuzzing::walkTriangles;

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

void writeAndReadAgain(TriMesh::Mesh const& mesh, std::size_t numberOfTriangles) {
    TemporaryFile const copy(".obj");
    mesh.save(copy.getPath(), true, false);
    TriMesh::Mesh again;
    if (doesLoad(again, copy.getPath())) {
        require(again.getNumberOfVertices() == mesh.getNumberOfVertices(), "vertices survive a file");
        require(walkTriangles(again) == numberOfTriangles, "triangles survive a file");
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
    cutAllWays(mesh);
    require(walkTriangles(mesh) == numberOfTriangles, "cuts keep the triangles");
    return 0;
}
