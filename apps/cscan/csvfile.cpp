#include "apps/cscan/csvfile.h"

#include "apps/cscan/failure.h"
#include "apps/cscan/files.h"
#include "apps/cscan/numbers.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <fstream>
#include <istream>
#include <limits>
#include <ostream>
#include <string_view>

namespace cscan {

namespace {

constexpr std::array<std::string_view, 6> beamColumns = {"ox", "oy", "oz", "dx", "dy", "dz"};
constexpr std::string_view hitHeading = "u,v,x,y,z,distance,angle,valid";

/// A line of the table with what is needed to complain about it.
struct Line {
    std::string const& source;
    std::size_t number;
    std::string_view text;

    [[noreturn]] void fail(std::string const& complaint) const {
        throw Failure(source + ", line " + std::to_string(number) + ": " + complaint);
    }
};

std::vector<std::string_view> fieldsOf(std::string_view line) {
    std::vector<std::string_view> fields;
    for (auto comma = line.find(','); comma != std::string_view::npos; comma = line.find(',')) {
        fields.push_back(trimmed(line.substr(0, comma)));
        line.remove_prefix(comma + 1);
    }
    fields.push_back(trimmed(line));
    return fields;
}

std::string_view withoutByteOrderMark(std::string_view text) {
    constexpr std::string_view mark = "\xEF\xBB\xBF";
    return text.starts_with(mark) ? text.substr(mark.size()) : text;
}

void checkHeading(Line const& line) {
    auto const fields = fieldsOf(withoutByteOrderMark(line.text));
    if (!std::equal(fields.begin(), fields.end(), beamColumns.begin(), beamColumns.end())) {
        line.fail("the heading must be ox,oy,oz,dx,dy,dz");
    }
}

std::array<double, 6> numbersOf(Line const& line) {
    auto const fields = fieldsOf(line.text);
    std::array<double, 6> numbers{};
    if (fields.size() != numbers.size()) {
        line.fail("6 numbers expected, " + std::to_string(fields.size()) + " fields found");
    }
    for (std::size_t i = 0; i < numbers.size(); ++i) {
        auto const number = parseNumber(fields[i]);
        if (!number) {
            line.fail("'" + std::string(fields[i]) + "' is no number for " + std::string(beamColumns[i]));
        }
        numbers[i] = *number;
    }
    return numbers;
}

Beam beamOf(Line const& line) {
    auto const numbers = numbersOf(line);
    for (std::size_t i = 0; i < 3; ++i) {
        if (std::abs(numbers[i]) > std::numeric_limits<float>::max()) {
            line.fail("the origin lies too far out");
        }
    }
    Beam const beam{Point(numbers[0], numbers[1], numbers[2]), Vector(numbers[3], numbers[4], numbers[5])};
    if (!(beam.direction.lSqr() > 0.0)) {
        line.fail("the direction has no length");
    }
    return beam;
}

void writeHit(std::ostream& output, Hit const& hit) {
    if (!hit.isValid) {
        output << ",,,,,,,0\n";
        return;
    }
    output << std::to_string(hit.quad.getU()) << ',' << std::to_string(hit.quad.getV());
    output << ',' << toExactText(hit.point.getX()) << ',' << toExactText(hit.point.getY()) << ','
           << toExactText(hit.point.getZ());
    if (hit.isMeasured) {
        output << ',' << toExactText(hit.distance) << ',' << toExactText(hit.angleToNormal);
    } else {
        output << ",,";
    }
    output << ",1\n";
}

} // namespace

std::vector<Beam> readBeams(std::istream& input, std::string const& source) {
    std::vector<Beam> beams;
    std::string text;
    bool hasHeading = false;
    for (std::size_t number = 1; std::getline(input, text); ++number) {
        Line const line{source, number, text};
        if (trimmed(text).empty()) {
            continue;
        }
        if (hasHeading) {
            beams.push_back(beamOf(line));
        } else {
            checkHeading(line);
            hasHeading = true;
        }
    }
    if (input.bad()) {
        throw Failure(source + ": cannot be read to its end");
    }
    if (beams.empty()) {
        throw Failure(source + ": holds no beams");
    }
    return beams;
}

std::vector<Beam> readBeamFile(std::filesystem::path const& path) {
    requireReadable(path);
    std::ifstream input(path);
    return readBeams(input, path.string());
}

void writeHits(std::ostream& output, std::vector<Hit> const& hits) {
    output << hitHeading << '\n';
    for (Hit const& hit : hits) {
        writeHit(output, hit);
    }
}

void writeHitFile(std::filesystem::path const& path, std::vector<Hit> const& hits) {
    std::ofstream output(path);
    writeHits(output, hits);
    output.close();
    if (!output) {
        throw Failure(path.string() + ": cannot be written");
    }
}

} // namespace cscan
