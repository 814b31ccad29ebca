#include "Inspection/shots/internal/timedtable.h"

#include "Inspection/records/failure.h"
#include "Inspection/tables/units.h"

#include <algorithm>

namespace QELT::Inspection {

namespace {

std::vector<std::size_t> fileIndices(std::vector<NamedColumn> const& columns,
                                     std::vector<std::size_t> const& places) {
    std::vector<std::size_t> indices;
    std::transform(places.begin(), places.end(), std::back_inserter(indices),
                   [&](std::size_t place) { return columns[place].index; });
    return indices;
}

} // namespace

std::string causesOf(std::vector<TableFault> const& faults) {
    std::string text;
    for (TableFault const& fault : faults) {
        text += (text.empty() ? "" : ", ") + fault.cause;
    }
    return text;
}

void BadLines::add(Table const& table, std::string const& cause) {
    if (!doSkip) {
        table.fail(cause);
    }
    ++counts.bad;
    if (counts.firstBad.size() < ShotCounts::maxNamed) {
        counts.firstBad.push_back({table.getName(), table.getLine(), cause});
    }
}

TimeColumn timeColumnOf(std::vector<NamedColumn> const& columns, std::string const& source) {
    auto const place = naming(source, [&] {
        return findColumn(columns, {"t", "time", "timestamp", "stamp"});
    });
    require(place.has_value(), source +
                                   ": no column 'time', which ties shots to poses; tell which it is with "
                                   "--columns time=COLUMN");
    std::string const& unit = columns[*place].unit;
    auto const seconds = unit.empty() ? std::optional(1.0) : secondsIn(unit);
    require(seconds.has_value(), source + ": '" + unit + "' of column '" + columns[*place].name +
                                     "' is no unit of time; write s, ms, us or ns");
    return {*place, *seconds};
}

PoseTrack::PoseTrack(std::filesystem::path const& file, ColumnNaming const& columnNaming,
                     PoseFormat const& format)
    : table(file) {
    NamedColumns named = nameColumns(table, columnNaming);
    TimeColumn const time = timeColumnOf(named.columns, table.getName());
    toSeconds = time.toSeconds;
    reader.emplace(named.columns, format, table.getName());
    auto places = reader->getColumns();
    places.insert(places.begin(), time.place);
    table.choose(fileIndices(named.columns, places));
    missing = std::move(named.missing);
    for (std::size_t i = 0; i < named.columns.size(); ++i) {
        if (std::find(places.begin(), places.end(), i) == places.end()) {
            unused.push_back(unusedText(named.columns[i].name, "of the poses"));
        }
    }
    for (std::string const& name : named.unused) {
        unused.push_back(unusedText(name, "of the poses, not named"));
    }
}

std::optional<TimedPose> PoseTrack::next(BadLines& bad) {
    while (table.next()) {
        auto const& values = table.getValues();
        double const time = toSeconds * values[0];
        if (!table.getFaults().empty()) {
            bad.add(table, causesOf(table.getFaults()));
            continue;
        }
        TimedPose const timed{time, reader->read(std::span(values).subspan(1))};
        if (!(time == time)) {
            bad.add(table, "the pose has no time");
        } else if (lastTime && time <= *lastTime) {
            bad.add(table, "the time of the pose is not behind that of the pose before it");
        } else if (!reader->getFault().empty()) {
            bad.add(table, reader->getFault());
        } else {
            lastTime = time;
            return timed;
        }
    }
    return std::nullopt;
}

std::string unusedText(std::string const& column, std::string const& reason) {
    return "'" + column + "' (" + reason + ")";
}

} // namespace QELT::Inspection
