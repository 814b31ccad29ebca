#include "Geometry/trimesh/internal/triangletally.h"

#include <algorithm>
#include <iterator>

// A triangle is met once for each of its corners, as a rule, and in the order of the vertices; what is asked
// for is the order of addresses. Triangles lie in few stretches of memory, so that the place of each among
// all of them is a difference of pointers: a count there takes the place of a sort.

namespace QELT::Geometry::ThreeDimensional::TriMesh {

TriangleTally::TriangleTally(TriangleArena const& arena) : stretches(arena.getStretches()) {
    std::size_t place = 0;
    placeOfFirst.reserve(stretches.size());
    for (TriangleArena::Stretch const& stretch : stretches) {
        placeOfFirst.push_back(place);
        place += stretch.size;
    }
    counts.resize(place);
}

/// The last one that starts at the triangle or in front of it.
void TriangleTally::findStretchOf(Triangle const* triangle) {
    auto const behind =
        std::ranges::upper_bound(stretches, triangle, std::less<>(), &TriangleArena::Stretch::first);
    current = static_cast<std::size_t>(std::distance(stretches.begin(), behind)) - 1;
}

} // namespace QELT::Geometry::ThreeDimensional::TriMesh
