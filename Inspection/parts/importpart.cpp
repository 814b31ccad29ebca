#include "Inspection/parts/importpart.h"

#include "Inspection/import/internal/triangulation.h"
#include "Inspection/import/internal/welding.h"
#include "Inspection/import/objfile.h"
#include "Inspection/import/xyzfile.h"
#include "Inspection/records/failure.h"
#include "Inspection/records/internal/announce.h"
#include "Inspection/records/numbers.h"
#include "Inspection/records/outputs.h"
#include "Inspection/records/record.h"

#include <algorithm>
#include <cmath>
#include <fstream>
#include <limits>
#include <stdexcept>

namespace QELT::Inspection {

namespace {

using SpacePoint = std::array<double, 3>;
using Corners = std::array<std::uint32_t, 3>;

constexpr std::uint32_t unused = std::numeric_limits<std::uint32_t>::max();

/// Below this the cells of the welding's grid have no numbers.
constexpr double minWeldTolerance = 1e-100;

void requireOptions(ImportOptions const& options) {
    require(std::isfinite(options.scale) && options.scale > 0.0, "the scale must be above 0");
    double const tolerance = options.weldTolerance.value_or(0.0);
    require(tolerance == 0.0 || (std::isfinite(tolerance) && tolerance >= minWeldTolerance),
            "the tolerance of welding must be 0 or a length");
}

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

/// Multiplies the points, which have to stay where single precision reaches: so they are read later.
void scalePoints(std::vector<SpacePoint>& points, double scale, std::string const& source) {
    for (std::size_t i = 0; i < points.size(); ++i) {
        for (double& coordinate : points[i]) {
            coordinate *= scale;
            require(std::abs(coordinate) <= std::numeric_limits<float>::max(),
                    source + ": point " + std::to_string(i + 1) + " lies too far out");
        }
    }
}

void measure(std::vector<SpacePoint> const& points, ImportResult& result) {
    SpacePoint low = points.front();
    SpacePoint high = points.front();
    for (SpacePoint const& point : points) {
        for (std::size_t axis = 0; axis < 3; ++axis) {
            low[axis] = std::min(low[axis], point[axis]);
            high[axis] = std::max(high[axis], point[axis]);
            result.reach = std::max(result.reach, std::abs(point[axis]));
        }
    }
    result.size = std::hypot(high[0] - low[0], high[1] - low[1], high[2] - low[2]);
    auto const reach = static_cast<float>(result.reach);
    result.floatStep = static_cast<double>(reach) - static_cast<double>(std::nextafter(reach, 0.0F));
}

bool isStl(PartFormat format) {
    return format == PartFormat::StlText || format == PartFormat::StlBinary;
}

void weldPart(PartAsRead& part, ImportOptions const& options, ImportResult& result) {
    result.weldTolerance = options.weldTolerance;
    if (isStl(part.format) && !result.weldTolerance) {
        result.weldTolerance = defaultWeldShare * result.size;
    }
    if (!result.weldTolerance) {
        return;
    }
    WeldedPoints welded = weld(part.points, *result.weldTolerance);
    result.weldedCount = part.points.size() - welded.points.size();
    part.points = std::move(welded.points);
    for (std::uint32_t& corner : part.corners) {
        corner = welded.newIndices[corner];
    }
}

/// The triangles that have three points, counted with the others.
std::vector<Corners> trianglesOf(PartAsRead const& part, ImportResult& result) {
    std::vector<Corners> kept;
    for (std::size_t i = 0; i < part.polygonEnds.size(); ++i) {
        auto const polygon = part.polygon(i);
        PolygonTriangles const cut = triangulate(polygon, part.points);
        result.trianglesIn += polygon.size() - 2;
        result.crossingCount += cut.isSimple ? 0 : 1;
        for (Corners const& triangle : cut.triangles) {
            if (triangle[0] == triangle[1] || triangle[1] == triangle[2] || triangle[2] == triangle[0]) {
                ++result.degenerateCount;
            } else {
                kept.push_back(triangle);
            }
        }
    }
    result.polygonCount = part.polygonEnds.size();
    result.trianglesOut = kept.size();
    if (result.trianglesOut + result.degenerateCount != result.trianglesIn) {
        throw std::logic_error("triangles were lost on the way");
    }
    return kept;
}

/// Leaves out the points that no triangle has, and numbers the others anew.
void dropUnused(std::vector<SpacePoint>& points, std::vector<Corners>& triangles) {
    std::vector<std::uint32_t> newIndices(points.size(), unused);
    for (Corners const& triangle : triangles) {
        for (std::uint32_t const corner : triangle) {
            newIndices[corner] = 0;
        }
    }
    std::uint32_t count = 0;
    for (std::size_t i = 0; i < points.size(); ++i) {
        if (newIndices[i] != unused) {
            points[count] = points[i];
            newIndices[i] = count++;
        }
    }
    points.resize(count);
    for (Corners& triangle : triangles) {
        for (std::uint32_t& corner : triangle) {
            corner = newIndices[corner];
        }
    }
}

std::size_t countUnused(PartAsRead const& part) {
    std::vector<bool> isUsed(part.points.size(), false);
    for (std::uint32_t const corner : part.corners) {
        isUsed[corner] = true;
    }
    return static_cast<std::size_t>(std::count(isUsed.begin(), isUsed.end(), false));
}

void writePoints(std::ostream& output, std::vector<SpacePoint> const& points, char const* lead) {
    for (SpacePoint const& point : points) {
        output << lead << toExactText(point[0]) << ' ' << toExactText(point[1]) << ' '
               << toExactText(point[2]) << '\n';
    }
}

/// Counts from 1, written without the stream's locale, which may group digits.
void writeTriangles(std::ostream& output, std::vector<Corners> const& triangles) {
    for (Corners const& triangle : triangles) {
        output << 'f';
        for (std::uint32_t const corner : triangle) {
            output << ' ' << std::to_string(std::uint64_t{corner} + 1);
        }
        output << '\n';
    }
}

template <class Write>
void writeFile(Destination const& to, Write write) {
    std::ofstream output(to.file, std::ios::binary);
    write(output);
    output.close();
    require(!output.fail(), to.name.string() + ": cannot be written to its end");
}

/// From here on points are those of single precision.
void repairTriangles(PartAsRead& part, std::vector<Corners>& triangles, ImportOptions const& options,
                     ImportResult& result) {
    FaceMesh mesh;
    for (SpacePoint const& point : part.points) {
        mesh.points.emplace_back(point[0], point[1], point[2]);
    }
    mesh.faces = std::move(triangles);
    PartRepairOptions repair = *options.repair;
    repair.weldTolerance = options.weldTolerance;
    result.repair = repairPart(mesh, repair);
    part.points.clear();
    for (Point const& point : mesh.points) {
        part.points.push_back({point.getX(), point.getY(), point.getZ()});
    }
    triangles = std::move(mesh.faces);
}

void writeMesh(PartAsRead& part, ImportOptions const& options, Destination const& to, ImportResult& result) {
    auto triangles = trianglesOf(part, result);
    require(!triangles.empty(), options.in.string() + ": all triangles are degenerate");
    dropUnused(part.points, triangles);
    if (options.repair) {
        repairTriangles(part, triangles, options, result);
        require(!triangles.empty(), options.in.string() + ": nothing is left of the part by its repair");
        result.trianglesOut = triangles.size();
    }
    writeFile(to, [&](std::ostream& output) {
        writePoints(output, part.points, "v ");
        writeTriangles(output, triangles);
    });
}

void describe(Record& record, ImportOptions const& options, ImportResult const& result) {
    record.setting("scale", options.scale);
    record.setting("weldTolerance", result.weldTolerance);
    record.figure("format", nameOf(result.format));
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
    requireOptions(options);
    Record record("import");
    record.addInput(options.in);
    Outputs outputs(record);
    addOutput(outputs, options);
    announce(listener, "Reading part");
    PartAsRead part = readPartFile(options.in);
    bool const isCloudAsked = isCloudFile(options.out);
    require(part.isMesh() || isCloudAsked,
            options.in.string() + ": holds points and no polygons; name an output that ends in .xyz");
    return naming(options.in.string(), [&] {
        ImportResult result;
        result.format = part.format;
        result.isMesh = part.isMesh();
        result.pointsIn = part.points.size();
        result.unusedCount = part.isMesh() ? countUnused(part) : 0;
        scalePoints(part.points, options.scale, options.in.string());
        measure(part.points, result);
        announce(listener, "Welding points");
        weldPart(part, options, result);
        announce(listener, "Writing part");
        if (isCloudAsked) {
            writeFile(outputs.at(options.out),
                      [&](std::ostream& output) { writePoints(output, part.points, ""); });
        } else {
            writeMesh(part, options, outputs.at(options.out), result);
        }
        result.pointsOut = part.points.size();
        describe(record, options, result);
        outputs.commit(listener);
        return result;
    });
}

} // namespace QELT::Inspection
