#pragma once

#include <cstddef>
#include <numeric>
#include <vector>

namespace QELT::Inspection {

/// Sets of numbers from 0 that grow by being joined.
class JoinedSets {
public:
    explicit JoinedSets(std::size_t count) : parents(count) { std::iota(parents.begin(), parents.end(), 0); }

    /// The least number of the set that holds `i`.
    std::size_t setOf(std::size_t i) {
        while (parents[i] != i) {
            parents[i] = parents[parents[i]];
            i = parents[i];
        }
        return i;
    }

    void join(std::size_t a, std::size_t b) {
        std::size_t const first = setOf(a);
        std::size_t const second = setOf(b);
        parents[first > second ? first : second] = first > second ? second : first;
    }

private:
    std::vector<std::size_t> parents;
};

} // namespace QELT::Inspection
