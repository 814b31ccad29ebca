#include "apps/cscan/progress/progressdisplay.h"

#include "Inspection/records/numbers.h"

#include <algorithm>
#include <cmath>
#include <ostream>
#include <unistd.h>

namespace cscan {

namespace {

constexpr std::size_t barLength = 24;
constexpr std::size_t lineLength = 79;

/// The norm of the residual at which the library's solver is content.
constexpr double solverTolerance = 1e-20;

constexpr double secondsBetweenSolveShows = 0.1;

/// Back to the line's start and empty it.
char const* const emptyLine = "\r\x1b[K";

std::string barOf(unsigned long percent) {
    std::size_t const filled = barLength * percent / 100;
    std::string const digits = std::to_string(percent);
    return "[" + std::string(filled, '#') + std::string(barLength - filled, '.') + "] " +
           std::string(3 - digits.size(), ' ') + digits + " % ";
}

} // namespace

ProgressDisplay::ProgressDisplay(std::ostream& stream, bool isOnTerminal)
    : output(stream), isTerminal(isOnTerminal) {}

ProgressDisplay::~ProgressDisplay() {
    clear();
}

void ProgressDisplay::setMessage(char const* text) {
    message = text;
    detail.clear();
    if (isTerminal) {
        draw(0);
    } else {
        output << message << std::endl;
    }
}

void ProgressDisplay::setPercentage(unsigned long percent) {
    if (isTerminal) {
        draw(percent);
    }
}

void ProgressDisplay::setDetail(std::string const& text, unsigned long percent) {
    detail = text;
    if (isTerminal) {
        draw(percent);
    }
}

void ProgressDisplay::setSolveProgress(QELT::LinearAlgebra::SolveReport const& report) {
    if (report.iterations == 1) {
        firstResidual = report.residual;
        smallestResidual = report.residual;
    }
    smallestResidual = std::min(smallestResidual, report.residual);
    if (sinceSolveShown.seconds() > secondsBetweenSolveShows) {
        sinceSolveShown = Stopwatch();
        setDetail("iteration " + std::to_string(report.iterations) + ", residual " +
                      toShortText(report.residual, 2),
                  solvePercentage());
    }
}

unsigned long ProgressDisplay::solvePercentage() const {
    double const whole = std::log(firstResidual / solverTolerance);
    double const done = std::log(firstResidual / std::max(smallestResidual, solverTolerance));
    double const share = whole > 0.0 ? done / whole : 1.0;
    return share > 0.0 ? static_cast<unsigned long>(100.0 * std::min(share, 1.0)) : 0;
}

void ProgressDisplay::clear() {
    if (isDrawn) {
        output << emptyLine << std::flush;
        isDrawn = false;
    }
}

void ProgressDisplay::draw(unsigned long percent) {
    std::string line = barOf(std::min(percent, 100UL)) + message;
    if (!detail.empty()) {
        line += " " + detail;
    }
    output << emptyLine << line.substr(0, lineLength) << std::flush;
    isDrawn = true;
}

bool isStandardErrorTerminal() {
    return isatty(STDERR_FILENO) == 1;
}

} // namespace cscan
