#include "Inspection/pages/internal/pagetext.h"

#include "Inspection/records/failure.h"

namespace QELT::Inspection {

namespace {

std::string escapedForHtml(std::string_view text) {
    std::string escaped;
    for (char const character : text) {
        switch (character) {
        case '&':
            escaped += "&amp;";
            break;
        case '<':
            escaped += "&lt;";
            break;
        case '>':
            escaped += "&gt;";
            break;
        default:
            escaped += character;
        }
    }
    return escaped;
}

/// JSON in which no element of HTML can end or begin. The sign stands in texts alone, where it may be
/// escaped.
std::string escapedJson(nlohmann::ordered_json const& json) {
    std::string const text = json.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace);
    std::string escaped;
    escaped.reserve(text.size());
    for (char const character : text) {
        if (character == '<') {
            escaped += "\\u003c";
        } else {
            escaped += character;
        }
    }
    return escaped;
}

std::string dataElementsOf(PageModel const& model) {
    std::string text =
        "<script type=\"application/json\" id=\"model\">" + escapedJson(model.json) + "</script>\n";
    std::size_t number = 0;
    for (std::string const& section : model.sections.getTexts()) {
        text += "<script type=\"application/octet-stream\" id=\"section" + std::to_string(number++) + "\">";
        text += section;
        text += "</script>\n";
    }
    return text;
}

} // namespace

std::string pageOf(std::string_view bundle, std::string const& title, PageModel const& model) {
    std::size_t const titleAt = bundle.find(pageTitleMark);
    std::size_t const dataAt = bundle.find(pageDataMark);
    require(titleAt < dataAt && dataAt != std::string_view::npos,
            "the page that this program was built with is damaged: build it again");
    std::string page(bundle.substr(0, titleAt));
    page += escapedForHtml(title);
    page += bundle.substr(titleAt + pageTitleMark.size(), dataAt - titleAt - pageTitleMark.size());
    page += dataElementsOf(model);
    page += bundle.substr(dataAt + pageDataMark.size());
    return page;
}

} // namespace QELT::Inspection
