#pragma once

#include "Inspection/export.h"
#include "Inspection/names.h"
#include "Inspection/scanning/beam.h"

#include <cstddef>
#include <vector>

namespace QELT::Inspection {

/// What one beam met. All but the first field have meaning only where `isValid` is true, and `distance` and
/// the angles only where `isMeasured` is true as well: beyond the core's limit a hit is not measured.
struct Hit {
    bool isValid = false;
    bool isMeasured = false;
    GridIndex quad;
    Point point;
    double distance = 0.0;      ///< along the beam, in the part's unit; negative behind the probe
    double angleToNormal = 0.0; ///< radians, pi is head-on
    double angleError = 0.0;    ///< radians, 0 is head-on
};

struct ScanResult {
    std::vector<Hit> hits; ///< one a beam, in the beams' order
    double seconds = 0.0;  ///< the time of the queries alone
};

/// From this distance on the core reports a hit without measuring it.
constexpr double measurementLimit = 10000.0;

/// Asks the grid for each beam in turn. Neighbouring beams should follow each other: the grid starts each
/// search at the quad that the last one ended on. The listener may be null.
QELT_INSPECTION_EXPORT ScanResult fireBeams(Grid& grid, std::vector<Beam> const& beams,
                                            ProgressListener* listener = nullptr);

/// The same of grids that answer as one: like a single grid they are asked again from a fresh start if the
/// first answer is no hit within a quarter turn of head-on.
QELT_INSPECTION_EXPORT ScanResult
fireBeams(QELT::Geometry::ThreeDimensional::QuadMesh::RectMeshGroups& groups, std::vector<Beam> const& beams,
          ProgressListener* listener = nullptr);

struct ScanStatistics {
    std::size_t beamCount = 0;
    std::size_t hitCount = 0;
    std::size_t measuredCount = 0;
    std::size_t backSideCount = 0; ///< measured hits with an angle error of more than a quarter turn
    double hitRate = 0.0;          ///< share of the beams, 0 to 1
    double beamsPerSecond = 0.0;   ///< 0 if the clock saw no time pass
};

QELT_INSPECTION_EXPORT ScanStatistics statisticsOf(ScanResult const& result);

} // namespace QELT::Inspection
