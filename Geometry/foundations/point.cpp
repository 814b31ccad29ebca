#include "Geometry/foundations/point.h"

#include "Geometry/foundations/boundingbox.h"
#include "Geometry/foundations/plane.h"

namespace QELT::Geometry {

namespace TwoDimensional {

template class Point<int>;
template class Point<unsigned long>;
template class Point<double>;

} // namespace TwoDimensional

namespace ThreeDimensional {

float Point::get(unsigned long i) const {
    switch (toUInt32(i) % 3U) {
    case 0:
        return x;
    case 1:
        return y;
    default:
        return z;
    }
}

void Point::seti(unsigned long i, double value) {
    switch (toUInt32(i) % 3U) {
    case 0:
        x = toFloat(value);
        break;
    case 1:
        y = toFloat(value);
        break;
    default:
        z = toFloat(value);
        break;
    }
}

bool Point::getIsAbove(Plane const& plane) const {
    return (*this - plane.getp()).dot(plane.getN()) >= 0.0;
}

bool Point::getIsBelow(Plane const& plane) const {
    return 0.0 > (*this - plane.getp()).dot(plane.getN());
}

double Point::getMinMaxDistance(Point const& point) const {
    return std::sqrt(dSqr(point));
}

double Point::getMinMaxDistance(Plane const& plane) const {
    Vector const& normal = plane.getN();
    return std::abs((*this - plane.getp()).dot(normal)) / std::sqrt(normal.dot(normal));
}

BoundingBoxAA Point::getBoundingBox() const {
    return BoundingBoxAA(*this, Vector());
}

} // namespace ThreeDimensional
} // namespace QELT::Geometry
