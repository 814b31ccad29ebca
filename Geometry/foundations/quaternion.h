#pragma once

#include "Geometry/foundations/export.h"
#include "Geometry/foundations/vector.h"

namespace QELT::Geometry::ThreeDimensional {

class LinearMap;

/// A quaternion a + b i + c j + d k: `a` is the scalar part, (`b`, `c`, `d`) the vector part. A unit
/// quaternion stands for a rotation of space. Nothing is normalised unless told, and a zero quaternion is not
/// detected.
class QELT_EXPORT Quaternion {
public:
    /// All elements zero.
    Quaternion() = default;

    Quaternion(double a, double b, double c, double d);
    Quaternion(double a, Vector const& bcd);

    /// The pure quaternion of a vector: no scalar part.
    Quaternion(Vector const& bcd);

    /// The rotation that takes `from` to `to`, as `rot`.
    Quaternion(Vector const& from, Vector const& to);

    Quaternion(Quaternion const& other) = default;

    Quaternion& operator=(Quaternion const& other) = default;

    virtual ~Quaternion() = default;

    void set(double a, double b, double c, double d);
    void set(double a, Vector const& bcd);
    void set(Quaternion const& other);

    double geta() const { return a; }

    double getb() const { return b; }

    double getc() const { return c; }

    double getd() const { return d; }

    /// The vector part.
    Vector getbcd() const;

    /// Element i modulo 4, in the order a, b, c, d.
    double get(unsigned long i) const;
    void set(unsigned long i, double value);
    void inc(unsigned long i, double value);

    /// The Hamilton product. As rotations: `right` acts first.
    Quaternion operator*(Quaternion const& right) const;

    Quaternion operator*(double factor) const;
    Quaternion operator/(double divisor) const;
    Quaternion operator+(Quaternion const& other) const;
    Quaternion operator-(Quaternion const& other) const;
    Quaternion& operator+=(Quaternion const& other);

    /// The conjugate, the scalar product, and the squared length.
    Quaternion conj() const;
    double dot(Quaternion const& other) const;
    double normSqr() const;

    /// The conjugate divided by the squared norm.
    Quaternion inverse() const;

    /// The absolute value of the element that is strictly greater than all the others in absolute value, or
    /// of `d` when there is none: on a tie for the largest the result may be smaller than the true maximum.
    double linf() const;

    /// Stores the rotation this quaternion stands for; its length does not matter, but a zero one gives NaNs.
    void getRotation(LinearMap& map) const;

    /// (u.v, u x v): for unit vectors the rotation from u towards v by twice the angle between them.
    static Quaternion rot2theta(Vector const& u, Vector const& v);

    /// The rotation that takes the unit vector `from` to the unit vector `to` on the shortest way. Opposite
    /// vectors give a half turn about an axis at right angles to both.
    static Quaternion rot(Vector const& from, Vector const& to);

    /// The fraction `t` of the rotation from `from` to `to`, both unit vectors. Parallel vectors, opposite
    /// ones included, define no plane to turn in.
    static Quaternion rot(Vector const& from, Vector const& to, double t);

    /// The fraction `t` of the motion that takes the frame of two directions (`fromA`, `fromB`) to (`toA`,
    /// `toB`): first the swing of A, then the twist about it that is left to do for B. All are unit vectors,
    /// and those of a pair are at right angles.
    static Quaternion rot(Vector const& fromA, Vector const& fromB, Vector const& toA, Vector const& toB,
                          double t);

private:
    static double sqr(double x);

    double a = 0.0;
    double b = 0.0;
    double c = 0.0;
    double d = 0.0;
};

} // namespace QELT::Geometry::ThreeDimensional
