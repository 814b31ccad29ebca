#include "Inspection/results/shotaccumulator.h"

#include "Inspection/results/internal/accumulation.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>
#include <span>
#include <utility>

// A shot goes one way: it meets a pixel or misses; it is refused, or it counts; if it counts it is an echo or
// none. A pixel's state is the best that its shots came to: an echo, saturated if one of its echoes was,
// before a shot without an echo, before a refused one. So a flaw that swallows the echo is no gap, and a shot
// beside the surface's normal spoils no pixel that a good one met.

namespace QELT::Inspection {

namespace {

constexpr double degreesPerRadian = 180.0 / std::numbers::pi;
constexpr double nan = std::numeric_limits<double>::quiet_NaN();

using Outcome = ShotRows::Outcome;

bool isBetter(PixelState candidate, PixelState present) {
    auto const rankOf = [](PixelState state) {
        switch (state) {
        case PixelState::Saturated:
            return 4;
        case PixelState::Echo:
            return 3;
        case PixelState::NoEcho:
            return 2;
        case PixelState::Refused:
            return 1;
        default:
            return 0;
        }
    };
    return rankOf(candidate) > rankOf(present);
}

void raise(PixelState& state, PixelState candidate) {
    if (isBetter(candidate, state)) {
        state = candidate;
    }
}

void append(std::vector<double>& numbers, Point const& point, std::array<double, 3> const& move) {
    numbers.insert(numbers.end(),
                   {static_cast<double>(point.getX()) - move[0], static_cast<double>(point.getY()) - move[1],
                    static_cast<double>(point.getZ()) - move[2]});
}

} // namespace

/// All values, and the count of shots that were taken in.
class ShotAccumulator::Values {
public:
    Values(ShotQuantities const& quantities, std::size_t pixelCount) {
        for (ShotQuantities::Value const& value : quantities.getValues()) {
            accumulators.emplace_back(value, pixelCount);
        }
    }

    void add(std::uint32_t pixel, ShotValues const& shot, std::uint64_t number) {
        for (std::size_t i = 0; i < accumulators.size(); ++i) {
            accumulators[i].add(pixel, shot.numbers[i], number);
        }
    }

    std::vector<ValueMap> finish() {
        std::vector<ValueMap> maps;
        for (ValueAccumulator& accumulator : accumulators) {
            maps.push_back(accumulator.finish());
        }
        return maps;
    }

private:
    std::vector<ValueAccumulator> accumulators;
};

ShotAccumulator::ShotAccumulator(Result pixels, SureSearch const& newSearch, ShotQuantities newQuantities,
                                 ShotAcceptance const& newAcceptance, ResultWriter* newWriter)
    : result(std::move(pixels)),
      search(newSearch),
      quantities(std::move(newQuantities)),
      acceptance(newAcceptance),
      writer(newWriter),
      values(std::make_unique<Values>(quantities, result.size())) {
    rows.quantities = quantities.getColumns();
}

ShotAccumulator::~ShotAccumulator() = default;

Hit hitOfShot(SureSearch const& search, ShotBlock const& block, std::size_t shot) {
    Beam const& beam = block.beams[shot];
    return block.hasDirection[shot] ? search.find(beam) : search.findNearest(beam.origin);
}

std::uint32_t ShotAccumulator::pixelOf(Hit const& hit) const {
    if (!hit.isHit() || !hit.isMeasured) {
        return Result::none;
    }
    return static_cast<std::uint32_t>(
        result.indexOf(static_cast<std::size_t>(hit.quad.getU()), static_cast<std::size_t>(hit.quad.getV())));
}

Outcome ShotAccumulator::outcomeOfEcho(std::uint32_t pixel, ShotValues const& shot) {
    ++result.counts[pixel];
    values->add(pixel, shot, figures.shotCount - 1);
    if (!shot.isEcho) {
        ++figures.noEchoCount;
        raise(result.states[pixel], PixelState::NoEcho);
        return Outcome::NoEcho;
    }
    ++figures.echoCount;
    figures.saturatedCount += shot.isSaturated ? 1U : 0U;
    raise(result.states[pixel], shot.isSaturated ? PixelState::Saturated : PixelState::Echo);
    return shot.isSaturated ? Outcome::Saturated : Outcome::Echo;
}

Outcome ShotAccumulator::outcomeOf(ShotBlock const& block, std::size_t shot, Hit const& hit) {
    ++figures.shotCount;
    std::uint32_t const pixel = pixelOf(hit);
    if (pixel == Result::none) {
        ++figures.missedCount;
        figures.farCount += hit.isHit() ? 1U : 0U;
        return Outcome::Missed;
    }
    double const incidence = hit.angleError * degreesPerRadian;
    figures.standoff.add(hit.distance);
    figures.incidence.add(incidence);
    auto const refuse = [&](std::uint64_t& count, Outcome outcome) {
        ++count;
        ++result.refused[pixel];
        raise(result.states[pixel], PixelState::Refused);
        return outcome;
    };
    if (block.isBad[shot]) {
        return refuse(figures.badCount, Outcome::RefusedAsBad);
    }
    if (hit.isFromBehind() || incidence > acceptance.maxAngle) {
        return refuse(figures.angleCount, Outcome::RefusedByAngle);
    }
    if (acceptance.standoff && std::abs(hit.distance - *acceptance.standoff) > acceptance.standoffTolerance) {
        return refuse(figures.standoffCount, Outcome::RefusedByStandoff);
    }
    std::size_t const columns = rows.quantities.size();
    ShotValues const& shotValues = quantities.evaluate(
        std::span(block.values).subspan(shot * columns, columns), hit.distance, incidence);
    figures.residual.add(shotValues.residual);
    return outcomeOfEcho(pixel, shotValues);
}

void ShotAccumulator::keep(ShotBlock const& block, std::size_t shot, Hit const& hit, Outcome outcome) {
    bool const isMissed = outcome == Outcome::Missed;
    Beam const& beam = block.beams[shot];
    Vector const along = block.hasDirection[shot] || isMissed ? beam.direction : hit.point - beam.origin;
    double const length = std::sqrt(along.lSqr());
    rows.lines.push_back(block.lines[shot]);
    rows.outcomes.push_back(outcome);
    rows.pixels.push_back(pixelOf(hit));
    append(rows.origins, beam.origin, result.move);
    rows.directions.insert(rows.directions.end(),
                           {along.getdX() / length, along.getdY() / length, along.getdZ() / length});
    append(rows.points, isMissed ? Point(NAN, NAN, NAN) : hit.point, result.move);
    rows.standoffs.push_back(isMissed ? nan : hit.distance);
    rows.incidences.push_back(isMissed ? nan : hit.angleError * degreesPerRadian);
    auto const row = block.values.begin() + static_cast<std::ptrdiff_t>(shot * rows.quantities.size());
    rows.values.insert(rows.values.end(), row, row + static_cast<std::ptrdiff_t>(rows.quantities.size()));
}

void ShotAccumulator::add(ShotBlock const& block) {
    for (std::size_t shot = 0; shot < block.size(); ++shot) {
        Hit const hit = hitOfShot(search, block, shot);
        Outcome const outcome = outcomeOf(block, shot, hit);
        if (writer != nullptr) {
            keep(block, shot, hit, outcome);
        }
    }
    if (writer != nullptr) {
        writer->append(rows);
        rows.clear();
    }
}

Result ShotAccumulator::finish() {
    result.values = values->finish();
    return std::move(result);
}

} // namespace QELT::Inspection
