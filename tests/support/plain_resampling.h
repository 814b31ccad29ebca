#pragma once

#include "tests/support/plain_flattening.h"
#include "tests/support/plain_grid.h"

#include <cstdint>
#include <string>
#include <vector>

/// A second, plain program for the resampling of a flattened mesh into a plain grid, with its own arithmetic.
/// Lattice points that fall beside the grid are left out; otherwise nothing is guarded.
namespace QELT::Testing::PlainResampling {

using PlainFlattening::Place;

struct Result {
    PlainGrid grid;
    double spacing = 0.0;
    PlainAreas areas;
    PlainSearchPoints searchPoints{1, 1, {}};
    /// As `RecordingListener` writes them: "<number>%".
    std::vector<std::string> events;
    /// What was thrown, or nothing. The grid is as it was left then.
    std::string error;
    /// How many stores went to a node that had a point already, and how many lattice points inside a
    /// triangle lay beside the grid.
    std::uint32_t repeatedStores = 0;
    std::uint32_t storesOutside = 0;
};

Result resample(PlainMesh const& mesh, double quadArea, std::uint32_t quadsPerSearchPoint = 4096);

/// Its first step alone: stores the lattice points of all triangles in a grid that is there.
void storeTriangles(PlainGrid& grid, PlainMesh const& mesh, double spacing);

} // namespace QELT::Testing::PlainResampling
