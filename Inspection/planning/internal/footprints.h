#pragma once

#include "Inspection/names.h"
#include "Inspection/results/result.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace QELT::Inspection {

/// The pixels that a footprint covers: those connected with the one under its middle whose centres lie within
/// its radius. Another face of the part that comes as near is not reached.
class Footprints {
public:
    /// The pixels outlive it.
    explicit Footprints(Result const& newPixels) : pixels(newPixels), stamps(newPixels.size(), 0) {}

    /// Around a place in a pixel, which is always one of them. Valid until the next call.
    std::vector<std::size_t> const& around(std::size_t pixel, Vector const& place, double radius);

private:
    Result const& pixels;
    std::vector<std::uint32_t> stamps; ///< the number of the call that took a pixel last
    std::uint32_t calls = 0;
    std::vector<std::size_t> members;

    void take(std::size_t pixel);
};

Vector centreOf(Result const& pixels, std::size_t pixel);

/// The normal, as long as the pixel's area.
Vector weightedNormalOf(Result const& pixels, std::size_t pixel);

} // namespace QELT::Inspection
