#pragma once

#include "tests/support/plain_connectivity.h"

#include "Geometry/foundations/point.h"
#include "Geometry/foundations/vector.h"

#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace QELT::Testing {

/// A binary heap of entries with a rank `t`, least first, in which every step is spelled out.
template <class Entry>
class PlainHeap {
public:
    void push(Entry const& entry) {
        entries.push_back(entry);
        siftUp(entries.size() - 1);
    }

    Entry pop() {
        Entry const least = entries.at(0);
        Entry const moved = entries.back();
        entries.pop_back();
        std::size_t hole = 0;
        while (2 * hole + 1 < entries.size()) {
            std::size_t child = 2 * hole + 2;
            if (child == entries.size() || entries[child].t > entries[child - 1].t) {
                --child;
            }
            entries[hole] = entries[child];
            hole = child;
        }
        if (!entries.empty()) {
            entries[hole] = moved;
            siftUp(hole);
        }
        return least;
    }

    std::size_t size() const { return entries.size(); }

private:
    void siftUp(std::size_t place) {
        while (place > 0 && entries[(place - 1) / 2].t > entries[place].t) {
            std::swap(entries[(place - 1) / 2], entries[place]);
            place = (place - 1) / 2;
        }
    }

    std::vector<Entry> entries;
};

/// The nearest other points of each point, nearest first, with the numbers of those that are left.
struct PlainLinks {
    std::vector<std::vector<std::uint32_t>> nearest;
    std::vector<std::uint32_t> counts;
    /// The closest pair of all, if there is one.
    bool hasPair = false;
    std::uint32_t first = 0;
    std::uint32_t second = 0;
};

/// A heap over all other points for each point, of which 64 entries are popped.
PlainLinks plainLinks(PlainMesh const& mesh);

struct PlainApex {
    bool isFound = false;
    std::uint32_t vertex = 0;
    double rTSqr = 0.0;
    bool wasFloating = false;
};

PlainApex plainMinrTSqr(PlainMesh const& mesh, std::uint32_t a, std::uint32_t b, PlainLinks& links,
                        Geometry::ThreeDimensional::Vector const& normal);

void plainRemoveLink(std::uint32_t a, std::uint32_t b, PlainLinks& links);

struct PlainReconstruction {
    PlainMesh mesh;
    /// The text of the failure; empty if there was none.
    std::string failure;
    /// What happened on the way.
    std::uint32_t candidatesDropped = 0;
    std::uint32_t sidesWithoutCandidate = 0;
    bool endedByFailedTriangle = false;
    bool endedByEmptyHeap = false;
};

/// What a side of the first triangle waits for if no apex is found for it.
enum class SideWithoutApex {
    WaitsForNothing,
    /// The apex that was found last, of another side, with its radius.
    WaitsForLastApex,
};

/// A surface through the points, by an advancing front. A front that walks around a closed fan for ever is a
/// std::logic_error.
PlainReconstruction plainConstruct(std::vector<Geometry::ThreeDimensional::Point> const& points,
                                   SideWithoutApex sideWithoutApex = SideWithoutApex::WaitsForNothing);

} // namespace QELT::Testing
