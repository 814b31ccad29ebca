#pragma once

#include "Geometry/foundations/export.h"
#include "Geometry/foundations/point.h"
#include "Geometry/foundations/vector.h"

namespace QELT::Geometry {

namespace TwoDimensional {

/// An axis-aligned box of the plane, kept as low corner and extent; the high corner is formed on request.
template <class T>
class BoundingBoxAA {
public:
    BoundingBoxAA() = default;

    BoundingBoxAA(Point<T> const& corner, Vector<T> const& extent) : p(corner), d(extent) {}

    BoundingBoxAA(BoundingBoxAA const&) = default;

    BoundingBoxAA const& operator=(BoundingBoxAA const& other) {
        set(other.p, other.d);
        return *this;
    }

    virtual ~BoundingBoxAA() = default;

    void set(Point<T> const& newp, Vector<T> const& newd) {
        p = newp;
        d = newd;
    }

    /// Moves the low corner; the extent stays.
    void setp(Point<T> const& newp) { p = newp; }

    Point<T> const& getp() const { return p; }

    Vector<T> const& getd() const { return d; }

    /// The high corner, p + d.
    Point<T> getp1() const { return p + d; }

    /// Whether the point lies in the half-open box: the low ends belong to it, the high ends do not, so a box
    /// of no extent holds nothing.
    bool isInside(Point<T> const& point) const {
        Point<T> const high = getp1();
        return p.getU() <= point.getU() && point.getU() < high.getU() && p.getV() <= point.getV() &&
               point.getV() < high.getV();
    }

    /// Grows the box to cover `other` as well. The high corners are formed anew from corner and extent, so
    /// that a box of doubles gathers rounding in its extent.
    void expand(BoundingBoxAA const& other) {
        Point<T> high = getp1();
        high.setMax(other.getp1());
        p.setMin(other.p);
        d = high - p;
    }

private:
    Point<T> p;
    Vector<T> d;
};

template <class T>
BoundingBoxAA<T> Point<T>::getBoundingBox() const {
    return BoundingBoxAA<T>(*this, Vector<T>());
}

extern template class QELT_EXPORT BoundingBoxAA<int>;
extern template class QELT_EXPORT BoundingBoxAA<unsigned long>;
extern template class QELT_EXPORT BoundingBoxAA<double>;

} // namespace TwoDimensional

namespace ThreeDimensional {

/// An axis-aligned box of space, kept as low corner and extent; the high corner is formed on request and
/// rounded to floats.
class QELT_EXPORT BoundingBoxAA {
public:
    BoundingBoxAA() = default;

    BoundingBoxAA(Point const& corner, Vector const& extent) : p(corner), d(extent) {}

    BoundingBoxAA(BoundingBoxAA const&) = default;

    BoundingBoxAA const& operator=(BoundingBoxAA const& other) {
        set(other.p, other.d);
        return *this;
    }

    virtual ~BoundingBoxAA() = default;

    void set(Point const& newp, Vector const& newd) {
        p = newp;
        d = newd;
    }

    Point const& getp() const { return p; }

    Vector const& getd() const { return d; }

    /// The high corner, p + d.
    Point getp1() const { return p + d; }

    Point getCentrePoint() const { return p + 0.5 * d; }

    /// The largest of the three extents.
    double getLongestAxisSize() const;

    /// Whether the point lies in the closed box: all ends belong to it. A NaN lies in no box.
    bool getIsInside(Point const& point) const;

    /// Grows the box to cover `other` as well. Corners are points of floats and the new extent is their
    /// difference in single precision, so a box that grows often gathers rounding in its extent.
    void expand(BoundingBoxAA const& other);

private:
    Point p;
    Vector d;
};

} // namespace ThreeDimensional
} // namespace QELT::Geometry
