#pragma once

#include <bit>

namespace QELT::Geometry::ThreeDimensional {

/// Takes steps until one of them ends the descent, at most `maxSteps`; whether one did. The state is left as
/// these steps leave it. A `State` can be copied; `step()` changes it and tells whether the descent ends
/// there; `getIsSame(other)` tells whether steps from here and from there do the same.
///
/// In floating point many descents come back to a state in which they were before and go round from there on,
/// often at once, as when numbers have become NaN. The state kept from the last step whose number is a power
/// of two shows it (Brent, "An Improved Monte Carlo Factorization Algorithm", 1980); whole rounds are then
/// left out.
template <class State>
bool descend(State& state, int maxSteps) {
    State kept = state;
    int keptAt = 0;
    for (int steps = 1; steps <= maxSteps; ++steps) {
        if (state.step()) {
            return true;
        }
        if (state.getIsSame(kept)) {
            int const round = steps - keptAt;
            for (int left = (maxSteps - steps) % round; left > 0; --left) {
                state.step();
            }
            return false;
        }
        if (std::has_single_bit(static_cast<unsigned>(steps))) {
            kept = state;
            keptAt = steps;
        }
    }
    return false;
}

} // namespace QELT::Geometry::ThreeDimensional
