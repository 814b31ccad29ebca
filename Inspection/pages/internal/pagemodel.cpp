// A C-scan or a part as a page carries it: names, units and figures as JSON, arrays as sections.
//
// Places are put on steps of a thousandth of a pixel, from which the page makes centres, normals, lengths and
// areas, so that none of these needs room of its own; what that costs in exactness is measured here, with the
// sums that the page does, and told in it. Figures that the page states of states and areas come from the
// result itself.

#include "Inspection/pages/internal/pagemodel.h"

#include "Inspection/pages/internal/gridresult.h"
#include "Inspection/pages/internal/stepcoding.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace QELT::Inspection {

namespace {

using Json = nlohmann::ordered_json;

constexpr double stepsPerPixel = 1024.0;

/// The steps of a part without pixels, over its greatest extent.
constexpr double stepsPerPart = 1048576.0;

/// No more steps than these over any extent, so that their number is in reach of the coding.
constexpr double maxSteps = 1073741824.0;

constexpr double degreesPerRadian = 180.0 / std::numbers::pi;

/// How places are coded.
struct PlaceCoding {
    PagePrecision precision = PagePrecision::Steps16;
    double step = 1.0;
};

/// One coordinate of many places.
RealRaster coordinateOf(std::vector<float> const& places, std::size_t axis, std::size_t width) {
    RealRaster raster{width, {}};
    raster.numbers.reserve(places.size() / 3);
    for (std::size_t i = axis; i < places.size(); i += 3) {
        raster.numbers.push_back(places[i]);
    }
    return raster;
}

/// Adds places to a page and gives them back as they will be read.
std::vector<float> addPlaces(PageModel& model, Json& json, std::vector<float> const& places,
                             std::size_t width, PlaceCoding const& coding) {
    std::vector<float> read(places.size());
    std::vector<double> errorsSqr(places.size() / 3, 0.0);
    json["places"] = Json::array();
    for (std::size_t axis = 0; axis < 3; ++axis) {
        RealRaster const raster = coordinateOf(places, axis, width);
        CodedReals const coded = coding.precision == PagePrecision::Float32
                                     ? codedAsFloats(model.sections, raster)
                                     : codedInSteps(model.sections, raster, coding.step);
        json["places"].push_back(coded.json);
        for (std::size_t i = 0; i < raster.numbers.size(); ++i) {
            read[3 * i + axis] = static_cast<float>(coded.numbers[i]);
            double const error = coded.numbers[i] - raster.numbers[i];
            errorsSqr[i] += std::isfinite(error) ? error * error : 0.0;
        }
    }
    if (!errorsSqr.empty()) {
        double const worst = std::sqrt(*std::max_element(errorsSqr.begin(), errorsSqr.end()));
        model.view.placeError = std::max(model.view.placeError, worst);
    }
    return read;
}

double greatestExtentOf(std::vector<float> const& places) {
    double greatest = 0.0;
    for (std::size_t axis = 0; axis < 3; ++axis) {
        double low = std::numeric_limits<double>::infinity();
        double high = -low;
        for (std::size_t i = axis; i < places.size(); i += 3) {
            low = std::isfinite(places[i]) ? std::min(low, double{places[i]}) : low;
            high = std::isfinite(places[i]) ? std::max(high, double{places[i]}) : high;
        }
        greatest = std::max(greatest, high - low);
    }
    return greatest;
}

double pixelSideOf(Result const& result) {
    double area = 0.0;
    std::size_t count = 0;
    for (double const quad : result.areas) {
        bool const isMeasured = std::isfinite(quad) && quad > 0.0;
        area += isMeasured ? quad : 0.0;
        count += isMeasured ? 1 : 0;
    }
    return count == 0 ? 0.0 : std::sqrt(area / static_cast<double>(count));
}

double stepFor(double wanted, double extent) {
    double const step = std::max(wanted, extent / maxSteps);
    return step > 0.0 ? step : 1.0;
}

double dot(std::array<double, 3> const& a, float const* b) {
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

/// Compares the normals that a page makes of a patch's nodes with the result's.
class NormalComparison {
public:
    NormalComparison(Result const& newResult, std::size_t newIndex, Patch const& newRead)
        : result(newResult), index(newIndex), read(newRead) {
        visit([&](double cosine) { balance += cosine < 0.0 ? -1 : cosine > 0.0 ? 1 : 0; });
    }

    /// Whether the result's normals point to the other side than the diagonals'.
    bool isTurned() const { return balance < 0; }

    /// The greatest angle between them, in degrees.
    double getWorst() const {
        double worst = 0.0;
        double const sign = isTurned() ? -1.0 : 1.0;
        visit(
            [&](double cosine) { worst = std::max(worst, std::acos(std::clamp(sign * cosine, -1.0, 1.0))); });
        return worst * degreesPerRadian;
    }

private:
    Result const& result;
    std::size_t index;
    Patch const& read;
    long balance = 0;

    template <class Take>
    void visit(Take take) const {
        for (std::size_t v = 0; v < read.height; ++v) {
            for (std::size_t u = 0; u < read.width; ++u) {
                std::size_t const pixel = result.indexOf(read.left + u, read.bottom + v);
                if (!result.hasSurface(pixel) || result.patch[pixel] != index) {
                    continue;
                }
                double const cosine = dot(diagonalNormalOf(read, u, v), &result.normals[3 * pixel]);
                if (std::isfinite(cosine)) {
                    take(cosine);
                }
            }
        }
    }
};

void addPatch(PageModel& model, Result const& result, std::size_t index, PlaceCoding const& coding) {
    Patch const& patch = result.patches[index];
    Json json{{"name", patch.name},
              {"left", patch.left},
              {"bottom", patch.bottom},
              {"width", patch.width},
              {"height", patch.height}};
    Patch read = patch;
    read.nodes = addPlaces(model, json, patch.nodes, patch.width + 1, coding);
    NormalComparison const comparison(result, index, read);
    json["isTurned"] = comparison.isTurned();
    model.view.normalError = std::max(model.view.normalError.value_or(0.0), comparison.getWorst());
    model.json["patches"].push_back(json);
}

void addPatches(PageModel& model, Result const& result, PagePrecision precision) {
    double extent = 0.0;
    for (Patch const& patch : result.patches) {
        extent = std::max(extent, greatestExtentOf(patch.nodes));
    }
    PlaceCoding const coding{precision, stepFor(pixelSideOf(result) / stepsPerPixel, extent)};
    model.json["patches"] = Json::array();
    for (std::size_t i = 0; i < result.patches.size(); ++i) {
        addPatch(model, result, i, coding);
    }
    if (result.patches.size() > 1) {
        NumberRaster raster{result.width, {result.patch.begin(), result.patch.end()}, {}};
        raster.isPresent.assign(result.size(), 1);
        model.json["patch"] = addTo(model.sections, raster);
    }
}

void addValue(PageModel& model, Result const& result, ValueMap const& map, PagePrecision precision) {
    CodedReals const coded = codedValues(model.sections, {result.width, map.values}, precision);
    Json json{{"name", map.name}, {"quantity", map.quantity}, {"statistic", nameOf(map.statistic)},
              {"unit", map.unit}, {"error", coded.error},     {"numbers", coded.json}};
    if (map.ceiling) {
        json["ceiling"] = *map.ceiling;
    }
    double const share = coded.high > coded.low ? coded.error / (coded.high - coded.low) : 0.0;
    model.view.valueError = std::max(model.view.valueError.value_or(0.0), share);
    model.json["values"].push_back(json);
    ++model.view.valueCount;
}

/// The shots of a pixel as a value beside the measured ones.
void addCounts(PageModel& model, Result const& result, std::vector<std::uint32_t> const& counts,
               std::string const& name, PagePrecision precision) {
    if (std::find_if(counts.begin(), counts.end(), [](std::uint32_t count) { return count > 0; }) ==
        counts.end()) {
        return;
    }
    ValueMap map;
    map.name = name;
    map.quantity = name;
    map.statistic = Statistic::Count;
    for (std::size_t i = 0; i < result.size(); ++i) {
        map.values.push_back(result.hasSurface(i) ? counts[i] : std::numeric_limits<double>::quiet_NaN());
    }
    addValue(model, result, map, precision);
}

void addStates(PageModel& model, Result const& result) {
    NumberRaster raster{result.width, {}, {}};
    std::array<std::size_t, pixelStateCount> counts{};
    std::array<double, pixelStateCount> areas{};
    for (std::size_t i = 0; i < result.size(); ++i) {
        auto const state = static_cast<std::size_t>(result.states[i]);
        raster.numbers.push_back(static_cast<std::uint32_t>(state));
        ++counts.at(state);
        areas.at(state) += std::isfinite(result.areas[i]) ? result.areas[i] : 0.0;
    }
    raster.isPresent.assign(result.size(), 1);
    model.json["pixelStates"] = addTo(model.sections, raster);
    model.json["states"] = Json::array();
    for (std::size_t state = 0; state < pixelStateCount; ++state) {
        model.json["states"].push_back({{"name", nameOf(static_cast<PixelState>(state))},
                                        {"count", counts.at(state)},
                                        {"area", areas.at(state)}});
    }
    model.view.quadCount = result.size() - counts.at(static_cast<std::size_t>(PixelState::NoSurface));
}

/// Which pixels may be shown with the values of another.
void addFilling(PageModel& model, Result const& result) {
    NumberRaster raster{result.width, result.filledFrom, {}};
    for (std::uint32_t const source : result.filledFrom) {
        raster.isPresent.push_back(source == Result::none ? 0 : 1);
    }
    if (std::find(raster.isPresent.begin(), raster.isPresent.end(), 1) != raster.isPresent.end()) {
        model.json["filledFrom"] = addTo(model.sections, raster);
    }
}

char const* nameOf(ViewedKind kind) {
    return kind == ViewedKind::OfResult ? "result" : kind == ViewedKind::OfGrid ? "grid" : "part";
}

PageModel emptyModel(ViewedKind kind, PagePrecision precision) {
    PageModel model;
    model.view.kind = kind;
    model.json["format"] = 1;
    model.json["kind"] = nameOf(kind);
    model.json["precision"] = precision == PagePrecision::Float32 ? "single precision" : "16 bits";
    return model;
}

} // namespace

PageModel modelOf(Result const& result, ViewedKind kind, PagePrecision precision) {
    PageModel model = emptyModel(kind, precision);
    model.json["unit"] = result.unit;
    model.json["move"] = result.move;
    model.json["width"] = result.width;
    model.json["height"] = result.height;
    addStates(model, result);
    addPatches(model, result, precision);
    addFilling(model, result);
    model.json["values"] = Json::array();
    for (ValueMap const& map : result.values) {
        addValue(model, result, map, precision);
    }
    addCounts(model, result, result.counts, "shots on the pixel", precision);
    addCounts(model, result, result.refused, "shots refused", precision);
    model.json["placeError"] = model.view.placeError;
    model.json["normalError"] = model.view.normalError.value_or(0.0);
    return model;
}

PageModel modelOf(PartAsLoaded const& part, PagePrecision precision) {
    PageModel model = emptyModel(ViewedKind::OfPart, precision);
    std::vector<float> places;
    for (SpacePoint const& point : part.points) {
        std::transform(point.begin(), point.end(), std::back_inserter(places),
                       [](double coordinate) { return static_cast<float>(coordinate); });
    }
    model.json["unit"] = part.report.unit;
    double const extent = greatestExtentOf(places);
    addPlaces(model, model.json, places, part.points.size(),
              {precision, stepFor(extent / stepsPerPart, extent)});
    NumberRaster corners{3 * part.triangles.size(), {}, {}};
    for (auto const& triangle : part.triangles) {
        corners.numbers.insert(corners.numbers.end(), triangle.begin(), triangle.end());
    }
    corners.isPresent.assign(corners.size(), 1);
    model.json["corners"] = addTo(model.sections, corners);
    model.json["placeError"] = model.view.placeError;
    model.view.quadCount = part.triangles.size();
    return model;
}

} // namespace QELT::Inspection
