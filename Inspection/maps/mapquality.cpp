#include "Inspection/maps/mapquality.h"

#include "Inspection/parts/meshsummary.h"

#include <algorithm>
#include <cmath>
#include <vector>

// A flat map takes each triangle by one linear map, whose two principal stretches a >= b say all about its
// distortion (Tissot, "Mémoire sur la représentation des surfaces", 1881): areas change by a b, and of all
// angles between two directions the most wrong one by 2 asin((a - b) / (a + b)). With p, q two sides in space
// and p', q' the same in the map, no frame in space is needed:
//
//   a^2 + b^2 = (q.q p'.p' - 2 p.q p'.q' + p.p q'.q') / |p x q|^2
//   a b       = flat area / surface area
//
// A conformal map has a = b wherever triangles are small; what is left of angle errors tells of long
// triangles and of places where the solve or the surface went wrong. Quantiles are by surface area and need a
// sort; all else is one pass. There is no tolerance: a triangle without area in the map or in space, or with
// one that is no number, is left out of the means.

namespace QELT::Inspection {

namespace {

constexpr double highShare = 0.95;

/// What one triangle suffers.
struct Distortion {
    double surfaceArea = 0.0;
    double areaRatio = 0.0; ///< surface over map
    double angleError = 0.0;
};

Distortion distortionOf(Triangle const& triangle, double flatArea) {
    Edge const edge = triangle.getEdge(0);
    Vector const p = edge.vphi3();
    Vector const q = edge.rot().vphi3();
    auto const flatP = edge.vphidest2() - edge.vphiorg2();
    auto const flatQ = edge.rot().vphidest2() - edge.rot().vphiorg2();
    double const crossSqr = p.cross(q).lSqr();
    double const surfaceArea = 0.5 * std::sqrt(crossSqr);
    double const squares =
        (q.lSqr() * flatP.lSqr() - 2.0 * p.dot(q) * flatP.dot(flatQ) + p.lSqr() * flatQ.lSqr()) / crossSqr;
    double const product = flatArea / surfaceArea;
    double const difference = std::sqrt(std::max(squares - 2.0 * product, 0.0));
    double const sum = std::sqrt(squares + 2.0 * product);
    return {surfaceArea, surfaceArea / flatArea, 2.0 * std::asin(std::min(difference / sum, 1.0))};
}

std::vector<Distortion> distortionsIn(std::vector<Triangle*> const& triangles) {
    std::vector<Distortion> distortions;
    distortions.reserve(triangles.size());
    for (Triangle const* const triangle : triangles) {
        double const flatArea = 0.5 * twiceFlatArea(*triangle);
        if (flatArea > 0.0) {
            Distortion const distortion = distortionOf(*triangle, flatArea);
            if (distortion.surfaceArea > 0.0) {
                distortions.push_back(distortion);
            }
        }
    }
    return distortions;
}

template <class Value>
double weightedSum(std::vector<Distortion> const& distortions, Value value) {
    double sum = 0.0;
    for (Distortion const& distortion : distortions) {
        sum += distortion.surfaceArea * value(distortion);
    }
    return sum;
}

/// The value below which `share` of the surface lies.
template <class Value>
double quantileOf(std::vector<Distortion> distortions, double share, double surfaceArea, Value value) {
    std::sort(distortions.begin(), distortions.end(),
              [&](Distortion const& a, Distortion const& b) { return value(a) < value(b); });
    double area = 0.0;
    for (Distortion const& distortion : distortions) {
        area += distortion.surfaceArea;
        if (area >= share * surfaceArea) {
            return value(distortion);
        }
    }
    return value(distortions.back());
}

void measure(std::vector<Distortion> const& distortions, MapQuality& quality) {
    double const area = weightedSum(distortions, [](Distortion const&) { return 1.0; });
    double const flatArea = weightedSum(distortions, [](Distortion const& d) { return 1.0 / d.areaRatio; });
    auto const ratio = [](Distortion const& d) { return d.areaRatio; };
    auto const angle = [](Distortion const& d) { return d.angleError; };
    double const median = quantileOf(distortions, 0.5, area, ratio);
    double const logMean =
        weightedSum(distortions, [](Distortion const& d) { return std::log(d.areaRatio); }) / area;
    double const variance = weightedSum(distortions,
                                        [&](Distortion const& d) {
                                            double const deviation = std::log(d.areaRatio) - logMean;
                                            return deviation * deviation;
                                        }) /
                            area;
    quality.surfaceArea = area;
    quality.areaRatio = area / flatArea;
    quality.medianAreaRatio = median;
    quality.areaSpread = std::exp(std::sqrt(variance));
    quality.alikeShare = weightedSum(distortions,
                                     [&](Distortion const& d) {
                                         return d.areaRatio <= bearableAreaFactor * median &&
                                                        median <= bearableAreaFactor * d.areaRatio
                                                    ? 1.0
                                                    : 0.0;
                                     }) /
                         area;
    quality.meanAngleError = weightedSum(distortions, angle) / area;
    quality.highAngleError = quantileOf(distortions, highShare, area, angle);
}

} // namespace

MapQuality mapQualityOf(Mesh const& mesh) {
    MapQuality quality;
    auto const triangles = trianglesOf(mesh);
    FlatSummary const flat = flatSummaryOf(mesh, triangles);
    quality.triangleCount = triangles.size();
    quality.turnedCount = flat.flippedCount;
    quality.flatlessCount = flat.degenerateCount;
    auto const distortions = distortionsIn(triangles);
    if (!distortions.empty()) {
        measure(distortions, quality);
    }
    return quality;
}

} // namespace QELT::Inspection
