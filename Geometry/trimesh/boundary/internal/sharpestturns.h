#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace QELT::Geometry::ThreeDimensional::TriMesh {

/// The corners of a boundary loop: the places where it turns by more than 80 degrees, the sharpest first, of
/// equal ones the latest found first. Only so many are kept; when there are more, the least sharp are lost.
class SharpestTurns {
public:
    explicit SharpestTurns(std::size_t newCapacity) : capacity(newCapacity) {
        cosines.reserve(capacity + 1);
        positions.reserve(capacity + 1);
    }

    /// Offers a place of the loop with the cosine of the turn there: 1 straight on, -1 back. A NaN is no
    /// corner.
    void offer(double cosine, std::uint32_t position) {
        if (!(cosine < cornerCosine) || (cosines.size() == capacity && !(cosine < cosines.back()))) {
            return;
        }
        auto const place = std::lower_bound(cosines.begin(), cosines.end(), cosine);
        positions.insert(positions.begin() + (place - cosines.begin()), position);
        cosines.insert(place, cosine);
        if (cosines.size() > capacity) {
            cosines.pop_back();
            positions.pop_back();
        }
    }

    /// The places of the corners along the loop.
    std::vector<std::uint32_t> const& getPositions() const { return positions; }

private:
    /// The cosine of 80 degrees.
    static constexpr double cornerCosine = 0.17364817766693036;

    std::size_t capacity;
    std::vector<double> cosines;
    std::vector<std::uint32_t> positions;
};

} // namespace QELT::Geometry::ThreeDimensional::TriMesh
