#pragma once

#include "Inspection/export.h"
#include "Inspection/names.h"
#include "Inspection/records/outputs.h"
#include "Inspection/records/record.h"
#include "Inspection/scanning/quadmap.h"
#include "Inspection/scanning/raster.h"
#include "Inspection/scanning/scanner.h"
#include "Inspection/scanning/scanplane.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <vector>

/// Beams fired at grids, from file to file.
namespace QELT::Inspection {

/// How the quad is found that a beam meets.
enum class BeamSearch : std::uint8_t {
    Sure, ///< the first one along the beam, by `SureSearch`
    Walk, ///< by the core's walk from one beam's quad to the next, which can miss or end on another sheet
};

/// Which beams to fire at which grids, and what to write.
struct ScanOptions {
    std::vector<PlacedGrid> grids; ///< at least one
    bool isOnPlane = false;     ///< whether the grids are asked as groups in a scan plane; else there is one
    unsigned long position = 0; ///< of the inspection, 0 to 31; which grids are active depends on it
    std::optional<std::filesystem::path> beams; ///< the beams come from this table, or
    std::optional<Raster> raster;               ///< are laid over the part
    std::filesystem::path hits;                 ///< table of hits to write
    bool doFlipNormals = false;                 ///< take the grids' other side for the outside
    BeamSearch search = BeamSearch::Sure;
    bool doCompare = false;                          ///< search both ways, to tell how the walk alone does
    std::optional<std::filesystem::path> frame = {}; ///< takes the table's beams to the part's coordinates
    std::optional<BeamRange> range = {};             ///< fire these of the raster's beams alone
};

/// What was scanned and what came of it.
struct Scan {
    QuadMap surface; ///< the quads that there are, of the grid or of the scan plane
    ScanResult result{};
    BeamSearch search = BeamSearch::Sure; ///< that gave the result
    double setUpSeconds = 0.0;            ///< the time to set up the sure search, and the bytes it takes
    std::size_t searchMemory = 0;
    std::optional<WalkComparison> comparison{}; ///< if it was asked for
};

/// Fires the beams and writes the table of hits. Where the grids' records say that the part was moved, beams
/// and hits are told in the part's own place. Fails as above, and if there is no grid, neither beams nor a
/// raster, the beams cannot be read, a raster is to be laid over nothing or is too fine, the scan plane is
/// too large, or there is no memory for the search.
QELT_INSPECTION_EXPORT Scan scan(ScanOptions const& options, ProgressListener* listener);

/// How many beams the table or the raster of a scan has, whatever its range; so that they can be fired in
/// parts. Fails as `scan` does before it fires.
QELT_INSPECTION_EXPORT std::uint64_t countBeams(ScanOptions const& options, ProgressListener* listener);

/// Tells what is read, how, and that the table is written, before a scan in a run that writes more.
QELT_INSPECTION_EXPORT void addScanFiles(ScanOptions const& options, Record& record, Outputs& outputs);

/// The scan itself, with what it finds.
QELT_INSPECTION_EXPORT Scan scan(ScanOptions const& options, ProgressListener* listener, Record& record,
                                 Outputs& outputs);

} // namespace QELT::Inspection
