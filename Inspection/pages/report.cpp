#include "Inspection/pages/report.h"

#include "Inspection/pages/internal/reportchecks.h"
#include "Inspection/pages/internal/reportcontent.h"
#include "Inspection/pages/internal/reportpage.h"
#include "Inspection/records/failure.h"
#include "Inspection/records/internal/announce.h"
#include "Inspection/records/internal/sha256.h"
#include "Inspection/records/outputs.h"
#include "Inspection/results/resultfile.h"

#include <algorithm>
#include <fstream>

namespace QELT::Inspection {

namespace {

void addInputs(Record& record, ReportOptions const& options) {
    record.addCompanion(options.result);
    for (auto const& file : {options.fields, options.indications}) {
        if (file) {
            record.addCompanion(*file);
        }
    }
    for (std::size_t i = 0; i < options.values.size(); ++i) {
        record.setting("value" + std::to_string(i + 1), options.values[i]);
    }
}

/// The gap that was required decides what is told as a patch, as it did in the scan.
Coverage coverageOf(Result const& result, ReportRecord const& record) {
    return QELT::Inspection::coverageOf(result, record.number("settings", "requiredGap"));
}

std::vector<ValueMap const*> valuesToShow(Result const& result, std::vector<std::string> const& names) {
    std::vector<ValueMap const*> values;
    values.reserve(names.size());
    for (std::string const& name : names) {
        values.push_back(&valueMapOf(result, name));
    }
    for (std::size_t i = 0; names.empty() && i < result.values.size(); ++i) {
        values.push_back(&result.values[i]);
    }
    return values;
}

void fillContent(ReportContent& content, ReportRecord const& record, ReportOptions const& options,
                 ProgressListener* listener) {
    content.resultName = options.result.filename().string();
    content.resultDigest = digestOf(options.result, listener).sha256;
    content.coverage = coverageOf(content.result, record);
    content.scale = pixelScaleOf(content.result);
    content.values = valuesToShow(content.result, options.values);
    announce(listener, "Comparing with the record...");
    checkResult(content, record, options.result, listener);
    content.inputs = checkedInputs(record.inputs(), options, listener);
    if (options.indications) {
        content.indications = readIndicationTable(*options.indications);
        checkIndications(content, *options.indications, options.result, listener);
    }
}

void write(Destination const& to, std::string const& page) {
    std::ofstream output(to.file, std::ios::binary);
    output.write(page.data(), static_cast<std::streamsize>(page.size()));
    output.close();
    require(static_cast<bool>(output), to.name.string() + ": cannot be written to its end");
}

Report reportOf(ReportContent const& content, std::string const& page) {
    Report report;
    report.inputs = content.inputs;
    report.misfits = content.misfits;
    report.pictureCount = content.values.size() + 1;
    report.indicationCount = content.indications ? content.indications->rows.size() : 0;
    report.byteCount = page.size();
    return report;
}

} // namespace

bool Report::isAsRecorded() const {
    return misfits.empty() && std::none_of(inputs.begin(), inputs.end(), [](CheckedInput const& input) {
               return input.state == InputState::Changed;
           });
}

Report report(ReportOptions const& options, ProgressListener* listener) {
    Record record("report");
    addInputs(record, options);
    Outputs outputs(record);
    outputs.add(options.page);
    announce(listener, "Reading...");
    ReportContent content;
    content.fields = fieldsIn(options.fields);
    content.result = readResult(options.result);
    ReportRecord made(content.result.record, options.result.string());
    fillContent(content, made, options, listener);
    std::string const page = reportPage(content, made, listener);
    Report const report = reportOf(content, page);
    write(outputs.at(options.page), page);
    record.setUnit(content.result.unit);
    record.figure("isAsRecorded", report.isAsRecorded());
    record.figure("pictures", report.pictureCount);
    record.figure("indications", report.indicationCount);
    outputs.commit(listener);
    return report;
}

} // namespace QELT::Inspection
