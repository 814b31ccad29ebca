#pragma once

#include "tests/support/plain_flattening.h"

#include <array>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

/// A second, plain program for the resampling of a flattened mesh into a grid, on plain arrays and with its
/// own arithmetic. Lattice points that fall beside the grid are left out; otherwise nothing is guarded.
namespace QELT::Testing::PlainResampling {

using PlainFlattening::MeshRecord;
using PlainFlattening::Place;

constexpr unsigned char validMask = 1;
constexpr unsigned char interiorMask = 2;
constexpr unsigned char boundaryMask = 4;
constexpr unsigned char cutBoundaryMask = 16;

struct Grid {
    std::uint32_t extentU = 0;
    std::uint32_t extentV = 0;
    /// Row by row, `extentU` + 1 nodes in each of `extentV` + 1 rows.
    std::vector<Place> points;
    std::vector<unsigned char> flags;
    double spacing = 0.0;
    double maxArea = 0.0;
    double meanArea = 0.0;
    double minArea = 0.0;
    std::uint32_t searchPointsU = 1;
    std::uint32_t searchPointsV = 1;
    std::vector<std::pair<std::int32_t, std::int32_t>> searchPoints;
    /// As the mesh's record reports them: "percentage <number>".
    std::vector<std::string> events;
    /// What was thrown, or nothing. The grid is as it was left then.
    std::string error;
    /// How many stores went to a node that had a point already, and how many lattice points inside a
    /// triangle lay beside the grid.
    std::uint32_t repeatedStores = 0;
    std::uint32_t storesOutside = 0;

    std::size_t node(std::int64_t u, std::int64_t v) const;
    bool isValid(std::int64_t u, std::int64_t v) const;
    bool isQuad(std::int64_t u, std::int64_t v) const;
};

Grid resample(MeshRecord const& mesh, double quadArea, std::uint32_t quadsPerSearchPoint = 4096);

} // namespace QELT::Testing::PlainResampling
