#pragma once

#include <cstdint>
#include <optional>
#include <string>

/// Disks on which writing fails, for tests of what is then told.
namespace QELT::Testing {

/// Makes `path` a link to the device that is always full. False, with nothing made, if there is none, which
/// on Linux is never so.
bool linkToFullDevice(std::string const& path);

/// Whether the device is still one: a test that removed it, or wrote a file in its place, broke the machine.
bool getIsFullDeviceWhole();

/// A disk of its own with room for some bytes, mounted on a directory for as long as the object lives.
/// Nothing where the process must not mount.
class SmallDisk {
public:
    static std::optional<SmallDisk> mount(std::string const& directory, std::size_t size);
    SmallDisk(SmallDisk&& other) noexcept;
    SmallDisk& operator=(SmallDisk&&) = delete;
    ~SmallDisk();

private:
    explicit SmallDisk(std::string newDirectory);

    std::string directory;
};

/// Lets no file of the process grow beyond a size for as long as the object lives: the write that passes it
/// fails, in the middle of whatever is being written.
class FileSizeLimit {
public:
    explicit FileSizeLimit(std::uint64_t size);
    FileSizeLimit(FileSizeLimit const&) = delete;
    FileSizeLimit& operator=(FileSizeLimit const&) = delete;
    ~FileSizeLimit();

private:
    std::uint64_t former;
    void (*formerHandler)(int);
};

} // namespace QELT::Testing
