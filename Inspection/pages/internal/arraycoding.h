#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace QELT::Inspection {

/// Whole numbers, row by row, some of which may be missing.
struct NumberRaster {
    std::size_t width = 0;
    std::vector<std::uint32_t> numbers;
    std::vector<std::uint8_t> isPresent; ///< 1 or 0; what is not present has no meaning

    std::size_t size() const { return numbers.size(); }
};

/// The bytes of the numbers that are present, made small by deflation afterwards.
struct CodedNumbers {
    std::size_t planeCount = 0; ///< bytes a number; 0 if all are as predicted
    std::vector<std::uint8_t>
        bytes; ///< `planeCount` runs, lowest bytes first, as long as numbers are present
};

CodedNumbers coded(NumberRaster const& raster);

} // namespace QELT::Inspection
