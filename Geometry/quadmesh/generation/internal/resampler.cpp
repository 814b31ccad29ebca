#include "Geometry/quadmesh/generation/internal/resampler.h"

#include "Geometry/foundations/rounding.h"
#include "Geometry/quadmesh/internal/boundarywalk.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <limits>

namespace QELT::Geometry::ThreeDimensional::QuadMesh {

namespace {

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

/// Whether all numbers are finite and so small that no test of a side overflows.
bool getIsTame(FlatTriangle const& triangle) {
    auto const isSmall = [](double place) { return std::abs(place) <= tameLimit; };
    return std::ranges::all_of(triangle.u, isSmall) && std::ranges::all_of(triangle.v, isSmall);
}

/// A triangle along one line of the lattice: what depends on v alone is known. The determinant of a side and
/// the way to a place from where the side starts is a product for v less one for u.
class Line {
public:
    Line(FlatTriangle const& newTriangle, double v) : triangle(newTriangle) {
        for (std::size_t i = 0; i < 3; ++i) {
            products[i] = triangle.stepU[i] * (v - triangle.v[i]);
        }
        productToThird = triangle.toThirdU * (v - triangle.v[0]);
    }

    /// Whether the place lies to the left of all sides or on them, exactly.
    bool getIsInside(double u) const {
        return !(getSide(0, u) < 0.0) && !(getSide(1, u) < 0.0) && !(getSide(2, u) < 0.0);
    }

    /// Whether it lies so of those sides that bound the triangle on the left.
    bool getIsInsideOnTheLeft(double u) const {
        for (std::size_t i = 0; i < 3; ++i) {
            if (triangle.stepV[i] < 0.0 && getSide(i, u) < 0.0) {
                return false;
            }
        }
        return true;
    }

    Point getPoint(double u) const {
        return triangle.getPoint((u - triangle.u[0]) * triangle.toThirdV - productToThird, getSide(0, u));
    }

private:
    friend class Columns;

    double getSide(std::size_t i, double u) const {
        return products[i] - (u - triangle.u[i]) * triangle.stepV[i];
    }

    FlatTriangle const& triangle;
    std::array<double, 3> products;
    double productToThird;
};

/// `std::floor` and `std::ceil` as 32-bit integers, cut at the ends of their range; NaN gives 0.
std::int32_t floorToInt32(double value) {
    std::int32_t const whole = truncateToInt32(value);
    return whole > value && whole > std::numeric_limits<std::int32_t>::min() ? whole - 1 : whole;
}

/// `std::ceil` without the call that it can be.
double ceilOf(double value) {
    constexpr double safeLimit = std::numeric_limits<std::int32_t>::max();
    if (std::abs(value) < safeLimit) {
        double const towardsZero = static_cast<std::int32_t>(value);
        return towardsZero < value ? towardsZero + 1.0 : towardsZero;
    }
    return std::ceil(value);
}

/// The lattice points along one axis that may lie in a triangle: so many from `first` on, whose places are
/// `start` plus multiples of the spacing.
struct LatticeRun {
    LatticeRun(FlatExtent const& extent, double h) : spacing(h) {
        first = floorToInt32(extent.low / h);
        start = first * h;
        double const end = ceilOf((extent.low + extent.length) / h) * h;
        count = std::int64_t{roundToInt32((end - start) / h)} + 1;
    }

    /// The numbers, counted from `first`, of those that lie in a grid of that extent.
    Run getInside(std::uint32_t gridExtent) const {
        return getClamped({0, count}, -std::int64_t{first}, std::int64_t{gridExtent} - first);
    }

    double getPlace(std::int64_t i) const { return start + static_cast<double>(i) * spacing; }

    double spacing;
    std::int32_t first;
    double start;
    std::int64_t count;
};

/// Lines up to this length are looked at as a whole.
constexpr std::int64_t maxColumns = 16;

/// A triangle and a few columns of the lattice: what depends on u alone is known for all lines. Which places
/// of a line are inside is told without a branch, since no processor could guess them.
class Columns {
public:
    Columns(FlatTriangle const& newTriangle, LatticeRun const& places, Run const& run)
        : triangle(newTriangle), count(static_cast<std::uint32_t>(run.last - run.first)) {
        for (std::uint32_t c = 0; c < count; ++c) {
            double const u = places.getPlace(run.first + c);
            for (std::size_t i = 0; i < 3; ++i) {
                products[i][c] = (u - triangle.u[i]) * triangle.stepV[i];
            }
            productsToThird[c] = (u - triangle.u[0]) * triangle.toThirdV;
        }
    }

    /// The columns whose places on a line lie to the left of all sides or on them, as bits. A difference is
    /// below 0 where the one product is below the other.
    std::uint32_t getInside(Line const& line) const {
        auto const isBelow = [&](std::size_t side, std::uint32_t c) {
            return static_cast<std::uint32_t>(line.products[side] < products[side][c]);
        };
        std::uint32_t outside = 0;
        for (std::uint32_t c = 0; c < count; ++c) {
            outside |= (isBelow(0, c) | isBelow(1, c) | isBelow(2, c)) << c;
        }
        return ~outside & ((1U << count) - 1U);
    }

    Point getPoint(Line const& line, std::size_t c) const {
        return triangle.getPoint(productsToThird[c] - line.productToThird, line.products[0] - products[0][c]);
    }

private:
    FlatTriangle const& triangle;
    std::uint32_t count;
    std::array<std::array<double, maxColumns>, 3> products;
    std::array<double, maxColumns> productsToThird;
};

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

namespace {

/// A row of a grid, to which places inside a triangle are stored.
struct Row {
    Row(Nodes const& nodes, std::int64_t v) : points(nodes.points[v].get()), flags(nodes.flags[v].get()) {}

    void store(std::int64_t u, Point const& point) const {
        points[u] = point;
        flags[u] = withFlag(flags[u], RectMesh::Valid);
    }

    Point* points;
    char* flags;
};

void rasteriseShortLines(Nodes const& nodes, FlatTriangle const& triangle, LatticeRun const& alongU,
                         LatticeRun const& alongV) {
    Run const run = alongU.getInside(nodes.extentU);
    Run const lines = alongV.getInside(nodes.extentV);
    Columns const columns(triangle, alongU, run);
    for (std::int64_t j = lines.first; j < lines.last; ++j) {
        Line const line(triangle, alongV.getPlace(j));
        Row const row(nodes, alongV.first + j);
        for (std::uint32_t inside = columns.getInside(line); inside != 0; inside &= inside - 1U) {
            int const c = std::countr_zero(inside);
            row.store(alongU.first + run.first + c, columns.getPoint(line, static_cast<std::size_t>(c)));
        }
    }
}

/// Each line from the first place inside to the last, where their order can be relied upon.
void rasteriseLongLines(Nodes const& nodes, FlatTriangle const& triangle, LatticeRun const& alongU,
                        LatticeRun const& alongV, bool isOrdered) {
    Run const run = alongU.getInside(nodes.extentU);
    Run const lines = alongV.getInside(nodes.extentV);
    for (std::int64_t j = lines.first; j < lines.last; ++j) {
        Line const line(triangle, alongV.getPlace(j));
        Row const row(nodes, alongV.first + j);
        auto const isOnTheLeft = [&](std::int64_t i) {
            return line.getIsInsideOnTheLeft(alongU.getPlace(i));
        };
        std::int64_t i = isOrdered ? getFirstThat(run, isOnTheLeft) : run.first;
        for (bool isBegun = false; i < run.last; ++i) {
            double const u = alongU.getPlace(i);
            if (line.getIsInside(u)) {
                row.store(alongU.first + i, line.getPoint(u));
                isBegun = isOrdered;
            } else if (isBegun) {
                break;
            }
        }
    }
}

} // namespace

void Resampler::rasterise(FlatTriangle const& triangle) const {
    LatticeRun const alongU(FlatExtent(triangle.u), spacing);
    LatticeRun const alongV(FlatExtent(triangle.v), spacing);
    Run const columns = alongU.getInside(nodes.extentU);
    if (columns.first >= columns.last) {
        return;
    }
    if (columns.last - columns.first <= maxColumns) {
        rasteriseShortLines(nodes, triangle, alongU, alongV);
    } else {
        bool const isOrdered = getIsTame(triangle) && spacing > 0.0 && spacing <= tameLimit;
        rasteriseLongLines(nodes, triangle, alongU, alongV, isOrdered);
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
