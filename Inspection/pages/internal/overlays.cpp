#include "Inspection/pages/internal/overlays.h"

#include "Inspection/records/failure.h"
#include "Inspection/records/files.h"
#include "Inspection/records/internal/textline.h"
#include "Inspection/records/numbers.h"

#include <algorithm>
#include <cmath>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

namespace QELT::Inspection {

namespace {

using Json = nlohmann::ordered_json;
using Names = std::vector<std::string>;

constexpr double noNumber = std::numeric_limits<double>::quiet_NaN();

/// The fields of a line, without quotation marks around them.
Names fieldsOf(std::string_view line, char separator) {
    Names fields;
    for (std::size_t begin = 0; begin <= line.size();) {
        std::size_t const end = std::min(line.find(separator, begin), line.size());
        std::string_view field = trimmed(line.substr(begin, end - begin));
        if (field.size() >= 2 && field.front() == '"' && field.back() == '"') {
            field = field.substr(1, field.size() - 2);
        }
        fields.emplace_back(field);
        begin = end + 1;
    }
    return fields;
}

/// A column's name without the unit behind it: "x" of "x [mm]".
std::string bareName(std::string const& name) {
    return std::string(trimmed(std::string_view(name).substr(0, name.find('['))));
}

/// A line of a table with named columns.
class TableRow {
public:
    TableRow(TextLine const& newLine, Names const& newColumns, Names newFields)
        : line(newLine), columns(newColumns), fields(std::move(newFields)) {}

    bool hasColumn(std::string const& name) const {
        return std::find(columns.begin(), columns.end(), name) != columns.end();
    }

    /// NaN where there is no such column, or nothing in it. Fails at what is no number.
    double numberIn(std::string const& name) const {
        auto const place =
            static_cast<std::size_t>(std::find(columns.begin(), columns.end(), name) - columns.begin());
        if (place >= fields.size() || fields[place].empty()) {
            return noNumber;
        }
        auto const number = parseNumber(fields[place]);
        if (!number && fields[place] != "nan" && fields[place] != "-") {
            line.fail("'" + fields[place] + "' is no number for " + name);
        }
        return number.value_or(noNumber);
    }

    std::vector<double> numbersIn(Names const& names) const {
        std::vector<double> numbers;
        std::transform(names.begin(), names.end(), std::back_inserter(numbers),
                       [&](std::string const& name) { return numberIn(name); });
        return numbers;
    }

    TextLine const& line;
    Names const& columns;
    Names fields;
};

void forEachRow(std::filesystem::path const& table, std::function<void(TableRow const&)> const& visit) {
    requireReadable(table);
    std::ifstream input(table, std::ios::binary);
    Names columns;
    char separator = ',';
    forEachLine(input, table.string(), [&](TextLine const& line) {
        if (trimmed(line.text).empty() || line.text.front() == '#') {
            return;
        }
        if (columns.empty()) {
            separator = line.text.find(';') != std::string_view::npos ? ';' : ',';
            columns = fieldsOf(line.text, separator);
            std::transform(columns.begin(), columns.end(), columns.begin(), bareName);
            return;
        }
        visit(TableRow(line, columns, fieldsOf(line.text, separator)));
    });
}

void requireColumns(TableRow const& row, Names const& names) {
    for (std::string const& name : names) {
        if (!row.hasColumn(name)) {
            row.line.fail("the table has no column '" + name + "'");
        }
    }
}

/// A number where the whole field is one, else the text.
Json fieldAsJson(std::string const& field) {
    auto const number = parseNumber(field);
    return number ? Json(*number) : Json(field);
}

bool areFinite(std::vector<double> const& numbers) {
    return std::all_of(numbers.begin(), numbers.end(), [](double number) { return std::isfinite(number); });
}

/// Every so many of the places, and how many there are.
Json thinnedOut(std::vector<std::vector<double>> const& places) {
    std::size_t const stride =
        std::max<std::size_t>(1, (places.size() + maxShownPlaces - 1) / maxShownPlaces);
    Json shown = Json::array();
    for (std::size_t i = 0; i < places.size(); i += stride) {
        shown.push_back(places[i]);
    }
    return {{"count", places.size()}, {"stride", stride}, {"places", shown}};
}

} // namespace

void addIndications(PageModel& model, std::filesystem::path const& table) {
    Json list = Json::array();
    forEachRow(table, [&](TableRow const& row) {
        bool const isOnPixels = row.hasColumn("u") && row.hasColumn("v");
        requireColumns(row, isOnPixels ? Names{} : Names{"x", "y", "z"});
        row.numbersIn({"u", "v", "x", "y", "z"});
        Json indication;
        for (std::size_t i = 0; i < std::min(row.columns.size(), row.fields.size()); ++i) {
            indication[row.columns[i]] = fieldAsJson(row.fields[i]);
        }
        list.push_back(indication);
    });
    model.view.indicationCount = list.size();
    model.json["indications"] = list;
}

void addShots(PageModel& model, std::filesystem::path const& table) {
    std::vector<std::vector<double>> places;
    forEachRow(table, [&](TableRow const& row) {
        requireColumns(row, {"x", "y", "z"});
        bool const isHit = !row.hasColumn("valid") || row.numberIn("valid") != 0.0;
        auto const place = row.numbersIn({"x", "y", "z"});
        if (isHit && areFinite(place)) {
            places.push_back(place);
        }
    });
    model.json["shots"] = thinnedOut(places);
}

void addPath(PageModel& model, std::filesystem::path const& table) {
    std::vector<std::vector<double>> poses;
    forEachRow(table, [&](TableRow const& row) {
        Names columns = row.hasColumn("ox") ? Names{"ox", "oy", "oz"} : Names{"x", "y", "z"};
        columns.insert(columns.end(), {"dx", "dy", "dz"});
        requireColumns(row, columns);
        auto const pose = row.numbersIn(columns);
        if (areFinite(pose)) {
            poses.push_back(pose);
        }
    });
    model.json["path"] = thinnedOut(poses);
}

} // namespace QELT::Inspection
