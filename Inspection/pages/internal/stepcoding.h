#pragma once

#include "Inspection/pages/internal/arraycoding.h"
#include "Inspection/pages/internal/sections.h"
#include "Inspection/pages/view.h"

#include <nlohmann/json.hpp>

#include <vector>

namespace QELT::Inspection {

/// Numbers of a page, row by row, NaN where there is none; infinite ones are kept as missing.
struct RealRaster {
    std::size_t width = 0;
    std::vector<double> numbers;
};

/// Numbers in a page: how its reader gets them back, and how far these are from what they were.
struct CodedReals {
    nlohmann::ordered_json json;
    std::vector<double> numbers; ///< as they will be read
    double error = 0.0;          ///< the greatest difference
    double low = 0.0;            ///< of the numbers as they were
    double high = 0.0;
};

/// Whole numbers, with a mask where some are missing.
nlohmann::ordered_json addTo(Sections& sections, NumberRaster const& raster);

/// Numbers of which few differ are kept as they are, in a table. Others are put on 65,535 equal steps from
/// the least to the greatest, or rounded to single precision.
CodedReals codedValues(Sections& sections, RealRaster const& raster, PagePrecision precision);

/// Numbers on steps of a size that is given, counted from the least of them.
CodedReals codedInSteps(Sections& sections, RealRaster const& raster, double step);

/// Numbers in single precision.
CodedReals codedAsFloats(Sections& sections, RealRaster const& raster);

} // namespace QELT::Inspection
