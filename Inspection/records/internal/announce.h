#pragma once

#include "Geometry/foundations/progresslistener.h"

namespace QELT::Inspection {

/// Tells the listener, if there is one, which stage of the work begins.
inline void announce(ProgressListener* listener, char const* message) {
    if (listener != nullptr) {
        listener->setMessage(message);
    }
}

} // namespace QELT::Inspection
