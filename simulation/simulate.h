#pragma once

#include "simulation/truth.h"

#include <filesystem>
#include <iosfwd>
#include <vector>

namespace QELT::Simulation {

/// What to simulate and where to write it.
struct SimulateOptions {
    Case setup;
    Cell cell;
    std::vector<Pose> path;                    ///< fires at these poses, if there are any, instead of a sweep
    std::vector<std::filesystem::path> inputs; ///< the files that the path came from, for the records
    std::filesystem::path folder;              ///< made if it is not there
};

struct SimulateResult {
    Measurement measurement;
    std::size_t triangleCount = 0;
    std::vector<std::filesystem::path> files; ///< in the order in which they were written
};

/// Writes the part as part.stl and part.obj, what the cell tells as shots.csv, with two clocks poses.csv too,
/// and the truth as truth.json. All or nothing.
SimulateResult simulate(SimulateOptions const& options, ProgressListener* listener);

/// The parts' formats; each says in its own way that it is simulated.
void writeBinaryStl(std::ostream& output, FaceMesh const& mesh);
void writeObj(std::ostream& output, FaceMesh const& mesh);

} // namespace QELT::Simulation
