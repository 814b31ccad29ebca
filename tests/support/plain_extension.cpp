#include "tests/support/plain_extension.h"

#include <utility>
#include <vector>

namespace QELT::Testing {

namespace {

constexpr unsigned char validMask = 1;
constexpr unsigned char cutMask = 16;

std::vector<PlainEdge> boundaryLoop(PlainGrid const& grid, PlainEdge const& first) {
    std::vector<PlainEdge> loop{first};
    PlainEdge edge = grid.getNextBoundaryEdge(first);
    while (edge != first) {
        loop.push_back(edge);
        edge = grid.getNextBoundaryEdge(edge);
    }
    return loop;
}

struct Candidate {
    PlainIndex invented;
    PlainIndex base;
    PlainIndex behind;
};

std::vector<Candidate> candidatesAt(PlainEdge const& edge) {
    PlainIndex const p = edge.origin;
    PlainIndex const q = edge.getEnd();
    PlainIndex const along = edge.getStep();
    PlainIndex const left = PlainEdge{p, edge.orientation + 1}.getStep();
    return {{p - left, p, p + left},
            {q - left, q, q + left},
            {q + along - left, q, q - along + left},
            {p - along - left, p, p + along + left}};
}

struct Larger {
    PlainGrid grid;
    std::vector<std::uint32_t> counts;
};

Larger largerCopy(PlainGrid const& old) {
    Larger larger;
    larger.grid.highestU = old.highestU + 2U;
    larger.grid.highestV = old.highestV + 2U;
    std::size_t const nodeCount =
        (larger.grid.highestU + std::size_t{1}) * (larger.grid.highestV + std::size_t{1});
    larger.grid.points.assign(nodeCount, PlainPoint{});
    larger.grid.flags.assign(nodeCount, 0);
    larger.counts.assign(nodeCount, 0);
    for (std::int32_t v = 0; v <= static_cast<std::int32_t>(old.highestV); ++v) {
        for (std::int32_t u = 0; u <= static_cast<std::int32_t>(old.highestU); ++u) {
            std::size_t const from = old.getNode({u, v});
            std::size_t const to = larger.grid.getNode({u + 1, v + 1});
            larger.grid.points[to] = old.points[from];
            larger.grid.flags[to] = old.flags[from];
            larger.counts[to] = old.flags[from] != 0 ? 1U : 0U;
        }
    }
    return larger;
}

/// wa * a + wb * b, each coordinate in doubles and rounded once.
PlainPoint weighted(PlainPoint const& a, PlainPoint const& b, double wa, double wb) {
    auto const sum = [&](float x, float y) {
        return plainNarrowed(wa * static_cast<double>(x) + wb * static_cast<double>(y));
    };
    return {sum(a.x, b.x), sum(a.y, b.y), sum(a.z, b.z)};
}

void take(PlainGrid const& old, Candidate const& candidate, PlainView const& view, Larger& larger) {
    if (!old.getIsInBounds(candidate.invented) || old.getIsPointValid(candidate.invented)) {
        return;
    }
    if (!old.getIsPointValid(candidate.base) || !old.getIsPointValid(candidate.behind)) {
        return;
    }
    if ((old.flags[old.getNode(candidate.base)] & cutMask) != 0) {
        return;
    }
    PlainPoint const extrapolated =
        weighted(view(old.getPoint(candidate.base)), view(old.getPoint(candidate.behind)), 2.0, -1.0);
    std::size_t const node = larger.grid.getNode(candidate.invented + PlainIndex{1, 1});
    larger.grid.points[node] = weighted(larger.grid.points[node], extrapolated, 1.0, 1.0);
    larger.counts[node] += 1U;
    if (larger.counts[node] == 1U) {
        larger.grid.flags[node] = validMask;
    }
}

void average(Larger& larger) {
    for (std::size_t node = 0; node < larger.counts.size(); ++node) {
        if (larger.counts[node] > 1U) {
            PlainPoint& point = larger.grid.points[node];
            double const count = larger.counts[node];
            point = {plainNarrowed(static_cast<double>(point.x) / count),
                     plainNarrowed(static_cast<double>(point.y) / count),
                     plainNarrowed(static_cast<double>(point.z) / count)};
        }
    }
}

void smooth(PlainGrid& grid, PlainView const& view) {
    std::vector<std::pair<PlainIndex, PlainPoint>> moves;
    for (PlainEdge const& edge : boundaryLoop(grid, *grid.getBoundaryEdge())) {
        PlainIndex const before = edge.origin - edge.getStep();
        if (!grid.getIsEdgeOnBoundary({before, edge.orientation})) {
            continue;
        }
        PlainPoint const zero;
        PlainVector const sum = plainSum(plainDifference(view(grid.getPoint(edge.getEnd())), zero),
                                         plainDifference(view(grid.getPoint(before)), zero));
        moves.emplace_back(edge.origin, plainMoved(zero, plainScaled(0.5, sum)));
    }
    for (auto const& [node, point] : moves) {
        grid.points[grid.getNode(node)] = point;
        grid.flags[grid.getNode(node)] |= validMask;
    }
}

} // namespace

PlainPoint plainAsStored(PlainPoint const& stored) {
    return stored;
}

PlainGrid plainShown(PlainGrid const& stored, PlainView const& view) {
    PlainGrid shown = stored;
    for (PlainPoint& point : shown.points) {
        point = view(point);
    }
    return shown;
}

PlainGrid plainStoredGridOf(Geometry::ThreeDimensional::QuadMesh::RectMesh const& grid) {
    using Geometry::ThreeDimensional::QuadMesh::RectMesh;
    PlainGrid plain;
    plain.highestU = static_cast<std::uint32_t>(grid.getExtents().getdU());
    plain.highestV = static_cast<std::uint32_t>(grid.getExtents().getdV());
    for (int v = 0; v <= static_cast<int>(plain.highestV); ++v) {
        for (int u = 0; u <= static_cast<int>(plain.highestU); ++u) {
            Geometry::ThreeDimensional::Point const point = grid.RectMesh::getPoint({u, v});
            plain.points.push_back({point.getX(), point.getY(), point.getZ()});
            plain.flags.push_back(static_cast<unsigned char>(grid.getPointFlags({u, v})));
        }
    }
    return plain;
}

bool plainExtendBoundary(PlainGrid& stored, std::uint32_t passes, std::uint32_t smoothingPasses,
                         PlainView const& view) {
    for (std::uint32_t pass = 0; pass < passes; ++pass) {
        auto const first = stored.getBoundaryEdge();
        if (!first) {
            return false;
        }
        Larger larger = largerCopy(stored);
        for (PlainEdge const& edge : boundaryLoop(stored, *first)) {
            for (Candidate const& candidate : candidatesAt(edge)) {
                take(stored, candidate, view, larger);
            }
        }
        average(larger);
        stored = larger.grid;
        for (std::uint32_t i = 0; i < smoothingPasses; ++i) {
            smooth(stored, view);
        }
    }
    return true;
}

} // namespace QELT::Testing
