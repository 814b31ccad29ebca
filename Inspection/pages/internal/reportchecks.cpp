#include "Inspection/pages/internal/reportchecks.h"

#include "Inspection/records/internal/announce.h"
#include "Inspection/records/internal/sha256.h"
#include "Inspection/records/record.h"

#include <algorithm>

namespace QELT::Inspection {

namespace {

/// As the record tells it, without a folder: a record that names one is not followed.
std::filesystem::path fileIn(std::filesystem::path const& folder, std::string const& name) {
    return folder / std::filesystem::path(name).filename();
}

InputState stateOf(ReportRecord::Input const& input, std::vector<std::filesystem::path> const& folders,
                   ProgressListener* listener) {
    if (input.sha256.empty() || input.name.empty()) {
        return InputState::NotRecorded;
    }
    auto state = InputState::NotFound;
    for (auto const& folder : folders) {
        auto const file = fileIn(folder, input.name);
        std::error_code failed;
        if (!std::filesystem::is_regular_file(file, failed)) {
            continue;
        }
        checkpoint(listener);
        if (digestOf(file, listener).sha256 == input.sha256) {
            return InputState::AsRecorded;
        }
        state = InputState::Changed;
    }
    return state;
}

/// Figures that follow from the pixels alone, which a result holds.
void compareFigures(ReportContent& content, ReportRecord const& record) {
    Coverage const& coverage = content.coverage;
    std::vector<std::pair<char const*, double>> const figures{
        {"surfaceArea", coverage.surfaceArea},
        {"reachedArea", coverage.reachedArea},
        {"coverage", coverage.reachedShare()},
        {"typicalGap", coverage.typicalGap},
        {"longestGap", coverage.longestGap},
        {"unreachedPatches", static_cast<double>(coverage.patchCount)}};
    for (auto const& [name, found] : figures) {
        auto const told = record.number("figures", name);
        if (told && *told != found) {
            content.misfits.push_back("the pixels of the result give another figure than its record: " +
                                      ReportRecord::labelOf(name) + " " + readableNumber(found) +
                                      " in place of " + readableNumber(*told));
        }
    }
}

/// What a record that was found says of one kind, such as "setting".
std::vector<std::string> linesOf(FoundRecord const& record, std::string const& kind) {
    std::vector<std::string> lines;
    for (auto const& [name, text] : record.lines) {
        if (name == kind) {
            lines.push_back(text);
        }
    }
    return lines;
}

/// Whether the record beside the result tells what the one within does.
bool doAgree(FoundRecord const& beside, ReportRecord const& within) {
    auto const lines = linesOf(beside, "input");
    auto const inputs = within.inputs();
    return lines.size() == inputs.size() &&
           std::equal(inputs.begin(), inputs.end(), lines.begin(),
                      [](ReportRecord::Input const& input, std::string const& line) {
                          return line.find(input.sha256) != std::string::npos;
                      }) &&
           linesOf(beside, "figure") == within.linesOf("figures") &&
           linesOf(beside, "setting") == within.linesOf("settings");
}

} // namespace

std::vector<CheckedInput> checkedInputs(std::vector<ReportRecord::Input> const& inputs,
                                        ReportOptions const& options, ProgressListener* listener) {
    std::vector<std::filesystem::path> folders{options.result.parent_path()};
    folders.insert(folders.end(), options.inputFolders.begin(), options.inputFolders.end());
    std::vector<CheckedInput> checked;
    checked.reserve(inputs.size());
    for (ReportRecord::Input const& input : inputs) {
        checked.push_back({input.name, input.byteCount, input.sha256, stateOf(input, folders, listener)});
    }
    return checked;
}

void checkResult(ReportContent& content, ReportRecord const& record, std::filesystem::path const& result,
                 ProgressListener* listener) {
    compareFigures(content, record);
    auto const beside = findRecord(result, listener);
    if (!beside) {
        content.remarks.push_back(recordFileOf(result).filename().string() +
                                  " is not there, so the bytes of the result could not be compared with it");
        return;
    }
    content.misfits.insert(content.misfits.end(), beside->misfits.begin(), beside->misfits.end());
    if (beside->misfits.empty() && !doAgree(*beside, record)) {
        content.misfits.push_back(recordFileOf(result).filename().string() +
                                  " tells otherwise than the record within the result");
    }
}

void checkIndications(ReportContent& content, std::filesystem::path const& table,
                      std::filesystem::path const& result, ProgressListener* listener) {
    auto const record = findRecord(table, listener);
    if (!record) {
        content.remarks.push_back(
            "the table of indications has no record, so it is not known which result it "
            "was made of, and how");
        return;
    }
    content.misfits.insert(content.misfits.end(), record->misfits.begin(), record->misfits.end());
    content.indications->settings = linesOf(*record, "setting");
    auto const inputs = linesOf(*record, "input");
    std::string const digest = digestOf(result, listener).sha256;
    if (std::none_of(inputs.begin(), inputs.end(),
                     [&](std::string const& line) { return line.find(digest) != std::string::npos; })) {
        content.misfits.emplace_back("the indications were found in another result than this one");
    }
}

} // namespace QELT::Inspection
