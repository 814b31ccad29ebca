#pragma once

namespace QELT::Geometry::ThreeDimensional {

/// Takes steps until one of them ends the descent, at most `maxSteps`; whether one did. The state is left as
/// these steps leave it. A `State` can be copied; `step()` changes it and tells whether the descent ends
/// there; `getIsSame(other)` tells whether both are the same, bit by bit, in all that a step reads.
///
/// In floating point many descents come back to a state in which they were before and go round from there on:
/// they rest, swing between a few states, or have become NaN. A state kept on the way shows it (Brent, "An
/// Improved Monte Carlo Factorization Algorithm", 1980), and whole rounds are then left out. It is kept anew
/// each time that the steps have grown by a sixteenth, not when they have doubled: a round is found that much
/// sooner as long as it is no longer than a sixteenth of the steps, and a longer one when it no longer is.
template <class State>
bool descend(State& state, int maxSteps) {
    constexpr int growth = 16;
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
        if (steps - keptAt > keptAt / growth) {
            kept = state;
            keptAt = steps;
        }
    }
    return false;
}

} // namespace QELT::Geometry::ThreeDimensional
