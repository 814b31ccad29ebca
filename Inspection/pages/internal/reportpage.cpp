#include "Inspection/pages/internal/reportpage.h"

#include "Inspection/pages/internal/reportsections.h"

#include <algorithm>

// The page is one file: style and pictures lie in it, there is no script, and it asks for nothing. On paper
// it is A4 with the numbers of the sheets; figures, short tables and lines of long ones are never cut.

namespace QELT::Inspection {

namespace {

constexpr char const* style = R"(
:root { color-scheme: light; --ink: #111; --soft: #4a4f57; --rule: #c3c8d0; --pale: #f3f5f8; --mark: #0b3d75; --alarm: #8c1111; }
* { box-sizing: border-box; }
html { background: #e4e7ec; }
body { margin: 0 auto; max-width: 210mm; padding: 14mm 15mm 18mm; background: #fff; color: var(--ink);
  font: 10pt/1.45 "Helvetica Neue", Helvetica, Arial, "Liberation Sans", "DejaVu Sans", sans-serif;
  font-variant-numeric: tabular-nums; }
header { border-bottom: 2.5pt solid var(--ink); padding-bottom: 3mm; margin-bottom: 4mm; }
h1 { font-size: 20pt; line-height: 1.2; margin: 0; letter-spacing: -0.01em; }
header p { margin: 1mm 0 0; color: var(--soft); }
h2 { font-size: 13pt; margin: 9mm 0 2.5mm; padding-top: 1.5mm; border-top: 1pt solid var(--ink); color: var(--mark); }
h3 { font-size: 10pt; margin: 4.5mm 0 1.2mm; }
p { margin: 0 0 2mm; }
.small { font-size: 8.5pt; color: var(--soft); margin-top: 1.5mm; }
table { width: 100%; border-collapse: collapse; margin: 0; }
th, td { text-align: left; vertical-align: top; padding: 0.9mm 2mm 0.9mm 0; border-bottom: 0.5pt solid var(--rule);
  overflow-wrap: anywhere; }
.pairs th { width: 48%; font-weight: normal; color: var(--soft); }
.columns table, .columns tbody { display: block; }
.columns tbody { columns: 2; column-gap: 10mm; }
.columns tr { display: flex; break-inside: avoid; border-bottom: 0.5pt solid var(--rule); }
.columns th, .columns td { border: 0; }
.columns th { flex: 0 0 50%; }
.columns td { flex: 1 1 auto; }
.lines { font-size: 9pt; }
.lines th, .lines td { overflow-wrap: break-word; }
.lines thead th { border-bottom: 1pt solid var(--ink); font-size: 8.5pt; color: var(--soft); vertical-align: bottom; overflow-wrap: normal; }
th.number, td.number { text-align: right; padding: 0.9mm 0 0.9mm 2.5mm; }
td.number { white-space: normal; }
.absent { color: var(--soft); font-style: italic; }
.tiles { display: grid; grid-template-columns: repeat(4, 1fr); gap: 4mm; margin-top: 5mm; }
.tiles div { background: var(--pale); border-left: 2.5pt solid var(--mark); padding: 2.5mm 3mm; }
.tiles strong, .tiles span { display: block; }
.tiles strong { font-size: 13.5pt; line-height: 1.25; white-space: nowrap; }
.tiles span { color: var(--soft); font-size: 8.5pt; }
.warning { border: 1.5pt solid var(--alarm); padding: 1mm 4mm 2mm; margin: 4mm 0; }
.warning h2 { border: 0; margin: 1mm 0; padding: 0; color: var(--alarm); }
.changed { color: var(--alarm); font-weight: bold; }
.standing { color: var(--soft); }
ul { margin: 0; padding-left: 5mm; }
li { margin: 0 0 1mm; }
.limits li { margin-bottom: 1.6mm; }
figure { margin: 3mm 0 6mm; }
figure img { display: block; max-width: 100%; height: auto; border: 0.5pt solid var(--rule); }
figcaption { font-size: 9pt; margin-top: 1.2mm; }
code { white-space: nowrap; }
code, pre { font-family: "DejaVu Sans Mono", "Liberation Mono", Menlo, Consolas, monospace; font-size: 7pt; }
pre { white-space: pre-wrap; overflow-wrap: anywhere; background: var(--pale); padding: 3mm; margin: 0; line-height: 1.35; }
@page { size: A4; margin: 15mm 15mm 17mm; @bottom-right { content: counter(page) " / " counter(pages); font: 7.5pt sans-serif; color: #4a4f57; } }
@media print {
  html, body { background: #fff; }
  body { max-width: none; padding: 0; print-color-adjust: exact; -webkit-print-color-adjust: exact; }
  h2, h3 { break-after: avoid; }
  figure, table, tr, .block, .tiles, .warning, li { break-inside: avoid; }
  table.long, .block:has(table.long) { break-inside: auto; }
  .tall img { max-height: 215mm; }
  .wide img { max-height: 105mm; }
  figure { margin: 2mm 0 4mm; }
  thead { display: table-header-group; }
  p { orphans: 3; widows: 3; }
  .sheet { break-before: page; }
  .sheet h2 { margin-top: 0; }
}
)";

std::string titleOf(ReportContent const& content) {
    auto const part = std::find_if(content.fields.begin(), content.fields.end(),
                                   [](auto const& field) { return field.first == "part" && field.second; });
    return part == content.fields.end() ? "C-scan report" : "C-scan report: " + *part->second;
}

/// What each sheet of paper says at its foot, so that none can be taken for another's.
Html footStyle(ReportContent const& content, std::string const& title) {
    auto const serial = std::find_if(content.fields.begin(), content.fields.end(), [](auto const& field) {
        return field.first == "serial" && field.second;
    });
    constexpr std::size_t firstDigits = 16;
    std::string const dot = " \xC2\xB7 ";
    Html html = writtenHtml("@page { @bottom-left { content: ");
    html += styleText(title + (serial == content.fields.end() ? "" : dot + *serial->second) + dot +
                      content.resultName + ", SHA-256 " + content.resultDigest.substr(0, firstDigits));
    html += writtenHtml("; font: 7.5pt sans-serif; color: #4a4f57; width: 90%; } }\n");
    return html;
}

Html head(ReportContent const& content, std::string const& title) {
    Html html = emptyElement("meta", {{"charset", "utf-8"}});
    html += emptyElement("meta", {{"name", "viewport"}, {"content", "width=device-width, initial-scale=1"}});
    html += element("title", textHtml(title));
    Html styles = writtenHtml(style);
    styles += footStyle(content, title);
    html += element("style", styles);
    return element("head", html);
}

Html header(ReportContent const& content, std::string const& title) {
    Html html = element("h1", textHtml(title));
    Result const& result = content.result;
    std::string const unit =
        result.unit.empty() ? "the unit of length is not known" : "lengths in " + result.unit;
    html += element("p", textHtml(content.resultName + " \xC2\xB7 " + std::to_string(result.width) +
                                  " \xC3\x97 " + std::to_string(result.height) + " pixels \xC2\xB7 " + unit));
    return element("header", html);
}

} // namespace

std::string reportPage(ReportContent const& content, ReportRecord& record, ProgressListener* listener) {
    std::string const title = titleOf(content);
    Html body = header(content, title);
    body += standingSection(content);
    body += fieldsSection(content);
    body += summarySection(content, record);
    body += settingsSection(record);
    body += shotsSection(record);
    body += coverageSection(content, record);
    body += spreadSection(record);
    body += distortionSection(content);
    body += picturesSection(content, listener);
    body += indicationsSection(content);
    body += limitationsSection(content, record);
    body += restSection(record);
    body += inputsSection(content, record);
    body += recordSection(record);
    Html page = head(content, title);
    page += element("body", element("main", body));
    return "<!DOCTYPE html>\n" + element("html", page, {{"lang", "en"}}).getText() + "\n";
}

} // namespace QELT::Inspection
