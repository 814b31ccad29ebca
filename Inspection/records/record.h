#pragma once

#include "Inspection/export.h"
#include "Inspection/names.h"

#include <array>
#include <concepts>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

/// How a result was made: a JSON file beside it. It tells neither time nor place, so that the same run writes
/// the same bytes.
namespace QELT::Inspection {

/// A figure or a setting. Numbers read back as the same value; one that is not finite reads back as null.
class QELT_INSPECTION_EXPORT RecordValue {
public:
    /// What a value can be.
    using Kinds = std::variant<bool, std::int64_t, std::uint64_t, double, std::string, std::vector<double>>;

    RecordValue(bool newValue);
    RecordValue(double newValue);
    RecordValue(std::string const& newValue);
    RecordValue(char const* newValue);
    RecordValue(std::vector<double> const& newValue);
    RecordValue(Point const& point);
    RecordValue(Vector const& vector);

    RecordValue(std::unsigned_integral auto newValue) : RecordValue(Whole{newValue}) {}

    RecordValue(std::signed_integral auto newValue) : RecordValue(Signed{newValue}) {}

    RecordValue(RecordValue const& other);
    RecordValue(RecordValue&& other) noexcept;
    RecordValue& operator=(RecordValue const&) = delete;
    ~RecordValue();

    /// As what it was given.
    Kinds const& get() const { return value; }

private:
    struct Whole {
        std::uint64_t value;
    };

    struct Signed {
        std::int64_t value;
    };

    explicit RecordValue(Whole whole);
    explicit RecordValue(Signed whole);

    Kinds value;
};

/// What a run is told to do, reads and finds. Settings and figures keep their order. Times of day and how
/// long the work took do not belong into it.
class QELT_INSPECTION_EXPORT Record {
public:
    /// Names with their values, in the order in which they were told.
    using Values = std::vector<std::pair<std::string, RecordValue>>;
    /// What was added to each coordinate.
    using Move = std::array<double, 3>;

    /// A file that is read, as it was when the run began to.
    struct Input {
        std::filesystem::path file;
        std::uintmax_t size = 0;
        std::filesystem::file_time_type time;
        bool isRegular = false;
        mutable std::string sha256; ///< kept once it is known, so that it is read for it once
    };

    explicit Record(std::string newCommand) : command(std::move(newCommand)) {}

    /// Told before the file is read. Fails unless it can be. What the file's own record says of moves and of
    /// the unit is taken over; fails if the file does not fit a record of moves, or if two files of a run
    /// were moved differently.
    void addInput(std::filesystem::path const& file);

    /// The same for a file that goes with others or tells of places in the part's own space, as a table of
    /// beams does: of moves it says nothing.
    void addCompanion(std::filesystem::path const& file);

    /// Something that the run was told.
    void setting(std::string const& name, RecordValue const& value);

    /// What was not set is not told.
    template <class T>
    void setting(std::string const& name, std::optional<T> const& value) {
        if (value) {
            setting(name, RecordValue(*value));
        }
    }

    /// Something that the run found.
    void figure(std::string const& name, RecordValue const& value);

    /// The part was moved by this.
    void addMove(Vector const& by);

    /// All moves together: what is told of places is moved back by it, and what is asked about them by it.
    Vector getMove() const;

    /// The name of the unit of all lengths; an empty one changes nothing.
    void setUnit(std::string const& name);

    /// The unit's name for texts and labels, "units" where it is not known.
    std::string getUnitName() const { return unit.value_or("units"); }

    std::string const& getCommand() const { return command; }

    std::vector<Input> const& getInputs() const { return inputs; }

    Values const& getSettings() const { return settings; }

    Values const& getFigures() const { return figures; }

    std::vector<Move> const& getMoves() const { return moves; }

    std::optional<std::string> const& getUnit() const { return unit; }

private:
    std::string command;
    std::vector<Input> inputs;
    Values settings;
    Values figures;
    std::vector<Move> moves;
    std::optional<std::string> unit;
    bool hasSource = false; ///< whether moves were taken over, if only none

    void inheritFrom(std::filesystem::path const& file);
};

/// The text of a run's record for a result that carries it within: all but the result's own bytes. Fails if
/// an input has changed since it was added. The listener may stop the reading.
QELT_INSPECTION_EXPORT std::string innerRecordOf(Record const& record, ProgressListener* listener);

/// Where the record of a result lies: beside it, with ".json" behind its name.
QELT_INSPECTION_EXPORT std::filesystem::path recordFileOf(std::filesystem::path const& result);

/// A record as it was read.
struct FoundRecord {
    /// What it says, in its order: the kind, such as "input" or "setting", and the text.
    std::vector<std::pair<std::string, std::string>> lines;
    /// Each a sentence on why it isn't the record of what lies beside it; empty if it is.
    std::vector<std::string> misfits;
};

/// Reads the record beside a result and compares the result's bytes with it; nothing if there is none. What
/// is no record is a misfit. The listener may stop the reading.
QELT_INSPECTION_EXPORT std::optional<FoundRecord> findRecord(std::filesystem::path const& result,
                                                             ProgressListener* listener);

} // namespace QELT::Inspection
