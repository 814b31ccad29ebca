#include "Inspection/grids/fileinfo.h"
#include "Inspection/records/numbers.h"
#include "apps/cscan/commandline/arguments.h"
#include "apps/cscan/commands/commands.h"
#include "apps/cscan/report/loadreport.h"
#include "apps/cscan/report/report.h"

#include <algorithm>
#include <memory>
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
    output << "flags of valid nodes\n";
    printItem(output, "  interior", std::to_string(summary.interiorCount));
    printItem(output, "  boundary", std::to_string(summary.boundaryCount));
    printItem(output, "  cut boundary", std::to_string(summary.cutBoundaryCount));
    printItem(output, "  neither", std::to_string(summary.extendedCount));
}

void printFile(std::ostream& output, InfoOptions const& options, GridFileInfo const& info) {
    GridFileHeader const& header = info.header;
    output << options.file.string() << ": grid of quads\n";
    printItem(output, "version", std::to_string(header.version));
    printItem(output, "source name", header.name.empty() ? "(none)" : printable(header.name));
    printItem(output, "coordinates", nameOfDataType(header.coordinateDataType));
    printItem(output, "size", std::to_string(info.byteCount) + " bytes");
    printGrid(output, info.grid);
    printFlags(output, info.grid);
}

void printFile(std::ostream& output, InfoOptions const& options, MeshFileInfo const& info) {
    output << options.file.string() << ": triangle mesh\n";
    printItem(output, "size", std::to_string(info.byteCount) + " bytes");
    printLoad(output, info.load);
    printMesh(output, info.mesh);
    printItem(output, "flat coordinates", info.flat ? "yes" : "no");
    if (info.flat) {
        printFlat(output, *info.flat);
    }
}

void printFile(std::ostream& output, InfoOptions const& options, CloudFileInfo const& info) {
    output << options.file.string() << ": cloud of points\n";
    printItem(output, "size", std::to_string(info.byteCount) + " bytes");
    printLoad(output, info.load);
    printItem(output, "extent", toShortText(info.load.size, 6) + " across");
    printItem(output, "normals", info.hasNormals ? "yes" : "no");
}

void print(std::ostream& output, InfoOptions const& options, FileInfo const& info) {
    std::visit([&](auto const& kind) { printFile(output, options, kind); }, info);
}

} // namespace

Command addInfo(CLI::App& app) {
    auto const options = std::make_shared<InfoOptions>();
    CLI::App* const info = app.add_subcommand("info", "Tell what a part or a .quads file holds");
    info->add_option("FILE", options->file, "The file")->required();
    return commandOf(
        info, [options] { return *options; }, fileInfoOf, print);
}

} // namespace cscan
