#pragma once

#include "Inspection/export.h"
#include "Inspection/names.h"
#include "Inspection/records/outputs.h"
#include "Inspection/records/record.h"
#include "Inspection/results/coverage.h"
#include "Inspection/results/quantities.h"
#include "Inspection/results/result.h"
#include "Inspection/results/shotaccumulator.h"
#include "Inspection/scanning/scanplane.h"
#include "Inspection/shots/shotreader.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

/// From a table of shots to a C-scan of what was measured.
namespace QELT::Inspection {

/// Which shots to place on which grids, what to make of them, and what to write.
struct MeasuredScanOptions {
    std::vector<PlacedGrid> grids; ///< at least one
    unsigned long position = 0;    ///< of the inspection, 0 to 31; which grids are active depends on it
    /// Whether the grids' other side is the outside. If it is not told, the side that most of the first shots
    /// come from is: a probe stands outside.
    std::optional<bool> doFlipNormals;
    ShotOptions shots; ///< their move is that of the grids' records
    QuantityOptions quantities;
    ShotAcceptance acceptance;
    std::string unit;                       ///< of lengths; if empty, what the grids' records name
    std::optional<double> fill;             ///< how far a pixel without a shot may take its values from
    std::optional<double> requiredGap;      ///< the longest gap that is fit for inspection
    std::optional<double> requiredCoverage; ///< the least share of the surface to be reached, 0 to 1
    bool doKeepShots = false;               ///< write every shot into the result
    std::filesystem::path result;           ///< an HDF5 file
};

/// What was measured and how far it can be trusted.
struct MeasuredScan {
    Result result;
    ShotFigures figures;
    ShotCounts counts; ///< of the table's lines
    Coverage coverage;
    std::optional<LagFinding> lag;
    std::vector<std::string> unusedColumns;
    std::vector<std::string> notes; ///< sentences on what the inspector should know
    double seconds = 0.0;           ///< the time to read and place the shots
    bool hasFlippedNormals = false; ///< whether the grids' other side was the outside
    bool isGapKept = true;          ///< whether what was required holds
    bool isCoverageReached = true;

    /// The share of shots that met the surface and were not refused, 0 to 1.
    double countedShare() const {
        auto const counted = static_cast<double>(figures.echoCount + figures.noEchoCount);
        return figures.shotCount == 0 ? 0.0 : counted / static_cast<double>(figures.shotCount);
    }
};

/// With a smaller share of shots that count something is wrong with the poses, or with the grid.
constexpr double leastCountedShare = 0.1;

/// Tells what is read, how, and that the result is written, before the scan.
QELT_INSPECTION_EXPORT void addMeasuredScanFiles(MeasuredScanOptions const& options, Record& record,
                                                 Outputs& outputs);

/// Reads the shots in one pass, places each on the quads by the sure search, and writes the result. The
/// memory is that of the grids and values, whatever the number of shots. Fails if there is no grid, the table
/// cannot be read or has a bad line that is not to be skipped, or a quantity is asked for that it does not
/// hold.
QELT_INSPECTION_EXPORT MeasuredScan measuredScan(MeasuredScanOptions const& options,
                                                 ProgressListener* listener, Record& record,
                                                 Outputs& outputs);
QELT_INSPECTION_EXPORT MeasuredScan measuredScan(MeasuredScanOptions const& options,
                                                 ProgressListener* listener);

} // namespace QELT::Inspection
