#pragma once

#include "Geometry/trimesh/internal/trianglearena.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

namespace QELT::Geometry::ThreeDimensional::TriMesh {

/// How often each triangle of a mesh's present surface was met: in place of a sort of all meetings by
/// address. The surface must not grow meanwhile.
class TriangleTally {
public:
    explicit TriangleTally(TriangleArena const& arena);

    /// Counts a triangle of the surface.
    void add(Triangle const* triangle) {
        ++counts[getPlace(triangle)];
        ++total;
    }

    /// The sum of all counts.
    std::size_t getTotal() const { return total; }

    /// Calls `visit` with each triangle and its count, in ascending order of their addresses.
    template <class Visit>
    void forEach(Visit visit) const {
        std::size_t place = 0;
        for (TriangleArena::Stretch const& stretch : stretches) {
            for (std::size_t i = 0; i < stretch.size; ++i) {
                visit(stretch.first + i, counts[place++]);
            }
        }
    }

private:
    static bool getIsIn(TriangleArena::Stretch const& stretch, Triangle const* triangle) {
        return !std::less<>()(triangle, stretch.first) &&
               std::less<>()(triangle, stretch.first + stretch.size);
    }

    std::size_t getPlace(Triangle const* triangle) {
        if (!getIsIn(stretches[current], triangle)) {
            findStretchOf(triangle);
        }
        return placeOfFirst[current] + static_cast<std::size_t>(triangle - stretches[current].first);
    }

    void findStretchOf(Triangle const* triangle);

    std::vector<TriangleArena::Stretch> stretches;
    std::vector<std::size_t> placeOfFirst; ///< of each stretch, among the counts
    std::vector<std::uint32_t> counts;
    std::size_t total = 0;
    std::size_t current = 0; ///< the stretch asked last, where the next triangle mostly lies too
};

} // namespace QELT::Geometry::ThreeDimensional::TriMesh
