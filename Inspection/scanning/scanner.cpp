#include "Inspection/scanning/scanner.h"

#include "Inspection/records/internal/announce.h"
#include "Inspection/records/stopwatch.h"
#include "Inspection/scanning/internal/quadhit.h"

#include <cmath>
#include <cstdlib>

namespace QELT::Inspection {

namespace {

using Status = QELT::Geometry::ThreeDimensional::QuadMesh::QuadIndicesIntersectionStatus;

Hit hitOf(Status const& status, Point const& origin) {
    Hit hit;
    if (!status.getIsValid()) {
        return hit;
    }
    hit.state = Hit::Inside;
    hit.quad = status.getIndices();
    hit.point = status.getQuadPoint();
    hit.isMeasured = measurementLimit > std::sqrt(hit.point.dSqr(origin));
    if (hit.isMeasured) {
        measure(hit, status.getIntersectionData());
    }
    return hit;
}

/// `ask` makes a hit of a beam.
template <class Ask>
ScanResult resultOf(std::vector<Beam> const& beams, ProgressListener* listener, Ask ask) {
    ScanResult result;
    result.hits.reserve(beams.size());
    StepProgress progress(listener, beams.size());
    Stopwatch const watch;
    for (Beam const& beam : beams) {
        progress.step();
        result.hits.push_back(ask(beam));
    }
    result.seconds = watch.seconds();
    return result;
}

/// Once more from a fresh start if the first answer is no good one.
template <class Grids>
Hit askedTwice(Grids& grids, Beam const& beam) {
    Status const status = grids.getIntersectionStatus(beam.origin, beam.direction, false);
    return hitOf(status.getIsGoodIntersection()
                     ? status
                     : grids.getIntersectionStatus(beam.origin, beam.direction, true),
                 beam.origin);
}

bool doTouch(GridIndex const& a, GridIndex const& b) {
    return std::abs(a.getU() - b.getU()) <= 1 && std::abs(a.getV() - b.getV()) <= 1;
}

/// Where a pair of answers counts.
std::size_t& countFor(WalkComparison& comparison, Hit const& sure, Hit const& walk) {
    if (!walk.isHit()) {
        return sure.isHit() ? comparison.missedCount : comparison.bothMissCount;
    }
    if (!sure.isHit()) {
        return comparison.surplusCount;
    }
    if (sure.quad == walk.quad) {
        return comparison.sameCount;
    }
    return doTouch(sure.quad, walk.quad) ? comparison.neighbourCount : comparison.elsewhereCount;
}

} // namespace

ScanResult fireBeams(SureSearch const& search, std::vector<Beam> const& beams, ProgressListener* listener) {
    return resultOf(beams, listener, [&](Beam const& beam) { return search.find(beam); });
}

ScanResult fireBeams(Grid& grid, std::vector<Beam> const& beams, ProgressListener* listener) {
    return resultOf(beams, listener, [&](Beam const& beam) {
        return hitOf(grid.getIntersection(beam.origin, beam.direction), beam.origin);
    });
}

ScanResult fireBeams(QELT::Geometry::ThreeDimensional::QuadMesh::RectMeshGroups& groups,
                     std::vector<Beam> const& beams, ProgressListener* listener) {
    return resultOf(beams, listener, [&](Beam const& beam) { return askedTwice(groups, beam); });
}

ScanResult fireBeams(QELT::Geometry::ThreeDimensional::QuadMesh::RectMeshGroup& group,
                     std::vector<Beam> const& beams, ProgressListener* listener) {
    return resultOf(beams, listener, [&](Beam const& beam) { return askedTwice(group, beam); });
}

ScanStatistics statisticsOf(ScanResult const& result) {
    ScanStatistics statistics;
    statistics.beamCount = result.hits.size();
    for (Hit const& hit : result.hits) {
        statistics.hitCount += hit.isHit() ? 1U : 0U;
        statistics.edgeCount += hit.state == Hit::OnEdge ? 1U : 0U;
        statistics.measuredCount += hit.isMeasured ? 1U : 0U;
        statistics.backSideCount += hit.isMeasured && hit.isFromBehind() ? 1U : 0U;
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

WalkComparison comparisonOf(ScanResult const& sure, ScanResult const& walk) {
    WalkComparison comparison;
    for (std::size_t i = 0; i < sure.hits.size(); ++i) {
        ++countFor(comparison, sure.hits[i], walk.hits[i]);
    }
    return comparison;
}

} // namespace QELT::Inspection
