#pragma once

#include <filesystem>
#include <optional>

namespace QELT::Inspection {

/// What is in the end to be replaced by a rename where `name` is written: the file itself, or the one that a
/// link leads to, so that the link stays. Nothing where writing goes to what is there: devices, pipes, and
/// what stands below /proc, as the standard streams do. Throws a `std::system_error` where a name leads
/// nowhere.
std::optional<std::filesystem::path> replaceablePath(std::filesystem::path const& name);

/// An empty file beside its target, called as that with ".unfinished" behind, to be written by others and
/// then renamed to it; removed if it is destroyed before. Who holds it has it locked: what a killed run left
/// is not locked any more, and the next one for the same target removes it. Of runs at the same time each
/// gets a name of its own, with a number from 2 on. Throws a `std::system_error`.
class StagedFile {
public:
    explicit StagedFile(std::filesystem::path newTarget);
    StagedFile(StagedFile&& other) noexcept;
    StagedFile& operator=(StagedFile&&) = delete;
    ~StagedFile();

    std::filesystem::path const& getPath() const { return path; }

    std::filesystem::path const& getTarget() const { return target; }

    /// Takes over owner and permissions of the target, if it is there, and waits until the bytes are on the
    /// disk.
    void settle() const;

    /// Renames it to its target.
    void putInPlace();

private:
    std::filesystem::path target;
    std::filesystem::path path; ///< empty once there is nothing to remove
    int descriptor = -1;

    bool create(std::filesystem::path const& candidate);
};

/// Waits until a folder's names are on the disk. What cannot is passed over: the files are whole.
void settleFolder(std::filesystem::path const& folder);

} // namespace QELT::Inspection
