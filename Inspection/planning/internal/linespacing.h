#pragma once

#include "Inspection/planning/internal/chart.h"

#include <vector>

namespace QELT::Inspection {

/// Where the lines of a path lie across a chart, and the largest distance of two neighbours on the surface.
struct LinePlaces {
    std::vector<double> b;
    double widestSpacing = 0.0;
};

/// As few lines as keep the spacing, and these as even as that allows. The first and the last lie within the
/// margin of the part's rim. Of a chart with a quad.
LinePlaces linePlacesOn(Chart const& chart, double spacing, double margin);

} // namespace QELT::Inspection
