#include "Inspection/pages/internal/reportsections.h"

#include "Inspection/pages/internal/reportlimits.h"
#include "Inspection/pages/internal/reporttables.h"
#include "Inspection/pages/internal/sections.h"
#include "Inspection/pictures/pngfile.h"
#include "Inspection/pictures/valuepicture.h"
#include "Inspection/records/internal/announce.h"
#include "Inspection/records/numbers.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <set>
#include <string_view>

namespace QELT::Inspection {

namespace {

constexpr char const* dash = "\xE2\x80\x93";
constexpr char const* untold = "not told in the record";
constexpr double percent = 100.0;

std::string capitalised(std::string text) {
    if (!text.empty() && text.front() >= 'a' && text.front() <= 'z') {
        text.front() = static_cast<char>(text.front() - 'a' + 'A');
    }
    return text;
}

Html numberHtml(double number, std::string const& unit) {
    return textHtml(readableNumber(number) + unit);
}

std::string shareText(double part, double whole) {
    constexpr int decimals = 2;
    return toFixedText(whole > 0.0 ? percent * part / whole : 0.0, decimals) + " %";
}

/// Lines of a text one below the other.
Html linesHtml(std::string const& text) {
    Html html;
    for (std::size_t begin = 0; begin <= text.size();) {
        std::size_t const end = std::min(text.find('\n', begin), text.size());
        html += begin > 0 ? emptyElement("br") : Html();
        html += textHtml(std::string_view(text).substr(begin, end - begin));
        begin = end + 1;
    }
    return html;
}

/// Those of the names that the record has, with their values.
ReportPairs toldPairs(ReportRecord& record, std::string const& group, std::vector<std::string> const& names) {
    ReportPairs pairs;
    for (std::string const& name : names) {
        if (record.has(group, name)) {
            pairs.emplace_back(capitalised(ReportRecord::labelOf(name)), record.told(group, name));
        }
    }
    return pairs;
}

std::vector<std::string> namesFrom(ReportRecord const& record, std::string const& group,
                                   std::string_view begin) {
    std::vector<std::string> names = record.namesIn(group);
    std::erase_if(names, [&](std::string const& name) { return !name.starts_with(begin); });
    return names;
}

Html subheading(char const* text) {
    return element("h3", textHtml(text));
}

/// A heading that stays with its table.
Html block(char const* heading, Html const& inside) {
    Html html = subheading(heading);
    html += inside;
    return element("div", html, {{"class", "block"}});
}

} // namespace

Html fieldsSection(ReportContent const& content) {
    ReportPairs pairs;
    for (auto const& [name, text] : content.fields) {
        pairs.emplace_back(capitalised(name),
                           text ? linesHtml(*text)
                                : element("span", textHtml("not given"), {{"class", "absent"}}));
    }
    return section("Part and procedure", element("div", pairTable(pairs), {{"class", "columns"}}));
}

Html standingSection(ReportContent const& content) {
    auto const count = [&](InputState state) {
        return std::count_if(content.inputs.begin(), content.inputs.end(),
                             [&](CheckedInput const& input) { return input.state == state; });
    };
    Html items;
    for (std::string const& misfit : content.misfits) {
        items += element("li", textHtml(capitalised(misfit) + "."));
    }
    for (CheckedInput const& input : content.inputs) {
        if (input.state == InputState::Changed) {
            items += element("li", textHtml("Input " + input.name + " is not as it was when scanned."));
        }
    }
    if (!items.isEmpty()) {
        Html warning = element("h2", textHtml("Not as recorded"));
        warning += element("ul", items);
        return element("section", warning, {{"class", "warning"}});
    }
    std::string text = std::to_string(count(InputState::AsRecorded)) + " of " +
                       std::to_string(content.inputs.size()) + " inputs are as they were when scanned";
    if (auto const missing = count(InputState::NotFound); missing > 0) {
        text += ", " + std::to_string(missing) + " not found";
    }
    text += content.remarks.empty() ? "; the result fits its record." : ". Not everything could be checked:";
    Html html = paragraph(text);
    Html remarks;
    for (std::string const& remark : content.remarks) {
        remarks += element("li", textHtml(capitalised(remark) + "."));
    }
    html += remarks.isEmpty() ? Html() : element("ul", remarks);
    return element("section", html, {{"class", "standing"}});
}

Html summarySection(ReportContent const& content, ReportRecord& record) {
    Html tiles;
    auto const tile = [&](Html const& figure, std::string const& label) {
        Html html = element("strong", figure);
        html += element("span", textHtml(label));
        tiles += element("div", html);
    };
    tile(record.told("figures", "coverage"), "of the surface reached");
    tile(record.told("figures", "longestGap"), "longest gap");
    tile(record.told("figures", "shots"), "shots");
    tile(textHtml(content.indications ? std::to_string(content.indications->rows.size()) : "no table"),
         "indications");
    return element("section", element("div", tiles, {{"class", "tiles"}}));
}

Html settingsSection(ReportRecord& record) {
    std::vector<std::string> const placing{
        "pose",         "poseUnit",        "beamAxis",         "toolRow1",  "toolRow2",
        "toolRow3",     "toolTranslation", "toolUnit",         "frame",     "frameRow1",
        "frameRow2",    "frameRow3",       "frameTranslation", "frameUnit", "poses",
        "maxGapOfPoses"};
    Html html;
    std::vector<std::string> measured = record.namesIn("settings");
    std::erase_if(measured, [&](std::string const& name) {
        return name == "lag" || std::find(placing.begin(), placing.end(), name) != placing.end();
    });
    html += block("Shots and values", pairTable(toldPairs(record, "settings", measured)));
    ReportPairs pairs = toldPairs(record, "settings", placing);
    bool const isTold = record.has("figures", "poseRead");
    if (!record.has("settings", "frame")) {
        pairs.emplace_back("Frame", textHtml(isTold ? "none: positions are those of the table" : untold));
    }
    bool const isLagFound = record.has("figures", "lag");
    if (isLagFound || record.has("settings", "lag")) {
        pairs.emplace_back(isLagFound ? "Lag of the clocks, found" : "Lag of the clocks, as told",
                           record.told(isLagFound ? "figures" : "settings", "lag"));
    } else {
        pairs.emplace_back("Lag of the clocks",
                           textHtml(isTold ? "none: there is one table, with one clock" : untold));
    }
    auto const found = toldPairs(record, "figures", {"lagUncertainty", "poseRead", "poseScale"});
    pairs.insert(pairs.end(), found.begin(), found.end());
    html += block("Poses, frame and lag", pairTable(pairs));
    return section("Settings", html);
}

Html shotsSection(ReportRecord& record) {
    ReportPairs pairs = toldPairs(record, "figures",
                                  {"lines", "badLines", "shotsInGapsOfPoses", "shotsOutsidePoses", "shots",
                                   "missed", "refusedByAngle", "refusedByStandoff", "refusedAsBad",
                                   "withoutEcho", "echoes", "saturated", "hasFlippedNormals"});
    for (std::string const begin : {"unit of ", "columnsNotRead"}) {
        auto const more = toldPairs(record, "figures", namesFrom(record, "figures", begin));
        pairs.insert(pairs.end(), more.begin(), more.end());
    }
    return section("Shots", element("div", pairTable(pairs), {{"class", "columns"}}));
}

namespace {

Html stateTable(ReportContent const& content) {
    Coverage const& coverage = content.coverage;
    std::vector<std::vector<Html>> lines;
    for (std::size_t i = 1; i < pixelStateCount; ++i) {
        lines.push_back({textHtml(nameOf(static_cast<PixelState>(i))),
                         numberHtml(coverage.areas[i], content.area()),
                         textHtml(shareText(coverage.areas[i], coverage.surfaceArea)),
                         textHtml(std::to_string(coverage.pixels[i]))});
    }
    lines.push_back({textHtml("all"), numberHtml(coverage.surfaceArea, content.area()),
                     textHtml(shareText(coverage.surfaceArea, coverage.surfaceArea)),
                     textHtml(std::to_string(content.scale.count))});
    return lineTable({"State", "Area on the part", "Share", "Pixels"}, lines, true);
}

Html patchTable(ReportContent const& content) {
    std::vector<std::vector<Html>> lines;
    for (UnreachedPatch const& patch : content.coverage.patches) {
        lines.push_back({textHtml(placeText(content, content.result.indexOf(patch.u, patch.v))),
                         numberHtml(patch.area, content.area()), numberHtml(patch.gap, content.length()),
                         textHtml(std::to_string(patch.pixelCount))});
    }
    return lineTable({"Middle", "Area", "Longest gap within", "Pixels"}, lines, true);
}

} // namespace

Html coverageSection(ReportContent const& content, ReportRecord& record) {
    Coverage const& coverage = content.coverage;
    ReportPairs pairs =
        toldPairs(record, "figures",
                  {"surfaceArea", "reachedArea", "coverage", "longestGap", "typicalGap", "unreachedPatches"});
    if (coverage.longestGap > 0.0) {
        pairs.emplace_back(
            "Place of the longest gap",
            textHtml(placeText(content, content.result.indexOf(coverage.gapU, coverage.gapV))));
    }
    pairs.emplace_back("Patches are told where gaps exceed", numberHtml(coverage.patchGap, content.length()));
    Html html = pairTable(pairs);
    html += block("Surface by state, in true areas of the quads", stateTable(content));
    if (!coverage.patches.empty()) {
        html += block("Largest patches not reached", patchTable(content));
    }
    return section("Coverage", html);
}

Html spreadSection(ReportRecord& record) {
    struct Spread {
        std::string begin;
        std::string label;
    };

    std::vector<std::vector<Html>> lines;
    for (Spread const& spread : {Spread{"standoff", "Standoff"}, Spread{"incidence", "Angle off head-on"},
                                 Spread{"residual", "Measured less geometric standoff"}}) {
        std::vector<Html> line{textHtml(spread.label)};
        for (char const* const end : {"Median", "95Percent", "Least", "Greatest"}) {
            line.push_back(record.told("figures", spread.begin + end));
        }
        lines.push_back(line);
    }
    Html html = lineTable({"Quantity", "Median", "95 % up to", "Least", "Greatest"}, lines, true);
    html += paragraph(
        "Standoff and angle are those of every shot that met the surface, refused ones too; 0\xC2\xB0 "
        "is head-on, and more than 90\xC2\xB0 is from behind. The difference to the measured "
        "standoff is known where a time of the front wall was measured.",
        "small");
    return section("Standoff, incidence and agreement", html);
}

Html distortionSection(ReportContent const& content) {
    PixelScale const& scale = content.scale;
    std::vector<std::vector<Html>> lines;
    auto const add = [&](char const* label, double area) {
        lines.push_back(
            {textHtml(label), numberHtml(area, content.area()), numberHtml(std::sqrt(area), content.length()),
             textHtml(scale.medianArea > 0.0 ? readableNumber(area / scale.medianArea) : dash),
             textHtml(scale.medianArea > 0.0 ? readableNumber(std::sqrt(area / scale.medianArea)) : dash)});
    };
    add("least", scale.leastArea);
    add("2.5 % are smaller", scale.lowArea);
    add("median", scale.medianArea);
    add("2.5 % are larger", scale.highArea);
    add("greatest", scale.greatestArea);
    Html html =
        lineTable({"Pixels", "Area on the part", "Width (root of the area)", "Area factor", "Local scale"},
                  lines, true);
    html +=
        paragraph("Every pixel is a quad of the grid. The factors compare its true area, and its width, with "
                  "those of the median pixel: 1 everywhere is a map without distortion of areas.",
                  "small");
    return section("Distortion of the grid", html);
}

namespace {

/// Numbers of indications at their centres.
ValuePictureOptions pictureOptions(ReportContent const& content, ValueMap const& map) {
    ValuePictureOptions options = usualStyleOf(map);
    if (!content.indications) {
        return options;
    }
    IndicationTable const& table = *content.indications;
    auto const number = table.find("number");
    auto const u = table.find("u");
    auto const v = table.find("v");
    if (!u || !v) {
        return options;
    }
    for (auto const& row : table.rows) {
        auto const placeU = parseNumber(row[*u]);
        auto const placeV = parseNumber(row[*v]);
        if (placeU && placeV) {
            options.labels.emplace_back(FlatPoint(*placeU, *placeV), row[*number]);
        }
    }
    return options;
}

Html figureHtml(Image const& image, std::string const& name, Html const& caption) {
    Html figure = emptyElement("img", {{"src", "data:image/png;base64," + toBase64(pngBytesOf(image))},
                                       {"alt", "C-scan: " + name},
                                       {"width", std::to_string(image.getWidth())},
                                       {"height", std::to_string(image.getHeight())}});
    figure += element("figcaption", caption);
    bool const isTall = image.getHeight() > image.getWidth();
    return element("figure", figure, {{"class", isTall ? "tall" : "wide"}});
}

char const* wordOf(Statistic statistic) {
    switch (statistic) {
    case Statistic::Min:
        return "least";
    case Statistic::Max:
        return "greatest";
    case Statistic::Mean:
        return "mean";
    case Statistic::Median:
        return "median";
    case Statistic::Last:
        return "last";
    case Statistic::Count:
        break;
    }
    return "number of shots with";
}

Html captionOf(ValueMap const& map) {
    std::vector<double> values;
    std::copy_if(map.values.begin(), map.values.end(), std::back_inserter(values),
                 [](double value) { return std::isfinite(value); });
    Html caption = element("strong", textHtml(map.name));
    std::string text = ": " + std::string(wordOf(map.statistic)) + " " + map.quantity + " in each pixel";
    std::string const unit = map.unit.empty() ? "" : " " + map.unit;
    if (values.empty()) {
        text += "; no pixel holds a value";
    } else {
        auto const [low, high] = std::minmax_element(values.begin(), values.end());
        text += "; " + readableNumber(*low) + " to " + readableNumber(*high) + unit + " on " +
                std::to_string(values.size()) + " pixels";
    }
    if (map.ceiling) {
        text += "; saturated from " + readableNumber(*map.ceiling) + unit + " on";
    }
    caption += textHtml(text + ".");
    return caption;
}

} // namespace

Html picturesSection(ReportContent const& content, ProgressListener* listener) {
    Html html =
        paragraph("Each picture shows the grid's pixels, v upwards, with lengths on the part along a row "
                  "and a column. Nothing is averaged." +
                      std::string(content.indications ? " Numbers are those of the indications." : ""),
                  "small");
    announce(listener, "Drawing...");
    for (ValueMap const* const map : content.values) {
        checkpoint(listener);
        html += figureHtml(valuePicture(content.result, *map, pictureOptions(content, *map)), map->name,
                           captionOf(*map));
    }
    Html caption = element("strong", textHtml("States"));
    caption += textHtml(": what is known of each pixel.");
    html += figureHtml(statePicture(content.result), "states", caption);
    return section("C-scans", html, true);
}

namespace {

/// Columns that go together in a table as wide as a sheet. What no group names comes last.
std::vector<std::vector<std::string>> columnGroups(IndicationTable const& table) {
    std::vector<std::vector<std::string>> groups{
        {"state", "peak", "level", "length", "width", "area", "depth", "incidence", "touches", "under_beam"},
        {"x", "y", "z", "nx", "ny", "nz", "u", "v"},
        {"peak_x", "peak_y", "peak_z", "peak_nx", "peak_ny", "peak_nz", "peak_u", "peak_v"}};
    std::set<std::string> grouped{"number"};
    for (auto& group : groups) {
        grouped.insert(group.begin(), group.end());
        std::erase_if(group, [&](std::string const& column) { return !table.find(column); });
    }
    constexpr std::size_t most = 8;
    std::vector<std::string> others;
    for (std::string const& column : table.columns) {
        if (grouped.contains(column)) {
            continue;
        }
        others.push_back(column);
        if (others.size() == most) {
            groups.push_back(others);
            others.clear();
        }
    }
    groups.push_back(others);
    std::erase_if(groups, [](auto const& group) { return group.empty(); });
    return groups;
}

std::string readableName(std::string name) {
    std::replace(name.begin(), name.end(), '_', ' ');
    return name;
}

std::string readableUnit(std::string const& unit) {
    constexpr std::string_view square = "^2";
    return unit.ends_with(square) ? unit.substr(0, unit.size() - square.size()) + "\xC2\xB2" : unit;
}

/// Directions have no unit, and u and v count pixels.
std::string headingOf(IndicationTable const& table, std::size_t column) {
    std::string const& name = table.columns[column];
    std::string unit = table.units[column];
    if (unit.empty() && (name == "u" || name == "v" || name == "peak_u" || name == "peak_v")) {
        unit = "pixels";
    }
    return readableName(name) + (unit.empty() ? "" : " [" + readableUnit(unit) + "]");
}

/// Digits of a number beyond what is measured are not shown in the narrow columns; the exact text stays with
/// it.
Html cellHtml(std::string const& column, std::string const& text) {
    if (column == "under_beam" && (text == "0" || text == "1")) {
        return textHtml(text == "1" ? "yes" : "no");
    }
    auto const number = parseNumber(text);
    return number ? element("data", textHtml(readableNumber(*number)), {{"value", text}})
                  : textHtml(text.empty() ? dash : text);
}

Html groupTable(IndicationTable const& table, std::vector<std::string> const& group) {
    std::vector<std::size_t> columns{table.find("number").value_or(0)};
    std::vector<std::string> heading{"no."};
    for (std::string const& name : group) {
        columns.push_back(table.find(name).value_or(0));
        heading.push_back(headingOf(table, columns.back()));
    }
    std::vector<std::vector<Html>> lines;
    for (auto const& row : table.rows) {
        std::vector<Html> line;
        line.reserve(columns.size());
        for (std::size_t const column : columns) {
            line.push_back(cellHtml(table.columns[column], row[column]));
        }
        lines.push_back(line);
    }
    return lineTable(heading, lines, true);
}

char const* titleOf(std::vector<std::string> const& group) {
    std::string const& first = group.front();
    return first.starts_with("peak_") ? "Places of the peaks"
           : first == "x"             ? "Places of the centres"
           : first == "state"         ? "What was found"
                                      : "Further columns";
}

} // namespace

Html indicationsSection(ReportContent const& content) {
    if (!content.indications) {
        return section("Indications", paragraph("No table of indications was given."));
    }
    IndicationTable const& table = *content.indications;
    Html html = paragraph("From " + table.fileName + ": " + std::to_string(table.rows.size()) +
                          (table.rows.size() == 1 ? " indication." : " indications.") +
                          " Sizes are true ones along the surface of the part.");
    Html settings;
    for (std::string const& setting : table.settings) {
        settings += element("li", textHtml(setting));
    }
    html += settings.isEmpty() ? Html() : block("How they were found", element("ul", settings));
    if (!table.rows.empty()) {
        for (auto const& group : columnGroups(table)) {
            html += block(titleOf(group), groupTable(table, group));
        }
    }
    return section("Indications", html);
}

Html limitationsSection(ReportContent const& content, ReportRecord const& record) {
    Html items;
    for (std::string const& sentence : limitationsOf(content, record)) {
        items += element("li", textHtml(capitalised(sentence)));
    }
    Html html = element("ul", items, {{"class", "limits"}});
    html +=
        paragraph("This report tells what was measured and how. It does not judge the part, and it claims "
                  "conformity to no standard.");
    return section("Limitations", html);
}

Html restSection(ReportRecord& record) {
    ReportPairs pairs;
    for (char const* const group : {"settings", "figures"}) {
        auto const more = toldPairs(record, group, record.restOf(group));
        pairs.insert(pairs.end(), more.begin(), more.end());
    }
    return pairs.empty() ? Html() : section("Further figures of the record", pairTable(pairs));
}

namespace {

char const* textOf(InputState state) {
    switch (state) {
    case InputState::AsRecorded:
        return "as it was when scanned";
    case InputState::Changed:
        return "not as it was when scanned";
    case InputState::NotFound:
        return "not found";
    case InputState::NotRecorded:
        break;
    }
    return "has no digest in the record";
}

} // namespace

Html inputsSection(ReportContent const& content, ReportRecord const& record) {
    std::vector<std::vector<Html>> lines;
    for (CheckedInput const& input : content.inputs) {
        Html digest = element("code", textHtml(input.sha256.empty() ? dash : input.sha256));
        std::string const bytes = input.byteCount ? std::to_string(*input.byteCount) : dash;
        lines.push_back({textHtml(input.name), textHtml(bytes),
                         element("span", textHtml(textOf(input.state)),
                                 {{"class", input.state == InputState::Changed ? "changed" : "state"}}),
                         digest});
    }
    Html html = lineTable({"File", "Bytes", "Now", "SHA-256 when scanned"}, lines, false);
    html += paragraph("Result " + content.resultName + ", made by cscan " + record.command() + ", version " +
                          record.version() + "; SHA-256 now " + content.resultDigest + ".",
                      "small");
    return section("Inputs", html);
}

Html recordSection(ReportRecord const& record) {
    Html html =
        paragraph("Word for word, with every digit; the numbers above are rounded from these.", "small");
    html += element("pre", textHtml(record.getText()));
    return section("Record of the result", html, true);
}

} // namespace QELT::Inspection
