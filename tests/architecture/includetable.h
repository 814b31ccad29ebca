#pragma once

#include <filesystem>
#include <fstream>
#include <istream>
#include <map>
#include <regex>
#include <set>
#include <string>
#include <vector>

/// The #include lines of the repository's files.
namespace Architecture {

using Names = std::set<std::string>;

/// What a file includes, as written between the quotes or brackets.
struct Includes {
    Names quoted;
    Names angled;
};

/// File names relative to the repository's root, with what each includes.
using IncludeTable = std::map<std::string, Includes>;

inline std::filesystem::path repository() {
    return QELT_SOURCE_DIR;
}

inline Includes parseIncludes(std::istream& text) {
    static std::regex const pattern(R"(^\s*#\s*include\s*(?:"([^"]+)\"|<([^>]+)>).*$)");
    Includes result;
    for (std::string line; std::getline(text, line);) {
        std::smatch match;
        if (std::regex_match(line, match, pattern)) {
            (match[1].matched ? result.quoted : result.angled).insert(match[1].matched ? match[1] : match[2]);
        }
    }
    return result;
}

inline bool isSource(std::filesystem::path const& path) {
    return path.extension() == ".h" || path.extension() == ".cpp";
}

inline bool isHeader(std::string const& name) {
    return name.ends_with(".h");
}

inline IncludeTable readTree(std::string const& folder) {
    IncludeTable table;
    if (!std::filesystem::exists(repository() / folder)) {
        return table;
    }
    for (auto const& entry : std::filesystem::recursive_directory_iterator(repository() / folder)) {
        if (entry.is_regular_file() && isSource(entry.path())) {
            std::ifstream text(entry.path());
            table[entry.path().lexically_relative(repository()).generic_string()] = parseIncludes(text);
        }
    }
    return table;
}

/// All headers reached from `start`, itself included.
inline Names reachableFrom(std::string const& start, IncludeTable const& table) {
    Names reached;
    std::vector<std::string> waiting{start};
    while (!waiting.empty()) {
        std::string const name = waiting.back();
        waiting.pop_back();
        auto const entry = table.find(name);
        if (entry != table.end() && reached.insert(name).second) {
            waiting.insert(waiting.end(), entry->second.quoted.begin(), entry->second.quoted.end());
        }
    }
    return reached;
}

} // namespace Architecture
