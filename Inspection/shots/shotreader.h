#pragma once

#include "Inspection/export.h"
#include "Inspection/names.h"
#include "Inspection/poses/pose.h"
#include "Inspection/shots/shot.h"
#include "Inspection/tables/columnnames.h"

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

/// What an instrument measured, shot by shot, with the beam that it was measured along.
namespace QELT::Inspection {

/// Where shots and poses are read, and how.
struct ShotOptions {
    std::filesystem::path shots; ///< with the poses, or with the time of each shot if `poses` are apart
    std::optional<std::filesystem::path> poses; ///< with a time each
    ColumnNaming columns;                       ///< of both tables
    PoseFormat pose;
    std::optional<std::filesystem::path> frame; ///< takes what the table tells to the part's coordinates
    Vector move = Vector(0.0, 0.0, 0.0); ///< added to origins behind the frame, before they are rounded
    /// How many milliseconds later a shot is stamped than the pose of the same moment.
    double lag = 0.0;
    bool doFindLag = false;       ///< in place of `lag`, by lines there and back
    bool doCheckLag = true;       ///< tell in the warnings if lines there and back do not agree with `lag`
    std::optional<double> maxGap; ///< of poses in milliseconds; five times their usual step if not told
    bool doSkipBad = false;       ///< count bad lines in place of failing
};

/// A line that could not be used.
struct BadShot {
    std::string file;
    std::uint64_t line = 0;
    std::string cause;
};

/// How many lines became shots, and why others did not.
struct ShotCounts {
    static constexpr std::size_t maxNamed = 10;

    std::uint64_t read = 0;        ///< lines of data in the table of shots
    std::uint64_t given = 0;       ///< those that were handed out
    std::uint64_t bad = 0;         ///< lines of either table with a fault, handed out or not
    std::uint64_t inGap = 0;       ///< not handed out: between poses that are too far apart in time
    std::uint64_t outside = 0;     ///< not handed out: before the first pose or behind the last
    std::vector<BadShot> firstBad; ///< at most `maxNamed`
};

/// What lines there and back tell of the two clocks.
struct LagFinding {
    double lag = 0.0;         ///< milliseconds
    double uncertainty = 0.0; ///< the lag is within this of the true one, in about 95 of 100 cases
    double agreement = 0.0;   ///< correlation of the values of neighbouring lines at that lag, 1 at best
    double speed = 0.0;       ///< of the probe, in the part's unit a second
    std::size_t linePairs = 0;
    std::string quantity; ///< whose values were compared
};

/// Reads shots from one table, or from one of shots and one of poses with two clocks, in constant memory.
class QELT_INSPECTION_EXPORT ShotReader {
public:
    /// Reads headings and the frame, and finds the lag if that is asked for. Fails if a file cannot be read,
    /// if columns for a pose are missing or leave it open, or if no lag can be found. The listener, which may
    /// be null, is told the share of bytes read.
    explicit ShotReader(ShotOptions const& options, ProgressListener* listener = nullptr);
    ~ShotReader();
    ShotReader(ShotReader&&) noexcept;
    ShotReader& operator=(ShotReader&&) noexcept;

    /// All columns that hold numbers and are no part of pose or time, in the file's order.
    std::vector<Quantity> const& getQuantities() const;

    /// Columns that are not read, each with the reason, such as "'remark' (holds no numbers)".
    std::vector<std::string> const& getUnusedColumns() const;

    PoseDialect getDialect() const;

    /// How many of the part's unit one of the poses' is.
    double getPoseScale() const;

    /// Replaces what is in the block by the next shots, at most so many; false if there are none left. Fails
    /// on a bad line, naming it, unless these are skipped.
    bool read(ShotBlock& block, std::size_t most);

    ShotCounts const& getCounts() const;

    /// Of two tables, if it was looked for and found.
    std::optional<LagFinding> const& getLag() const;

    /// The lag in milliseconds that is used.
    double getUsedLag() const;

    /// Sentences for the user.
    std::vector<std::string> const& getWarnings() const;

private:
    class State;
    std::unique_ptr<State> state;
};

} // namespace QELT::Inspection
