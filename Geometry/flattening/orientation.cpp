#include "Geometry/foundations/internal/percentage.h"
#include "Geometry/trimesh/mesh.h"

#include <cmath>
#include <numbers>
#include <span>
#include <utility>
#include <vector>

// A conformal map may come out turned in any way. It is turned so that its box along the axes is smallest and
// lies along u: 4096 angles over a quarter turn are tried, all points each time, and the smallest box, the
// first of equals, is taken; where it is not wider than high, a quarter turn goes on top. Then its low corner
// moves to (0, 0).
//
// The steps are 0.022 degrees, a rise of 0.4 mm over a metre; fewer would show as a slant of long scans. A
// box that touches the outline's edges would be exact (rotating calipers), but gives other bits, and archived
// maps are compared. For the same reason boxes grow here as the library's do, rounding included: between
// boxes of nearly equal area that decides. Where the first box is NaN no other is smaller, and it stays.
//
// Cost: 4096 turns of every point, most of which change no box and end at a comparison.

namespace QELT::Geometry::ThreeDimensional::TriMesh {

namespace {

constexpr std::uint32_t numberOfSteps = 4096;
constexpr double quarterTurn = std::numbers::pi / 2;
constexpr double areaBeyondAll = 1e21;

struct Rotation {
    /// `step` steps of a quarter turn divided by their number.
    explicit Rotation(std::uint32_t step) {
        double const angle = step * quarterTurn * (1.0 / numberOfSteps);
        c = std::cos(angle);
        s = std::sin(angle);
    }

    double getU(TwoDimensional::Point<double> const& p) const { return p.getU() * c + p.getV() * s; }

    double getV(TwoDimensional::Point<double> const& p) const { return -p.getU() * s + p.getV() * c; }

    double c;
    double s;
};

/// One direction of a bounding box of points, to the bit as `TwoDimensional::BoundingBoxAA` grows: as a low
/// end and an extent, with the high end formed anew for every point, so that rounding gathers in the extent
/// and decides between boxes of nearly equal area.
class BoxSide {
public:
    explicit BoxSide(double first) : low(first) { settle(); }

    void include(double place) {
        if (isSettled && place >= low && place <= high) {
            return; // would give the same low end and extent again
        }
        double const newHigh = place + 0.0 > high ? place + 0.0 : high;
        low = place < low ? place : low;
        extent = newHigh - low;
        settle();
    }

    double getLow() const { return low; }

    double getExtent() const { return extent; }

private:
    void settle() {
        high = low + extent;
        isSettled = high - low == extent;
    }

    double low;
    double extent = 0.0;
    double high = 0.0;
    bool isSettled = false;
};

/// The box around the turned points, of which there is at least one.
std::pair<BoxSide, BoxSide> getBox(std::vector<TwoDimensional::Point<double>> const& points,
                                   Rotation const& rotation) {
    BoxSide u(rotation.getU(points.front()));
    BoxSide v(rotation.getV(points.front()));
    for (TwoDimensional::Point<double> const& point : points) {
        u.include(rotation.getU(point));
        v.include(rotation.getV(point));
    }
    return {u, v};
}

/// The step that gives the smallest box, the first of equals, with a quarter turn on top unless the box is
/// then wider than high.
std::uint32_t findBestStep(std::vector<TwoDimensional::Point<double>> const& points,
                           ProgressListener* const& listener) {
    PercentageReporter progress(listener);
    double bestArea = areaBeyondAll;
    std::uint32_t bestStep = 0;
    for (std::uint32_t step = 0; step < numberOfSteps; ++step) {
        auto const [u, v] = getBox(points, Rotation(step));
        double const area = std::abs(u.getExtent() * v.getExtent());
        if (area < bestArea || step == 0) {
            bestArea = area;
            bool const isWide = std::abs(u.getExtent()) > std::abs(v.getExtent());
            bestStep = isWide ? step : step + numberOfSteps;
        }
        progress.reportShare(step, numberOfSteps);
    }
    return bestStep;
}

void moveToOrigin(std::span<Vertex> vertices) {
    TwoDimensional::BoundingBoxAA<double> box = vertices.front().getPoint2D().getBoundingBox();
    for (Vertex const& vertex : vertices) {
        box.expand(vertex.getPoint2D().getBoundingBox());
    }
    TwoDimensional::Vector<double> const toCorner = box.getp() - TwoDimensional::Point<double>();
    for (Vertex& vertex : vertices) {
        vertex.setPoint2D(vertex.getPoint2D() - toCorner);
    }
}

} // namespace

bool Mesh::transformMinBBArea2D() {
    reportMessage(progressListener, "Starting C-scan orientation calculation...");
    if (vertices.empty()) {
        return true;
    }
    std::vector<TwoDimensional::Point<double>> points;
    points.reserve(vertices.size());
    for (Vertex const& vertex : vertices) {
        points.push_back(vertex.getPoint2D());
    }
    Rotation const rotation(findBestStep(points, progressListener));
    for (Vertex& vertex : vertices) {
        TwoDimensional::Point<double> const point = vertex.getPoint2D();
        vertex.setPoint2D({rotation.getU(point), rotation.getV(point)});
    }
    moveToOrigin(vertices);
    return true;
}

} // namespace QELT::Geometry::ThreeDimensional::TriMesh
