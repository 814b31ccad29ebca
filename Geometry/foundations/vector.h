#pragma once

#include "Geometry/foundations/element.h"
#include "Geometry/foundations/export.h"

#include <cmath>

namespace QELT::Geometry {

namespace TwoDimensional {

/// A displacement in the plane of the flat map or of the grid's indices. T is `int`, `unsigned long` (kept in
/// 32 bits) or `double`; integer arithmetic wraps around modulo 2^32.
template <class T>
class Vector {
public:
    using Stored = ElementType<T>;

    Vector() = default;

    Vector(T u, T v) : dU(static_cast<Stored>(u)), dV(static_cast<Stored>(v)) {}

    Vector(Vector const&) = default;
    Vector& operator=(Vector const&) = default;
    virtual ~Vector() = default;

    void set(T newdU, T newdV) {
        setdU(newdU);
        setdV(newdV);
    }

    void set(Vector const& other) { *this = other; }

    T getdU() const { return dU; }

    T getdV() const { return dV; }

    /// Sets a component alone.
    void setdU(T value) { dU = static_cast<Stored>(value); }

    /// Sets a component alone.
    void setdV(T value) { dV = static_cast<Stored>(value); }

    /// The component of that number: even gives `dU`, odd gives `dV`.
    T get(unsigned long i) const { return (i & 1UL) == 0 ? getdU() : getdV(); }

    /// Writes a component. Unlike in `get`, an even number from 2 on writes both.
    void seti(unsigned long i, T value) {
        if ((i & 1UL) == 0) {
            setdU(value);
        }
        if (toUInt32(i) != 0) {
            setdV(value);
        }
    }

    bool operator==(Vector const& other) const { return dU == other.dU && dV == other.dV; }

    bool operator!=(Vector const& other) const { return !(*this == other); }

    Vector operator+(Vector const& other) const {
        return Vector(wrappedSum(dU, other.dU), wrappedSum(dV, other.dV));
    }

    Vector operator-(Vector const& other) const {
        return Vector(wrappedDifference(dU, other.dU), wrappedDifference(dV, other.dV));
    }

    Vector& operator+=(Vector const& other) { return *this = *this + other; }

    Vector& operator-=(Vector const& other) { return *this = *this - other; }

    Vector operator*(T const& factor) const {
        return Vector(wrappedProduct(dU, static_cast<Stored>(factor)),
                      wrappedProduct(dV, static_cast<Stored>(factor)));
    }

    /// Divides each component; integers are truncated towards zero. An integer divisor of 0 is not guarded.
    Vector operator/(T const& divisor) const {
        return Vector(wrappedQuotient(dU, static_cast<Stored>(divisor)),
                      wrappedQuotient(dV, static_cast<Stored>(divisor)));
    }

    Vector& operator/=(T const& divisor) { return *this = *this / divisor; }

    /// The scalar product.
    T dot(Vector const& other) const {
        return wrappedSum(wrappedProduct(dU, other.dU), wrappedProduct(dV, other.dV));
    }

    /// The determinant with this vector as first row: positive when `other` lies to the left of this vector.
    T det(Vector const& other) const {
        return wrappedDifference(wrappedProduct(dU, other.dV), wrappedProduct(other.dU, dV));
    }

    /// The squared length.
    T lSqr() const { return wrappedSum(sqr(dU), sqr(dV)); }

    /// This vector after a quarter turn in the positive sense.
    Vector perp() const { return Vector(wrappedNegative(dV), dU); }

    bool getIsNull() const { return dU == Stored{} && dV == Stored{}; }

private:
    static Stored sqr(T value) {
        return wrappedProduct(static_cast<Stored>(value), static_cast<Stored>(value));
    }

    Stored dU{};
    Stored dV{};
};

extern template class QELT_EXPORT Vector<int>;
extern template class QELT_EXPORT Vector<unsigned long>;
extern template class QELT_EXPORT Vector<double>;

} // namespace TwoDimensional

namespace ThreeDimensional {

class Quaternion;

/// A displacement in space, in doubles.
class QELT_EXPORT Vector {
public:
    Vector() = default;

    Vector(double x, double y, double z) : dX(x), dY(y), dZ(z) {}

    /// From three numbers in a row.
    Vector(double const* c) : Vector(c[0], c[1], c[2]) {}

    /// `value` along the axis of that number, modulo 3; zero along the others.
    Vector(unsigned long axis, double value) { set(axis, value); }

    Vector(Vector const&) = default;
    Vector& operator=(Vector const&) = default;
    virtual ~Vector() = default;

    void set(double newdX, double newdY, double newdZ) {
        dX = newdX;
        dY = newdY;
        dZ = newdZ;
    }

    void set(Vector const& other) { *this = other; }

    /// Component number `i` modulo 3.
    void set(unsigned long i, double value) { component(i) = value; }

    /// Component number `i` modulo 3.
    double get(unsigned long i) const {
        std::uint32_t const axis = toUInt32(i) % 3U;
        return axis == 0 ? dX : (axis == 1 ? dY : dZ);
    }

    /// Adds to component number `i` modulo 3.
    void inc(unsigned long i, double value) { component(i) += value; }

    double getdX() const { return dX; }

    double getdY() const { return dY; }

    double getdZ() const { return dZ; }

    Vector operator+(Vector const& other) const {
        return Vector(dX + other.dX, dY + other.dY, dZ + other.dZ);
    }

    Vector operator-(Vector const& other) const {
        return Vector(dX - other.dX, dY - other.dY, dZ - other.dZ);
    }

    Vector operator-() const { return Vector(-dX, -dY, -dZ); }

    Vector& operator+=(Vector const& other) { return *this = *this + other; }

    Vector operator*(double factor) const { return Vector(dX * factor, dY * factor, dZ * factor); }

    Vector& operator*=(double factor) { return *this = *this * factor; }

    /// A true division of each component, not a product with the reciprocal.
    Vector operator/(double divisor) const { return Vector(dX / divisor, dY / divisor, dZ / divisor); }

    /// The inner product, summed as (y + x) + z.
    double dot(Vector const& other) const { return (dY * other.dY + dX * other.dX) + dZ * other.dZ; }

    /// The squared length, summed like `dot`.
    double lSqr() const { return (sqr(dY) + sqr(dX)) + sqr(dZ); }

    /// The right-handed product, this times `other`.
    Vector cross(Vector const& other) const {
        return Vector(dY * other.dZ - dZ * other.dY, other.dX * dZ - dX * other.dZ,
                      dX * other.dY - dY * other.dX);
    }

    /// The component that is strictly greatest in magnitude, as a magnitude. On a tie of x and y for the
    /// greatest it is |z| instead: `linf` of (1, 1, 0) is 0.
    double linf() const;

    /// Whether no component is a NaN or an infinity.
    bool getIsReal() const { return std::isfinite(dX) && std::isfinite(dY) && std::isfinite(dZ); }

    /// This vector turned by a quaternion of any length but zero: the vector part of q (0, this) q^-1.
    Vector rot(Quaternion const& q) const;

private:
    static double sqr(double value) { return value * value; }

    double& component(unsigned long i) {
        switch (toUInt32(i) % 3U) {
        case 0:
            return dX;
        case 1:
            return dY;
        default:
            return dZ;
        }
    }

    double dX = 0.0;
    double dY = 0.0;
    double dZ = 0.0;
};

inline Vector operator*(double factor, Vector const& vector) {
    return vector * factor;
}

} // namespace ThreeDimensional
} // namespace QELT::Geometry
