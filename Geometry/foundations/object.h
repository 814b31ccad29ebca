#pragma once

#include "Geometry/foundations/export.h"

namespace QELT::Geometry::ThreeDimensional {

class BoundingBoxAA;
class Plane;
class Point;

namespace BinarySpacePartition {

/// Something that has a place in space and can be indexed by a partition tree: what the tree asks of it.
/// `ThreeDimensional::Point` is the library's own kind; any shape that answers these five questions can stand
/// beside it. A shape on both sides of a plane must settle for one; what answers that it is on neither, as
/// one with a NaN, or on both is left out by the tree.
class QELT_EXPORT Object {
public:
    Object() = default;
    Object(Object const&) = default;
    Object& operator=(Object const&) = default;
    virtual ~Object() = default;

    /// Whether the object lies on the side of the plane to which its normal points.
    virtual bool getIsAbove(Plane const& plane) const = 0;

    /// Whether the object lies on the other side.
    virtual bool getIsBelow(Plane const& plane) const = 0;

    /// The distance from the object to a point.
    virtual double getMinMaxDistance(Point const& point) const = 0;

    /// The distance from the object to a plane, never negative.
    virtual double getMinMaxDistance(Plane const& plane) const = 0;

    /// The axis-aligned box around the object.
    virtual BoundingBoxAA getBoundingBox() const = 0;
};

} // namespace BinarySpacePartition
} // namespace QELT::Geometry::ThreeDimensional
