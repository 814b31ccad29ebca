#include "Inspection/results/surfacefit.h"

#include "Inspection/records/failure.h"
#include "Inspection/records/internal/announce.h"
#include "Inspection/records/outputs.h"
#include "Inspection/records/record.h"
#include "Inspection/results/pixels.h"
#include "Inspection/results/resultfile.h"
#include "Inspection/scanning/suresearch.h"
#include "Inspection/tables/units.h"

#include <Eigen/Dense>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>
#include <numbers>

// Point to plane (Chen and Medioni 1992): each point has its nearest place on the surface, and the motion is
// sought that takes all points to the planes there, which is linear in the six numbers of a small motion.
// That is solved, the points are moved, and again, until they rest: nearest places slide freely along the
// surface, so few rounds are enough where plain nearest points would creep.
//
// The six numbers are a shift and a turn about the middle of the points, the latter times the points' mean
// distance from the middle: then all are lengths by which points move, and the eigenvalues of the normal
// equations, divided by the number of points, are the squares of how far the points come off the surface for
// a motion of one. What lies under `leastEffect` squared the shape cannot tell: its eigenvectors are left
// out. Those without a turn among them are shifts, the others turns about an axis.
//
// Points far off, by more than four times the median distance, are left out of a round: they are no surface.
//
// Cost: a look for the nearest place a point and round, mostly ten rounds or fewer, 60 at most. At most
// 100,000 points are used, evenly chosen.

namespace QELT::Inspection {

namespace {

using Vector6 = Eigen::Matrix<double, 6, 1>;
using Matrix6 = Eigen::Matrix<double, 6, 6>;

constexpr std::size_t leastPoints = 20;
constexpr std::size_t mostPoints = 100000;
constexpr int mostRounds = 60;
constexpr double degreesPerRadian = 180.0 / std::numbers::pi;

Eigen::Vector3d eigenOf(Triple const& triple) {
    return {triple[0], triple[1], triple[2]};
}

Triple tripleOf(Eigen::Vector3d const& vector) {
    return {vector.x(), vector.y(), vector.z()};
}

/// A point with the plane of the surface that it belongs to.
struct Pairing {
    Eigen::Vector3d point;
    Eigen::Vector3d normal;
    double distance = 0.0; ///< of the point above the plane
};

/// The surface of a result, to be asked for nearest places.
class Target {
public:
    explicit Target(Result const& newResult) : result(newResult) {
        std::vector<Grid const*> pointers;
        for (Patch const& patch : result.patches) {
            grids.push_back(gridOf(patch));
            pointers.push_back(grids.back().get());
        }
        search = std::make_unique<SureSearch>(pointers);
    }

    /// Of a point in the part's own place; nothing if it lies beside the surface.
    std::optional<Pairing> pairingOf(Eigen::Vector3d const& point) const {
        Point const moved(static_cast<float>(point.x() + result.move[0]),
                          static_cast<float>(point.y() + result.move[1]),
                          static_cast<float>(point.z() + result.move[2]));
        Hit const hit = search->findNearest(moved);
        if (!hit.isHit()) {
            return std::nullopt;
        }
        Eigen::Vector3d const nearest(static_cast<double>(hit.point.getX()) - result.move[0],
                                      static_cast<double>(hit.point.getY()) - result.move[1],
                                      static_cast<double>(hit.point.getZ()) - result.move[2]);
        std::size_t const pixel = result.indexOf(static_cast<std::size_t>(hit.quad.getU()),
                                                 static_cast<std::size_t>(hit.quad.getV()));
        Eigen::Vector3d const unit = normalAt(nearest, pixel);
        if (!unit.allFinite()) {
            return std::nullopt;
        }
        return Pairing{point, unit, (point - nearest).dot(unit)};
    }

private:
    Result const& result;
    std::vector<std::unique_ptr<Grid>> grids;
    std::unique_ptr<SureSearch> search;

    /// Of the surface that the quads stand for: the mean of the normals around, the nearer the more.
    Eigen::Vector3d normalAt(Eigen::Vector3d const& place, std::size_t pixel) const {
        Eigen::Vector3d sum = Eigen::Vector3d::Zero();
        std::size_t const u = pixel % result.width;
        std::size_t const v = pixel / result.width;
        for (std::size_t y = v == 0 ? 0 : v - 1; y <= v + 1 && y < result.height; ++y) {
            for (std::size_t x = u == 0 ? 0 : u - 1; x <= u + 1 && x < result.width; ++x) {
                sum += shareOf(result.indexOf(x, y), place, result.areas[pixel]);
            }
        }
        return sum.normalized();
    }

    Eigen::Vector3d shareOf(std::size_t pixel, Eigen::Vector3d const& place, double area) const {
        float const* const normal = &result.normals[3 * pixel];
        float const* const centre = &result.points[3 * pixel];
        Eigen::Vector3d const way(static_cast<double>(centre[0]) - result.move[0] - place.x(),
                                  static_cast<double>(centre[1]) - result.move[1] - place.y(),
                                  static_cast<double>(centre[2]) - result.move[2] - place.z());
        Eigen::Vector3d const weighted =
            Eigen::Vector3d(normal[0], normal[1], normal[2]) * std::exp(-way.squaredNorm() / area);
        return result.hasSurface(pixel) && weighted.allFinite() ? weighted : Eigen::Vector3d::Zero();
    }
};

/// Those not far off, of all points as they are now.
std::vector<Pairing> pairingsOf(Target const& target, std::vector<Eigen::Vector3d> const& points) {
    constexpr double far = 4.0;
    std::vector<Pairing> pairings;
    std::vector<double> distances;
    for (Eigen::Vector3d const& point : points) {
        if (auto const pairing = target.pairingOf(point)) {
            pairings.push_back(*pairing);
            distances.push_back(std::abs(pairing->distance));
        }
    }
    require(pairings.size() >= leastPoints,
            "fewer than " + std::to_string(leastPoints) +
                " measured points lie on the surface; check the front wall's column and --couplant-speed");
    auto const middle = distances.begin() + static_cast<std::ptrdiff_t>(distances.size() / 2);
    std::nth_element(distances.begin(), middle, distances.end());
    double const limit = far * *middle + std::numeric_limits<double>::min();
    std::erase_if(pairings, [&](Pairing const& pairing) { return std::abs(pairing.distance) > limit; });
    return pairings;
}

double rmsOf(std::vector<Pairing> const& pairings) {
    double sum = 0.0;
    for (Pairing const& pairing : pairings) {
        sum += pairing.distance * pairing.distance;
    }
    return std::sqrt(sum / static_cast<double>(pairings.size()));
}

/// The equations of a small motion about a middle.
struct Equations {
    Eigen::Vector3d middle = Eigen::Vector3d::Zero();
    double radius = 1.0;
    Matrix6 normal = Matrix6::Zero();
    Vector6 right = Vector6::Zero();
};

Equations equationsOf(std::vector<Pairing> const& pairings) {
    Equations equations;
    auto const count = static_cast<double>(pairings.size());
    for (Pairing const& pairing : pairings) {
        equations.middle += pairing.point / count;
    }
    double sum = 0.0;
    for (Pairing const& pairing : pairings) {
        sum += (pairing.point - equations.middle).squaredNorm();
    }
    equations.radius = std::sqrt(sum / count);
    for (Pairing const& pairing : pairings) {
        Vector6 row;
        row.head<3>() = pairing.normal;
        row.tail<3>() = (pairing.point - equations.middle).cross(pairing.normal) / equations.radius;
        equations.normal += row * row.transpose() / count;
        equations.right -= row * pairing.distance / count;
    }
    return equations;
}

/// What the shape tells of the motion: nothing along eigenvectors of less than the least effect.
Vector6 solutionOf(Equations const& equations) {
    Eigen::SelfAdjointEigenSolver<Matrix6> const solver(equations.normal);
    Vector6 solution = Vector6::Zero();
    for (int i = 0; i < 6; ++i) {
        double const value = solver.eigenvalues()[i];
        if (value >= leastEffect * leastEffect) {
            Vector6 const vector = solver.eigenvectors().col(i);
            solution += vector * (vector.dot(equations.right) / value);
        }
    }
    return solution;
}

Frame motionOf(Equations const& equations, Vector6 const& solution) {
    Frame frame;
    frame.turn = turnOfRotationVector(tripleOf(solution.tail<3>() / equations.radius));
    Triple const middle = tripleOf(equations.middle);
    frame.translation = middle + tripleOf(solution.head<3>()) - frame.turn * middle;
    return frame;
}

double effectOf(Equations const& equations, Vector6 const& motion) {
    return std::sqrt(std::max(motion.dot(equations.normal * motion), 0.0)) / motion.norm();
}

FreeMotion shiftOf(Equations const& equations, Vector6 const& motion) {
    return {false, tripleOf(motion.head<3>().normalized()), tripleOf(equations.middle),
            effectOf(equations, motion)};
}

/// The axis goes through the point that the turn does not move but along the axis.
FreeMotion turnOf(Equations const& equations, Vector6 const& motion) {
    Eigen::Vector3d const turn = motion.tail<3>() / equations.radius;
    Eigen::Vector3d const shift = motion.head<3>();
    Eigen::Vector3d const place = equations.middle + turn.cross(shift) / turn.squaredNorm();
    return {true, tripleOf(turn.normalized()), tripleOf(place), effectOf(equations, motion)};
}

/// The free motions as shifts and turns: of their space, those without a turn first.
std::vector<FreeMotion> freeMotionsOf(Equations const& equations) {
    Eigen::SelfAdjointEigenSolver<Matrix6> const solver(equations.normal);
    int count = 0;
    while (count < 6 && solver.eigenvalues()[count] < leastEffect * leastEffect) {
        ++count;
    }
    std::vector<FreeMotion> motions;
    if (count == 0) {
        return motions;
    }
    Eigen::Matrix<double, 6, Eigen::Dynamic> const basis = solver.eigenvectors().leftCols(count);
    Eigen::MatrixXd const turns = basis.bottomRows<3>();
    Eigen::JacobiSVD<Eigen::MatrixXd> const svd(turns, Eigen::ComputeFullV);
    constexpr double noTurn = 0.1;
    for (int i = 0; i < count; ++i) {
        Vector6 const motion = basis * svd.matrixV().col(i);
        double const turning = i < svd.singularValues().size() ? svd.singularValues()[i] : 0.0;
        motions.push_back(turning < noTurn ? shiftOf(equations, motion) : turnOf(equations, motion));
    }
    return motions;
}

/// At most as many as are used, evenly chosen.
std::vector<Eigen::Vector3d> chosenOf(std::vector<Triple> const& points) {
    std::size_t const step = (points.size() + mostPoints - 1) / mostPoints;
    std::vector<Eigen::Vector3d> chosen;
    for (std::size_t i = 0; i < points.size(); i += std::max<std::size_t>(step, 1)) {
        chosen.push_back(eigenOf(points[i]));
    }
    return chosen;
}

void describe(SurfaceFit& fit, std::vector<Pairing> const& pairings) {
    Equations const equations = equationsOf(pairings);
    fit.freeMotions = freeMotionsOf(equations);
    Triple const middle = tripleOf(equations.middle);
    fit.shift = lengthOf(middle - fit.correction.getInverse().placeOf(middle));
    fit.turn = 2.0 * std::acos(std::min(std::abs(fit.correction.turn.w), 1.0)) * degreesPerRadian;
    fit.after = rmsOf(pairings);
    fit.pointCount = pairings.size();
}

} // namespace

SurfaceFit fitToSurface(Result const& result, std::vector<Triple> const& points) {
    Target const target(result);
    std::vector<Eigen::Vector3d> const chosen = chosenOf(points);
    std::vector<Eigen::Vector3d> moved = chosen;
    SurfaceFit fit;
    std::vector<Pairing> pairings = pairingsOf(target, moved);
    fit.before = rmsOf(pairings);
    constexpr double atRest = 1e-7;
    for (int round = 0; round < mostRounds; ++round) {
        Equations const equations = equationsOf(pairings);
        Vector6 const solution = solutionOf(equations);
        fit.correction = motionOf(equations, solution) * fit.correction;
        std::transform(chosen.begin(), chosen.end(), moved.begin(), [&](Eigen::Vector3d const& point) {
            return eigenOf(fit.correction.placeOf(tripleOf(point)));
        });
        pairings = pairingsOf(target, moved);
        if (solution.norm() < atRest * equations.radius) {
            break;
        }
    }
    describe(fit, pairings);
    fit.leftOutCount = chosen.size() - fit.pointCount;
    return fit;
}

namespace {

/// Where the surface answered along each beam that met it or came near.
std::vector<Triple> measuredPoints(ShotRows const& shots, std::size_t column, double lengthPerTime) {
    std::vector<Triple> points;
    for (std::size_t i = 0; i < shots.size(); ++i) {
        double const way = shots.values[i * shots.quantities.size() + column] * lengthPerTime;
        bool const isUsed = std::isfinite(way) && way > 0.0 && std::isfinite(shots.directions[3 * i]) &&
                            shots.outcomes[i] != ShotRows::Outcome::RefusedAsBad;
        if (isUsed) {
            points.push_back({shots.origins[3 * i] + way * shots.directions[3 * i],
                              shots.origins[3 * i + 1] + way * shots.directions[3 * i + 1],
                              shots.origins[3 * i + 2] + way * shots.directions[3 * i + 2]});
        }
    }
    return points;
}

std::size_t columnNamed(ShotRows const& shots, FrameCorrectionOptions const& options) {
    for (std::size_t i = 0; i < shots.quantities.size(); ++i) {
        if (shots.quantities[i].name == options.front) {
            return i;
        }
    }
    throw Failure(options.result.string() + ": its shots have no column '" + options.front + "'");
}

double lengthPerTime(Result const& result, Quantity const& front, FrameCorrectionOptions const& options) {
    constexpr double thereAndBack = 2.0;
    auto const seconds = secondsIn(front.unit);
    auto const metres = metresIn(result.unit);
    require(seconds.has_value(), options.result.string() + ": the unit of time of '" + front.name +
                                     "' is not known; name it in the table's heading, as in " + front.name +
                                     "[us]");
    require(metres.has_value(),
            options.result.string() + ": the part's unit is not known; give it to 'cscan scan' by --unit mm");
    return *seconds * options.couplantSpeed / thereAndBack / *metres;
}

/// The frame that the shots were read with, as far as the result tells that there was one.
Frame frameBefore(Result const& result, FrameCorrectionOptions const& options) {
    auto const record = nlohmann::json::parse(result.record, nullptr, false);
    bool const hadFrame = record.is_object() && record.contains("settings") &&
                          record["settings"].is_object() && record["settings"].contains("frame");
    require(hadFrame == options.frame.has_value(),
            hadFrame ? options.result.string() + ": its shots were read with a frame; give it by --frame"
                     : options.result.string() + ": its shots were read without a frame; leave --frame out");
    return options.frame ? readFrame(*options.frame) : Frame{};
}

void addFigures(Record& record, SurfaceFit const& fit) {
    record.figure("points", fit.pointCount);
    record.figure("leftOut", fit.leftOutCount);
    record.figure("before", fit.before);
    record.figure("after", fit.after);
    record.figure("shift", fit.shift);
    record.figure("turnDegrees", fit.turn);
    record.figure("freeMotions", fit.freeMotions.size());
}

} // namespace

FrameCorrection correctFrame(FrameCorrectionOptions const& options, ProgressListener* listener) {
    Record record("fit-frame");
    record.addInput(options.result);
    if (options.frame) {
        record.addCompanion(*options.frame);
    }
    record.setting("front", options.front);
    record.setting("couplantSpeed", options.couplantSpeed);
    Outputs outputs(record);
    outputs.add(options.out);
    announce(listener, "Reading the shots...");
    Result const result = readResult(options.result);
    ShotRows const shots = readShots(options.result);
    Frame const before = frameBefore(result, options);
    std::size_t const column = columnNamed(shots, options);
    double const factor = lengthPerTime(result, shots.quantities[column], options);
    announce(listener, "Fitting...");
    FrameCorrection found;
    found.unit = result.unit;
    found.fit = fitToSurface(result, measuredPoints(shots, column, factor));
    found.frame = found.fit.correction * before;
    found.frame.unit = result.unit;
    addFigures(record, found.fit);
    if (found.fit.freeMotions.empty() || options.isAccepted) {
        writeFrame(found.frame, outputs.at(options.out));
        outputs.commit(listener);
        found.isWritten = true;
    }
    return found;
}

} // namespace QELT::Inspection
