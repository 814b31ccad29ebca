#include "Geometry/trimesh/reconstruction/internal/nearheap.h"

#include <bit>

// In a heap with the least first, all that stand above an entry are no greater. So those up to a limit hang
// together around the top, and the others only ever stand below them: one of these rises past its like alone,
// and when the hole at the top sinks it goes down through near entries as long as there is one below it. What
// the far ones do underneath decides nothing about the near ones:
//
//   push  a near entry comes in at the place behind the last, rises past all far ones above it, and then past
//         the greater near ones: it is enough to know its place, down to which the path from the top is given
//         by the binary digits of its number;
//   pop   the hole sinks among the near ones. The last entry fills it at the bottom. A near one rises past
//   all
//         far ones to where the hole left the near part, and on from there; a far one stays below.
//
// So the near part is a tree of nodes with up to two near children. Each push and pop takes its depth, which
// is at most that of the whole heap, and whoever has 70 near ones among 100,000 looks at 70.

namespace QELT::Geometry::ThreeDimensional::TriMesh {

namespace {

/// Which child leads from a place at `depth` towards the place of which `number` is one more.
std::uint32_t getTurn(std::uint32_t number, std::uint32_t depth) {
    std::uint32_t const placeDepth = static_cast<std::uint32_t>(std::bit_width(number)) - 1;
    return number >> (placeDepth - depth - 1) & 1U;
}

std::uint32_t getDepth(std::uint32_t place) {
    return static_cast<std::uint32_t>(std::bit_width(place + 1)) - 1;
}

} // namespace

void NearHeap::clear() {
    nodes.clear();
    root = none;
    size = 0;
}

void NearHeap::push(Entry const& entry, std::uint32_t numberOfEarlier) {
    Path path = descendTowards(numberOfEarlier);
    auto const added = static_cast<std::uint32_t>(nodes.size());
    nodes.emplace_back();
    if (path.length == 0) {
        root = added;
    } else {
        nodes[path.getLast()].children[getTurn(numberOfEarlier + 1, path.length - 1)] = added;
    }
    path.add(added);
    raise(path, entry);
}

NearHeap::Entry NearHeap::pop() {
    Entry const least = nodes[root].entry;
    --size;
    Path const toLast = descendTowards(size);
    bool const isLastNear = toLast.length == getDepth(size) + 1;
    if (isLastNear) {
        detachLast(toLast);
    }
    if (root == none) {
        return least;
    }
    Path const path = sinkHole();
    if (isLastNear) {
        raise(path, nodes[toLast.getLast()].entry);
    } else {
        detachLast(path);
    }
    return least;
}

/// The near nodes on the way to a place, up to the place itself if that is near.
NearHeap::Path NearHeap::descendTowards(std::uint32_t place) const {
    Path path;
    std::uint32_t const depth = getDepth(place);
    for (std::uint32_t node = root; node != none;) {
        path.add(node);
        if (path.length > depth) {
            break;
        }
        node = nodes[node].children[getTurn(place + 1, path.length - 1)];
    }
    return path;
}

/// Fills the hole at the top from below, within the near part; the way ends where the hole does.
NearHeap::Path NearHeap::sinkHole() {
    Path path;
    for (std::uint32_t node = root; node != none;) {
        path.add(node);
        std::uint32_t const child = getLesserChild(nodes[node]);
        if (child != none) {
            nodes[node].entry = nodes[child].entry;
        }
        node = child;
    }
    return path;
}

/// The near child that is not greater than the other, the right one of equals; a far one is always greater.
std::uint32_t NearHeap::getLesserChild(Node const& node) const {
    auto const [left, right] = node.children;
    bool const isRight =
        right != none && (left == none || !(nodes[right].entry.rank > nodes[left].entry.rank));
    return isRight ? right : left;
}

/// Puts an entry at the end of the path, after its greater parents have come down.
void NearHeap::raise(Path const& path, Entry const& entry) {
    std::uint32_t k = path.length - 1;
    for (; k > 0 && nodes[path.nodes[k - 1]].entry.rank > entry.rank; --k) {
        nodes[path.nodes[k]].entry = nodes[path.nodes[k - 1]].entry;
    }
    nodes[path.nodes[k]].entry = entry;
}

/// Takes the last node of the path, which has no near child, out of the near part.
void NearHeap::detachLast(Path const& path) {
    if (path.length == 1) {
        root = none;
        return;
    }
    for (std::uint32_t& child : nodes[path.nodes[path.length - 2]].children) {
        if (child == path.getLast()) {
            child = none;
        }
    }
}

} // namespace QELT::Geometry::ThreeDimensional::TriMesh
