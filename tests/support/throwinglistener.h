#pragma once

#include "Geometry/foundations/progresslistener.h"

#include <cstddef>
#include <stdexcept>

namespace QELT::Testing {

/// Takes so many calls and throws a std::runtime_error "stop" at each one after them.
class ThrowingListener : public ProgressListener {
public:
    explicit ThrowingListener(std::size_t callsBefore) : remaining(callsBefore) {}

    void setMessage(char const* /* text */) override { count(); }

    void setPercentage(unsigned long /* percent */) override { count(); }

    /// The library never calls these two.
    void reserved3() override { throw std::logic_error("reserved3 was called"); }

    void reserved4() override { throw std::logic_error("reserved4 was called"); }

private:
    void count() {
        if (remaining == 0) {
            throw std::runtime_error("stop");
        }
        --remaining;
    }

    std::size_t remaining;
};

} // namespace QELT::Testing
