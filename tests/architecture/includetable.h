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

/// What a file includes, as written between the quotes or brackets, and the classes at namespace scope, with
/// their namespaces, that it defines and that it only declares.
struct Includes {
    Names quoted;
    Names angled;
    Names defined;
    Names declared;
};

/// File names relative to the repository's root, with what each includes.
using IncludeTable = std::map<std::string, Includes>;

inline std::filesystem::path repository() {
    return QELT_SOURCE_DIR;
}

inline bool isInternal(std::string const& name) {
    return name.find("/internal/") != std::string::npos;
}

/// Follows the namespaces of a file line by line. Members of classes are indented and not seen. The end of a
/// namespace is told by its comment, which the formatter leaves out behind a single line.
class DeclarationReader {
public:
    void read(std::string const& line, Includes& result) {
        static std::regex const opening(R"(^namespace ([\w:]+) \{.*)");
        static std::regex const closing(R"(^\}.*// namespace( [\w:]+)?$)");
        static std::regex const type(
            R"(^(?:class|struct)(?: [A-Z_]+)? (\w+)(?:<.*>)?( final)?(;| \{| :.*)$)");
        std::smatch match;
        ++linesSinceOpening;
        bool const isEndOfShort = line == "}" && linesSinceOpening == 2;
        if (std::regex_match(line, match, opening)) {
            namespaces.push_back(match[1].str() + "::");
            linesSinceOpening = 0;
        } else if ((isEndOfShort || std::regex_match(line, closing)) && !namespaces.empty()) {
            namespaces.pop_back();
        } else if (std::regex_match(line, match, type)) {
            std::string name;
            for (std::string const& space : namespaces) {
                name += space;
            }
            (match[3] == ";" ? result.declared : result.defined).insert(name + match[1].str());
        }
    }

private:
    std::vector<std::string> namespaces;
    int linesSinceOpening = 0;
};

inline Includes parseIncludes(std::istream& text) {
    static std::regex const pattern(R"(^\s*#\s*include\s*(?:"([^"]+)\"|<([^>]+)>).*$)");
    Includes result;
    DeclarationReader declarations;
    for (std::string line; std::getline(text, line);) {
        std::smatch match;
        if (std::regex_match(line, match, pattern)) {
            (match[1].matched ? result.quoted : result.angled).insert(match[1].matched ? match[1] : match[2]);
        } else {
            declarations.read(line, result);
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
