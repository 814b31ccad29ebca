#include "Inspection/records/internal/stagedfile.h"

#include <array>
#include <cerrno>
#include <fcntl.h>
#include <string>
#include <sys/file.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <utility>

// Files that appear whole or not at all: written beside their target, in the same folder and so on the same
// disk, and renamed, which POSIX makes one step: who opens the target finds the old file or the new one.
//
// A process that is killed cannot clean up, so the next one for the same target does. Whether a file of such
// a name is still being written is told by its lock (flock), which ends with the process, whatever ends it; a
// process number in the name would mean nothing to another machine on the same disk. A file is made with
// O_EXCL and then locked. Between the two another run may take it for left over and remove it: so after
// locking, either looks whether the name still leads to the file that it has locked, and tries again if not.
// Where a disk knows no locks a file found there is left alone and the next number taken.

namespace QELT::Inspection {

namespace {

constexpr int maxRunsAtOnce = 8;
constexpr int maxTries = 100;
constexpr int maxLinks = 40;

/// Room for what is put behind a name, within the 255 bytes that a name may have.
constexpr std::size_t maxNameLength = 240;

constexpr mode_t permissionBits = 0777;
constexpr mode_t ownersAlone = 0600;
constexpr mode_t asUsual = 0666; ///< less the bits of the process's mask

[[noreturn]] void fail() {
    throw std::system_error(errno, std::generic_category());
}

/// A long name is cut at its front: the library's writers look for the extension.
std::filesystem::path candidateFor(std::filesystem::path const& target, int number) {
    std::string name = target.filename().string();
    if (name.size() > maxNameLength) {
        name = name.substr(name.size() - maxNameLength);
    }
    return target.parent_path() / (name + ".unfinished" + (number > 1 ? std::to_string(number) : ""));
}

/// Whether the name leads to the open file.
bool isStillNamed(int descriptor, std::filesystem::path const& name) {
    struct stat opened {};

    struct stat named {};

    return fstat(descriptor, &opened) == 0 && lstat(name.c_str(), &named) == 0 &&
           opened.st_dev == named.st_dev && opened.st_ino == named.st_ino && S_ISREG(opened.st_mode);
}

/// Removes what a run left that ended before it could.
void removeLeftOver(std::filesystem::path const& candidate) {
    int const descriptor = open(candidate.c_str(), O_RDWR | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
    if (descriptor < 0) {
        return;
    }
    if (flock(descriptor, LOCK_EX | LOCK_NB) == 0 && isStillNamed(descriptor, candidate)) {
        unlink(candidate.c_str());
    }
    close(descriptor);
}

bool isBelowProc(std::filesystem::path const& name) {
    std::error_code ignored;
    auto const folder =
        std::filesystem::canonical(name.has_parent_path() ? name.parent_path() : ".", ignored);
    return folder.string().starts_with("/proc/");
}

} // namespace

std::optional<std::filesystem::path> replaceablePath(std::filesystem::path const& name) {
    std::filesystem::path path = name;
    for (int i = 0; i < maxLinks; ++i) {
        if (isBelowProc(path)) {
            return std::nullopt;
        }

        struct stat status {};

        bool const isThere = lstat(path.c_str(), &status) == 0;
        if (!isThere && errno != ENOENT) {
            fail();
        }
        if (!isThere || S_ISREG(status.st_mode)) {
            return path;
        }
        if (!S_ISLNK(status.st_mode)) {
            return std::nullopt;
        }
        path = path.parent_path() / std::filesystem::read_symlink(path);
    }
    return name;
}

StagedFile::StagedFile(std::filesystem::path newTarget) : target(std::move(newTarget)) {
    for (int number = 1; number <= maxRunsAtOnce; ++number) {
        removeLeftOver(candidateFor(target, number));
    }
    for (int number = 1; number <= maxRunsAtOnce; ++number) {
        if (create(candidateFor(target, number))) {
            return;
        }
    }
    errno = EBUSY;
    fail();
}

StagedFile::StagedFile(StagedFile&& other) noexcept
    : target(std::move(other.target)),
      path(std::exchange(other.path, {})),
      descriptor(std::exchange(other.descriptor, -1)) {}

StagedFile::~StagedFile() {
    if (!path.empty()) {
        unlink(path.c_str());
    }
    if (descriptor >= 0) {
        close(descriptor);
    }
}

/// Whether the file could be made and locked; false if another run has it.
bool StagedFile::create(std::filesystem::path const& candidate) {
    struct stat status {};

    mode_t const mode = stat(target.c_str(), &status) == 0 ? ownersAlone : asUsual;
    for (int i = 0; i < maxTries; ++i) {
        int const made = open(candidate.c_str(), O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, mode);
        if (made < 0 && errno == EEXIST) {
            return false;
        }
        if (made < 0) {
            fail();
        }
        bool const isTaken = flock(made, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK;
        if (!isTaken && isStillNamed(made, candidate)) {
            path = candidate;
            descriptor = made;
            return true;
        }
        close(made);
    }
    return false;
}

void StagedFile::settle() const {
    struct stat status {};

    if (stat(target.c_str(), &status) == 0) {
        // Who may not give a file away keeps it; where a disk knows no permissions it stays as it was made.
        [[maybe_unused]] bool const isOwned = fchown(descriptor, status.st_uid, status.st_gid) == 0;
        [[maybe_unused]] bool const isSame = fchmod(descriptor, status.st_mode & permissionBits) == 0;
    }
    if (fsync(descriptor) != 0 && errno != EINVAL && errno != ENOTSUP) {
        fail();
    }
}

void StagedFile::putInPlace() {
    if (rename(path.c_str(), target.c_str()) != 0) {
        fail();
    }
    path.clear();
}

void settleFolder(std::filesystem::path const& folder) {
    int const descriptor = open(folder.empty() ? "." : folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (descriptor >= 0) {
        fsync(descriptor);
        close(descriptor);
    }
}

} // namespace QELT::Inspection
