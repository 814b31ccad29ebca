#include "Inspection/results/result.h"

#include "Inspection/records/failure.h"

namespace QELT::Inspection {

namespace {

constexpr std::array<char const*, pixelStateCount> stateNames{"no surface", "not reached", "no echo",
                                                              "echo",       "saturated",   "refused"};

constexpr std::array<char const*, 6> statisticNames{"min", "max", "mean", "median", "last", "count"};

std::string namesIn(Result const& result) {
    std::string names;
    for (ValueMap const& map : result.values) {
        names += (names.empty() ? "" : ", ") + map.name;
    }
    return names.empty() ? "holds no values" : "has " + names;
}

} // namespace

char const* nameOf(PixelState state) {
    return stateNames.at(static_cast<std::size_t>(state));
}

char const* nameOf(Statistic statistic) {
    return statisticNames.at(static_cast<std::size_t>(statistic));
}

ValueMap const& valueMapOf(Result const& result, std::string const& name) {
    ValueMap const* found = nullptr;
    std::size_t count = 0;
    for (ValueMap const& map : result.values) {
        if (map.name == name) {
            return map;
        }
        if (map.quantity == name) {
            found = &map;
            ++count;
        }
    }
    require(count != 0, "there is no value '" + name + "'; the result " + namesIn(result));
    require(count == 1, "'" + name + "' is several values; the result " + namesIn(result));
    return *found;
}

} // namespace QELT::Inspection
