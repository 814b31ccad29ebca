// A path fired back at its grid: every shot as the scan will fire it, from the probe's place in single
// precision.
//
// A shot meets its place if the first thing along the beam is as far away as the standoff, within the
// rounding of its origin and a thousandth. What comes sooner stands between the probe and its place, and so
// does the surface behind which, or in which, a probe in a narrow bend is. Covered is what the footprints of
// the shots that met their place reach, pixel by pixel as `Footprints` has it.

#include "Inspection/planning/internal/chart.h"
#include "Inspection/planning/internal/footprints.h"
#include "Inspection/planning/path.h"
#include "Inspection/records/internal/announce.h"
#include "Inspection/scanning/suresearch.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <utility>

namespace QELT::Inspection {

namespace {

constexpr double sameDistance = 1e-3; ///< of the standoff
constexpr double roundings = 16.0;    ///< of single precision, of the largest coordinate

Vector toVector(Point const& point) {
    return Vector(point.getX(), point.getY(), point.getZ());
}

class Checker {
public:
    Checker(Grid const& grid, PathSettings const& newSettings)
        : settings(newSettings),
          pixels(usablePixelsOf(grid, newSettings.doFlipNormals)),
          footprints(pixels),
          search({&grid}) {}

    void take(PathPose const& pose) {
        check.fates.push_back(pose.kind == PathPose::Scan ? fire(pose) : PoseFate::NotFired);
    }

    PathCheck finish() {
        check.coverage = coverageOf(pixels);
        check.pixels = std::move(pixels);
        return std::move(check);
    }

private:
    PathSettings const& settings;
    Result pixels;
    Footprints footprints;
    SureSearch search;
    PathCheck check;

    PoseFate fire(PathPose const& pose) {
        ++check.shotCount;
        Vector const& from = pose.position;
        Hit const hit = search.find({Point(from.getdX(), from.getdY(), from.getdZ()), pose.direction});
        if (!hit.isHit()) {
            note(check.missedCount, check.firstMissed, pose.foot);
            return PoseFate::Missed;
        }
        double const way = std::sqrt((toVector(hit.point) - from).lSqr());
        if (std::abs(way - settings.standoff) > toleranceAt(from)) {
            note(check.blockedCount, check.firstBlocked, pose.foot);
            return PoseFate::Blocked;
        }
        std::size_t const pixel = pixels.indexOf(static_cast<std::size_t>(hit.quad.getU()),
                                                 static_cast<std::size_t>(hit.quad.getV()));
        noteAngle(pixel, pose);
        cover(pixel, toVector(hit.point));
        return PoseFate::Met;
    }

    static void note(std::size_t& count, Vector& first, Vector const& place) {
        first = count == 0 ? place : first;
        ++count;
    }

    double toleranceAt(Vector const& place) const {
        double const reach =
            std::max({std::abs(place.getdX()), std::abs(place.getdY()), std::abs(place.getdZ())});
        return sameDistance * settings.standoff + roundings * 0x1p-24 * reach;
    }

    void noteAngle(std::size_t pixel, PathPose const& pose) {
        Vector const normal = weightedNormalOf(pixels, pixel);
        double const angle =
            std::atan2(std::sqrt(normal.cross(pose.direction).lSqr()), -normal.dot(pose.direction)) * 180.0 /
            std::numbers::pi;
        if (angle > check.largestAngle) {
            check.largestAngle = angle;
            check.largestAnglePlace = pose.foot;
            check.largestAnglePose = check.fates.size();
        }
    }

    void cover(std::size_t middle, Vector const& place) {
        for (std::size_t const pixel : footprints.around(middle, place, 0.5 * settings.footprintDiameter())) {
            pixels.states[pixel] = PixelState::Echo;
        }
    }
};

} // namespace

PathCheck checkPath(Grid const& grid, Path const& path, PathSettings const& settings,
                    ProgressListener* listener) {
    Checker checker(grid, settings);
    StepProgress progress(listener, path.poses.size());
    for (PathPose const& pose : path.poses) {
        progress.step();
        checker.take(pose);
    }
    return checker.finish();
}

} // namespace QELT::Inspection
