#include "Inspection/maps/flattening.h"

#include "Inspection/records/numbers.h"
#include "Inspection/records/stopwatch.h"

#include <algorithm>
#include <cmath>
#include <iostream>
#include <string_view>

namespace QELT::Inspection {

namespace {

/// The norm of the residual at which the library's solver is content.
constexpr double tolerance = 1e-20;

constexpr std::string_view solveMessage = "Solving linear system...";

/// Passes on to the display, and tells the monitor which message begins a solve: of the first of two solves
/// nothing on the standard output marks the end.
class FlatteningListener : public QELT::ProgressListener {
public:
    FlatteningListener(ProgressDisplay& progressDisplay, SolverMonitor& solverMonitor)
        : display(progressDisplay), monitor(solverMonitor) {}

    void setMessage(char const* text) override {
        if (text == solveMessage) {
            monitor.beginSolve();
        }
        display.setMessage(text);
    }

    void setPercentage(unsigned long percent) override { display.setPercentage(percent); }

    void reserved3() override {}

    void reserved4() override {}

private:
    ProgressDisplay& display;
    SolverMonitor& monitor;
};

/// Feeds the bar from the solver's residuals, at a rate that the eye can follow. The residual falls by
/// powers of ten, unevenly; its logarithm between the first one and the tolerance is the best guess at hand.
class SolverProgress {
public:
    explicit SolverProgress(ProgressDisplay& progressDisplay) : display(progressDisplay) {}

    void report(SolveRecord const& solve) {
        if (solve.iterations <= lastIterations) {
            firstResidual = solve.residual;
            smallestResidual = solve.residual;
        }
        lastIterations = solve.iterations;
        smallestResidual = std::min(smallestResidual, solve.residual);
        if (sinceLastShow.seconds() > secondsBetween) {
            sinceLastShow = Stopwatch();
            display.setDetail("iteration " + std::to_string(solve.iterations) + ", residual " +
                                  toShortText(solve.residual, 2),
                              percentage());
        }
    }

private:
    static constexpr double secondsBetween = 0.1;

    ProgressDisplay& display;
    unsigned long lastIterations = 0;
    double firstResidual = 1.0;
    double smallestResidual = 1.0;
    Stopwatch sinceLastShow;

    unsigned long percentage() const {
        double const whole = std::log(firstResidual / tolerance);
        double const done = std::log(firstResidual / std::max(smallestResidual, tolerance));
        double const share = whole > 0.0 ? done / whole : 1.0;
        return share > 0.0 ? static_cast<unsigned long>(100.0 * std::min(share, 1.0)) : 0;
    }
};

/// Attaches a listener to a mesh for as long as the object lives.
class ListenerAttachment {
public:
    ListenerAttachment(Mesh& listenedMesh, QELT::ProgressListener& listener, QELT::ProgressListener& next)
        : mesh(listenedMesh), later(next) {
        mesh.setProgressListener(&listener);
    }

    ~ListenerAttachment() { mesh.setProgressListener(&later); }

    ListenerAttachment(ListenerAttachment const&) = delete;
    ListenerAttachment& operator=(ListenerAttachment const&) = delete;

private:
    Mesh& mesh;
    QELT::ProgressListener& later;
};

std::string lineOn(SolveRecord const& solve, bool isConverged) {
    std::string line = std::to_string(solve.iterations) + " iterations";
    if (!std::isnan(solve.residual)) {
        line += ", residual " + toShortText(solve.residual, 3);
    }
    return line + (isConverged ? ", converged" : ", not converged: the last iterate is used");
}

} // namespace

FlatteningReport flatten(Mesh& mesh, FlatteningMode mode, ProgressDisplay& display) {
    SolverProgress progress(display);
    SolverMonitor monitor([&progress](SolveRecord const& solve) { progress.report(solve); });
    FlatteningListener listener(display, monitor);
    Stopwatch const watch;
    {
        ListenerAttachment const attachment(mesh, listener, display);
        StreamRedirection const redirection(std::cout, monitor);
        mesh.conformalMap(mode == FlatteningMode::Pinned, nullptr, false);
    }
    monitor.finish();
    display.clear();
    return {monitor.getSolves(), !monitor.getHasFailureNotice(), watch.seconds()};
}

std::vector<std::string> linesOf(FlatteningReport const& report) {
    std::vector<std::string> lines;
    std::size_t const count = report.solves.size();
    for (std::size_t i = 0; i < count; ++i) {
        SolveRecord const& solve = report.solves[i];
        bool const isLast = i + 1 == count;
        std::string const subject = count == 1 ? "map: " : isLast ? "inside: " : "boundary: ";
        lines.push_back(subject + lineOn(solve, isLast ? report.isConverged : solve.residual <= tolerance));
    }
    return lines;
}

} // namespace QELT::Inspection
