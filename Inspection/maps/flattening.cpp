#include "Inspection/maps/flattening.h"

#include "Inspection/records/stopwatch.h"

#include <cmath>
#include <iostream>

namespace QELT::Inspection {

namespace {

/// Throws away what is written to a stream for as long as the object lives: the core's solver writes its
/// progress to the standard output, among the findings.
class Silence {
public:
    explicit Silence(std::ostream& silenced)
        : stream(silenced), state(silenced.rdstate()), buffer(silenced.rdbuf(nullptr)) {}

    ~Silence() {
        stream.rdbuf(buffer);
        stream.clear(state);
    }

    Silence(Silence const&) = delete;
    Silence& operator=(Silence const&) = delete;

private:
    std::ostream& stream;
    std::ios_base::iostate state;
    std::streambuf* buffer;
};

/// Attaches a solver to a mesh for as long as the object lives; null stands for the core's own.
class AttachedSolver {
public:
    AttachedSolver(Mesh& ownedMesh, DirectSolver* solver)
        : mesh(ownedMesh), former(ownedMesh.getLinearSolver()) {
        mesh.setLinearSolver(solver);
    }

    ~AttachedSolver() { mesh.setLinearSolver(former); }

    AttachedSolver(AttachedSolver const&) = delete;
    AttachedSolver& operator=(AttachedSolver const&) = delete;

private:
    Mesh& mesh;
    QELT::LinearAlgebra::LinearSolver* former;
};

/// What was solved, as doubts name it.
struct Subject {
    std::string name;
    std::string undetermined;
    std::string inaccurate;
};

Subject rim() {
    std::string const doubt = "the rim cannot be rolled out: pin two corners instead, or smooth it";
    return {"rim", doubt, doubt};
}

Subject inside() {
    return {"inside", "parts of the surface are held by nothing: keep one sheet of the part",
            "the inside is solved badly: take slivers out of the mesh"};
}

std::string doubtOf(Subject const& subject, DirectSolve const& solve) {
    switch (solve.state) {
    case DirectSolveState::Solved:
    case DirectSolveState::SolvedByLu:
        break;
    case DirectSolveState::NotFinite:
        return "the " + subject.name +
               " has triangles without area or edges without length: repair the part "
               "(cscan import --repair)";
    case DirectSolveState::Undetermined:
        return subject.undetermined;
    case DirectSolveState::Inaccurate:
        return subject.inaccurate;
    }
    return {};
}

std::string doubtOf(Subject const& subject, SolveReport const& solve) {
    if (solve.hasConverged) {
        return {};
    }
    return "the " + subject.name + "'s solve did not converge: " +
           (std::isnan(solve.residual) ? "repair triangles without area" : "use the direct solver");
}

/// The rim's doubt is the first: the inside hangs on it.
template <class Solve>
std::string doubtOf(std::optional<Solve> const& boundary, std::optional<Solve> const& interior) {
    std::string const doubt = boundary ? doubtOf(rim(), *boundary) : "";
    return doubt.empty() && interior ? doubtOf(inside(), *interior) : doubt;
}

void flattenDirectly(Mesh& mesh, bool isPinned, FlatteningReport& report) {
    DirectSolver solver;
    AttachedSolver const attached(mesh, &solver);
    mesh.conformalMap(isPinned, nullptr, false);
    report.boundary = solver.getLeastSquares();
    report.inside = solver.getSymmetric();
}

void flattenByGradients(Mesh& mesh, bool isPinned) {
    Silence const silence(std::cout);
    AttachedSolver const attached(mesh, nullptr);
    mesh.conformalMap(isPinned, nullptr, false);
}

} // namespace

double relativeResidualOf(SolveReport const& solve) {
    return solve.residual == 0.0 ? 0.0 : solve.residual / solve.rightSide;
}

FlatteningReport flatten(Mesh& mesh, FlatteningOptions const& options, ProgressListener* listener) {
    Stopwatch const watch;
    mesh.setProgressListener(listener);
    bool const isPinned = options.mode == FlatteningMode::Pinned;
    FlatteningReport report;
    report.solver = options.solver;
    if (options.solver == SolverKind::Direct) {
        flattenDirectly(mesh, isPinned, report);
    } else {
        flattenByGradients(mesh, isPinned);
    }
    report.solves = mesh.getConformalMapReport();
    report.seconds = watch.seconds();
    report.doubt = options.solver == SolverKind::Direct
                       ? doubtOf(report.boundary, report.inside)
                       : doubtOf(report.solves.boundary, report.solves.inside);
    return report;
}

FlatteningReport flatten(Mesh& mesh, FlatteningMode mode, ProgressListener* listener) {
    return flatten(mesh, {mode, SolverKind::Direct}, listener);
}

} // namespace QELT::Inspection
