#include "Inspection/records/outputs.h"

#include "Inspection/records/failure.h"
#include "Inspection/records/files.h"
#include "Inspection/records/internal/announce.h"
#include "Inspection/records/internal/recordtext.h"
#include "Inspection/records/internal/stagedfile.h"

#include <algorithm>
#include <atomic>
#include <fstream>
#include <set>
#include <stdexcept>
#include <system_error>
#include <utility>

namespace QELT::Inspection {

namespace {

std::string const refusal = ": cannot be written";

/// Of the runs that have begun to write.
std::atomic<int> unfinishedRuns = 0;

static_assert(std::atomic<int>::is_always_lock_free, "a handler of signals asks for it");

/// Runs `action` and tells what the system refuses as a failure to write `name`.
template <class Action>
auto writing(std::filesystem::path const& name, Action&& action) {
    try {
        return std::forward<Action>(action)();
    } catch (std::system_error const& error) {
        throw Failure(name.string() + refusal + " (" + error.code().message() + ")");
    }
}

/// Whether two names lead, or would lead, to the same bytes. Devices may be named twice.
bool areSameFile(std::filesystem::path const& a, std::filesystem::path const& b) {
    std::error_code ignored;
    if (std::filesystem::exists(a, ignored) && std::filesystem::exists(b, ignored)) {
        return std::filesystem::is_regular_file(a, ignored) && std::filesystem::equivalent(a, b, ignored);
    }
    auto const whereTo = [&](std::filesystem::path const& name) {
        return std::filesystem::weakly_canonical(
            std::filesystem::absolute(replaceablePath(name).value_or(name)), ignored);
    };
    return whereTo(a) == whereTo(b);
}

} // namespace

/// One file that is written.
class Outputs::Entry {
public:
    Entry(std::filesystem::path newName, std::filesystem::path newResult)
        : name(std::move(newName)), result(std::move(newResult)), target(replaceablePath(name)) {}

    std::filesystem::path const& getName() const { return name; }

    /// The output in whose record it is told: itself, or the one that it goes with.
    std::filesystem::path const& getResult() const { return result; }

    bool isStaged() const { return staged.has_value(); }

    bool isReplaced() const { return target.has_value(); }

    void requireWritable() const {
        std::error_code ignored;
        if (isReplaced()) {
            if (std::filesystem::exists(*target, ignored)) {
                Inspection::requireWritable(name);
            }
            writing(name, [&] { return StagedFile(*target).getPath().empty(); });
        } else if (!std::filesystem::is_fifo(
                       name, ignored)) { // the reader would take opening and closing for the end
            Inspection::requireWritable(name);
        }
    }

    Destination destination() {
        if (!isReplaced()) {
            return name;
        }
        if (!staged) {
            writing(name, [&] { staged.emplace(*target); });
        }
        return {staged->getPath(), name};
    }

    RecordedFile recorded(ProgressListener* listener) const {
        return {name.filename().string(), digestOf(staged->getPath(), listener)};
    }

    void settle() const {
        writing(name, [&] { staged->settle(); });
    }

    void putInPlace() {
        writing(name, [&] { staged->putInPlace(); });
    }

    std::filesystem::path folder() const { return target->parent_path(); }

private:
    std::filesystem::path name;
    std::filesystem::path result;
    std::optional<std::filesystem::path> target; ///< nothing where `name` is written directly
    std::optional<StagedFile> staged;
};

Outputs::Outputs(Record const& newRecord) : record(newRecord) {}

Outputs::~Outputs() {
    entries.clear();
    for (auto folder = folders.rbegin(); !isCommitted && folder != folders.rend(); ++folder) {
        std::error_code ignored; // others may have put something there
        std::filesystem::remove(*folder, ignored);
    }
    unfinishedRuns -= isBegun ? 1 : 0;
}

void Outputs::begin() {
    unfinishedRuns += isBegun ? 0 : 1;
    isBegun = true;
}

bool isNothingUnfinished() noexcept {
    return unfinishedRuns == 0;
}

void Outputs::requireNew(std::filesystem::path const& name) const {
    for (Record::Input const& input : record.getInputs()) {
        require(!areSameFile(name, input.file), name.string() + ": is also the input" +
                                                    (name == input.file ? "" : " " + input.file.string()));
    }
    for (auto const& entry : entries) {
        std::string const other = entry->getName().string();
        require(!areSameFile(name, entry->getName()),
                name.string() + ": is to be written twice" +
                    (name == entry->getName() ? "" : ", as " + other + " too"));
        bool const hasRecord = entry->isReplaced() && entry->getResult() == entry->getName();
        require(!hasRecord || !areSameFile(name, recordFileOf(entry->getName())),
                name.string() + ": is where the record of " + other + " goes");
    }
}

void Outputs::add(std::filesystem::path const& name) {
    writing(name, [&] { requireNew(name); });
    auto entry = writing(name, [&] { return std::make_unique<Entry>(name, name); });
    entry->requireWritable();
    if (entry->isReplaced()) {
        auto const file = recordFileOf(name);
        writing(file, [&] { requireNew(file); });
        std::error_code ignored;
        require(!std::filesystem::is_regular_file(file, ignored) || isRecordFile(file),
                file.string() + ": is no record, and that of " + name.string() +
                    " goes there; move it or name another output");
        writing(file, [&] { Entry(file, name).requireWritable(); });
    }
    entries.push_back(std::move(entry));
}

void Outputs::addBeside(std::filesystem::path const& name, std::filesystem::path const& result) {
    writing(name, [&] { requireNew(name); });
    auto entry = writing(name, [&] { return std::make_unique<Entry>(name, result); });
    entry->requireWritable();
    entries.push_back(std::move(entry));
}

void Outputs::makeFolders(std::filesystem::path const& folder) {
    begin();
    std::vector<std::filesystem::path> missing;
    for (auto path = folder; !path.empty() && !std::filesystem::exists(path); path = path.parent_path()) {
        missing.push_back(path);
    }
    for (auto path = missing.rbegin(); path != missing.rend(); ++path) {
        if (naming(folder.string(), [&] { return std::filesystem::create_directory(*path); })) {
            folders.push_back(*path);
        }
    }
}

Outputs::Entry& Outputs::entryOf(std::filesystem::path const& name) const {
    auto const found = std::find_if(entries.begin(), entries.end(),
                                    [&](auto const& entry) { return entry->getName() == name; });
    if (found == entries.end()) {
        throw std::logic_error(name.string() + ": is no output of this run");
    }
    return **found;
}

Destination Outputs::at(std::filesystem::path const& name) {
    begin();
    return entryOf(name).destination();
}

std::vector<std::unique_ptr<Outputs::Entry>> Outputs::stagedRecords(ProgressListener* listener) const {
    auto const inputs = recordedInputsOf(record, listener);
    std::vector<std::unique_ptr<Entry>> records;
    for (auto const& result : entries) {
        if (!result->isStaged() || result->getResult() != result->getName()) {
            continue;
        }
        std::vector<RecordedFile> files{result->recorded(listener)};
        for (auto const& entry : entries) {
            if (entry != result && entry->isStaged() && entry->getResult() == result->getName()) {
                files.push_back(entry->recorded(listener));
            }
        }
        auto const name = recordFileOf(result->getName());
        records.push_back(std::make_unique<Entry>(name, name));
        std::ofstream output(records.back()->destination().file, std::ios::binary);
        output << textOf(record, files, inputs);
        output.close();
        require(!output.fail(), name.string() + refusal + " to its end");
    }
    return records;
}

void Outputs::commit(ProgressListener* listener) {
    auto records = stagedRecords(listener);
    std::vector<Entry*> finished;
    std::set<std::filesystem::path> changedFolders;
    for (auto const* const list : {&entries, &records}) {
        for (auto const& entry : *list) {
            if (entry->isStaged()) {
                entry->settle();
                finished.push_back(entry.get());
                changedFolders.insert(entry->folder());
            }
        }
    }
    checkpoint(listener);
    isCommitted = true;
    for (Entry* const entry : finished) {
        entry->putInPlace();
    }
    for (auto const& folder : changedFolders) {
        settleFolder(folder);
    }
    entries.clear();
}

} // namespace QELT::Inspection
