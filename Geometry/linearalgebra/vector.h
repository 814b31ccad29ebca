#pragma once

#include "Geometry/foundations/export.h"

#include <cstdint>
#include <memory>

namespace QELT::LinearAlgebra {

class RowVector;

/// A dense vector of doubles of fixed length, with value semantics. It owns one array, allocated at
/// construction and kept by assignments of the same length; its values are unset until written.
/// Element access past the end is harmless: reading gives 0.0, writing does nothing. Sizes and indices are
/// kept in 32 bits.
class QELT_EXPORT Vector {
public:
    /// Thrown by pointer when lengths do not fit: the handler catches a `VectorInvalidDimensionsException*`
    /// and owns the object.
    class QELT_EXPORT VectorInvalidDimensionsException {};

    /// A vector of n unset values; 0 is allowed. Call `zero` where zeros are needed.
    Vector(unsigned long n);
    Vector(Vector const& other);
    virtual ~Vector();

    Vector& operator=(Vector const& other);

    /// A deep copy of `*other`, which must not be null. The length is adopted; the array is replaced only if
    /// the lengths differ.
    void set(Vector const* other);

    void set(unsigned long i, double v);
    /// Value i.
    double get(unsigned long i) const;
    /// Adds v to value i.
    void acc(unsigned long i, double v);

    /// Makes all values 0, or 1.
    void zero();
    void allOnes();

    unsigned long getNumberOfValues() const { return numberOfValues; }

    double* begin() { return pValues.get(); }

    double* end() { return pValues.get() + numberOfValues; }

    double const* begin() const { return pValues.get(); }

    double const* end() const { return pValues.get() + numberOfValues; }

    Vector operator*(double factor) const;
    /// Divides each value; a divisor of 0 gives infinities and NaNs.
    Vector operator/(double divisor) const;
    Vector operator-() const;
    /// Sum and difference of vectors of one length; different lengths throw
    /// `VectorInvalidDimensionsException*`.
    Vector operator+(Vector const& other) const;
    Vector operator-(Vector const& other) const;
    /// Change this vector's values in place. The lengths are not compared: `other` must be at least as long.
    Vector& operator+=(Vector const& other);
    Vector& operator-=(Vector const& other);

    /// The Euclidean length and its square; the squares are added one after the other in ascending order.
    double normL2() const;
    double normL2Sqr() const;

    /// A copy as a row, for inner products.
    RowVector transpose() const;

protected:
    double* getpValues() const { return pValues.get(); }

    bool getDoUseSSE2() const;

private:
    static void checkSSE2();

    void allocate(std::uint32_t n);

    std::unique_ptr<double[]> pValues;
    std::uint32_t numberOfValues = 0;

    /// What `Utility::isSSE2Present` answered, and whether it has been asked: the first construction by size
    /// asks. The answer is false everywhere, and the values lie in one plain array. Only atomic operations
    /// touch either, since vectors are made in any thread.
    static bool doUseSSE2;
    static bool isSSE2Checked;
};

/// A vector lying down: what `Vector::transpose` gives, for the inner product with a `Vector`.
class QELT_EXPORT RowVector : public Vector {
public:
    /// Thrown by pointer, as `VectorInvalidDimensionsException` is.
    class QELT_EXPORT RowVectorInvalidDimensionsException {};

    RowVector(unsigned long n);
    RowVector(RowVector const& other);
    ~RowVector() override;

    RowVector& operator=(RowVector const& other);

    RowVector operator*(double const& factor) const;
    /// The inner product: the products are added one after the other in ascending order. Different lengths
    /// throw `RowVectorInvalidDimensionsException*`.
    double operator*(Vector const& other) const;

protected:
    RowVector(Vector const& other);

    friend class Vector;
};

QELT_EXPORT Vector operator*(double factor, Vector const& vector);

} // namespace QELT::LinearAlgebra
