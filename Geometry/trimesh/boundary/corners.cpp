#include "Geometry/trimesh/boundary/internal/loopcorners.h"
#include "Geometry/trimesh/mesh.h"

#include <algorithm>
#include <array>
#include <cmath>

// The four corners of a scanned patch. The places where the longest boundary loop turns by more than 80
// degrees are its corners; a patch whose scan lines make the rim jagged has far more than four, and some of a
// patch's own corners may be blunt. So two of them span the longest diagonal, and each of the others is the
// one farthest, summed up, from those before; a corner may be chosen again, since its own distance of 0 is
// but one summand.
//
// With 80 degrees a right corner is found also when it is scanned bluntly; with much less, a round rim of few
// points is all corners, with more than 90 a square has none. Only the 1024 sharpest are kept, since all
// pairs are looked at. No turn at all leaves the first four places. Equal distances leave what was found
// first, so the order of corners, the sharpest first and of equals the latest of the loop, decides on
// rectangles.
//
// The smooth stretch between kinks has a limit of its own: 5 degrees, so that the polygon of a scanned arc is
// smooth and its ends are not. Its length is counted in vertices, modulo 2^32 as the starts are: the stretch
// before the first kink begins at 0xFFFFFFFF, and its length is that number's remainder.

namespace QELT::Geometry::ThreeDimensional::TriMesh {

namespace {

constexpr std::size_t maxCorners = 1024;

/// The cosine of 5 degrees: where the boundary turns by more, it kinks.
double const kinkCosine = std::cos(0.08726646259971647);

double getDistance(Point const& a, Point const& b) {
    return std::sqrt((a - b).lSqr());
}

/// The corner with the greatest value, the first of equals; `otherwise` if none is above 0.
template <class GetValue>
std::uint32_t chooseGreatest(std::vector<std::uint32_t> const& corners, std::uint32_t otherwise,
                             GetValue getValue) {
    double greatest = 0.0;
    std::uint32_t chosen = otherwise;
    for (std::uint32_t const corner : corners) {
        double const value = getValue(corner);
        if (value > greatest) {
            greatest = value;
            chosen = corner;
        }
    }
    return chosen;
}

/// A way along a loop from one kink to the next.
struct Stretch {
    std::uint32_t from = 0;
    std::uint32_t to = 0;

    std::uint32_t getExtent(std::uint32_t loopLength) const { return to - from % loopLength + loopLength; }
};

bool getIsKink(LoopPoints const& points, std::uint32_t place) {
    Vector const in = points.getStepFrom(place - 1);
    Vector const out = points.getStepFrom(place);
    return kinkCosine > in.dot(out) / (std::sqrt(out.lSqr()) * std::sqrt(in.lSqr()));
}

/// Looks from the second place of the loop to its first, which comes last.
Stretch getLongestStretch(LoopPoints const& points) {
    std::uint32_t const length = points.getLength();
    std::uint32_t previous = 0xFFFFFFFFU;
    Stretch longest;
    for (std::uint32_t j = 1; j <= length; ++j) {
        if (!getIsKink(points, j)) {
            continue;
        }
        Stretch const stretch{previous, j % length};
        previous = stretch.to;
        if (stretch.getExtent(length) > longest.getExtent(length)) {
            longest = stretch;
        }
    }
    return longest;
}

} // namespace

std::vector<std::uint32_t> getSharpestCorners(LoopPoints const& points, std::size_t capacity) {
    SharpestTurns turns(capacity);
    for (std::uint32_t j = 0; j < points.getLength(); ++j) {
        Vector const in = points.getStepFrom(j);
        Vector const out = points.getStepFrom(j + 1);
        turns.offer(in.dot(out) / std::sqrt(out.lSqr() * in.lSqr()), (j + 1) % points.getLength());
    }
    return turns.getPositions();
}

void Mesh::getCorners(Point* corners) const {
    std::vector<std::uint32_t> const loop = getLongestBoundaryLoop(getConnectivity());
    if (loop.empty()) {
        return;
    }
    LoopPoints const points(getConnectivity(), loop);
    std::vector<std::uint32_t> const places = getSharpestCorners(points, maxCorners);
    auto const distance = [&](std::uint32_t a, std::uint32_t b) {
        return getDistance(points.at(a), points.at(b));
    };
    auto const [first, third] =
        getLongestDiagonal(points, places, [](Point const& a, Point const& b) { return (a - b).lSqr(); });
    std::uint32_t const second = chooseGreatest(places, 1, [&, from = first, to = third](std::uint32_t s) {
        return distance(to, s) + distance(from, s);
    });
    std::uint32_t const fourth = chooseGreatest(places, 3, [&, from = first, to = third](std::uint32_t s) {
        return distance(second, s) + distance(from, s) + distance(to, s);
    });
    std::ranges::transform(std::array{first, second, third, fourth}, corners,
                           [&](std::uint32_t place) { return points.at(place); });
}

bool Mesh::getExtremeBoundaryVertexIndices(unsigned long* first, unsigned long* second) const {
    auto const start = findFirstBoundaryVertex(getConnectivity());
    if (!start) {
        return false;
    }
    std::vector<std::uint32_t> const loop = getBoundaryLoop(getConnectivity(), *start);
    Stretch const stretch = getLongestStretch(LoopPoints(getConnectivity(), loop));
    *first = stretch.from;
    *second = stretch.to;
    return true;
}

} // namespace QELT::Geometry::ThreeDimensional::TriMesh
