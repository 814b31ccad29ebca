#include "Inspection/maps/flattening.h"

#include "Inspection/maps/internal/solvermonitor.h"
#include "Inspection/records/internal/announce.h"
#include "Inspection/records/stopwatch.h"

#include <algorithm>
#include <cmath>
#include <iostream>
#include <string_view>

namespace QELT::Inspection {

namespace {

/// The norm of the residual at which the core's solver is content.
constexpr double tolerance = 1e-20;

constexpr std::string_view solveMessage = "Solving linear system...";

/// Passes on to the next listener, and tells the monitor which message begins a solve: of the first of two
/// solves nothing on the standard output marks the end.
class FlatteningListener : public QELT::ProgressListener {
public:
    FlatteningListener(ProgressListener* nextListener, SolverMonitor& solverMonitor)
        : next(nextListener), monitor(solverMonitor) {}

    void setMessage(char const* text) override {
        if (text == solveMessage) {
            monitor.beginSolve();
        }
        announce(next, text);
    }

    void setPercentage(unsigned long percent) override {
        if (next != nullptr) {
            next->setPercentage(percent);
        }
    }

    void reserved3() override {}

    void reserved4() override {}

private:
    ProgressListener* next;
    SolverMonitor& monitor;
};

/// Tells a listener of the solver's residuals, at a rate that the eye can follow. The residual falls by
/// powers of ten, unevenly; its logarithm between the first one and the tolerance is the best guess at hand.
class SolverProgress {
public:
    explicit SolverProgress(SolveListener* solveListener) : listener(solveListener) {}

    void report(SolveRecord const& solve) {
        if (solve.iterations <= lastIterations) {
            firstResidual = solve.residual;
            smallestResidual = solve.residual;
        }
        lastIterations = solve.iterations;
        smallestResidual = std::min(smallestResidual, solve.residual);
        if (listener != nullptr && sinceLastReport.seconds() > secondsBetween) {
            sinceLastReport = Stopwatch();
            listener->setSolve(solve, percentage());
        }
    }

private:
    static constexpr double secondsBetween = 0.1;

    SolveListener* listener;
    unsigned long lastIterations = 0;
    double firstResidual = 1.0;
    double smallestResidual = 1.0;
    Stopwatch sinceLastReport;

    unsigned long percentage() const {
        double const whole = std::log(firstResidual / tolerance);
        double const done = std::log(firstResidual / std::max(smallestResidual, tolerance));
        double const share = whole > 0.0 ? done / whole : 1.0;
        return share > 0.0 ? static_cast<unsigned long>(100.0 * std::min(share, 1.0)) : 0;
    }
};

/// Attaches a listener to a mesh for as long as the object lives, and then another.
class ListenerAttachment {
public:
    ListenerAttachment(Mesh& listenedMesh, ProgressListener& listener, ProgressListener* next)
        : mesh(listenedMesh), later(next) {
        mesh.setProgressListener(&listener);
    }

    ~ListenerAttachment() { mesh.setProgressListener(later); }

    ListenerAttachment(ListenerAttachment const&) = delete;
    ListenerAttachment& operator=(ListenerAttachment const&) = delete;

private:
    Mesh& mesh;
    ProgressListener* later;
};

/// The core tells of the last solve alone whether it failed; the others are judged by their residual.
std::vector<SolveRecord> judged(std::vector<SolveRecord> solves, bool hasLastFailed) {
    for (SolveRecord& solve : solves) {
        solve.isConverged = solve.residual <= tolerance;
    }
    if (!solves.empty()) {
        solves.back().isConverged = !hasLastFailed;
    }
    return solves;
}

} // namespace

FlatteningReport flatten(Mesh& mesh, FlatteningMode mode, ProgressListener* listener) {
    SolverProgress progress(dynamic_cast<SolveListener*>(listener));
    SolverMonitor monitor([&progress](SolveRecord const& solve) { progress.report(solve); });
    FlatteningListener flatteningListener(listener, monitor);
    Stopwatch const watch;
    {
        ListenerAttachment const attachment(mesh, flatteningListener, listener);
        StreamRedirection const redirection(std::cout, monitor);
        mesh.conformalMap(mode == FlatteningMode::Pinned, nullptr, false);
    }
    monitor.finish();
    return {judged(monitor.getSolves(), monitor.getHasFailureNotice()), watch.seconds()};
}

} // namespace QELT::Inspection
