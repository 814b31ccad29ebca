#pragma once

#include "Geometry/foundations/progresslistener.h"

#include <stdexcept>
#include <string>
#include <vector>

namespace QELT::Testing {

/// Keeps what it is told, for tests to compare. `events` holds both kinds in the order of their coming, a
/// percentage as its decimal number and a per cent sign ("50%"), a message as its text.
class RecordingListener : public ProgressListener {
public:
    std::vector<std::string> messages;
    std::vector<unsigned long> percentages;
    std::vector<std::string> events;

    void setMessage(char const* text) override {
        messages.emplace_back(text);
        events.emplace_back(text);
    }

    void setPercentage(unsigned long percent) override {
        percentages.push_back(percent);
        events.push_back(std::to_string(percent) + "%");
    }

    /// The library never calls these two.
    void reserved3() override { throw std::logic_error("reserved3 was called"); }

    void reserved4() override { throw std::logic_error("reserved4 was called"); }
};

} // namespace QELT::Testing
