#include "benchmarks/comparison/page.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <sstream>

namespace Comparison {

namespace {

constexpr std::size_t sizesForGrowth = 4;

/// A number with three significant digits, as a person would write it.
std::string shown(double value) {
    if (!(value > 0.0)) {
        return "0";
    }
    int const magnitude = static_cast<int>(std::floor(std::log10(value)));
    std::array<char, 64> buffer{};
    std::snprintf(buffer.data(), buffer.size(), "%.*f", std::clamp(2 - magnitude, 0, 4), value);
    return buffer.data();
}

std::string shownFixed(double value, int digits) {
    std::array<char, 64> buffer{};
    std::snprintf(buffer.data(), buffer.size(), "%.*f", digits, value);
    return buffer.data();
}

std::string shownRatio(Measurement const& size) {
    return "**" + shown(size.ratio.middle) + "** (" + shown(size.ratio.low) + " to " +
           shown(size.ratio.high) + ")";
}

/// What is shown of all sizes but the largest.
std::string shownSmaller(std::vector<Measurement> const& sizes) {
    std::string text;
    for (std::size_t i = 0; i + 1 < sizes.size(); ++i) {
        text += (i == 0 ? "" : ", ") + shownCount(sizes[i].count) + ": " +
                (sizes[i].hasPeer ? shown(sizes[i].ratio.middle) : shownSeconds(sizes[i].ours));
    }
    return text;
}

std::string shownGrowth(std::vector<Measurement> const& sizes) {
    if (sizes.size() < sizesForGrowth) {
        return "";
    }
    std::vector<double> counts;
    std::vector<double> ours;
    std::vector<double> peer;
    for (Measurement const& size : sizes) {
        counts.push_back(size.count);
        ours.push_back(size.ours);
        peer.push_back(size.peer);
    }
    std::string const exponent = shownFixed(growthOf(counts, ours), 2);
    return sizes.back().hasPeer ? exponent + " / " + shownFixed(growthOf(counts, peer), 2) : exponent;
}

std::string failureIn(std::vector<Measurement> const& sizes) {
    for (Measurement const& size : sizes) {
        if (!size.failure.empty()) {
            return "**" + shownCount(size.count) + ": " + size.failure + "**";
        }
    }
    return "";
}

std::string shownMemory(Measurement const& size) {
    return shownBytes(size.ourBytes) + (size.hasPeer ? " / " + shownBytes(size.peerBytes) : "");
}

void addRow(std::ostream& out, MeasuredRow const& measured) {
    out << "| " << measured.row.task << " | " << measured.row.peer << " | ";
    std::string const failure = failureIn(measured.sizes);
    if (measured.sizes.empty() || !failure.empty()) {
        out << failure << " | | | | | | |\n";
        return;
    }
    Measurement const& largest = measured.sizes.back();
    out << shownCount(largest.count) << ' ' << measured.row.unit << " | " << shownSeconds(largest.ours)
        << " | " << (largest.hasPeer ? shownSeconds(largest.peer) : "") << " | "
        << (largest.hasPeer ? shownRatio(largest) : "") << " | " << shownSmaller(measured.sizes) << " | "
        << shownGrowth(measured.sizes) << " | " << (largest.ourBytes > 0.0 ? shownMemory(largest) : "")
        << " |\n";
}

} // namespace

std::string tableOf(std::vector<MeasuredRow> const& rows) {
    std::ostringstream out;
    out << "| task | against | size | ours | peer | ratio (quartiles) | ratio at smaller sizes | growth | "
           "memory "
           "|\n|---|---|---|---|---|---|---|---|---|\n";
    for (MeasuredRow const& row : rows) {
        addRow(out, row);
    }
    return out.str();
}

std::string tableOf(std::vector<Stage> const& stages) {
    std::ostringstream out;
    out << "| stage | time | peak of memory | result |\n|---|---|---|---|\n";
    double seconds = 0.0;
    double peak = 0.0;
    for (Stage const& stage : stages) {
        seconds += stage.seconds;
        peak = std::max(peak, stage.peakBytes);
        out << "| " << stage.name << " | " << shownSeconds(stage.seconds) << " | "
            << shownBytes(stage.peakBytes) << " | " << stage.result << " |\n";
    }
    out << "| **all** | " << shownSeconds(seconds) << " | " << shownBytes(peak) << " | |\n";
    return out.str();
}

std::string filledIn(std::string const& page, std::map<std::string, std::string> const& texts) {
    std::istringstream lines(page);
    std::string filled;
    for (std::string line; std::getline(lines, line);) {
        auto const isOf = [&](auto const& entry) { return line == "<!-- " + entry.first + " -->"; };
        auto const text = std::find_if(texts.begin(), texts.end(), isOf);
        filled += (text == texts.end() ? line : text->second) + '\n';
    }
    return filled;
}

std::string shownSeconds(double seconds) {
    if (seconds >= 1.0) {
        return shown(seconds) + " s";
    }
    return seconds >= 1e-3 ? shown(1e3 * seconds) + " ms" : shown(1e6 * seconds) + " µs";
}

std::string shownCount(double count) {
    std::string digits = shownFixed(count, 0);
    for (std::size_t place = digits.size(); place > 3;) {
        place -= 3;
        digits.insert(place, 1, ',');
    }
    return digits;
}

std::string shownBytes(double bytes) {
    return shown(1e-6 * bytes) + " MB";
}

} // namespace Comparison
