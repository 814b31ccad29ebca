#include "benchmarks/comparison/resultfile.h"

#include <algorithm>
#include <fstream>
#include <iomanip>
#include <sstream>

// A line for each size of each row: key, tab, value. Failures are not kept: the next run tries again.

namespace Comparison {

namespace {

constexpr char separator = '\t';
constexpr char betweenStages = ';';
constexpr char withinStage = '|';

std::string keyOf(Row const& row, double count) {
    std::ostringstream key;
    key << row.table << ", " << row.task << ", " << row.peer << ", " << std::fixed << std::setprecision(0)
        << count;
    return key.str();
}

std::string keyOf(std::size_t side) {
    return "whole, " + std::to_string(side);
}

std::vector<std::string> splitAt(std::string const& text, char mark) {
    std::vector<std::string> parts;
    std::istringstream stream(text);
    for (std::string part; std::getline(stream, part, mark);) {
        parts.push_back(part);
    }
    return parts;
}

} // namespace

ResultFile::ResultFile(std::string const& newPath) : path(newPath) {
    std::ifstream file(path);
    for (std::string line; std::getline(file, line);) {
        std::size_t const end = line.find(separator);
        if (end != std::string::npos) {
            lines[line.substr(0, end)] = line.substr(end + 1);
        }
    }
}

std::optional<Measurement> ResultFile::find(Row const& row, double count) const {
    auto const line = lines.find(keyOf(row, count));
    if (line == lines.end()) {
        return {};
    }
    Measurement m;
    m.count = count;
    std::istringstream(line->second) >> m.pairs >> m.ours >> m.peer >> m.ratio.low >> m.ratio.middle >>
        m.ratio.high >> m.ourBytes >> m.peerBytes >> m.hasPeer;
    return m;
}

void ResultFile::add(Row const& row, Measurement const& m) {
    if (m.failure.empty()) {
        std::ostringstream text;
        text << std::setprecision(17) << m.pairs << ' ' << m.ours << ' ' << m.peer << ' ' << m.ratio.low
             << ' ' << m.ratio.middle << ' ' << m.ratio.high << ' ' << m.ourBytes << ' ' << m.peerBytes << ' '
             << m.hasPeer;
        append(keyOf(row, m.count), text.str());
    }
}

std::vector<Stage> ResultFile::findStages(std::size_t side) const {
    auto const line = lines.find(keyOf(side));
    return line == lines.end() ? std::vector<Stage>() : stagesIn(line->second);
}

void ResultFile::add(std::size_t side, std::vector<Stage> const& stages) {
    append(keyOf(side), textOf(stages));
}

void ResultFile::append(std::string const& key, std::string const& value) {
    lines[key] = value;
    if (!path.empty()) {
        std::ofstream(path, std::ios::app) << key << separator << value << '\n';
    }
}

std::string textOf(std::vector<Stage> const& stages) {
    std::ostringstream text;
    for (Stage const& stage : stages) {
        text << stage.name << withinStage << stage.result << withinStage << stage.seconds << withinStage
             << stage.peakBytes << betweenStages;
    }
    return text.str();
}

std::vector<Stage> stagesIn(std::string const& text) {
    std::vector<Stage> stages;
    for (std::string const& line : splitAt(text, betweenStages)) {
        std::vector<std::string> const parts = splitAt(line, withinStage);
        stages.push_back({parts.at(0), parts.at(1), std::stod(parts.at(2)), std::stod(parts.at(3))});
    }
    return stages;
}

} // namespace Comparison
