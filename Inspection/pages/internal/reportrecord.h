#pragma once

#include "Inspection/pages/internal/html.h"
#include "Inspection/results/result.h"

#include <nlohmann/json_fwd.hpp>

#include <cstdint>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace QELT::Inspection {

/// A number as people read it: five digits, and all of those before the point up to seven.
std::string readableNumber(double number);

/// The record of a result as a report tells it: every setting and figure under the name that an inspector
/// knows it by, with its unit. It keeps in mind what was told, so that nothing is left out.
class ReportRecord {
public:
    /// A file that went into the result.
    struct Input {
        std::string name;
        std::optional<std::uint64_t> byteCount;
        std::string sha256; ///< empty if it was no file that could be read twice
    };

    /// Fails if the text is no record of a scan.
    ReportRecord(std::string const& text, std::string const& resultName);

    std::string const& getText() const { return text; }

    std::string command() const;
    std::string version() const;

    /// Of lengths; "units" where it is not known.
    std::string lengthUnit() const;
    std::vector<Input> inputs() const;

    bool has(std::string const& group, std::string const& name) const;
    std::optional<double> number(std::string const& group, std::string const& name) const;
    std::optional<std::string> textOf(std::string const& group, std::string const& name) const;

    /// Names in the record's order; groups are "settings" and "figures".
    std::vector<std::string> namesIn(std::string const& group) const;

    /// Name and value of each, as `FoundRecord` has them.
    std::vector<std::string> linesOf(std::string const& group) const;

    /// What was not told yet.
    std::vector<std::string> restOf(std::string const& group) const;

    /// Of a name, such as "largest angle off head-on" of "maxAngle".
    static std::string labelOf(std::string const& name);

    /// The value with its unit, each number with its exact value and its name in the record beside it; a dash
    /// where there is none. It counts as told.
    Html told(std::string const& group, std::string const& name);

private:
    using Json = nlohmann::ordered_json;

    std::string text;
    std::shared_ptr<Json const> json;
    std::set<std::string> toldNames;

    Json const* find(std::string const& group, std::string const& name) const;
    std::string unitOf(std::string const& name) const;
    std::string columnUnit(std::string const& quantity) const;
};

} // namespace QELT::Inspection
