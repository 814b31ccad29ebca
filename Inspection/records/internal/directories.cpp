#include "Inspection/records/internal/directories.h"

#include "Inspection/records/failure.h"

#include <cerrno>
#include <cstdlib>
#include <system_error>

namespace QELT::Inspection {

WorkingDirectory::WorkingDirectory(std::filesystem::path const& path)
    : former(std::filesystem::current_path()) {
    if (path.has_parent_path()) {
        std::filesystem::current_path(path.parent_path());
    }
}

WorkingDirectory::~WorkingDirectory() {
    std::error_code ignored;
    std::filesystem::current_path(former, ignored);
}

TemporaryDirectory::TemporaryDirectory() {
    std::string name = (std::filesystem::temp_directory_path() / "cscan-XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) {
        std::string const reason = std::generic_category().message(errno);
        throw Failure(name + ": cannot be made (" + reason + ")");
    }
    path = name;
}

TemporaryDirectory::~TemporaryDirectory() {
    std::error_code ignored;
    std::filesystem::remove_all(path, ignored);
}

} // namespace QELT::Inspection
