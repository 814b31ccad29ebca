#include "Inspection/tables/units.h"

#include <algorithm>
#include <array>
#include <numbers>
#include <span>
#include <string>

namespace QELT::Inspection {

namespace {

struct NamedUnit {
    std::string_view name;
    double value;
};

constexpr double degree = std::numbers::pi / 180.0;

// The micro sign and the Greek letter are two characters.
constexpr std::array<NamedUnit, 23> lengths{
    {{"m", 1.0},           {"metre", 1.0},       {"meter", 1.0},   {"dm", 1e-1},         {"cm", 1e-2},
     {"centimetre", 1e-2}, {"centimeter", 1e-2}, {"mm", 1e-3},     {"millimetre", 1e-3}, {"millimeter", 1e-3},
     {"um", 1e-6},         {"µm", 1e-6},         {"μm", 1e-6},     {"micron", 1e-6},     {"micrometre", 1e-6},
     {"micrometer", 1e-6}, {"in", 0.0254},       {"inch", 0.0254}, {"inche", 0.0254},    {"mil", 0.0000254},
     {"thou", 0.0000254},  {"ft", 0.3048},       {"foot", 0.3048}}};

constexpr std::array<NamedUnit, 16> times{{{"s", 1.0},
                                           {"sec", 1.0},
                                           {"second", 1.0},
                                           {"ms", 1e-3},
                                           {"msec", 1e-3},
                                           {"millisecond", 1e-3},
                                           {"us", 1e-6},
                                           {"µs", 1e-6},
                                           {"μs", 1e-6},
                                           {"usec", 1e-6},
                                           {"microsecond", 1e-6},
                                           {"ns", 1e-9},
                                           {"nanosecond", 1e-9},
                                           {"min", 60.0},
                                           {"minute", 60.0},
                                           {"h", 3600.0}}};

constexpr std::array<NamedUnit, 5> angles{
    {{"deg", degree}, {"degree", degree}, {"°", degree}, {"rad", 1.0}, {"radian", 1.0}}};

std::string lowered(std::string_view text) {
    std::string result(text);
    std::transform(result.begin(), result.end(), result.begin(), [](char character) {
        return character >= 'A' && character <= 'Z' ? static_cast<char>(character - 'A' + 'a') : character;
    });
    return result;
}

/// A long name may stand in the plural.
std::optional<double> valueOf(std::string_view unit, std::span<NamedUnit const> units) {
    std::string name = lowered(unit);
    constexpr std::size_t longestSign = 3;
    if (name.size() > longestSign && name.ends_with('s')) {
        name.pop_back();
    }
    auto const found = std::find_if(units.begin(), units.end(),
                                    [&](NamedUnit const& candidate) { return candidate.name == name; });
    return found == units.end() ? std::nullopt : std::optional(found->value);
}

} // namespace

std::optional<double> metresIn(std::string_view unit) {
    return valueOf(unit, lengths);
}

std::optional<double> secondsIn(std::string_view unit) {
    return valueOf(unit, times);
}

std::optional<double> radiansIn(std::string_view unit) {
    return valueOf(unit, angles);
}

} // namespace QELT::Inspection
