#pragma once

#include "Geometry/foundations/point.h"
#include "Geometry/foundations/vector.h"

#include <array>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace QELT::Testing {

/// A triangle mesh kept in index lists and written for reading, not for speed: a second opinion on the mesh
/// of the library. It can grow by itself, its triangles numbered in the order in which they are made, or be a
/// copy of the library's mesh. A walk off the mesh throws.
class PlainMesh {
public:
    static constexpr int none = -1;
    static constexpr std::uint32_t noSide = 0xFFFFFFFFU;

    struct PlainVertex {
        Geometry::ThreeDimensional::Point point;
        Geometry::TwoDimensional::Point<double> flatPoint;
        Geometry::ThreeDimensional::Vector normal;
    };

    struct PlainTriangle {
        std::array<std::uint32_t, 3> vertices{};
        std::array<int, 3> neighbours{none, none, none};
        std::array<std::uint32_t, 3> sides{noSide, noSide, noSide};

        bool operator==(PlainTriangle const& other) const = default;
    };

    /// A triangle and one of its sides; side i runs from vertex i + 1 to vertex i + 2.
    struct PlainEdge {
        int triangle = none;
        std::uint32_t side = noSide;

        bool operator==(PlainEdge const& other) const = default;
    };

    std::uint32_t org(PlainEdge e) const;
    std::uint32_t dest(PlainEdge e) const;
    PlainEdge rot(PlainEdge e) const;
    PlainEdge sym(PlainEdge e) const;
    PlainEdge onext(PlainEdge e) const;
    PlainEdge oprev(PlainEdge e) const;
    bool isBoundary(PlainEdge e) const;

    void addVertex(Geometry::ThreeDimensional::Point const& point);
    bool isFloating(std::uint32_t v) const;
    bool isBoundaryVertex(std::uint32_t v) const;
    PlainEdge arbitraryEdge(std::uint32_t v) const;
    bool addFloatingTriangle(std::vector<std::uint32_t> const& indices);
    bool addBoundaryTriangle(PlainEdge e, std::uint32_t w);
    bool connect(int triangle, std::uint32_t i, int other, std::uint32_t j);

    /// The side of the triangle that starts at `v`; without a triangle if it does not have the vertex.
    PlainEdge edgeFromVertex(int triangle, std::uint32_t v) const;

    /// The number of the side b to a, or -1.
    int complementSide(int triangle, std::uint32_t a, std::uint32_t b) const;

    bool doesEdgeExist(std::uint32_t a, std::uint32_t b, PlainEdge* out) const;

    /// The triangles found by walking around every vertex, in the order in which they were made.
    std::vector<int> walkedTriangles() const;

    void clean();
    void computeNormals();
    Geometry::ThreeDimensional::Vector normal(std::uint32_t v) const;

    std::vector<PlainVertex> vertices;
    std::vector<PlainTriangle> triangles;
    std::vector<std::vector<int>> incidence;
    std::string name;
    std::pair<std::vector<std::uint32_t>, std::vector<std::uint32_t>> cut;

private:
    Geometry::ThreeDimensional::Point const& point(std::uint32_t v) const { return vertices[v].point; }

    Geometry::ThreeDimensional::Vector way(PlainEdge e) const;
    Geometry::ThreeDimensional::Vector unitNormal(PlainEdge e) const;
    Geometry::ThreeDimensional::Vector inward(PlainEdge e) const;

    /// Makes a side and the one stitched to it boundary sides: no side stays stitched one way only.
    void partSide(int triangle, std::uint32_t side);
    int makeTriangle(std::uint32_t a, std::uint32_t b, std::uint32_t c);
    bool addOnFloatingApex(PlainEdge e, std::uint32_t w);
    bool addOnAttachedApex(PlainEdge e, std::uint32_t w);
    bool stitchAgainst(std::uint32_t v, int triangle, std::uint32_t a, std::uint32_t b, std::uint32_t side);
};

} // namespace QELT::Testing
