#pragma once

#include "Geometry/foundations/point.h"

#include <cstddef>
#include <cstdint>

namespace QELT::Geometry::ThreeDimensional::QuadMesh {

/// The area of a quad by the two triangles on either side of the diagonal from its u corner to its v corner.
[[nodiscard]] double getAreaOf(Point const& low, Point const& alongU, Point const& alongV,
                               Point const& opposite);

/// A row of nodes as it is stored.
struct StoredNodes {
    Point const* points = nullptr;
    char const* flags = nullptr;
};

/// What the areas come to that were added in their order: a sum of doubles, whose bits hang on that. An area
/// that is no number is neither the least nor the greatest.
class AreaStatistics {
public:
    void add(double area) {
        min = min > area ? area : min;
        max = area > max ? area : max;
        sum += area;
        ++count;
    }

    /// Adds the existing ones of the `quadCount` quads between two rows of nodes, from the first on.
    void addQuads(StoredNodes const& low, StoredNodes const& high, std::uint32_t quadCount);

    double getMin() const { return min; }

    double getMax() const { return max; }

    double getMean() const { return count == 0 ? 0.0 : sum / count; }

private:
    /// No quad's area is expected to reach this: where the search for the smallest starts.
    static constexpr double areaBeyondAll = 1e11;

    double min = areaBeyondAll;
    double max = 0.0;
    double sum = 0.0;
    std::uint32_t count = 0;
};

} // namespace QELT::Geometry::ThreeDimensional::QuadMesh
