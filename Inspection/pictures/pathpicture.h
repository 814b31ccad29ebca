#pragma once

#include "Inspection/export.h"
#include "Inspection/pictures/image.h"
#include "Inspection/planning/planpath.h"

#include <filesystem>
#include <optional>

namespace QELT::Inspection {

/// The path over the grid's pixels, with lengths on the part along its axes: what the footprints cover and
/// what they leave, lines, turns and ways over holes apart, start and end, shots that miss or are blocked,
/// sharp edges, and the places of the longest gap and of the largest angle, both named. Fails if the grid has
/// more than 64 million quads.
QELT_INSPECTION_EXPORT Image pathPictureOf(Plan const& plan, PathSettings const& settings);

/// What to plan, and the picture to write.
struct DrawnPlanOptions {
    PlanOptions plan;
    std::optional<std::filesystem::path> image; ///< picture to write, a PNG file
};

/// Plans the path, writes and draws it, fit or not. Fails as `planPath` does, and if the picture cannot be
/// written.
QELT_INSPECTION_EXPORT Plan drawPlan(DrawnPlanOptions const& options, ProgressListener* listener);

} // namespace QELT::Inspection
