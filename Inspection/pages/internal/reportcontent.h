#pragma once

#include "Inspection/pages/internal/reportrecord.h"
#include "Inspection/pages/report.h"
#include "Inspection/results/coverage.h"
#include "Inspection/results/result.h"

#include <filesystem>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace QELT::Inspection {

/// What the inspector tells, in order: a name and a text, nothing where none was given.
using ReportFields = std::vector<std::pair<std::string, std::optional<std::string>>>;

/// The usual fields first, given or not, then the others in the file's order. Fails at what is no JSON object
/// of texts, numbers and lists of them.
ReportFields fieldsIn(std::optional<std::filesystem::path> const& file);

/// A table of indications as it stands.
struct IndicationTable {
    std::string fileName;
    std::vector<std::string> columns;           ///< names without units
    std::vector<std::string> units;             ///< of each; empty where none is told
    std::vector<std::vector<std::string>> rows; ///< as many fields in each as there are columns
    std::vector<std::string> settings;          ///< how they were found, if the table's record is there

    /// Its place among the columns.
    std::optional<std::size_t> find(std::string const& column) const;
};

/// Fails if a line has too many or too few fields, or if there is no column "number".
IndicationTable readIndicationTable(std::filesystem::path const& file);

/// Of the grid's pixels, by the true areas of their quads.
struct PixelScale {
    double leastArea = 0.0;
    double lowArea = 0.0; ///< 2.5 % of the pixels are smaller
    double medianArea = 0.0;
    double highArea = 0.0; ///< 2.5 % are larger
    double greatestArea = 0.0;
    std::size_t leastPixel = 0;
    std::size_t greatestPixel = 0;
    std::size_t count = 0;
};

PixelScale pixelScaleOf(Result const& result);

/// Everything that a report shows.
struct ReportContent {
    std::string resultName;
    std::string resultDigest; ///< SHA-256 of the file as it is now
    Result result;
    Coverage coverage;
    PixelScale scale;
    ReportFields fields;
    std::optional<IndicationTable> indications;
    std::vector<ValueMap const*> values; ///< to be shown, of `result`
    std::vector<CheckedInput> inputs;
    std::vector<std::string> misfits;
    std::vector<std::string> remarks; ///< on what could not be checked

    /// Such as " mm" and " mm²".
    std::string length() const;
    std::string area() const;
};

} // namespace QELT::Inspection
