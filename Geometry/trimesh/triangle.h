#pragma once

#include "Geometry/foundations/boundingbox.h"
#include "Geometry/foundations/export.h"
#include "Geometry/trimesh/edge.h"

#include <array>
#include <cstdint>
#include <vector>

namespace QELT::Geometry::ThreeDimensional::TriMesh {

class Mesh;

/// A triangle of a mesh: three vertex indices, whose order is its winding, and for each side the triangle
/// across it with the number of the side there. A boundary side has none. Side i lies opposite vertex i. Side
/// and vertex numbers wrap modulo 3.
///
/// Only a mesh makes triangles, and it owns them. A copy is a record of the nine numbers and pointers: it
/// keeps no mesh, so nothing that needs a vertex may be asked of it.
class QELT_EXPORT Triangle {
public:
    Triangle(Triangle const& other);
    Triangle& operator=(Triangle const& other);
    virtual ~Triangle() = default;

    /// The indices of all three corners.
    void getVertexIndices(unsigned long& a, unsigned long& b, unsigned long& c) const;

    /// The index of corner i, modulo 3.
    unsigned long getAdjacentVertexIndex(unsigned long i) const { return vertexIndices[wrapped(i)]; }

    /// Side number `i` as an edge.
    Edge getEdge(unsigned long i) const;

    /// The box around the triangle's places in the flat map.
    TwoDimensional::BoundingBoxAA<double> getAABB2D() const;

    /// Writes indices and neighbours to standard output, for diagnosis.
    void print() const;

private:
    friend class Edge;
    friend class Connectivity;
    friend class SurfaceBuilder;
    friend class TriangleArena;

    /// Stands for the side number of a neighbour that is not there.
    static constexpr std::uint32_t invalidEdgeIndex = 0xFFFFFFFFU;

    /// Takes the first three elements of each vector.
    Triangle(Mesh* owner, std::vector<unsigned long> indices, std::vector<Triangle*> triangles,
             std::vector<unsigned long> edgeIndices);

    /// Without neighbours.
    Triangle(Mesh* owner, std::array<std::uint32_t, 3> const& indices);

    static std::uint32_t wrapped(unsigned long i) { return static_cast<std::uint32_t>(i) % 3U; }

    Mesh* getMesh() const { return mesh; }

    void setAdjacentVertexIndex(unsigned long i, unsigned long value) {
        vertexIndices[wrapped(i)] = static_cast<std::uint32_t>(value);
    }

    Triangle* getAdjacentTriangle(unsigned long i) const { return adjacentTriangles[wrapped(i)]; }

    unsigned long getAdjacentTriangleEdgeIndex(unsigned long i) const {
        return adjacentTriangleEdgeIndices[wrapped(i)];
    }

    /// Stores the side that starts at `vertex` in `out`. False, with `out` left alone, if the triangle does
    /// not have the vertex; of repeated indices the lowest place counts.
    bool getEdgeFromVertexIndex(unsigned long vertex, Edge* out) const;

    /// Looks for the directed side b to a: `out` becomes its number, or -1 if there is none. Always true.
    bool getDoesContainEdgeCompliment(unsigned long a, unsigned long b, int* out) const;

    /// Stitches side i to side j of `other`, both ways. False, with nothing changed, if either side is
    /// already stitched to a third triangle.
    bool connect(unsigned long i, Triangle* other, unsigned long j);

    /// Parts a side from its partner, if it has one. Only a triangle with the same vertex three times has
    /// more than one side that can be stitched to the same side of another; letting go of the former partner
    /// keeps every stitch mutual, and with it every walk around a vertex finite.
    void release(std::uint32_t side);

    /// Makes side i a boundary side; the other triangle is left as it is.
    void makeBoundary(unsigned long i);

    std::array<std::uint32_t, 3> vertexIndices;
    std::array<Triangle*, 3> adjacentTriangles;
    std::array<std::uint32_t, 3> adjacentTriangleEdgeIndices;
    Mesh* mesh;
};

} // namespace QELT::Geometry::ThreeDimensional::TriMesh
