#include "Inspection/parts/importpart.h"

#include "Inspection/import/objfile.h"
#include "Inspection/import/xyzfile.h"
#include "Inspection/records/failure.h"
#include "Inspection/records/files.h"
#include "Inspection/records/internal/announce.h"
#include "Inspection/records/numbers.h"

#include <fstream>
#include <utility>

namespace QELT::Inspection {

namespace {

void requireOutput(ImportOptions const& options) {
    std::error_code ignored;
    require(!std::filesystem::equivalent(options.in, options.out, ignored),
            options.out.string() + ": is also the input");
    if (isCloudFile(options.out)) {
        requireWritable(options.out);
        return;
    }
    require(options.out.extension() == ".obj",
            options.out.string() + ": the name must end in .obj for a mesh, in .xyz for points");
    requireObjOutput(options.out);
    requireNoCutBeside(options.out);
}

void writeNumbers(std::ostream& output, SpacePoint const& numbers) {
    output << toExactText(numbers[0]) << ' ' << toExactText(numbers[1]) << ' ' << toExactText(numbers[2]);
}

void writePoints(std::ostream& output, std::vector<SpacePoint> const& points) {
    for (SpacePoint const& point : points) {
        output << "v ";
        writeNumbers(output, point);
        output << '\n';
    }
}

/// Points a line, with the normals behind them where there are some.
void writeTable(std::ostream& output, PartAsLoaded const& part) {
    for (std::size_t i = 0; i < part.points.size(); ++i) {
        writeNumbers(output, part.points[i]);
        if (!part.normals.empty()) {
            output << ' ';
            writeNumbers(output, part.normals[i]);
        }
        output << '\n';
    }
}

/// Counts from 1, written without the stream's locale, which may group digits.
void writeTriangles(std::ostream& output, std::vector<std::array<std::uint32_t, 3>> const& triangles) {
    for (auto const& triangle : triangles) {
        output << 'f';
        for (std::uint32_t const corner : triangle) {
            output << ' ' << std::to_string(std::uint64_t{corner} + 1);
        }
        output << '\n';
    }
}

template <class Write>
void writeFile(std::filesystem::path const& path, Write write) {
    std::ofstream output(path, std::ios::binary);
    write(output);
    output.close();
    require(!output.fail(), path.string() + ": cannot be written to its end");
}

/// A mesh that is to become a cloud keeps its points alone, welded, and those of no triangle too.
PartAsRead withoutPolygons(PartAsRead part) {
    part.corners.clear();
    part.polygonEnds.clear();
    return part;
}

void writePart(PartAsLoaded const& part, ImportOptions const& options) {
    writeFile(options.out, [&](std::ostream& output) {
        if (isCloudFile(options.out)) {
            writeTable(output, part);
        } else {
            writePoints(output, part.points);
            writeTriangles(output, part.triangles);
        }
    });
}

} // namespace

ImportResult importPart(ImportOptions const& options, ProgressListener* listener) {
    announce(listener, "Reading part");
    PartAsRead read = readPartFile(options.in);
    bool const isCloudAsked = isCloudFile(options.out);
    require(read.isMesh() || isCloudAsked,
            options.in.string() + ": holds points and no polygons; name an output that ends in .xyz");
    requireOutput(options);
    announce(listener, "Making part ready");
    bool const wasMesh = read.isMesh();
    LoadOptions const how{options.weldTolerance, options.scale, options.axes, !options.keepsPlace};
    PartAsLoaded const part =
        makePart(isCloudAsked ? withoutPolygons(std::move(read)) : std::move(read), options.in.string(), how);
    announce(listener, "Writing part");
    naming(options.out.string(), [&] { writePart(part, options); });
    ImportResult result{part.report};
    result.isMesh = wasMesh;
    return result;
}

} // namespace QELT::Inspection
