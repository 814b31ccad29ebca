#pragma once

#include "Inspection/export.h"
#include "Inspection/names.h"
#include "Inspection/results/distribution.h"
#include "Inspection/results/quantities.h"
#include "Inspection/results/result.h"
#include "Inspection/results/resultfile.h"
#include "Inspection/scanning/suresearch.h"
#include "Inspection/shots/shot.h"

#include <array>
#include <cstdint>
#include <memory>
#include <optional>

namespace QELT::Inspection {

/// Which shots count.
struct ShotAcceptance {
    std::optional<double> standoff; ///< the distance that the probe is to keep, in the part's unit
    double standoffTolerance = 0.0; ///< how much less or more it may be
    double maxAngle = 90.0;         ///< degrees off head-on; what meets the surface from behind never counts
};

/// What became of the shots.
struct ShotFigures {
    std::uint64_t shotCount = 0;
    std::uint64_t missedCount = 0;
    std::uint64_t farCount = 0;      ///< of these, met a surface further away than the core measures
    std::uint64_t angleCount = 0;    ///< refused for their angle
    std::uint64_t standoffCount = 0; ///< refused for their standoff
    std::uint64_t badCount = 0;      ///< met the surface, but not all that was measured could be read
    std::uint64_t noEchoCount = 0;
    std::uint64_t echoCount = 0; ///< saturated ones among them
    std::uint64_t saturatedCount = 0;
    Distribution standoff;  ///< in the part's unit, of all shots that met the surface
    Distribution incidence; ///< degrees off head-on, of the same
    Distribution
        residual; ///< measured standoff less that of the poses, in the part's unit, of those that count
};

/// Where a shot meets the surface: along its direction, or, if only its place is known, at the nearest place.
Hit hitOfShot(SureSearch const& search, ShotBlock const& block, std::size_t shot);

/// Takes shots, block after block, to the pixels that they meet. The memory is that of the pixels: 8 to 24
/// bytes for each value besides the result; a median keeps 16 bytes a shot on disk.
class QELT_INSPECTION_EXPORT ShotAccumulator {
public:
    /// `search` is over the same grids as `pixels` and outlives this, as `writer` does, which gets the shots
    /// if it is not null.
    ShotAccumulator(Result pixels, SureSearch const& newSearch, ShotQuantities newQuantities,
                    ShotAcceptance const& newAcceptance, ResultWriter* newWriter = nullptr);
    ~ShotAccumulator();
    ShotAccumulator(ShotAccumulator const&) = delete;
    ShotAccumulator& operator=(ShotAccumulator const&) = delete;

    /// Takes shots in, in order.
    void add(ShotBlock const& block);

    ShotFigures const& getFigures() const { return figures; }

    /// What the pixels hold now. Ends it.
    Result finish();

private:
    class Values;

    Result result;
    SureSearch const& search;
    ShotQuantities quantities;
    ShotAcceptance acceptance;
    ResultWriter* writer;
    ShotFigures figures;
    std::unique_ptr<Values> values;
    ShotRows rows;

    std::uint32_t pixelOf(Hit const& hit) const;
    ShotRows::Outcome outcomeOf(ShotBlock const& block, std::size_t shot, Hit const& hit);
    ShotRows::Outcome outcomeOfEcho(std::uint32_t pixel, ShotValues const& shot);
    void keep(ShotBlock const& block, std::size_t shot, Hit const& hit, ShotRows::Outcome outcome);
};

} // namespace QELT::Inspection
