#include "Inspection/pictures/internal/colourmap.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace QELT::Inspection {

namespace {

/// A colour by lightness and the two opponent axes (green-red, blue-yellow) of Ottosson's perceptual space
/// "Oklab" (2020).
struct Perceived {
    double lightness;
    double greenRed;
    double blueYellow;
};

struct LinearLight {
    double red;
    double green;
    double blue;
};

double cube(double value) {
    return value * value * value;
}

LinearLight toLinearLight(Perceived const& colour) {
    double const a = colour.greenRed;
    double const b = colour.blueYellow;
    double const l = cube(colour.lightness + 0.3963377774 * a + 0.2158037573 * b);
    double const m = cube(colour.lightness - 0.1055613458 * a - 0.0638541728 * b);
    double const s = cube(colour.lightness - 0.0894841775 * a - 1.2914855480 * b);
    return {4.0767416621 * l - 3.3077115913 * m + 0.2309699292 * s,
            -1.2684380046 * l + 2.6097574011 * m - 0.3413193965 * s,
            -0.0041960863 * l - 0.7034186147 * m + 1.7076147010 * s};
}

/// The transfer curve of sRGB and back.
double toDisplay(double light) {
    return light <= 0.0031308 ? 12.92 * light : 1.055 * std::pow(light, 1.0 / 2.4) - 0.055;
}

double fromDisplay(double value) {
    return value <= 0.04045 ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4);
}

std::uint8_t toByte(double light) {
    double const value = toDisplay(std::clamp(light, 0.0, 1.0));
    return static_cast<std::uint8_t>(std::lround(255.0 * value));
}

double mixed(double from, double to, double share) {
    return from + share * (to - from);
}

} // namespace

Colour colourOfShare(double share) {
    constexpr double darkest = 0.28;
    constexpr double lightest = 0.94;
    constexpr double firstHue = 285.0; // degrees: violet blue
    constexpr double lastHue = 105.0;  // yellow
    // As vivid as the display can show all along: it has least to offer in the middle, at blue green.
    constexpr double minChroma = 0.09;
    constexpr double addedChroma = 0.07;
    double const t = share > 0.0 ? std::min(share, 1.0) : 0.0;
    double const hue = mixed(firstHue, lastHue, t) * std::numbers::pi / 180.0;
    double const chroma = minChroma + addedChroma * t * t * t * t;
    LinearLight const light =
        toLinearLight({mixed(darkest, lightest, t), chroma * std::cos(hue), chroma * std::sin(hue)});
    return {toByte(light.red), toByte(light.green), toByte(light.blue)};
}

double lightnessOf(Colour colour) {
    double const red = fromDisplay(colour.red / 255.0);
    double const green = fromDisplay(colour.green / 255.0);
    double const blue = fromDisplay(colour.blue / 255.0);
    double const l = std::cbrt(0.4122214708 * red + 0.5363325363 * green + 0.0514459929 * blue);
    double const m = std::cbrt(0.2119034982 * red + 0.6806995451 * green + 0.1073969566 * blue);
    double const s = std::cbrt(0.0883024619 * red + 0.2817188376 * green + 0.6299787005 * blue);
    return 0.2104542553 * l + 0.7936177850 * m - 0.0040720468 * s;
}

} // namespace QELT::Inspection
