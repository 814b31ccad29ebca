#include "Inspection/pictures/valuepicture.h"

#include "Inspection/pictures/internal/sheet.h"
#include "Inspection/pictures/internal/statecolours.h"
#include "Inspection/records/numbers.h"

#include <algorithm>
#include <cmath>
#include <iterator>

// A pixel of the result is a square of whole dots. Nothing is averaged: a flaw of one pixel is there. Colours
// of states are none that the maps hold: black, white, grey, pink, orange.

namespace QELT::Inspection {

namespace {

/// What a pixel shows: its own value or that of the one it is filled from. NaN for none.
double shownValue(Result const& result, ValueMap const& map, std::size_t pixel) {
    std::uint32_t const from = result.filledFrom[pixel];
    return map.values[from == Result::none ? pixel : from];
}

std::vector<double> numbersIn(ValueMap const& map) {
    std::vector<double> values;
    std::copy_if(map.values.begin(), map.values.end(), std::back_inserter(values),
                 [](double value) { return std::isfinite(value); });
    return values;
}

std::vector<LegendEntry> legendOf(Result const& result, bool isOfStates, bool isOfSpots) {
    std::array<double, pixelStateCount> areas{};
    std::array<std::size_t, pixelStateCount> counts{};
    double whole = 0.0;
    double filled = 0.0;
    for (std::size_t pixel = 0; pixel < result.size(); ++pixel) {
        auto const state = static_cast<std::size_t>(result.states[pixel]);
        areas[state] += result.areas[pixel];
        ++counts[state];
        whole += result.areas[pixel];
        filled += result.filledFrom[pixel] != Result::none ? result.areas[pixel] : 0.0;
    }
    std::vector<LegendEntry> legend;
    for (std::size_t i = 0; i < pixelStateCount; ++i) {
        auto const state = static_cast<PixelState>(i);
        if (counts[i] == 0 || (state == PixelState::Echo && !isOfStates)) {
            continue;
        }
        std::string const name = nameOf(state);
        legend.push_back({stateColour(state),
                          state == PixelState::NoSurface ? name : name + ": " + shareText(areas[i], whole)});
    }
    if (filled > 0.0 && !isOfStates) {
        std::string const how =
            isOfSpots ? "within the spot of one, for looking alone: " : "shown by the nearest: ";
        legend.push_back({white, "no shot of its own, " + how + shareText(filled, whole), true});
    }
    return legend;
}

Colour colourOfValue(Result const& result, ValueMap const& map, Colouring const& colouring,
                     std::size_t pixel) {
    double const value = shownValue(result, map, pixel);
    bool const isSaturated = result.states[pixel] == PixelState::Saturated && map.ceiling.has_value();
    if (isSaturated || !std::isfinite(value)) {
        return stateColour(result.states[pixel] == PixelState::Echo ? PixelState::NoEcho
                                                                    : result.states[pixel]);
    }
    return colouring(value);
}

/// Marks lie in pixels of the result, v upwards.
void drawMarks(Image& image, PixelDots const& dots, ValuePictureOptions const& options) {
    constexpr int thickness = 3;
    auto const x = [&](FlatPoint const& point) { return dots.x(point.getU()); };
    auto const y = [&](FlatPoint const& point) { return dots.y(point.getV()); };
    for (auto const& outline : options.outlines) {
        for (std::size_t i = 0; i < outline.size(); ++i) {
            FlatPoint const& from = outline[i];
            FlatPoint const& to = outline[(i + 1) % outline.size()];
            image.drawLine(x(from), y(from), x(to), y(to), thickness, white);
            image.drawLine(x(from), y(from), x(to), y(to), 1, black);
        }
    }
    for (auto const& [place, text] : options.labels) {
        drawLabel(image, x(place), y(place), text);
    }
}

std::string titleOf(ValueMap const& map) {
    return map.name + (map.unit.empty() ? "" : " [" + map.unit + "]");
}

std::string rangeNote(std::vector<double> const& values) {
    if (values.empty()) {
        return "no pixel holds a value";
    }
    constexpr int digits = 5;
    auto const [low, high] = std::minmax_element(values.begin(), values.end());
    return std::to_string(values.size()) + " pixels, " + toShortText(*low, digits) + " to " +
           toShortText(*high, digits);
}

std::string countText(std::vector<double> const& values, char const* word, double limit, double sign) {
    auto const count = std::count_if(values.begin(), values.end(),
                                     [&](double value) { return sign * (value - limit) > 0.0; });
    return std::string(word) + ": " + std::to_string(count);
}

} // namespace

ValuePictureOptions usualStyleOf(ValueMap const& map) {
    ValuePictureOptions style;
    if (map.quantity != "residual") {
        return style;
    }
    style.map = ColourMap::Diverging;
    std::vector<double> mirrored = numbersIn(map);
    for (std::size_t i = mirrored.size(); i > 0; --i) {
        mirrored.push_back(-mirrored[i - 1]);
    }
    if (!mirrored.empty()) {
        Scale const scale = scaleFor(mirrored, 0.0);
        style.limits = std::array{scale.low, scale.high};
    }
    return style;
}

Image valuePicture(Result const& result, ValueMap const& map, ValuePictureOptions const& options) {
    PixelDots const dots = pixelDotsOf(result);
    std::vector<double> const values = numbersIn(map);
    SheetContent content;
    content.title = titleOf(map);
    content.notes = {rangeNote(values), scaleNote(result)};
    content.legend = legendOf(result, false, options.isOfSpots);
    Colouring const colouring = colouringOf(values, options);
    content.above = countText(values, "above", colouring.scale.high, 1.0);
    content.below = countText(values, "below", colouring.scale.low, -1.0);
    content.colouring = colouring;
    Image image = pixelMapOf(
        result, dots, [&](std::size_t pixel) { return colourOfValue(result, map, colouring, pixel); },
        [&](std::size_t pixel) { return result.filledFrom[pixel] != Result::none; });
    drawMarks(image, dots, options);
    return sheetOf(result, dots, image, content);
}

Image statePicture(Result const& result) {
    PixelDots const dots = pixelDotsOf(result);
    SheetContent content;
    content.title = "States";
    content.notes = {scaleNote(result)};
    content.legend = legendOf(result, true, false);
    Image const image = pixelMapOf(
        result, dots, [&](std::size_t pixel) { return stateColour(result.states[pixel]); },
        [](std::size_t) { return false; });
    return sheetOf(result, dots, image, content);
}

} // namespace QELT::Inspection
