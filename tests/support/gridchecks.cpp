#include "tests/support/gridchecks.h"

#include "tests/support/float_bits.h"

namespace QELT::Testing {

namespace {

using Geometry::ThreeDimensional::QuadMesh::RectMesh;

testing::AssertionResult samePoint(RectMesh const& grid, PlainGrid const& expected, int u, int v) {
    auto const actual = grid.getPoint({u, v});
    PlainPoint const& plain = expected.points[expected.getNode({u, v})];
    for (auto const& [mine, other] : {std::pair(actual.getX(), plain.x), std::pair(actual.getY(), plain.y),
                                      std::pair(actual.getZ(), plain.z)}) {
        testing::AssertionResult const result =
            sameBits(static_cast<double>(mine), static_cast<double>(other));
        if (!result) {
            return testing::AssertionFailure() << "node (" << u << ", " << v << "): " << result.message();
        }
    }
    return testing::AssertionSuccess();
}

} // namespace

testing::AssertionResult sameNodes(RectMesh const& grid, PlainGrid const& expected) {
    auto const extents = grid.getExtents();
    if (extents.getdU() != expected.highestU || extents.getdV() != expected.highestV) {
        return testing::AssertionFailure() << "extents " << extents.getdU() << " x " << extents.getdV()
                                           << ", not " << expected.highestU << " x " << expected.highestV;
    }
    for (int v = 0; v <= static_cast<int>(expected.highestV); ++v) {
        for (int u = 0; u <= static_cast<int>(expected.highestU); ++u) {
            int const flagByte = static_cast<unsigned char>(grid.getPointFlags({u, v}));
            int const expectedByte = expected.flags[expected.getNode({u, v})];
            if (flagByte != expectedByte) {
                return testing::AssertionFailure()
                       << "node (" << u << ", " << v << "): flags " << flagByte << ", not " << expectedByte;
            }
            testing::AssertionResult const result = samePoint(grid, expected, u, v);
            if (!result) {
                return result;
            }
        }
    }
    return testing::AssertionSuccess();
}

testing::AssertionResult sameStored(RectMesh const& grid, PlainGrid const& expected) {
    RectMesh const base(grid);
    return sameNodes(base, expected);
}

testing::AssertionResult sameAreas(RectMesh const& grid, PlainAreas const& expected) {
    auto const max = sameBits(grid.getMaxQuadArea(), expected.max);
    auto const mean = sameBits(grid.getMeanQuadArea(), expected.mean);
    auto const min = sameBits(grid.getMinQuadArea(), expected.min);
    return max ? (mean ? min : mean) : max;
}

testing::AssertionResult sameSearchPoints(RectMesh const& grid, PlainGrid const& expected) {
    PlainSearchPoints const plain = expected.getSearchPoints(grid.quadsPerSearchPoint);
    if (grid.numberOfSearchPointsU != plain.countU || grid.numberOfSearchPointsV != plain.countV) {
        return testing::AssertionFailure()
               << "lattice " << grid.numberOfSearchPointsU << " x " << grid.numberOfSearchPointsV << ", not "
               << plain.countU << " x " << plain.countV;
    }
    if (grid.searchPoints.size() != plain.quads.size()) {
        return testing::AssertionFailure()
               << grid.searchPoints.size() << " search points, not " << plain.quads.size();
    }
    for (std::size_t i = 0; i < plain.quads.size(); ++i) {
        if (grid.searchPoints[i].getU() != plain.quads[i].u ||
            grid.searchPoints[i].getV() != plain.quads[i].v) {
            return testing::AssertionFailure() << "search point " << i << " differs";
        }
    }
    return testing::AssertionSuccess();
}

} // namespace QELT::Testing
