#include "Inspection/import/axismap.h"

#include "Inspection/records/numbers.h"

namespace QELT::Inspection {

namespace {

constexpr std::string_view axisNames = "xyz";

std::optional<SignedAxis> parseAxis(std::string_view text) {
    bool const isNegative = text.starts_with('-');
    std::string_view const name = text.substr(isNegative || text.starts_with('+') ? 1 : 0);
    auto const axis = name.size() == 1 ? axisNames.find(name[0]) : std::string_view::npos;
    if (axis == std::string_view::npos) {
        return std::nullopt;
    }
    return SignedAxis{axis, isNegative};
}

} // namespace

std::optional<AxisMap> parseAxisMap(std::string_view text) {
    auto const fields = splitAtCommas(text);
    if (fields.size() != 3) {
        return std::nullopt;
    }
    AxisMap map{};
    std::array<bool, 3> isTaken{};
    for (std::size_t i = 0; i < 3; ++i) {
        auto const axis = parseAxis(trimmed(fields[i]));
        if (!axis || isTaken[axis->axis]) {
            return std::nullopt;
        }
        isTaken[axis->axis] = true;
        map[i] = *axis;
    }
    return map;
}

std::string toText(AxisMap const& map) {
    std::string text;
    for (SignedAxis const& axis : map) {
        text += std::string(text.empty() ? "" : ",") + (axis.isNegative ? "-" : "") + axisNames[axis.axis];
    }
    return text;
}

bool isMirror(AxisMap const& map) {
    bool const isCyclic = (map[0].axis + 1) % 3 == map[1].axis;
    bool isOdd = !isCyclic;
    for (SignedAxis const& axis : map) {
        isOdd = isOdd != axis.isNegative;
    }
    return isOdd;
}

std::array<double, 3> mapped(AxisMap const& map, std::array<double, 3> const& point) {
    std::array<double, 3> result{};
    for (std::size_t i = 0; i < 3; ++i) {
        double const coordinate = point[map[i].axis];
        result[i] = map[i].isNegative ? 0.0 - coordinate : coordinate; // no zero with a sign
    }
    return result;
}

} // namespace QELT::Inspection
