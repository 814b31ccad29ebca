#pragma once

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>
#include <vector>

namespace QELT::Inspection {

/// The lines of a text file of any size, read in blocks. Ends of lines of all kinds are taken, and a byte
/// order mark is passed over.
class LineSource {
public:
    explicit LineSource(std::filesystem::path const& file);

    /// Goes to the next line; false behind the last. Fails on a line that is too long for a table.
    bool next();

    std::string_view getText() const { return text; }

    std::uint64_t getNumber() const { return number; }

    /// The lines that are next, as far as they lie in the block read, without moving on.
    std::vector<std::string_view> peek(std::size_t most) const;

    std::string const& getName() const { return name; }

    double getShareRead() const;

    [[noreturn]] void fail(std::string const& complaint) const;

private:
    std::string name;
    std::ifstream stream;
    std::uint64_t size = 0; ///< of the file in bytes; 0 if that is not known
    std::uint64_t bytesRead = 0;
    std::vector<char> block;
    std::size_t begin = 0; ///< of what was not handed out
    std::size_t end = 0;
    bool isAtEnd = false;
    char lineEnd = '\n';
    std::string_view text;
    std::uint64_t number = 0;

    void fill();
    void requireText();
};

} // namespace QELT::Inspection
