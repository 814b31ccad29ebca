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

/// Does something again and again to objects that `prepare` makes, each time with memory for one allocation
/// more, or for a sample of `most` such numbers, and calls `check` with what is left of the object. `prepare`
/// gives pointers; the answer is how many tries failed.
template <class Prepare, class Action, class Check>
std::size_t failEachAllocation(std::size_t most, Prepare prepare, Action action, Check check) {
    auto const whole = prepare();
    std::size_t const before = allocations;
    action(*whole);
    std::size_t const total = allocations - before;
    std::size_t const step = total / (most + 1) + 1;
    std::size_t failures = 0;
    for (std::size_t given = 0; given < total; given += step) {
        auto const object = prepare();
        bool const isDone = isDoneWith(static_cast<long>(given), [&] { action(*object); });
        failures += isDone ? 0U : 1U;
        check(*object, given);
    }
    return failures;
}

} // namespace QELT::Testing
