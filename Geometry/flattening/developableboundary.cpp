#include "Geometry/linearalgebra/internal/attachedsolver.h"
#include "Geometry/linearalgebra/internal/normalequations.h"
#include "Geometry/linearalgebra/sparsematrix.h"
#include "Geometry/linearalgebra/utility.h"
#include "Geometry/linearalgebra/vector.h"
#include "Geometry/trimesh/internal/connectivity.h"
#include "Geometry/trimesh/mesh.h"

#include <array>
#include <cmath>
#include <numbers>
#include <stdexcept>

// The outline of a part rolled out into the plane before the inside is flattened. A developable surface keeps
// lengths and angles along its rim when it is unrolled; of any other the angles do not close, and the errors
// are spread in the least-squares sense:
//
//   1. at each vertex of the loop the angle of the surface is summed over its fan, and the edge that leaves
//   it
//      is measured;
//   2. each vertex with its two neighbours on either side is laid out as a chain by those lengths and angles;
//   3. from either side the chain says how the vertex follows from its two neighbours there, by a scaling and
//      a turn. That gives four rows for each vertex but two, which are pinned at (0.5, 1) and (1, 0.5); the
//      pins decide no more than a similarity, and orientation.cpp turns the map anyway;
//   4. the normal equations are solved by conjugate gradients, from zero; a solver that is attached gets the
//      rows themselves, since the normal equations have lost half of their digits.
//
// The pins stand 128 and 127 positions in front of the loop's end, where the loop is that long, else they are
// its first two: the rows' order and so the bits hang on that. They are one edge of the map and set its
// scale. Stencils of five wrap round the loop; in one of fewer vertices they would meet themselves. There is
// no tolerance: an edge of length 0 makes the chain NaN.
//
// Cost: linear in the loop for assembly, a sparse solve of twice its length; time goes to the iterations.

namespace QELT::Geometry::ThreeDimensional::TriMesh {

namespace {

using FlatPoint = TwoDimensional::Point<double>;
using FlatVector = TwoDimensional::Vector<double>;

constexpr unsigned long entriesPerRow = 8;

/// The first pinned position stands so far from the end of the loop, the second is the next one.
constexpr std::uint32_t pinsFromEnd = 128;

constexpr std::uint32_t stencilSize = 5;
constexpr std::uint32_t stencilCentre = 2;

/// A loop must have room for a stencil without meeting itself.
constexpr std::uint32_t minPositions = stencilSize;

/// The stencil positions near and far of the centre on either side of it.
struct Side {
    std::uint32_t near;
    std::uint32_t far;
};

constexpr std::array<Side, 2> sides{{{3, 4}, {1, 0}}};

/// What the surface has at a vertex of the boundary: the angle of its fan, and the length of the boundary
/// edge that leaves it.
struct BoundaryTurn {
    double angle = 0.0;
    double length = 0.0;
};

using Chain = std::array<FlatPoint, stencilSize>;

/// Where five boundary vertices in a row lie when the boundary is rolled out: edges keep their lengths, and
/// the angle on the left of each inner vertex is that of its fan.
Chain rollOut(std::array<BoundaryTurn, stencilSize> const& turns) {
    Chain local;
    double t = std::numbers::pi;
    FlatVector axisA(1.0, 0.0);
    FlatVector axisB(0.0, 1.0);
    for (std::size_t k = 0; k + 1 < stencilSize; ++k) {
        FlatVector const step = (axisA * std::cos(t) + axisB * std::sin(t)) * -turns[k].length;
        local[k + 1] = local[k] + step;
        t = turns[k + 1].angle;
        axisA = step / std::sqrt(step.lSqr());
        axisB = FlatVector(axisA.getdV(), -axisA.getdU());
    }
    return local;
}

/// The least-squares system of a boundary loop. Unknowns are the flat positions of all vertices but the two
/// pinned ones; each unknown contributes, from either side, the equation that its place follows from its two
/// neighbours there as in the rolled-out chain, up to a similarity.
class BoundarySystem {
public:
    BoundarySystem(std::uint32_t newNumberOfPositions, std::uint32_t newFirstPinned)
        : n(newNumberOfPositions),
          m(newNumberOfPositions - 2),
          firstPinned(newFirstPinned),
          system(4UL * m, 2UL * m, entriesPerRow, LinearAlgebra::SparseMatrix::CanonicalEmpty),
          rhs(4UL * m) {
        rhs.zero();
    }

    /// The loop position of an unknown.
    std::uint32_t getPosition(std::uint32_t unknown) const {
        return unknown < firstPinned ? unknown : unknown + 2;
    }

    /// The loop position of a member of the stencil around an unknown.
    std::uint32_t getPosition(std::uint32_t unknown, std::uint32_t member) const {
        return (n - stencilCentre + getPosition(unknown) + member) % n;
    }

    bool getIsPinned(std::uint32_t position) const {
        return position == firstPinned || position == firstPinned + 1;
    }

    FlatPoint getPin(std::uint32_t position) const {
        return position == firstPinned ? FlatPoint(0.5, 1.0) : FlatPoint(1.0, 0.5);
    }

    void addEquations(std::uint32_t unknown, Chain const& local) {
        for (std::uint32_t side = 0; side < sides.size(); ++side) {
            auto const [near, far] = sides[side];
            FlatVector const d = local[near] - local[far];
            FlatVector const w = local[stencilCentre] - local[near];
            double const a = w.dot(d) / d.dot(d);
            double const b = w.dot(d.perp()) / d.dot(d);
            std::uint32_t const row = 2 * (side + 2 * unknown);
            addCentre(row, unknown);
            addScaled(row, unknown, near, 1.0 + a);
            addScaled(row, unknown, far, -a);
            addTurned(row, unknown, near, b);
            addTurned(row, unknown, far, -b);
        }
    }

    std::uint32_t getNumberOfUnknowns() const { return m; }

    LinearAlgebra::SparseMatrix const& getMatrix() const { return system; }

    LinearAlgebra::Vector const& getRightHandSide() const { return rhs; }

private:
    void addCentre(std::uint32_t row, std::uint32_t unknown) {
        if (getIsPinned(getPosition(unknown, stencilCentre))) {
            throw std::runtime_error("Boundary flattening internal failure");
        }
        system.acc(row, 2 * unknown, -1.0);
        system.acc(row + 1, 2 * unknown + 1, -1.0);
    }

    /// The number of the unknown that a member of a stencil is. No stencil reaches across the pins.
    std::uint32_t getUnknown(std::uint32_t unknown, std::uint32_t member) const {
        return (member + unknown + m - stencilCentre) % m;
    }

    /// Adds factor times the member's position to an equation; the known goes to the other side.
    void addScaled(std::uint32_t row, std::uint32_t unknown, std::uint32_t member, double factor) {
        std::uint32_t const position = getPosition(unknown, member);
        if (getIsPinned(position)) {
            rhs.acc(row, -factor * getPin(position).getU());
            rhs.acc(row + 1, -factor * getPin(position).getV());
        } else {
            std::uint32_t const q = getUnknown(unknown, member);
            system.acc(row, 2 * q, factor);
            system.acc(row + 1, 2 * q + 1, factor);
        }
    }

    /// The same with the member's position turned a quarter to the left.
    void addTurned(std::uint32_t row, std::uint32_t unknown, std::uint32_t member, double factor) {
        std::uint32_t const position = getPosition(unknown, member);
        if (getIsPinned(position)) {
            rhs.acc(row, factor * getPin(position).getV());
            rhs.acc(row + 1, -factor * getPin(position).getU());
        } else {
            std::uint32_t const q = getUnknown(unknown, member);
            system.acc(row, 2 * q + 1, -factor);
            system.acc(row + 1, 2 * q, factor);
        }
    }

    std::uint32_t n;
    std::uint32_t m;
    std::uint32_t firstPinned;
    LinearAlgebra::SparseMatrix system;
    LinearAlgebra::Vector rhs;
};

/// The fan is walked from the boundary edge that comes in to the one that goes out.
BoundaryTurn getBoundaryTurn(Connectivity const& surface, std::uint32_t v) {
    Edge edge = surface.getArbitraryEdge(v);
    while (!edge.rot().rot().isBoundary()) {
        edge = edge.onext();
    }
    Edge outgoing = edge;
    double angle = 0.0;
    do {
        Point const& po = edge.vphiorg3();
        Vector const toDest = edge.vphidest3() - po;
        Vector const toApex = edge.rot().vphidest3() - po;
        angle += std::atan2(std::sqrt(toDest.cross(toApex).lSqr()), toDest.dot(toApex));
        outgoing = edge;
        edge = edge.oprev();
    } while (edge.getTriangle() != nullptr);
    return {angle, std::sqrt(outgoing.vphi3().lSqr())};
}

/// The turns of the loop that the last `numberOfPositions` vertices are.
std::vector<BoundaryTurn> getBoundaryTurns(Connectivity const& surface, std::uint32_t numberOfPositions) {
    std::vector<BoundaryTurn> turns;
    turns.reserve(numberOfPositions);
    std::uint32_t const end = surface.getNumberOfVertices();
    for (std::uint32_t v = end - numberOfPositions; v < end; ++v) {
        turns.push_back(getBoundaryTurn(surface, v));
    }
    return turns;
}

BoundarySystem assembleSystem(std::vector<BoundaryTurn> const& turns) {
    auto const n = static_cast<std::uint32_t>(turns.size());
    BoundarySystem system(n, n >= pinsFromEnd ? n - pinsFromEnd : 0);
    for (std::uint32_t c = 0; c < system.getNumberOfUnknowns(); ++c) {
        std::array<BoundaryTurn, stencilSize> stencil;
        for (std::uint32_t j = 0; j < stencilSize; ++j) {
            stencil[j] = turns[system.getPosition(c, j)];
        }
        system.addEquations(c, rollOut(stencil));
    }
    return system;
}

/// By conjugate gradients, from `solution` on.
LinearAlgebra::SolveReport solveSystem(BoundarySystem const& system, LinearAlgebra::Vector& solution,
                                       ProgressListener* const& listener, ProgressTerminator* terminator) {
    LinearAlgebra::SparseMatrix const matrix =
        LinearAlgebra::NormalEquations::getMatrixWithoutZeros(system.getMatrix());
    LinearAlgebra::Vector const rhs = system.getMatrix().transpose() * system.getRightHandSide();
    return LinearAlgebra::Utility::solveWithReport(matrix, solution, rhs, listener, terminator);
}

} // namespace

void Mesh::getDevelopableBoundaryConformalMap(unsigned long numberOfBoundaryVertices,
                                              FlatPoint* boundaryPoints) {
    std::uint32_t const n = toUInt32(numberOfBoundaryVertices);
    if (n < minPositions) {
        throw std::runtime_error("Boundary flattening internal failure");
    }
    BoundarySystem const system = assembleSystem(getBoundaryTurns(getConnectivity(), n));
    LinearAlgebra::Vector solution(2UL * system.getNumberOfUnknowns());
    solution.zero();
    if (linearSolver == nullptr) {
        conformalMapReport.boundary = solveSystem(system, solution, progressListener, progressTerminator);
    } else {
        conformalMapReport.boundary =
            LinearAlgebra::AttachedSolver(*linearSolver, progressListener)
                .solveLeastSquares(system.getMatrix(), solution, system.getRightHandSide());
    }
    for (std::uint32_t position = 0; position < n; ++position) {
        boundaryPoints[position] = system.getIsPinned(position) ? system.getPin(position) : FlatPoint();
    }
    for (std::uint32_t q = 0; q < system.getNumberOfUnknowns(); ++q) {
        boundaryPoints[system.getPosition(q)] = {solution.get(2UL * q), solution.get(2UL * q + 1)};
    }
}

} // namespace QELT::Geometry::ThreeDimensional::TriMesh
