#pragma once

#include "Inspection/export.h"
#include "Inspection/names.h"

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
    using Values = std::vector<std::pair<std::string, RecordValue>>;

    /// A file that is read, as it was when the run began to.
    struct Input {
        std::filesystem::path file;
        std::uintmax_t size = 0;
        std::filesystem::file_time_type time;
        bool isRegular = false;
    };

    explicit Record(std::string newCommand) : command(std::move(newCommand)) {}

    /// Told before the file is read. Fails unless it can be.
    void addInput(std::filesystem::path const& file);

    void setting(std::string const& name, RecordValue const& value);

    /// What was not set is not told.
    template <class T>
    void setting(std::string const& name, std::optional<T> const& value) {
        if (value) {
            setting(name, RecordValue(*value));
        }
    }

    void figure(std::string const& name, RecordValue const& value);

    /// The part was moved by this before the work, and what goes out is moved back.
    void addMove(Vector const& by);

    /// The name of the unit of all lengths, where it is known.
    void setUnit(std::string const& name) { unit = name; }

    std::string const& getCommand() const { return command; }

    std::vector<Input> const& getInputs() const { return inputs; }

    Values const& getSettings() const { return settings; }

    Values const& getFigures() const { return figures; }

    std::vector<RecordValue> const& getMoves() const { return moves; }

    std::optional<std::string> const& getUnit() const { return unit; }

private:
    std::string command;
    std::vector<Input> inputs;
    Values settings;
    Values figures;
    std::vector<RecordValue> moves;
    std::optional<std::string> unit;
};

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
