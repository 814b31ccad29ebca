#pragma once

#include "Geometry/foundations/progresslistener.h"

#include <cstdint>

namespace QELT {

/// Passes percentages on to a listener that may be null, leaving out those equal to the last one sent. Like
/// a listener that has heard nothing yet, it starts at 0. It looks at its owner's pointer before every call:
/// a listener may detach itself in any call, and be gone after it.
class PercentageReporter {
public:
    /// `ownersListener` must outlive the reporter, so a temporary is no use.
    explicit PercentageReporter(ProgressListener* const& ownersListener) : listener(ownersListener) {}

    explicit PercentageReporter(ProgressListener* const&&) = delete;

    void report(std::uint64_t percentage) {
        if (listener != nullptr && percentage != last) {
            last = percentage;
            listener->setPercentage(static_cast<unsigned long>(percentage));
        }
    }

    /// floor(100 * done / total) + 1, for a total above 0. The product is wide enough for any 32-bit count.
    void reportShare(std::uint64_t done, std::uint64_t total) {
        if (listener != nullptr) {
            report(done * 100 / total + 1);
        }
    }

    /// Forgets the last percentage, as at the start of a stage.
    void restart() { last = 0; }

private:
    ProgressListener* const& listener;
    std::uint64_t last = 0;
};

/// Sends a status text to a listener that may be null.
inline void reportMessage(ProgressListener* listener, char const* text) {
    if (listener != nullptr) {
        listener->setMessage(text);
    }
}

} // namespace QELT
