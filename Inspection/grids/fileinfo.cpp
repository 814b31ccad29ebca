#include "Inspection/grids/fileinfo.h"

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
    return info;
}

} // namespace

FileInfo fileInfoOf(InfoOptions const& options, ProgressListener* listener) {
    requireReadable(options.file);
    if (isGridFile(options.file)) {
        return gridFileInfoOf(options.file);
    }
    PartAsLoaded const part = loadPart(options.file);
    if (part.isMesh()) {
        return meshFileInfoOf(options.file, part, listener);
    }
    return CloudFileInfo{std::filesystem::file_size(options.file), part.report, !part.normals.empty()};
}

} // namespace QELT::Inspection
