#include "Inspection/planning/internal/footprints.h"

namespace QELT::Inspection {

Vector centreOf(Result const& pixels, std::size_t pixel) {
    float const* const point = &pixels.points[3 * pixel];
    return Vector(point[0], point[1], point[2]);
}

Vector weightedNormalOf(Result const& pixels, std::size_t pixel) {
    float const* const normal = &pixels.normals[3 * pixel];
    return Vector(normal[0], normal[1], normal[2]) * pixels.areas[pixel];
}

void Footprints::take(std::size_t pixel) {
    if (pixels.hasSurface(pixel) && stamps[pixel] != calls) {
        stamps[pixel] = calls;
        members.push_back(pixel);
    }
}

std::vector<std::size_t> const& Footprints::around(std::size_t pixel, Vector const& place, double radius) {
    ++calls;
    members.clear();
    take(pixel);
    for (std::size_t i = 0; i < members.size(); ++i) {
        std::size_t const u = members[i] % pixels.width;
        std::size_t const v = members[i] / pixels.width;
        std::size_t const before = members.size();
        if (u > 0) {
            take(members[i] - 1);
        }
        if (u + 1 < pixels.width) {
            take(members[i] + 1);
        }
        if (v > 0) {
            take(members[i] - pixels.width);
        }
        if (v + 1 < pixels.height) {
            take(members[i] + pixels.width);
        }
        std::size_t kept = before;
        for (std::size_t k = before; k < members.size(); ++k) {
            if ((centreOf(pixels, members[k]) - place).lSqr() <= radius * radius) {
                members[kept++] = members[k];
            }
        }
        members.resize(kept);
    }
    return members;
}

} // namespace QELT::Inspection
