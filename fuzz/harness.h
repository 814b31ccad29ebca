#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

/// One input, the same for every harness: returns 0, and ends the program if a promise does not hold.
extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size);

namespace QELT::Fuzzing {

/// A file in the system's temporary folder that holds the given bytes; removed with the object.
class TemporaryFile {
public:
    /// `ending` is the end of the name, such as ".obj".
    explicit TemporaryFile(std::string const& ending);
    TemporaryFile(TemporaryFile const&) = delete;
    TemporaryFile& operator=(TemporaryFile const&) = delete;
    ~TemporaryFile();

    void write(std::uint8_t const* data, std::size_t size) const;

    char const* getPath() const { return path.c_str(); }

private:
    std::string path;
};

/// Ends the program with a message unless the promise holds.
void require(bool holds, char const* promise);

} // namespace QELT::Fuzzing
