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

} // namespace

std::vector<Beam> rasterBeams(Raster const& raster, Point const& low, Point const& high) {
    require(raster.step > 0.0, "a raster step of " + toShortText(raster.step, 6) + " is not above zero");
    require(raster.direction.lSqr() > 0.0 && std::isfinite(raster.direction.lSqr()),
            "the raster's direction has no usable length");
    Frame const frame = frameAlong(raster.direction);
    View const view = viewOfBox(frame, low, high);
    requireBearableSize(view, raster.step);
    auto columns = centredPositions(view.across, raster.step);
    auto const rows = centredPositions(view.along, raster.step);
    Vector const toProbePlane = frame.forward * (view.forward.low - raster.standoff);
    std::vector<Beam> beams;
    beams.reserve(columns.size() * rows.size());
    for (double const row : rows) {
        for (double const column : columns) {
            Vector const position = toProbePlane + frame.along * row + frame.across * column;
            beams.push_back({Point(position.getdX(), position.getdY(), position.getdZ()), frame.forward});
        }
        std::reverse(columns.begin(), columns.end());
    }
    return beams;
}

} // namespace QELT::Inspection
