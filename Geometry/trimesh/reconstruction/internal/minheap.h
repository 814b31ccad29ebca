#pragma once

#include <cstddef>
#include <utility>
#include <vector>

namespace QELT::Geometry::ThreeDimensional::TriMesh {

/// A binary heap on an array with the least entry first, ordered by the entries' `operator>`. Which of equal
/// entries comes first decides which triangles a reconstruction builds, so the moves are fixed here and not
/// left to a library: a new entry rises while its parent is greater; where the first was taken, the hole
/// sinks to the bottom towards the lesser child, the right one of equals, and the last entry rises from
/// there.
template <class Entry>
class MinHeap {
public:
    bool getIsEmpty() const { return entries.empty(); }

    std::size_t getSize() const { return entries.size(); }

    void clear() { entries.clear(); }

    void push(Entry const& entry) {
        entries.push_back(entry);
        raise(entries.size() - 1, entry);
    }

    /// Takes the least entry out. There must be one.
    Entry pop() {
        Entry const least = entries.front();
        Entry const last = entries.back();
        entries.pop_back();
        if (!entries.empty()) {
            raise(sinkHole(), last);
        }
        return least;
    }

private:
    /// Fills the hole at the top from below; the answer is where it ends up.
    std::size_t sinkHole() {
        std::size_t hole = 0;
        for (std::size_t left = 1; left < entries.size(); left = 2 * hole + 1) {
            std::size_t const right = left + 1;
            std::size_t const child =
                right < entries.size() && !(entries[right] > entries[left]) ? right : left;
            entries[hole] = entries[child];
            hole = child;
        }
        return hole;
    }

    /// Puts an entry that is not among `entries` at the hole, after its greater parents have come down.
    void raise(std::size_t hole, Entry const& entry) {
        while (hole > 0 && entries[(hole - 1) / 2] > entry) {
            entries[hole] = entries[(hole - 1) / 2];
            hole = (hole - 1) / 2;
        }
        entries[hole] = entry;
    }

    std::vector<Entry> entries;
};

} // namespace QELT::Geometry::ThreeDimensional::TriMesh
