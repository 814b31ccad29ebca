// Which pixels make an indication.
//
// With one level for all, the indications are the connected components of the pixels that reach it; pixels
// are connected over sides and corners.
//
// With a level of each one's own (a share of its peak, as in the 6 dB drop), the question is which maxima
// have an indication. A maximum m of loudness p stands if nothing as loud as p can be reached from it without
// going below level(p); its indication is the component of the pixels of at least level(p) that holds m. A
// maximum that does not stand lies on the flank of a louder one, and is counted if it lies beside all
// indications. If two standing ones overlapped, the component of the fainter would hold that of the louder,
// and so its peak: so they never do, nor do they touch. Of equally loud maxima that reach each other the
// first in the order of pixels stands for all.
//
// Steps: the pixels are taken from the loudest down and joined to neighbours taken before (union-find; the
// trees of components of A. Meijster and M. Wilkinson, 2002). Where two components meet at a pixel of
// loudness x, the fainter peak p stands if x < level(p). Pixels that are equally loud are taken in their
// order; a plateau has one maximum. What meets nothing louder in the end stands; below the level of the least
// peak nothing can happen any more. Then each standing peak is flooded down to its level.
//
// Cost: the sorting of the pixels above the least level, and time linear in them but for the union-find's
// factor.

#include "Inspection/indications/internal/regions.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

namespace QELT::Inspection {

namespace {

constexpr std::array<std::pair<int, int>, 8> around{
    {{-1, -1}, {0, -1}, {1, -1}, {-1, 0}, {1, 0}, {-1, 1}, {0, 1}, {1, 1}}};

/// Calls `visit` with each neighbour of a pixel whose loudness is known and that is one on the part too.
template <class Visit>
void forNeighbours(ResultSurface const& surface, std::vector<double> const& loudness, std::size_t pixel,
                   Visit const& visit) {
    for (auto const& [du, dv] : around) {
        auto const other = surface.neighbourOf(pixel, du, dv);
        if (other && !std::isnan(loudness[*other]) && surface.areJoined(pixel, *other)) {
            visit(*other);
        }
    }
}

/// Adds the region of all that is at least as loud as `level` around a pixel that is.
void flood(ResultSurface const& surface, std::vector<double> const& loudness, std::size_t seed, double level,
           Regions& regions) {
    auto const label = static_cast<std::uint32_t>(regions.list.size());
    Region region{level, static_cast<std::uint32_t>(seed), {static_cast<std::uint32_t>(seed)}};
    regions.labels[seed] = label;
    for (std::size_t i = 0; i < region.pixels.size(); ++i) {
        forNeighbours(surface, loudness, region.pixels[i], [&](std::size_t other) {
            if (loudness[other] >= level && regions.labels[other] == Regions::none) {
                regions.labels[other] = label;
                region.pixels.push_back(static_cast<std::uint32_t>(other));
            }
        });
    }
    std::sort(region.pixels.begin(), region.pixels.end());
    region.peak = *std::max_element(region.pixels.begin(), region.pixels.end(),
                                    [&](std::size_t a, std::size_t b) { return loudness[a] < loudness[b]; });
    regions.list.push_back(std::move(region));
}

/// Components of the pixels taken so far. A component is named by its loudest pixel.
class Components {
public:
    explicit Components(std::size_t size) : parents(size, Regions::none) {}

    void take(std::uint32_t pixel) { parents[pixel] = pixel; }

    bool isTaken(std::size_t pixel) const { return parents[pixel] != Regions::none; }

    std::uint32_t peakOf(std::size_t pixel) {
        auto root = static_cast<std::uint32_t>(pixel);
        while (parents[root] != root) {
            parents[root] = parents[parents[root]];
            root = parents[root];
        }
        return root;
    }

    void join(std::uint32_t fainter, std::uint32_t louder) { parents[fainter] = louder; }

private:
    std::vector<std::uint32_t> parents;
};

/// Those of at least `least`.
std::vector<std::uint32_t> fromTheLoudestDown(std::vector<double> const& loudness, double least) {
    std::vector<std::uint32_t> order;
    for (std::size_t pixel = 0; pixel < loudness.size(); ++pixel) {
        if (std::isfinite(loudness[pixel]) && loudness[pixel] >= least) {
            order.push_back(static_cast<std::uint32_t>(pixel));
        }
    }
    std::stable_sort(order.begin(), order.end(),
                     [&](std::uint32_t a, std::uint32_t b) { return loudness[a] > loudness[b]; });
    return order;
}

} // namespace

Regions regionsAbove(ResultSurface const& surface, std::vector<double> const& loudness, double level) {
    Regions regions{{}, std::vector<std::uint32_t>(loudness.size(), Regions::none)};
    for (std::size_t pixel = 0; pixel < loudness.size(); ++pixel) {
        if (loudness[pixel] >= level && regions.labels[pixel] == Regions::none) {
            flood(surface, loudness, pixel, level, regions);
        }
    }
    return regions;
}

Regions regionsOfPeaks(ResultSurface const& surface, std::vector<double> const& loudness,
                       std::function<double(double)> const& levelOf, double minPeak) {
    Regions regions{{}, std::vector<std::uint32_t>(loudness.size(), Regions::none)};
    Components components(loudness.size());
    std::vector<std::uint32_t> const order = fromTheLoudestDown(loudness, levelOf(minPeak));
    std::vector<std::uint32_t> rank(loudness.size(), Regions::none);
    std::vector<std::uint32_t> standing;
    std::vector<std::uint32_t> onFlanks;
    auto const meet = [&](std::uint32_t pixel, std::uint32_t peak, std::uint32_t other) {
        bool const isFainter = rank[peak] > rank[other];
        std::uint32_t const fainter = isFainter ? peak : other;
        components.join(fainter, isFainter ? other : peak);
        if (fainter == pixel || loudness[fainter] < minPeak) {
            return;
        }
        if (loudness[pixel] < levelOf(loudness[fainter])) {
            standing.push_back(fainter);
        } else {
            onFlanks.push_back(fainter);
        }
    };
    for (std::uint32_t i = 0; i < order.size(); ++i) {
        std::uint32_t const pixel = order[i];
        components.take(pixel);
        rank[pixel] = i;
        forNeighbours(surface, loudness, pixel, [&](std::size_t other) {
            std::uint32_t const peak = components.peakOf(pixel);
            if (components.isTaken(other) && components.peakOf(other) != peak) {
                meet(pixel, peak, components.peakOf(other));
            }
        });
    }
    for (std::uint32_t const pixel : order) {
        if (components.peakOf(pixel) == pixel && loudness[pixel] >= minPeak) {
            standing.push_back(pixel);
        }
    }
    std::sort(standing.begin(), standing.end());
    for (std::uint32_t const peak : standing) {
        flood(surface, loudness, peak, levelOf(loudness[peak]), regions);
    }
    regions.flanks =
        static_cast<std::size_t>(std::count_if(onFlanks.begin(), onFlanks.end(), [&](std::uint32_t peak) {
            return regions.labels[peak] == Regions::none;
        }));
    return regions;
}

} // namespace QELT::Inspection
