#include "Inspection/pictures/valuepicture.h"

#include "Inspection/pictures/cscanimages.h"
#include "Inspection/pictures/internal/colourmap.h"
#include "Inspection/pictures/internal/font.h"
#include "Inspection/pictures/internal/lengthaxis.h"
#include "Inspection/pictures/internal/scale.h"
#include "Inspection/pictures/internal/statecolours.h"
#include "Inspection/pictures/pngfile.h"
#include "Inspection/records/failure.h"
#include "Inspection/records/internal/announce.h"
#include "Inspection/records/numbers.h"
#include "Inspection/results/resultfile.h"

#include <algorithm>
#include <cmath>

// A pixel of the result is a square of whole dots. Nothing is averaged: a flaw of one pixel is there. Colours
// of states are none that the maps hold: black, white, grey, pink, orange.

namespace QELT::Inspection {

namespace {

constexpr int margin = 24;
constexpr int gap = 12;
constexpr int titleScale = 3;
constexpr int labelScale = 2;
constexpr int lineHeight = glyphHeight * labelScale + 6;
constexpr int barWidth = 28;
constexpr int tickLength = 6;
constexpr int minBarHeight = 240;
constexpr int boxSide = 16;
constexpr std::size_t magnifiedSide = 900;
constexpr double mostPixels = 64e6;
constexpr Colour inkColour{40, 40, 40};

Colour between(Colour const& a, Colour const& b, double share) {
    auto const mixed = [&](std::uint8_t from, std::uint8_t to) {
        return static_cast<std::uint8_t>(std::lround(from + share * (to - from)));
    };
    return {mixed(a.red, b.red), mixed(a.green, b.green), mixed(a.blue, b.blue)};
}

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
        return share < 0.5 ? between(low, middle, 2.0 * share) : between(middle, high, 2.0 * share - 1.0);
    }
    case ColourMap::Colour:
        break;
    }
    return colourOfShare(share);
}

/// What turns values into colours.
struct Colouring {
    Scale scale;
    std::vector<double> bands;
    ColourMap map = ColourMap::Colour;

    /// In bands, that of the middle of the band.
    Colour operator()(double value) const {
        double const share = scale.shareOf(value);
        if (bands.empty()) {
            return colourAt(map, share);
        }
        auto const above = std::upper_bound(bands.begin(), bands.end(), value) - bands.begin();
        auto const last = static_cast<std::ptrdiff_t>(bands.size()) - 2;
        auto const band = std::clamp<std::ptrdiff_t>(above - 1, 0, last);
        return colourAt(map, last == 0 ? 0.5 : static_cast<double>(band) / static_cast<double>(last));
    }
};

void requireRising(std::vector<double> const& numbers, char const* what) {
    bool const isRising = std::adjacent_find(numbers.begin(), numbers.end(),
                                             [](double a, double b) { return !(a < b); }) == numbers.end();
    require(numbers.size() >= 2 && isRising, std::string(what) + " are at least two numbers that rise");
}

/// What a pixel shows: its own value or that of the one it is filled from. NaN for none.
double shownValue(Result const& result, ValueMap const& map, std::size_t pixel) {
    std::uint32_t const from = result.filledFrom[pixel];
    return map.values[from == Result::none ? pixel : from];
}

std::vector<double> shownValues(Result const& result, ValueMap const& map) {
    std::vector<double> values;
    for (std::size_t pixel = 0; pixel < result.size(); ++pixel) {
        if (double const value = map.values[pixel]; std::isfinite(value)) {
            values.push_back(value);
        }
    }
    return values;
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

/// Where ticks of the bar are: at the bands, or at round values between the limits.
std::vector<double> ticksOf(Colouring const& colouring) {
    if (!colouring.bands.empty()) {
        return colouring.bands;
    }
    std::vector<double> ticks;
    Scale const& scale = colouring.scale;
    double const first = std::ceil(scale.low / scale.step - 1e-9);
    for (double i = first; i * scale.step <= scale.high + 1e-9 * scale.step; i += 1.0) {
        ticks.push_back(i * scale.step);
    }
    return ticks;
}

std::string tickText(Colouring const& colouring, double tick) {
    return colouring.bands.empty() ? colouring.scale.labelOf(tick) : toShortText(tick, 6);
}

/// A line of the legend: a colour and what it means.
struct Entry {
    Colour colour;
    std::string text;
    bool isHatched = false;
};

std::string shareText(double part, double whole) {
    constexpr double percent = 100.0;
    return toShortText(whole > 0.0 ? percent * part / whole : 0.0, 3) + " %";
}

std::vector<Entry> legendOf(Result const& result, bool isOfStates, bool isOfSpots) {
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
    std::vector<Entry> legend;
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

int magnificationOf(Result const& result) {
    std::size_t const side = std::max<std::size_t>({result.width, result.height, 1});
    return static_cast<int>(std::clamp<std::size_t>(magnifiedSide / side, 1, 64));
}

/// Draws a pixel; a filled one with every other diagonal of dots towards white.
void drawPixel(Image& image, int left, int top, int side, Colour const& colour, bool isFilled) {
    image.fillRectangle(left, top, side, side, colour);
    if (!isFilled) {
        return;
    }
    constexpr double pale = 0.6;
    constexpr int period = 4;
    for (int y = top; y < top + side; ++y) {
        for (int x = left; x < left + side; ++x) {
            if ((x + y) % period < 2) {
                image.setPixel(x, y, between(colour, white, pale));
            }
        }
    }
}

template <class ColourOfPixel>
Image mapImage(Result const& result, bool doShowFilled, ColourOfPixel colourOf) {
    int const side = magnificationOf(result);
    auto const width = static_cast<int>(result.width);
    auto const height = static_cast<int>(result.height);
    Image image(width * side, height * side);
    for (int v = 0; v < height; ++v) {
        for (int u = 0; u < width; ++u) {
            std::size_t const pixel =
                result.indexOf(static_cast<std::size_t>(u), static_cast<std::size_t>(v));
            bool const isFilled = doShowFilled && result.filledFrom[pixel] != Result::none;
            drawPixel(image, u * side, (height - 1 - v) * side, side, colourOf(pixel), isFilled);
        }
    }
    return image;
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

/// What is drawn around a map.
struct Surround {
    std::string title;
    std::vector<std::string> notes;
    std::vector<Entry> legend;
    std::optional<Colouring> colouring; ///< for the bar
    std::string above;                  ///< how many pixels lie beyond the bar's ends
    std::string below;
};

int labelWidth(std::string const& text) {
    return widthOfText(text) * labelScale;
}

/// Lengths at round steps up to the axis's end.
std::vector<std::pair<double, std::string>> lengthTicks(LengthAxis const& axis) {
    constexpr double few = 6.0;
    Scale const scale = scaleFor({0.0, std::max(axis.length(), 1e-9)}, 0.0);
    std::vector<std::pair<double, std::string>> ticks;
    for (double i = 0.0; i * scale.step <= axis.length() && i <= 4.0 * few; i += 1.0) {
        ticks.emplace_back(axis.placeOf(i * scale.step), scale.labelOf(i * scale.step));
    }
    return ticks;
}

std::string scaleNote(Result const& result) {
    std::vector<double> sides;
    for (std::size_t pixel = 0; pixel < result.size(); ++pixel) {
        if (result.areas[pixel] > 0.0) {
            sides.push_back(std::sqrt(result.areas[pixel]));
        }
    }
    if (sides.empty()) {
        return "no surface";
    }
    std::sort(sides.begin(), sides.end());
    auto const at = [&](double share) {
        return toShortText(sides[static_cast<std::size_t>(share * static_cast<double>(sides.size() - 1))], 3);
    };
    std::string const unit = result.unit.empty() ? "" : " " + result.unit;
    return "a pixel is " + at(0.025) + " to " + at(0.975) + unit + " wide on the part (95 % within), " +
           at(0.0) + " to " + at(1.0) + unit + " at the most";
}

/// The picture put together.
class Sheet {
public:
    Sheet(Result const& newResult, Image const& newMap, Surround const& newFrame)
        : result(newResult),
          map(newMap),
          frame(newFrame),
          alongU(axisAlongU(newResult)),
          alongV(axisAlongV(newResult)) {
        int widest = 0;
        for (auto const& [place, text] : lengthTicks(alongV)) {
            widest = std::max(widest, labelWidth(text));
        }
        mapLeft = margin + lineHeight + widest + tickLength + gap;
        mapTop = margin + glyphHeight * titleScale + gap;
        barLeft = mapLeft + map.getWidth() + 2 * gap;
        barHeight = std::max(map.getHeight(), minBarHeight);
        notesTop = mapTop + std::max(barHeight + lineHeight, map.getHeight()) + 3 * lineHeight;
    }

    Image draw() const {
        Image image(width(), notesTop +
                                 static_cast<int>(frame.notes.size() + frame.legend.size()) * lineHeight +
                                 margin);
        image.drawText(margin, margin, frame.title, titleScale, black);
        image.paste(map, mapLeft, mapTop);
        image.drawFrame(mapLeft, mapTop, map.getWidth(), map.getHeight(), inkColour);
        drawAxes(image);
        if (frame.colouring) {
            drawBar(image);
        }
        drawNotes(image);
        return image;
    }

private:
    Result const& result;
    Image const& map;
    Surround const& frame;
    LengthAxis alongU;
    LengthAxis alongV;
    int mapLeft = 0;
    int mapTop = 0;
    int barLeft = 0;
    int barHeight = 0;
    int notesTop = 0;

    int width() const {
        int right = barLeft;
        if (frame.colouring) {
            int widest = std::max(labelWidth(frame.above), labelWidth(frame.below));
            for (double const tick : ticksOf(*frame.colouring)) {
                widest = std::max(widest, labelWidth(tickText(*frame.colouring, tick)));
            }
            right = barLeft + barWidth + tickLength + gap + widest;
        }
        right = std::max(right, margin + widthOfText(frame.title) * titleScale);
        for (std::string const& note : frame.notes) {
            right = std::max(right, margin + labelWidth(note));
        }
        for (Entry const& entry : frame.legend) {
            right = std::max(right, margin + boxSide + gap + labelWidth(entry.text));
        }
        return right + margin;
    }

    std::string axisText(char const* name, char const* across, LengthAxis const& axis) const {
        return std::string(name) + ": length on the part along " + across + " = " +
               std::to_string(axis.line) + (result.unit.empty() ? "" : " [" + result.unit + "]");
    }

    void drawAxes(Image& image) const {
        int const side = magnificationOf(result);
        int const bottom = mapTop + map.getHeight();
        for (auto const& [place, text] : lengthTicks(alongU)) {
            int const x = mapLeft + static_cast<int>(std::lround(place * side));
            image.fillRectangle(x, bottom, 1, tickLength, inkColour);
            image.drawText(x - labelWidth(text) / 2, bottom + tickLength + 2, text, labelScale, inkColour);
        }
        for (auto const& [place, text] : lengthTicks(alongV)) {
            int const y = bottom - static_cast<int>(std::lround(place * side));
            image.fillRectangle(mapLeft - tickLength, y, tickLength, 1, inkColour);
            image.drawText(mapLeft - tickLength - 4 - labelWidth(text), y - 7 * labelScale / 2, text,
                           labelScale, inkColour);
        }
        image.drawText(mapLeft, bottom + tickLength + lineHeight, axisText("u", "row v", alongU), labelScale,
                       inkColour);
        image.drawText(mapLeft, bottom + tickLength + 2 * lineHeight, axisText("v", "column u", alongV),
                       labelScale, inkColour);
    }

    void drawBar(Image& image) const {
        Scale const& scale = frame.colouring->scale;
        for (int y = 0; y < barHeight; ++y) {
            double const share = 1.0 - (static_cast<double>(y) + 0.5) / barHeight;
            image.fillRectangle(barLeft, mapTop + y, barWidth, 1,
                                (*frame.colouring)(scale.low + share * (scale.high - scale.low)));
        }
        image.drawFrame(barLeft, mapTop, barWidth, barHeight, inkColour);
        int const right = barLeft + barWidth;
        for (double const tick : ticksOf(*frame.colouring)) {
            int const y =
                mapTop + static_cast<int>(std::lround((1.0 - scale.shareOf(tick)) * (barHeight - 1)));
            image.fillRectangle(right, y, tickLength, 1, inkColour);
            image.drawText(right + tickLength + gap / 2, y - 7 * labelScale / 2,
                           tickText(*frame.colouring, tick), labelScale, inkColour);
        }
        image.drawText(barLeft, mapTop - lineHeight, frame.above, labelScale, inkColour);
        image.drawText(barLeft, mapTop + barHeight + gap, frame.below, labelScale, inkColour);
    }

    void drawNotes(Image& image) const {
        int top = notesTop;
        for (std::string const& note : frame.notes) {
            image.drawText(margin, top, note, labelScale, inkColour);
            top += lineHeight;
        }
        for (Entry const& entry : frame.legend) {
            drawPixel(image, margin, top, boxSide, entry.isHatched ? colourOfShare(0.5) : entry.colour,
                      entry.isHatched);
            image.drawFrame(margin, top, boxSide, boxSide, inkColour);
            image.drawText(margin + boxSide + gap, top, entry.text, labelScale, inkColour);
            top += lineHeight;
        }
    }
};

/// Marks lie in pixels of the result, v upwards.
void drawMarks(Image& image, Result const& result, ValuePictureOptions const& options) {
    constexpr int thickness = 3;
    double const side = magnificationOf(result);
    auto const x = [&](FlatPoint const& point) { return point.getU() * side; };
    auto const y = [&](FlatPoint const& point) { return image.getHeight() - point.getV() * side; };
    for (auto const& outline : options.outlines) {
        for (std::size_t i = 0; i < outline.size(); ++i) {
            FlatPoint const& from = outline[i];
            FlatPoint const& to = outline[(i + 1) % outline.size()];
            image.drawLine(x(from), y(from), x(to), y(to), thickness, white);
            image.drawLine(x(from), y(from), x(to), y(to), 1, black);
        }
    }
    for (auto const& [place, text] : options.labels) {
        // Within the map, also where the place is at its rim.
        constexpr int border = 4;
        int const right = image.getWidth() - labelWidth(text) - border;
        int const bottom = image.getHeight() - 7 * labelScale - border;
        int const left = std::max(std::min(static_cast<int>(x(place)) + gap / 2, right), border);
        int const top = std::max(std::min(static_cast<int>(y(place)) - lineHeight, bottom), border);
        image.fillRectangle(left - 3, top - 3, labelWidth(text) + 6, 7 * labelScale + 6, white);
        image.drawFrame(left - 3, top - 3, labelWidth(text) + 6, 7 * labelScale + 6, inkColour);
        image.drawText(left, top, text, labelScale, black);
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

void requireBearable(Result const& result) {
    require(static_cast<double>(result.size()) <= mostPixels,
            "the result has too many pixels for a picture: " + std::to_string(result.size()));
}

} // namespace

Image valuePicture(Result const& result, ValueMap const& map, ValuePictureOptions const& options) {
    requireBearable(result);
    std::vector<double> const values = shownValues(result, map);
    Surround frame;
    frame.colouring = colouringOf(values, options);
    frame.title = titleOf(map);
    frame.notes = {rangeNote(values), scaleNote(result)};
    frame.legend = legendOf(result, false, options.isOfSpots);
    frame.above = countText(values, "above", frame.colouring->scale.high, 1.0);
    frame.below = countText(values, "below", frame.colouring->scale.low, -1.0);
    Image image = mapImage(
        result, true, [&](std::size_t pixel) { return colourOfValue(result, map, *frame.colouring, pixel); });
    drawMarks(image, result, options);
    return Sheet(result, image, frame).draw();
}

Image statePicture(Result const& result) {
    requireBearable(result);
    Surround frame;
    frame.title = "States";
    frame.notes = {scaleNote(result)};
    frame.legend = legendOf(result, true, false);
    Image const image =
        mapImage(result, false, [&](std::size_t pixel) { return stateColour(result.states[pixel]); });
    return Sheet(result, image, frame).draw();
}

namespace {

/// A name that may stand in a file's.
std::string fileNameOf(std::string name) {
    std::replace_if(
        name.begin(), name.end(),
        [](unsigned char letter) { return std::isalnum(letter) == 0 && letter != '.' && letter != '_'; },
        '-');
    return name;
}

/// Which pictures there are is known with the table's columns only.
void writePictures(DrawnMeasuredScanOptions const& options, DrawnMeasuredScan& drawn, Outputs& outputs,
                   ProgressListener* listener) {
    std::vector<std::string> names;
    for (ValueMap const& map : drawn.scan.result.values) {
        names.push_back(fileNameOf(map.name));
    }
    names.emplace_back("states");
    drawn.images = imagePaths(options.imagePrefix, names);
    for (auto const& image : drawn.images) {
        outputs.add(image);
    }
    for (std::size_t i = 0; i < drawn.images.size(); ++i) {
        checkpoint(listener);
        bool const isOfStates = i == drawn.scan.result.values.size();
        writePng(outputs.at(drawn.images[i]),
                 isOfStates ? statePicture(drawn.scan.result)
                            : valuePicture(drawn.scan.result, drawn.scan.result.values[i]));
    }
}

} // namespace

DrawnMeasuredScan drawMeasuredScan(DrawnMeasuredScanOptions const& options, ProgressListener* listener) {
    Record record("scan");
    Outputs outputs(record);
    addMeasuredScanFiles(options.scan, record, outputs);
    DrawnMeasuredScan drawn{measuredScan(options.scan, listener, record, outputs), {}};
    if (!options.imagePrefix.empty()) {
        announce(listener, "Drawing...");
        writePictures(options, drawn, outputs, listener);
    }
    outputs.commit(listener);
    return drawn;
}

void drawResult(PictureOptions const& options, ProgressListener* listener) {
    Record record("picture");
    record.addInput(options.result);
    record.setting("value", options.value);
    if (options.style.limits) {
        record.setting("limits", std::vector{(*options.style.limits)[0], (*options.style.limits)[1]});
    }
    record.setting("bands", options.style.bands);
    Outputs outputs(record);
    outputs.add(options.image);
    record.setting("spot", options.spot);
    Result result = readResult(options.result);
    ValuePictureOptions style = options.style;
    if (options.spot) {
        fill(result, 0.5 * *options.spot);
        style.isOfSpots = true;
    }
    Image const image = options.value.empty()
                            ? statePicture(result)
                            : valuePicture(result, valueMapOf(result, options.value), style);
    writePng(outputs.at(options.image), image);
    outputs.commit(listener);
}

} // namespace QELT::Inspection
