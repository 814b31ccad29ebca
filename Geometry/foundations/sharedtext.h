#pragma once

#include <memory>
#include <ostream>
#include <string>
#include <utility>

namespace QELT {

/// A text that is written once and read in many places, such as the name of a file in every answer about it.
/// Copies share the characters and take no memory; to change it is to assign another one. Reads as a string.
class SharedText {
public:
    SharedText() = default;

    SharedText(std::string newText)
        : text(newText.empty() ? nullptr : std::make_shared<std::string const>(std::move(newText))) {}

    SharedText(char const* newText) : SharedText(std::string(newText)) {}

    operator std::string const&() const { return get(); }

    /// Valid as long as some copy lives.
    std::string const& get() const {
        static std::string const nothing;
        return text == nullptr ? nothing : *text;
    }

    /// The text with a zero behind it, as long as any copy is there.
    char const* c_str() const { return get().c_str(); }

private:
    std::shared_ptr<std::string const> text;
};

inline bool operator==(SharedText const& a, SharedText const& b) {
    return a.get() == b.get();
}

inline bool operator==(SharedText const& a, std::string const& b) {
    return a.get() == b;
}

inline bool operator==(SharedText const& a, char const* b) {
    return a.get() == b;
}

inline std::ostream& operator<<(std::ostream& stream, SharedText const& text) {
    return stream << text.get();
}

} // namespace QELT
