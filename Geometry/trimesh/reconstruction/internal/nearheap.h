#pragma once

#include <array>
#include <cstdint>
#include <vector>

namespace QELT::Geometry::ThreeDimensional::TriMesh {

/// The near part of a `MinHeap` that holds many entries more: those up to a limit of their rank. The others
/// are never pushed, only counted. The near ones stand at the places that they have in the whole heap and
/// come out in the same order, equal ones included.
class NearHeap {
public:
    struct Entry {
        double rank = 0.0; ///< no NaN
        std::uint32_t index = 0;
    };

    void clear();

    /// Pushes a near entry after `numberOfEarlier` pushes, near or not.
    void push(Entry const& entry, std::uint32_t numberOfEarlier);

    /// Tells of how many entries the whole heap consists once all are pushed.
    void setSize(std::uint32_t newSize) { size = newSize; }

    bool getIsEmpty() const { return root == none; }

    /// Takes the least entry out. There must be a near one.
    Entry pop();

private:
    static constexpr std::uint32_t none = 0xFFFFFFFFU;

    struct Node {
        Entry entry;
        std::array<std::uint32_t, 2> children{none, none}; ///< the near ones
    };

    /// Near nodes from the top down, each a child of the one before.
    struct Path {
        std::array<std::uint32_t, 33> nodes;
        std::uint32_t length = 0;

        void add(std::uint32_t node) { nodes[length++] = node; }

        std::uint32_t getLast() const { return nodes[length - 1]; }
    };

    Path descendTowards(std::uint32_t place) const;
    Path sinkHole();
    std::uint32_t getLesserChild(Node const& node) const;
    void raise(Path const& path, Entry const& entry);
    void detachLast(Path const& path);

    std::vector<Node> nodes;
    std::uint32_t root = none;
    std::uint32_t size = 0;
};

} // namespace QELT::Geometry::ThreeDimensional::TriMesh
