#pragma once

#include "Inspection/import/internal/partsource.h"

namespace QELT::Inspection {

/// Whether a text that begins with a brace is a glTF file.
bool isGltfText(std::string_view bytes);

/// Whether an archive is a 3MF package, by its name or by that of what lies in it.
bool isThreeMf(PartSource const& archive);

/// Reads all triangles of a scene, each mesh where its nodes place it. What comes is checked: numbers,
/// indices, and that there are as many triangles as the file states. A build without Assimp fails and says
/// so.
PartAsRead readGltf(PartSource const& source);
PartAsRead readThreeMf(PartSource const& source);

} // namespace QELT::Inspection
