#include "apps/cscan/commands/commands.h"
#include "apps/cscan/commands/report.h"
#include "apps/cscan/files/failure.h"
#include "apps/cscan/files/files.h"
#include "apps/cscan/files/numbers.h"
#include "apps/cscan/files/objfile.h"
#include "apps/cscan/grids/gridfile.h"

#include <algorithm>
#include <ostream>

namespace cscan {

namespace {

/// Names from a file may hold anything; only what prints is printed.
std::string printable(std::string text) {
    std::replace_if(
        text.begin(), text.end(),
        [](unsigned char character) { return character < 0x20 || character == 0x7F; }, '?');
    return text;
}

void printFlags(std::ostream& output, GridSummary const& summary) {
    printItem(output, "  interior", std::to_string(summary.interiorCount));
    printItem(output, "  boundary", std::to_string(summary.boundaryCount));
    printItem(output, "  cut boundary", std::to_string(summary.cutBoundaryCount));
    printItem(output, "  neither", std::to_string(summary.extendedCount));
}

void printGridFile(std::filesystem::path const& path, std::ostream& output) {
    GridFileHeader const header = readGridFileHeader(path);
    Grid grid;
    loadGrid(grid, path);
    GridSummary const summary = gridSummaryOf(grid);
    output << path.string() << ": grid of quads\n";
    printItem(output, "version", std::to_string(header.version));
    printItem(output, "source name", header.name.empty() ? "(none)" : printable(header.name));
    printItem(output, "coordinates", nameOfDataType(header.coordinateDataType));
    printItem(output, "size", std::to_string(std::filesystem::file_size(path)) + " bytes");
    printGrid(output, grid, summary);
    output << "flags of valid nodes\n";
    printFlags(output, summary);
}

void printObjFile(std::filesystem::path const& path, std::ostream& output, ProgressDisplay& display) {
    Mesh mesh;
    mesh.setProgressListener(&display);
    ObjContents const contents = loadObj(mesh, path);
    display.clear();
    auto const triangles = trianglesOf(mesh);
    output << path.string() << ": triangle mesh\n";
    printItem(output, "size", std::to_string(std::filesystem::file_size(path)) + " bytes");
    printMesh(output, mesh, triangles, boundaryLoopsOf(mesh));
    printItem(output, "flat coordinates", contents.hasFlatCoordinates ? "yes" : "no");
    if (contents.hasFlatCoordinates) {
        printFlat(output, flatSummaryOf(mesh, triangles));
    }
}

} // namespace

void runInfo(InfoOptions const& options, std::ostream& output, ProgressDisplay& display) {
    requireReadable(options.file);
    if (isGridFile(options.file)) {
        printGridFile(options.file, output);
    } else if (options.file.filename().string().find(".obj") != std::string::npos) {
        printObjFile(options.file, output, display);
    } else {
        throw Failure(options.file.string() + ": neither a .quads nor an .obj file");
    }
}

} // namespace cscan
