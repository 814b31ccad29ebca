#include "Inspection/pictures/indicationpicture.h"

#include "Inspection/pictures/internal/figure.h"
#include "Inspection/pictures/pngfile.h"
#include "Inspection/records/internal/announce.h"

#include <algorithm>
#include <cmath>

namespace QELT::Inspection {

namespace {

Cell cellOf(Result const& result, ValueMap const& map, std::size_t pixel) {
    switch (result.states[pixel]) {
    case PixelState::NoSurface:
        return {};
    case PixelState::NotReached:
        return {Cell::NoValue, 0.0};
    case PixelState::Refused:
        return {Cell::Refused, 0.0};
    case PixelState::NoEcho:
        return {Cell::NoEcho, 0.0};
    case PixelState::Echo:
    case PixelState::Saturated:
        break;
    }
    double const value = map.values[pixel];
    return std::isfinite(value) ? Cell{Cell::Measured, value} : Cell{Cell::NoValue, 0.0};
}

QuadMap quadsOf(Result const& result, ValueMap const& map) {
    QuadMap quads(result.width, result.height);
    for (std::size_t v = 0; v < result.height; ++v) {
        for (std::size_t u = 0; u < result.width; ++u) {
            quads.at(u, v) = cellOf(result, map, result.indexOf(u, v));
        }
    }
    return quads;
}

/// The upper right corner of the box around it.
FlatPoint besideOf(Indication const& one) {
    FlatPoint corner = one.centre.at;
    for (auto const& line : one.outlines) {
        for (FlatPoint const& point : line) {
            corner = {std::max(corner.getU(), point.getU()), std::max(corner.getV(), point.getV())};
        }
    }
    return corner;
}

} // namespace

Image indicationPictureOf(Result const& result, ValueMap const& map,
                          std::vector<Indication> const& indications) {
    QuadMap const quads = quadsOf(result, map);
    std::size_t const count = indications.size();
    FigureStyle style{"Indications on " + map.name + (map.unit.empty() ? "" : " [" + map.unit + "]"),
                      scaleFor(quads.values(), 0.0),
                      std::to_string(count) + (count == 1 ? " indication" : " indications")};
    for (Indication const& one : indications) {
        style.outlines.insert(style.outlines.end(), one.outlines.begin(), one.outlines.end());
        style.labels.push_back({besideOf(one), std::to_string(one.number)});
    }
    return figureOf(quads, style);
}

FoundIndications drawIndications(DrawnIndicationsOptions const& options, ProgressListener* listener) {
    Record record("indications");
    Outputs outputs(record);
    addIndicationFiles(options.indications, record, outputs);
    if (options.image) {
        outputs.add(*options.image);
    }
    FoundIndications found = indications(options.indications, listener, record, outputs);
    if (options.image) {
        announce(listener, "Drawing...");
        ValueMap const& map = valueMapOf(found.result, options.indications.search.value);
        writePng(outputs.at(*options.image),
                 indicationPictureOf(found.result, map, found.search.indications));
    }
    outputs.commit(listener);
    return found;
}

} // namespace QELT::Inspection
