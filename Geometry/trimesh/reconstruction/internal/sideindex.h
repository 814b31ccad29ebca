#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <vector>

namespace QELT::Geometry::ThreeDimensional::TriMesh {

/// Which directed sides the triangles of a surface have, as far as can be told from a few of them at each
/// vertex: a quick answer that there is none. Vertices may go by any numbers from 0.
class SideIndex {
public:
    explicit SideIndex(std::size_t numberOfVertices) : sides(numberOfVertices) {}

    void addTriangle(std::uint32_t a, std::uint32_t b, std::uint32_t c) {
        add(a, b);
        add(b, c);
        add(c, a);
    }

    /// False if no triangle that was added has the side from a to b.
    bool getMayExist(std::uint32_t a, std::uint32_t b) const {
        Sides const& fromA = sides[a];
        if (fromA.count > fromA.ends.size()) {
            return true;
        }
        auto const last = fromA.ends.begin() + fromA.count;
        return std::find(fromA.ends.begin(), last, b) != last;
    }

private:
    /// The ends of the sides that start at a vertex, in one line of the cache. Once there are too many of
    /// them, nothing is known any more.
    struct alignas(64) Sides {
        std::array<std::uint32_t, 15> ends{};
        std::uint32_t count = 0;
    };

    void add(std::uint32_t a, std::uint32_t b) {
        Sides& fromA = sides[a];
        if (fromA.count < fromA.ends.size()) {
            fromA.ends[fromA.count] = b;
        }
        fromA.count += fromA.count <= fromA.ends.size() ? 1U : 0U;
    }

    std::vector<Sides> sides;
};

} // namespace QELT::Geometry::ThreeDimensional::TriMesh
