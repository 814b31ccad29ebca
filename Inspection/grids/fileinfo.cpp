#include "Inspection/grids/fileinfo.h"

#include "Inspection/records/failure.h"
#include "Inspection/records/files.h"
#include "Inspection/records/internal/textline.h"
#include "Inspection/records/numbers.h"

#include <fstream>
#include <string>

namespace QELT::Inspection {

namespace {

GridFileInfo gridFileInfoOf(std::filesystem::path const& path, ProgressListener* listener) {
    GridFileInfo info;
    info.header = readGridFileHeader(path);
    Grid grid;
    loadGrid(grid, path);
    info.byteCount = std::filesystem::file_size(path);
    info.grid = gridSummaryOf(grid);
    info.record = findRecord(path, listener);
    return info;
}

MeshFileInfo meshFileInfoOf(std::filesystem::path const& path, PartAsLoaded const& part,
                            ProgressListener* listener) {
    Mesh mesh;
    mesh.setProgressListener(listener);
    ObjContents const contents = fillMesh(mesh, part, path);
    MeshFileInfo info;
    info.load = part.report;
    info.byteCount = std::filesystem::file_size(path);
    info.mesh = meshSummaryOf(mesh);
    if (contents.hasFlatCoordinates) {
        info.flat = flatSummaryOf(mesh, trianglesOf(mesh));
    }
    info.record = findRecord(path, listener);
    return info;
}

TableFileInfo tableFileInfoOf(std::filesystem::path const& path, ProgressListener* listener) {
    TableFileInfo info;
    std::ifstream input(path);
    forEachLine(input, path.string(), [&](TextLine const& line) {
        if (info.heading.empty()) {
            info.heading = trimmed(line.text);
        } else if (!trimmed(line.text).empty()) {
            ++info.rowCount;
        }
    });
    info.byteCount = std::filesystem::file_size(path);
    info.record = findRecord(path, listener);
    return info;
}

FileInfo partFileInfoOf(std::filesystem::path const& path, ProgressListener* listener) {
    PartAsLoaded const part = loadPart(path);
    if (part.isMesh()) {
        return meshFileInfoOf(path, part, listener);
    }
    return CloudFileInfo{std::filesystem::file_size(path), part.report, !part.normals.empty(),
                         findRecord(path, listener)};
}

} // namespace

FileInfo fileInfoOf(InfoOptions const& options, ProgressListener* listener) {
    requireReadable(options.file);
    if (isGridFile(options.file)) {
        return gridFileInfoOf(options.file, listener);
    }
    auto const record = findRecord(options.file, listener);
    bool const isTable = options.file.extension() == ".csv";
    if (record && isTable) {
        return tableFileInfoOf(options.file, listener);
    }
    try {
        return partFileInfoOf(options.file, listener);
    } catch (Failure const&) {
        if (isTable) {
            return tableFileInfoOf(options.file, listener);
        }
        if (record) {
            return RecordedFileInfo{std::filesystem::file_size(options.file), record};
        }
        throw;
    }
}

} // namespace QELT::Inspection
