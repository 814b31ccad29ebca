#include "Geometry/foundations/boundingbox.h"

namespace QELT::Geometry {

namespace TwoDimensional {

template class BoundingBoxAA<int>;
template class BoundingBoxAA<unsigned long>;
template class BoundingBoxAA<double>;

} // namespace TwoDimensional

namespace ThreeDimensional {

double BoundingBoxAA::getLongestAxisSize() const {
    double const x = d.getdX();
    double const y = d.getdY();
    double const z = d.getdZ();
    if (x >= y && x >= z) {
        return x;
    }
    if (y >= x && y >= z) {
        return y;
    }
    return z;
}

bool BoundingBoxAA::getIsInside(Point const& point) const {
    Vector const fromCorner = point - p;
    for (unsigned long axis = 0; axis < 3; ++axis) {
        double const along = fromCorner.dot(Vector(axis, 1.0));
        if (!(along >= 0.0) || !(d.get(axis) >= along)) {
            return false;
        }
    }
    return true;
}

void BoundingBoxAA::expand(BoundingBoxAA const& other) {
    Point high = getp1();
    high.setMax(other.getp1());
    p.setMin(other.p);
    d = high - p;
}

} // namespace ThreeDimensional
} // namespace QELT::Geometry
