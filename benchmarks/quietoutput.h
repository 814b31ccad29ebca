#pragma once

#include <iostream>

namespace Benchmarks {

/// Keeps what the library prints off the report, as long as it lives.
class QuietOutput {
public:
    QuietOutput() : former(std::cout.rdbuf(nullptr)) {}

    QuietOutput(QuietOutput const&) = delete;
    QuietOutput& operator=(QuietOutput const&) = delete;

    ~QuietOutput() {
        std::cout.rdbuf(former);
        std::cout.clear();
    }

private:
    std::streambuf* former;
};

} // namespace Benchmarks
