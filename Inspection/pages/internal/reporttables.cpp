#include "Inspection/pages/internal/reporttables.h"

namespace QELT::Inspection {

namespace {

/// More lines than that do not fit on what is left of most sheets.
constexpr std::size_t mostLinesTogether = 24;

Html::Attributes classOf(std::string const& name) {
    return name.empty() ? Html::Attributes() : Html::Attributes{{"class", name}};
}

Html cells(std::vector<Html> const& line, bool areNumbers) {
    Html row;
    for (std::size_t i = 0; i < line.size(); ++i) {
        row += element("td", line[i], classOf(areNumbers && i > 0 ? "number" : ""));
    }
    return element("tr", row);
}

} // namespace

Html pairTable(ReportPairs const& pairs) {
    Html rows;
    for (auto const& [name, text] : pairs) {
        Html row = element("th", textHtml(name), {{"scope", "row"}});
        row += element("td", text);
        rows += element("tr", row);
    }
    bool const isLong = pairs.size() > mostLinesTogether;
    return element("table", element("tbody", rows), {{"class", isLong ? "pairs long" : "pairs"}});
}

Html lineTable(std::vector<std::string> const& heading, std::vector<std::vector<Html>> const& lines,
               bool areNumbers) {
    Html row;
    for (std::size_t i = 0; i < heading.size(); ++i) {
        Html::Attributes attributes = classOf(areNumbers && i > 0 ? "number" : "");
        attributes.emplace_back("scope", "col");
        row += element("th", textHtml(heading[i]), attributes);
    }
    Html body;
    for (auto const& line : lines) {
        body += cells(line, areNumbers);
    }
    Html table = element("thead", element("tr", row));
    table += element("tbody", body);
    return element("table", table, {{"class", lines.size() > mostLinesTogether ? "lines long" : "lines"}});
}

Html section(std::string const& heading, Html const& inside, bool doBeginSheet) {
    Html html = element("h2", textHtml(heading));
    html += inside;
    return element("section", html, classOf(doBeginSheet ? "sheet" : ""));
}

Html paragraph(std::string const& text, char const* kind) {
    return element("p", textHtml(text), classOf(kind));
}

} // namespace QELT::Inspection
