#include "Inspection/import/part.h"

#include "Inspection/import/internal/triangulation.h"
#include "Inspection/import/internal/welding.h"
#include "Inspection/records/failure.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <limits>
#include <stdexcept>

namespace QELT::Inspection {

namespace {

using Corners = std::array<std::uint32_t, 3>;

constexpr std::uint32_t unused = std::numeric_limits<std::uint32_t>::max();

/// Below this the cells of the welding's grid have no numbers.
constexpr double minWeldTolerance = 1e-100;

/// An OBJ file of which a larger share of points belongs to no polygon is taken to be cut off. Of a scan some
/// few are left over; with the second half of the polygons missing it is a sixty-fourth where these come in
/// no order, and far more where they follow the points.
constexpr double bearableUnusedShare = 1e-3;
constexpr std::size_t bearableUnusedCount = 2;

void requireOptions(LoadOptions const& options) {
    require(std::isfinite(options.scale) && options.scale > 0.0, "the scale must be above 0");
    double const tolerance = options.weldTolerance.value_or(0.0);
    require(tolerance == 0.0 || (std::isfinite(tolerance) && tolerance >= minWeldTolerance),
            "the tolerance of welding must be 0 or a length");
}

bool asksForNothing(LoadOptions const& options) {
    return !options.weldTolerance && options.scale == 1.0 && options.axes == sameAxes &&
           !options.movesFarParts && !options.frame;
}

/// Maps, multiplies and moves the points, which have to stay where single precision reaches: so they are
/// used.
void placePoints(PartAsRead& part, LoadOptions const& options, std::string const& source) {
    for (std::size_t i = 0; i < part.points.size(); ++i) {
        part.points[i] = mapped(options.axes, part.points[i]);
        for (double& coordinate : part.points[i]) {
            coordinate *= options.scale;
        }
        if (options.frame) {
            part.points[i] = options.frame->placeOf(part.points[i]);
        }
        for (double const coordinate : part.points[i]) {
            require(std::abs(coordinate) <= std::numeric_limits<float>::max(),
                    source + ": point " + std::to_string(i + 1) + " lies too far out");
        }
    }
    for (SpacePoint& normal : part.normals) {
        normal = mapped(options.axes, normal);
        if (options.frame) {
            normal = options.frame->directionOf(normal);
        }
    }
}

/// Polygons the other way round, each from the same corner on.
void turnPolygons(PartAsRead& part) {
    std::size_t begin = 0;
    for (std::size_t const end : part.polygonEnds) {
        std::reverse(part.corners.begin() + static_cast<std::ptrdiff_t>(begin) + 1,
                     part.corners.begin() + static_cast<std::ptrdiff_t>(end));
        begin = end;
    }
}

struct Box {
    SpacePoint low{};
    SpacePoint high{};
};

Box boxOf(std::vector<SpacePoint> const& points) {
    Box box{points.front(), points.front()};
    for (SpacePoint const& point : points) {
        for (std::size_t axis = 0; axis < 3; ++axis) {
            box.low[axis] = std::min(box.low[axis], point[axis]);
            box.high[axis] = std::max(box.high[axis], point[axis]);
        }
    }
    return box;
}

void measure(Box const& box, LoadReport& report) {
    report.reach = 0.0;
    for (std::size_t axis = 0; axis < 3; ++axis) {
        report.reach = std::max({report.reach, std::abs(box.low[axis]), std::abs(box.high[axis])});
    }
    report.size = std::hypot(box.high[0] - box.low[0], box.high[1] - box.low[1], box.high[2] - box.low[2]);
    auto const reach = static_cast<float>(report.reach);
    report.floatStep = static_cast<double>(reach) - static_cast<double>(std::nextafter(reach, 0.0F));
}

/// Along the axes on which the part lies far out the middle of its box, rounded to the power of ten below the
/// part's size so that it is short to write; 0 along the others.
SpacePoint offsetOf(Box const& box, double size) {
    double const unit = std::pow(10.0, std::floor(std::log10(size)));
    SpacePoint offset{};
    for (std::size_t axis = 0; axis < 3; ++axis) {
        double const reach = std::max(std::abs(box.low[axis]), std::abs(box.high[axis]));
        if (reach > farOutRatio * size) {
            offset[axis] = std::round(0.5 * (box.low[axis] + box.high[axis]) / unit) * unit;
        }
    }
    return offset;
}

void movePart(std::vector<SpacePoint>& points, Box const& box, LoadReport& report) {
    if (!report.liesFarOut() || !(report.size > 0.0)) {
        return;
    }
    report.offset = offsetOf(box, report.size);
    for (SpacePoint& point : points) {
        for (std::size_t axis = 0; axis < 3; ++axis) {
            point[axis] -= report.offset[axis];
        }
    }
}

/// Formats that give a corner a point of its own, be it always or where normals differ.
bool hasSplitPoints(PartFormat format) {
    return format == PartFormat::StlText || format == PartFormat::StlBinary || format == PartFormat::Gltf;
}

/// Kept points are numbered in the order in which they come.
std::vector<SpacePoint> normalsOfKept(std::vector<SpacePoint> const& normals,
                                      std::vector<std::uint32_t> const& newIndices) {
    std::vector<SpacePoint> kept;
    for (std::size_t i = 0; i < normals.size(); ++i) {
        if (newIndices[i] == kept.size()) {
            kept.push_back(normals[i]);
        }
    }
    return kept;
}

void weldPart(PartAsRead& part, LoadOptions const& options, LoadReport& report) {
    report.weldTolerance = options.weldTolerance;
    if (hasSplitPoints(part.format) && !report.weldTolerance) {
        report.weldTolerance = defaultWeldShare * report.size;
    }
    if (!report.weldTolerance) {
        return;
    }
    WeldedPoints welded = weld(part.points, *report.weldTolerance);
    report.weldedCount = part.points.size() - welded.points.size();
    part.points = std::move(welded.points);
    part.normals = normalsOfKept(part.normals, welded.newIndices);
    for (std::uint32_t& corner : part.corners) {
        corner = welded.newIndices[corner];
    }
}

/// The triangles that have three points, counted with the others.
std::vector<Corners> trianglesOf(PartAsRead const& part, LoadReport& report) {
    std::vector<Corners> kept;
    for (std::size_t i = 0; i < part.polygonEnds.size(); ++i) {
        auto const polygon = part.polygon(i);
        PolygonTriangles const cut = triangulate(polygon, part.points);
        report.trianglesIn += polygon.size() - 2;
        report.crossingCount += cut.isSimple ? 0 : 1;
        for (Corners const& triangle : cut.triangles) {
            if (triangle[0] == triangle[1] || triangle[1] == triangle[2] || triangle[2] == triangle[0]) {
                ++report.degenerateCount;
            } else {
                kept.push_back(triangle);
            }
        }
    }
    report.trianglesOut = kept.size();
    if (report.trianglesOut + report.degenerateCount != report.trianglesIn) {
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

LoadReport reportOf(PartAsRead const& read) {
    LoadReport report;
    report.format = read.format;
    report.isMesh = read.isMesh();
    report.unit = read.unit;
    report.pointsIn = read.points.size();
    report.unusedCount = read.isMesh() ? countUnused(read) : 0;
    report.polygonCount = read.polygonEnds.size();
    return report;
}

void requireWhole(LoadReport const& report, std::string const& source) {
    bool const isWhole =
        report.format != PartFormat::Obj || report.unusedCount <= bearableUnusedCount ||
        static_cast<double>(report.unusedCount) <= bearableUnusedShare * static_cast<double>(report.pointsIn);
    require(isWhole, source + ": " + std::to_string(report.unusedCount) + " of " +
                         std::to_string(report.pointsIn) +
                         " points belong to no polygon, as where a file was cut off; if it is whole, "
                         "`cscan import` leaves them out");
}

/// A plain OBJ file, the polygons of which are triangles.
PartAsLoaded partAsInFile(PartAsRead read, LoadReport report) {
    PartAsLoaded part;
    report.isAsInFile = true;
    report.pointsOut = read.points.size();
    report.trianglesIn = report.polygonCount;
    report.trianglesOut = report.polygonCount;
    measure(boxOf(read.points), report);
    part.report = report;
    part.points = std::move(read.points);
    for (std::size_t i = 0; i < read.polygonEnds.size(); ++i) {
        auto const polygon = read.polygon(i);
        part.triangles.push_back({polygon[0], polygon[1], polygon[2]});
    }
    return part;
}

Point toPoint(SpacePoint const& point) {
    return Point(point[0], point[1], point[2]);
}

} // namespace

PartAsLoaded makePart(PartAsRead read, std::string const& source, LoadOptions const& options) {
    requireOptions(options);
    return naming(source, [&] {
        PartAsLoaded part;
        LoadReport& report = part.report;
        report = reportOf(read);
        placePoints(read, options, source);
        report.isMirrored = isMirror(options.axes);
        if (report.isMirrored) {
            turnPolygons(read);
        }
        Box const box = boxOf(read.points);
        measure(box, report);
        if (options.movesFarParts) {
            movePart(read.points, box, report);
        }
        weldPart(read, options, report);
        if (report.isMesh) {
            part.triangles = trianglesOf(read, report);
            require(!part.triangles.empty(), source + ": all triangles are degenerate");
            dropUnused(read.points, part.triangles);
        } else {
            part.normals = std::move(read.normals);
        }
        part.points = std::move(read.points);
        report.pointsOut = part.points.size();
        return part;
    });
}

PartAsLoaded loadPart(PlacedPart const& source, LoadOptions const& options) {
    PartAsRead read = readPartFile(source.file);
    LoadOptions placing = options;
    if (source.frame) {
        placing.frame = readFrame(*source.frame, read.unit);
    }
    return naming(source.string(), [&] {
        LoadReport const report = reportOf(read);
        requireWhole(report, source.string());
        bool const isForCore =
            read.isPlainObj && source.file.extension() == ".obj" && asksForNothing(placing);
        return isForCore ? partAsInFile(std::move(read), report)
                         : makePart(std::move(read), source.string(), placing);
    });
}

bool isCloudPart(PlacedPart const& source) {
    try {
        return !readPartFile(source.file).isMesh();
    } catch (Failure const&) {
        return isCloudFile(source.file); // who loads it is told why
    }
}

void addPart(Record& record, PlacedPart const& source) {
    record.addInput(source.file);
    if (source.frame) {
        require(record.getMoves().empty(),
                source.string() + ": was moved when it was made; give the frame to the part it was made of");
        addFrame(record, *source.frame);
        record.setUnit(readFrame(*source.frame, record.getUnit().value_or("")).unit);
    }
}

ObjContents fillMesh(Mesh& mesh, PartAsLoaded const& part, std::filesystem::path const& path) {
    require(part.isMesh(), path.string() + ": holds points and no polygons; `cscan reconstruct` makes a mesh "
                                           "of them");
    if (part.report.isAsInFile) {
        return loadObj(mesh, path);
    }
    if (path.extension() == ".obj") {
        requireNoCutBeside(path);
    }
    naming(path.string(), [&] { mesh.construct(pointsOf(part), part.triangles); });
    mesh.setFileName(path.stem().string());
    return {};
}

std::vector<Point> pointsOf(PartAsLoaded const& part) {
    std::vector<Point> points;
    points.reserve(part.points.size());
    std::transform(part.points.begin(), part.points.end(), std::back_inserter(points), toPoint);
    return points;
}

std::vector<Point> loadPoints(PlacedPart const& source) {
    return pointsOf(loadPart(source));
}

OrientedCloud loadOrientedPoints(PlacedPart const& source) {
    if (formatOfFile(source.file) == PartFormat::Table && !source.frame) {
        return readOrientedCloudFile(source.file);
    }
    PartAsLoaded const part = loadPart(source);
    require(!part.normals.empty(),
            source.string() + ": holds no points with normals; name them nx, ny and nz");
    OrientedCloud cloud{pointsOf(part), {}};
    for (SpacePoint const& normal : part.normals) {
        cloud.normals.emplace_back(normal[0], normal[1], normal[2]);
        require(cloud.normals.back().lSqr() > 0.0 && std::isfinite(cloud.normals.back().lSqr()),
                source.string() + ": the normal of point " + std::to_string(cloud.normals.size()) +
                    " has no usable length");
    }
    return cloud;
}

} // namespace QELT::Inspection
