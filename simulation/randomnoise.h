#pragma once

#include <cstdint>
#include <random>

namespace QELT::Simulation {

/// Seeded noise that is the same with every standard library, whose own distributions are not.
class RandomNoise {
public:
    explicit RandomNoise(std::uint32_t seed) : generator(seed) {}

    /// Evenly between -1/2 and 1/2.
    double even() { return static_cast<double>(generator()) / 4294967295.0 - 0.5; }

    /// Bell-shaped around 0 with a standard deviation of 1: a sum of twelve even ones.
    double bell() {
        double sum = 0.0;
        for (int i = 0; i < 12; ++i) {
            sum += even();
        }
        return sum;
    }

private:
    std::mt19937 generator;
};

} // namespace QELT::Simulation
