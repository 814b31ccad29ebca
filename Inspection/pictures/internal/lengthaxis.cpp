#include "Inspection/pictures/internal/lengthaxis.h"

#include "Inspection/results/internal/pixelline.h"

#include <algorithm>

// The chain of pixel centres along the line, which is that of the surface to within its curvature over a
// pixel. A gap in the surface is bridged by the chord between its ends, shared out evenly.

namespace QELT::Inspection {

namespace {

std::size_t surfaceIn(Result const& result, PixelLine const& line) {
    std::size_t count = 0;
    for (std::size_t i = 0; i < line.count; ++i) {
        count += result.hasSurface(line.at(i)) ? 1U : 0U;
    }
    return count;
}

/// Steps from centre to centre; those that no surface tells are the mean of the others.
std::vector<double> stepsAlong(Result const& result, PixelLine const& line) {
    std::vector<double> steps(line.count > 0 ? line.count - 1 : 0, -1.0);
    std::size_t last = line.count;
    double known = 0.0;
    std::size_t knownCount = 0;
    for (std::size_t i = 0; i < line.count; ++i) {
        if (!result.hasSurface(line.at(i))) {
            continue;
        }
        for (std::size_t j = last; j < i && last < line.count; ++j) {
            steps[j] = distanceBetween(result, line.at(last), line.at(i)) / static_cast<double>(i - last);
            known += steps[j];
            ++knownCount;
        }
        last = i;
    }
    double const mean = knownCount > 0 ? known / static_cast<double>(knownCount) : 1.0;
    std::replace(steps.begin(), steps.end(), -1.0, mean);
    return steps;
}

LengthAxis axisOf(Result const& result, std::size_t number, PixelLine const& line) {
    LengthAxis axis{number, {0.0}};
    std::vector<double> const steps = stepsAlong(result, line);
    for (std::size_t i = 0; i < line.count; ++i) {
        double const before = steps.empty() ? 1.0 : steps[i == 0 ? 0 : i - 1];
        double const behind = steps.empty() ? 1.0 : steps[std::min(i, steps.size() - 1)];
        axis.lengths.push_back(axis.lengths.back() + 0.5 * (before + behind));
    }
    return axis;
}

/// The line with most surface; of equal ones that nearest to the middle.
template <class MakeLine>
LengthAxis bestAxis(Result const& result, std::size_t lineCount, MakeLine makeLine) {
    std::size_t best = lineCount / 2;
    std::size_t most = 0;
    std::size_t offMiddle = lineCount;
    for (std::size_t i = 0; i < lineCount; ++i) {
        std::size_t const surface = surfaceIn(result, makeLine(i));
        std::size_t const off = i > lineCount / 2 ? i - lineCount / 2 : lineCount / 2 - i;
        if (surface > most || (surface == most && off < offMiddle)) {
            best = i;
            most = surface;
            offMiddle = off;
        }
    }
    return axisOf(result, best, makeLine(best));
}

} // namespace

double LengthAxis::placeOf(double length) const {
    auto const above = std::lower_bound(lengths.begin(), lengths.end(), length);
    if (above == lengths.begin()) {
        return 0.0;
    }
    if (above == lengths.end()) {
        return static_cast<double>(lengths.size() - 1);
    }
    double const share = (length - *(above - 1)) / (*above - *(above - 1));
    return static_cast<double>(above - lengths.begin() - 1) + share;
}

LengthAxis axisAlongU(Result const& result) {
    return bestAxis(result, result.height, [&](std::size_t v) { return rowOfPixels(result, v); });
}

LengthAxis axisAlongV(Result const& result) {
    return bestAxis(result, result.width, [&](std::size_t u) { return columnOfPixels(result, u); });
}

} // namespace QELT::Inspection
