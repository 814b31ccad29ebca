#pragma once

#include "Geometry/foundations/export.h"

namespace QELT {

/// Where an application could ask for an early end. Operations accept and store one, but at present no
/// operation asks it: every call runs to its end.
class QELT_EXPORT ProgressTerminator {
public:
    virtual ~ProgressTerminator() = default;

    virtual bool getIsTerminationRequested() = 0;
};

} // namespace QELT
