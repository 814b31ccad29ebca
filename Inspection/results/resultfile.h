#pragma once

#include "Inspection/export.h"
#include "Inspection/records/outputs.h"
#include "Inspection/results/result.h"

#include <filesystem>

/// Results as HDF5 files. The layout, arrays of pixels having `height` rows of `width`:
///
///     /                  attributes format, version, size (width, height), unit, move
///     /record            how it was made, JSON
///     /pixels/state      1 byte, an enumeration of `PixelState`
///     /pixels/count, refused, area, point (x, y, z), normal (x, y, z), patch, filled_from
///     /values/NAME       double, NaN without a value; attributes quantity, statistic, unit, ceiling
///     /patches/I/nodes   (height + 1) x (width + 1) x 3 float; attributes name, place (left, bottom)
///     /shots/...         if they were asked for: a row a shot that met the surface
namespace QELT::Inspection {

/// Writes neither time nor place: the same result is the same bytes. Fails if it cannot be written to its
/// end.
QELT_INSPECTION_EXPORT void writeResult(Destination const& to, Result const& result);

/// Fails if it is no such file, or is cut off or damaged.
QELT_INSPECTION_EXPORT Result readResult(std::filesystem::path const& path);

/// Whether the file begins as one of HDF5.
QELT_INSPECTION_EXPORT bool isResultFile(std::filesystem::path const& path);

} // namespace QELT::Inspection
