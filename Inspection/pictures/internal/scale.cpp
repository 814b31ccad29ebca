#include "Inspection/pictures/internal/scale.h"

#include "Inspection/records/numbers.h"

#include <algorithm>
#include <cmath>

namespace QELT::Inspection {

namespace {

/// The steps that a scale is cut into are at most this many, before its ends are moved out to ticks.
constexpr double maxSteps = 6.0;

/// Values of more digits than a float has don't tell anything apart.
constexpr double minRelativeLength = 1e-6;

double roundStep(double length) {
    double const raw = length / maxSteps;
    double const power = std::pow(10.0, std::floor(std::log10(raw)));
    for (double const factor : {1.0, 2.0, 5.0}) {
        if (factor * power >= raw * (1.0 - 1e-9)) {
            return factor * power;
        }
    }
    return 10.0 * power;
}

Scale scaleOver(double low, double high, double smallestStep) {
    double const least = std::max({minRelativeLength * std::max(std::abs(low), std::abs(high)), 1e-12});
    if (high - low < least) {
        double const centre = 0.5 * (low + high);
        low = centre - 0.5 * least;
        high = centre + 0.5 * least;
    }
    Scale scale;
    scale.step = std::max(roundStep(high - low), smallestStep);
    scale.low = std::floor(low / scale.step) * scale.step;
    scale.high = std::ceil(high / scale.step) * scale.step;
    scale.high = std::max(scale.high, scale.low + scale.step);
    return scale;
}

/// The value that `share` of the others lie below.
double quantile(std::vector<double>& values, double share) {
    auto const rank = static_cast<std::ptrdiff_t>(share * static_cast<double>(values.size() - 1) + 0.5);
    std::nth_element(values.begin(), values.begin() + rank, values.end());
    return values[static_cast<std::size_t>(rank)];
}

} // namespace

double Scale::shareOf(double value) const {
    return std::clamp((value - low) / (high - low), 0.0, 1.0);
}

std::vector<double> Scale::ticks() const {
    std::vector<double> ticks;
    auto const count = std::lround((high - low) / step);
    for (long i = 0; i <= count; ++i) {
        ticks.push_back(low + static_cast<double>(i) * step);
    }
    return ticks;
}

std::string Scale::labelOf(double tick) const {
    constexpr double largestPlain = 1e6;
    if (std::max(std::abs(low), std::abs(high)) >= largestPlain) {
        return toShortText(tick, 6);
    }
    int const decimals = std::max(0, -static_cast<int>(std::floor(std::log10(step) + 1e-9)));
    return toFixedText(tick, decimals);
}

Scale scaleFor(std::vector<double> values, double smallestStep) {
    constexpr double strays = 0.005;
    if (values.empty()) {
        return scaleOver(0.0, 1.0, smallestStep);
    }
    double const low = quantile(values, strays);
    return scaleOver(low, quantile(values, 1.0 - strays), smallestStep);
}

Scale scaleFromZero(std::vector<double> const& values, double smallestStep) {
    double const high = values.empty() ? 1.0 : *std::max_element(values.begin(), values.end());
    return scaleOver(0.0, std::max(high, smallestStep), smallestStep);
}

} // namespace QELT::Inspection
