#include "apps/cscan/surface/flattening.h"

#include "apps/cscan/files/numbers.h"
#include "apps/cscan/progress/stopwatch.h"

#include <cmath>
#include <iostream>

namespace cscan {

namespace {

/// Throws away what is written to a stream for as long as the object lives: the library's solver writes its
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

std::string lineOn(std::string const& subject, SolveReport const& solve) {
    std::string line = subject + ": " + std::to_string(solve.iterations) + " iterations";
    if (!std::isnan(solve.residual)) {
        line += ", residual " + toShortText(solve.residual, 3);
    }
    return line + (solve.hasConverged ? ", converged" : ", not converged: the last iterate is used");
}

} // namespace

FlatteningReport flatten(Mesh& mesh, FlatteningMode mode, ProgressDisplay& display) {
    Stopwatch const watch;
    mesh.setProgressListener(&display);
    {
        Silence const silence(std::cout);
        mesh.conformalMap(mode == FlatteningMode::Pinned, nullptr, false);
    }
    display.clear();
    return {mesh.getConformalMapReport(), watch.seconds()};
}

std::vector<std::string> linesOf(FlatteningReport const& report) {
    std::vector<std::string> lines;
    if (report.solves.boundary) {
        lines.push_back(lineOn("boundary", *report.solves.boundary));
    }
    if (report.solves.inside) {
        lines.push_back(lineOn(lines.empty() ? "map" : "inside", *report.solves.inside));
    }
    return lines;
}

} // namespace cscan
