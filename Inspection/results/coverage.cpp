#include "Inspection/results/coverage.h"

#include "Inspection/records/failure.h"
#include "Inspection/results/internal/pixelline.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>
#include <queue>
#include <utility>

// Gaps. Every row and column of pixels is cut into runs of surface, and these into runs between pixels that
// were reached. A run's length is that of the chain of its centres, from the pixel reached before it to the
// one behind it; at a rim or hole it ends half a pixel further, taken as half the last step. A pixel's gap is
// the shorter of its row's and its column's run, so a scan of lines far apart and dense along them has the
// distance of the lines for its gap, not their length.
//
// Where a raster beats with the pixels, single columns may be missed all along; where they cross a line that
// was left out both runs are long, and neither is the gap. So a gap is told as no longer than twice the way
// to the nearest pixel that was reached, and a pixel: what fits between those around it.
//
// Patches. Pixels with a run above the limit are connected over sides; what a patch is large in is true area.
//
// Filling is Dijkstra's search from all pixels reached at once, over the eight neighbours with the distances
// of centres in space: along directions between those it is up to 8 % long, so it reaches a little less far
// than it is told to. Equal distances go to the pixel that comes first.
//
// Cost: linear in pixels; filling, and the median, a logarithm more.

namespace QELT::Inspection {

namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double patchFactor = 1.5;

/// The way from the pixel before a run to the one behind it, which may be the rim.
double lengthAlong(Result const& result, PixelLine const& line, std::size_t begin, std::size_t end) {
    bool const isOpenBefore = begin == 0 || !result.hasSurface(line.at(begin - 1));
    bool const isOpenBehind = end == line.count || !result.hasSurface(line.at(end));
    double length = 0.0;
    double firstStep = 0.0;
    double lastStep = 0.0;
    for (std::size_t i = isOpenBefore ? begin : begin - 1; i + 1 < (isOpenBehind ? end : end + 1); ++i) {
        lastStep = distanceBetween(result, line.at(i), line.at(i + 1));
        firstStep = length == 0.0 ? lastStep : firstStep;
        length += lastStep;
    }
    double const side = std::sqrt(result.areas[line.at(begin)]);
    firstStep = length == 0.0 ? side : firstStep;
    lastStep = length == 0.0 ? side : lastStep;
    return length + (isOpenBefore ? 0.5 * firstStep : 0.0) + (isOpenBehind ? 0.5 * lastStep : 0.0);
}

/// Shortens the gaps of the pixels along a line to its runs.
void takeRuns(Result const& result, PixelLine const& line, std::vector<double>& gaps) {
    auto const isGap = [&](std::size_t i) {
        return result.hasSurface(line.at(i)) && !result.isReached(line.at(i));
    };
    for (std::size_t begin = 0; begin < line.count;) {
        std::size_t end = begin;
        while (end < line.count && isGap(end)) {
            ++end;
        }
        if (end == begin) {
            ++begin;
            continue;
        }
        double const length = lengthAlong(result, line, begin, end);
        for (; begin < end; ++begin) {
            gaps[line.at(begin)] = std::min(gaps[line.at(begin)], length);
        }
    }
}

/// Of each pixel; 0 where it was reached or there is no surface.
std::vector<double> gapsOf(Result const& result) {
    std::vector<double> gaps(result.size(), infinity);
    for (std::size_t v = 0; v < result.height; ++v) {
        takeRuns(result, rowOfPixels(result, v), gaps);
    }
    for (std::size_t u = 0; u < result.width; ++u) {
        takeRuns(result, columnOfPixels(result, u), gaps);
    }
    std::replace(gaps.begin(), gaps.end(), infinity, 0.0);
    return gaps;
}

/// The pixels around one, as far as there are any.
template <class Visit>
void forEachAround(Result const& result, std::size_t pixel, Visit visit) {
    std::size_t const u = pixel % result.width;
    std::size_t const v = pixel / result.width;
    for (std::size_t y = v == 0 ? 0 : v - 1; y <= v + 1 && y < result.height; ++y) {
        for (std::size_t x = u == 0 ? 0 : u - 1; x <= u + 1 && x < result.width; ++x) {
            if (x != u || y != v) {
                visit(result.indexOf(x, y));
            }
        }
    }
}

/// For each pixel the nearest that was reached.
struct NearestReached {
    NearestReached(Result const& newResult, double newLimit)
        : result(newResult),
          limit(newLimit),
          ways(newResult.size(), infinity),
          from(newResult.size(), Result::none) {
        for (std::size_t pixel = 0; pixel < result.size(); ++pixel) {
            if (result.isReached(pixel)) {
                reach(pixel, 0.0, static_cast<std::uint32_t>(pixel));
            }
        }
    }

    void reach(std::size_t pixel, double way, std::uint32_t source) {
        ways[pixel] = way;
        from[pixel] = source;
        front.emplace(way, pixel);
    }

    void spread() {
        while (!front.empty()) {
            auto const [way, pixel] = front.top();
            front.pop();
            if (way <= ways[pixel]) {
                spreadFrom(pixel);
            }
        }
    }

    void spreadFrom(std::size_t pixel) {
        forEachAround(result, pixel, [&](std::size_t next) {
            if (result.hasSurface(next)) {
                double const way = ways[pixel] + distanceBetween(result, pixel, next);
                if (way <= limit && way < ways[next]) {
                    reach(next, way, from[pixel]);
                }
            }
        });
    }

    Result const& result;
    double limit;
    std::vector<double> ways;
    std::vector<std::uint32_t> from;
    std::priority_queue<std::pair<double, std::size_t>, std::vector<std::pair<double, std::size_t>>,
                        std::greater<>>
        front;
};

/// The gaps as they are told, of those along rows and columns.
std::vector<double> toldGapsOf(Result const& result, std::vector<double> const& gaps) {
    NearestReached nearest(result, infinity);
    nearest.spread();
    std::vector<double> told(gaps.size());
    for (std::size_t pixel = 0; pixel < gaps.size(); ++pixel) {
        told[pixel] = std::min(gaps[pixel], 2.0 * nearest.ways[pixel] + std::sqrt(result.areas[pixel]));
    }
    return told;
}

double medianOfSurface(Result const& result, std::vector<double> const& gaps) {
    std::vector<double> onSurface;
    for (std::size_t pixel = 0; pixel < result.size(); ++pixel) {
        if (result.hasSurface(pixel)) {
            onSurface.push_back(gaps[pixel]);
        }
    }
    if (onSurface.empty()) {
        return 0.0;
    }
    auto const middle = onSurface.begin() + static_cast<std::ptrdiff_t>(onSurface.size() / 2);
    std::nth_element(onSurface.begin(), middle, onSurface.end());
    return *middle;
}

std::array<double, 3> placeOf(Result const& result, std::size_t pixel) {
    std::array<double, 3> place{};
    for (std::size_t i = 0; i < place.size(); ++i) {
        place[i] = static_cast<double>(result.points[3 * pixel + i]) - result.move[i];
    }
    return place;
}

void setPlace(Result const& result, std::vector<std::size_t> const& members, UnreachedPatch& patch) {
    auto const placeInRow = [&](std::size_t pixel) { return static_cast<double>(pixel % result.width); };
    auto const rowOf = [&](std::size_t pixel) {
        std::size_t const row = pixel / result.width;
        return static_cast<double>(row);
    };
    double u = 0.0;
    double v = 0.0;
    for (std::size_t const pixel : members) {
        u += placeInRow(pixel);
        v += rowOf(pixel);
    }
    auto const count = static_cast<double>(members.size());
    auto const distance = [&](std::size_t pixel) {
        return std::hypot(placeInRow(pixel) - u / count, rowOf(pixel) - v / count);
    };
    std::size_t const nearest =
        *std::min_element(members.begin(), members.end(),
                          [&](std::size_t a, std::size_t b) { return distance(a) < distance(b); });
    patch.u = nearest % result.width;
    patch.v = nearest / result.width;
    patch.place = placeOf(result, nearest);
}

/// The pixels beside one, as far as there are any.
template <class Visit>
void forEachBeside(Result const& result, std::size_t pixel, Visit visit) {
    std::size_t const u = pixel % result.width;
    std::size_t const v = pixel / result.width;
    if (u > 0) {
        visit(pixel - 1);
    }
    if (u + 1 < result.width) {
        visit(pixel + 1);
    }
    if (v > 0) {
        visit(pixel - result.width);
    }
    if (v + 1 < result.height) {
        visit(pixel + result.width);
    }
}

/// Gaps along rows and columns, and as they are told.
struct Gaps {
    std::vector<double> runs;
    std::vector<double> told;
};

UnreachedPatch patchAround(Result const& result, Gaps const& gaps, double limit, std::size_t start,
                           std::vector<bool>& isTaken) {
    std::vector<std::size_t> members{start};
    isTaken[start] = true;
    UnreachedPatch patch;
    for (std::size_t i = 0; i < members.size(); ++i) {
        patch.area += result.areas[members[i]];
        patch.gap = std::max(patch.gap, gaps.told[members[i]]);
        forEachBeside(result, members[i], [&](std::size_t beside) {
            if (!isTaken[beside] && gaps.runs[beside] > limit) {
                isTaken[beside] = true;
                members.push_back(beside);
            }
        });
    }
    patch.pixelCount = members.size();
    setPlace(result, members, patch);
    return patch;
}

void addPatches(Result const& result, Gaps const& gaps, Coverage& coverage) {
    std::vector<bool> isTaken(result.size(), false);
    for (std::size_t pixel = 0; pixel < result.size(); ++pixel) {
        if (!isTaken[pixel] && gaps.runs[pixel] > coverage.patchGap) {
            UnreachedPatch const patch = patchAround(result, gaps, coverage.patchGap, pixel, isTaken);
            if (patch.gap > coverage.patchGap) {
                coverage.patches.push_back(patch);
            }
        }
    }
    std::stable_sort(coverage.patches.begin(), coverage.patches.end(),
                     [](UnreachedPatch const& a, UnreachedPatch const& b) { return a.area > b.area; });
    coverage.patchCount = coverage.patches.size();
    coverage.patches.resize(std::min(coverage.patches.size(), mostPatches));
}

void addAreas(Result const& result, Coverage& coverage) {
    for (std::size_t pixel = 0; pixel < result.size(); ++pixel) {
        auto const state = static_cast<std::size_t>(result.states[pixel]);
        coverage.areas[state] += result.areas[pixel];
        ++coverage.pixels[state];
        if (result.hasSurface(pixel)) {
            coverage.surfaceArea += result.areas[pixel];
        }
        if (result.isReached(pixel)) {
            coverage.reachedArea += result.areas[pixel];
        }
    }
}

} // namespace

Coverage coverageOf(Result const& result, std::optional<double> requiredGap) {
    Coverage coverage;
    addAreas(result, coverage);
    Gaps gaps{gapsOf(result), {}};
    gaps.told = toldGapsOf(result, gaps.runs);
    coverage.typicalGap = medianOfSurface(result, gaps.runs);
    coverage.patchGap = requiredGap.value_or(patchFactor * coverage.typicalGap);
    addPatches(result, gaps, coverage);
    auto const longest = std::max_element(gaps.told.begin(), gaps.told.end());
    if (longest != gaps.told.end() && *longest > 0.0) {
        auto const pixel = static_cast<std::size_t>(longest - gaps.told.begin());
        coverage.longestGap = *longest;
        coverage.gapU = pixel % result.width;
        coverage.gapV = pixel / result.width;
        coverage.gapPlace = placeOf(result, pixel);
    }
    return coverage;
}

double tornShare(Result const& result, bool areFilledTaken) {
    auto const isMeasured = [&](std::size_t pixel) {
        return result.isReached(pixel) || (areFilledTaken && result.filledFrom[pixel] != Result::none);
    };
    std::size_t measured = 0;
    std::size_t torn = 0;
    for (std::size_t pixel = 0; pixel < result.size(); ++pixel) {
        if (isMeasured(pixel)) {
            bool isTorn = false;
            forEachBeside(result, pixel, [&](std::size_t beside) {
                isTorn = isTorn || (result.hasSurface(beside) && !isMeasured(beside));
            });
            ++measured;
            torn += isTorn ? 1 : 0;
        }
    }
    return measured == 0 ? 0.0 : static_cast<double>(torn) / static_cast<double>(measured);
}

void fill(Result& result, double distance) {
    require(distance > 0.0, "pixels are filled from a distance above 0");
    NearestReached nearest(result, distance);
    nearest.spread();
    for (std::size_t pixel = 0; pixel < result.size(); ++pixel) {
        result.filledFrom[pixel] = result.isReached(pixel) ? Result::none : nearest.from[pixel];
    }
}

} // namespace QELT::Inspection
