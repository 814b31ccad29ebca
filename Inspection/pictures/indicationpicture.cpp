#include "Inspection/pictures/indicationpicture.h"

#include "Inspection/pictures/pngfile.h"
#include "Inspection/pictures/valuepicture.h"
#include "Inspection/records/internal/announce.h"

#include <algorithm>

namespace QELT::Inspection {

namespace {

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
    ValuePictureOptions style;
    for (Indication const& one : indications) {
        style.outlines.insert(style.outlines.end(), one.outlines.begin(), one.outlines.end());
        style.labels.emplace_back(besideOf(one), std::to_string(one.number));
    }
    return valuePicture(result, map, style);
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
