#pragma once

#include "Geometry/foundations/progresslistener.h"

#include <functional>
#include <stdexcept>

namespace QELT::Testing {

/// A listener that at its call number `lastCall` detaches itself by `detach` and, if told so, deletes itself;
/// then it must have been made by `new`. `callCount` belongs to the test and outlives it.
class LeavingListener : public ProgressListener {
public:
    enum class Fate { Stays, IsDeleted };

    LeavingListener(unsigned newLastCall, Fate newFate, std::function<void()> newDetach,
                    unsigned& newCallCount)
        : lastCall(newLastCall), fate(newFate), detach(std::move(newDetach)), callCount(newCallCount) {}

    void setMessage(char const* /* text */) override { count(); }

    void setPercentage(unsigned long /* percent */) override { count(); }

    /// The library never calls these two.
    void reserved3() override { throw std::logic_error("reserved3 was called"); }

    void reserved4() override { throw std::logic_error("reserved4 was called"); }

private:
    void count() {
        ++callCount;
        if (callCount == lastCall) {
            detach();
            if (fate == Fate::IsDeleted) {
                delete this;
            }
        }
    }

    unsigned lastCall;
    Fate fate;
    std::function<void()> detach;
    unsigned& callCount;
};

} // namespace QELT::Testing
