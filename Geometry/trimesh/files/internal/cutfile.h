#pragma once

#include "Geometry/trimesh/mesh.h"

#include <string>

namespace QELT::Geometry::ThreeDimensional::TriMesh {

/// False if the file cannot be opened; true with nothing written if there are no pairs.
/// \throws std::runtime_error "Cannot write cut file" if it cannot be written to its end.
bool writeCutFile(std::string const& path, CutEdgeIndices const& indices);

/// The pairs of the file, and a pair (0, 0) behind them; none if it cannot be opened.
CutEdgeIndices readCutFile(std::string const& path);

} // namespace QELT::Geometry::ThreeDimensional::TriMesh
