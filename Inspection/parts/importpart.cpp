#include "Inspection/parts/importpart.h"

#include "Inspection/import/objfile.h"
#include "Inspection/import/xyzfile.h"
#include "Inspection/records/failure.h"
#include "Inspection/records/internal/announce.h"
#include "Inspection/records/numbers.h"
#include "Inspection/records/outputs.h"
#include "Inspection/records/record.h"

#include <fstream>
#include <utility>

namespace QELT::Inspection {

namespace {

void addOutput(Outputs& outputs, ImportOptions const& options) {
    if (isCloudFile(options.out)) {
        outputs.add(options.out);
        return;
    }
    require(options.out.extension() == ".obj",
            options.out.string() + ": the name must end in .obj for a mesh, in .xyz for points");
    addObjOutput(outputs, options.out);
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

/// A mesh that is to become a cloud keeps its points alone, welded, and those of no triangle too.
PartAsRead withoutPolygons(PartAsRead part) {
    part.corners.clear();
    part.polygonEnds.clear();
    return part;
}

/// From here on points are those of single precision.
PartRepairReport repair(PartAsLoaded& part, ImportOptions const& options) {
    FaceMesh mesh{pointsOf(part), std::move(part.triangles)};
    PartRepairOptions how = *options.repair;
    how.weldTolerance = options.weldTolerance;
    PartRepairReport const report = repairPart(mesh, how);
    require(!mesh.faces.empty(), options.in.string() + ": nothing is left of the part by its repair");
    part.points.clear();
    for (Point const& point : mesh.points) {
        part.points.push_back({point.getX(), point.getY(), point.getZ()});
    }
    part.triangles = std::move(mesh.faces);
    part.report.pointsOut = part.points.size();
    part.report.trianglesOut = part.triangles.size();
    return report;
}

void writePart(PartAsLoaded const& part, Destination const& to) {
    std::ofstream output(to.file, std::ios::binary);
    if (isCloudFile(to.name)) {
        writeTable(output, part);
    } else {
        writePoints(output, part.points);
        writeTriangles(output, part.triangles);
    }
    output.close();
    require(!output.fail(), to.name.string() + ": cannot be written to its end");
}

void describe(Record& record, ImportOptions const& options, ImportResult const& result) {
    record.setting("scale", options.scale);
    record.setting("weldTolerance", result.weldTolerance);
    record.setting("keepsPlace", options.keepsPlace);
    if (result.isMoved()) {
        record.addMove(Vector(0.0 - result.offset[0], 0.0 - result.offset[1], 0.0 - result.offset[2]));
    }
    bool const isToldByFrame = options.in.frame && record.getUnit();
    if (!result.unit.empty() && !isToldByFrame) {
        record.setUnit(result.unit);
    }
    record.figure("format", nameOf(result.format));
    record.figure("isMirrored", result.isMirrored);
    record.figure("pointsIn", result.pointsIn);
    record.figure("pointsOut", result.pointsOut);
    record.figure("weldedPoints", result.weldedCount);
    record.figure("unusedPoints", result.unusedCount);
    record.figure("polygons", result.polygonCount);
    record.figure("trianglesIn", result.trianglesIn);
    record.figure("trianglesOut", result.trianglesOut);
    record.figure("degenerateTriangles", result.degenerateCount);
    record.figure("crossingPolygons", result.crossingCount);
    record.figure("size", result.size);
    record.figure("reach", result.reach);
    if (result.repair) {
        addFigures(record, *result.repair);
    }
}

} // namespace

ImportResult importPart(ImportOptions const& options, ProgressListener* listener) {
    Record record("import");
    addPart(record, options.in);
    require(record.getMoves().empty() || (options.scale == 1.0 && options.axes == sameAxes),
            options.in.string() + ": was moved when it was made; scale and map the part that it was made of");
    Outputs outputs(record);
    addOutput(outputs, options);
    announce(listener, "Reading part");
    PartAsRead read = readPartFile(options.in.file);
    bool const isCloudAsked = isCloudFile(options.out);
    require(read.isMesh() || isCloudAsked,
            options.in.string() + ": holds points and no polygons; name an output that ends in .xyz");
    announce(listener, "Making part ready");
    bool const wasMesh = read.isMesh();
    LoadOptions how{options.weldTolerance, options.scale, options.axes, !options.keepsPlace};
    if (options.in.frame) {
        how.frame = readFrame(*options.in.frame, options.scale == 1.0 ? read.unit : "");
    }
    PartAsLoaded part =
        makePart(isCloudAsked ? withoutPolygons(std::move(read)) : std::move(read), options.in.string(), how);
    std::optional<PartRepairReport> const repaired =
        options.repair && part.isMesh() ? std::optional(repair(part, options)) : std::nullopt;
    announce(listener, "Writing part");
    naming(options.out.string(), [&] { writePart(part, outputs.at(options.out)); });
    ImportResult result{part.report, repaired};
    result.isMesh = wasMesh;
    describe(record, options, result);
    outputs.commit(listener);
    return result;
}

} // namespace QELT::Inspection
