#pragma once

#include "Geometry/foundations/point.h"
#include "Geometry/foundations/vector.h"

#include <array>
#include <cstddef>

#if defined(__SSE2__)
#include <emmintrin.h>
#else
#include "Geometry/foundations/rounding.h"

#include <cmath>
#endif

// Two points, or two vectors, computed side by side: the two triangles of a quad, or its two edges. Every
// operation rounds each half by itself, as `Point` and `Vector` do, and sums in their order, so that the
// results have the bits of two computations one after the other. The processor does both at once, and needs
// not guess by a branch which of the two will be wanted.

namespace QELT::Geometry::ThreeDimensional::QuadMesh {

#if defined(__SSE2__)

/// Two floats.
class FloatPair {
public:
    FloatPair(float first, float second) : halves(_mm_unpacklo_ps(_mm_set_ss(first), _mm_set_ss(second))) {}

    explicit FloatPair(__m128 newHalves) : halves(newHalves) {}

    FloatPair operator-(FloatPair const& other) const { return FloatPair(_mm_sub_ps(halves, other.halves)); }

    FloatPair operator+(FloatPair const& other) const { return FloatPair(_mm_add_ps(halves, other.halves)); }

    float operator[](std::size_t half) const {
        std::array<float, 4> all{};
        _mm_storeu_ps(all.data(), halves);
        return all[half];
    }

    __m128 getHalves() const { return halves; }

private:
    __m128 halves;
};

/// Two doubles.
class DoublePair {
public:
    DoublePair(double first, double second) : halves(_mm_set_pd(second, first)) {}

    explicit DoublePair(double both) : halves(_mm_set1_pd(both)) {}

    explicit DoublePair(__m128d newHalves) : halves(newHalves) {}

    explicit DoublePair(FloatPair const& floats) : halves(_mm_cvtps_pd(floats.getHalves())) {}

    FloatPair narrowed() const { return FloatPair(_mm_cvtpd_ps(halves)); }

    DoublePair operator+(DoublePair const& other) const {
        return DoublePair(_mm_add_pd(halves, other.halves));
    }

    DoublePair operator-(DoublePair const& other) const {
        return DoublePair(_mm_sub_pd(halves, other.halves));
    }

    DoublePair operator*(DoublePair const& other) const {
        return DoublePair(_mm_mul_pd(halves, other.halves));
    }

    DoublePair operator/(DoublePair const& other) const {
        return DoublePair(_mm_div_pd(halves, other.halves));
    }

    DoublePair getRoots() const { return DoublePair(_mm_sqrt_pd(halves)); }

    /// The other half first.
    DoublePair swapped() const { return DoublePair(_mm_shuffle_pd(halves, halves, 1)); }

    /// The first half of this one and the second of another.
    DoublePair firstWithSecondOf(DoublePair const& other) const {
        return DoublePair(_mm_move_sd(other.halves, halves));
    }

    /// Which halves are above zero, the first as 1 and the second as 2. A NaN is not.
    int getPositive() const { return _mm_movemask_pd(_mm_cmpgt_pd(halves, _mm_setzero_pd())); }

    int getNegative() const { return _mm_movemask_pd(_mm_cmplt_pd(halves, _mm_setzero_pd())); }

    double operator[](std::size_t half) const {
        std::array<double, 2> both{};
        _mm_storeu_pd(both.data(), halves);
        return both[half];
    }

private:
    __m128d halves;
};

#else

class FloatPair {
public:
    FloatPair(float newFirst, float newSecond) : first(newFirst), second(newSecond) {}

    FloatPair operator-(FloatPair const& other) const { return {first - other.first, second - other.second}; }

    FloatPair operator+(FloatPair const& other) const { return {first + other.first, second + other.second}; }

    float operator[](std::size_t half) const { return half == 0 ? first : second; }

private:
    float first;
    float second;
};

class DoublePair {
public:
    DoublePair(double newFirst, double newSecond) : first(newFirst), second(newSecond) {}

    explicit DoublePair(double both) : DoublePair(both, both) {}

    explicit DoublePair(FloatPair const& floats) : DoublePair(floats[0], floats[1]) {}

    FloatPair narrowed() const { return {toFloat(first), toFloat(second)}; }

    DoublePair operator+(DoublePair const& other) const {
        return {first + other.first, second + other.second};
    }

    DoublePair operator-(DoublePair const& other) const {
        return {first - other.first, second - other.second};
    }

    DoublePair operator*(DoublePair const& other) const {
        return {first * other.first, second * other.second};
    }

    DoublePair operator/(DoublePair const& other) const {
        return {first / other.first, second / other.second};
    }

    DoublePair getRoots() const { return {std::sqrt(first), std::sqrt(second)}; }

    DoublePair swapped() const { return {second, first}; }

    DoublePair firstWithSecondOf(DoublePair const& other) const { return {first, other.second}; }

    int getPositive() const { return (first > 0.0 ? 1 : 0) + (second > 0.0 ? 2 : 0); }

    int getNegative() const { return (first < 0.0 ? 1 : 0) + (second < 0.0 ? 2 : 0); }

    double operator[](std::size_t half) const { return half == 0 ? first : second; }

private:
    double first;
    double second;
};

#endif

/// Two vectors.
struct VectorPair {
    DoublePair x;
    DoublePair y;
    DoublePair z;

    VectorPair(DoublePair const& newX, DoublePair const& newY, DoublePair const& newZ)
        : x(newX), y(newY), z(newZ) {}

    VectorPair(Vector const& first, Vector const& second)
        : x(first.getdX(), second.getdX()),
          y(first.getdY(), second.getdY()),
          z(first.getdZ(), second.getdZ()) {}

    /// The same one twice.
    explicit VectorPair(Vector const& both) : x(both.getdX()), y(both.getdY()), z(both.getdZ()) {}

    DoublePair dot(VectorPair const& other) const { return (y * other.y + x * other.x) + z * other.z; }

    VectorPair cross(VectorPair const& other) const {
        return {y * other.z - z * other.y, other.x * z - x * other.z, x * other.y - y * other.x};
    }

    VectorPair operator-(VectorPair const& other) const { return {x - other.x, y - other.y, z - other.z}; }

    VectorPair operator*(DoublePair const& factor) const { return {x * factor, y * factor, z * factor}; }

    VectorPair operator/(DoublePair const& divisor) const { return {x / divisor, y / divisor, z / divisor}; }

    VectorPair swapped() const { return {x.swapped(), y.swapped(), z.swapped()}; }

    VectorPair firstWithSecondOf(VectorPair const& other) const {
        return {x.firstWithSecondOf(other.x), y.firstWithSecondOf(other.y), z.firstWithSecondOf(other.z)};
    }
};

/// Two points.
struct PointPair {
    FloatPair x;
    FloatPair y;
    FloatPair z;

    PointPair(Point const& first, Point const& second)
        : x(first.getX(), second.getX()), y(first.getY(), second.getY()), z(first.getZ(), second.getZ()) {}

    /// A point moved by two vectors.
    PointPair(Point const& point, VectorPair const& steps)
        : x((DoublePair(static_cast<double>(point.getX())) + steps.x).narrowed()),
          y((DoublePair(static_cast<double>(point.getY())) + steps.y).narrowed()),
          z((DoublePair(static_cast<double>(point.getZ())) + steps.z).narrowed()) {}

    VectorPair operator-(PointPair const& other) const {
        return {DoublePair(x - other.x), DoublePair(y - other.y), DoublePair(z - other.z)};
    }

    /// The squared distances to a point, in single precision.
    DoublePair dSqr(Point const& other) const {
        VectorPair const way = *this - PointPair(other, other);
        FloatPair const squareX = (way.x * way.x).narrowed();
        FloatPair const squareY = (way.y * way.y).narrowed();
        FloatPair const squareZ = (way.z * way.z).narrowed();
        return DoublePair((squareY + squareX) + squareZ);
    }
};

} // namespace QELT::Geometry::ThreeDimensional::QuadMesh
