#include "Inspection/results/amplitudeunits.h"

#include <algorithm>
#include <array>
#include <string>

namespace QELT::Inspection {

namespace {

std::string lowered(std::string_view text) {
    std::string result(text);
    std::transform(result.begin(), result.end(), result.begin(), [](char letter) {
        return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
    });
    return result;
}

} // namespace

bool isDecibel(std::string_view unit) {
    return lowered(unit) == "db";
}

bool isFullScreenHeight(std::string_view unit) {
    constexpr std::array<std::string_view, 4> names{"%fsh", "% fsh", "fsh", "%"};
    return std::find(names.begin(), names.end(), lowered(unit)) != names.end();
}

} // namespace QELT::Inspection
