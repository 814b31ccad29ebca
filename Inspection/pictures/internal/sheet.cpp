#include "Inspection/pictures/internal/sheet.h"

#include "Inspection/pictures/internal/colourmap.h"
#include "Inspection/pictures/internal/layout.h"
#include "Inspection/pictures/internal/lengthaxis.h"
#include "Inspection/records/numbers.h"

#include <algorithm>
#include <cmath>

namespace QELT::Inspection {

namespace {

constexpr int lineHeight = labelHeight + 6;
constexpr int minBarHeight = 240;

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

/// The picture put together.
class Sheet {
public:
    Sheet(Result const& newResult, PixelDots const& newDots, Image const& newMap,
          SheetContent const& newContent)
        : result(newResult),
          dots(newDots),
          map(newMap),
          content(newContent),
          alongU(axisAlongU(newResult)),
          alongV(axisAlongV(newResult)) {
        int widest = 0;
        for (auto const& [place, text] : lengthTicks(alongV)) {
            widest = std::max(widest, labelWidth(text));
        }
        mapLeft = pictureMargin + lineHeight + widest + tickLength + pictureGap;
        mapTop = pictureMargin + glyphHeight * titleScale + pictureGap;
        barLeft = mapLeft + map.getWidth() + 2 * pictureGap;
        barHeight = std::max(map.getHeight(), minBarHeight);
        notesTop = mapTop + std::max(barHeight + lineHeight, map.getHeight()) + 3 * lineHeight;
    }

    Image draw() const {
        Image image(width(), notesTop +
                                 static_cast<int>(content.notes.size() + content.legend.size()) * lineHeight +
                                 pictureMargin);
        image.drawText(pictureMargin, pictureMargin, content.title, titleScale, black);
        image.paste(map, mapLeft, mapTop);
        image.drawFrame(mapLeft, mapTop, map.getWidth(), map.getHeight(), inkColour);
        drawAxes(image);
        if (content.colouring) {
            drawBar(image);
        }
        drawNotes(image);
        return image;
    }

private:
    Result const& result;
    PixelDots const& dots;
    Image const& map;
    SheetContent const& content;
    LengthAxis alongU;
    LengthAxis alongV;
    int mapLeft = 0;
    int mapTop = 0;
    int barLeft = 0;
    int barHeight = 0;
    int notesTop = 0;

    int width() const {
        int right = barLeft;
        if (content.colouring) {
            int widest = std::max(labelWidth(content.above), labelWidth(content.below));
            for (double const tick : content.colouring->ticks()) {
                widest = std::max(widest, labelWidth(content.colouring->labelOf(tick)));
            }
            right = barLeft + barWidth + tickLength + pictureGap + widest;
        }
        right = std::max(right, pictureMargin + widthOfText(content.title) * titleScale);
        for (std::string const& note : content.notes) {
            right = std::max(right, pictureMargin + labelWidth(note));
        }
        for (LegendEntry const& entry : content.legend) {
            right = std::max(right, pictureMargin + swatchSide + pictureGap + labelWidth(entry.text));
        }
        return right + pictureMargin;
    }

    std::string axisText(char const* name, char const* across, LengthAxis const& axis) const {
        return std::string(name) + ": length on the part along " + across + " = " +
               std::to_string(axis.line) + (result.unit.empty() ? "" : " [" + result.unit + "]");
    }

    void drawAxes(Image& image) const {
        int const bottom = mapTop + map.getHeight();
        for (auto const& [place, text] : lengthTicks(alongU)) {
            int const x = mapLeft + static_cast<int>(std::lround(dots.x(place)));
            image.fillRectangle(x, bottom, 1, tickLength, inkColour);
            image.drawText(x - labelWidth(text) / 2, bottom + tickLength + 2, text, labelScale, inkColour);
        }
        for (auto const& [place, text] : lengthTicks(alongV)) {
            int const y = bottom - static_cast<int>(std::lround((place + dots.borderV) * dots.side));
            image.fillRectangle(mapLeft - tickLength, y, tickLength, 1, inkColour);
            image.drawText(mapLeft - tickLength - 4 - labelWidth(text), y - capitalHeight / 2, text,
                           labelScale, inkColour);
        }
        image.drawText(mapLeft, bottom + tickLength + lineHeight, axisText("u", "row v", alongU), labelScale,
                       inkColour);
        image.drawText(mapLeft, bottom + tickLength + 2 * lineHeight, axisText("v", "column u", alongV),
                       labelScale, inkColour);
    }

    void drawBar(Image& image) const {
        Scale const& scale = content.colouring->scale;
        for (int y = 0; y < barHeight; ++y) {
            double const share = 1.0 - (static_cast<double>(y) + 0.5) / barHeight;
            image.fillRectangle(barLeft, mapTop + y, barWidth, 1,
                                (*content.colouring)(scale.low + share * (scale.high - scale.low)));
        }
        image.drawFrame(barLeft, mapTop, barWidth, barHeight, inkColour);
        int const right = barLeft + barWidth;
        for (double const tick : content.colouring->ticks()) {
            int const y =
                mapTop + static_cast<int>(std::lround((1.0 - scale.shareOf(tick)) * (barHeight - 1)));
            image.fillRectangle(right, y, tickLength, 1, inkColour);
            image.drawText(right + tickLength + pictureGap / 2, y - capitalHeight / 2,
                           content.colouring->labelOf(tick), labelScale, inkColour);
        }
        image.drawText(barLeft, mapTop - lineHeight, content.above, labelScale, inkColour);
        image.drawText(barLeft, mapTop + barHeight + pictureGap, content.below, labelScale, inkColour);
    }

    static void drawSwatch(Image& image, int top, LegendEntry const& entry) {
        if (entry.symbol) {
            image.paste(*entry.symbol, pictureMargin, top);
        } else {
            drawPixel(image, pictureMargin, top, swatchSide,
                      entry.isHatched ? colourOfShare(0.5) : entry.colour, entry.isHatched);
        }
        image.drawFrame(pictureMargin, top, swatchSide, swatchSide, inkColour);
    }

    void drawNotes(Image& image) const {
        int top = notesTop;
        for (std::string const& note : content.notes) {
            image.drawText(pictureMargin, top, note, labelScale, inkColour);
            top += lineHeight;
        }
        for (LegendEntry const& entry : content.legend) {
            drawSwatch(image, top, entry);
            image.drawText(pictureMargin + swatchSide + pictureGap, top, entry.text, labelScale, inkColour);
            top += lineHeight;
        }
    }
};

} // namespace

Image sheetOf(Result const& result, PixelDots const& dots, Image const& map, SheetContent const& content) {
    return Sheet(result, dots, map, content).draw();
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

std::string shareText(double part, double whole) {
    constexpr double percent = 100.0;
    return toShortText(whole > 0.0 ? percent * part / whole : 0.0, 3) + " %";
}

} // namespace QELT::Inspection
