#pragma once

#include "Geometry/foundations/export.h"
#include "Geometry/foundations/linearmap.h"
#include "Geometry/foundations/vector.h"

namespace QELT::Geometry::ThreeDimensional {

/// An affine map of space: a linear map followed by a translation. It acts on vectors; to map a point, apply
/// it to the vector from the origin of the map. A map that is not given its parts takes everything to zero.
class QELT_EXPORT AffineMap {
public:
    AffineMap() = default;
    AffineMap(LinearMap const& linearMap, Vector const& translation);

    AffineMap(AffineMap const& other) = default;

    AffineMap& operator=(AffineMap const& other) = default;

    virtual ~AffineMap() = default;

    void set(AffineMap const& other);
    void setLinearMap(LinearMap const& linearMap);
    void setTranslation(Vector const& translation);

    LinearMap const& getLinearMap() const { return linearMap; }

    Vector const& getTranslation() const { return translation; }

    /// linear map * `vector` + translation.
    Vector operator()(Vector const& vector) const;

    /// The inverse map; infinities or NaNs when the linear map is singular.
    AffineMap inverse() const;

    /// Not the composition of the two maps. With the homogeneous 4x4 matrices P of this map and Q of the
    /// argument, the result has the linear part of Q, its first row zeroed, plus the square of the linear
    /// part of P, and the translation of Q with a zero first component. For the composition form
    /// `AffineMap(L1 * L2, L1 * t2 + t1)` from the parts.
    AffineMap operator*(AffineMap const& other) const;

private:
    /// The homogeneous matrix as 16 numbers row by row: each of the first three rows is a row of the linear
    /// map followed by the component of the translation. The last row is 0, 0, 0, 1; it is written, but not
    /// read.
    AffineMap(double const* matrix);
    void set(double const* matrix);
    void get(double* matrix) const;

    LinearMap linearMap;
    Vector translation;
};

} // namespace QELT::Geometry::ThreeDimensional
