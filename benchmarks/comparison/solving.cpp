// The systems of flat maps: the inside's with two pinned corners, by the library's conjugate gradients and by
// the inspection's direct solver, and the rim's least squares, each beside a sparse factor of the same
// equations.

#include "Inspection/maps/directsolver.h"
#include "benchmarks/comparison/contest.h"
#include "benchmarks/flatteningsamples.h"
#include "benchmarks/quietoutput.h"

#include <Eigen/SparseCholesky>
#include <Eigen/SparseCore>

#include <algorithm>
#include <array>
#include <cmath>
#include <memory>
#include <numbers>
#include <optional>
#include <sstream>
#include <stdexcept>

namespace Comparison {

namespace {

using namespace Benchmarks;
using QELT::Inspection::DirectSolver;
using QELT::LinearAlgebra::Utility;
using Values = QELT::LinearAlgebra::Vector;
using EigenMatrix = Eigen::SparseMatrix<double>;
using EigenValues = Eigen::VectorXd;

/// How far apart the greatest values of two solutions may lie, as a part of the greatest: of an inside for
/// each vertex, since the condition grows with their number. The normal equations of a long rim lose half of
/// their digits.
constexpr double insideTolerance = 1e-11;
constexpr double rimTolerance = 1e-3;

EigenMatrix eigenMatrixOf(SparseMatrix const& matrix) {
    std::vector<Eigen::Triplet<double>> entries;
    for (unsigned long r = 0; r < matrix.getNumberOfRows(); ++r) {
        auto const row = matrix.getRow(r);
        for (std::size_t i = 0; i < row.columns.size(); ++i) {
            entries.emplace_back(static_cast<int>(r), static_cast<int>(row.columns[i]), row.values[i]);
        }
    }
    EigenMatrix result(static_cast<Eigen::Index>(matrix.getNumberOfRows()),
                       static_cast<Eigen::Index>(matrix.getNumberOfColumns()));
    result.setFromTriplets(entries.begin(), entries.end());
    return result;
}

EigenValues eigenValuesOf(Values const& values) {
    return Eigen::Map<EigenValues const>(values.begin(),
                                         static_cast<Eigen::Index>(values.getNumberOfValues()));
}

/// A factor reads one triangle of the matrix alone. That of an inside is symmetric but for the rounding of
/// its points, so that its solution has to be refined by the whole.
EigenValues solveByEigen(EigenMatrix const& matrix, EigenValues const& rightSide, int refinements) {
    Eigen::SimplicialLDLT<EigenMatrix> const factor(matrix);
    if (factor.info() != Eigen::Success) {
        throw std::runtime_error("the peer has no factor");
    }
    EigenValues x = factor.solve(rightSide);
    for (int i = 0; i < refinements; ++i) {
        x += factor.solve(EigenValues(rightSide - matrix * x));
    }
    return x;
}

/// A system, and what both sides made of it.
struct System {
    std::optional<SparseMatrix> matrix;
    std::optional<Values> rightSide;
    EigenMatrix peerMatrix;
    EigenValues peerRightSide;
    std::optional<Values> ours;
    EigenValues peer;
    double tolerance = 0.0;
    int refinements = 2;
};

std::string differenceOf(System const& system) {
    EigenValues const ours = eigenValuesOf(*system.ours);
    double const off = (ours - system.peer).cwiseAbs().maxCoeff() / system.peer.cwiseAbs().maxCoeff();
    std::ostringstream text;
    text << "solutions lie " << off << " apart";
    return off <= system.tolerance ? "" : text.str();
}

Contest contestOf(std::shared_ptr<System> const& system, std::function<void(System&)> const& solve) {
    return {
        [=] { solve(*system); },
        [=] { system->peer = solveByEigen(system->peerMatrix, system->peerRightSide, system->refinements); },
        [=] { return differenceOf(*system); },
        [=] {
            system->ours.reset();
            system->peer.resize(0);
        }};
}

std::shared_ptr<System> insideOfPatch(unsigned side) {
    QuietOutput const quiet;
    MeshPointer const mesh = makePatch(side);
    KnownSolver solver;
    mesh->setLinearSolver(&solver);
    mesh->conformalMap(true, nullptr, false);
    auto system = std::make_shared<System>();
    system->matrix = solver.matrix;
    system->rightSide = solver.rightSide;
    system->tolerance = insideTolerance * side * side;
    system->peerMatrix = eigenMatrixOf(*system->matrix);
    system->peerRightSide = eigenValuesOf(*system->rightSide);
    return system;
}

void solveByGradients(System& system) {
    system.ours.emplace(system.rightSide->getNumberOfValues());
    system.ours->zero();
    if (!Utility::solve(*system.matrix, *system.ours, *system.rightSide, nullptr, nullptr, nullptr)) {
        throw std::runtime_error("the solve does not converge");
    }
}

void solveDirectly(System& system) {
    DirectSolver solver;
    system.ours = solver.solveSymmetric(*system.matrix, *system.rightSide, nullptr, nullptr).values;
}

void solveRimDirectly(System& system) {
    DirectSolver solver;
    system.ours = solver.solveLeastSquares(*system.matrix, *system.rightSide, nullptr).values;
}

std::shared_ptr<System> rimOfFan(unsigned edges) {
    QuietOutput const quiet;
    MeshPointer const mesh = makeFan(edges);
    KnownSolver solver;
    mesh->setLinearSolver(&solver);
    mesh->conformalMap(false, nullptr, false);
    auto system = std::make_shared<System>();
    system->matrix = solver.rows;
    system->rightSide = solver.rowsRightSide;
    EigenMatrix const rows = eigenMatrixOf(*solver.rows);
    system->peerMatrix = rows.transpose() * rows;
    system->peerRightSide = rows.transpose() * eigenValuesOf(*solver.rowsRightSide);
    system->tolerance = rimTolerance;
    system->refinements = 0;
    return system;
}

/// The same system as its normal equations, which the library's own solver is given by a flattening.
std::shared_ptr<System> normalEquationsOfFan(unsigned edges) {
    auto system = rimOfFan(edges);
    auto const count = static_cast<unsigned long>(system->peerMatrix.rows());
    SparseMatrix matrix(count, count, 32, SparseMatrix::CanonicalEmpty);
    for (Eigen::Index column = 0; column < system->peerMatrix.outerSize(); ++column) {
        for (EigenMatrix::InnerIterator entry(system->peerMatrix, column); entry; ++entry) {
            matrix.set(static_cast<unsigned long>(column), static_cast<unsigned long>(entry.row()),
                       entry.value());
        }
    }
    system->matrix = matrix;
    system->rightSide.emplace(count);
    std::copy(system->peerRightSide.begin(), system->peerRightSide.end(), system->rightSide->begin());
    return system;
}

std::vector<Size> insideSizes(std::initializer_list<unsigned> sides,
                              std::function<void(System&)> const& solve) {
    std::vector<Size> sizes;
    for (unsigned const side : sides) {
        sizes.push_back({double(side) * side, [=] { return contestOf(insideOfPatch(side), solve); }});
    }
    return sizes;
}

std::vector<Size> rimSizes(std::initializer_list<unsigned> edgeCounts) {
    std::vector<Size> sizes;
    for (unsigned const edges : edgeCounts) {
        sizes.push_back({double(edges), [=] { return contestOf(rimOfFan(edges), solveRimDirectly); }});
    }
    return sizes;
}

std::vector<Size> normalEquationSizes(std::initializer_list<unsigned> edgeCounts) {
    std::vector<Size> sizes;
    for (unsigned const edges : edgeCounts) {
        sizes.push_back(
            {double(edges), [=] { return contestOf(normalEquationsOfFan(edges), solveByGradients); }});
    }
    return sizes;
}

/// A developable map whose systems are solved in no time, and turning its points without any idea.
struct Orientation {
    explicit Orientation(unsigned newSide) : side(newSide) {
        QuietOutput const quiet;
        MeshPointer const whole = makePatch(side);
        DirectSolver direct;
        Recorder recorder(direct, known);
        whole->setLinearSolver(&recorder);
        whole->conformalMap(false, nullptr, false);
        for (unsigned long i = 0; i < whole->getNumberOfVertices(); ++i) {
            points.push_back(whole->getVertex(i).getPoint2D());
        }
    }

    /// Solves directly, and keeps the answers.
    class Recorder : public LinearSolver {
    public:
        Recorder(DirectSolver& newSolver, KnownSolver& newKnown) : solver(newSolver), known(newKnown) {}

        LinearSolution solveLeastSquares(SparseMatrix const& rows, Values const& rightSide,
                                         QELT::ProgressListener* const& listener) override {
            LinearSolution answer = solver.solveLeastSquares(rows, rightSide, listener);
            known.boundary.emplace(answer.values);
            return answer;
        }

        LinearSolution solveSymmetric(SparseMatrix const& matrix, Values const& rightSide,
                                      Values const* start, QELT::ProgressListener* const& listener) override {
            LinearSolution answer = solver.solveSymmetric(matrix, rightSide, start, listener);
            known.solution.emplace(answer.values);
            return answer;
        }

    private:
        DirectSolver& solver;
        KnownSolver& known;
    };

    unsigned side;
    KnownSolver known;
    std::vector<QELT::Geometry::TwoDimensional::Point<double>> points;
    MeshPointer mesh;
    double ourArea = 0.0;
    double peerArea = 0.0;
};

double flatAreaOf(TriMesh::Mesh& mesh) {
    std::array<double, 2> high{};
    for (unsigned long i = 0; i < mesh.getNumberOfVertices(); ++i) {
        auto const p = mesh.getVertex(i).getPoint2D();
        high = {std::max(high[0], p.getU()), std::max(high[1], p.getV())};
    }
    return high[0] * high[1];
}

/// The least box of 4096 turns over a quarter, all points each time.
double leastBoxArea(std::vector<QELT::Geometry::TwoDimensional::Point<double>> const& points) {
    constexpr int turns = 4096;
    double least = 1e300;
    for (int turn = 0; turn < turns; ++turn) {
        double const angle = 0.5 * std::numbers::pi * turn / turns;
        double const c = std::cos(angle);
        double const s = std::sin(angle);
        std::array<double, 4> box{1e300, -1e300, 1e300, -1e300};
        for (auto const& p : points) {
            double const u = c * p.getU() - s * p.getV();
            double const v = s * p.getU() + c * p.getV();
            box = {std::min(box[0], u), std::max(box[1], u), std::min(box[2], v), std::max(box[3], v)};
        }
        least = std::min(least, (box[1] - box[0]) * (box[3] - box[2]));
    }
    return least;
}

void mapWithKnownAnswers(Orientation& state) {
    state.mesh->setLinearSolver(&state.known);
    state.mesh->conformalMap(false, nullptr, false);
    state.ourArea = flatAreaOf(*state.mesh);
}

std::string areaDifference(double a, double b) {
    return std::abs(a - b) <= 1e-5 * b ? "" : "boxes of " + std::to_string(a) + " and " + std::to_string(b);
}

/// A map without its solves, against the plain turns alone.
Contest orientationContest(unsigned side) {
    auto const state = std::make_shared<Orientation>(side);
    return {[=] { mapWithKnownAnswers(*state); }, [=] { state->peerArea = leastBoxArea(state->points); },
            [=] { return areaDifference(state->ourArea, state->peerArea); },
            [=] { state->mesh = makePatch(state->side); }};
}

/// A map without its solves, against a map by the direct solver: the ratio is a share.
Contest shareContest(unsigned side) {
    auto const state = std::make_shared<Orientation>(side);
    return {[=] { mapWithKnownAnswers(*state); },
            [=] {
                MeshPointer const mesh = makePatch(state->side);
                DirectSolver solver;
                mesh->setLinearSolver(&solver);
                mesh->conformalMap(false, nullptr, false);
                state->peerArea = flatAreaOf(*mesh);
            },
            [=] { return areaDifference(state->ourArea, state->peerArea); },
            [=] { state->mesh = makePatch(state->side); }};
}

std::vector<Size> mapSizes(Contest (*makeContest)(unsigned)) {
    std::vector<Size> sizes;
    for (unsigned const side : {50U, 100U, 200U, 316U}) {
        sizes.push_back({double(side) * side, [=] { return makeContest(side); }});
    }
    return sizes;
}

} // namespace

std::vector<Row> solvingRows() {
    return {{"solving", "pinned map's equations, conjugate gradients",
             "Eigen's SimplicialLDLT, factor, solve, refine twice", "vertices",
             insideSizes({50, 100, 200, 316}, solveByGradients)},
            {"solving", "pinned map's equations, the inspection's direct solver, refined and checked",
             "Eigen's SimplicialLDLT, factor, solve, refine twice", "vertices",
             insideSizes({50, 100, 200, 316}, solveDirectly)},
            {"solving", "rim's normal equations, conjugate gradients", "Eigen's SimplicialLDLT of the same",
             "edges", normalEquationSizes({250, 500, 750, 1000})},
            {"solving", "rim's least squares, the inspection's direct solver, refined and checked",
             "Eigen's SimplicialLDLT of the normal equations", "edges", rimSizes({500, 1000, 4000, 10000})},
            {"solving", "all of a developable map but its solves", "4096 plain turns of all points alone",
             "vertices", mapSizes(orientationContest)},
            {"solving", "all of a developable map but its solves", "the whole map by the direct solver",
             "vertices", mapSizes(shareContest)}};
}

} // namespace Comparison
