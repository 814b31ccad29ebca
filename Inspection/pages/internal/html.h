#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace QELT::Inspection {

/// A piece of a page. Text comes into it by `textHtml` and `element` alone, which escape it.
class Html {
public:
    using Attributes = std::vector<std::pair<char const*, std::string>>;

    Html() = default;

    Html& operator+=(Html const& more) {
        text += more.text;
        return *this;
    }

    /// As a file holds it.
    std::string const& getText() const { return text; }

    bool isEmpty() const { return text.empty(); }

private:
    std::string text;

    friend Html textHtml(std::string_view plain);
    friend Html element(char const* name, Html const& inside, Attributes const& attributes);
    friend Html emptyElement(char const* name, Attributes const& attributes);
    friend Html writtenHtml(char const* markup);
    friend Html styleText(std::string_view plain);
};

/// Shows the text as it is: nothing in it is taken for markup. What is no UTF-8, or cannot stand in a page,
/// is replaced by the sign for that.
Html textHtml(std::string_view plain);

/// <name attribute="value">inside</name>
Html element(char const* name, Html const& inside, Html::Attributes const& attributes = {});

/// An element that has no end, such as "img".
Html emptyElement(char const* name, Html::Attributes const& attributes = {});

/// Markup of the program's own, which is not escaped.
Html writtenHtml(char const* markup);

/// The text in quotation marks for a style, with nothing in it that could end it.
Html styleText(std::string_view plain);

} // namespace QELT::Inspection
