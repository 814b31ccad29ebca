#pragma once

#include "Inspection/export.h"
#include "Inspection/records/outputs.h"
#include "Inspection/results/result.h"
#include "Inspection/shots/shot.h"

#include <cstdint>
#include <filesystem>
#include <memory>
#include <vector>

/// Results as HDF5 files. The layout, arrays of pixels having `height` rows of `width`:
///
///     /                  attributes format, version, size (width, height), unit, move
///     /record            how it was made, JSON
///     /pixels/state      1 byte, an enumeration of `PixelState`
///     /pixels/count, refused, area, point (x, y, z), normal (x, y, z), patch, filled_from
///     /values/NAME       double, NaN without a value; attributes quantity, statistic, unit, ceiling
///     /patches/I/nodes   (height + 1) x (width + 1) x 3 float; attributes name, place (left, bottom)
///     /shots             if they were kept, an entry a shot: line, outcome, pixel, standoff, incidence
///     /shots/origin, direction, point, three numbers in a row each; /shots/values/I, name and unit
namespace QELT::Inspection {

/// Shots and what they met, an entry each.
struct ShotRows {
    /// What became of a shot.
    enum class Outcome : std::uint8_t {
        Missed = 0,
        RefusedByAngle = 1,
        RefusedByStandoff = 2,
        RefusedAsBad = 3,
        NoEcho = 4,
        Echo = 5,
        Saturated = 6,
    };

    std::vector<std::uint64_t> lines; ///< of the table
    std::vector<Outcome> outcomes;
    std::vector<std::uint32_t> pixels; ///< `Result::none` for one that missed
    std::vector<double> origins;       ///< three each, in the part's own place
    std::vector<double> directions;    ///< three each, of unit length
    std::vector<double> points;        ///< three each, where it met the surface, in the part's own place
    std::vector<double> standoffs;     ///< NaN for one that missed, as the angle
    std::vector<double> incidences;    ///< degrees off head-on
    std::vector<Quantity> quantities;
    std::vector<double> values; ///< a row of all quantities for each

    /// How many shots there are.
    std::size_t size() const { return lines.size(); }

    /// Leaves no shot, and the quantities.
    QELT_INSPECTION_EXPORT void clear();
};

/// Writes neither time nor place: the same result is the same bytes. Fails if it cannot be written to its
/// end.
QELT_INSPECTION_EXPORT void writeResult(Destination const& to, Result const& result);

/// Writes a result whose shots are kept, too, which come block by block before it.
class QELT_INSPECTION_EXPORT ResultWriter {
public:
    explicit ResultWriter(Destination const& to);
    ResultWriter(ResultWriter const&) = delete;
    ResultWriter& operator=(ResultWriter const&) = delete;
    ~ResultWriter();

    /// Writes a block of shots, in order.
    void append(ShotRows const& shots);
    /// Writes all else and ends the file.
    void finish(Result const& result);

private:
    class File;

    std::unique_ptr<File> file;
};

/// Fails if it is no such file, or is cut off or damaged.
QELT_INSPECTION_EXPORT Result readResult(std::filesystem::path const& path);

/// Fails as well if the shots were not kept.
QELT_INSPECTION_EXPORT ShotRows readShots(std::filesystem::path const& path);

/// Whether the file begins as one of HDF5.
QELT_INSPECTION_EXPORT bool isResultFile(std::filesystem::path const& path);

} // namespace QELT::Inspection
