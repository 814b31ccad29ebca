#pragma once

#include "Inspection/poses/pose.h"
#include "Inspection/shots/shotreader.h"
#include "Inspection/tables/table.h"

namespace QELT::Inspection {

/// Which columns of a table are read as what.
struct ShotColumns {
    std::vector<std::size_t> time; ///< one, or none
    std::vector<std::size_t> pose;
    std::vector<std::size_t> quantities;
};

/// A fault of a table's line.
std::string causesOf(std::vector<TableFault> const& faults);

/// Takes note of bad lines, or fails on the first.
class BadLines {
public:
    BadLines(ShotCounts& newCounts, bool newDoSkip) : counts(newCounts), doSkip(newDoSkip) {}

    void add(Table const& table, std::string const& cause);

private:
    ShotCounts& counts;
    bool doSkip;
};

/// The column of the time in a named table; the factor that makes seconds of it. Fails if there is none.
struct TimeColumn {
    std::size_t place = 0; ///< among the named columns
    double toSeconds = 1.0;
};

TimeColumn timeColumnOf(std::vector<NamedColumn> const& columns, std::string const& source);

struct TimedPose {
    double time = 0.0; ///< seconds
    Pose pose;
};

/// A table of poses with times, read on as time goes on.
class PoseTrack {
public:
    PoseTrack(std::filesystem::path const& file, ColumnNaming const& naming, PoseFormat const& format);

    /// The next pose that can be used; nothing behind the last.
    std::optional<TimedPose> next(BadLines& bad);

    PoseReader const& getReader() const { return *reader; }

    Table const& getTable() const { return table; }

    std::vector<std::string> const& getUnused() const { return unused; }

    std::vector<std::string> const& getMissing() const { return missing; }

private:
    Table table;
    std::optional<PoseReader> reader;
    std::vector<std::string> unused;
    std::vector<std::string> missing;
    double toSeconds = 1.0;
    std::optional<double> lastTime;
};

/// Columns that are not used, with the reason.
std::string unusedText(std::string const& column, std::string const& reason);

} // namespace QELT::Inspection
