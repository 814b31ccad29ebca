#pragma once

#include "Geometry/geometry.h"
#include "fuzz/harness.h"

#include <array>
#include <cstddef>
#include <stdexcept>
#include <vector>

/// What is done with a mesh, wherever it came from. Nothing of it may crash, hang or break the mesh.
namespace QELT::Fuzzing {

using namespace Geometry::ThreeDimensional;

/// All triangles, listed ones first.
inline std::vector<TriMesh::Triangle*> trianglesOf(TriMesh::Mesh const& mesh) {
    std::vector<TriMesh::Triangle*> list;
    std::vector<TriMesh::Triangle*>::iterator first;
    std::vector<TriMesh::Triangle*>::iterator last;
    mesh.getTriangles(list, first, last);
    list.erase(last, list.end());
    for (TriMesh::Triangle* const unlisted : mesh.getUnlistedTriangles()) {
        list.push_back(unlisted);
    }
    return list;
}

/// The number of triangles, all of whose corners and neighbours have been looked at.
inline std::size_t walkTriangles(TriMesh::Mesh const& mesh) {
    auto const triangles = trianglesOf(mesh);
    for (TriMesh::Triangle const* const triangle : triangles) {
        for (unsigned long side = 0; side < 3; ++side) {
            TriMesh::Edge const edge = triangle->getEdge(side);
            require(edge.org() < mesh.getNumberOfVertices(), "a corner is a vertex of the mesh");
            require(edge.isBoundary() || edge.sym().sym() == edge, "neighbours know each other");
            require(edge.isBoundary() || edge.sym().org() == edge.dest(), "neighbours are wound alike");
        }
    }
    return triangles.size();
}

inline void flatten(TriMesh::Mesh& mesh, bool doPinExtremeCorners) {
    try {
        mesh.conformalMap(doPinExtremeCorners, nullptr, false);
    } catch (std::runtime_error const&) {
        // A mesh without a usable boundary has no flat map.
    }
}

/// Cuts along all planes of two axes, one cut through the other, and looks for the corners after each.
inline void cutAllWays(TriMesh::Mesh& mesh) {
    for (TriMesh::CutMetric const metric : {TriMesh::Minimum, TriMesh::Maximum}) {
        for (unsigned long axis = 0; axis < 3; ++axis) {
            for (unsigned long const next : {1UL, 2UL}) {
                unsigned long const before = mesh.getNumberOfVertices();
                bool const isCut = mesh.makeCut(metric, axis, (axis + next) % 3);
                require(isCut ? mesh.getNumberOfVertices() == before + mesh.getCutEdgeIndices().first.size()
                              : mesh.getNumberOfVertices() == before,
                        "each vertex of a cut has one twin");
                std::array<Point, 4> corners;
                mesh.getCorners(corners.data());
            }
        }
    }
}

} // namespace QELT::Fuzzing
