#include "Inspection/pictures/internal/pathmarks.h"

#include "Inspection/pictures/internal/layout.h"
#include "Inspection/pictures/internal/pixelmap.h"

#include <algorithm>
#include <cmath>

namespace QELT::Inspection {

namespace {

using Place = std::array<double, 2>;

Colour colourOf(Stretch stretch) {
    switch (stretch) {
    case Stretch::Overshoot:
        return overshootColour;
    case Stretch::Turn:
        return turnColour;
    case Stretch::Link:
        return linkColour;
    case Stretch::Lifted:
        return liftedColour;
    case Stretch::Line:
        break;
    }
    return lineColour;
}

void drawBetween(Image& image, Place const& from, Place const& to, int thickness, Colour colour) {
    image.drawLine(from[0], from[1], to[0], to[1], thickness, colour);
}

Place onTheWay(Place const& from, Place const& to, double share) {
    return {from[0] + share * (to[0] - from[0]), from[1] + share * (to[1] - from[1])};
}

void drawDashed(Image& image, Place const& from, Place const& to, int thickness, Colour colour) {
    constexpr double period = 14.0;
    constexpr double dash = 7.0;
    double const length = std::hypot(to[0] - from[0], to[1] - from[1]);
    for (double start = 0.0; start < length; start += period) {
        drawBetween(image, onTheWay(from, to, start / length),
                    onTheWay(from, to, std::min(start + dash, length) / length), thickness, colour);
    }
}

/// The dots whose distance from a place lies between the radii.
void drawRing(Image& image, Place const& place, double inner, double outer, Colour colour) {
    auto const reach = static_cast<int>(std::ceil(outer));
    auto const middleX = static_cast<int>(std::lround(place[0]));
    auto const middleY = static_cast<int>(std::lround(place[1]));
    for (int y = -reach; y <= reach; ++y) {
        for (int x = -reach; x <= reach; ++x) {
            double const distance = std::hypot(x, y);
            if (distance >= inner && distance <= outer) {
                image.setPixel(middleX + x, middleY + y, colour);
            }
        }
    }
}

void drawSquare(Image& image, Place const& place, int side, Colour colour) {
    image.fillRectangle(static_cast<int>(std::lround(place[0])) - side / 2,
                        static_cast<int>(std::lround(place[1])) - side / 2, side, side, colour);
}

void drawCross(Image& image, Place const& place, double reach, Colour colour) {
    constexpr int thickness = 2;
    image.drawLine(place[0] - reach, place[1] - reach, place[0] + reach, place[1] + reach, thickness, colour);
    image.drawLine(place[0] - reach, place[1] + reach, place[0] + reach, place[1] - reach, thickness, colour);
}

void drawDiamond(Image& image, Place const& place, double reach, Colour colour) {
    double const y[3]{place[1], place[1] - reach, place[1] + reach};
    double const left[3]{place[0] - reach, place[0], place[0]};
    double const right[3]{place[0] + reach, place[0], place[0]};
    image.fillTriangle(left, y, colour);
    image.fillTriangle(right, y, colour);
}

} // namespace

void drawStretch(Image& image, Place const& from, Place const& to, Stretch stretch, int thickness) {
    if (stretch == Stretch::Lifted) {
        drawDashed(image, from, to, thickness, colourOf(stretch));
    } else {
        drawBetween(image, from, to, thickness, colourOf(stretch));
    }
}

void drawArrow(Image& image, Place const& from, Place const& to) {
    constexpr double reach = 7.0;
    constexpr double halfWidth = 5.0;
    double const length = std::hypot(to[0] - from[0], to[1] - from[1]);
    if (!(length > 0.0)) {
        return;
    }
    Place const along{(to[0] - from[0]) / length, (to[1] - from[1]) / length};
    Place const middle = onTheWay(from, to, 0.5);
    double const x[3]{middle[0] + reach * along[0], middle[0] - reach * along[0] - halfWidth * along[1],
                      middle[0] - reach * along[0] + halfWidth * along[1]};
    double const y[3]{middle[1] + reach * along[1], middle[1] - reach * along[1] + halfWidth * along[0],
                      middle[1] - reach * along[1] - halfWidth * along[0]};
    image.fillTriangle(x, y, lineColour);
}

void drawPathMark(Image& image, Place const& place, PathMark mark) {
    constexpr double radius = 7.0;
    constexpr double ring = 4.5;
    constexpr int side = 14;
    constexpr double reach = 4.0;
    switch (mark) {
    case PathMark::Start:
        drawRing(image, place, 0.0, radius, white);
        drawRing(image, place, 0.0, radius - 1.5, startColour);
        break;
    case PathMark::End:
        drawSquare(image, place, side, white);
        drawSquare(image, place, side - 4, endColour);
        break;
    case PathMark::Missed:
        drawCross(image, place, reach, faultColour);
        break;
    case PathMark::Blocked:
        drawSquare(image, place, side / 2, faultColour);
        break;
    case PathMark::Sharp:
        drawDiamond(image, place, reach, sharpColour);
        break;
    case PathMark::LongestGap:
        drawRing(image, place, ring, radius, gapColour);
        break;
    case PathMark::LargestAngle:
        drawRing(image, place, ring, radius, angleColour);
        break;
    }
}

void PlacedLabels::draw(Image& image, Place const& place, std::string const& text) {
    constexpr int distance = 10; // from the place, beyond its mark
    int const width = labelWidth(text) + 2 * labelBorder;
    int const height = capitalHeight + 2 * labelBorder;
    auto const x = static_cast<int>(place[0]);
    auto const y = static_cast<int>(place[1]);
    auto const within = [](int low, int length, int whole) {
        return std::max(std::min(low, whole - length - 1), 1);
    };
    Box box{};
    for (int step = 0; step < 8; ++step) {
        // To the upper right, the upper left, the lower right and the lower left; then a label further away.
        int const away = distance + (step / 4) * (height + labelBorder);
        int const left = step % 2 == 0 ? x + distance : x - distance - width;
        int const top = step % 4 < 2 ? y - away - height : y + away;
        box = {within(left, width, image.getWidth()), within(top, height, image.getHeight()), width, height};
        if (std::none_of(taken.begin(), taken.end(), [&](Box const& other) { return box.doesMeet(other); })) {
            break;
        }
    }
    taken.push_back(box);
    drawTextBox(image, box.left + labelBorder, box.top + labelBorder, text);
}

} // namespace QELT::Inspection
