#pragma once

#include "Geometry/foundations/trianglemeasures.h"
#include "Geometry/trimesh/mesh.h"

#include <array>
#include <cmath>
#include <cstddef>

namespace QELT::Geometry::ThreeDimensional::QuadMesh {

/// The numbers along an axis that a triangle covers, as a box keeps and grows them.
struct FlatExtent {
    explicit FlatExtent(std::array<double, 3> const& places) : low(places[0]) {
        expand(places[1]);
        expand(places[2]);
    }

    double low;
    double length = 0.0;

private:
    void expand(double place) {
        double const high = low + length;
        double const othersHigh = place + 0.0;
        low = place < low ? place : low;
        length = (othersHigh > high ? othersHigh : high) - low;
    }
};

/// A triangle of the flat map and its place on the surface, in plain numbers: its corners in the order in
/// which its sides start.
class FlatTriangle {
public:
    FlatTriangle(TriMesh::Mesh const& mesh, TriMesh::Triangle const& triangle) {
        for (std::size_t i = 0; i < 3; ++i) {
            // Side i runs from vertex i + 1 to vertex i + 2.
            TriMesh::Vertex const& vertex = mesh.getVertex(triangle.getAdjacentVertexIndex(i + 1));
            u[i] = vertex.getPoint2D().getU();
            v[i] = vertex.getPoint2D().getV();
            points[i] = vertex.getPoint3D();
        }
        for (std::size_t i = 0; i < 3; ++i) {
            stepU[i] = u[(i + 1) % 3] - u[i];
            stepV[i] = v[(i + 1) % 3] - v[i];
        }
        toThirdU = u[2] - u[0];
        toThirdV = v[2] - v[0];
        determinant = stepU[0] * toThirdV - toThirdU * stepV[0];
    }

    /// The place on the surface, by barycentric interpolation: the coordinates of the second and the third
    /// corner are these shares of the determinant.
    Point getPoint(double secondsShare, double thirdsShare) const {
        double const beta = secondsShare / determinant;
        double const gamma = thirdsShare / determinant;
        double const alpha = 1.0 - beta - gamma;
        return TriangleMeasures::bary(points[0], points[1], points[2], alpha, beta, gamma);
    }

    std::array<double, 3> u;
    std::array<double, 3> v;
    std::array<double, 3> stepU; ///< along each side
    std::array<double, 3> stepV;
    double toThirdU; ///< from the first corner
    double toThirdV;

private:
    double determinant;
    std::array<Point, 3> points;
};

} // namespace QELT::Geometry::ThreeDimensional::QuadMesh
