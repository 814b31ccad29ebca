#pragma once

#include "Geometry/foundations/trianglemeasures.h"
#include "Geometry/trimesh/internal/connectivity.h"

#include <cstdint>
#include <optional>
#include <span>

namespace QELT::Geometry::ThreeDimensional::TriMesh {

/// The third corner that was chosen for a triangle.
struct Apex {
    std::uint32_t vertex = 0;

    /// A quarter of the triangle's squared circumradius.
    double rTSqr = 0.0;

    bool wasFloating = false;
};

/// Chooses among the candidates for the apex of a triangle on the side a to b: the one that gives the
/// smallest circumradius on the side of `normal`, the earliest of equals.
class ApexChoice {
public:
    ApexChoice(Point const& newA, Point const& newB, Vector const& newNormal)
        : a(newA), b(newB), normal(newNormal) {}

    /// Whether no point whose `Point::dSqr` from a is as large as this or larger can be chosen any more.
    bool getIsTooFar(double distanceSqr) const {
        return distanceSqr >= leastBound && distanceSqr <= greatestBound &&
               distanceSqr * shareOfRadius > least;
    }

    void consider(std::uint32_t w, Point const& pointW, bool isFloating) {
        double const r = TriangleMeasures::rTSqr(a, b, pointW);
        if (least > r && normal.dot(TriangleMeasures::twoATN(a, b, pointW)) > 0.0) {
            least = r;
            best = {w, r, isFloating};
        }
    }

    std::optional<Apex> const& get() const { return best; }

private:
    static constexpr double beyondAllRadii = 1e300;

    /// A circle through two points is no smaller than that on their distance: a sixteenth of its square, less
    /// what roundings in single precision can take. Squares outside of the bounds are rounded more coarsely.
    static constexpr double shareOfRadius = (1.0 - 1e-5) / 16.0;
    static constexpr double leastBound = 1e-30;
    static constexpr double greatestBound = 1e38;

    Point a;
    Point b;
    Vector normal;
    double least = beyondAllRadii;
    std::optional<Apex> best;
};

/// Where the front goes on from the two ends a and b of an open side. Both are walked to when first asked
/// for, which no side with floating candidates alone needs.
class FrontAtSide {
public:
    FrontAtSide(Connectivity const& newSurface, std::uint32_t newA, std::uint32_t newB)
        : surface(newSurface), a(newA), b(newB) {}

    /// Whether the front leads from b on to w, or from a on to b. The latter says nothing about w: where it
    /// holds, every vertex of the front may be the apex.
    bool getIsBeside(std::uint32_t w);

private:
    Connectivity const& surface;
    std::uint32_t a;
    std::uint32_t b;
    std::uint32_t fromA = 0;
    std::uint32_t fromB = 0;
    bool isWalkedFromA = false;
    bool isWalkedFromB = false;
};

/// The one of the candidates that `ApexChoice` chooses. One that the surface has already must lie on the
/// front beside a or b.
std::optional<Apex> findApex(Connectivity const& surface, std::uint32_t a, std::uint32_t b,
                             std::span<std::uint32_t const> candidates, Vector const& normal);

/// Where the third side of the last triangle of the vertex' first fan ends, from the listed triangle on.
std::uint32_t getEndOfLastSpoke(Connectivity const& surface, std::uint32_t v);

} // namespace QELT::Geometry::ThreeDimensional::TriMesh
