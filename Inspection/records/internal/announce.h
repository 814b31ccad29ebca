#pragma once

#include "Geometry/foundations/progresslistener.h"

#include <cstddef>

namespace QELT::Inspection {

/// Tells the listener, if there is one, which stage of the work begins.
inline void announce(ProgressListener* listener, char const* message) {
    if (listener != nullptr) {
        listener->setMessage(message);
    }
}

/// Gives the listener, if there is one, the chance to stop the work where no percentages are told.
inline void checkpoint(ProgressListener* listener) {
    if (listener != nullptr) {
        listener->setPercentage(100);
    }
}

/// Tells a listener that may be null how many of many equal steps are done, as a percentage from 1 to 100,
/// whenever it has changed.
class StepProgress {
public:
    StepProgress(ProgressListener* progressListener, std::size_t stepCount)
        : listener(progressListener), total(stepCount) {}

    /// Called once a step.
    void step() {
        if (listener != nullptr && done++ >= next) {
            tell();
        }
    }

private:
    ProgressListener* listener;
    std::size_t total;
    std::size_t done = 0;
    std::size_t next = 0;
    unsigned long percentage = 0;

    void tell() {
        constexpr unsigned long whole = 100;
        if (percentage < whole) {
            listener->setPercentage(++percentage);
        }
        next = total / whole * percentage + total % whole * percentage / whole;
    }
};

} // namespace QELT::Inspection
