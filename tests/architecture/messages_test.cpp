// The guide's page of messages, docs/guide/what-can-go-wrong.md: it has every text that the core throws and
// every text that the inspection library and the application refuse or warn with. The texts are read off the
// sources. What is put in at run time, a file's name or a number, splits a text into pieces, and each piece
// has to be on the page.

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace {

namespace fs = std::filesystem;

fs::path const root = QELT_SOURCE_DIR;
constexpr std::size_t shortestPiece = 12; ///< what is shorter, such as a plural's end, says nothing alone

std::string textOf(fs::path const& file) {
    std::ifstream input(file);
    return {std::istreambuf_iterator<char>(input), {}};
}

/// Each run of white space as one space, and none at the ends.
std::string withPlainSpaces(std::string_view text) {
    std::string plain;
    for (char const sign : text) {
        if (std::isspace(static_cast<unsigned char>(sign)) == 0) {
            plain += sign;
        } else if (!plain.empty() && plain.back() != ' ') {
            plain += ' ';
        }
    }
    if (!plain.empty() && plain.back() == ' ') {
        plain.pop_back();
    }
    return plain;
}

std::vector<fs::path> sourcesBelow(char const* folder) {
    std::vector<fs::path> found;
    for (auto const& entry : fs::recursive_directory_iterator(root / folder)) {
        std::string const extension = entry.path().extension().string();
        if (extension == ".cpp" || extension == ".h") {
            found.push_back(entry.path());
        }
    }
    std::sort(found.begin(), found.end());
    return found;
}

/// Where a string literal that begins at `begin` ends: behind its closing quotation mark.
std::size_t endOfLiteral(std::string const& text, std::size_t begin) {
    std::size_t at = begin + 1;
    while (at < text.size() && text[at] != '"') {
        at += text[at] == '\\' ? 2U : 1U;
    }
    return at + 1;
}

/// What an escaped text means, as far as sources here escape.
std::string unescaped(std::string_view text) {
    std::string plain;
    for (std::size_t i = 0; i < text.size(); ++i) {
        i += text[i] == '\\' ? 1U : 0U;
        plain += text[i];
    }
    return plain;
}

/// The string literals among the arguments of a call whose opening parenthesis is before `at`; those that
/// stand side by side are one.
std::vector<std::string> literalsOfCall(std::string const& text, std::size_t at) {
    std::vector<std::string> found;
    bool isBesideLiteral = false;
    for (int depth = 1; depth > 0 && at < text.size();) {
        char const sign = text[at];
        if (sign == '"') {
            std::size_t const end = endOfLiteral(text, at);
            std::string const literal = unescaped(std::string_view(text).substr(at + 1, end - at - 2));
            found.emplace_back();
            if (isBesideLiteral) {
                found.pop_back();
            }
            found.back() += literal;
            isBesideLiteral = true;
            at = end;
            continue;
        }
        depth += sign == '(' ? 1 : sign == ')' ? -1 : 0;
        isBesideLiteral = isBesideLiteral && std::isspace(static_cast<unsigned char>(sign)) != 0;
        ++at;
    }
    return found;
}

bool isOfName(char sign) {
    return std::isalnum(static_cast<unsigned char>(sign)) != 0 || sign == '_';
}

/// Where calls of a name begin to tell their arguments.
std::vector<std::size_t> callsIn(std::string const& text, std::string const& name) {
    std::string const opened = name + "(";
    std::vector<std::size_t> found;
    for (auto at = text.find(opened); at != std::string::npos; at = text.find(opened, at + 1)) {
        if (at == 0 || !isOfName(text[at - 1])) {
            found.push_back(at + opened.size());
        }
    }
    return found;
}

/// What calls of these names say in their texts, in all sources below a folder.
std::set<std::string> piecesOfCalls(char const* folder, std::vector<std::string> const& names) {
    std::set<std::string> pieces;
    for (fs::path const& file : sourcesBelow(folder)) {
        std::string const text = textOf(file);
        for (std::string const& name : names) {
            for (std::size_t const behind : callsIn(text, name)) {
                for (std::string const& literal : literalsOfCall(text, behind)) {
                    pieces.insert(withPlainSpaces(literal));
                }
            }
        }
    }
    return pieces;
}

std::string const& page() {
    static std::string const text = withPlainSpaces(textOf(root / "docs/guide/what-can-go-wrong.md"));
    return text;
}

/// The pieces that the page lacks. Spaces at a piece's end may be the end of a quoted text there.
std::vector<std::string> lackingOf(std::set<std::string> const& pieces) {
    std::vector<std::string> lacking;
    for (std::string const& piece : pieces) {
        std::string const wanted =
            withPlainSpaces(piece.substr(std::min(piece.find_first_not_of(' '), piece.size())));
        if (page().find(wanted) == std::string::npos) {
            lacking.push_back(wanted);
        }
    }
    return lacking;
}

/// Texts of several words; others name an option, a unit or a file's ending.
std::set<std::string> sentencesOf(std::set<std::string> const& pieces) {
    std::set<std::string> sentences;
    std::copy_if(pieces.begin(), pieces.end(), std::inserter(sentences, sentences.end()),
                 [](std::string const& piece) {
                     return piece.size() >= shortestPiece && piece.find(' ', 1) != std::string::npos;
                 });
    return sentences;
}

void expectOnPage(std::set<std::string> const& pieces, std::size_t least) {
    EXPECT_GE(pieces.size(), least) << "so few were found that the search for them must be wrong";
    for (std::string const& piece : lackingOf(pieces)) {
        ADD_FAILURE() << "docs/guide/what-can-go-wrong.md does not tell of: " << piece;
    }
}

} // namespace

TEST(Messages, ThePageHasEveryTextThatTheCoreThrows) {
    constexpr std::size_t least = 30;
    expectOnPage(piecesOfCalls("Geometry", {"runtime_error", "StreamFailure", "checkLength"}), least);
}

TEST(Messages, ThePageHasEveryClassThatTheCoreThrowsAsAPointer) {
    std::string const thrown = "throw new ";
    std::set<std::string> names;
    for (fs::path const& file : sourcesBelow("Geometry")) {
        std::string const text = textOf(file);
        for (auto at = text.find(thrown); at != std::string::npos; at = text.find(thrown, at + 1)) {
            std::string const name =
                text.substr(at + thrown.size(), text.find_first_of("(;", at) - at - thrown.size());
            auto const scope = name.rfind("::");
            names.insert(scope == std::string::npos ? name : name.substr(scope + 2));
        }
    }
    constexpr std::size_t least = 4;
    expectOnPage(names, least);
}

TEST(Messages, ThePageHasEveryRefusalOfTheInspectionLibrary) {
    constexpr std::size_t least = 300;
    expectOnPage(sentencesOf(piecesOfCalls("Inspection", {"Failure", "require", "fail", "failAtByte"})),
                 least);
}

TEST(Messages, ThePageHasEveryNoteOnAScan) {
    constexpr std::size_t least = 6;
    expectOnPage(sentencesOf(piecesOfCalls("Inspection", {"notes.emplace_back", "notes.push_back"})), least);
}

TEST(Messages, ThePageHasEveryFaultOfAPart) {
    constexpr std::size_t least = 15;
    expectOnPage(sentencesOf(piecesOfCalls("Inspection/parts", {"tell", "tellInTheWay"})), least);
}

TEST(Messages, ThePageHasEveryReasonForWhichAGridIsNotFit) {
    constexpr std::size_t least = 5;
    expectOnPage(sentencesOf(piecesOfCalls("Inspection/grids/internal", {"shortcomings.push_back"})), least);
}

TEST(Messages, ThePageHasEveryRefusalOfACommandLine) {
    constexpr std::size_t least = 30;
    expectOnPage(sentencesOf(piecesOfCalls("apps/cscan/commandline", {"UsageError", "complain"})), 10);
    expectOnPage(sentencesOf(piecesOfCalls("apps/cscan/commands", {"UsageError", "Failure"})), least);
}
