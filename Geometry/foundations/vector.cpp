#include "Geometry/foundations/vector.h"

namespace QELT::Geometry {

namespace TwoDimensional {

template class Vector<int>;
template class Vector<unsigned long>;
template class Vector<double>;

} // namespace TwoDimensional

namespace ThreeDimensional {

double Vector::linf() const {
    double const x = std::abs(dX);
    double const y = std::abs(dY);
    double const z = std::abs(dZ);
    if (x > y && x > z) {
        return x;
    }
    if (y > x && y > z) {
        return y;
    }
    return z;
}

} // namespace ThreeDimensional
} // namespace QELT::Geometry
