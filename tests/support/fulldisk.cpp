#include "tests/support/fulldisk.h"

#include <csignal>
#include <filesystem>
#include <stdexcept>
#include <sys/mount.h>
#include <sys/resource.h>

namespace QELT::Testing {

namespace {

char const* const fullDevice = "/dev/full";

/// Sets the soft limit on the size of files and answers with the former.
std::uint64_t limitFileSize(std::uint64_t size) {
    rlimit limit{};
    getrlimit(RLIMIT_FSIZE, &limit);
    rlim_t const former = limit.rlim_cur;
    limit.rlim_cur = static_cast<rlim_t>(size);
    if (setrlimit(RLIMIT_FSIZE, &limit) != 0) {
        throw std::runtime_error("cannot limit the size of files");
    }
    return former;
}

} // namespace

bool getIsFullDeviceWhole() {
    return std::filesystem::is_character_file(fullDevice);
}

bool linkToFullDevice(std::string const& path) {
    if (!getIsFullDeviceWhole()) {
        return false;
    }
    std::filesystem::create_symlink(fullDevice, path);
    return true;
}

std::optional<SmallDisk> SmallDisk::mount(std::string const& directory, std::size_t size) {
    std::filesystem::create_directories(directory);
    std::string const options = "size=" + std::to_string(size);
    if (::mount("tmpfs", directory.c_str(), "tmpfs", 0, options.c_str()) != 0) {
        return std::nullopt;
    }
    return SmallDisk(directory);
}

SmallDisk::SmallDisk(std::string newDirectory) : directory(std::move(newDirectory)) {}

SmallDisk::SmallDisk(SmallDisk&& other) noexcept : directory(std::move(other.directory)) {
    other.directory.clear();
}

SmallDisk::~SmallDisk() {
    if (!directory.empty()) {
        umount(directory.c_str());
    }
}

FileSizeLimit::FileSizeLimit(std::uint64_t size)
    : former(limitFileSize(size)), formerHandler(std::signal(SIGXFSZ, SIG_IGN)) {}

FileSizeLimit::~FileSizeLimit() {
    limitFileSize(former);
    std::signal(SIGXFSZ, formerHandler);
}

} // namespace QELT::Testing
