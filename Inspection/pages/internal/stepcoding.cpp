#include "Inspection/pages/internal/stepcoding.h"

#include "Geometry/foundations/rounding.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <set>

namespace QELT::Inspection {

namespace {

using Json = nlohmann::ordered_json;

constexpr double lastStep = 65535.0;

/// Instruments have 8 to 12 bits: what has no more values than this is told exactly.
constexpr std::size_t maxTableSize = 4096;

std::vector<double> presentOf(RealRaster const& raster) {
    std::vector<double> present;
    std::copy_if(raster.numbers.begin(), raster.numbers.end(), std::back_inserter(present),
                 [](double number) { return std::isfinite(number); });
    return present;
}

/// The distinct numbers in order; none if there are too many for a table.
std::vector<double> tableOf(std::vector<double> const& numbers) {
    std::set<double> distinct;
    for (double const number : numbers) {
        distinct.insert(number);
        if (distinct.size() > maxTableSize) {
            return {};
        }
    }
    return {distinct.begin(), distinct.end()};
}

/// `codeOf` makes a whole number of each, and `numberOf` is what the reader makes of that.
template <class CodeOf, class NumberOf>
CodedReals codedBy(Sections& sections, RealRaster const& raster, CodeOf codeOf, NumberOf numberOf) {
    NumberRaster codes{raster.width, std::vector<std::uint32_t>(raster.numbers.size()),
                       std::vector<std::uint8_t>(raster.numbers.size())};
    CodedReals result;
    result.numbers.assign(raster.numbers.size(), std::numeric_limits<double>::quiet_NaN());
    for (std::size_t i = 0; i < raster.numbers.size(); ++i) {
        double const number = raster.numbers[i];
        if (std::isfinite(number)) {
            codes.numbers[i] = codeOf(number);
            codes.isPresent[i] = 1;
            result.numbers[i] = numberOf(codes.numbers[i]);
            result.error = std::max(result.error, std::abs(result.numbers[i] - number));
        }
    }
    result.json = addTo(sections, codes);
    return result;
}

CodedReals codedByTable(Sections& sections, RealRaster const& raster, std::vector<double> const& table) {
    CodedReals result = codedBy(
        sections, raster,
        [&](double number) {
            auto const place = std::lower_bound(table.begin(), table.end(), number);
            return static_cast<std::uint32_t>(place - table.begin());
        },
        [&](std::uint32_t code) { return table[code]; });
    result.json["table"] = table;
    return result;
}

CodedReals onSteps(Sections& sections, RealRaster const& raster, double low, double step) {
    CodedReals result = codedBy(
        sections, raster,
        [&](double number) { return QELT::truncateToUInt32(std::round((number - low) / step)); },
        [&](std::uint32_t code) { return low + step * code; });
    result.json["low"] = low;
    result.json["step"] = step;
    return result;
}

} // namespace

Json addTo(Sections& sections, NumberRaster const& raster) {
    Json json;
    CodedNumbers const numbers = coded(raster);
    json["width"] = raster.width;
    json["size"] = raster.size();
    json["planes"] = numbers.planeCount;
    json["section"] = sections.add(numbers.bytes);
    if (std::find(raster.isPresent.begin(), raster.isPresent.end(), 0) != raster.isPresent.end()) {
        json["mask"] = sections.add(raster.isPresent);
    }
    return json;
}

CodedReals codedInSteps(Sections& sections, RealRaster const& raster, double step) {
    auto const present = presentOf(raster);
    double const low = present.empty() ? 0.0 : *std::min_element(present.begin(), present.end());
    CodedReals result = onSteps(sections, raster, low, step);
    result.low = low;
    result.high = present.empty() ? 0.0 : *std::max_element(present.begin(), present.end());
    return result;
}

CodedReals codedAsFloats(Sections& sections, RealRaster const& raster) {
    CodedReals result = codedBy(
        sections, raster,
        [](double number) { return std::bit_cast<std::uint32_t>(static_cast<float>(number)); },
        [](std::uint32_t code) { return static_cast<double>(std::bit_cast<float>(code)); });
    result.json["isFloat"] = true;
    return result;
}

CodedReals codedValues(Sections& sections, RealRaster const& raster, PagePrecision precision) {
    auto const present = presentOf(raster);
    double const low = present.empty() ? 0.0 : *std::min_element(present.begin(), present.end());
    double const high = present.empty() ? 0.0 : *std::max_element(present.begin(), present.end());
    auto const table = tableOf(present);
    CodedReals result = !table.empty() || present.empty() ? codedByTable(sections, raster, table)
                        : precision == PagePrecision::Float32
                            ? codedAsFloats(sections, raster)
                            : onSteps(sections, raster, low, (high - low) / lastStep);
    result.low = low;
    result.high = high;
    return result;
}

} // namespace QELT::Inspection
