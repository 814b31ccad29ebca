#include "Geometry/linearalgebra/vector.h"

#include "Geometry/foundations/element.h"
#include "Geometry/linearalgebra/utility.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <functional>

namespace QELT::LinearAlgebra {

bool Vector::doUseSSE2 = false;
bool Vector::isSSE2Checked = false;

void Vector::checkSSE2() {
    std::atomic_ref isChecked(isSSE2Checked);
    if (!isChecked) {
        std::atomic_ref(doUseSSE2).store(Utility::isSSE2Present());
        isChecked = true;
    }
}

bool Vector::getDoUseSSE2() const {
    return std::atomic_ref(doUseSSE2);
}

void Vector::allocate(std::uint32_t n) {
    pValues = std::make_unique_for_overwrite<double[]>(n);
    numberOfValues = n;
}

Vector::Vector(unsigned long n) {
    checkSSE2();
    allocate(toUInt32(n));
}

Vector::Vector(Vector const& other) {
    set(&other);
}

Vector::~Vector() = default;

Vector& Vector::operator=(Vector const& other) {
    set(&other);
    return *this;
}

void Vector::set(Vector const* other) {
    if (other == this) {
        return;
    }
    if (pValues == nullptr || numberOfValues != other->numberOfValues) {
        // The old array goes first, so that two are never held; should the new one not be had, this vector
        // is left empty.
        pValues.reset();
        numberOfValues = 0;
        allocate(other->numberOfValues);
    }
    std::copy(other->begin(), other->end(), begin());
}

void Vector::set(unsigned long i, double v) {
    std::uint32_t const index = toUInt32(i);
    if (index < numberOfValues) {
        pValues[index] = v;
    }
}

double Vector::get(unsigned long i) const {
    std::uint32_t const index = toUInt32(i);
    return index < numberOfValues ? pValues[index] : 0.0;
}

void Vector::acc(unsigned long i, double v) {
    set(i, get(i) + v);
}

void Vector::zero() {
    std::fill(begin(), end(), 0.0);
}

void Vector::allOnes() {
    std::fill(begin(), end(), 1.0);
}

Vector Vector::operator*(double factor) const {
    Vector product(numberOfValues);
    std::transform(begin(), end(), product.begin(), [factor](double value) { return value * factor; });
    return product;
}

Vector Vector::operator/(double divisor) const {
    Vector quotient(numberOfValues);
    std::transform(begin(), end(), quotient.begin(), [divisor](double value) { return value / divisor; });
    return quotient;
}

Vector Vector::operator-() const {
    Vector negative(numberOfValues);
    std::transform(begin(), end(), negative.begin(), std::negate<>());
    return negative;
}

Vector Vector::operator+(Vector const& other) const {
    if (numberOfValues != other.numberOfValues) {
        throw new VectorInvalidDimensionsException;
    }
    Vector sum(numberOfValues);
    std::transform(begin(), end(), other.begin(), sum.begin(), std::plus<>());
    return sum;
}

Vector Vector::operator-(Vector const& other) const {
    if (numberOfValues != other.numberOfValues) {
        throw new VectorInvalidDimensionsException;
    }
    Vector difference(numberOfValues);
    std::transform(begin(), end(), other.begin(), difference.begin(), std::minus<>());
    return difference;
}

Vector& Vector::operator+=(Vector const& other) {
    std::transform(begin(), end(), other.begin(), begin(), std::plus<>());
    return *this;
}

Vector& Vector::operator-=(Vector const& other) {
    std::transform(begin(), end(), other.begin(), begin(), std::minus<>());
    return *this;
}

double Vector::normL2() const {
    return std::sqrt(normL2Sqr());
}

double Vector::normL2Sqr() const {
    double sum = 0.0;
    for (double const value : *this) {
        sum += value * value;
    }
    return sum;
}

RowVector Vector::transpose() const {
    return RowVector(*this);
}

RowVector::RowVector(unsigned long n) : Vector(n) {}

RowVector::RowVector(RowVector const& other) : Vector(other) {}

RowVector::RowVector(Vector const& other) : Vector(other) {}

RowVector::~RowVector() = default;

RowVector& RowVector::operator=(RowVector const& other) {
    set(&other);
    return *this;
}

RowVector RowVector::operator*(double const& factor) const {
    return RowVector(Vector::operator*(factor));
}

double RowVector::operator*(Vector const& other) const {
    if (getNumberOfValues() != other.getNumberOfValues()) {
        throw new RowVectorInvalidDimensionsException;
    }
    double sum = 0.0;
    double const* otherValue = other.begin();
    for (double const value : *this) {
        sum += value * *otherValue;
        ++otherValue;
    }
    return sum;
}

Vector operator*(double factor, Vector const& vector) {
    return vector * factor;
}

} // namespace QELT::LinearAlgebra
