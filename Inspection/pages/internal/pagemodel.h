#pragma once

#include "Inspection/import/part.h"
#include "Inspection/pages/internal/sections.h"
#include "Inspection/pages/view.h"
#include "Inspection/results/result.h"

#include <nlohmann/json.hpp>

namespace QELT::Inspection {

/// What a page is filled with.
struct PageModel {
    nlohmann::ordered_json json; ///< names, units, figures, and which section holds what
    Sections sections;
    View view; ///< counts and errors; of the page's size nothing
};

/// Of a measured C-scan, or of a grid as a C-scan of its shape. The errors are those of the numbers that the
/// page will make of the model, beside the result's own.
PageModel modelOf(Result const& result, ViewedKind kind, PagePrecision precision);

/// Of a part with triangles.
PageModel modelOf(PartAsLoaded const& part, PagePrecision precision);

} // namespace QELT::Inspection
