#include "Inspection/pictures/internal/figure.h"

#include "Inspection/pictures/internal/colourmap.h"
#include "Inspection/pictures/internal/layout.h"

#include <algorithm>

namespace QELT::Inspection {

namespace {

constexpr int lineHeight = labelHeight + 4;
constexpr int minBarHeight = 200;
constexpr int outlineThickness = 3;

std::size_t reductionOf(QuadMap const& map) {
    std::size_t const side = std::max(map.getWidth(), map.getHeight());
    return std::max<std::size_t>((side + longestSide - 1) / longestSide, 1);
}

Colour colourOf(Cell const& cell, Scale const& scale) {
    switch (cell.kind) {
    case Cell::NoSurface:
        return noSurfaceColour;
    case Cell::NoValue:
        return noValueColour;
    case Cell::Measured:
        break;
    }
    return colourOfShare(scale.shareOf(cell.value));
}

Image pixelsOf(QuadMap const& map, Scale const& scale) {
    int const magnification = magnificationOf(map.getWidth(), map.getHeight());
    auto const width = static_cast<int>(map.getWidth());
    auto const height = static_cast<int>(map.getHeight());
    Image image(width * magnification, height * magnification);
    for (int v = 0; v < height; ++v) {
        for (int u = 0; u < width; ++u) {
            Cell const& cell = map.at(static_cast<std::size_t>(u), static_cast<std::size_t>(v));
            image.fillRectangle(u * magnification, (height - 1 - v) * magnification, magnification,
                                magnification, colourOf(cell, scale));
        }
    }
    return image;
}

/// Draws closed lines over a map in which a quad has a side of `pixelsPerQuad`.
void drawOutlines(Image& map, std::vector<std::vector<FlatPoint>> const& outlines, double pixelsPerQuad) {
    auto const x = [&](FlatPoint const& point) { return point.getU() * pixelsPerQuad; };
    auto const y = [&](FlatPoint const& point) { return map.getHeight() - point.getV() * pixelsPerQuad; };
    for (auto const& outline : outlines) {
        for (std::size_t i = 0; i < outline.size(); ++i) {
            FlatPoint const& from = outline[i];
            FlatPoint const& to = outline[(i + 1) % outline.size()];
            map.drawLine(x(from), y(from), x(to), y(to), outlineThickness, black);
        }
    }
}

/// Where the parts of the picture go, in pixels.
struct Layout {
    int mapLeft = 0;
    int mapTop = 0;
    int mapWidth = 0;
    int mapHeight = 0;
    int barLeft = 0;
    int barHeight = 0;
    int noteTop = 0;
    int width = 0;
    int height = 0;
};

int widestTickLabel(Scale const& scale) {
    int widest = 0;
    for (double const tick : scale.ticks()) {
        widest = std::max(widest, labelWidth(scale.labelOf(tick)));
    }
    return widest;
}

bool hasKind(QuadMap const& quads, Cell::Kind kind) {
    for (std::size_t v = 0; v < quads.getHeight(); ++v) {
        for (std::size_t u = 0; u < quads.getWidth(); ++u) {
            if (quads.at(u, v).kind == kind) {
                return true;
            }
        }
    }
    return false;
}

/// What the colours mean that are not on the bar.
std::string legendOf(QuadMap const& quads) {
    std::string legend = hasKind(quads, Cell::NoSurface) ? "grey: no surface  " : "";
    return legend + (hasKind(quads, Cell::NoValue) ? "white: no value" : "");
}

Layout layoutOf(Image const& map, QuadMap const& quads, FigureStyle const& style) {
    Layout layout;
    layout.mapLeft = pictureMargin + labelWidth(std::to_string(quads.getHeight())) + pictureGap;
    layout.mapTop = pictureMargin + glyphHeight * titleScale + pictureGap;
    layout.mapWidth = map.getWidth();
    layout.mapHeight = map.getHeight();
    layout.barLeft = layout.mapLeft + layout.mapWidth + 2 * pictureGap;
    layout.barHeight = std::max(layout.mapHeight, minBarHeight);
    layout.noteTop = layout.mapTop + layout.barHeight + pictureGap + lineHeight;
    int const barRight = layout.barLeft + barWidth + tickLength + pictureGap + widestTickLabel(style.scale);
    int const textRight = pictureMargin + std::max({widthOfText(style.title) * titleScale,
                                                    labelWidth(style.note), labelWidth(legendOf(quads))});
    layout.width = std::max(barRight, textRight) + pictureMargin;
    layout.height = layout.noteTop + 2 * lineHeight + pictureMargin;
    return layout;
}

void drawBar(Image& image, Layout const& layout, Scale const& scale) {
    int const height = layout.barHeight;
    for (int y = 0; y < height; ++y) {
        double const share = 1.0 - static_cast<double>(y) / (height - 1);
        image.fillRectangle(layout.barLeft, layout.mapTop + y, barWidth, 1, colourOfShare(share));
    }
    image.drawFrame(layout.barLeft, layout.mapTop, barWidth, height, inkColour);
    int const right = layout.barLeft + barWidth;
    for (double const tick : scale.ticks()) {
        int const y = layout.mapTop + static_cast<int>((1.0 - scale.shareOf(tick)) * (height - 1) + 0.5);
        image.fillRectangle(right, y, tickLength, 1, inkColour);
        image.drawText(right + tickLength + pictureGap / 2, y - capitalHeight / 2, scale.labelOf(tick),
                       labelScale, inkColour);
    }
}

/// The names of the axes and the number of quads along them.
void drawAxes(Image& image, Layout const& layout, QuadMap const& quads) {
    int const bottom = layout.mapTop + layout.mapHeight;
    int const below = bottom + pictureGap / 2;
    std::string const uCount = std::to_string(quads.getWidth());
    std::string const vCount = std::to_string(quads.getHeight());
    int const leftOfMap = layout.mapLeft - pictureGap / 2;
    image.drawText(layout.mapLeft, below, "0", labelScale, inkColour);
    image.drawText(layout.mapLeft + layout.mapWidth / 2, below, "u", labelScale, inkColour);
    image.drawText(layout.mapLeft + layout.mapWidth - labelWidth(uCount), below, uCount, labelScale,
                   inkColour);
    image.drawText(leftOfMap - labelWidth("0"), bottom - capitalHeight, "0", labelScale, inkColour);
    image.drawText(leftOfMap - labelWidth("v"), layout.mapTop + layout.mapHeight / 2, "v", labelScale,
                   inkColour);
    image.drawText(leftOfMap - labelWidth(vCount), layout.mapTop, vCount, labelScale, inkColour);
}

} // namespace

Image figureOf(QuadMap const& quads, FigureStyle const& style) {
    std::size_t const reduction = reductionOf(quads);
    QuadMap const shown = quads.averaged(reduction);
    Image map = pixelsOf(shown, style.scale);
    drawOutlines(map, style.outlines,
                 static_cast<double>(magnificationOf(shown.getWidth(), shown.getHeight())) /
                     static_cast<double>(reduction));
    Layout const layout = layoutOf(map, quads, style);
    Image image(layout.width, layout.height);
    image.drawText(pictureMargin, pictureMargin, style.title, titleScale, black);
    image.paste(map, layout.mapLeft, layout.mapTop);
    image.drawFrame(layout.mapLeft, layout.mapTop, layout.mapWidth, layout.mapHeight, inkColour);
    drawBar(image, layout, style.scale);
    drawAxes(image, layout, quads);
    image.drawText(pictureMargin, layout.noteTop, style.note, labelScale, inkColour);
    image.drawText(pictureMargin, layout.noteTop + lineHeight, legendOf(quads), labelScale, inkColour);
    return image;
}

} // namespace QELT::Inspection
