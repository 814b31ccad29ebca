#include "Inspection/parts/reconstruction.h"

#include "Inspection/import/objfile.h"
#include "Inspection/import/part.h"
#include "Inspection/records/failure.h"
#include "Inspection/records/internal/announce.h"
#include "Inspection/records/outputs.h"
#include "Inspection/records/record.h"
#include "Inspection/records/stopwatch.h"

#include <algorithm>

namespace QELT::Inspection {

namespace {

/// The surface as it was built, and how many triangles are missing from it.
struct BuiltSurface {
    FaceMesh surface;
    std::size_t unlistedCount = 0;
};

BuiltSurface surfaceThrough(std::vector<Point> const& points) {
    QELT::Geometry::ThreeDimensional::PointCloud::Cloud cloud;
    for (Point const& point : points) {
        cloud.addPoint(point);
    }
    Mesh mesh;
    mesh.construct(cloud);
    return {faceMeshOf(mesh), mesh.getUnlistedTriangles().size()};
}

BuiltSurface surfaceFromEitherSide(std::vector<Point> points) {
    try {
        return surfaceThrough(points);
    } catch (std::runtime_error const&) {
        std::reverse(points.begin(), points.end());
        return surfaceThrough(points);
    }
}

} // namespace

namespace {

void addFigures(Record& record, RepairReport const& repair) {
    record.figure("droppedTriangles", repair.droppedCount);
    record.figure("loosePoints", repair.looseCount);
    record.figure("closedHoles", repair.closedCount);
    record.figure("handles", repair.handleCount);
}

} // namespace

Reconstruction reconstructFrom(std::filesystem::path const& cloud, RepairOptions const& options) {
    return reconstructFrom(loadPart(cloud), cloud, options);
}

Reconstruction reconstructFrom(PartAsLoaded const& part, std::filesystem::path const& cloud,
                               RepairOptions const& options) {
    require(!part.isMesh(), cloud.string() + ": is a mesh already; prepare it as it is");
    BuiltSurface const built = naming(cloud.string(), [&] { return surfaceFromEitherSide(pointsOf(part)); });
    Reconstruction result;
    result.surface = built.surface;
    result.repair = repairSurface(result.surface, options);
    result.repair.unlistedCount = built.unlistedCount;
    if (result.surface.faces.empty()) {
        throw Failure(cloud.string() + ": no triangle's sides are all that short");
    }
    return result;
}

ReconstructResult reconstruct(ReconstructOptions const& options, ProgressListener* listener) {
    Record record("reconstruct");
    record.addInput(options.cloud);
    Outputs outputs(record);
    addObjOutput(outputs, options.part);
    requireNoCutBeside(options.part);
    announce(listener, "Reconstructing...");
    Stopwatch const watch;
    PartAsLoaded const part = loadPart(options.cloud);
    auto const [surface, repair] = reconstructFrom(part, options.cloud, options.repair);
    double const seconds = watch.seconds();
    checkpoint(listener);
    writeFaces(surface, outputs.at(options.part));
    Mesh mesh;
    mesh.setProgressListener(listener);
    loadObj(mesh, outputs.at(options.part).file);
    ReconstructResult const result{meshSummaryOf(mesh), repair, seconds, part.report};
    record.setting("maxSide", options.repair.longestSide);
    record.setting("fillHoles", options.repair.largestHole);
    Inspection::addFigures(record, result.part);
    addFigures(record, repair);
    outputs.commit(listener);
    return result;
}

} // namespace QELT::Inspection
