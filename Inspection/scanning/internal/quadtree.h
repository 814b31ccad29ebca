#pragma once

#include "Inspection/names.h"

#include <embree3/rtcore.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <optional>
#include <vector>

namespace QELT::Inspection {

/// The tree works in floats: start and direction of a ray, or a distance, are off by parts of 2^-24 of the
/// largest coordinate. This is 16 times that.
constexpr double treeSlack = 0x1p-20;

using Numbers = std::array<double, 3>;

inline Numbers numbersOf(Point const& point) {
    return {static_cast<double>(point.getX()), static_cast<double>(point.getY()),
            static_cast<double>(point.getZ())};
}

inline Numbers numbersOf(Vector const& vector) {
    return {vector.getdX(), vector.getdY(), vector.getdZ()};
}

/// A box along the axes of space; empty at first.
struct Box {
    std::array<double, 3> low{infinity, infinity, infinity};
    std::array<double, 3> high{-infinity, -infinity, -infinity};

    void include(std::array<float, 3> const& corner) {
        for (std::size_t i = 0; i < corner.size(); ++i) {
            low[i] = std::min(low[i], static_cast<double>(corner[i]));
            high[i] = std::max(high[i], static_cast<double>(corner[i]));
        }
    }

    bool isEmpty() const { return !(low[0] <= high[0]); }

    /// The largest coordinate without its sign, of a box that is not empty.
    double reach() const {
        double reach = 0.0;
        for (std::size_t i = 0; i < low.size(); ++i) {
            reach = std::max({reach, std::abs(low[i]), std::abs(high[i])});
        }
        return reach;
    }

    Vector centre() const {
        return {0.5 * (low[0] + high[0]), 0.5 * (low[1] + high[1]), 0.5 * (low[2] + high[2])};
    }

    double radius() const { return 0.5 * std::hypot(high[0] - low[0], high[1] - low[1], high[2] - low[2]); }

    static constexpr double infinity = std::numeric_limits<double>::infinity();
};

/// The corners of a quad as Embree takes them, by the numbers of their nodes. It cuts a quad from its second
/// to its fourth corner: that is the core's diagonal, from the low corner to the opposite one.
struct TreeCorners {
    std::uint32_t alongU = 0;
    std::uint32_t opposite = 0;
    std::uint32_t alongV = 0;
    std::uint32_t low = 0;
};

/// A grid as the tree sees it. It reads the corners from here.
class TreeSurface {
public:
    TreeSurface(Grid const& searched, Box& box);

    Grid const& getGrid() const { return *grid; }

    /// Where every quad is there its number tells its place, and the list need not be read.
    GridIndex quadOf(std::uint32_t number) const {
        std::uint32_t const place = isWhole ? number : quads[number].low;
        std::uint32_t const rowLength = isWhole ? width - 1 : width;
        return {static_cast<int>(place % rowLength), static_cast<int>(place / rowLength)};
    }

    std::size_t getMemory() const {
        return quads.capacity() * sizeof(TreeCorners) + coordinates.capacity() * sizeof(float);
    }

    /// Hands the quads over to the scene, with `number` for a name.
    void attachTo(RTCScene scene, std::uint32_t number) const;

private:
    Grid const* grid;
    std::uint32_t width;  ///< in nodes
    bool isWhole = false; ///< no quad of the rectangle is missing
    std::vector<TreeCorners> quads;
    std::vector<float> coordinates;

    bool isUsable(GridIndex const& node) const;
    std::optional<TreeCorners> cornersOf(GridIndex const& quad) const;
    void readQuads();
    void readNodes(Box& box);
};

/// All quads of some grids in a tree of boxes (Embree, a library of ray tracing kernels). Its quads are the
/// core's: the same float corners, cut along the same diagonal.
class QuadTree {
public:
    /// The grids are not owned. Fails without the memory, or where the processor lacks what the tree needs.
    explicit QuadTree(std::vector<Grid const*> const& grids);

    RTCScene get() const { return tree.get(); }

    /// A grid by the number that the tree has for it.
    TreeSurface const& getSurface(std::uint32_t number) const { return surfaces[number]; }

    /// Around all corners.
    Box const& getBox() const { return box; }

    /// Bytes held beside the grids.
    std::size_t getMemory() const { return memory; }

private:
    struct Release {
        void operator()(RTCScene scene) const { rtcReleaseScene(scene); }
    };

    std::vector<TreeSurface> surfaces;
    Box box;
    std::unique_ptr<RTCSceneTy, Release> tree;
    std::size_t memory = 0;
};

} // namespace QELT::Inspection
