#include "Inspection/scanning/scanner.h"

#include "Inspection/records/internal/announce.h"
#include "Inspection/records/stopwatch.h"

#include <cmath>
#include <numbers>

namespace QELT::Inspection {

namespace {

using Status = QELT::Geometry::ThreeDimensional::QuadMesh::QuadIndicesIntersectionStatus;

Hit hitOf(Status const& status, Point const& origin) {
    Hit hit;
    hit.isValid = status.getIsValid();
    if (!hit.isValid) {
        return hit;
    }
    hit.quad = status.getIndices();
    hit.point = status.getQuadPoint();
    hit.isMeasured = measurementLimit > std::sqrt(hit.point.dSqr(origin));
    if (hit.isMeasured) {
        auto const& data = status.getIntersectionData();
        hit.distance = data.getDistanceToObject();
        hit.angleToNormal = data.getAngleToObjectNormal();
        hit.angleError = data.getAngleError();
    }
    return hit;
}

template <class Ask>
ScanResult resultOf(std::vector<Beam> const& beams, ProgressListener* listener, Ask ask) {
    ScanResult result;
    result.hits.reserve(beams.size());
    StepProgress progress(listener, beams.size());
    Stopwatch const watch;
    for (Beam const& beam : beams) {
        progress.step();
        result.hits.push_back(hitOf(ask(beam), beam.origin));
    }
    result.seconds = watch.seconds();
    return result;
}

} // namespace

ScanResult fireBeams(Grid& grid, std::vector<Beam> const& beams, ProgressListener* listener) {
    return resultOf(beams, listener,
                    [&](Beam const& beam) { return grid.getIntersection(beam.origin, beam.direction); });
}

ScanResult fireBeams(QELT::Geometry::ThreeDimensional::QuadMesh::RectMeshGroups& groups,
                     std::vector<Beam> const& beams, ProgressListener* listener) {
    return resultOf(beams, listener, [&](Beam const& beam) {
        Status const status = groups.getIntersectionStatus(beam.origin, beam.direction, false);
        return status.getIsGoodIntersection()
                   ? status
                   : groups.getIntersectionStatus(beam.origin, beam.direction, true);
    });
}

ScanStatistics statisticsOf(ScanResult const& result) {
    ScanStatistics statistics;
    statistics.beamCount = result.hits.size();
    for (Hit const& hit : result.hits) {
        statistics.hitCount += hit.isValid ? 1 : 0;
        statistics.measuredCount += hit.isMeasured ? 1 : 0;
        statistics.backSideCount += hit.isMeasured && hit.angleError > std::numbers::pi / 2 ? 1 : 0;
    }
    auto const beamCount = static_cast<double>(statistics.beamCount);
    if (statistics.beamCount > 0) {
        statistics.hitRate = static_cast<double>(statistics.hitCount) / beamCount;
    }
    if (result.seconds > 0.0) {
        statistics.beamsPerSecond = beamCount / result.seconds;
    }
    return statistics;
}

} // namespace QELT::Inspection
