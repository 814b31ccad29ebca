#pragma once

#include "Inspection/records/stopwatch.h"
#include "apps/cscan/names.h"

#include <functional>
#include <iosfwd>
#include <string>

namespace cscan {

/// Shows how far the library has come, and of a stage that takes its time how long it still will. On a
/// terminal this is one line with a bar, redrawn in place and gone at the end; elsewhere each of the
/// library's messages is a line of its own, and a stage that goes on gets another every ten seconds. Each
/// call stops the work if a signal has asked for that (`SignalWatch`).
class ProgressDisplay : public QELT::LinearAlgebra::SolveListener {
public:
    /// Gives seconds since any time.
    using Clock = std::function<double()>;

    /// `output` is not owned and must outlive the display.
    ProgressDisplay(std::ostream& output, bool isTerminal);
    ProgressDisplay(std::ostream& output, bool isTerminal, Clock clock);

    /// Takes the bar off the terminal.
    ~ProgressDisplay() override;

    ProgressDisplay(ProgressDisplay const&) = delete;
    ProgressDisplay& operator=(ProgressDisplay const&) = delete;

    void setMessage(char const* text) override;
    void setPercentage(unsigned long percent) override;

    /// Feeds the bar from the solver's residuals, at a rate that the eye can follow. The residual falls by
    /// powers of ten, unevenly; its logarithm between the first one and the tolerance is the best guess at
    /// hand.
    void setSolveProgress(QELT::LinearAlgebra::SolveReport const& report) override;

    void reserved3() override {}

    void reserved4() override {}

    /// Puts `detail` behind the current message on a terminal.
    void setDetail(std::string const& detail, unsigned long percent);

    /// Takes the bar off the terminal, so that something else can be written there.
    void clear();

private:
    std::ostream& output;
    bool isTerminal;
    bool isDrawn = false;
    std::string message;
    std::string detail;
    double firstResidual = 1.0;
    double smallestResidual = 1.0;
    Clock now;
    double stageStart = 0.0; ///< of the stage that the percentages are of
    double lastShown = 0.0;
    unsigned long lastPercentage = 0;
    double lastSolveShown = 0.0;

    unsigned long solvePercentage() const;
    void beginStage();
    void show(unsigned long percent);
    std::string timeLeft(unsigned long percent) const;
    void draw(unsigned long percent);
};

/// Whether someone watches the standard error stream.
bool isStandardErrorTerminal();

} // namespace cscan
