#include "Inspection/parts/partrepair.h"

#include "Inspection/import/internal/welding.h"
#include "Inspection/parts/importpart.h"
#include "Inspection/parts/internal/facechoice.h"
#include "Inspection/parts/internal/facetopology.h"
#include "Inspection/parts/internal/flatfaces.h"
#include "Inspection/parts/internal/holes.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <utility>

// Each step leaves what the next one needs: welding makes sides meet and faces collapse; without collapsed
// and doubled faces the sides can be listed; with two faces a side there are sheets whose windings can be
// laid; only then do fans tell where sheets meet in a point alone, and rims where holes are.

namespace QELT::Inspection {

namespace {

double sizeOf(std::vector<Point> const& points) {
    if (points.empty()) {
        return 0.0;
    }
    auto box = points.front().getBoundingBox();
    for (Point const& point : points) {
        box.expand(point.getBoundingBox());
    }
    return std::sqrt(box.getd().lSqr());
}

std::size_t weldPoints(FaceMesh& mesh, double tolerance) {
    std::vector<std::array<double, 3>> places;
    places.reserve(mesh.points.size());
    for (Point const& point : mesh.points) {
        places.push_back({point.getX(), point.getY(), point.getZ()});
    }
    auto const welded = weld(places, tolerance);
    std::size_t kept = 0;
    for (std::size_t i = 0; i < places.size(); ++i) {
        if (welded.newIndices[i] == kept) { // the first of its place
            mesh.points[kept++] = mesh.points[i];
        }
    }
    mesh.points.resize(kept);
    for (Face& face : mesh.faces) {
        for (std::uint32_t& point : face) {
            point = welded.newIndices[point];
        }
    }
    return places.size() - kept;
}

std::size_t turnFaces(FaceMesh& mesh) {
    FaceTopology const topology(mesh.faces, mesh.points.size());
    Windings const windings = windingsOf(topology, mesh.faces.size());
    std::size_t count = 0;
    for (std::size_t i = 0; i < mesh.faces.size(); ++i) {
        if (windings.isTurned[i]) {
            std::swap(mesh.faces[i][1], mesh.faces[i][2]);
            ++count;
        }
    }
    return count;
}

/// The first fan at a point keeps it, each other one gets a point of its own in the same place.
std::size_t splitPoints(FaceMesh& mesh) {
    constexpr std::uint32_t none = std::numeric_limits<std::uint32_t>::max();
    std::vector<Face> const faces = mesh.faces;
    FaceTopology const topology(faces, mesh.points.size());
    std::vector<bool> isTaken(mesh.points.size(), false);
    std::vector<std::uint32_t> pointOfFan(topology.fanCount(), none);
    std::size_t const before = mesh.points.size();
    for (Corner corner = 0; corner < 3 * faces.size(); ++corner) {
        std::uint32_t const point = topology.pointAt(corner);
        std::uint32_t& own = pointOfFan[topology.fanOf(corner)];
        if (own == none && isTaken[point]) {
            own = static_cast<std::uint32_t>(mesh.points.size());
            mesh.points.push_back(Point(mesh.points[point]));
        } else if (own == none) {
            own = point;
            isTaken[point] = true;
        }
        mesh.faces[corner / 3].at(corner % 3) = own;
    }
    return mesh.points.size() - before;
}

bool areWindingsAgreed(FaceMesh const& mesh) {
    FaceTopology const topology(mesh.faces, mesh.points.size());
    auto const windings = windingsOf(topology, mesh.faces.size());
    return std::all_of(windings.isOrientable.begin(), windings.isOrientable.end(),
                       [](bool isOrientable) { return isOrientable; });
}

void dropFaultyFaces(FaceMesh& mesh, PartRepairReport& report) {
    report.collapsedCount = dropCollapsedFaces(mesh);
    report.duplicateCount = dropDuplicateFaces(mesh);
    report.flatCount = mendFlatFaces(mesh);
    report.crowdedCount = dropFacesAtCrowdedSides(mesh);
}

} // namespace

PartRepairReport repairPart(FaceMesh& mesh, PartRepairOptions const& options) {
    PartRepairReport report;
    report.strayCount = dropStrayFaces(mesh); // whose points cannot be welded
    report.weldTolerance = options.weldTolerance.value_or(defaultWeldShare * sizeOf(mesh.points));
    report.weldedCount = weldPoints(mesh, report.weldTolerance);
    dropFaultyFaces(mesh, report);
    report.lesserCount = options.doKeepLargest ? keepOnePiece(mesh) : 0;
    report.turnedCount = turnFaces(mesh);
    report.splitCount = splitPoints(mesh);
    if (options.largestHole > 0 && areWindingsAgreed(mesh)) {
        std::size_t const before = mesh.faces.size();
        report.closedCount = closeHoles(mesh, options.largestHole);
        report.addedCount = mesh.faces.size() - before;
    }
    report.unusedCount = dropLoosePoints(mesh);
    return report;
}

void addFigures(Record& record, PartRepairReport const& report) {
    record.figure("repairWeldTolerance", report.weldTolerance);
    record.figure("repairWeldedPoints", report.weldedCount);
    record.figure("repairStrayFaces", report.strayCount);
    record.figure("repairCollapsedFaces", report.collapsedCount);
    record.figure("repairDuplicateFaces", report.duplicateCount);
    record.figure("repairFlatFaces", report.flatCount);
    record.figure("repairCrowdedFaces", report.crowdedCount);
    record.figure("repairLesserFaces", report.lesserCount);
    record.figure("repairTurnedFaces", report.turnedCount);
    record.figure("repairSplitPoints", report.splitCount);
    record.figure("repairClosedHoles", report.closedCount);
    record.figure("repairAddedFaces", report.addedCount);
    record.figure("repairUnusedPoints", report.unusedCount);
}

} // namespace QELT::Inspection
