#include "Inspection/pictures/drawnresult.h"

#include "Inspection/pictures/cscanimages.h"
#include "Inspection/pictures/pngfile.h"
#include "Inspection/records/internal/announce.h"
#include "Inspection/results/coverage.h"
#include "Inspection/results/resultfile.h"

#include <algorithm>
#include <cctype>

namespace QELT::Inspection {

namespace {

/// A name that may stand in a file's.
std::string fileNameOf(std::string name) {
    std::replace_if(
        name.begin(), name.end(),
        [](unsigned char letter) { return std::isalnum(letter) == 0 && letter != '.' && letter != '_'; },
        '-');
    return name;
}

/// Which pictures there are is known with the table's columns only.
void writePictures(DrawnMeasuredScanOptions const& options, DrawnMeasuredScan& drawn, Outputs& outputs,
                   ProgressListener* listener) {
    std::vector<std::string> names;
    for (ValueMap const& map : drawn.scan.result.values) {
        names.push_back(fileNameOf(map.name));
    }
    names.emplace_back("states");
    drawn.images = imagePaths(options.imagePrefix, names);
    for (auto const& image : drawn.images) {
        outputs.add(image);
    }
    for (std::size_t i = 0; i < drawn.images.size(); ++i) {
        checkpoint(listener);
        Result const& result = drawn.scan.result;
        bool const isOfStates = i == result.values.size();
        writePng(outputs.at(drawn.images[i]),
                 isOfStates ? statePicture(result)
                            : valuePicture(result, result.values[i], usualStyleOf(result.values[i])));
    }
}

} // namespace

DrawnMeasuredScan drawMeasuredScan(DrawnMeasuredScanOptions const& options, ProgressListener* listener) {
    Record record("scan");
    Outputs outputs(record);
    addMeasuredScanFiles(options.scan, record, outputs);
    DrawnMeasuredScan drawn{measuredScan(options.scan, listener, record, outputs), {}};
    if (!options.imagePrefix.empty()) {
        announce(listener, "Drawing...");
        writePictures(options, drawn, outputs, listener);
    }
    outputs.commit(listener);
    return drawn;
}

void drawResult(PictureOptions const& options, ProgressListener* listener) {
    Record record("picture");
    record.addInput(options.result);
    record.setting("value", options.value);
    if (options.style.limits) {
        record.setting("limits", std::vector{(*options.style.limits)[0], (*options.style.limits)[1]});
    }
    record.setting("bands", options.style.bands);
    Outputs outputs(record);
    outputs.add(options.image);
    record.setting("spot", options.spot);
    Result result = readResult(options.result);
    ValuePictureOptions style = options.style;
    if (options.spot) {
        fill(result, 0.5 * *options.spot);
        style.isOfSpots = true;
    }
    Image const image = options.value.empty()
                            ? statePicture(result)
                            : valuePicture(result, valueMapOf(result, options.value), style);
    writePng(outputs.at(options.image), image);
    outputs.commit(listener);
}

} // namespace QELT::Inspection
