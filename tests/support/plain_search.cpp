#include "tests/support/plain_search.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace QELT::Testing {

namespace {

constexpr double halfTurn = 3.141592653589793;
constexpr double quarterTurn = 1.5707963267948966;
constexpr std::uint32_t maxPasses = 65536;

double length(PlainVector const& a) {
    return std::sqrt(plainDot(a, a));
}

std::int32_t arithmeticHalf(std::int32_t value) {
    return value >> 1;
}

} // namespace

bool PlainSearch::getDoesIntersectQuad(PlainSearchSettings const& settings, PlainIndex const& quad,
                                       PlainPoint const& origin, PlainVector const& direction,
                                       PlainPoint& hitPoint, PlainIntersection* data) const {
    if (!grid.getIsQuadValid(quad)) {
        return false;
    }
    PlainPoint const anchor = grid.getPoint(quad);
    for (unsigned triangle = 0; triangle < 2; ++triangle) {
        PlainVector const n = grid.getFanNormal(quad, triangle);
        double const t = plainDot(plainDifference(anchor, origin), n) / plainDot(direction, n);
        hitPoint = plainMoved(origin, plainScaled(t, direction));
        bool isInside = true;
        for (int e = 0; e < 3 && isInside; ++e) {
            PlainPoint const corner = grid.getPoint(grid.getFanCorner(quad, triangle, 1, e));
            PlainPoint const next = grid.getPoint(grid.getFanCorner(quad, triangle, 1, (e + 1) % 3));
            PlainVector const w = plainDifference(hitPoint, corner);
            PlainVector const edge = plainDifference(next, corner);
            isInside = plainDot(plainCross(n, edge), w) > 0.0;
        }
        if (!isInside) {
            continue;
        }
        double const d = std::sqrt(plainDistanceSqr(hitPoint, origin));
        if (data != nullptr && 10000.0 > d) {
            double const signFactor = doFlipNormals ? -1.0 : 1.0;
            double const angle =
                std::atan2(length(plainCross(n, direction)), plainDot(n, direction) * signFactor);
            PlainVector const diagonal = plainSum(grid.getEdgeU(quad), grid.getEdgeV(quad));
            PlainPoint const centre = plainMoved(anchor, plainScaled(0.5, diagonal));
            data->distanceSqrToQuadCentre = plainDistanceSqr(hitPoint, centre);
            data->distanceToObject = t > 0.0 ? d : -d;
            data->angleToObjectNormal = settings.isEnableFlipAngle ? halfTurn - angle : angle;
        }
        return true;
    }
    return false;
}

bool PlainSearch::getHasQuads() const {
    return !grid.points.empty() && grid.highestU > 0 && grid.highestV > 0;
}

PlainStatus PlainSearch::getIntersectionStatus(PlainSearchSettings const& settings, PlainPoint const& origin,
                                               PlainVector const& direction, bool doReset) {
    PlainStatus status;
    if (((activePositionFlags >> (position % 32U)) & 1U) == 0) {
        status.indices = {-1, -1};
        status.data = {-1.0, settings.isEnableFlipAngle ? halfTurn - -1.0 : -1.0, -1.0};
        return status;
    }
    status.hasMesh = true;
    if (doReset) {
        doResetSearch = true;
    }
    PlainIndex current;
    PlainPoint hitPoint;
    bool isFound = false;
    if (getHasQuads()) {
        current = doResetSearch ? getStartSearchPoint(settings, origin) : lastQuadIndices;
        current.u = std::clamp(current.u, 0, static_cast<std::int32_t>(grid.highestU) - 1);
        current.v = std::clamp(current.v, 0, static_cast<std::int32_t>(grid.highestV) - 1);
        isFound = walk(settings, origin, direction, current, hitPoint, status.data);
        isFound = isFound && 131072.0 > status.data.distanceToObject;
    }
    if (isFound) {
        doResetSearch = false;
    }
    if (isFound && getIsRemembered(settings, status.data)) {
        lastQuadIndices = current;
    } else {
        doResetSearch = true;
    }
    status.isValid = isFound;
    status.quadPoint = isFound ? hitPoint : PlainPoint{};
    status.indices = getReported(isFound ? current : PlainIndex{});
    return status;
}

bool PlainSearch::walk(PlainSearchSettings const& settings, PlainPoint const& origin,
                       PlainVector const& direction, PlainIndex& current, PlainPoint& hitPoint,
                       PlainIntersection& data) {
    Walk state;
    state.current = current;
    lastWalkRetreats = 0;
    didLastWalkLeaveItsHit = false;
    for (;;) {
        bool const isHit = getDoesIntersectQuad(settings, state.current, origin, direction, hitPoint, &data);
        bool isStopped = false;
        if (!isHit) {
            if (state.isStalled || state.stepCount >= 32) {
                isStopped = true;
            } else {
                project(origin, direction, state);
            }
        }
        if (state.isOffMesh && !state.isAbandoned && !state.isStalled) {
            state.current = retreat(state.previous, state.current);
            ++lastWalkRetreats;
            didLastWalkLeaveItsHit = isHit;
        }
        if (isHit || isStopped || state.isAbandoned) {
            current = state.current;
            lastWalkSteps = state.stepCount;
            return isHit;
        }
    }
}

void PlainSearch::project(PlainPoint const& origin, PlainVector const& direction, Walk& state) const {
    PlainVector const u = grid.getEdgeU(state.current);
    PlainVector const v = grid.getEdgeV(state.current);
    double const uu = plainDot(u, u);
    double const uv = plainDot(u, v);
    double const vv = plainDot(v, v);
    double const determinant = uu * vv - uv * uv;
    PlainVector const dualU =
        plainDivided(plainDifference(plainScaled(vv, u), plainScaled(uv, v)), determinant);
    PlainVector const dualV =
        plainDivided(plainDifference(plainScaled(uu, v), plainScaled(uv, u)), determinant);
    PlainPoint const centre = plainMoved(grid.getPoint(state.current), plainScaled(0.5, plainSum(u, v)));
    PlainVector const normal = plainDivided(plainCross(u, v), std::sqrt(determinant));
    double const t = plainDot(plainDifference(centre, origin), normal) / plainDot(direction, normal);
    PlainPoint const planeHit = plainMoved(origin, plainScaled(t, direction));
    PlainVector const delta = plainDifference(planeHit, centre);
    PlainIndex const step{plainRounded(plainDot(delta, dualU)), plainRounded(plainDot(delta, dualV))};
    state.previous = state.current;
    state.current = state.current + step;
    state.isStalled = step == PlainIndex{0, 0};
    if (grid.getIsQuadValid(state.current)) {
        state.isOffMesh = false;
        state.offMeshCount = 0;
    } else {
        state.isOffMesh = true;
        ++state.offMeshCount;
        state.isAbandoned = state.isAbandoned || state.offMeshCount >= 4;
    }
    ++state.stepCount;
}

PlainIndex PlainSearch::retreat(PlainIndex const& previous, PlainIndex const& current) const {
    PlainIndex good = previous;
    PlainIndex bad = current;
    for (;;) {
        PlainIndex const way = bad - good;
        PlainIndex const half{way.u / 2, way.v / 2};
        if (grid.getIsQuadValid(good + half)) {
            good = good + half;
        } else {
            bad = bad - half;
        }
        if (half == PlainIndex{0, 0}) {
            return good;
        }
    }
}

bool PlainSearch::getIsRemembered(PlainSearchSettings const& settings, PlainIntersection const& data) const {
    bool const isFrontal = data.angleToObjectNormal > quarterTurn;
    bool const isNear = 1000.0 > data.distanceToObject;
    switch (settings.qualityMode) {
    case 0:
        return isFrontal && isNear;
    case 1:
        return isNear;
    case 2:
        return isFrontal;
    default:
        return false;
    }
}

PlainIndex PlainSearch::getReported(PlainIndex const& quad) const {
    PlainIndex reported = quad;
    if (doFlipUAxis) {
        std::int32_t const far = plainWrappedDifference(static_cast<std::int32_t>(grid.highestU), reported.u);
        reported.u = plainWrappedDifference(far, 1);
    }
    if (doFlipVAxis) {
        std::int32_t const far = plainWrappedDifference(static_cast<std::int32_t>(grid.highestV), reported.v);
        reported.v = plainWrappedDifference(far, 1);
    }
    return reported + offset;
}

PlainStatus PlainSearch::getIntersection(PlainSearchSettings const& settings, PlainPoint const& origin,
                                         PlainVector const& direction) {
    PlainStatus const status = getIntersectionStatus(settings, origin, direction, false);
    if (status.isValid && !(6.283185307179586 * 0.25 > status.data.angleToObjectNormal)) {
        return status;
    }
    return getIntersectionStatus(settings, origin, direction, true);
}

PlainIndex PlainSearch::getStartSearchPoint(PlainSearchSettings const& settings,
                                            PlainPoint const& target) const {
    std::uint32_t const sampleCount = settings.searchDivideByNTimes;
    auto const side = static_cast<std::int32_t>(std::sqrt(static_cast<double>(sampleCount)));
    double const s = side;
    PlainIndex best{static_cast<std::int32_t>(grid.highestU / 2U),
                    static_cast<std::int32_t>(grid.highestV / 2U)};
    double bestDistanceSqr = plainDistanceSqr(grid.getPoint(best), target);
    auto spanU = static_cast<std::int32_t>(grid.highestU);
    auto spanV = static_cast<std::int32_t>(grid.highestV);
    std::uint32_t doNMoreCount = 0;
    std::uint32_t const limit = settings.maxDoNMoreTimes > 0 ? maxPasses + grid.highestU + grid.highestV
                                                             : std::numeric_limits<std::uint32_t>::max();
    for (std::uint32_t pass = 0; pass < limit; ++pass) {
        lastPasses = pass + 1;
        std::int32_t const stepU = plainRounded(spanU / (2.0 * s));
        std::int32_t const stepV = plainRounded(spanV / (2.0 * s));
        std::vector<PlainIndex> samples(sampleCount);
        PlainIndex const low = best - PlainIndex{arithmeticHalf(spanU), arithmeticHalf(spanV)};
        for (std::int32_t j = 0; j < side; ++j) {
            for (std::int32_t i = 0; i < side; ++i) {
                samples[static_cast<std::size_t>(j * side + i)] =
                    low +
                    PlainIndex{plainWrappedProduct(stepU, 2 * i + 1), plainWrappedProduct(stepV, 2 * j + 1)};
            }
        }
        bool hasInvalid = false;
        bool const closer = getIsAnyQuadPointCloser(settings, samples, target, best, bestDistanceSqr,
                                                    hasInvalid, doNMoreCount);
        bool subCloser = false;
        if (hasInvalid) {
            std::int32_t const subStepU = plainRounded(stepU / s);
            std::int32_t const subStepV = plainRounded(stepV / s);
            for (PlainIndex const& sample : samples) {
                PlainIndex const corner = sample - PlainIndex{stepU, stepV};
                std::vector<PlainIndex> subSamples;
                for (std::int32_t b = 0; b < 2; ++b) {
                    for (std::int32_t a = 0; a < 2; ++a) {
                        subSamples.push_back(corner + PlainIndex{plainWrappedProduct(subStepU, 2 * a + 1),
                                                                 plainWrappedProduct(subStepV, 2 * b + 1)});
                    }
                }
                bool ignored = false;
                bool const improved = getIsAnyQuadPointCloser(settings, subSamples, target, best,
                                                              bestDistanceSqr, ignored, doNMoreCount);
                subCloser = subCloser || improved;
            }
        }
        double const divisor = subCloser ? 2.0 * s : s;
        spanU = plainRounded(spanU / divisor);
        spanV = plainRounded(spanV / divisor);
        if (closer) {
            continue;
        }
        if (bestDistanceSqr > 400.0 && doNMoreCount < settings.maxDoNMoreTimes) {
            ++doNMoreCount;
            continue;
        }
        return best;
    }
    return best;
}

bool PlainSearch::getIsAnyQuadPointCloser(PlainSearchSettings const& settings,
                                          std::vector<PlainIndex> const& samples, PlainPoint const& target,
                                          PlainIndex& best, double& bestDistanceSqr, bool& hasInvalidQuad,
                                          std::uint32_t doNMoreCount) const {
    hasInvalidQuad = false;
    if (samples.empty()) {
        return false;
    }
    PlainIndex batchBest = samples[0];
    double batchBestDistanceSqr = 1000000.0;
    bool improved = false;
    for (std::size_t i = 0; i < samples.size(); ++i) {
        if (!grid.getIsQuadValid(samples[i])) {
            hasInvalidQuad = true;
            continue;
        }
        double const d = plainDistanceSqr(grid.getPoint(samples[i]), target);
        if (i == 0 || batchBestDistanceSqr > d) {
            batchBest = samples[i];
            batchBestDistanceSqr = d;
        }
        if (bestDistanceSqr > d) {
            bestDistanceSqr = d;
            best = samples[i];
            improved = true;
        }
    }
    if (bestDistanceSqr > 400.0 && !improved && doNMoreCount < settings.maxDoNMoreTimes) {
        best = batchBest;
        bestDistanceSqr = batchBestDistanceSqr;
    }
    return improved;
}

PlainIndex PlainSearch::getNearestPoint2D(PlainPoint const& target, double& distance) const {
    PlainIndex best;
    double bestDistanceSqr = std::numeric_limits<double>::max();
    for (std::int32_t v = 0; v <= static_cast<std::int32_t>(grid.highestV); ++v) {
        for (std::int32_t u = 0; u <= static_cast<std::int32_t>(grid.highestU); ++u) {
            if (!grid.getIsQuadValid({u, v})) {
                continue;
            }
            double const d = plainDistanceSqr(grid.getPoint({u, v}), target);
            if (d < bestDistanceSqr) {
                bestDistanceSqr = d;
                best = {u, v};
            }
        }
    }
    distance = std::sqrt(bestDistanceSqr);
    return best;
}

} // namespace QELT::Testing
