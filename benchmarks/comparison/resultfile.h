#pragma once

#include "benchmarks/comparison/contest.h"
#include "benchmarks/comparison/measuring.h"

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace Comparison {

/// What was measured so far, in a file, so that a long run that was ended goes on where it stood.
class ResultFile {
public:
    /// Reads what is there. Without a path nothing is kept.
    explicit ResultFile(std::string const& newPath);

    std::optional<Measurement> find(Row const& row, double count) const;
    void add(Row const& row, Measurement const& measurement);

    std::vector<Stage> findStages(std::size_t side) const;
    void add(std::size_t side, std::vector<Stage> const& stages);

private:
    void append(std::string const& key, std::string const& value);

    std::string path;
    std::map<std::string, std::string> lines;
};

/// Stages as lines of text, and back.
std::string textOf(std::vector<Stage> const& stages);
std::vector<Stage> stagesIn(std::string const& text);

} // namespace Comparison
