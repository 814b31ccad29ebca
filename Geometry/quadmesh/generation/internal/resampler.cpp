#include "Geometry/quadmesh/generation/internal/resampler.h"

#include "Geometry/foundations/rounding.h"
#include "Geometry/foundations/trianglemeasures.h"
#include "Geometry/quadmesh/internal/boundarywalk.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

namespace QELT::Geometry::ThreeDimensional::QuadMesh {

namespace {

using FlatBox = TwoDimensional::BoundingBoxAA<double>;
using FlatPoint = TwoDimensional::Point<double>;
using FlatVector = TwoDimensional::Vector<double>;
using GridPoint = TwoDimensional::Point<int>;

/// A run of whole numbers from `first` on, `last` not included.
struct Run {
    std::int64_t first;
    std::int64_t last;
};

/// The part of a run that lies between two bounds, both included.
Run getClamped(Run const& run, std::int64_t lowest, std::int64_t highest) {
    return {std::max(run.first, lowest), std::min(run.last, highest + 1)};
}

/// Far from where products of two overflow.
constexpr double tameLimit = 1e100;

/// A triangle of the flat map and its place on the surface: its corners in the order in which the sides
/// start.
class FlatTriangle {
public:
    explicit FlatTriangle(TriMesh::Triangle const& triangle) {
        TriMesh::Edge edge = triangle.getEdge(0);
        for (std::size_t i = 0; i < 3; ++i) {
            starts[i] = edge.vphiorg2();
            points[i] = edge.vphiorg3();
            edge = edge.rot();
        }
        for (std::size_t i = 0; i < 3; ++i) {
            steps[i] = starts[(i + 1) % 3] - starts[i];
        }
        toThird = starts[2] - starts[0];
        determinant = steps[0].det(toThird);
    }

    FlatBox getBox() const {
        FlatBox box(starts[0], FlatVector());
        box.expand(FlatBox(starts[1], FlatVector()));
        box.expand(FlatBox(starts[2], FlatVector()));
        return box;
    }

    /// Whether all numbers are finite and so small that none of the tests below overflows.
    bool getIsTame() const {
        return std::all_of(starts.begin(), starts.end(), [](FlatPoint const& start) {
            return std::abs(start.getU()) <= tameLimit && std::abs(start.getV()) <= tameLimit;
        });
    }

    /// The triangle along one line of the lattice: what depends on v alone is known.
    class Line {
    public:
        Line(FlatTriangle const& newTriangle, double v)
            : triangle(newTriangle), offsetV(v - triangle.starts[0].getV()) {
            for (std::size_t i = 0; i < 3; ++i) {
                products[i] = triangle.steps[i].getdU() * (v - triangle.starts[i].getV());
            }
        }

        /// Whether the place lies to the left of all sides or on them, exactly.
        bool getIsInside(double u) const {
            return !(getSide(0, u) < 0.0) && !(getSide(1, u) < 0.0) && !(getSide(2, u) < 0.0);
        }

        /// Whether it lies so of those sides that bound the triangle on the left.
        bool getIsInsideOnTheLeft(double u) const {
            for (std::size_t i = 0; i < 3; ++i) {
                if (triangle.steps[i].getdV() < 0.0 && getSide(i, u) < 0.0) {
                    return false;
                }
            }
            return true;
        }

        /// The place on the surface, by barycentric interpolation.
        Point getPoint(double u) const {
            double const offsetU = u - triangle.starts[0].getU();
            double const beta = (offsetU * triangle.toThird.getdV() - triangle.toThird.getdU() * offsetV) /
                                triangle.determinant;
            double const gamma = getSide(0, u) / triangle.determinant;
            double const alpha = 1.0 - beta - gamma;
            return TriangleMeasures::bary(triangle.points[0], triangle.points[1], triangle.points[2], alpha,
                                          beta, gamma);
        }

    private:
        /// The determinant of side i and the way to the place from where it starts.
        double getSide(std::size_t i, double u) const {
            return products[i] - (u - triangle.starts[i].getU()) * triangle.steps[i].getdV();
        }

        FlatTriangle const& triangle;
        double offsetV;
        std::array<double, 3> products;
    };

private:
    std::array<FlatPoint, 3> starts;
    std::array<FlatVector, 3> steps;
    std::array<Point, 3> points;
    FlatVector toThird;
    double determinant;
};

/// `std::floor` and `std::ceil` as 32-bit integers, cut at the ends of their range; NaN gives 0.
std::int32_t floorToInt32(double value) {
    std::int32_t const whole = truncateToInt32(value);
    return whole > value && whole > std::numeric_limits<std::int32_t>::min() ? whole - 1 : whole;
}

/// The lattice points along one axis that may lie in a triangle: so many from `first` on, whose places are
/// `start` plus multiples of the spacing.
struct LatticeRun {
    LatticeRun(double low, double extent, double h) {
        first = floorToInt32(low / h);
        start = first * h;
        double const end = std::ceil((low + extent) / h) * h;
        count = std::int64_t{roundToInt32((end - start) / h)} + 1;
    }

    /// The numbers, counted from `first`, of those that lie in a grid of that extent.
    Run getInside(std::uint32_t gridExtent) const {
        return getClamped({0, count}, -std::int64_t{first}, std::int64_t{gridExtent} - first);
    }

    std::int32_t first;
    double start;
    std::int64_t count;
};

/// Rows up to this length are looked through from their start.
constexpr std::int64_t longestScan = 16;

/// The first number of a run, or its end, for which an answer holds that holds for all numbers after it too.
template <class Holds>
std::int64_t getFirstThat(Run run, Holds holds) {
    while (run.first < run.last) {
        std::int64_t const middle = run.first + (run.last - run.first) / 2;
        if (holds(middle)) {
            run.last = middle;
        } else {
            run.first = middle + 1;
        }
    }
    return run.first;
}

/// Whether the segments from p to q and from q1 to q2 meet, ends included.
bool getDoSegmentsMeet(FlatPoint const& p, FlatPoint const& q, FlatPoint const& q1, FlatPoint const& q2) {
    FlatVector a = q - p;
    FlatVector b = q1 - q2;
    FlatVector const c = q1 - p;
    double det = a.det(b);
    if (det < 0.0) {
        det = -det;
        std::swap(a, b);
    }
    double const s = c.det(b);
    double const t = a.det(c);
    return 0.0 <= s && s <= det && 0.0 <= t && t <= det;
}

} // namespace

void Resampler::rasterise(TriMesh::Triangle const& triangle) const {
    double const h = spacing;
    FlatTriangle const flat(triangle);
    FlatBox const box = flat.getBox();
    LatticeRun const alongU(box.getp().getU(), box.getd().getdU(), h);
    LatticeRun const alongV(box.getp().getV(), box.getd().getdV(), h);
    Run const insideU = alongU.getInside(nodes.extentU);
    Run const insideV = alongV.getInside(nodes.extentV);
    bool const isSpan = flat.getIsTame() && h > 0.0 && h <= tameLimit;
    auto const getU = [&](std::int64_t i) { return alongU.start + static_cast<double>(i) * h; };
    for (std::int64_t j = insideV.first; j < insideV.last; ++j) {
        FlatTriangle::Line const line(flat, alongV.start + static_cast<double>(j) * h);
        Point* const points = nodes.points[alongV.first + j].get();
        char* const flags = nodes.flags[alongV.first + j].get();
        bool const isLong = isSpan && insideU.last - insideU.first > longestScan;
        std::int64_t i =
            isLong ? getFirstThat(insideU, [&](std::int64_t k) { return line.getIsInsideOnTheLeft(getU(k)); })
                   : insideU.first;
        for (bool isBegun = false; i < insideU.last; ++i) {
            double const u = getU(i);
            if (line.getIsInside(u)) {
                std::int64_t const node = alongU.first + i;
                points[node] = line.getPoint(u);
                flags[node] = withFlag(flags[node], RectMesh::Valid);
                isBegun = isSpan;
            } else if (isBegun) {
                break;
            }
        }
    }
}

void Resampler::markBoundary(Edge const& start) const {
    forEachBoundaryEdge(start, [this](Edge const& edge) { mark(edge.dest(), RectMesh::Boundary); });
    mark(start.org(), RectMesh::Boundary);
}

void Resampler::markCut(TriMesh::Mesh const& mesh) const {
    auto const& [firstLip, secondLip] = mesh.getCutEdgeIndices();
    if (firstLip.empty()) {
        return;
    }
    for (auto const* const lip : {&firstLip, &secondLip}) {
        for (std::size_t k = 0; k + 1 < lip->size(); ++k) {
            markCutSegment(mesh.getVertex((*lip)[k].index).getPoint2D(),
                           mesh.getVertex((*lip)[k + 1].index).getPoint2D());
        }
    }
}

void Resampler::markCutSegment(FlatPoint const& p, FlatPoint const& q) const {
    double const h = spacing;
    std::int64_t const iLow = truncateToInt32(std::floor(std::min(p.getU(), q.getU()) / h));
    std::int64_t const jLow = truncateToInt32(std::floor(std::min(p.getV(), q.getV()) / h));
    std::int64_t const iHigh = truncateToInt32(std::ceil(std::max(p.getU(), q.getU()) / h));
    std::int64_t const jHigh = truncateToInt32(std::ceil(std::max(p.getV(), q.getV()) / h));
    // Only grid edges with an end in the grid can carry a mark.
    auto const markCrossed = [&](Run const& runI, Run const& runJ, int stepU, int stepV) {
        Run const insideI = getClamped(runI, -1, nodes.extentU);
        Run const insideJ = getClamped(runJ, -1, nodes.extentV);
        for (std::int64_t j = insideJ.first; j < insideJ.last; ++j) {
            for (std::int64_t i = insideI.first; i < insideI.last; ++i) {
                FlatPoint const q1(static_cast<double>(i) * h, static_cast<double>(j) * h);
                FlatPoint const q2(static_cast<double>(i + stepU) * h, static_cast<double>(j + stepV) * h);
                if (getDoSegmentsMeet(p, q, q1, q2)) {
                    markCutNode({static_cast<int>(i), static_cast<int>(j)});
                    markCutNode({static_cast<int>(i + stepU), static_cast<int>(j + stepV)});
                }
            }
        }
    };
    markCrossed({iLow, iHigh}, {jLow + 1, jHigh}, 1, 0);
    markCrossed({iLow + 1, iHigh}, {jLow, jHigh}, 0, 1);
}

void Resampler::markCutNode(GridPoint const& node) const {
    if (nodes.getIsInBounds(node) && getHasFlag(nodes.flagsOf(node), RectMesh::Boundary)) {
        mark(node, RectMesh::CutBoundary);
    }
}

void Resampler::markInterior() const {
    constexpr unsigned validBit = 1U << RectMesh::Valid;
    constexpr unsigned marks = validBit | 1U << RectMesh::Boundary;
    for (std::size_t v = 0; v <= nodes.extentV; ++v) {
        char* const flags = nodes.flags.get()[v].get();
        for (std::size_t u = 0; u <= nodes.extentU; ++u) {
            bool const isInterior = (static_cast<unsigned char>(flags[u]) & marks) == validBit;
            flags[u] = isInterior ? withFlag(flags[u], RectMesh::Interior) : flags[u];
        }
    }
}

void Resampler::mark(GridPoint const& node, RectMesh::PointFlagID id) const {
    char& flagByte = nodes.flagsOf(node);
    flagByte = withFlag(flagByte, id);
}

} // namespace QELT::Geometry::ThreeDimensional::QuadMesh
