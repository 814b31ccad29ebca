#pragma once

#include "apps/cscan/names.h"

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

/// The grid's test of its own search with an array of beams.
namespace cscan {

struct StripeArray {
    unsigned long elementCount = 16; ///< at least 1
    double pitch = 1.0;              ///< between elements, in the part's unit
};

/// Whether lines on which the whole array stands on the surface are found by chance, and not so rarely that a
/// test of such lines would go on for ever. Needs no such line to have been drawn by the library, whose test
/// doesn't end without one.
bool hasRoomFor(Grid const& grid, StripeArray const& array, std::uint32_t seed);

using GridLine = std::pair<GridIndex, GridIndex>;

struct StripeTestResult {
    unsigned long passCount = 0; ///< beams that met their quad
    unsigned long failureCount = 0;
    std::vector<GridLine> failedLines;
};

/// The test on so many lines; needs room for the array.
StripeTestResult testStripes(Grid& grid, StripeArray const& array, unsigned long lineCount,
                             std::uint32_t seed);

/// Whether a failed line says nothing against the search: each of its beams that fails stands exactly on the
/// side that the two triangles of its quad share, which belongs to neither, and meets its quad from a
/// thousandth of a quad beside it. Flat grids have such beams wherever a line steps along the quads'
/// diagonals. False if no beam of the line fails any more.
bool failsOnDiagonalsOnly(Grid& grid, StripeArray const& array, GridLine const& line);

} // namespace cscan
