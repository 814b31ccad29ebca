// `.quads` files: whatever the file holds, `load` ends with a grid or with an exception, and a grid that was
// loaded answers beams and survives being written and read again.

#include "Geometry/geometry.h"
#include "fuzz/harness.h"

#include <cstddef>
#include <cstdint>
#include <exception>

using namespace QELT::Geometry;
using QELT::Fuzzing::require;
using QELT::Fuzzing::TemporaryFile;
using ThreeDimensional::Point;
using ThreeDimensional::Vector;
using ThreeDimensional::QuadMesh::RectMesh;

namespace {

/// A header may ask for any size; files for which it asks more than this are left alone.
constexpr double maxNodes = 1 << 16;

bool isSmallGrid(char const* path) {
    unsigned long extentU = 0;
    unsigned long extentV = 0;
    double mean = 0.0;
    double least = 0.0;
    double most = 0.0;
    RectMesh::getFileHeaderItems(path, extentU, extentV, mean, least, most);
    return (static_cast<double>(extentU) + 1.0) * (static_cast<double>(extentV) + 1.0) <= maxNodes;
}

unsigned long countQuads(RectMesh const& grid) {
    auto const extents = grid.getExtents();
    unsigned long count = 0;
    for (unsigned long v = 0; v < extents.getdV(); ++v) {
        for (unsigned long u = 0; u < extents.getdU(); ++u) {
            count += grid.getIsQuadValid({static_cast<int>(u), static_cast<int>(v)}) ? 1UL : 0UL;
        }
    }
    return count;
}

void fireBeams(RectMesh& grid) {
    auto const box = grid.getBoundingBoxAA();
    Vector const directions[] = {{0.0, 0.0, -1.0}, {0.3, -0.2, 1.0}, {0.0, 0.0, 0.0}};
    for (Vector const& direction : directions) {
        for (Point const& origin : {box.getp(), box.getCentrePoint(), box.getp1()}) {
            auto const status = grid.getIntersection(origin, direction);
            require(!status.getIsValid() || grid.getIsQuadValid(status.getIndices()),
                    "a beam hits a quad of the grid");
        }
    }
}

void writeAndReadAgain(RectMesh& grid) {
    TemporaryFile const copy(".quads");
    grid.save(copy.getPath());
    RectMesh again;
    again.load(copy.getPath());
    require(again.getExtents() == grid.getExtents(), "extents survive a file");
    require(countQuads(again) == countQuads(grid), "quads survive a file");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    TemporaryFile const file(".quads");
    file.write(data, size);
    RectMesh grid;
    try {
        if (!isSmallGrid(file.getPath())) {
            return 0;
        }
        grid.load(file.getPath());
    } catch (std::exception const&) {
        // Not a grid file; what was read until then must be usable all the same.
    }
    fireBeams(grid);
    writeAndReadAgain(grid);
    return 0;
}
