#pragma once

#include "Geometry/foundations/element.h"
#include "Geometry/foundations/export.h"
#include "Geometry/foundations/point.h"

#include <vector>

namespace QELT::Geometry::ThreeDimensional::PointCloud {

/// Measured points in the order in which they came, from which a surface is reconstructed. A cloud is not
/// copied by value: a copy is empty, and an assignment changes nothing.
class QELT_EXPORT Cloud {
public:
    Cloud() = default;

    /// An empty cloud; the source is not read.
    Cloud(Cloud const& other);

    /// Leaves this cloud as it is; the source is not read.
    Cloud& operator=(Cloud const& other);
    virtual ~Cloud() = default;

    /// Adds a point at the end.
    void addPoint(Point const& point) { points.push_back(point); }

    unsigned long getNumberOfPoints() const { return toUInt32(points.size()); }

    /// The index wraps modulo the number of points, of which there must be one.
    Point const& getPoint(unsigned long i) const { return points[toUInt32(i) % toUInt32(points.size())]; }

private:
    std::vector<Point> points;
};

} // namespace QELT::Geometry::ThreeDimensional::PointCloud
