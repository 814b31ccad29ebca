#include "Geometry/foundations/internal/outputfile.h"

namespace QELT {

std::optional<OutputFile> OutputFile::open(std::string const& path, Mode mode, Complaint complain) {
    std::FILE* const file = std::fopen(path.c_str(), mode == Mode::Binary ? "wb" : "w");
    if (file == nullptr) {
        return std::nullopt;
    }
    return OutputFile(file, complain);
}

OutputFile::OutputFile(std::FILE* newFile, Complaint newComplaint) : file(newFile), complain(newComplaint) {
    // The only buffer is ours: a write that fails shows in the call that makes it.
    std::setvbuf(newFile, nullptr, _IONBF, 0);
    gathered.reserve(gatheredSize);
}

void OutputFile::writeBlock(std::string_view bytes) {
    while (!bytes.empty()) {
        if (gathered.size() == gatheredSize) {
            flush();
        }
        std::string_view const part = bytes.substr(0, gatheredSize - gathered.size());
        gathered += part;
        bytes.remove_prefix(part.size());
    }
}

void OutputFile::flush() {
    if (std::fwrite(gathered.data(), 1, gathered.size(), file.get()) != gathered.size()) {
        complain();
    }
    gathered.clear();
}

void OutputFile::close() {
    flush();
    // Some systems, those with disks across a network among them, tell only here.
    if (std::fclose(file.release()) != 0) {
        complain();
    }
}

} // namespace QELT
