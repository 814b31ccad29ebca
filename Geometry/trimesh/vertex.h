#pragma once

#include "Geometry/foundations/export.h"
#include "Geometry/foundations/point.h"
#include "Geometry/foundations/vector.h"

namespace QELT::Geometry::ThreeDimensional::TriMesh {

/// A vertex of a triangle mesh: its place on the surface, its place in the flat map (zero until the mesh is
/// flattened or a file supplies it) and its unit normal (zero until normals are computed).
class QELT_EXPORT Vertex {
public:
    Vertex() = default;

    Vertex(Point const& point) : point3D(point) {}

    Vertex(Vertex const&) = default;

    Vertex const& operator=(Vertex const& other) {
        point3D = other.point3D;
        point2D = other.point2D;
        normal3D = other.normal3D;
        return *this;
    }

    virtual ~Vertex() = default;

    Point const& getPoint3D() const { return point3D; }

    TwoDimensional::Point<double> const& getPoint2D() const { return point2D; }

    Vector const& getNormal3D() const { return normal3D; }

    void setPoint3D(Point const& point) { point3D = point; }

    void setPoint2D(TwoDimensional::Point<double> const& point) { point2D = point; }

    void setNormal3D(Vector const& normal) { normal3D = normal; }

protected:
    Point* getpPoint3D() { return &point3D; }

private:
    Point point3D;
    TwoDimensional::Point<double> point2D;
    Vector normal3D;
};

} // namespace QELT::Geometry::ThreeDimensional::TriMesh
