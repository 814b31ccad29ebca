#include "Inspection/pages/internal/reportcontent.h"

#include "Inspection/records/failure.h"
#include "Inspection/records/files.h"
#include "Inspection/records/internal/textline.h"
#include "Inspection/records/numbers.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <fstream>
#include <nlohmann/json.hpp>

namespace QELT::Inspection {

namespace {

using Json = nlohmann::ordered_json;

constexpr std::array usualFields{"part",       "drawing", "serial",    "procedure",  "operator",
                                 "instrument", "probe",   "reference", "calibration"};

[[noreturn]] void failAt(std::filesystem::path const& file, std::string const& field) {
    throw Failure(file.string() + ": '" + field + "' is not a text, a number or a list of them");
}

std::string plainText(Json const& value, std::filesystem::path const& file, std::string const& field) {
    if (value.is_string()) {
        return value.get<std::string>();
    }
    if (value.is_boolean()) {
        return value.get<bool>() ? "yes" : "no";
    }
    if (!value.is_number()) {
        failAt(file, field);
    }
    return value.dump();
}

/// Nothing for what is empty.
std::optional<std::string> fieldText(Json const& value, std::filesystem::path const& file,
                                     std::string const& field) {
    std::string text;
    if (value.is_array()) {
        for (Json const& item : value) {
            text += (text.empty() ? "" : "\n") + plainText(item, file, field);
        }
    } else if (!value.is_null()) {
        text = plainText(value, file, field);
    }
    return trimmed(text).empty() ? std::nullopt : std::optional(text);
}

Json readObject(std::filesystem::path const& file) {
    requireReadable(file);
    std::ifstream input(file, std::ios::binary);
    Json json = Json::parse(input, nullptr, false);
    require(json.is_object(),
            file.string() + ": is no JSON object, such as {\"part\": \"Blade 7\", \"operator\": \"...\"}");
    return json;
}

std::string lowered(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char letter) { return static_cast<char>(std::tolower(letter)); });
    return text;
}

/// A comma within quotation marks is part of a field.
std::vector<std::string> splitLine(std::string_view line) {
    std::vector<std::string> fields(1);
    bool isQuoted = false;
    for (char const letter : line) {
        if (letter == '"') {
            isQuoted = !isQuoted;
        } else if (letter == ',' && !isQuoted) {
            fields.emplace_back();
        } else {
            fields.back() += letter;
        }
    }
    for (std::string& field : fields) {
        field = std::string(trimmed(field));
    }
    return fields;
}

void setHeading(IndicationTable& table, std::vector<std::string> const& fields) {
    for (std::string const& field : fields) {
        std::size_t const bracket = field.find('[');
        bool const hasUnit = bracket != std::string::npos && field.back() == ']';
        table.columns.emplace_back(trimmed(field.substr(0, hasUnit ? bracket : field.size())));
        table.units.push_back(hasUnit ? field.substr(bracket + 1, field.size() - bracket - 2) : "");
    }
}

std::size_t smallestAt(std::vector<std::size_t> const& pixels, Result const& result, double sign) {
    return *std::min_element(pixels.begin(), pixels.end(), [&](std::size_t a, std::size_t b) {
        return sign * result.areas[a] < sign * result.areas[b];
    });
}

} // namespace

ReportFields fieldsIn(std::optional<std::filesystem::path> const& file) {
    Json const given = file ? readObject(*file) : Json::object();
    ReportFields fields;
    for (char const* const usual : usualFields) {
        fields.emplace_back(usual, std::nullopt);
    }
    for (auto const& item : given.items()) {
        auto const text = fieldText(item.value(), *file, item.key());
        auto const known = std::find_if(fields.begin(), fields.end(), [&](auto const& field) {
            return field.first == lowered(item.key());
        });
        if (known == fields.end()) {
            fields.emplace_back(item.key(), text);
        } else {
            require(!known->second.has_value(),
                    file->string() + ": '" + item.key() + "' is given more than once");
            known->second = text;
        }
    }
    return fields;
}

std::optional<std::size_t> IndicationTable::find(std::string const& column) const {
    auto const found = std::find(columns.begin(), columns.end(), column);
    return found == columns.end() ? std::nullopt
                                  : std::optional(static_cast<std::size_t>(found - columns.begin()));
}

IndicationTable readIndicationTable(std::filesystem::path const& file) {
    requireReadable(file);
    std::ifstream input(file, std::ios::binary);
    IndicationTable table;
    table.fileName = file.filename().string();
    forEachLine(input, file.string(), [&](TextLine const& line) {
        if (trimmed(line.text).empty() || line.text.front() == '#') {
            return;
        }
        auto const fields = splitLine(line.text);
        if (table.columns.empty()) {
            setHeading(table, fields);
        } else if (fields.size() != table.columns.size()) {
            line.fail("has " + std::to_string(fields.size()) + " fields in place of the heading's " +
                      std::to_string(table.columns.size()));
        } else {
            table.rows.push_back(fields);
        }
    });
    require(table.find("number").has_value(),
            file.string() +
                ": is no table of indications, as 'cscan indications' writes it: it has no column "
                "'number'");
    return table;
}

PixelScale pixelScaleOf(Result const& result) {
    std::vector<std::size_t> pixels;
    std::vector<double> areas;
    for (std::size_t pixel = 0; pixel < result.size(); ++pixel) {
        if (result.hasSurface(pixel)) {
            pixels.push_back(pixel);
            areas.push_back(result.areas[pixel]);
        }
    }
    if (pixels.empty()) {
        return {};
    }
    std::sort(areas.begin(), areas.end());
    auto const at = [&](double share) {
        return areas[static_cast<std::size_t>(share * static_cast<double>(areas.size() - 1))];
    };
    constexpr double tail = 0.025;
    return {areas.front(),
            at(tail),
            at(0.5),
            at(1.0 - tail),
            areas.back(),
            smallestAt(pixels, result, 1.0),
            smallestAt(pixels, result, -1.0),
            pixels.size()};
}

std::string ReportContent::length() const {
    return " " + (result.unit.empty() ? std::string("units") : result.unit);
}

std::string ReportContent::area() const {
    return length() + "\xC2\xB2";
}

} // namespace QELT::Inspection
