#include "Inspection/grids/fileinfo.h"

#include "Inspection/import/objfile.h"
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

MeshFileInfo meshFileInfoOf(std::filesystem::path const& path, ProgressListener* listener) {
    Mesh mesh;
    mesh.setProgressListener(listener);
    ObjContents const contents = loadObj(mesh, path);
    MeshFileInfo info;
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

} // namespace

FileInfo fileInfoOf(InfoOptions const& options, ProgressListener* listener) {
    requireReadable(options.file);
    if (isGridFile(options.file)) {
        return gridFileInfoOf(options.file, listener);
    }
    if (options.file.filename().string().find(".obj") != std::string::npos) {
        return meshFileInfoOf(options.file, listener);
    }
    if (options.file.extension() == ".csv") {
        return tableFileInfoOf(options.file, listener);
    }
    if (auto const record = findRecord(options.file, listener)) {
        return RecordedFileInfo{std::filesystem::file_size(options.file), record};
    }
    throw Failure(options.file.string() + ": neither a .quads nor an .obj file");
}

} // namespace QELT::Inspection
