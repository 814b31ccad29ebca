#pragma once

#include "Geometry/linearalgebra/vector.h"

/// A function from a vector to a real number, with its gradient: what a descent needs to know.
class RealValuedVectorFunction {
public:
    virtual ~RealValuedVectorFunction() = default;

    virtual double getValue(QELT::LinearAlgebra::Vector const& x) = 0;
    virtual QELT::LinearAlgebra::Vector getGradient(QELT::LinearAlgebra::Vector const& x) = 0;
};
