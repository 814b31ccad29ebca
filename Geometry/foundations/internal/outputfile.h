#pragma once

#include <cstdio>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace QELT {

/// A file that is being written. Bytes are gathered into large writes, and each of these and the closing is
/// checked, since a disk can turn out to be full, or gone, at any of them. What failed stays as it is: the
/// path may name a device or a link, so it is never removed, renamed or replaced.
class OutputFile {
public:
    enum class Mode { Binary, Text };

    /// Throws the exception that tells what could not be written; it must not return.
    using Complaint = void (*)();

    /// Opens the file and empties it; nothing if it cannot be opened.
    static std::optional<OutputFile> open(std::string const& path, Mode mode, Complaint complain);

    /// Appends bytes. Throws the complaint if they, or what was gathered before, cannot be written.
    void write(std::string_view bytes) {
        if (gathered.size() + bytes.size() > gatheredSize) {
            flush();
        }
        gathered += bytes;
    }

    /// Appends a block of any length, of which the system gets the same writes as if its bytes came one by
    /// one. Throws the complaint as soon as one of these fails.
    void writeBlock(std::string_view bytes);

    /// Writes what was gathered. Throws the complaint if the system does not take all of it.
    void flush();

    /// Writes what was gathered and closes the file; nothing may be written after. Throws the complaint if
    /// either fails. A file that is destroyed without this loses what was gathered, and nobody is told.
    void close();

private:
    struct Closer {
        void operator()(std::FILE* opened) const { std::fclose(opened); }
    };

    static constexpr std::size_t gatheredSize = 1U << 16;

    OutputFile(std::FILE* newFile, Complaint newComplaint);

    std::unique_ptr<std::FILE, Closer> file;
    Complaint complain;
    std::string gathered;
};

} // namespace QELT
