#pragma once

#include "Inspection/export.h"
#include "Inspection/names.h"
#include "Inspection/scanning/beam.h"
#include "Inspection/scanning/hit.h"
#include "Inspection/scanning/suresearch.h"

#include <cstddef>
#include <vector>

namespace QELT::Inspection {

/// What a list of beams met.
struct ScanResult {
    std::vector<Hit> hits; ///< one a beam, in the beams' order
    double seconds = 0.0;  ///< the time of the queries alone
};

/// Asks the search for each beam. The listener, which may be null, is told of percentages here and below.
QELT_INSPECTION_EXPORT ScanResult fireBeams(SureSearch const& search, std::vector<Beam> const& beams,
                                            ProgressListener* listener = nullptr);

/// Has the grid walk for each beam in turn. Neighbouring beams should follow each other: the grid starts each
/// search at the quad that the last one ended on, and on a folded part the answer can depend on that.
QELT_INSPECTION_EXPORT ScanResult fireBeams(Grid& grid, std::vector<Beam> const& beams,
                                            ProgressListener* listener = nullptr);

/// The same of grids that answer as one: like a single grid they are asked again from a fresh start if the
/// first answer is no hit within a quarter turn of head-on.
QELT_INSPECTION_EXPORT ScanResult
fireBeams(QELT::Geometry::ThreeDimensional::QuadMesh::RectMeshGroups& groups, std::vector<Beam> const& beams,
          ProgressListener* listener = nullptr);

/// The same of one group.
QELT_INSPECTION_EXPORT ScanResult fireBeams(QELT::Geometry::ThreeDimensional::QuadMesh::RectMeshGroup& group,
                                            std::vector<Beam> const& beams,
                                            ProgressListener* listener = nullptr);

/// How many beams met what.
struct ScanStatistics {
    std::size_t beamCount = 0;
    std::size_t hitCount = 0;
    std::size_t edgeCount = 0; ///< of the hits, those on an edge
    std::size_t measuredCount = 0;
    std::size_t backSideCount = 0; ///< measured hits with an angle error of more than a quarter turn
    double hitRate = 0.0;          ///< share of the beams, 0 to 1
    double beamsPerSecond = 0.0;   ///< 0 if the clock saw no time pass
};

/// Counts what beams met.
QELT_INSPECTION_EXPORT ScanStatistics statisticsOf(ScanResult const& result);

/// What the walk makes of the beams that the sure search answered.
struct WalkComparison {
    std::size_t sameCount = 0;      ///< the same quad
    std::size_t neighbourCount = 0; ///< a quad that touches it
    std::size_t elsewhereCount = 0; ///< a quad elsewhere: another sheet
    std::size_t missedCount = 0;    ///< nothing, where there is a quad
    std::size_t surplusCount = 0;   ///< a quad where there is none in front, such as one behind the probe
    std::size_t bothMissCount = 0;
};

/// Of both results for the same beams on the same grids.
QELT_INSPECTION_EXPORT WalkComparison comparisonOf(ScanResult const& sure, ScanResult const& walk);

} // namespace QELT::Inspection
