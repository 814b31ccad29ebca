#include "Geometry/quadmesh/internal/areastatistics.h"

#include "Geometry/foundations/trianglemeasures.h"
#include "Geometry/quadmesh/internal/nodes.h"

#include <algorithm>
#include <array>
#include <cmath>

// Areas of whole rows of quads. A quad has two cross products and two roots, all of them independent of its
// neighbours', and only the sum of areas has an order: so areas are taken a block of quads at a time, in
// loops that the compiler turns into vector instructions, and then added one by one.
//
// Steps for a block: the coordinates of its nodes go from points, which are objects, into arrays; areas are
// formed of all quads, existing or not; those of existing ones are added. A block without a quad is left out.
// Each area is formed by the operations of `getAreaOf`, in their order, but for one: the second triangle
// takes the diagonal the other way round. Here both take it one way, which turns the sign of each product and
// sum behind it and no more, until the squares.
//
// The block is short, so that additions, each of which waits for the one before, go on while the processor is
// in the next block already. A root that may set `errno` would end the vector loop: this source is compiled
// without that (`cmake/Library.cmake`), which changes no value.
//
// Cost: a few nanoseconds a quad, about as much as reading its nodes from memory; measured while rows are
// still in the cache it is the cheaper half of making a grid.

namespace QELT::Geometry::ThreeDimensional::QuadMesh {

namespace {

constexpr std::size_t blockLength = 32;

/// The coordinates of nodes that stand in a row, one more than there are quads.
struct Coordinates {
    std::array<float, blockLength + 1> x{};
    std::array<float, blockLength + 1> y{};
    std::array<float, blockLength + 1> z{};

    void take(Point const* points, std::size_t count) {
        for (std::size_t i = 0; i < count; ++i) {
            x[i] = points[i].getX();
            y[i] = points[i].getY();
            z[i] = points[i].getZ();
        }
    }
};

using Areas = std::array<double, blockLength>;

/// A difference of coordinates, in floats, as a double.
double difference(float a, float b) {
    return double{a - b};
}

double lengthOfCross(double ax, double ay, double az, double bx, double by, double bz) {
    double const x = ay * bz - az * by;
    double const y = az * bx - ax * bz;
    double const z = ax * by - ay * bx;
    return std::sqrt(x * x + y * y + z * z);
}

void measure(Coordinates const& low, Coordinates const& high, Areas& areas) {
    for (std::size_t i = 0; i < blockLength; ++i) {
        double const lowX = difference(low.x[i + 1], low.x[i]);
        double const lowY = difference(low.y[i + 1], low.y[i]);
        double const lowZ = difference(low.z[i + 1], low.z[i]);
        double const acrossX = difference(high.x[i], low.x[i + 1]);
        double const acrossY = difference(high.y[i], low.y[i + 1]);
        double const acrossZ = difference(high.z[i], low.z[i + 1]);
        double const rightX = difference(high.x[i + 1], low.x[i + 1]);
        double const rightY = difference(high.y[i + 1], low.y[i + 1]);
        double const rightZ = difference(high.z[i + 1], low.z[i + 1]);
        areas[i] = 0.5 * lengthOfCross(lowX, lowY, lowZ, acrossX, acrossY, acrossZ) +
                   0.5 * lengthOfCross(acrossX, acrossY, acrossZ, rightX, rightY, rightZ);
    }
}

/// Which quads of a block exist, and how many.
struct Existence {
    std::array<unsigned char, blockLength> quads{};
    std::size_t count = 0;

    Existence(char const* low, char const* high, std::size_t length) {
        for (std::size_t i = 0; i < length; ++i) {
            char const flags = static_cast<char>(low[i] & low[i + 1] & high[i] & high[i + 1]);
            quads[i] = getHasFlag(flags, RectMesh::Valid) ? 1 : 0;
        }
        for (unsigned char const quad : quads) {
            count += quad;
        }
    }
};

} // namespace

double getAreaOf(Point const& low, Point const& alongU, Point const& alongV, Point const& opposite) {
    return 0.5 * TriangleMeasures::twoAT(low, alongU, alongV) +
           0.5 * TriangleMeasures::twoAT(alongV, alongU, opposite);
}

void AreaStatistics::addQuads(StoredNodes const& low, StoredNodes const& high, std::uint32_t quadCount) {
    Coordinates lowNodes;
    Coordinates highNodes;
    Areas areas;
    for (std::size_t u = 0; u < quadCount; u += blockLength) {
        std::size_t const length = std::min(blockLength, quadCount - u);
        Existence const existence(low.flags + u, high.flags + u, length);
        if (existence.count == 0) {
            continue;
        }
        lowNodes.take(low.points + u, length + 1);
        highNodes.take(high.points + u, length + 1);
        measure(lowNodes, highNodes, areas);
        for (std::size_t i = 0; i < length; ++i) {
            if (existence.count == length || existence.quads[i] != 0) {
                add(areas[i]);
            }
        }
    }
}

} // namespace QELT::Geometry::ThreeDimensional::QuadMesh
