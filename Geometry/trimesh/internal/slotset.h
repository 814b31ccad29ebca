#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace QELT::Geometry::ThreeDimensional::TriMesh {

/// A set of numbers below a bound that finds the next from any number on: a bit for each, over them a bit for
/// each word that is not zero, and so on. Every operation takes a step for each factor of 64 in the bound.
class SlotSet {
public:
    explicit SlotSet(std::size_t bound) {
        do {
            bound = (bound + bitsOfWord - 1) / bitsOfWord;
            levels.emplace_back(bound, 0);
        } while (bound > 1);
    }

    void insert(std::size_t slot) {
        for (std::vector<std::uint64_t>& level : levels) {
            level[slot / bitsOfWord] |= bitOf(slot);
            slot /= bitsOfWord;
        }
    }

    /// The answer is whether it was there.
    bool erase(std::size_t slot) {
        if ((levels.front()[slot / bitsOfWord] & bitOf(slot)) == 0) {
            return false;
        }
        for (std::vector<std::uint64_t>& level : levels) {
            std::uint64_t& word = level[slot / bitsOfWord];
            word &= ~bitOf(slot);
            if (word != 0) {
                break;
            }
            slot /= bitsOfWord;
        }
        return true;
    }

    /// The least number of the set from `from` on, or, if there is none, from the first.
    std::optional<std::uint32_t> findAround(std::size_t from) const {
        auto const next = findFrom(from);
        return next ? next : findFrom(0);
    }

    /// The least number of the set that is not below `from`.
    std::optional<std::uint32_t> findFrom(std::size_t from) const {
        for (std::size_t level = 0; level < levels.size(); ++level) {
            std::size_t const word = from / bitsOfWord;
            if (word >= levels[level].size()) {
                return std::nullopt;
            }
            std::uint64_t const bits = levels[level][word] >> from % bitsOfWord;
            if (bits != 0) {
                return descend(level, from + countZeros(bits));
            }
            from = word + 1;
        }
        return std::nullopt;
    }

private:
    static constexpr std::size_t bitsOfWord = 64;

    static std::uint64_t bitOf(std::size_t slot) { return std::uint64_t{1} << slot % bitsOfWord; }

    static std::size_t countZeros(std::uint64_t bits) {
        return static_cast<std::size_t>(std::countr_zero(bits));
    }

    /// The least number under a bit that is set.
    std::uint32_t descend(std::size_t level, std::size_t bit) const {
        while (level > 0) {
            --level;
            bit = bit * bitsOfWord + countZeros(levels[level][bit]);
        }
        return static_cast<std::uint32_t>(bit);
    }

    std::vector<std::vector<std::uint64_t>> levels;
};

} // namespace QELT::Geometry::ThreeDimensional::TriMesh
