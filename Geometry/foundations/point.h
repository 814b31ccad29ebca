#pragma once

#include "Geometry/foundations/element.h"
#include "Geometry/foundations/export.h"
#include "Geometry/foundations/object.h"
#include "Geometry/foundations/rounding.h"
#include "Geometry/foundations/vector.h"

#include <utility>

namespace QELT::Geometry {

namespace TwoDimensional {

template <class T>
class BoundingBoxAA;

/// A place in the plane: a node or quad of the grid (`int`), a size (`unsigned long`, kept in 32 bits) or a
/// place in the flat map (`double`). Integer arithmetic wraps around modulo 2^32.
template <class T>
class Point {
public:
    using Stored = ElementType<T>;

    Point() = default;

    Point(T newU, T newV) : u(static_cast<Stored>(newU)), v(static_cast<Stored>(newV)) {}

    Point(Point const&) = default;
    Point& operator=(Point const&) = default;
    virtual ~Point() = default;

    void set(T newU, T newV) {
        setU(newU);
        setV(newV);
    }

    void set(Point const& other) { *this = other; }

    void set(std::pair<T, T> const& other) { set(other.first, other.second); }

    T getU() const { return u; }

    T getV() const { return v; }

    void setU(T value) { u = static_cast<Stored>(value); }

    void setV(T value) { v = static_cast<Stored>(value); }

    /// The coordinate of that number: even gives `u`, odd gives `v`.
    T get(unsigned long i) const { return (i & 1UL) == 0 ? getU() : getV(); }

    /// Writes a coordinate. Unlike in `get`, an even number from 2 on writes both.
    void seti(unsigned long i, T value) {
        if ((i & 1UL) == 0) {
            setU(value);
        }
        if (toUInt32(i) != 0) {
            setV(value);
        }
    }

    bool operator==(Point const& other) const { return u == other.u && v == other.v; }

    bool operator!=(Point const& other) const { return !(*this == other); }

    Point operator+(Vector<T> const& step) const {
        return Point(wrappedSum(u, static_cast<Stored>(step.getdU())),
                     wrappedSum(v, static_cast<Stored>(step.getdV())));
    }

    Point operator-(Vector<T> const& step) const {
        return Point(wrappedDifference(u, static_cast<Stored>(step.getdU())),
                     wrappedDifference(v, static_cast<Stored>(step.getdV())));
    }

    Point& operator+=(Vector<T> const& step) { return *this = *this + step; }

    Point& operator-=(Vector<T> const& step) { return *this = *this - step; }

    /// The way from `other` to this point.
    Vector<T> operator-(Point const& other) const {
        return Vector<T>(wrappedDifference(u, other.u), wrappedDifference(v, other.v));
    }

    /// The squared distance.
    T dSqr(Point const& other) const {
        return wrappedSum(sqr(wrappedDifference(u, other.u)), sqr(wrappedDifference(v, other.v)));
    }

    /// Takes over each coordinate of `other` that is strictly greater.
    void setMax(Point const& other) {
        u = other.u > u ? other.u : u;
        v = other.v > v ? other.v : v;
    }

    /// Takes over each coordinate of `other` that is strictly less.
    void setMin(Point const& other) {
        u = other.u < u ? other.u : u;
        v = other.v < v ? other.v : v;
    }

    /// The box of no extent at this point.
    BoundingBoxAA<T> getBoundingBox() const;

private:
    static Stored sqr(T value) {
        return wrappedProduct(static_cast<Stored>(value), static_cast<Stored>(value));
    }

    Stored u{};
    Stored v{};
};

extern template class QELT_EXPORT Point<int>;
extern template class QELT_EXPORT Point<unsigned long>;
extern template class QELT_EXPORT Point<double>;

} // namespace TwoDimensional

namespace ThreeDimensional {

/// A place in space. Coordinates are kept as 32-bit floats; whatever comes in as a double is rounded to the
/// nearest float. A grid holds one for every node, which is why they are small.
class QELT_EXPORT Point : public BinarySpacePartition::Object {
public:
    Point() = default;

    Point(double newX, double newY, double newZ) : x(toFloat(newX)), y(toFloat(newY)), z(toFloat(newZ)) {}

    /// From three numbers in a row.
    Point(double const* c) : Point(c[0], c[1], c[2]) {}

    Point(Point const&) = default;
    Point& operator=(Point const&) = default;
    ~Point() override = default;

    void set(double newX, double newY, double newZ) {
        x = toFloat(newX);
        y = toFloat(newY);
        z = toFloat(newZ);
    }

    void set(Point const& other) { *this = other; }

    /// Coordinate number `i` modulo 3.
    float get(unsigned long i) const;
    void seti(unsigned long i, double value);

    float getX() const { return x; }

    float getY() const { return y; }

    float getZ() const { return z; }

    /// The three coordinates in a row, as they are kept. Points in a row are `sizeof(Point)` bytes apart.
    float const* getCoordinates() const { return &x; }

    bool operator==(Point const& other) const { return x == other.x && y == other.y && z == other.z; }

    bool operator!=(Point const& other) const { return !(*this == other); }

    /// The way from `other` to this point. Each difference is taken in floats, so the result has single
    /// precision although its type is double.
    Vector operator-(Point const& other) const { return Vector(x - other.x, y - other.y, z - other.z); }

    /// The point moved by a vector, in doubles, rounded once.
    Point operator+(Vector const& step) const {
        return Point(static_cast<double>(x) + step.getdX(), static_cast<double>(y) + step.getdY(),
                     static_cast<double>(z) + step.getdZ());
    }

    Point operator-(Vector const& step) const {
        return Point(static_cast<double>(x) - step.getdX(), static_cast<double>(y) - step.getdY(),
                     static_cast<double>(z) - step.getdZ());
    }

    /// Moves the point in floats: the step is rounded first, then the sum. The result can differ from that of
    /// `operator+` in the last place.
    Point& operator+=(Vector const& step) {
        x += toFloat(step.getdX());
        y += toFloat(step.getdY());
        z += toFloat(step.getdZ());
        return *this;
    }

    Point& operator-=(Vector const& step) {
        x -= toFloat(step.getdX());
        y -= toFloat(step.getdY());
        z -= toFloat(step.getdZ());
        return *this;
    }

    /// The squared distance in single precision: float differences, squared in double and rounded to float,
    /// summed in float as (y + x) + z.
    double dSqr(Point const& other) const {
        float const squareX = sqr(x - other.x);
        float const squareY = sqr(y - other.y);
        float const squareZ = sqr(z - other.z);
        return static_cast<double>((squareY + squareX) + squareZ);
    }

    bool getIsNull() const { return x == 0.0F && y == 0.0F && z == 0.0F; }

    /// Takes over each coordinate of `other` that is strictly greater.
    void setMax(Point const& other) {
        x = other.x > x ? other.x : x;
        y = other.y > y ? other.y : y;
        z = other.z > z ? other.z : z;
    }

    /// Takes over each coordinate of `other` that is strictly less.
    void setMin(Point const& other) {
        x = other.x < x ? other.x : x;
        y = other.y < y ? other.y : y;
        z = other.z < z ? other.z : z;
    }

    /// A point on the plane counts as above; a NaN is neither above nor below.
    bool getIsAbove(Plane const& plane) const override;
    bool getIsBelow(Plane const& plane) const override;

    /// The distance between the points: the root, in double, of `dSqr`.
    double getMinMaxDistance(Point const& point) const override;

    /// The distance to the plane, whose normal need not be of unit length. A zero normal gives a NaN.
    double getMinMaxDistance(Plane const& plane) const override;

    /// The box of no extent at this point.
    BoundingBoxAA getBoundingBox() const override;

private:
    static float sqr(double value) { return toFloat(value * value); }

    float x = 0.0F;
    float y = 0.0F;
    float z = 0.0F;
};

} // namespace ThreeDimensional
} // namespace QELT::Geometry
