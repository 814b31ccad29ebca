#pragma once

#include "Inspection/export.h"
#include "Inspection/grids/gridfile.h"
#include "Inspection/grids/gridsummary.h"
#include "Inspection/import/part.h"
#include "Inspection/parts/meshsummary.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <variant>

/// What a file holds.
namespace QELT::Inspection {

struct InfoOptions {
    std::filesystem::path file; ///< a .quads file, told by its first bytes, or a part of any format
};

struct GridFileInfo {
    GridFileHeader header;
    std::uintmax_t byteCount = 0;
    GridSummary grid;
};

struct MeshFileInfo {
    LoadReport load;
    std::uintmax_t byteCount = 0;
    MeshSummary mesh;
    std::optional<FlatSummary> flat; ///< where the file holds flat coordinates
};

struct CloudFileInfo {
    std::uintmax_t byteCount = 0;
    LoadReport load;
    bool hasNormals = false;
};

using FileInfo = std::variant<GridFileInfo, MeshFileInfo, CloudFileInfo>;

/// Reads the whole file and tells what it holds. Fails if it is of another kind or cannot be read to its end.
QELT_INSPECTION_EXPORT FileInfo fileInfoOf(InfoOptions const& options, ProgressListener* listener);

} // namespace QELT::Inspection
