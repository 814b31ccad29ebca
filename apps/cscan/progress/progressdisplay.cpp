#include "apps/cscan/progress/progressdisplay.h"

#include "Inspection/records/numbers.h"
#include "apps/cscan/progress/interruption.h"

#include <algorithm>
#include <cmath>
#include <ostream>
#include <unistd.h>
#include <utility>

namespace cscan {

namespace {

constexpr std::size_t barLength = 24;
constexpr std::size_t lineLength = 79;

/// The norm of the residual at which the library's solver is content.
constexpr double solverTolerance = 1e-20;

constexpr double secondsBetweenSolveShows = 0.1;

constexpr double secondsBetweenLines = 10.0;

/// Before a stage has run so long nothing is said of the time that it has left.
constexpr double secondsBeforeEstimates = 5.0;

/// Back to the line's start and empty it.
char const* const emptyLine = "\r\x1b[K";

/// "40 s", "3 min", "2.5 h": not finer than such guesses are good for.
std::string roughTime(double seconds) {
    constexpr double minute = 60.0;
    constexpr double hour = 3600.0;
    if (seconds < 2.0 * minute) {
        return toFixedText(std::ceil(seconds), 0) + " s";
    }
    return seconds < 2.0 * hour ? toFixedText(std::ceil(seconds / minute), 0) + " min"
                                : toFixedText(seconds / hour, 1) + " h";
}

std::string barOf(unsigned long percent) {
    std::size_t const filled = barLength * percent / 100;
    std::string const digits = std::to_string(percent);
    return "[" + std::string(filled, '#') + std::string(barLength - filled, '.') + "] " +
           std::string(3 - digits.size(), ' ') + digits + " % ";
}

} // namespace

ProgressDisplay::ProgressDisplay(std::ostream& stream, bool isOnTerminal)
    : ProgressDisplay(stream, isOnTerminal, [watch = Stopwatch()] { return watch.seconds(); }) {}

ProgressDisplay::ProgressDisplay(std::ostream& stream, bool isOnTerminal, Clock clock)
    : output(stream), isTerminal(isOnTerminal), now(std::move(clock)) {
    beginStage();
    lastSolveShown = now();
}

ProgressDisplay::~ProgressDisplay() {
    clear();
}

void ProgressDisplay::beginStage() {
    stageStart = now();
    lastPercentage = 0;
}

void ProgressDisplay::setMessage(char const* text) {
    SignalWatch::throwIfAsked();
    message = text;
    detail.clear();
    beginStage();
    lastShown = now();
    if (isTerminal) {
        draw(0);
    } else {
        output << message << std::endl;
    }
}

void ProgressDisplay::setPercentage(unsigned long percent) {
    SignalWatch::throwIfAsked();
    show(percent);
}

void ProgressDisplay::setDetail(std::string const& text, unsigned long percent) {
    detail = text;
    show(percent);
}

/// A percentage below the last one is that of another stage under the same message.
void ProgressDisplay::show(unsigned long percent) {
    if (percent < lastPercentage) {
        beginStage();
    }
    lastPercentage = percent;
    if (isTerminal) {
        draw(percent);
    } else if (!message.empty() && now() - lastShown >= secondsBetweenLines) {
        lastShown = now();
        output << message << ' ' << std::min(percent, 100UL) << " %" << timeLeft(percent) << std::endl;
    }
}

/// The library counts percentages from 1: the number that it has begun.
std::string ProgressDisplay::timeLeft(unsigned long percent) const {
    double const elapsed = now() - stageStart;
    if (percent < 2 || percent >= 100 || elapsed < secondsBeforeEstimates) {
        return {};
    }
    double const done = static_cast<double>(percent - 1) / 100.0;
    return ", about " + roughTime(elapsed * (1.0 - done) / done) + " left";
}

void ProgressDisplay::setSolveProgress(QELT::LinearAlgebra::SolveReport const& report) {
    if (report.iterations == 1) {
        firstResidual = report.residual;
        smallestResidual = report.residual;
    }
    SignalWatch::throwIfAsked();
    smallestResidual = std::min(smallestResidual, report.residual);
    if (now() - lastSolveShown > secondsBetweenSolveShows) {
        lastSolveShown = now();
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
    line += timeLeft(percent);
    output << emptyLine << line.substr(0, lineLength) << std::flush;
    isDrawn = true;
}

bool isStandardErrorTerminal() {
    return isatty(STDERR_FILENO) == 1;
}

} // namespace cscan
