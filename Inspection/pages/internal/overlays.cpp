#include "Inspection/pages/internal/overlays.h"

#include "Inspection/records/failure.h"
#include "Inspection/records/files.h"
#include "Inspection/records/internal/textline.h"
#include "Inspection/records/numbers.h"
#include "Inspection/tables/columnnames.h"

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

/// A line of a table with named columns, of which some hold texts.
class TextRow {
public:
    TextRow(TextLine const& newLine, Names const& newColumns, Names newFields)
        : line(newLine), columns(newColumns), fields(std::move(newFields)) {}

    bool hasColumn(std::string const& name) const {
        return std::find(columns.begin(), columns.end(), name) != columns.end();
    }

    /// Fails unless the column is there and holds a number or nothing.
    void requireNumber(std::string const& name) const {
        auto const found = std::find(columns.begin(), columns.end(), name);
        auto const place = static_cast<std::size_t>(found - columns.begin());
        if (found == columns.end()) {
            line.fail("the table has no column '" + name + "'");
        }
        bool const isEmpty = place >= fields.size() || fields[place].empty();
        if (!isEmpty && !parseNumber(fields[place])) {
            line.fail("'" + fields[place] + "' is no number for " + name);
        }
    }

    TextLine const& line;
    Names const& columns;
    Names fields;
};

void forEachRow(std::filesystem::path const& table, std::function<void(TextRow const&)> const& visit) {
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
        visit(TextRow(line, columns, fieldsOf(line.text, separator)));
    });
}

/// A number where the whole field is one, else the text.
Json fieldAsJson(std::string const& field) {
    auto const number = parseNumber(field);
    return number ? Json(*number) : Json(field);
}

using ColumnNames = std::vector<std::string_view>;

/// The columns of a table that go by the first of each names that there is.
class ChosenColumns {
public:
    explicit ChosenColumns(Table const& newTable) : table(newTable), named(nameColumns(newTable, {})) {}

    void require(ColumnNames const& names) {
        auto const column = findColumn(named.columns, names);
        QELT::Inspection::require(column.has_value(),
                                  table.getName() + ": has no column '" + std::string(names.back()) + "'");
        indices.push_back(named.columns[*column].index);
    }

    /// Adds them if there are all of them.
    bool addIfThere(ColumnNames const& names) {
        std::vector<std::size_t> found;
        for (std::string_view const name : names) {
            if (auto const column = findColumn(named.columns, {name})) {
                found.push_back(named.columns[*column].index);
            }
        }
        if (found.size() == names.size()) {
            indices.insert(indices.end(), found.begin(), found.end());
        }
        return found.size() == names.size();
    }

    std::vector<std::size_t> const& getIndices() const { return indices; }

private:
    Table const& table;
    NamedColumns named;
    std::vector<std::size_t> indices;
};

/// The numbers of the wanted columns, and of `besides` where there are all of these: a list for each line in
/// which all are given. Lines that a column "valid" calls none are left out.
std::vector<std::vector<double>> placesIn(std::filesystem::path const& file,
                                          std::vector<ColumnNames> const& wanted,
                                          ColumnNames const& besides) {
    Table table(file);
    ChosenColumns columns(table);
    for (ColumnNames const& names : wanted) {
        columns.require(names);
    }
    columns.addIfThere(besides);
    auto const told = static_cast<std::ptrdiff_t>(columns.getIndices().size());
    bool const hasValidity = columns.addIfThere({"valid"});
    table.choose(columns.getIndices());
    std::vector<std::vector<double>> places;
    while (table.next()) {
        if (!table.getFaults().empty()) {
            table.fail(table.getFaults().front().cause);
        }
        std::vector<double> const& values = table.getValues();
        bool const isTold =
            std::all_of(values.begin(), values.end(), [](double value) { return std::isfinite(value); });
        if (isTold && (!hasValidity || values.back() != 0.0)) {
            places.emplace_back(values.begin(), values.begin() + told);
        }
    }
    return places;
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

/// A place and a direction in the part's coordinates.
std::vector<double> inPart(std::vector<double> const& pose, Frame const& frame) {
    Triple const place = frame.placeOf({pose[0], pose[1], pose[2]});
    Triple const direction = frame.directionOf({pose[3], pose[4], pose[5]});
    return {place[0], place[1], place[2], direction[0], direction[1], direction[2]};
}

} // namespace

void addIndications(PageModel& model, std::filesystem::path const& table) {
    Json list = Json::array();
    forEachRow(table, [&](TextRow const& row) {
        bool const isOnPixels = row.hasColumn("u") && row.hasColumn("v");
        for (char const* const name : {"u", "v", "x", "y", "z"}) {
            bool const isNeeded = isOnPixels == (name[0] < 'x');
            if (isNeeded || row.hasColumn(name)) {
                row.requireNumber(name);
            }
        }
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
    model.json["shots"] = thinnedOut(placesIn(table, {{"x"}, {"y"}, {"z"}}, {"u", "v"}));
}

void addPath(PageModel& model, std::filesystem::path const& table, std::optional<Frame> const& frame) {
    auto poses = placesIn(table, {{"ox", "x"}, {"oy", "y"}, {"oz", "z"}, {"dx"}, {"dy"}, {"dz"}}, {});
    if (frame) {
        std::transform(poses.begin(), poses.end(), poses.begin(),
                       [&](std::vector<double> const& pose) { return inPart(pose, *frame); });
    }
    model.json["path"] = thinnedOut(poses);
}

} // namespace QELT::Inspection
