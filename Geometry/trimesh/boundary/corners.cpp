#include "Geometry/trimesh/boundary/internal/sharpestturns.h"
#include "Geometry/trimesh/mesh.h"

#include <array>
#include <cmath>

namespace QELT::Geometry::ThreeDimensional::TriMesh {

namespace {

constexpr std::size_t mostCorners = 1024;

/// The cosine of 5 degrees: where the boundary turns by more, it kinks.
double const kinkCosine = std::cos(0.08726646259971647);

double getDistance(Point const& a, Point const& b) {
    return std::sqrt((a - b).lSqr());
}

} // namespace

void Mesh::getCorners(Point* corners) const {
    std::vector<std::uint32_t> const loop = getLongestBoundaryLoop();
    if (loop.empty()) {
        return;
    }
    auto const length = static_cast<std::uint32_t>(loop.size());
    auto const pointAt = [&](std::uint32_t place) -> Point const& {
        return vertices[loop[place % length]].getPoint3D();
    };
    SharpestTurns turns(mostCorners);
    for (std::uint32_t j = 0; j < length; ++j) {
        Vector const in = pointAt(j + 1) - pointAt(j);
        Vector const out = pointAt(j + 2) - pointAt(j + 1);
        turns.offer(in.dot(out) / std::sqrt(out.lSqr() * in.lSqr()), (j + 1) % length);
    }
    std::array<std::uint32_t, 4> chosen{0, 1, 2, 3};
    double greatest = 0.0;
    for (std::uint32_t const p : turns.getPositions()) {
        for (std::uint32_t const q : turns.getPositions()) {
            double const distanceSqr = (pointAt(q) - pointAt(p)).lSqr();
            if (distanceSqr > greatest) {
                greatest = distanceSqr;
                chosen[0] = q;
                chosen[2] = p;
            }
        }
    }
    // The third and the fourth corner lie farthest, summed up, from those before.
    auto const chooseFarthest = [&](std::size_t place, auto getSumOfDistances) {
        double farthest = 0.0;
        std::uint32_t best = chosen[place];
        for (std::uint32_t const s : turns.getPositions()) {
            double const sum = getSumOfDistances(pointAt(s));
            if (sum > farthest) {
                farthest = sum;
                best = s;
            }
        }
        chosen[place] = best;
    };
    chooseFarthest(1, [&](Point const& s) {
        return getDistance(pointAt(chosen[2]), s) + getDistance(pointAt(chosen[0]), s);
    });
    chooseFarthest(3, [&](Point const& s) {
        return getDistance(pointAt(chosen[1]), s) + getDistance(pointAt(chosen[0]), s) +
               getDistance(pointAt(chosen[2]), s);
    });
    for (std::size_t i = 0; i < chosen.size(); ++i) {
        corners[i] = pointAt(chosen[i]);
    }
}

/// The first of the longest loops in the order of their lowest vertices; empty if there is none.
std::vector<std::uint32_t> Mesh::getLongestBoundaryLoop() const {
    std::vector<std::uint32_t> longest;
    std::vector<bool> isSeen(vertices.size(), false);
    for (std::uint32_t v = 0; v < toUInt32(vertices.size()); ++v) {
        if (isSeen[v] || !getIsVertexAttached(v) || !getIsBoundaryVertex(v)) {
            continue;
        }
        std::vector<std::uint32_t> loop = getBoundaryLoop(v);
        for (std::uint32_t const onLoop : loop) {
            isSeen[onLoop] = true;
        }
        if (loop.size() > longest.size()) {
            longest = std::move(loop);
        }
    }
    return longest;
}

bool Mesh::getExtremeBoundaryVertexIndices(unsigned long* first, unsigned long* second) const {
    std::uint32_t start = 0;
    while (start < vertices.size() && (!getIsVertexAttached(start) || !getIsBoundaryVertex(start))) {
        ++start;
    }
    if (start == vertices.size()) {
        return false;
    }
    std::vector<std::uint32_t> const loop = getBoundaryLoop(start);
    auto const length = static_cast<std::uint32_t>(loop.size());
    auto const pointAt = [&](std::uint32_t place) -> Point const& {
        return vertices[loop[place % length]].getPoint3D();
    };
    std::uint32_t previous = 0xFFFFFFFFU;
    std::uint32_t longestFrom = 0;
    std::uint32_t longestTo = 0;
    for (std::uint32_t j = 0; j < length; ++j) {
        std::uint32_t const m = (j + 1) % length;
        Vector const in = pointAt(j + 1) - pointAt(j);
        Vector const out = pointAt(j + 2) - pointAt(j + 1);
        double const cosine = in.dot(out) / (std::sqrt(out.lSqr()) * std::sqrt(in.lSqr()));
        if (!(kinkCosine > cosine)) {
            continue;
        }
        std::uint32_t const last = previous;
        previous = m;
        if (m - last % length + length > longestTo - longestFrom % length + length) {
            longestFrom = last;
            longestTo = m;
        }
    }
    *first = longestFrom;
    *second = longestTo;
    return true;
}

} // namespace QELT::Geometry::ThreeDimensional::TriMesh
