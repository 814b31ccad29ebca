#pragma once

#include "Inspection/maps/solvelistener.h"

#include <functional>
#include <iosfwd>
#include <streambuf>
#include <string>
#include <vector>

namespace QELT::Inspection {

/// Reads what the core's solver writes to the standard output: a line that overwrites itself after each
/// iteration, "\rResidual L2 norm: R.  Iterations to Max. 262144: N.  ", and at the end a new line, with a
/// notice behind it if the solve failed. As a stream buffer it takes the place of the terminal.
class SolverMonitor : public std::streambuf {
public:
    using Observer = std::function<void(SolveRecord const&)>;

    /// `observer` is told of each iteration but the first of a solve, one behind.
    explicit SolverMonitor(Observer observer) : observe(std::move(observer)) {}

    /// A solve begins; what was written so far belongs to the one before.
    void beginSolve();

    /// Nothing more will be written.
    void finish();

    std::vector<SolveRecord> const& getSolves() const { return solves; }

    /// Whether the core said that it carries on after a failed solve.
    bool getHasFailureNotice() const;

protected:
    int_type overflow(int_type character) override;
    std::streamsize xsputn(char const* text, std::streamsize length) override;

private:
    Observer observe;
    std::vector<SolveRecord> solves;
    std::string record; ///< what came since the last carriage return
    std::string notices;
    bool isInNotice = false;

    void take(char character);
    void endRecord();
};

/// Sends a stream's output to another buffer for as long as the object lives.
class StreamRedirection {
public:
    StreamRedirection(std::ostream& stream, std::streambuf& target);
    ~StreamRedirection();
    StreamRedirection(StreamRedirection const&) = delete;
    StreamRedirection& operator=(StreamRedirection const&) = delete;

private:
    std::ostream& stream;
    std::streambuf* former;
};

} // namespace QELT::Inspection
