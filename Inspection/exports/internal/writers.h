#pragma once

#include "Inspection/exports/exportresult.h"
#include "Inspection/records/outputs.h"
#include "Inspection/results/result.h"

#include <vector>

/// One writer a format. Each fails if it cannot write to the end.
namespace QELT::Inspection {

using ValueMaps = std::vector<ValueMap const*>;

/// A grid of the result, as a VTK structured grid.
void writeVts(Destination const& to, Result const& result, std::size_t patchNumber, ValueMaps const& values);

/// The list of the blocks' files.
void writeVtm(Destination const& to, Result const& result, std::vector<std::filesystem::path> const& files);

/// The quads, coloured by a value.
void writePly(Destination const& to, Result const& result, ValueMap const& map, ColourLimits const& limits);

/// Arrays for NumPy.
void writeNpz(Destination const& to, Result const& result, ValueMaps const& values);

/// A page for each value.
void writeTiff(Destination const& to, Result const& result, ValueMaps const& values);

/// A name with its unit, such as "amplitude:max [%FSH]".
std::string labelOf(ValueMap const& map);

/// A node's place in the part's own space, NaN where there is none.
inline Vector nodePlace(Result const& result, Patch const& patch, std::size_t node) {
    float const* const c = &patch.nodes[3 * node];
    return Vector(c[0], c[1], c[2]) - Vector(result.move.data());
}

} // namespace QELT::Inspection
