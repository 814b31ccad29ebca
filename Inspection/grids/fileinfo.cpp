#include "Inspection/grids/fileinfo.h"

#include "Inspection/import/objfile.h"
#include "Inspection/records/failure.h"
#include "Inspection/records/files.h"

#include <string>

namespace QELT::Inspection {

namespace {

GridFileInfo gridFileInfoOf(std::filesystem::path const& path) {
    GridFileInfo info;
    info.header = readGridFileHeader(path);
    Grid grid;
    loadGrid(grid, path);
    info.byteCount = std::filesystem::file_size(path);
    info.grid = gridSummaryOf(grid);
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
    return info;
}

} // namespace

FileInfo fileInfoOf(InfoOptions const& options, ProgressListener* listener) {
    requireReadable(options.file);
    if (isGridFile(options.file)) {
        return gridFileInfoOf(options.file);
    }
    if (options.file.filename().string().find(".obj") != std::string::npos) {
        return meshFileInfoOf(options.file, listener);
    }
    throw Failure(options.file.string() + ": neither a .quads nor an .obj file");
}

} // namespace QELT::Inspection
