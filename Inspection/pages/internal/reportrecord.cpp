#include "Inspection/pages/internal/reportrecord.h"

#include "Inspection/records/failure.h"
#include "Inspection/records/numbers.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <nlohmann/json.hpp>

// A record has short names and bare numbers. Here is what each is called and what it is in; a name that is
// not known here is shown as it stands, so that a report is never shorter than its record.

namespace QELT::Inspection {

namespace {

using Json = nlohmann::ordered_json;

enum class Measure : std::uint8_t { Plain, Length, Area, Degrees, Milliseconds, Speed, Share, Pixels };

struct Meaning {
    std::string_view name;
    std::string_view label;
    Measure measure = Measure::Plain;
};

constexpr std::array meanings{
    Meaning{"position", "position of the inspection"},
    Meaning{"doFlipNormals", "the grid's other side is the outside, as told"},
    Meaning{"maxAngle", "largest angle off head-on", Measure::Degrees},
    Meaning{"standoff", "standoff wanted", Measure::Length},
    Meaning{"standoffTolerance", "standoff may differ by", Measure::Length},
    Meaning{"where", "an echo has to fulfil"},
    Meaning{"depthOf", "depth derived from"},
    Meaning{"speed", "speed of sound in the part", Measure::Speed},
    Meaning{"zero", "time of the surface"},
    Meaning{"zeroOf", "time of the surface, from column"},
    Meaning{"front", "front-wall time, from column"},
    Meaning{"couplantSpeed", "speed of sound in the couplant", Measure::Speed},
    Meaning{"reference", "reference of 0 dB"},
    Meaning{"fill", "pixels shown by the nearest shot within", Measure::Length},
    Meaning{"requiredGap", "longest gap required", Measure::Length},
    Meaning{"requiredCoverage", "coverage required", Measure::Share},
    Meaning{"doSkipBad", "bad lines were skipped"},
    Meaning{"pose", "poses, as told"},
    Meaning{"poseUnit", "unit of the poses, as told"},
    Meaning{"beamAxis", "axis of the beam in the probe's frame"},
    Meaning{"toolRow1", "tool: rotation, row 1"},
    Meaning{"toolRow2", "tool: rotation, row 2"},
    Meaning{"toolRow3", "tool: rotation, row 3"},
    Meaning{"toolTranslation", "tool: translation, in the poses' unit"},
    Meaning{"toolUnit", "tool: unit"},
    Meaning{"frame", "frame, from file"},
    Meaning{"frameRow1", "frame: rotation, row 1"},
    Meaning{"frameRow2", "frame: rotation, row 2"},
    Meaning{"frameRow3", "frame: rotation, row 3"},
    Meaning{"frameTranslation", "frame: translation, in its own unit"},
    Meaning{"frameUnit", "frame: unit"},
    Meaning{"poses", "poses with a clock of their own, from file"},
    Meaning{"maxGapOfPoses", "longest gap of poses", Measure::Milliseconds},
    Meaning{"lines", "lines of the table"},
    Meaning{"badLines", "bad lines"},
    Meaning{"shotsInGapsOfPoses", "shots in gaps of the poses, not used"},
    Meaning{"shotsOutsidePoses", "shots before or behind the poses, not used"},
    Meaning{"lag", "lag of the shots' clock", Measure::Milliseconds},
    Meaning{"lagUncertainty", "uncertainty of the lag (95 of 100 cases)", Measure::Milliseconds},
    Meaning{"hasFlippedNormals", "the grid's other side was taken for the outside"},
    Meaning{"poseRead", "poses, as read"},
    Meaning{"poseScale", "one unit of the poses, in the part's"},
    Meaning{"columnsNotRead", "columns not read"},
    Meaning{"shots", "shots"},
    Meaning{"missed", "beside the surface"},
    Meaning{"refusedByAngle", "refused for the angle"},
    Meaning{"refusedByStandoff", "refused for the standoff"},
    Meaning{"refusedAsBad", "refused for a bad line"},
    Meaning{"withoutEcho", "without an echo in the gate"},
    Meaning{"echoes", "with an echo"},
    Meaning{"saturated", "of these, at the instrument's ceiling"},
    Meaning{"surfaceArea", "surface of the grid", Measure::Area},
    Meaning{"reachedArea", "surface reached", Measure::Area},
    Meaning{"coverage", "share of the surface reached", Measure::Share},
    Meaning{"typicalGap", "typical gap along the surface", Measure::Length},
    Meaning{"longestGap", "longest gap along the surface", Measure::Length},
    Meaning{"unreachedPatches", "patches not reached"},
};

struct Spread {
    std::string_view begin;
    std::string_view label;
    Measure measure;
};

constexpr std::array spreads{
    Spread{"standoff", "standoff", Measure::Length},
    Spread{"incidence", "angle off head-on", Measure::Degrees},
    Spread{"residual", "measured less geometric standoff", Measure::Length},
};

struct Ending {
    std::string_view end;
    std::string_view label;
};

constexpr std::array endings{Ending{"Median", "median"}, Ending{"95Percent", "95 % up to"},
                             Ending{"Least", "least"}, Ending{"Greatest", "greatest"}};

constexpr std::string_view gateBegin = "gate ";
constexpr std::string_view unitBegin = "unit of ";
constexpr std::string_view noteBegin = "note";

bool isOffset(std::string const& name) {
    return name.starts_with("grid") && name.ends_with("Offset");
}

std::optional<Meaning> meaningOf(std::string const& name) {
    auto const* const found = std::find_if(meanings.begin(), meanings.end(),
                                           [&](Meaning const& meaning) { return meaning.name == name; });
    if (found != meanings.end()) {
        return *found;
    }
    for (Spread const& spread : spreads) {
        for (Ending const& ending : endings) {
            if (name == std::string(spread.begin) + std::string(ending.end)) {
                return Meaning{spread.label, ending.label, spread.measure};
            }
        }
    }
    return std::nullopt;
}

/// In a page, with a blank in front.
std::string suffixOf(Measure measure, std::string const& length) {
    switch (measure) {
    case Measure::Length:
        return " " + length;
    case Measure::Area:
        return " " + length + "\xC2\xB2";
    case Measure::Degrees:
        return "\xC2\xB0";
    case Measure::Milliseconds:
        return " ms";
    case Measure::Speed:
        return " m/s";
    case Measure::Share:
        return " %";
    case Measure::Pixels:
        return " pixels";
    case Measure::Plain:
        break;
    }
    return "";
}

double factorOf(Measure measure) {
    constexpr double percent = 100.0;
    return measure == Measure::Share ? percent : 1.0;
}

/// What was found is rounded, what was told is not.
std::string plainText(Json const& value, double factor, bool isExact) {
    if (value.is_boolean()) {
        return value.get<bool>() ? "yes" : "no";
    }
    if (value.is_number_integer()) {
        return value.dump();
    }
    if (value.is_number()) {
        double const number = factor * value.get<double>();
        return isExact ? toExactText(number) : readableNumber(number);
    }
    return value.is_string() ? value.get<std::string>() : "not a finite number";
}

std::string listText(Json const& list, char const* between, bool isExact) {
    std::string all;
    for (Json const& value : list) {
        all += (all.empty() ? "" : between) + plainText(value, 1.0, isExact);
    }
    return all;
}

} // namespace

std::string readableNumber(double number) {
    constexpr int digits = 5;
    constexpr double large = 1e4;
    constexpr double huge = 1e7;
    double const size = std::abs(number);
    return size >= large && size < huge ? toFixedText(number, 0) : toShortText(number, digits);
}

ReportRecord::ReportRecord(std::string const& newText, std::string const& resultName) : text(newText) {
    Json found = Json::parse(newText, nullptr, false);
    bool const isRecord = found.is_object() && found.value("kind", Json()) == "record of a result" &&
                          found.value("command", Json()).is_string();
    require(isRecord, resultName + ": holds no record of how it was made, so there is nothing to report on; "
                                   "scan again with 'cscan scan --data'");
    for (char const* const group : {"settings", "figures", "units"}) {
        if (!found.contains(group) || !found.at(group).is_object()) {
            found[group] = Json::object();
        }
    }
    json = std::make_shared<Json const>(std::move(found));
}

std::string ReportRecord::command() const {
    return json->at("command").get<std::string>();
}

std::string ReportRecord::version() const {
    Json const version = json->value("version", Json());
    return version.is_string() ? version.get<std::string>() : "not known";
}

std::string ReportRecord::lengthUnit() const {
    Json const unit = json->at("units").value("length", Json());
    return unit.is_string() ? unit.get<std::string>() : "units";
}

std::vector<ReportRecord::Input> ReportRecord::inputs() const {
    std::vector<Input> inputs;
    Json const list = json->value("inputs", Json::array());
    for (Json const& entry : list) {
        if (!entry.is_object()) {
            continue;
        }
        Json const name = entry.value("file", Json());
        Json const bytes = entry.value("bytes", Json());
        Json const digest = entry.value("sha256", Json());
        inputs.push_back(
            {name.is_string() ? name.get<std::string>() : "",
             bytes.is_number_unsigned() ? std::optional(bytes.get<std::uint64_t>()) : std::nullopt,
             digest.is_string() ? digest.get<std::string>() : ""});
    }
    return inputs;
}

ReportRecord::Json const* ReportRecord::find(std::string const& group, std::string const& name) const {
    auto const found = json->at(group).find(name);
    return found == json->at(group).end() ? nullptr : &*found;
}

bool ReportRecord::has(std::string const& group, std::string const& name) const {
    return find(group, name) != nullptr;
}

std::optional<double> ReportRecord::number(std::string const& group, std::string const& name) const {
    Json const* const value = find(group, name);
    return value != nullptr && value->is_number() ? std::optional(value->get<double>()) : std::nullopt;
}

std::optional<std::string> ReportRecord::textOf(std::string const& group, std::string const& name) const {
    Json const* const value = find(group, name);
    return value != nullptr && value->is_string() ? std::optional(value->get<std::string>()) : std::nullopt;
}

std::vector<std::string> ReportRecord::namesIn(std::string const& group) const {
    std::vector<std::string> names;
    for (auto const& item : json->at(group).items()) {
        names.push_back(item.key());
    }
    return names;
}

std::vector<std::string> ReportRecord::linesOf(std::string const& group) const {
    std::vector<std::string> lines;
    for (auto const& item : json->at(group).items()) {
        Json const& value = item.value();
        lines.push_back(item.key() + " " + (value.is_string() ? value.get<std::string>() : value.dump()));
    }
    return lines;
}

std::vector<std::string> ReportRecord::restOf(std::string const& group) const {
    std::vector<std::string> names = namesIn(group);
    std::erase_if(names, [&](std::string const& name) { return toldNames.contains(group + "." + name); });
    return names;
}

std::string ReportRecord::labelOf(std::string const& name) {
    if (name.starts_with(gateBegin)) {
        return "gate on " + name.substr(gateBegin.size());
    }
    if (name.starts_with(unitBegin)) {
        return "column " + name.substr(unitBegin.size()) + ", in";
    }
    if (name.starts_with(noteBegin)) {
        return "note of the scan";
    }
    if (isOffset(name)) {
        return "place of " + name.substr(0, name.size() - std::string_view("Offset").size()) +
               " in the scan plane";
    }
    auto const meaning = meaningOf(name);
    return meaning ? std::string(meaning->label) : name;
}

std::string ReportRecord::columnUnit(std::string const& quantity) const {
    auto const unit = textOf("figures", std::string(unitBegin) + quantity);
    return unit && !unit->empty() ? " " + *unit : std::string(" in the column's unit");
}

std::string ReportRecord::unitOf(std::string const& name) const {
    if (name.starts_with(gateBegin)) {
        return columnUnit(name.substr(gateBegin.size()));
    }
    if (name == "zero") {
        return columnUnit(textOf("settings", "depthOf").value_or(""));
    }
    if (name == "reference") {
        return columnUnit("amplitude");
    }
    if (isOffset(name)) {
        return suffixOf(Measure::Pixels, "");
    }
    auto const meaning = meaningOf(name);
    return meaning ? suffixOf(meaning->measure, lengthUnit()) : "";
}

Html ReportRecord::told(std::string const& group, std::string const& name) {
    toldNames.insert(group + "." + name);
    Json const* const value = find(group, name);
    if (value == nullptr) {
        return textHtml("\xE2\x80\x93");
    }
    auto const meaning = meaningOf(name);
    double const factor = meaning ? factorOf(meaning->measure) : 1.0;
    bool const isGate = name.starts_with(gateBegin);
    bool const isExact = group == "settings";
    std::string const shown = value->is_array() ? listText(*value, isGate ? " to " : ", ", isExact)
                              : value->is_string() && value->get<std::string>().empty()
                                  ? std::string("not told")
                                  : plainText(*value, factor, isExact);
    bool const isNumber = value->is_number() || value->is_array();
    Html html =
        element("data", textHtml(shown), {{"value", value->dump()}, {"data-name", group + "." + name}});
    html += textHtml(isNumber ? unitOf(name) : "");
    return html;
}

} // namespace QELT::Inspection
