#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

/// What the comparison measures: a task at several sizes, done by this library and by a peer.
namespace Comparison {

/// One task at one size, set up and ready. What either side answers it keeps until `reset`.
struct Contest {
    std::function<void()> ours;
    std::function<void()> peer; ///< empty where there is none: then ours is measured alone
    /// In what the answers of both sides differ, in a few words; nothing if they agree.
    std::function<std::string()> difference;
    std::function<void()> reset; ///< drops both answers; not timed, called before each side's turn
};

/// A size of a task. `setUp` is called in a process of its own, and its contest dies with that.
struct Size {
    double count = 0.0; ///< of what the task is counted in
    std::function<Contest()> setUp;
};

/// A row of a table: a task at growing sizes against one peer.
struct Row {
    std::string table;
    std::string task;
    std::string peer;
    std::string unit; ///< of the sizes, in the plural: "triangles"
    std::vector<Size> sizes;
};

/// A stage of a long way, measured once.
struct Stage {
    std::string name;
    std::string result;
    double seconds = 0.0; ///< of the processor
    double peakBytes = 0.0;
};

std::vector<Row> solvingRows();
std::vector<Row> loadingRows();
std::vector<Row> reconstructionRows();
std::vector<Row> beamRows();
std::vector<Row> gridRows();
std::vector<Row> nearestRows();
std::vector<Row> fitRows();

/// A scan of side * side vertices from its file to its hits.
std::vector<Stage> wholeWay(std::size_t side);

/// Names and versions of the peers.
std::vector<std::string> peerVersions();

} // namespace Comparison
