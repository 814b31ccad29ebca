#pragma once

#include "Inspection/export.h"
#include "Inspection/names.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <utility>
#include <vector>

/// The grid's test of its own search with an array of beams.
namespace QELT::Inspection {

/// A row of parallel beams.
struct StripeArray {
    unsigned long elementCount = 16; ///< at least 1
    double pitch = 1.0;              ///< between elements, in the part's unit
};

/// Whether lines on which the whole array stands on the surface are found by chance, and not so rarely that a
/// test of such lines would go on for ever. Needs no such line to have been drawn by the core, whose test
/// doesn't end without one.
QELT_INSPECTION_EXPORT bool hasRoomFor(Grid const& grid, StripeArray const& array, std::uint32_t seed);

/// A line over a grid, by the quads at its ends.
using GridLine = std::pair<GridIndex, GridIndex>;

/// What came of a test.
struct StripeTestResult {
    unsigned long passCount = 0; ///< beams that met their quad
    unsigned long failureCount = 0;
    std::vector<GridLine> failedLines;
    std::size_t diagonalLineCount =
        0; ///< of these, how many say nothing against the search; told by `selftest`
};

/// The test on so many lines; needs room for the array.
QELT_INSPECTION_EXPORT StripeTestResult testStripes(Grid& grid, StripeArray const& array,
                                                    unsigned long lineCount, std::uint32_t seed);

/// Whether a failed line says nothing against the search: each of its beams that fails stands exactly on the
/// side that the two triangles of its quad share, which belongs to neither, and meets its quad from a
/// thousandth of a quad beside it. Flat grids have such beams wherever a line steps along the quads'
/// diagonals. False if no beam of the line fails any more.
QELT_INSPECTION_EXPORT bool failsOnDiagonalsOnly(Grid& grid, StripeArray const& array, GridLine const& line);

/// How to test which grid.
struct SelftestOptions {
    std::filesystem::path grid; ///< a .quads file
    unsigned long lineCount = 100;
    unsigned long elementCount = 16; ///< beams of the array, at least 1
    std::optional<double> pitch;     ///< the side of the smallest quad if there is none
    std::uint32_t seed = 1;          ///< of the lines
};

/// Tests the search of a grid's file. Fails if the file cannot be read and if no line has room for the array;
/// beams that did not meet their quad are no failure but the result.
QELT_INSPECTION_EXPORT StripeTestResult selftest(SelftestOptions const& options, ProgressListener* listener);

} // namespace QELT::Inspection
