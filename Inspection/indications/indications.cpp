#include "Inspection/indications/indications.h"

#include "Inspection/indications/indicationtable.h"
#include "Inspection/records/failure.h"
#include "Inspection/records/internal/announce.h"
#include "Inspection/results/coverage.h"
#include "Inspection/results/internal/inresult.h"
#include "Inspection/results/resultfile.h"

namespace QELT::Inspection {

namespace {

void addSettings(Record& record, IndicationsOptions const& options) {
    IndicationOptions const& search = options.search;
    record.setting("value", search.value);
    record.setting(search.threshold.isShare ? "thresholdShare" : "threshold", search.threshold.number);
    record.setting("from", search.from);
    record.setting("isBelow", search.isBelow);
    record.setting("minPeak", search.minPeak);
    record.setting("beam", search.beam);
    record.setting("minArea", search.minArea);
    record.setting("merge", search.merge);
    record.setting("doUseFilled", search.doUseFilled);
    record.setting("standoff", options.standoff);
}

void addFigures(Record& record, IndicationSearch const& search) {
    double area = 0.0;
    for (Indication const& one : search.indications) {
        area += one.area;
    }
    record.figure("indications", search.indications.size());
    record.figure("area", area);
    record.figure("tooSmall", search.tooSmall);
    record.figure("onFlanks", search.flanks);
}

} // namespace

void addIndicationFiles(IndicationsOptions const& options, Record& record, Outputs& outputs) {
    require(!options.poses || (options.standoff && *options.standoff > 0.0),
            "poses to go back to indications need a standoff above zero");
    record.addInput(options.result);
    addSettings(record, options);
    outputs.add(options.table);
    if (options.poses) {
        outputs.add(*options.poses);
    }
}

FoundIndications indications(IndicationsOptions const& options, ProgressListener* listener, Record& record,
                             Outputs& outputs) {
    announce(listener, "Reading the result...");
    FoundIndications found;
    found.result = readResult(options.result);
    record.setUnit(found.result.unit);
    checkpoint(listener);
    announce(listener, "Finding indications...");
    found.search = inResult(options.result, [&] { return searchIndications(found.result, options.search); });
    found.isTorn = tornShare(found.result, options.search.doUseFilled) > tornLimit;
    found.isFilled = tornShare(found.result, true) <= tornLimit;
    checkpoint(listener);
    addFigures(record, found.search);
    record.figure("isTorn", found.isTorn);
    writeIndicationFile(outputs.at(options.table), found.search.indications,
                        unitsOf(found.result, options.search));
    if (options.poses) {
        writePoseFile(outputs.at(*options.poses), found.search.indications, *options.standoff);
    }
    return found;
}

FoundIndications indications(IndicationsOptions const& options, ProgressListener* listener) {
    Record record("indications");
    Outputs outputs(record);
    addIndicationFiles(options, record, outputs);
    FoundIndications found = indications(options, listener, record, outputs);
    outputs.commit(listener);
    return found;
}

} // namespace QELT::Inspection
