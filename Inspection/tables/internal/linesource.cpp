#include "Inspection/tables/internal/linesource.h"

#include "Inspection/records/failure.h"
#include "Inspection/records/files.h"

#include <algorithm>
#include <cstring>
#include <system_error>

namespace QELT::Inspection {

namespace {

/// The longest line taken, too: a table of ten thousand columns fits.
constexpr std::size_t blockSize = 1U << 20U;

std::string_view withoutReturn(std::string_view line) {
    return line.ends_with('\r') ? line.substr(0, line.size() - 1) : line;
}

std::uint64_t sizeOf(std::filesystem::path const& file) {
    std::error_code error;
    auto const size = std::filesystem::is_regular_file(file, error) ? std::filesystem::file_size(file, error)
                                                                    : std::uintmax_t{0};
    return error ? 0 : size;
}

} // namespace

LineSource::LineSource(std::filesystem::path const& file) : name(file.string()), block(blockSize) {
    requireReadable(file);
    stream.open(file, std::ios::binary);
    size = sizeOf(file);
    fill();
    requireText();
}

void LineSource::fail(std::string const& complaint) const {
    throw Failure(name + ": " + complaint);
}

void LineSource::requireText() {
    std::string_view const start(block.data(), end);
    if (start.starts_with("\xFF\xFE") || start.starts_with("\xFE\xFF")) {
        fail("is text in UTF-16; save it as UTF-8 or as plain CSV");
    }
    if (start.find('\0') != std::string_view::npos) {
        fail("is no text; a table of numbers is wanted");
    }
    constexpr std::string_view mark = "\xEF\xBB\xBF";
    begin = start.starts_with(mark) ? mark.size() : 0;
    bool const hasReturnsAlone =
        start.find('\n') == std::string_view::npos && start.find('\r') != std::string_view::npos;
    lineEnd = hasReturnsAlone ? '\r' : '\n';
}

/// Keeps what was not handed out and reads behind it.
void LineSource::fill() {
    std::memmove(block.data(), block.data() + begin, end - begin);
    end -= begin;
    begin = 0;
    stream.read(block.data() + end, static_cast<std::streamsize>(block.size() - end));
    auto const got = static_cast<std::size_t>(stream.gcount());
    if (stream.bad()) {
        fail("cannot be read to its end");
    }
    isAtEnd = end + got < block.size();
    end += got;
    bytesRead += got;
}

bool LineSource::next() {
    for (;;) {
        char const* const from = block.data() + begin;
        auto const* const stop = static_cast<char const*>(std::memchr(from, lineEnd, end - begin));
        if (stop != nullptr || (isAtEnd && begin < end)) {
            auto const length = stop != nullptr ? static_cast<std::size_t>(stop - from) : end - begin;
            text = withoutReturn({from, length});
            begin += length + (stop != nullptr ? 1 : 0);
            ++number;
            return true;
        }
        if (isAtEnd) {
            return false;
        }
        if (begin == 0 && end == block.size()) {
            fail("line " + std::to_string(number + 1) + " is longer than a line of a table can be");
        }
        fill();
    }
}

std::vector<std::string_view> LineSource::peek(std::size_t most) const {
    std::vector<std::string_view> lines;
    std::string_view rest(block.data() + begin, end - begin);
    while (lines.size() < most && !rest.empty()) {
        auto const stop = rest.find(lineEnd);
        if (stop == std::string_view::npos && !isAtEnd) {
            return lines;
        }
        lines.push_back(withoutReturn(rest.substr(0, stop)));
        rest.remove_prefix(stop == std::string_view::npos ? rest.size() : stop + 1);
    }
    return lines;
}

double LineSource::getShareRead() const {
    auto const handedOut = static_cast<double>(bytesRead - (end - begin));
    return size == 0 ? 0.0 : std::min(1.0, handedOut / static_cast<double>(size));
}

} // namespace QELT::Inspection
