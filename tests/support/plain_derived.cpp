#include "tests/support/plain_derived.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <optional>
#include <vector>

namespace QELT::Testing {

namespace {

PlainGrid emptyGrid(std::uint32_t highestU, std::uint32_t highestV) {
    PlainGrid grid;
    grid.highestU = highestU;
    grid.highestV = highestV;
    std::size_t const nodeCount = (highestU + std::size_t{1}) * (highestV + std::size_t{1});
    grid.points.assign(nodeCount, PlainPoint{});
    grid.flags.assign(nodeCount, 0);
    return grid;
}

std::vector<PlainIndex> nodesOf(PlainGrid const& grid) {
    std::vector<PlainIndex> nodes;
    for (std::uint32_t v = 0; v <= grid.highestV; ++v) {
        for (std::uint32_t u = 0; u <= grid.highestU; ++u) {
            nodes.push_back({static_cast<std::int32_t>(u), static_cast<std::int32_t>(v)});
        }
    }
    return nodes;
}

/// Puts the node `from` of the source at `to`, at another place in space.
void put(PlainGrid& result, PlainIndex const& to, PlainGrid const& source, PlainIndex const& from,
         PlainPoint const& point) {
    result.points[result.getNode(to)] = point;
    result.flags[result.getNode(to)] = source.flags[source.getNode(from)];
}

PlainGrid withPoints(PlainGrid const& source, std::function<PlainPoint(PlainIndex const&)> const& pointOf) {
    PlainGrid result = emptyGrid(source.highestU, source.highestV);
    for (PlainIndex const& node : nodesOf(source)) {
        if (source.getIsPointValid(node)) {
            put(result, node, source, node, pointOf(node));
        }
    }
    return result;
}

double largestSide(PlainVector const& d) {
    if (d.y < d.x && d.z < d.x) {
        return d.x;
    }
    if (d.x < d.y && d.z < d.y) {
        return d.y;
    }
    return d.z;
}

bool isInside(PlainBox const& box, PlainPoint const& point) {
    PlainVector const c = plainDifference(point, box.p);
    double const alongX = plainDot(c, {1.0, 0.0, 0.0});
    double const alongY = plainDot(c, {0.0, 1.0, 0.0});
    double const alongZ = plainDot(c, {0.0, 0.0, 1.0});
    return alongX >= 0.0 && box.d.x >= alongX && alongY >= 0.0 && box.d.y >= alongY && alongZ >= 0.0 &&
           box.d.z >= alongZ;
}

PlainVector image(PlainAffineMap const& map, PlainVector const& a) {
    auto const row = [&](std::size_t i) {
        return map.matrix[3 * i] * a.x + map.matrix[3 * i + 1] * a.y + map.matrix[3 * i + 2] * a.z;
    };
    return plainSum({row(0), row(1), row(2)}, map.translation);
}

PlainGrid withNodes(PlainGrid const& grid, std::function<PlainIndex(PlainIndex const&)> const& sourceOf) {
    PlainGrid result = grid;
    for (PlainIndex const& node : nodesOf(grid)) {
        PlainIndex const source = sourceOf(node);
        put(result, node, grid, source, grid.points[grid.getNode(source)]);
    }
    return result;
}

} // namespace

PlainGrid plainFlattened(PlainGrid const& shown, double meanQuadArea) {
    double const side = std::sqrt(meanQuadArea);
    return withPoints(shown, [&](PlainIndex const& node) {
        return PlainPoint{plainNarrowed(node.u * side), plainNarrowed(node.v * side), 0.0F};
    });
}

PlainGrid plainNormalised(PlainGrid const& shown, double size) {
    PlainBox const box = shown.getBoundingBox();
    double const factor = size / largestSide(box.d);
    PlainPoint const centre = plainMoved(box.p, plainScaled(0.5, box.d));
    return withPoints(shown, [&](PlainIndex const& node) {
        return plainMoved({}, plainScaled(factor, plainDifference(shown.getPoint(node), centre)));
    });
}

PlainGrid plainNormalised(PlainGrid const& shown, double scale, PlainVector const& shift) {
    return withPoints(shown, [&](PlainIndex const& node) {
        PlainPoint const shifted = plainMoved(shown.getPoint(node), shift);
        return plainMoved({}, plainScaled(scale, plainDifference(shifted, PlainPoint{})));
    });
}

std::uint32_t plainSampleStep(PlainGrid const& shown, std::uint32_t value) {
    std::uint32_t step = 1;
    for (std::uint32_t quads = shown.highestU * shown.highestV; value < quads; quads >>= 2U) {
        step *= 2U;
    }
    return step;
}

PlainGrid plainSubSampled(PlainGrid const& shown, std::uint32_t step) {
    PlainGrid result = emptyGrid(shown.highestU / step, shown.highestV / step);
    for (PlainIndex const& node : nodesOf(result)) {
        PlainIndex const source{static_cast<std::int32_t>(static_cast<std::uint32_t>(node.u) * step),
                                static_cast<std::int32_t>(static_cast<std::uint32_t>(node.v) * step)};
        if (shown.getIsPointValid(source)) {
            put(result, node, shown, source, shown.getPoint(source));
        }
    }
    return result;
}

PlainGrid plainRestricted(PlainGrid const& shown, PlainIndex const& low, std::uint32_t dU, std::uint32_t dV) {
    PlainGrid result = emptyGrid(dU, dV);
    for (PlainIndex const& node : nodesOf(result)) {
        if (shown.getIsPointValid(node + low)) {
            put(result, node, shown, node + low, shown.getPoint(node + low));
        }
    }
    return result;
}

PlainGrid plainRestricted(PlainGrid const& shown, PlainBox const& box) {
    std::vector<PlainIndex> inside;
    for (PlainIndex const& node : nodesOf(shown)) {
        if (shown.getIsPointValid(node) && isInside(box, shown.getPoint(node))) {
            inside.push_back(node);
        }
    }
    if (inside.empty()) {
        return emptyGrid(2, 2);
    }
    PlainIndex low = inside.front();
    PlainIndex high = inside.front();
    for (PlainIndex const& node : inside) {
        low = {std::min(low.u, node.u), std::min(low.v, node.v)};
        high = {std::max(high.u, node.u), std::max(high.v, node.v)};
    }
    // A node counts as a box of one step, and there is a ring around: three more than between the nodes.
    PlainGrid result = emptyGrid(static_cast<std::uint32_t>(high.u - low.u) + 3U,
                                 static_cast<std::uint32_t>(high.v - low.v) + 3U);
    for (PlainIndex const& node : inside) {
        put(result, node - low + PlainIndex{1, 1}, shown, node, shown.getPoint(node));
    }
    return result;
}

PlainGrid plainTransformed(PlainGrid const& stored, PlainPoint const& origin, PlainAffineMap const& map) {
    PlainGrid result = stored;
    for (PlainIndex const& node : nodesOf(stored)) {
        if (stored.getIsPointValid(node)) {
            PlainVector const arm = plainDifference(stored.getPoint(node), origin);
            result.points[result.getNode(node)] = plainMoved(origin, image(map, arm));
        }
    }
    return result;
}

PlainAffineMap plainReflection(int normal) {
    PlainAffineMap map{{1.0, 0.0, 0.0, 0.0, 1.0, 0.0, 0.0, 0.0, 1.0}, {}};
    if (normal >= 0 && normal < 3) {
        map.matrix[static_cast<std::size_t>(normal) * 4U] = -1.0;
    }
    return map;
}

PlainGrid plainWithRowsReversed(PlainGrid const& grid) {
    return withNodes(grid, [&](PlainIndex const& node) {
        return PlainIndex{static_cast<std::int32_t>(grid.highestU) - node.u, node.v};
    });
}

PlainGrid plainWithColumnsReversed(PlainGrid const& grid) {
    return withNodes(grid, [&](PlainIndex const& node) {
        return PlainIndex{node.u, static_cast<std::int32_t>(grid.highestV) - node.v};
    });
}

} // namespace QELT::Testing
