#include "Inspection/grids/fileinfo.h"
#include "Inspection/parts/partanalysis.h"
#include "Inspection/records/numbers.h"
#include "Inspection/results/resultfile.h"
#include "Inspection/results/resultinfo.h"
#include "apps/cscan/commandline/arguments.h"
#include "apps/cscan/commands/commands.h"
#include "apps/cscan/report/loadreport.h"
#include "apps/cscan/report/measuredreport.h"
#include "apps/cscan/report/report.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <ostream>
#include <variant>

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

/// How the file was made, and whether it still is what was made then.
void printRecord(std::ostream& output, std::filesystem::path const& file,
                 std::optional<FoundRecord> const& record) {
    if (!record) {
        return;
    }
    output << "record " << recordFileOf(file).filename().string() << '\n';
    for (auto const& [name, text] : record->lines) {
        printItem(output, "  " + name, printable(text));
    }
    printItem(output, "  fits", record->misfits.empty() ? "yes" : "no");
    for (std::string const& misfit : record->misfits) {
        printItem(output, "note", "the record does not fit: " + printable(misfit));
    }
}

void printExtent(std::ostream& output, MeshSummary const& mesh) {
    if (mesh.vertexCount > 0) {
        printItem(output, "bounding box", pointText(mesh.low) + " to " + pointText(mesh.high));
        printItem(output, "area", toShortText(mesh.area, 6));
        double const pixel = suggestedPixel(mesh.area, mesh.faceCount);
        printItem(output, "suggested pixel", toShortText(pixel, 6));
    }
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
    printExtent(output, info.mesh);
    printItem(output, "flat coordinates", info.flat ? "yes" : "no");
    if (info.flat) {
        printFlat(output, *info.flat);
    }
}

void printFile(std::ostream& output, InfoOptions const& options, TableFileInfo const& info) {
    output << options.file.string() << ": table\n";
    printItem(output, "size", std::to_string(info.byteCount) + " bytes");
    printItem(output, "heading", printable(info.heading));
    printItem(output, "rows", std::to_string(info.rowCount));
}

void printFile(std::ostream& output, InfoOptions const& options, RecordedFileInfo const& info) {
    output << options.file.string() << ": file with a record\n";
    printItem(output, "size", std::to_string(info.byteCount) + " bytes");
}

void printFile(std::ostream& output, InfoOptions const& options, CloudFileInfo const& info) {
    output << options.file.string() << ": cloud of points\n";
    printItem(output, "size", std::to_string(info.byteCount) + " bytes");
    printLoad(output, info.load);
    printItem(output, "extent", toShortText(info.load.size, 6) + " across");
    printItem(output, "normals", info.hasNormals ? "yes" : "no");
}

void printFile(std::ostream& output, InfoOptions const& options, ResultFileInfo const& info) {
    Result const& result = info.result;
    output << options.file.string() << ": C-scan of measured data\n";
    printItem(output, "size", std::to_string(info.byteCount) + " bytes");
    printItem(output, "pixels", std::to_string(result.width) + " x " + std::to_string(result.height));
    for (Patch const& patch : result.patches) {
        printItem(output, "grid",
                  printable(patch.name) + ", " + std::to_string(patch.width) + " x " +
                      std::to_string(patch.height) + " quads");
    }
    printItem(output, "unit of lengths", result.unit.empty() ? "not known" : printable(result.unit));
    printCoverage(output, result, info.coverage);
    printValues(output, result);
}

/// A file of any kind.
using Described = std::variant<FileInfo, ResultFileInfo>;

Described describe(InfoOptions const& options, ProgressListener* listener) {
    if (isResultFile(options.file)) {
        return resultInfoOf(options.file, listener);
    }
    return fileInfoOf(options, listener);
}

void print(std::ostream& output, InfoOptions const& options, FileInfo const& info) {
    std::visit(
        [&](auto const& kind) {
            printFile(output, options, kind);
            printRecord(output, options.file, kind.record);
        },
        info);
}

void print(std::ostream& output, InfoOptions const& options, ResultFileInfo const& info) {
    printFile(output, options, info);
    printRecord(output, options.file, info.record);
}

} // namespace

Command addInfo(CLI::App& app) {
    auto const options = std::make_shared<InfoOptions>();
    CLI::App* const info =
        addCommand(app, "info", "Tell what a part, a grid, a result or a table holds, and how it was made");
    info->add_option("FILE", options->file, "The file")->required();
    return commandOf(
        info, [options] { return *options; }, describe,
        [](std::ostream& output, InfoOptions const& asked, Described const& found) {
            std::visit([&](auto const& kind) { print(output, asked, kind); }, found);
        });
}

} // namespace cscan
