#pragma once

#include "Inspection/frames/frame.h"
#include "Inspection/pages/internal/pagemodel.h"

#include <filesystem>
#include <optional>

namespace QELT::Inspection {

/// Adds a table of indications: its columns by their names, whichever there are. Fails where it has neither
/// u and v nor x, y and z.
void addIndications(PageModel& model, std::filesystem::path const& table);

/// Adds the places where shots met the surface, of which the page shows `maxShownPlaces` at most, evenly
/// taken; it tells how many there are.
void addShots(PageModel& model, std::filesystem::path const& table);

/// The same for the poses of a path, with the directions, taken to the part's coordinates by the frame.
void addPath(PageModel& model, std::filesystem::path const& table, std::optional<Frame> const& frame = {});

inline constexpr std::size_t maxShownPlaces = 20000;

} // namespace QELT::Inspection
