#pragma once

#include "Geometry/foundations/progresslistener.h"
#include "Inspection/export.h"

#include <limits>

namespace QELT::Inspection {

/// How far one solve of a linear system came.
struct SolveRecord {
    unsigned long iterations = 0;
    /// Norm of the residual after the last iteration; no number if there was no iteration.
    double residual = std::numeric_limits<double>::quiet_NaN();
    bool isConverged = false; ///< whether it reached the core's tolerance; set when the solve is over
};

/// A listener that also wants to know how a solve comes along. Where a function takes a `ProgressListener`
/// that is one of these, it is told.
class QELT_INSPECTION_EXPORT SolveListener : public QELT::ProgressListener {
public:
    /// Called some ten times a second. `percent` is a guess by the powers of ten that the residual fell.
    virtual void setSolve(SolveRecord const& solve, unsigned long percent) = 0;
};

} // namespace QELT::Inspection
