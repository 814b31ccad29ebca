#pragma once

#include <cstddef>
#include <new>

/// A program that names one of these takes its memory through an `operator new` that heeds them. Volatile,
/// since a compiler may take it that `operator new` changes no object that it can see. One thread only.
namespace QELT::Testing {

/// How often memory was asked for.
extern std::size_t volatile allocations;

/// How often memory is still given; for ever if negative.
extern long volatile allocationsLeft;

/// The memory in use, and the most that ever was.
extern std::size_t volatile liveBytes;
extern std::size_t volatile peakBytes;

/// Whether something can be done if memory is given only so often.
template <class Action>
bool isDoneWith(long numberOfAllocations, Action action) {
    /// Gives memory again, however the action ends.
    struct Limit {
        explicit Limit(long number) { allocationsLeft = number; }

        Limit(Limit const&) = delete;
        Limit& operator=(Limit const&) = delete;

        ~Limit() { allocationsLeft = -1; }
    };

    Limit const limit(numberOfAllocations);
    try {
        action();
    } catch (std::bad_alloc const&) {
        return false;
    }
    return true;
}

} // namespace QELT::Testing
