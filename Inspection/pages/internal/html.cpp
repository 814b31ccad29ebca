#include "Inspection/pages/internal/html.h"

#include <cctype>
#include <nlohmann/json.hpp>

namespace QELT::Inspection {

namespace {

/// What is no UTF-8 is replaced, as it is in records.
std::string validText(std::string_view bytes) {
    using nlohmann::json;
    return json::parse(json(std::string(bytes)).dump(-1, ' ', false, json::error_handler_t::replace))
        .get<std::string>();
}

constexpr char const* replacement = "\xEF\xBF\xBD";

/// Controls that HTML does not allow, even by number.
bool isForbidden(char letter) {
    constexpr unsigned char firstPrintable = 0x20;
    constexpr unsigned char deletion = 0x7F;
    auto const byte = static_cast<unsigned char>(letter);
    return (byte < firstPrintable && letter != '\n' && letter != '\t') || byte == deletion;
}

std::string escaped(std::string_view plain) {
    std::string text;
    for (char const letter : validText(plain)) {
        switch (letter) {
        case '&':
            text += "&amp;";
            break;
        case '<':
            text += "&lt;";
            break;
        case '>':
            text += "&gt;";
            break;
        case '"':
            text += "&quot;";
            break;
        case '\'':
            text += "&#39;";
            break;
        default:
            text += isForbidden(letter) ? std::string(replacement) : std::string(1, letter);
        }
    }
    return text;
}

std::string tagOf(char const* name, Html::Attributes const& attributes) {
    std::string tag = std::string("<") + name;
    for (auto const& [attribute, value] : attributes) {
        tag += std::string(" ") + attribute + "=\"" + escaped(value) + "\"";
    }
    return tag + ">";
}

} // namespace

Html textHtml(std::string_view plain) {
    Html html;
    html.text = escaped(plain);
    return html;
}

Html element(char const* name, Html const& inside, Html::Attributes const& attributes) {
    Html html;
    html.text = tagOf(name, attributes) + inside.text + "</" + name + ">";
    return html;
}

Html emptyElement(char const* name, Html::Attributes const& attributes) {
    Html html;
    html.text = tagOf(name, attributes);
    return html;
}

Html writtenHtml(char const* markup) {
    Html html;
    html.text = markup;
    return html;
}

Html styleText(std::string_view plain) {
    constexpr std::string_view digits = "0123456789abcdef";
    Html html;
    html.text = "\"";
    for (char const letter : validText(plain)) {
        auto const byte = static_cast<unsigned char>(letter);
        constexpr unsigned char ascii = 0x80;
        if (byte >= ascii || std::isalnum(byte) != 0 || letter == ' ') {
            html.text += letter;
        } else {
            html.text += {'\\', digits[byte >> 4U], digits[byte & 15U], ' '};
        }
    }
    html.text += "\"";
    return html;
}

} // namespace QELT::Inspection
