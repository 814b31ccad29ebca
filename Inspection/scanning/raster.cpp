#include "Inspection/scanning/raster.h"

#include "Inspection/records/failure.h"
#include "Inspection/records/numbers.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

namespace QELT::Inspection {

namespace {

/// Three unit vectors at right angles; the beams run along `forward`.
struct Frame {
    Vector across;
    Vector along;
    Vector forward;
};

struct Range {
    double low = std::numeric_limits<double>::infinity();
    double high = -std::numeric_limits<double>::infinity();

    void include(double value) {
        low = std::min(low, value);
        high = std::max(high, value);
    }

    double length() const { return high - low; }
};

/// The extent of a box along the axes of a frame.
struct View {
    Range across;
    Range along;
    Range forward;
};

Vector unit(Vector const& vector) {
    return vector / std::sqrt(vector.lSqr());
}

/// The coordinate axis that lies farthest off the direction.
Vector axisOffDirection(Vector const& forward) {
    std::array const sizes = {std::abs(forward.getdX()), std::abs(forward.getdY()),
                              std::abs(forward.getdZ())};
    auto const smallest = std::min_element(sizes.begin(), sizes.end()) - sizes.begin();
    return Vector(static_cast<unsigned long>(smallest), 1.0);
}

Frame frameAlong(Vector const& direction) {
    Frame frame;
    frame.forward = unit(direction);
    Vector const axis = axisOffDirection(frame.forward);
    frame.across = unit(axis - frame.forward * axis.dot(frame.forward));
    frame.along = frame.forward.cross(frame.across);
    return frame;
}

View viewOfBox(Frame const& frame, Point const& low, Point const& high) {
    View view;
    for (unsigned corner = 0; corner < 8; ++corner) {
        Vector const position((corner & 1U) != 0 ? high.getX() : low.getX(),
                              (corner & 2U) != 0 ? high.getY() : low.getY(),
                              (corner & 4U) != 0 ? high.getZ() : low.getZ());
        view.across.include(position.dot(frame.across));
        view.along.include(position.dot(frame.along));
        view.forward.include(position.dot(frame.forward));
    }
    return view;
}

/// Positions of the given spacing within the range, centred on it.
std::vector<double> centredPositions(Range const& range, double step) {
    double const intervals = std::floor(range.length() / step);
    double const first = range.low + 0.5 * (range.length() - intervals * step);
    std::vector<double> positions;
    for (double i = 0.0; i <= intervals; i += 1.0) {
        positions.push_back(first + i * step);
    }
    return positions;
}

void requireBearableSize(View const& view, double step) {
    double const count =
        (std::floor(view.across.length() / step) + 1.0) * (std::floor(view.along.length() / step) + 1.0);
    if (!(count <= largestRaster)) {
        throw Failure("a raster step of " + toShortText(step, 6) + " makes " + toShortText(count, 3) +
                      " beams, more than " + toFixedText(largestRaster, 0));
    }
}

/// Where the beams start, row after row.
struct Lattice {
    Frame frame;
    Vector toProbePlane;
    std::vector<double> columns;
    std::vector<double> rows;

    std::uint64_t size() const { return std::uint64_t{columns.size()} * rows.size(); }

    Beam beam(std::uint64_t number) const {
        std::uint64_t const row = number / columns.size();
        std::uint64_t const place = number % columns.size();
        double const column = columns[row % 2 == 0 ? place : columns.size() - 1 - place];
        Vector const position = toProbePlane + frame.along * rows[row] + frame.across * column;
        return {Point(position.getdX(), position.getdY(), position.getdZ()), frame.forward};
    }
};

Lattice latticeOf(Raster const& raster, Point const& low, Point const& high) {
    require(raster.step > 0.0, "a raster step of " + toShortText(raster.step, 6) + " is not above zero");
    require(raster.direction.lSqr() > 0.0 && std::isfinite(raster.direction.lSqr()),
            "the raster's direction has no usable length");
    Frame const frame = frameAlong(raster.direction);
    View const view = viewOfBox(frame, low, high);
    requireBearableSize(view, raster.step);
    return {frame, frame.forward * (view.forward.low - raster.standoff),
            centredPositions(view.across, raster.step), centredPositions(view.along, raster.step)};
}

} // namespace

std::uint64_t rasterSize(Raster const& raster, Point const& low, Point const& high) {
    return latticeOf(raster, low, high).size();
}

std::vector<Beam> rasterBeams(Raster const& raster, Point const& low, Point const& high) {
    return rasterBeams(raster, low, high, {0, std::numeric_limits<std::uint64_t>::max()});
}

std::vector<Beam> rasterBeams(Raster const& raster, Point const& low, Point const& high,
                              BeamRange const& range) {
    Lattice const lattice = latticeOf(raster, low, high);
    std::uint64_t const first = std::min(range.first, lattice.size());
    std::uint64_t const count = std::min(range.count, lattice.size() - first);
    std::vector<Beam> beams;
    beams.reserve(count);
    for (std::uint64_t number = first; number < first + count; ++number) {
        beams.push_back(lattice.beam(number));
    }
    return beams;
}

} // namespace QELT::Inspection
