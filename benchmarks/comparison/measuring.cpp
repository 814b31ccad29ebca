#include "benchmarks/comparison/measuring.h"

#include "benchmarks/comparison/process.h"

#include <algorithm>
#include <cmath>
#include <iomanip>
#include <sstream>
#include <stdexcept>

// Both sides are run in one process, ours, peer, peer, ours, ours, peer and so on, so that what the machine
// does meanwhile meets both alike and neither is always the first; the ratio is that of neighbours. The first
// turn of each is the one whose answers are compared, and is not counted: it also fills caches and
// allocators. Memory is the peak of a process that does one side once, less what it held before.

namespace Comparison {

namespace {

double timeOf(std::function<void()> const& side) {
    double const start = processorSeconds();
    side();
    return processorSeconds() - start;
}

void write(std::ostream& out, double value) {
    out << std::setprecision(17) << value << ' ';
}

/// Pairs of seconds, ours and the peer's, as text: that goes through a pipe.
std::string compareAndTime(Size const& size, Effort const& effort) {
    Contest const contest = size.setUp();
    contest.reset();
    double const begin = processorSeconds();
    contest.ours();
    if (contest.peer) {
        contest.peer();
        std::string const difference = contest.difference();
        if (!difference.empty()) {
            throw std::runtime_error("the answers differ: " + difference);
        }
    }
    std::ostringstream text;
    for (std::size_t pair = 0; pair < effort.mostPairs; ++pair) {
        double const taken = processorSeconds() - begin;
        if ((pair >= effort.leastPairs && taken > effort.seconds) || (pair > 0 && taken > effort.patience)) {
            break;
        }
        bool const areOursFirst = pair % 2 == 0 || !contest.peer;
        contest.reset();
        double const first = timeOf(areOursFirst ? contest.ours : contest.peer);
        contest.reset();
        double const second = contest.peer ? timeOf(areOursFirst ? contest.peer : contest.ours) : 0.0;
        write(text, areOursFirst ? first : second);
        write(text, areOursFirst ? second : first);
    }
    return text.str();
}

std::string takeMemory(Size const& size, bool isPeer) {
    Contest const contest = size.setUp();
    contest.reset();
    std::function<void()> const& side = isPeer ? contest.peer : contest.ours;
    std::ostringstream text;
    if (side) {
        restartPeak();
        double const before = residentBytes();
        side();
        write(text, std::max(0.0, peakBytes() - before));
    }
    return text.str();
}

std::vector<double> numbersIn(std::string const& text) {
    std::istringstream stream(text);
    std::vector<double> numbers;
    for (double number = 0.0; stream >> number;) {
        numbers.push_back(number);
    }
    return numbers;
}

/// Fills in times and ratios from pairs.
void settleTimes(Measurement& result, std::vector<double> const& pairs) {
    std::vector<double> ours;
    std::vector<double> peer;
    std::vector<double> ratios;
    for (std::size_t i = 0; i + 1 < pairs.size(); i += 2) {
        ours.push_back(pairs[i]);
        peer.push_back(pairs[i + 1]);
        ratios.push_back(pairs[i] / pairs[i + 1]);
    }
    result.pairs = ours.size();
    result.ours = spreadOf(ours).middle;
    result.peer = spreadOf(peer).middle;
    result.hasPeer = result.peer > 0.0;
    result.ratio = result.hasPeer ? spreadOf(ratios) : Spread();
}

void settleMemory(Measurement& result, Size const& size) {
    for (bool const isPeer : {false, true}) {
        ChildReport const memory = runInChild([&] { return takeMemory(size, isPeer); });
        std::vector<double> const bytes = numbersIn(memory.text);
        if (!memory.failure.empty()) {
            result.failure = "memory: " + memory.failure;
        } else if (!bytes.empty()) {
            (isPeer ? result.peerBytes : result.ourBytes) = bytes.front();
        }
    }
}

} // namespace

Spread spreadOf(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    auto const at = [&](double share) {
        double const place = share * static_cast<double>(values.size() - 1);
        auto const below = static_cast<std::size_t>(place);
        std::size_t const above = std::min(below + 1, values.size() - 1);
        return values[below] + (place - static_cast<double>(below)) * (values[above] - values[below]);
    };
    return values.empty() ? Spread() : Spread{at(0.25), at(0.5), at(0.75)};
}

double growthOf(std::vector<double> const& counts, std::vector<double> const& seconds) {
    double const n = static_cast<double>(counts.size());
    double x = 0.0;
    double y = 0.0;
    double xx = 0.0;
    double xy = 0.0;
    for (std::size_t i = 0; i < counts.size(); ++i) {
        double const logCount = std::log(counts[i]);
        double const logSeconds = std::log(seconds[i]);
        x += logCount;
        y += logSeconds;
        xx += logCount * logCount;
        xy += logCount * logSeconds;
    }
    return (n * xy - x * y) / (n * xx - x * x);
}

Measurement measure(Size const& size, Effort const& effort) {
    Measurement result;
    result.count = size.count;
    ChildReport const timed = runInChild([&] { return compareAndTime(size, effort); });
    if (!timed.failure.empty()) {
        result.failure = timed.failure;
        return result;
    }
    settleTimes(result, numbersIn(timed.text));
    if (effort.takesMemory) {
        settleMemory(result, size);
    }
    return result;
}

} // namespace Comparison
