#pragma once

#include "Geometry/foundations/point.h"

#include <cstdint>
#include <string>
#include <vector>

/// Clouds of many kinds for tests that run over families. The same seed gives the same clouds everywhere.
namespace QELT::Testing {

struct CloudFamily {
    std::string name;
    std::vector<Geometry::ThreeDimensional::Point> points;
};

/// Uniform in the cube (-1, 1).
std::vector<Geometry::ThreeDimensional::Point> uniformCloud(std::uint32_t seed, std::size_t count);

/// Uniform, clustered, on lattices, surfaces, curves and lines, coincident in part or wholly, a cluster with
/// an outlier, tiny, huge, beyond the range of float differences, denormal, with negative zeros and NaNs;
/// one, two and three points.
std::vector<CloudFamily> cloudFamilies(std::uint32_t seed);

} // namespace QELT::Testing
