#pragma once

#include "tests/support/plain_connectivity.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

/// A second, plain program for the flattening of a mesh: every step spelled out on plain arrays, with its own
/// arithmetic and the plain solver, no care for speed. The library must give the same bits.
namespace QELT::Testing::PlainFlattening {

using Place = std::array<float, 3>;
using Flat = std::array<double, 2>;
using Direction = std::array<double, 3>;

/// What a vertex holds, as plain numbers.
Place placeOf(PlainMesh const& mesh, std::size_t vertex);
Flat flatOf(PlainMesh const& mesh, std::size_t vertex);
Direction normalOf(PlainMesh const& mesh, std::size_t vertex);

/// The flat places of all vertices.
std::vector<Flat> flatsOf(PlainMesh const& mesh);
void setFlats(PlainMesh& mesh, std::vector<Flat> const& flats);

/// What an application that listens and reads standard output gets to know.
struct Report {
    bool isListening = true;
    /// As `RecordingListener` writes them, in order.
    std::vector<std::string> events;
    std::string output;

    void message(std::string const& text);
    void percentage(std::uint64_t value);
};

struct Counts {
    std::uint32_t interior = 0;
    std::uint32_t mainLoop = 0;
};

/// \throws std::runtime_error, with the mesh unchanged, if there is no boundary or it meets itself.
Counts promoteInterior(PlainMesh& mesh, bool pinCorners);

/// A matrix with all its stored entries, zeros included, by ascending column.
struct Entry {
    std::uint32_t column;
    double value;
};

using Rows = std::vector<std::vector<Entry>>;

struct Solve {
    bool converged = false;
    std::uint32_t iterations = 0;
};

/// Solves by `PlainLinearAlgebra::solve`, with what is reported on the way. `x` is start value and result.
Solve solve(Rows const& a, std::vector<double>& x, std::vector<double> const& b, Report& report);

/// A linear system, or rows whose squares are to be least.
struct Problem {
    Rows rows;
    std::vector<double> rightSide;
};

/// The rows that roll out the last `n` vertices, and their positions, pins and all, by values of its
/// unknowns.
Problem boundaryProblem(PlainMesh const& mesh, std::uint32_t n);
std::vector<Flat> boundaryPlaces(std::uint32_t n, std::vector<double> const& solution);

/// The system of all vertices but the last ones, whose places are `fixed`.
Problem insideProblem(PlainMesh const& mesh, std::vector<Flat> const& fixed);

/// Positions of the last `n` vertices, solved with the full normal matrix. `count` receives the iterations.
std::vector<Flat> developableBoundary(PlainMesh const& mesh, std::uint32_t n, Report& report,
                                      std::uint32_t& iterations);

/// Turns and shifts the flat places; the number of the best step of 8192 is the result.
std::uint32_t orient(PlainMesh& mesh, Report& report);

struct Outcome {
    PlainMesh mesh;
    Report report;
    /// Of the boundary, if it was solved for, and of the whole map.
    std::vector<std::uint32_t> iterations;
    bool converged = false;
    std::vector<double> solution;
};

/// The whole map. `start` may be null, then the solver starts at zero.
Outcome conformalMap(PlainMesh const& mesh, bool pinCorners, std::vector<double> const* start,
                     bool isListening);

} // namespace QELT::Testing::PlainFlattening
