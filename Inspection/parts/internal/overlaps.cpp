#include "Inspection/parts/internal/overlaps.h"

#include <Eigen/Geometry>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <numeric>

// Where two parts of an advancing front pass each other unseen they go on, one over the other, and triangles
// lie doubly on a stretch of the surface. Such pairs are found by their centres: each triangle is held
// against those whose centres are nearest to its own. Seen along the sum of their normals, two triangles
// overlap unless a side of one of them parts them. A margin lets neighbours that share a side or a corner,
// and whose roundings overlap, stand apart.
//
// Triangles of two sheets of a thin part face away from each other, or are farther apart than the reach; they
// are left. Cost: a search among the centres for each triangle, and 31 pairs.

namespace QELT::Inspection {

namespace {

using QELT::Geometry::ThreeDimensional::PointCloud::NearestPoints;

/// A sheet has about two triangles a point, so this is what lies within two spacings.
constexpr unsigned long neighbourCount = 32;

/// Of the shorter side's length: overlaps of less are none.
constexpr double margin = 0.02;

struct Facet {
    std::array<Eigen::Vector3d, 3> corners;
    Eigen::Vector3d normal; ///< of length 1, or 0 without area
    Eigen::Vector3d centre;
    double circle = 0.0;   ///< squared radius of the circumscribed one
    double shortest = 0.0; ///< side
};

Eigen::Vector3d toVector(Point const& point) {
    return {static_cast<double>(point.getX()), static_cast<double>(point.getY()),
            static_cast<double>(point.getZ())};
}

Facet facetOf(FaceMesh const& mesh, Face const& face) {
    Facet t;
    t.corners = {toVector(mesh.points[face[0]]), toVector(mesh.points[face[1]]),
                 toVector(mesh.points[face[2]])};
    Eigen::Vector3d const a = t.corners[1] - t.corners[0];
    Eigen::Vector3d const b = t.corners[2] - t.corners[0];
    double const c = (b - a).squaredNorm();
    Eigen::Vector3d const twiceArea = a.cross(b);
    t.normal = twiceArea.stableNormalized();
    t.centre = (t.corners[0] + t.corners[1] + t.corners[2]) / 3.0;
    t.circle = twiceArea.squaredNorm() > 0.0
                   ? a.squaredNorm() * b.squaredNorm() * c / (4.0 * twiceArea.squaredNorm())
                   : std::numeric_limits<double>::infinity();
    t.shortest = std::sqrt(std::min({a.squaredNorm(), b.squaredNorm(), c}));
    return t;
}

/// From where to where a triangle reaches along an axis.
std::array<double, 2> stretchOf(Facet const& t, Eigen::Vector3d const& axis) {
    auto const [low, high] =
        std::minmax({axis.dot(t.corners[0]), axis.dot(t.corners[1]), axis.dot(t.corners[2])});
    return {low, high};
}

/// Whether the stretches of two triangles along an axis overlap by more than the margin.
bool areOverlapping(Facet const& s, Facet const& t, Eigen::Vector3d const& axis, double slack) {
    auto const a = stretchOf(s, axis);
    auto const b = stretchOf(t, axis);
    return std::min(a[1], b[1]) - std::max(a[0], b[0]) > slack;
}

bool isPartedBySideOf(Facet const& t, Facet const& a, Facet const& b, Eigen::Vector3d const& view,
                      double slack) {
    for (std::size_t i = 0; i < 3; ++i) {
        Eigen::Vector3d const side = t.corners.at((i + 1) % 3) - t.corners.at(i);
        if (!areOverlapping(a, b, view.cross(side).stableNormalized(), slack)) {
            return true;
        }
    }
    return false;
}

bool areOverEachOther(Facet const& s, Facet const& t, double reach) {
    if (!(s.normal.dot(t.normal) > 0.0)) {
        return false;
    }
    Eigen::Vector3d const view = (s.normal + t.normal).normalized();
    double const slack = margin * std::min(s.shortest, t.shortest);
    return areOverlapping(s, t, view, -reach) && !isPartedBySideOf(s, s, t, view, slack) &&
           !isPartedBySideOf(t, s, t, view, slack);
}

std::vector<Facet> facetsOf(FaceMesh const& mesh) {
    std::vector<Facet> facets;
    for (Face const& face : mesh.faces) {
        facets.push_back(facetOf(mesh, face));
    }
    return facets;
}

/// For each triangle the others that it overlaps with.
std::vector<std::vector<std::size_t>> overlapsAmong(std::vector<Facet> const& facets, double reach) {
    std::vector<Point> centres;
    centres.reserve(facets.size());
    for (Facet const& facet : facets) {
        centres.emplace_back(facet.centre.x(), facet.centre.y(), facet.centre.z());
    }
    NearestPoints const index(centres);
    std::vector<std::vector<std::size_t>> overlaps(facets.size());
    for (std::size_t i = 0; i < facets.size(); ++i) {
        for (auto const& neighbour : index.getNearest(centres[i], neighbourCount)) {
            std::size_t const j = neighbour.index;
            if (j != i && areOverEachOther(facets[std::min(i, j)], facets[std::max(i, j)], reach)) {
                overlaps[i].push_back(j);
                overlaps[j].push_back(i);
            }
        }
    }
    return overlaps;
}

} // namespace

std::vector<bool> overlappingFaces(FaceMesh const& mesh, double reach) {
    auto const facets = facetsOf(mesh);
    auto const overlaps = overlapsAmong(facets, reach);
    std::vector<std::size_t> order(facets.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::stable_sort(order.begin(), order.end(),
                     [&](std::size_t i, std::size_t j) { return facets[i].circle < facets[j].circle; });
    std::vector<bool> stays(facets.size(), false);
    std::vector<bool> isMarked(facets.size(), false);
    for (std::size_t const i : order) {
        stays[i] =
            std::none_of(overlaps[i].begin(), overlaps[i].end(), [&](std::size_t j) { return stays[j]; });
        isMarked[i] = !stays[i];
    }
    return isMarked;
}

} // namespace QELT::Inspection
