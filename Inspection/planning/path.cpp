// A serpentine over a grid's surface.
//
// 1. `linePlacesOn` chooses the lines. Along each, the pixels with surface make runs; a run is the polyline
// in which the
//    line crosses the grid's triangles, and its poses stand at even distances along that.
// 2. The beam goes against the mean normal of the footprint, weighted by area, so that noise and facets of
// the mesh do
//    not shake the probe. The foot stays where the line is: the beam meets it whatever the normal.
// 3. The probe's x axis is the chord of the line over a footprint, made perpendicular to the beam. It points
// the way in
//    which the grid's index grows, on lines in both directions: a probe that turned with its travel would
//    turn over at every end. A quaternion and its negative are the same turn; the one nearer to the pose
//    before is written.
// 4. Sharp edges: the footprint is cut in two, in four directions and at five places within the middle half
// of its
//    width, and the greatest angle between the mean normals of both sides is what the surface turns there. A
//    crease gives nearly its whole angle wherever it passes the middle half; a bend of radius R gives about
//    0.4 of the footprint over R. The sides are a fifth of the footprint at least, so that single facets do
//    not count.
//
// The cost is that of the pixels in all footprints.

#include "Inspection/planning/path.h"

#include "Inspection/planning/internal/chart.h"
#include "Inspection/planning/internal/footprints.h"
#include "Inspection/planning/internal/linespacing.h"
#include "Inspection/records/failure.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>
#include <numeric>

namespace QELT::Inspection {

namespace {

constexpr double degree = std::numbers::pi / 180.0;
constexpr double mostPoses = 10e6;

/// Strips of a footprint between which it is cut, and how many of them a side has at least.
constexpr std::size_t stripCount = 8;
constexpr std::size_t narrowestSide = 2;

/// Of the whole footprint; at a rim there is less on one side.
constexpr double smallestSide = 0.1;

/// Keeps a length that is a multiple of the step, but for single precision, from a step more.
constexpr double hair = 1e-6;

/// The probe is lifted for ways longer than so many steps.
constexpr double usualSteps = 2.0;

Vector unitOr(Vector const& vector, Vector const& otherwise) {
    double const length = std::sqrt(vector.lSqr());
    return length > 0.0 && std::isfinite(length) ? vector / length : otherwise;
}

double angleBetween(Vector const& a, Vector const& b) {
    return std::atan2(std::sqrt(a.cross(b).lSqr()), a.dot(b)) / degree;
}

/// A place on a run.
struct Foot {
    Vector point;
    std::size_t quadA = 0;
    std::size_t quadB = 0;
    double a = 0.0;
};

/// An uninterrupted piece of a line, as the polyline in which it crosses the triangles.
class Run {
public:
    Run(Chart const& chart, std::size_t firstQuad, std::size_t endQuad, double newB) : b(newB) {
        for (std::size_t a = firstQuad; a < endQuad; ++a) {
            std::size_t const row = *chart.rowOf(a, b);
            double const diagonal = b - static_cast<double>(row);
            auto const start = static_cast<double>(a);
            add(chart.pointIn(a, row, start, b), a, row, start);
            if (diagonal > 0.0 && diagonal < 1.0) {
                add(chart.pointIn(a, row, start + diagonal, b), a, row, start + diagonal);
            }
            add(chart.pointIn(a, row, start + 1.0, b), a, row, start + 1.0);
        }
    }

    double length() const { return ways.back(); }

    double across() const { return b; }

    /// The place at a length along the run; beyond its ends, on the straight continuation.
    Foot at(double way) const {
        auto const above = std::upper_bound(ways.begin() + 1, ways.end() - 1, way);
        auto const i = static_cast<std::size_t>(above - ways.begin());
        double const piece = ways[i] - ways[i - 1];
        double const share = piece > 0.0 ? (way - ways[i - 1]) / piece : 0.0;
        return {feet[i - 1].point + (feet[i].point - feet[i - 1].point) * share, feet[i].quadA, feet[i].quadB,
                feet[i - 1].a + (feet[i].a - feet[i - 1].a) * share};
    }

    /// From `reach` before a place to as far behind it, within the run.
    Vector chordAt(double way, double reach) const {
        double const from = std::clamp(way - reach, 0.0, length());
        double const to = std::clamp(way + reach, 0.0, length());
        return at(to).point - at(from).point;
    }

private:
    double b;
    std::vector<Foot> feet;
    std::vector<double> ways;

    void add(Vector const& point, std::size_t quadA, std::size_t quadB, double a) {
        ways.push_back(feet.empty() ? 0.0 : ways.back() + std::sqrt((point - feet.back().point).lSqr()));
        feet.push_back({point, quadA, quadB, a});
    }
};

/// What the surface is like under a footprint.
struct Under {
    Vector normal;
    double turn = 0.0; ///< degrees between the normals of its sides
};

class Planner {
public:
    Planner(Grid const& grid, PathSettings const& newSettings)
        : settings(newSettings),
          pixels(usablePixelsOf(grid, newSettings.doFlipNormals)),
          chart(grid, pixels, newSettings.along),
          footprints(pixels) {
        bool const hasSurface = std::any_of(pixels.states.begin(), pixels.states.end(),
                                            [](PixelState state) { return state != PixelState::NoSurface; });
        require(hasSurface, "the grid has no quads to lay a path over");
        double const area = std::accumulate(pixels.areas.begin(), pixels.areas.end(), 0.0);
        requirePosesBelowLimit(area / (settings.step * settings.lineSpacing()));
    }

    Path plan() {
        LinePlaces const lines = linePlacesOn(chart, settings.lineSpacing(), settings.rimMargin());
        path.lineCount = lines.b.size();
        path.widestSpacing = lines.widestSpacing;
        for (std::size_t line = 0; line < lines.b.size(); ++line) {
            addLine(line, runsAt(lines.b[line]));
        }
        finish();
        return std::move(path);
    }

private:
    PathSettings const& settings;
    Result pixels;
    Chart chart;
    Footprints footprints;
    Path path;
    SharpPlace sharp; ///< that the last poses stand on, if there are any

    static void requirePosesBelowLimit(double count) {
        require(count < mostPoses, "the path would have more than 10 million poses; take a larger step");
    }

    std::vector<Run> runsAt(double b) const {
        std::vector<Run> runs;
        for (std::size_t a = 0; a < chart.width();) {
            std::size_t end = a;
            while (end < chart.width() && chart.rowOf(end, b)) {
                ++end;
            }
            if (end > a) {
                runs.emplace_back(chart, a, end, b);
            }
            a = end + 1;
        }
        return runs;
    }

    void addLine(std::size_t line, std::vector<Run> const& runs) {
        bool const isForwards = line % 2 == 0;
        for (std::size_t i = 0; i < runs.size(); ++i) {
            std::size_t const k = isForwards ? i : runs.size() - 1 - i;
            addRun(runs[k], line, isForwards, k == 0, k + 1 == runs.size());
        }
    }

    /// A run's shots in the order of travel, with those past the ends of the line.
    void addRun(Run const& run, std::size_t line, bool isForwards, bool isFirst, bool isLast) {
        bool const doesOvershoot = settings.overshoot > 0.0;
        double from = doesOvershoot && isFirst ? 0.0 : settings.rimMargin();
        double to = run.length() - (doesOvershoot && isLast ? 0.0 : settings.rimMargin());
        if (!(from < to)) {
            from = to = 0.5 * run.length();
        }
        auto const intervals =
            static_cast<std::ptrdiff_t>(std::ceil((to - from) / settings.step * (1.0 - hair)));
        double const step = intervals > 0 ? (to - from) / static_cast<double>(intervals) : settings.step;
        auto const beyond = static_cast<std::ptrdiff_t>(std::ceil(settings.overshoot / step * (1.0 - hair)));
        std::ptrdiff_t const begin = isFirst ? -beyond : 0;
        std::ptrdiff_t const end = intervals + (isLast ? beyond : 0);
        requirePosesBelowLimit(static_cast<double>(path.poses.size()) + static_cast<double>(end - begin));
        std::size_t const firstPose = path.poses.size();
        for (std::ptrdiff_t i = begin; i <= end; ++i) {
            std::ptrdiff_t const k = isForwards ? i : begin + end - i;
            bool const isOver = k < 0 || k > intervals;
            addPose(run, from + static_cast<double>(k) * step, line,
                    isOver ? PathPose::Overshoot : PathPose::Scan);
        }
        path.widestStep = std::max(path.widestStep, intervals > 0 ? step : 0.0);
        endSharp();
        if (settings.lift && firstPose > 0) {
            addLifts(firstPose);
        }
        ++path.runCount;
    }

    void addPose(Run const& run, double way, std::size_t line, PathPose::Kind kind) {
        double const reach = 0.5 * settings.footprintDiameter();
        Foot const onRun = run.at(std::clamp(way, 0.0, run.length()));
        std::size_t const pixel = chart.pixelOf(onRun.quadA, onRun.quadB);
        Under const under = underFootprint(pixel, onRun.point, reach);
        PathPose pose;
        pose.kind = kind;
        pose.line = line;
        pose.run = path.runCount;
        Foot const foot = run.at(way);
        pose.foot = foot.point;
        pose.at = settings.along == PathAxis::AlongU ? FlatPoint(foot.a, run.across())
                                                     : FlatPoint(run.across(), foot.a);
        pose.position = pose.foot + under.normal * settings.standoff;
        pose.direction = -under.normal;
        pose.turn = turnOf(pose.direction, run.chordAt(std::clamp(way, 0.0, run.length()), reach));
        pose.u = pixel % pixels.width;
        pose.v = pixel / pixels.width;
        path.poses.push_back(pose);
        if (kind == PathPose::Scan) {
            noteSharpness(pose, under.turn);
        }
    }

    Under underFootprint(std::size_t pixel, Vector const& place, double radius) {
        auto const& members = footprints.around(pixel, place, radius);
        Vector const own = unitOr(weightedNormalOf(pixels, pixel), Vector(0.0, 0.0, 1.0));
        Vector sum(0.0, 0.0, 0.0);
        for (std::size_t const member : members) {
            sum += weightedNormalOf(pixels, member);
        }
        Under under{unitOr(sum, own)};
        Vector const first = perpendicularTo(under.normal);
        Vector const second = under.normal.cross(first);
        for (Vector const& axis :
             {first, second, (first + second) * std::sqrt(0.5), (first - second) * std::sqrt(0.5)}) {
            under.turn = std::max(under.turn, turnAlong(members, place, axis / radius));
        }
        return under;
    }

    /// The greatest angle between the mean normals on both sides of a cut through the footprint, of which
    /// `axis`, as long as the inverse of its radius, gives the direction.
    double turnAlong(std::vector<std::size_t> const& members, Vector const& place, Vector const& axis) const {
        std::array<Vector, stripCount> strips;
        strips.fill(Vector(0.0, 0.0, 0.0));
        for (std::size_t const member : members) {
            double const share = 0.5 + 0.5 * (centreOf(pixels, member) - place).dot(axis);
            auto const strip = static_cast<std::size_t>(std::clamp(share, 0.0, 0.999) * stripCount);
            strips.at(strip) += weightedNormalOf(pixels, member);
        }
        double turn = 0.0;
        for (std::size_t cut = narrowestSide; cut + narrowestSide <= stripCount; ++cut) {
            auto const middle = strips.begin() + static_cast<std::ptrdiff_t>(cut);
            Vector const below = std::accumulate(strips.begin(), middle, Vector(0.0, 0.0, 0.0));
            Vector const above = std::accumulate(middle, strips.end(), Vector(0.0, 0.0, 0.0));
            double const least = smallestSide * std::sqrt((below + above).lSqr());
            if (below.lSqr() > least * least && above.lSqr() > least * least) {
                turn = std::max(turn, angleBetween(below, above));
            }
        }
        return turn;
    }

    Turn turnOf(Vector const& beam, Vector const& chord) const {
        Vector const across = unitOr(beam.cross(chord), perpendicularTo(beam));
        Vector const along = across.cross(beam);
        Turn turn = turnOfMatrix({Triple{along.getdX(), across.getdX(), beam.getdX()},
                                  Triple{along.getdY(), across.getdY(), beam.getdY()},
                                  Triple{along.getdZ(), across.getdZ(), beam.getdZ()}});
        if (!path.poses.empty()) {
            Turn const& before = path.poses.back().turn;
            double const cosine =
                turn.w * before.w + turn.x * before.x + turn.y * before.y + turn.z * before.z;
            if (cosine < 0.0) {
                turn = {-turn.w, -turn.x, -turn.y, -turn.z};
            }
        }
        return turn;
    }

    static Vector perpendicularTo(Vector const& unit) {
        Vector const axis = std::abs(unit.getdX()) < 0.5 ? Vector(1.0, 0.0, 0.0) : Vector(0.0, 1.0, 0.0);
        Vector const across = axis.cross(unit);
        return across / std::sqrt(across.lSqr());
    }

    /// Points on the way to a run that begins at `firstPose`, above the end of the last one and its own
    /// beginning. The step from a line to the next needs none.
    void addLifts(std::size_t firstPose) {
        std::array<PathPose, 2> lifts{path.poses[firstPose - 1], path.poses[firstPose]};
        double const usual = usualSteps * std::max(settings.step, settings.lineSpacing());
        if ((lifts[0].foot - lifts[1].foot).lSqr() <= usual * usual) {
            return;
        }
        for (PathPose& lift : lifts) {
            lift.kind = PathPose::Lift;
            lift.position = lift.position - lift.direction * *settings.lift;
        }
        path.poses.insert(path.poses.begin() + static_cast<std::ptrdiff_t>(firstPose), lifts.begin(),
                          lifts.end());
    }

    void noteSharpness(PathPose const& pose, double turn) {
        if (turn < settings.sharpAngle) {
            endSharp();
            return;
        }
        ++sharp.poseCount;
        if (turn > sharp.angle) {
            sharp.angle = turn;
            sharp.place = pose.foot;
            sharp.at = pose.at;
        }
    }

    void endSharp() {
        if (sharp.poseCount > 0) {
            path.sharpPlaces.push_back(sharp);
            sharp = {};
        }
    }

    void finish() {
        for (std::size_t i = 1; i < path.poses.size(); ++i) {
            PathPose& pose = path.poses[i];
            PathPose const& before = path.poses[i - 1];
            // Where the probe is lifted it is that which moves.
            bool const isLifted = pose.kind == PathPose::Lift || before.kind == PathPose::Lift;
            Vector const move = isLifted ? pose.position - before.position : pose.foot - before.foot;
            pose.way = before.way + std::sqrt(move.lSqr());
        }
        path.length = path.poses.empty() ? 0.0 : path.poses.back().way;
        std::stable_sort(path.sharpPlaces.begin(), path.sharpPlaces.end(),
                         [](SharpPlace const& a, SharpPlace const& b) { return a.angle > b.angle; });
    }
};

bool isPositive(double value) {
    return value > 0.0 && std::isfinite(value);
}

bool isNotNegative(double value) {
    return value >= 0.0 && std::isfinite(value);
}

void requireSensible(PathSettings const& settings) {
    require(isPositive(settings.step), "a path needs a step above 0");
    require(isPositive(settings.standoff), "a path needs a standoff above 0");
    require(isPositive(settings.footprintDiameter()), "a footprint needs a diameter above 0");
    require(!settings.overlap || (*settings.overlap >= 0.0 && *settings.overlap < 1.0),
            "footprints overlap by a share from 0 to below 1");
    require(isNotNegative(settings.overshoot), "an overshoot is not negative");
    require(isNotNegative(settings.rimMargin()), "a margin is not negative");
    require(!settings.lift || isPositive(*settings.lift), "a lift is above 0");
    require(!settings.speed || isPositive(*settings.speed), "a speed is above 0");
}

} // namespace

Path pathOver(Grid const& grid, PathSettings const& settings) {
    requireSensible(settings);
    return Planner(grid, settings).plan();
}

} // namespace QELT::Inspection
