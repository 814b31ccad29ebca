#include "tests/support/plain_corners.h"

#include <cmath>

namespace QELT::Testing {

using Geometry::ThreeDimensional::Point;
using Geometry::ThreeDimensional::Vector;
using MeshEdge = PlainMesh::PlainEdge;

namespace {

constexpr std::size_t places = 1024;
constexpr double cosineOf80Degrees = 0.17364817766693036;
constexpr double fiveDegrees = 0.08726646259971647;

/// The loop's points by position, which wraps.
class Outline {
public:
    Outline(PlainMesh const& theMesh, std::vector<std::uint32_t> const& theLoop)
        : mesh(theMesh), loop(theLoop) {}

    std::uint32_t length() const { return static_cast<std::uint32_t>(loop.size()); }

    Point const& point(std::uint32_t position) const {
        return mesh.vertices[loop[position % length()]].point;
    }

    double distance(std::uint32_t p, std::uint32_t q) const { return std::sqrt(distanceSqr(p, q)); }

    double distanceSqr(std::uint32_t p, std::uint32_t q) const { return (point(p) - point(q)).lSqr(); }

private:
    PlainMesh const& mesh;
    std::vector<std::uint32_t> const& loop;
};

struct Places {
    std::vector<double> cosines = std::vector<double>(places, 131072.0);
    std::vector<std::uint32_t> positions = std::vector<std::uint32_t>(places, 0);

    void insert(double cosine, std::uint32_t position) {
        if (!(cosine < cosines[places - 1])) {
            return;
        }
        std::size_t k = 0;
        while (k < places - 1 && cosines[k] < cosine) {
            ++k;
        }
        for (std::size_t i = places - 1; i > k; --i) {
            cosines[i] = cosines[i - 1];
            positions[i] = positions[i - 1];
        }
        cosines[k] = cosine;
        positions[k] = position;
    }

    std::vector<std::uint32_t> candidates() const {
        std::vector<std::uint32_t> result;
        for (std::size_t k = 0; k < places && cosines[k] < cosineOf80Degrees; ++k) {
            result.push_back(positions[k]);
        }
        return result;
    }
};

} // namespace

std::vector<std::uint32_t> plainBoundaryLoop(PlainMesh const& mesh, std::uint32_t start) {
    std::vector<std::uint32_t> loop;
    MeshEdge e = mesh.arbitraryEdge(start);
    do {
        loop.push_back(mesh.org(e));
        while (mesh.sym(e).triangle != PlainMesh::none) {
            e = mesh.oprev(e);
        }
        e = mesh.rot(e);
    } while (mesh.org(e) != start);
    return loop;
}

std::vector<std::uint32_t> plainLongestLoop(PlainMesh const& mesh) {
    std::vector<bool> isSeen(mesh.vertices.size(), false);
    std::vector<std::uint32_t> longest;
    for (std::uint32_t v = 0; v < mesh.vertices.size(); ++v) {
        if (isSeen[v] || mesh.isFloating(v) || !mesh.isBoundaryVertex(v)) {
            continue;
        }
        std::vector<std::uint32_t> const loop = plainBoundaryLoop(mesh, v);
        for (std::uint32_t const w : loop) {
            isSeen[w] = true;
        }
        if (loop.size() > longest.size()) {
            longest = loop;
        }
    }
    return longest;
}

std::array<std::uint32_t, 4> plainCornerPositions(PlainMesh const& mesh,
                                                  std::vector<std::uint32_t> const& loop) {
    Outline const outline(mesh, loop);
    Places sharpest;
    for (std::uint32_t j = 0; j < outline.length(); ++j) {
        Vector const u = outline.point(j + 1) - outline.point(j);
        Vector const v = outline.point(j + 2) - outline.point(j + 1);
        double const cosine = u.dot(v) / std::sqrt(v.lSqr() * u.lSqr());
        sharpest.insert(cosine, (j + 1) % outline.length());
    }
    std::vector<std::uint32_t> const candidates = sharpest.candidates();
    std::array<std::uint32_t, 4> c{0, 1, 2, 3};
    double farthest = 0.0;
    for (std::uint32_t const p : candidates) {
        for (std::uint32_t const q : candidates) {
            double const value = outline.distanceSqr(p, q);
            if (value > farthest) {
                farthest = value;
                c[0] = q;
                c[2] = p;
            }
        }
    }
    farthest = 0.0;
    for (std::uint32_t const s : candidates) {
        double const value = outline.distance(c[2], s) + outline.distance(c[0], s);
        if (value > farthest) {
            farthest = value;
            c[1] = s;
        }
    }
    farthest = 0.0;
    for (std::uint32_t const s : candidates) {
        double value = outline.distance(c[1], s) + outline.distance(c[0], s);
        value = value + outline.distance(c[2], s);
        if (value > farthest) {
            farthest = value;
            c[3] = s;
        }
    }
    return c;
}

PlainExtremes plainExtremePositions(PlainMesh const& mesh) {
    std::uint32_t start = 0;
    auto const count = static_cast<std::uint32_t>(mesh.vertices.size());
    while (start < count && (mesh.isFloating(start) || !mesh.isBoundaryVertex(start))) {
        ++start;
    }
    if (start == count) {
        return {};
    }
    std::vector<std::uint32_t> const loop = plainBoundaryLoop(mesh, start);
    Outline const outline(mesh, loop);
    std::uint32_t const length = outline.length();
    double const limit = std::cos(fiveDegrees);
    PlainExtremes result{true, 0, 0};
    std::uint32_t previous = 0xFFFFFFFFU;
    for (std::uint32_t j = 0; j < length; ++j) {
        std::uint32_t const m = (j + 1) % length;
        Vector const u = outline.point(m) - outline.point(j);
        Vector const v = outline.point(j + 2) - outline.point(m);
        double const cosine = u.dot(v) / (std::sqrt(v.lSqr()) * std::sqrt(u.lSqr()));
        if (limit > cosine) {
            std::uint32_t const last = previous;
            previous = m;
            std::uint32_t const stretch = m - last % length + length;
            if (stretch > result.second - result.first % length + length) {
                result.first = last;
                result.second = m;
            }
        }
    }
    return result;
}

} // namespace QELT::Testing
