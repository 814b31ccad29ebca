#pragma once

#include "Inspection/records/stopwatch.h"
#include "apps/cscan/names.h"

#include <iosfwd>
#include <string>

namespace cscan {

/// Shows how far the library has come. On a terminal this is one line with a bar, redrawn in place and gone
/// at the end; elsewhere each of the library's messages is a line of its own.
class ProgressDisplay : public QELT::LinearAlgebra::SolveListener {
public:
    /// `output` is not owned and must outlive the display.
    ProgressDisplay(std::ostream& output, bool isTerminal);

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
    Stopwatch sinceSolveShown;

    unsigned long solvePercentage() const;
    void draw(unsigned long percent);
};

/// Whether someone watches the standard error stream.
bool isStandardErrorTerminal();

} // namespace cscan
