#pragma once

#include "simulation/truth.h"

#include <filesystem>
#include <iosfwd>
#include <optional>
#include <vector>

namespace QELT::Simulation {

/// What to simulate and where to write it.
struct SimulateOptions {
    Case setup;
    Cell cell;
    std::optional<std::filesystem::path> path; ///< fires at the poses of this planned path, not on a sweep
    std::filesystem::path folder;              ///< made if it is not there
};

struct SimulateResult {
    Measurement measurement;
    std::size_t triangleCount = 0;
    std::vector<std::filesystem::path> files; ///< in the order in which they were written
};

/// Writes the part as part.stl and part.obj, what the cell tells as shots.csv, with two clocks poses.csv too,
/// and the truth as truth.json. All or nothing.
/// Fails if a path is to be measured on two clocks: its poses are apart in space, not in time.
SimulateResult simulate(SimulateOptions const& options, ProgressListener* listener);

/// The parts' formats; each says in its own way that it is simulated.
void writeBinaryStl(std::ostream& output, FaceMesh const& mesh);
void writeObj(std::ostream& output, FaceMesh const& mesh);

} // namespace QELT::Simulation
