#pragma once

#include <iostream>
#include <sstream>
#include <string>

namespace QELT::Testing {

/// Collects what is written to `std::cout` while it lives.
class CapturedOutput {
public:
    CapturedOutput() : previous(std::cout.rdbuf(text.rdbuf())) {}

    ~CapturedOutput() { std::cout.rdbuf(previous); }

    CapturedOutput(CapturedOutput const&) = delete;
    CapturedOutput& operator=(CapturedOutput const&) = delete;

    std::string getText() const { return text.str(); }

private:
    std::ostringstream text;
    std::streambuf* previous;
};

} // namespace QELT::Testing
