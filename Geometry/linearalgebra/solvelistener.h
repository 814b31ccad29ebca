#pragma once

#include "Geometry/foundations/export.h"
#include "Geometry/foundations/progresslistener.h"
#include "Geometry/linearalgebra/solvereport.h"

namespace QELT::LinearAlgebra {

/// A progress listener that is also told how each solve comes along. Attach it like any other: a solver that
/// is given a listener finds out by itself whether it is of this kind.
class QELT_EXPORT SolveListener : public ProgressListener {
public:
    /// Called after each iteration, with what the report would be if the solve ended there. A solve that
    /// needs no iteration calls nothing.
    virtual void setSolveProgress(SolveReport const& report) = 0;
};

} // namespace QELT::LinearAlgebra
