#include "Inspection/scanning/csvfile.h"

#include "Inspection/records/failure.h"
#include "Inspection/records/files.h"
#include "Inspection/records/internal/announce.h"
#include "Inspection/records/internal/textline.h"
#include "Inspection/records/numbers.h"

#include <algorithm>
#include <array>
#include <fstream>
#include <istream>
#include <ostream>
#include <string_view>

namespace QELT::Inspection {

namespace {

constexpr std::array<std::string_view, 6> beamColumns = {"ox", "oy", "oz", "dx", "dy", "dz"};
constexpr std::string_view hitHeading = "u,v,x,y,z,distance,angle,valid,state";

std::vector<std::string_view> fieldsOf(std::string_view line) {
    auto fields = splitAtCommas(line);
    std::transform(fields.begin(), fields.end(), fields.begin(), trimmed);
    return fields;
}

/// Six numbers a line.
using Columns = std::array<std::string_view, 6>;
using Row = std::array<double, 6>;

void checkHeading(TextLine const& line, Columns const& columns, std::string const& heading) {
    auto const fields = fieldsOf(line.text);
    if (!std::equal(fields.begin(), fields.end(), columns.begin(), columns.end())) {
        line.fail("the heading must be " + heading);
    }
}

Row numbersOf(TextLine const& line, Columns const& columns) {
    auto const fields = fieldsOf(line.text);
    Row numbers{};
    if (fields.size() != numbers.size()) {
        line.fail("6 numbers expected, " + std::to_string(fields.size()) + " fields found");
    }
    for (std::size_t i = 0; i < numbers.size(); ++i) {
        auto const number = parseNumber(fields[i]);
        if (!number) {
            line.fail("'" + std::string(fields[i]) + "' is no number for " + std::string(columns[i]));
        }
        numbers[i] = *number;
    }
    return numbers;
}

std::string headingOf(Columns const& columns) {
    std::string heading(columns[0]);
    for (std::size_t i = 1; i < columns.size(); ++i) {
        heading += "," + std::string(columns[i]);
    }
    return heading;
}

/// Calls `visit` with each line below the heading and its numbers. Blank lines are passed over.
template <class Visit>
void readTable(std::istream& input, std::string const& source, Columns const& columns, Visit visit) {
    bool hasHeading = false;
    forEachLine(input, source, [&](TextLine const& line) {
        if (trimmed(line.text).empty()) {
            return;
        }
        if (hasHeading) {
            visit(line, numbersOf(line, columns));
        } else {
            checkHeading(line, columns, headingOf(columns));
            hasHeading = true;
        }
    });
}

/// The row's origin and direction in the part's coordinates.
Row inPart(Row const& row, Frame const& frame) {
    Triple const origin = frame.placeOf({row[0], row[1], row[2]});
    Triple const direction = frame.directionOf({row[3], row[4], row[5]});
    return {origin[0], origin[1], origin[2], direction[0], direction[1], direction[2]};
}

Beam beamOf(TextLine const& line, Row const& told, Vector const& move, std::optional<Frame> const& frame) {
    Row const numbers = frame ? inPart(told, *frame) : told;
    requirePointInReach(line, numbers, 0, "origin");
    Beam const beam{Point(numbers[0] + move.getdX(), numbers[1] + move.getdY(), numbers[2] + move.getdZ()),
                    Vector(numbers[3], numbers[4], numbers[5])};
    if (!(beam.direction.lSqr() > 0.0)) {
        line.fail("the direction has no length");
    }
    return beam;
}

/// A float as such where nothing was moved, which takes fewer digits.
std::string placeText(float coordinate, double move) {
    return move == 0.0 ? toExactText(coordinate) : toExactText(static_cast<double>(coordinate) - move);
}

void writeHit(std::ostream& output, Hit const& hit, Vector const& move) {
    if (!hit.isHit()) {
        output << ",,,,,,,0,miss\n";
        return;
    }
    output << std::to_string(hit.quad.getU()) << ',' << std::to_string(hit.quad.getV());
    output << ',' << placeText(hit.point.getX(), move.getdX()) << ','
           << placeText(hit.point.getY(), move.getdY()) << ',' << placeText(hit.point.getZ(), move.getdZ());
    if (hit.isMeasured) {
        output << ',' << toExactText(hit.distance) << ',' << toExactText(hit.angleToNormal);
    } else {
        output << ",,";
    }
    output << (hit.state == Hit::OnEdge ? ",1,edge\n" : ",1,hit\n");
}

} // namespace

std::vector<Beam> readBeams(std::istream& input, std::string const& source, Vector const& move,
                            std::optional<Frame> const& frame) {
    std::vector<Beam> beams;
    readTable(input, source, beamColumns, [&](TextLine const& line, Row const& numbers) {
        beams.push_back(beamOf(line, numbers, move, frame));
    });
    if (beams.empty()) {
        throw Failure(source + ": holds no beams");
    }
    return beams;
}

std::vector<Beam> readBeamFile(std::filesystem::path const& path, Vector const& move,
                               std::optional<Frame> const& frame) {
    requireReadable(path);
    std::ifstream input(path);
    return readBeams(input, path.string(), move, frame);
}

void writeHits(std::ostream& output, std::vector<Hit> const& hits, ProgressListener* listener,
               Vector const& move) {
    output << hitHeading << '\n';
    StepProgress progress(listener, hits.size());
    for (Hit const& hit : hits) {
        progress.step();
        writeHit(output, hit, move);
    }
}

void writeHitFile(Destination const& to, std::vector<Hit> const& hits, ProgressListener* listener,
                  Vector const& move) {
    std::ofstream output(to.file);
    writeHits(output, hits, listener, move);
    output.close();
    if (!output) {
        throw Failure(to.name.string() + ": cannot be written");
    }
}

} // namespace QELT::Inspection
