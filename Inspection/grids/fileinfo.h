#pragma once

#include "Inspection/export.h"
#include "Inspection/grids/gridfile.h"
#include "Inspection/grids/gridsummary.h"
#include "Inspection/import/part.h"
#include "Inspection/parts/meshsummary.h"
#include "Inspection/records/record.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <variant>

/// What a file holds.
namespace QELT::Inspection {

/// Which file to tell of.
struct InfoOptions {
    std::filesystem::path file; ///< a .quads file, told by its first bytes, a part of any format, a .csv file
                                ///< or any other with a record
};

/// A grid's file.
struct GridFileInfo {
    GridFileHeader header;
    std::uintmax_t byteCount = 0;
    GridSummary grid;
    std::optional<FoundRecord> record; ///< of how the file was made, where one lies beside it
};

/// A mesh's file.
struct MeshFileInfo {
    LoadReport load;
    std::uintmax_t byteCount = 0;
    MeshSummary mesh;
    std::optional<FlatSummary> flat; ///< where the file holds flat coordinates
    std::optional<FoundRecord> record;
};

/// A table of comma-separated values.
struct TableFileInfo {
    std::uintmax_t byteCount = 0;
    std::string heading;
    std::size_t rowCount = 0; ///< lines below the heading that are not blank
    std::optional<FoundRecord> record;
};

/// A file of another kind, such as a picture, of which only its record tells.
struct RecordedFileInfo {
    std::uintmax_t byteCount = 0;
    std::optional<FoundRecord> record;
};

/// A cloud.
struct CloudFileInfo {
    std::uintmax_t byteCount = 0;
    LoadReport load;
    bool hasNormals = false;
    std::optional<FoundRecord> record;
};

/// What a file is, and what it holds.
using FileInfo = std::variant<GridFileInfo, MeshFileInfo, CloudFileInfo, TableFileInfo, RecordedFileInfo>;

/// Reads the whole file and tells what it holds, and whether its record fits. Fails if it is of no kind above
/// or cannot be read to its end.
QELT_INSPECTION_EXPORT FileInfo fileInfoOf(InfoOptions const& options, ProgressListener* listener);

} // namespace QELT::Inspection
