#pragma once

#include "Inspection/export.h"
#include "Inspection/names.h"
#include "Inspection/records/record.h"

#include <concepts>
#include <filesystem>
#include <memory>
#include <utility>
#include <vector>

namespace QELT::Inspection {

/// Where to write, and what the user calls it. Any path is one that is written directly.
struct Destination {
    template <std::convertible_to<std::filesystem::path> Path>
    Destination(Path const& path) : file(path), name(path) {}

    Destination(std::filesystem::path newFile, std::filesystem::path newName)
        : file(std::move(newFile)), name(std::move(newName)) {}

    std::filesystem::path file;
    std::filesystem::path name;
};

/// The files that a run writes, with their records: all of them or none. Each is written beside its target as
/// NAME.unfinished and renamed by `commit`; without that, whatever ends the run, what was there stays, and
/// all that was begun is removed, but by a run that is killed: the next one for the same target removes that.
/// Links stay links. Devices and pipes are written directly and have no record.
class QELT_INSPECTION_EXPORT Outputs {
public:
    /// Of the run that the record is made of; its inputs are added to it before the outputs. Is not owned.
    explicit Outputs(Record const& record);
    ~Outputs();
    Outputs(Outputs const&) = delete;
    Outputs& operator=(Outputs const&) = delete;

    /// A file that the run is going to write. Fails if it is one of the inputs or of the other outputs, by
    /// whatever name, or cannot be written, or if what is no record lies where its record belongs.
    void add(std::filesystem::path const& name);

    /// The same for a file that goes with a result, in whose record it is told, and that may not be written
    /// in the end, such as the cut of a mesh.
    void addBeside(std::filesystem::path const& name, std::filesystem::path const& result);

    /// Makes folders that are not there; they are removed with the rest.
    void makeFolders(std::filesystem::path const& folder);

    /// Where an output that was added is to be written now.
    Destination at(std::filesystem::path const& name);

    /// Puts in place what was written, records last. The listener, which may be null, may stop it until then.
    /// Fails if something cannot be written to its end; what was there then stays, unless the disk refuses
    /// one of several names after others were changed.
    void commit(ProgressListener* listener);

private:
    class Entry;

    Record const& record;
    std::vector<std::unique_ptr<Entry>> entries;
    std::vector<std::filesystem::path> folders; ///< made, from the outermost
    bool isCommitted = false;
    bool isBegun = false;

    void begin();
    void requireNew(std::filesystem::path const& name) const;
    Entry& entryOf(std::filesystem::path const& name) const;
    std::vector<std::unique_ptr<Entry>> stagedRecords(ProgressListener* listener) const;
};

/// Whether a process that ended now, without its destructors, would leave nothing half done: no run has begun
/// to write and not yet returned. A handler of signals may call it.
QELT_INSPECTION_EXPORT bool isNothingUnfinished() noexcept;

} // namespace QELT::Inspection
