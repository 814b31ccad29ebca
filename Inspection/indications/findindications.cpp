// From values to indications.
//
// The value is turned so that louder shows more (loudness.h); the pixels that reach the threshold, or their
// own peak's share, hang together in regions (regions.h); each gets an interpolated rim, an area and a centre
// (rim.h); regions whose rims are near become one indication (rimclusters.h), and what is too small then is
// left out.
//
// The centre is the foot on the surface of the centre of gravity of the area: on a curved part the latter
// lies below the surface, and right below the middle of a round flaw. A mean of u and v would be drawn to
// where the map is stretched.
//
// A beam blurs: seen at a share q of its peak, a reflector that is a point shows a Gaussian beam of half-peak
// width B as wide as B sqrt(log2(1/q)), and a slot as wide as the beam shows widthOfSlot times that. Whatever
// is no wider may be a flaw of any lesser size: its width tells of the beam. What is below B is marked in any
// case.

#include "Inspection/indications/findindications.h"

#include "Inspection/indications/internal/loudness.h"
#include "Inspection/indications/internal/regions.h"
#include "Inspection/indications/internal/resultsurface.h"
#include "Inspection/indications/internal/rim.h"
#include "Inspection/indications/internal/rimclusters.h"
#include "Inspection/indications/internal/unrolling.h"
#include "Inspection/records/failure.h"
#include "Inspection/records/numbers.h"
#include "Inspection/results/amplitudeunits.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <utility>

namespace QELT::Inspection {

namespace {

/// A slot as wide as a Gaussian beam is at half its peak shows this much of that width, at half the slot's
/// peak.
constexpr double widthOfSlot = 1.25;

constexpr int digitsInTexts = 6;

bool isInDecibels(ValueMap const& map) {
    return isDecibel(map.unit);
}

double decibelsOf(double share) {
    return 20.0 * std::log10(share);
}

double shareOfLevel(ValueMap const& map, double level, double share) {
    return isInDecibels(map) ? level + decibelsOf(share) : level * share;
}

bool isOfOwnPeak(IndicationOptions const& options) {
    return options.threshold.isShare && !options.from;
}

/// The level in the value's unit, where it is one for all.
double commonLevel(ValueMap const& map, IndicationOptions const& options) {
    return options.threshold.isShare ? shareOfLevel(map, *options.from, options.threshold.number)
                                     : options.threshold.number;
}

void requireSizes(IndicationOptions const& options) {
    require(options.minArea >= 0.0, "the least area of an indication must not be below zero");
    require(options.merge >= 0.0, "the gap over which indications are merged must not be below zero");
    require(!options.beam || *options.beam > 0.0, "the beam's width must be above zero");
}

void requireThreshold(ValueMap const& map, IndicationOptions const& options) {
    double const number = options.threshold.number;
    require(std::isfinite(number), "the threshold must be a number");
    require(!options.threshold.isShare || number > 0.0, "a threshold that is a share must be above zero");
    require(options.threshold.isShare || !options.from,
            "a threshold in the value's unit is of no level; give it in % or dB");
    if (isOfOwnPeak(options)) {
        require(!options.isBelow, "what lies below a level has no peak to take a share of; give the level "
                                  "that the share is of");
        require(number < 1.0, "a threshold of the own peak must lie below it: less than 100 % or 0 dB");
        return;
    }
    double const level = commonLevel(map, options);
    require(options.isBelow || !map.ceiling || level <= *map.ceiling,
            "the threshold of " + toShortText(level, digitsInTexts) + " lies above the ceiling of " +
                map.name + ", " + toShortText(map.ceiling.value_or(0.0), digitsInTexts) +
                ", from where on all echoes look the same; give one below it");
}

/// Several regions with their rims become one indication.
struct Member {
    std::uint32_t region;
    Extent extent;
    std::vector<Oriented> rim;
};

class Search {
public:
    Search(Result const& searchedResult, IndicationOptions const& searchOptions)
        : result(searchedResult),
          options(searchOptions),
          map(valueMapOf(result, options.value)),
          surface(result),
          sign(options.isBelow ? -1.0 : 1.0) {}

    IndicationSearch run() {
        requireSizes(options);
        requireThreshold(map, options);
        loudness = loudnessOf(result, map, options);
        regions = findRegions();
        IndicationSearch found;
        found.flanks = regions.flanks;
        for (std::vector<Member> const& members : clusters()) {
            Indication indication = indicationOf(members);
            if (indication.area < options.minArea) {
                ++found.tooSmall;
            } else {
                found.indications.push_back(std::move(indication));
            }
        }
        number(found.indications);
        return found;
    }

private:
    Result const& result;
    IndicationOptions const& options;
    ValueMap const& map;
    ResultSurface surface;
    double sign;
    std::vector<double> loudness{};
    Regions regions{};

    Regions findRegions() const {
        if (!isOfOwnPeak(options)) {
            Regions all = regionsAbove(surface, loudness, sign * commonLevel(map, options));
            dropFaint(all);
            return all;
        }
        // Shares of linear values that are not above zero lie above them.
        double const least =
            isInDecibels(map) ? -std::numeric_limits<double>::infinity() : std::numeric_limits<double>::min();
        return regionsOfPeaks(
            surface, loudness, [&](double peak) { return shareOfLevel(map, peak, options.threshold.number); },
            std::max(options.minPeak.value_or(least), least));
    }

    /// Marks regions whose peak does not reach the least one by emptying them.
    void dropFaint(Regions& all) const {
        for (Region& region : all.list) {
            if (options.minPeak && loudness[region.peak] < sign * *options.minPeak) {
                region.pixels.clear();
            }
        }
    }

    Member memberOf(std::uint32_t region) const {
        Member member{region, extentOf(result, surface, loudness, regions, region), {}};
        for (RimPiece const& piece : member.extent.rim) {
            member.rim.push_back({surface.pointAt(piece.pixel, piece.from), surface.normalOf(piece.pixel)});
        }
        return member;
    }

    std::vector<std::vector<Member>> clusters() const {
        std::vector<Member> members;
        for (std::uint32_t region = 0; region < regions.list.size(); ++region) {
            if (!regions.list[region].pixels.empty()) {
                members.push_back(memberOf(region));
            }
        }
        std::vector<std::vector<Oriented>> rims;
        rims.reserve(members.size());
        for (Member const& member : members) {
            rims.push_back(options.merge > 0.0 ? member.rim : std::vector<Oriented>());
        }
        std::vector<std::uint32_t> const firsts = clustersOf(rims, options.merge);
        std::vector<std::vector<Member>> all(members.size());
        for (std::size_t i = 0; i < members.size(); ++i) {
            all[firsts[i]].push_back(std::move(members[i]));
        }
        std::erase_if(all, [](std::vector<Member> const& one) { return one.empty(); });
        return all;
    }

    Indication indicationOf(std::vector<Member> const& members) const {
        Indication indication;
        addPixelsAndArea(indication, members);
        placeCentre(indication, members);
        placePeak(indication, members);
        indication.state = stateOf(indication);
        measure(indication, members);
        lookAround(indication);
        return indication;
    }

    void addPixelsAndArea(Indication& indication, std::vector<Member> const& members) const {
        std::vector<RimPiece> pieces;
        for (Member const& member : members) {
            auto const& pixels = regions.list[member.region].pixels;
            indication.pixels.insert(indication.pixels.end(), pixels.begin(), pixels.end());
            indication.area += member.extent.area;
            pieces.insert(pieces.end(), member.extent.rim.begin(), member.extent.rim.end());
        }
        std::sort(indication.pixels.begin(), indication.pixels.end());
        indication.outlines = chained(pieces);
    }

    void placeCentre(Indication& indication, std::vector<Member> const& members) const {
        Vector moment;
        for (Member const& member : members) {
            moment += member.extent.moment;
        }
        Vector const centre =
            indication.area > 0.0 ? moment / indication.area : surface.pointOf(indication.pixels.front());
        indication.centre = surface.footOf(centre, nearestPixel(indication, centre));
    }

    std::uint32_t nearestPixel(Indication const& indication, Vector const& point) const {
        return *std::min_element(
            indication.pixels.begin(), indication.pixels.end(), [&](std::uint32_t a, std::uint32_t b) {
                return (surface.pointOf(a) - point).lSqr() < (surface.pointOf(b) - point).lSqr();
            });
    }

    /// The loudest pixel; of equally loud ones, the nearest to the centre.
    void placePeak(Indication& indication, std::vector<Member> const& members) const {
        Vector const centre = indication.centre.point + Vector(result.move.data());
        auto const isBetter = [&](std::uint32_t a, std::uint32_t b) {
            return loudness[a] != loudness[b]
                       ? loudness[a] > loudness[b]
                       : (surface.pointOf(a) - centre).lSqr() < (surface.pointOf(b) - centre).lSqr();
        };
        std::uint32_t const peak =
            *std::min_element(indication.pixels.begin(), indication.pixels.end(), isBetter);
        indication.peakPlace = surface.placeOf(peak);
        for (Member const& member : members) {
            if (regions.labels[peak] == member.region) {
                indication.level = sign * regions.list[member.region].level;
            }
        }
        if (std::isfinite(loudness[peak])) {
            indication.peak = sign * loudness[peak];
        }
        indication.depth = valueAt(peak, "depth");
        indication.incidence = valueAt(peak, "incidence");
    }

    std::optional<double> valueAt(std::size_t pixel, char const* quantity) const {
        auto const found = std::find_if(result.values.begin(), result.values.end(),
                                        [&](ValueMap const& one) { return one.quantity == quantity; });
        if (found == result.values.end()) {
            return std::nullopt;
        }
        double const value = found->values[sourceOf(result, pixel, options.doUseFilled)];
        return std::isfinite(value) ? std::optional<double>(value) : std::nullopt;
    }

    PixelState stateOf(Indication const& indication) const {
        auto const has = [&](PixelState state) {
            return std::any_of(indication.pixels.begin(), indication.pixels.end(), [&](std::uint32_t pixel) {
                return result.states[sourceOf(result, pixel, options.doUseFilled)] == state;
            });
        };
        bool const isLost = std::any_of(indication.pixels.begin(), indication.pixels.end(),
                                        [&](std::uint32_t pixel) { return std::isinf(loudness[pixel]); });
        if (isLost) {
            return PixelState::NoEcho;
        }
        return !options.isBelow && has(PixelState::Saturated) ? PixelState::Saturated : PixelState::Echo;
    }

    void measure(Indication& indication, std::vector<Member> const& members) const {
        std::vector<Oriented> rim;
        for (Member const& member : members) {
            rim.insert(rim.end(), member.rim.begin(), member.rim.end());
        }
        Oriented const centre{indication.centre.point + Vector(result.move.data()), indication.centre.normal};
        Sides const sides = smallestRectangle(centre, rim);
        indication.length = sides.length;
        indication.width = sides.width;
        indication.isUnderBeam = options.beam && indication.width < widestOfBeam(indication);
    }

    /// The width at the indication's level up to which it tells of the beam alone.
    double widestOfBeam(Indication const& indication) const {
        double share = 0.5;
        if (!options.isBelow && indication.peak) {
            share = isInDecibels(map) ? std::pow(10.0, (indication.level - *indication.peak) / 20.0)
                                      : indication.level / *indication.peak;
        }
        bool const isShare = share > 0.0 && share <= 1.0;
        double const ofPoint = isShare ? std::sqrt(std::log2(1.0 / share)) : 1.0;
        return *options.beam * std::max(1.0, widthOfSlot * ofPoint);
    }

    void lookAround(Indication& indication) const {
        constexpr std::array<std::pair<int, int>, 8> around{
            {{-1, -1}, {0, -1}, {1, -1}, {-1, 0}, {1, 0}, {-1, 1}, {0, 1}, {1, 1}}};
        for (std::uint32_t const pixel : indication.pixels) {
            for (auto const& [du, dv] : around) {
                auto const other = surface.neighbourOf(pixel, du, dv);
                bool const isSurface = other && result.hasSurface(*other) && surface.areJoined(pixel, *other);
                indication.doesTouchRim |= !isSurface;
                indication.doesTouchUnmeasured |= isSurface && std::isnan(loudness[*other]);
            }
        }
    }

    static void number(std::vector<Indication>& indications) {
        std::stable_sort(indications.begin(), indications.end(),
                         [](Indication const& a, Indication const& b) { return a.area > b.area; });
        for (std::size_t i = 0; i < indications.size(); ++i) {
            indications[i].number = i + 1;
        }
    }
};

} // namespace

IndicationSearch searchIndications(Result const& result, IndicationOptions const& options) {
    return Search(result, options).run();
}

std::vector<Indication> findIndications(Result const& result, IndicationOptions const& options) {
    return searchIndications(result, options).indications;
}

} // namespace QELT::Inspection
