#include "Inspection/parts/internal/facechoice.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <utility>

namespace QELT::Inspection {

namespace {

/// At a side of more faces only the first so many are compared, two by two.
constexpr std::size_t maxCompared = 64;

template <class IsKept>
std::size_t keepFacesIf(FaceMesh& mesh, IsKept isKept) {
    std::vector<bool> kept(mesh.faces.size());
    for (std::size_t i = 0; i < mesh.faces.size(); ++i) {
        kept[i] = isKept(mesh.faces[i]);
    }
    return keepFaces(mesh, kept);
}

/// The two corners at a crowded side with the least bend between them.
std::pair<Corner, Corner> smoothestPair(FaceMesh const& mesh, FaceTopology const& topology,
                                        std::span<Corner const> corners) {
    auto const compared = corners.first(std::min(corners.size(), maxCompared));
    std::pair<Corner, Corner> best{corners[0], corners[1]};
    double leastBend = std::numeric_limits<double>::infinity();
    for (std::size_t i = 0; i < compared.size(); ++i) {
        for (std::size_t j = i + 1; j < compared.size(); ++j) {
            double const bend = bendAt(mesh, topology, compared[i], compared[j]);
            if (bend < leastBend) {
                leastBend = bend;
                best = {compared[i], compared[j]};
            }
        }
    }
    return best;
}

} // namespace

std::size_t keepFaces(FaceMesh& mesh, std::vector<bool> const& isKept) {
    std::size_t kept = 0;
    for (std::size_t i = 0; i < mesh.faces.size(); ++i) {
        if (isKept[i]) {
            mesh.faces[kept++] = mesh.faces[i];
        }
    }
    std::size_t const dropped = mesh.faces.size() - kept;
    mesh.faces.resize(kept);
    return dropped;
}

std::size_t dropStrayFaces(FaceMesh& mesh) {
    return keepFacesIf(mesh, [&](Face const& face) {
        return std::max({face[0], face[1], face[2]}) < mesh.points.size();
    });
}

std::size_t dropCollapsedFaces(FaceMesh& mesh) {
    return keepFacesIf(mesh, [](Face const& face) {
        return face[0] != face[1] && face[1] != face[2] && face[2] != face[0];
    });
}

std::size_t dropDuplicateFaces(FaceMesh& mesh) {
    std::vector<std::pair<Face, std::size_t>> sorted;
    sorted.reserve(mesh.faces.size());
    for (std::size_t i = 0; i < mesh.faces.size(); ++i) {
        Face face = mesh.faces[i];
        std::sort(face.begin(), face.end());
        sorted.emplace_back(face, i);
    }
    std::sort(sorted.begin(), sorted.end());
    std::vector<bool> isKept(mesh.faces.size(), true);
    for (std::size_t i = 1; i < sorted.size(); ++i) {
        isKept[sorted[i].second] = sorted[i].first != sorted[i - 1].first;
    }
    return keepFaces(mesh, isKept);
}

std::size_t dropFacesAtCrowdedSides(FaceMesh& mesh) {
    FaceTopology const topology(mesh.faces, mesh.points.size());
    std::vector<bool> isKept(mesh.faces.size(), true);
    for (std::size_t side = 0; side < topology.sideCount(); ++side) {
        auto const corners = topology.cornersAt(side);
        if (corners.size() > 2) {
            auto const pair = smoothestPair(mesh, topology, corners);
            for (Corner const corner : corners) {
                isKept[corner / 3] = isKept[corner / 3] && (corner == pair.first || corner == pair.second);
            }
        }
    }
    return keepFaces(mesh, isKept);
}

std::size_t keepOnePiece(FaceMesh& mesh, std::optional<std::size_t> faceToKeep) {
    if (mesh.faces.empty()) {
        return 0;
    }
    FaceTopology const topology(mesh.faces, mesh.points.size());
    std::vector<double> areas(topology.pieceCount(), 0.0);
    for (std::size_t i = 0; i < mesh.faces.size(); ++i) {
        areas[topology.pieceOf(i)] += std::sqrt(normalOf(mesh, i).lSqr());
    }
    auto const largest = std::max_element(areas.begin(), areas.end()) - areas.begin();
    std::size_t const piece = faceToKeep ? topology.pieceOf(*faceToKeep) : static_cast<std::size_t>(largest);
    std::vector<bool> isKept(mesh.faces.size());
    for (std::size_t i = 0; i < mesh.faces.size(); ++i) {
        isKept[i] = topology.pieceOf(i) == piece;
    }
    return keepFaces(mesh, isKept);
}

Vector normalOf(FaceMesh const& mesh, std::size_t face) {
    auto const& [a, b, c] = mesh.faces[face];
    return QELT::Geometry::ThreeDimensional::TriangleMeasures::twoATN(mesh.points[a], mesh.points[b],
                                                                      mesh.points[c]);
}

double bendAt(FaceMesh const& mesh, FaceTopology const& topology, Corner a, Corner b) {
    Vector const first = normalOf(mesh, a / 3);
    Vector const second = normalOf(mesh, b / 3) * (topology.isSameWay(a, b) ? -1.0 : 1.0);
    return std::atan2(std::sqrt(first.cross(second).lSqr()), first.dot(second));
}

} // namespace QELT::Inspection
