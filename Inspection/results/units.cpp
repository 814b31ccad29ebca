#include "Inspection/results/units.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <string_view>

namespace QELT::Inspection {

namespace {

struct NamedFactor {
    std::string_view name;
    double factor;
};

constexpr std::array lengths{
    NamedFactor{"m", 1.0},           NamedFactor{"metre", 1.0},       NamedFactor{"meter", 1.0},
    NamedFactor{"cm", 1e-2},         NamedFactor{"mm", 1e-3},         NamedFactor{"millimetre", 1e-3},
    NamedFactor{"millimeter", 1e-3}, NamedFactor{"um", 1e-6},         NamedFactor{"\u00b5m", 1e-6},
    NamedFactor{"\u03bcm", 1e-6},    NamedFactor{"micrometre", 1e-6}, NamedFactor{"micron", 1e-6},
    NamedFactor{"in", 0.0254},       NamedFactor{"inch", 0.0254},     NamedFactor{"mil", 0.0254e-3},
    NamedFactor{"ft", 0.3048},       NamedFactor{"foot", 0.3048},
};

constexpr std::array times{
    NamedFactor{"s", 1.0},        NamedFactor{"ms", 1e-3},      NamedFactor{"us", 1e-6},
    NamedFactor{"\u00b5s", 1e-6}, NamedFactor{"\u03bcs", 1e-6}, NamedFactor{"ns", 1e-9},
};

std::string inLowerCase(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char letter) { return static_cast<char>(std::tolower(letter)); });
    return text;
}

template <class Table>
std::optional<double> factorIn(Table const& table, std::string const& unit) {
    std::string const name = inLowerCase(unit);
    auto const found = std::find_if(table.begin(), table.end(),
                                    [&](NamedFactor const& entry) { return entry.name == name; });
    return found == table.end() ? std::nullopt : std::optional(found->factor);
}

} // namespace

std::optional<double> metresIn(std::string const& unit) {
    return factorIn(lengths, unit);
}

std::optional<double> secondsIn(std::string const& unit) {
    return factorIn(times, unit);
}

bool isDecibel(std::string const& unit) {
    return inLowerCase(unit) == "db";
}

bool isFullScreenHeight(std::string const& unit) {
    std::string const name = inLowerCase(unit);
    return name == "%fsh" || name == "% fsh" || name == "fsh" || name == "%";
}

} // namespace QELT::Inspection
