#include "Inspection/pictures/internal/colouring.h"

#include "Inspection/pictures/internal/colourmap.h"
#include "Inspection/records/failure.h"
#include "Inspection/records/numbers.h"

#include <algorithm>
#include <cmath>

namespace QELT::Inspection {

namespace {

Colour colourAt(ColourMap map, double share) {
    switch (map) {
    case ColourMap::Grey: {
        auto const level = static_cast<std::uint8_t>(std::lround(30.0 + 215.0 * share));
        return {level, level, level};
    }
    case ColourMap::Diverging: {
        constexpr Colour low{40, 80, 180};
        constexpr Colour middle{244, 242, 238};
        constexpr Colour high{180, 40, 40};
        return share < 0.5 ? colourBetween(low, middle, 2.0 * share)
                           : colourBetween(middle, high, 2.0 * share - 1.0);
    }
    case ColourMap::Colour:
        break;
    }
    return colourOfShare(share);
}

void requireRising(std::vector<double> const& numbers, char const* what) {
    bool const isRising = std::adjacent_find(numbers.begin(), numbers.end(),
                                             [](double a, double b) { return !(a < b); }) == numbers.end();
    require(numbers.size() >= 2 && isRising, std::string(what) + " are at least two numbers that rise");
}

} // namespace

Colour colourBetween(Colour const& a, Colour const& b, double share) {
    auto const mixed = [&](std::uint8_t from, std::uint8_t to) {
        return static_cast<std::uint8_t>(std::lround(from + share * (to - from)));
    };
    return {mixed(a.red, b.red), mixed(a.green, b.green), mixed(a.blue, b.blue)};
}

Colour Colouring::operator()(double value) const {
    double const share = scale.shareOf(value);
    if (bands.empty()) {
        return colourAt(map, share);
    }
    auto const above = std::upper_bound(bands.begin(), bands.end(), value) - bands.begin();
    auto const last = static_cast<std::ptrdiff_t>(bands.size()) - 2;
    auto const band = std::clamp<std::ptrdiff_t>(above - 1, 0, last);
    return colourAt(map, last == 0 ? 0.5 : static_cast<double>(band) / static_cast<double>(last));
}

std::vector<double> Colouring::ticks() const {
    if (!bands.empty()) {
        return bands;
    }
    std::vector<double> places;
    double const first = std::ceil(scale.low / scale.step - 1e-9);
    for (double i = first; i * scale.step <= scale.high + 1e-9 * scale.step; i += 1.0) {
        places.push_back(i * scale.step);
    }
    return places;
}

std::string Colouring::labelOf(double tick) const {
    return bands.empty() ? scale.labelOf(tick) : toShortText(tick, 6);
}

Colouring colouringOf(std::vector<double> const& values, ValuePictureOptions const& options) {
    Colouring colouring{{}, options.bands, options.map};
    if (!options.bands.empty()) {
        requireRising(options.bands, "bands");
        colouring.scale.low = options.bands.front();
        colouring.scale.high = options.bands.back();
        colouring.scale.step = (colouring.scale.high - colouring.scale.low);
    } else if (options.limits) {
        requireRising({(*options.limits)[0], (*options.limits)[1]}, "limits");
        colouring.scale = scaleFor({(*options.limits)[0], (*options.limits)[1]}, 0.0);
        colouring.scale.low = (*options.limits)[0];
        colouring.scale.high = (*options.limits)[1];
    } else {
        colouring.scale = scaleFor(values, 0.0);
    }
    return colouring;
}

} // namespace QELT::Inspection
