#include "Inspection/poses/registerpoints.h"

#include "Inspection/records/failure.h"
#include "Inspection/records/numbers.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>

// Three pairs without a frame to write are registered by the core's descent, four by the affine map through
// them, as ever; a frame, and more pairs, by least squares. Lengths that differ by more than a tenth between
// both sides are of two units, which no rigid motion can mend; more than a hundredth is told.

namespace QELT::Inspection {

namespace {

constexpr std::size_t affineCount = 4;
constexpr double scaleLimit = 0.1;
constexpr double scaleTold = 0.01;

bool isAffine(RegisterOptions const& options, std::size_t count) {
    require(options.map != RegisterMap::Affine || !options.frame,
            "a frame is a rigid motion; leave out --affine or --out");
    return options.map == RegisterMap::Affine ||
           (options.map == RegisterMap::ByCount && count == affineCount && !options.frame);
}

void requireCount(RegisterOptions const& options, std::size_t count) {
    bool const isForAffine = options.map == RegisterMap::Affine;
    bool const isGood = isForAffine ? count == affineCount : count >= minFramePairs && count <= maxFramePairs;
    require(isGood, options.pairs.string() + ": " +
                        (isForAffine ? "4 pairs of points" : "3 to 1000 pairs of points") + " expected, " +
                        std::to_string(count) + " found");
}

Point pointOf(Triple const& place) {
    return {place[0], place[1], place[2]};
}

std::vector<PointPair> pointPairs(std::vector<FramePair> const& pairs) {
    std::vector<PointPair> points;
    std::transform(pairs.begin(), pairs.end(), std::back_inserter(points), [](FramePair const& pair) {
        return PointPair{pointOf(pair.source), pointOf(pair.target)};
    });
    return points;
}

Registration registrationOf(Frame const& frame) {
    auto const imageOf = [&](Triple const& axis) {
        Triple const image = frame.turn * axis;
        return Vector(image[0], image[1], image[2]);
    };
    Registration registration;
    registration.map =
        LinearMap(imageOf({1.0, 0.0, 0.0}), imageOf({0.0, 1.0, 0.0}), imageOf({0.0, 0.0, 1.0}));
    registration.source = Point();
    registration.target = pointOf(frame.translation);
    return registration;
}

void requireOneUnit(FrameFit const& fit) {
    if (!(std::abs(std::log(std::abs(fit.scale))) <= std::log1p(scaleLimit)) && !fit.isMirrored) {
        throw std::runtime_error("the targets lie " + toShortText(fit.scale, 4) +
                                 " times as far apart as the sources; give both in one unit, and each target "
                                 "beside its own source");
    }
}

std::vector<std::string> warningsOf(FrameFit const& fit) {
    std::vector<std::string> warnings;
    if (fit.isNearLine()) {
        warnings.push_back(
            "the points lie nearly on a line, " + toShortText(fit.width, 3) + " wide over " +
            toShortText(fit.length, 3) +
            " of length (root mean square): the turn about it is hardly known; add a point far "
            "from the line");
    }
    if (fit.isMirrored) {
        warnings.emplace_back(
            "the targets are a mirror image of the sources; look for an axis that is reversed, "
            "or pairs that are swapped");
    } else if (std::abs(fit.scale - 1.0) > scaleTold) {
        warnings.push_back("the targets lie " + toShortText(fit.scale, 5) +
                           " times as far apart as the sources; a rigid motion cannot follow that");
    }
    return warnings;
}

void fitRigidly(RegisterResult& result) {
    result.fit = fitFrame(result.pairs);
    requireOneUnit(*result.fit);
    result.warnings = warningsOf(*result.fit);
    result.registration = registrationOf(result.fit->frame);
    Triple const& translation = result.fit->frame.translation;
    result.translation = Vector(translation[0], translation[1], translation[2]);
    result.largestMiss = result.fit->residuals[result.fit->worst];
}

/// By the core.
void fitExactly(RegisterResult& result) {
    auto const points = pointPairs(result.pairs);
    result.registration = result.isRigid ? rigidRegistration(points) : affineRegistration(points);
    result.translation = result.registration(Point()) - Point();
    result.largestMiss = largestMiss(result.registration, points);
}

RegisterResult registered(RegisterOptions const& options) {
    RegisterResult result;
    result.pairs = readFramePairs(options.pairs);
    requireCount(options, result.pairs.size());
    result.isRigid = !isAffine(options, result.pairs.size());
    bool const isByDescent =
        result.pairs.size() == minFramePairs && options.map == RegisterMap::ByCount && !options.frame;
    naming(options.pairs.string(),
           [&] { result.isRigid && !isByDescent ? fitRigidly(result) : fitExactly(result); });
    return result;
}

} // namespace

RegisterResult registerPoints(RegisterOptions const& options, ProgressListener* listener) {
    if (!options.frame) {
        return registered(options);
    }
    Record record("register");
    record.addCompanion(options.pairs);
    Outputs outputs(record);
    outputs.add(*options.frame);
    RegisterResult result = registered(options);
    result.fit->frame.unit = options.unit;
    record.setUnit(options.unit);
    record.figure("pairs", result.pairs.size());
    record.figure("residualRms", result.fit->rms);
    record.figure("largestResidual", result.largestMiss);
    writeFrame(result.fit->frame, outputs.at(*options.frame));
    outputs.commit(listener);
    return result;
}

} // namespace QELT::Inspection
