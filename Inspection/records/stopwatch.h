#pragma once

#include <chrono>

namespace QELT::Inspection {

/// The seconds since its making, by a clock that is never set.
class Stopwatch {
public:
    /// Since it was made.
    double seconds() const { return std::chrono::duration<double>(Clock::now() - start).count(); }

private:
    using Clock = std::chrono::steady_clock;
    Clock::time_point start = Clock::now();
};

} // namespace QELT::Inspection
