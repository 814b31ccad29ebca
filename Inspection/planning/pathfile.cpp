#include "Inspection/planning/pathfile.h"

#include "Inspection/records/failure.h"
#include "Inspection/records/files.h"
#include "Inspection/records/internal/textline.h"
#include "Inspection/records/numbers.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <fstream>
#include <ostream>
#include <string_view>

namespace QELT::Inspection {

namespace {

constexpr std::string_view heading = "line,run,kind,ox,oy,oz,dx,dy,dz,qw,qx,qy,qz,s";
constexpr std::string_view timeColumn = "t[s]";
constexpr std::array<char const*, 3> kindNames{"scan", "overshoot", "lift"};

// Where the columns of the heading are.
constexpr std::size_t kindColumn = 2;
constexpr std::size_t placeColumn = 3;
constexpr std::size_t directionColumn = 6;
constexpr std::size_t columnCount = 14;

// A millionth of the unit, and of a right angle's sine: finer than any robot, and no coordinate is longer
// than it is worth.
constexpr int placeDecimals = 6;
constexpr int directionDecimals = 9;

void writeVector(std::ostream& output, Vector const& vector, int decimals) {
    output << ',' << toFixedText(vector.getdX(), decimals) << ',' << toFixedText(vector.getdY(), decimals)
           << ',' << toFixedText(vector.getdZ(), decimals);
}

/// In the part's own place, and from there back to the cell's.
PathPose placed(PathPose pose, Vector const& move, std::optional<Frame> const& back) {
    pose.position = pose.position - move;
    if (back) {
        pose.position = back->moved(pose.position);
        pose.direction = back->turned(pose.direction);
        pose.turn = back->turn * pose.turn;
    }
    return pose;
}

std::vector<std::string_view> fieldsOf(TextLine const& line) {
    auto fields = splitAtCommas(line.text);
    std::transform(fields.begin(), fields.end(), fields.begin(), trimmed);
    return fields;
}

double numberAt(TextLine const& line, std::vector<std::string_view> const& fields, std::size_t column) {
    auto const number = parseNumber(fields[column]);
    if (!number) {
        line.fail("'" + std::string(fields[column]) + "' is no number");
    }
    return *number;
}

Vector vectorAt(TextLine const& line, std::vector<std::string_view> const& fields, std::size_t column) {
    return Vector(numberAt(line, fields, column), numberAt(line, fields, column + 1),
                  numberAt(line, fields, column + 2));
}

PlannedShot shotOf(TextLine const& line, std::vector<std::string_view> const& fields, bool hasTime) {
    PlannedShot shot;
    double const number = numberAt(line, fields, 0);
    if (!(number >= 0.0 && number < 1e9)) {
        line.fail("'" + std::string(fields[0]) + "' is no number of a line");
    }
    shot.line = static_cast<std::size_t>(number);
    shot.position = vectorAt(line, fields, placeColumn);
    Vector const direction = vectorAt(line, fields, directionColumn);
    double const length = std::sqrt(direction.lSqr());
    if (!(length > 0.0)) {
        line.fail("the direction has no length");
    }
    shot.direction = direction / length;
    shot.time = hasTime ? numberAt(line, fields, columnCount) : 0.0;
    return shot;
}

/// What the first line says of the columns.
bool hasTimeColumn(TextLine const& line) {
    if (!line.text.starts_with(heading)) {
        line.fail("the heading must begin with " + std::string(heading));
    }
    auto const fields = fieldsOf(line);
    return fields.size() > columnCount && fields[columnCount] == timeColumn;
}

} // namespace

void writePath(std::ostream& output, Path const& path, std::optional<double> speed, Vector const& move,
               std::optional<Frame> const& frame) {
    auto const back = frame ? std::optional(frame->getInverse()) : std::nullopt;
    output << heading;
    if (speed) {
        output << ',' << timeColumn;
    }
    output << '\n';
    for (PathPose const& inGrid : path.poses) {
        PathPose const pose = placed(inGrid, move, back);
        output << std::to_string(pose.line) << ',' << std::to_string(pose.run) << ','
               << kindNames.at(static_cast<std::size_t>(pose.kind));
        writeVector(output, pose.position, placeDecimals);
        writeVector(output, pose.direction, directionDecimals);
        output << ',' << toFixedText(pose.turn.w, directionDecimals);
        writeVector(output, Vector(pose.turn.x, pose.turn.y, pose.turn.z), directionDecimals);
        output << ',' << toFixedText(pose.way, placeDecimals);
        if (speed) {
            output << ',' << toFixedText(pose.way / *speed, placeDecimals);
        }
        output << '\n';
    }
}

std::vector<PlannedShot> readPath(std::istream& input, std::string const& source) {
    std::vector<PlannedShot> shots;
    bool hasHeading = false;
    bool hasTime = false;
    forEachLine(input, source, [&](TextLine const& line) {
        if (trimmed(line.text).empty()) {
            return;
        }
        if (!hasHeading) {
            hasTime = hasTimeColumn(line);
            hasHeading = true;
            return;
        }
        auto const fields = fieldsOf(line);
        if (fields.size() < columnCount + (hasTime ? 1 : 0)) {
            line.fail("the line has too few fields for a pose");
        }
        auto const kind = std::find(kindNames.begin(), kindNames.end(), fields[kindColumn]);
        if (kind == kindNames.end()) {
            line.fail("'" + std::string(fields[kindColumn]) +
                      "' is no kind of pose: scan, overshoot or lift");
        }
        if (kind - kindNames.begin() != PathPose::Lift) {
            shots.push_back(shotOf(line, fields, hasTime));
        }
    });
    require(!shots.empty(), source + ": holds no path");
    return shots;
}

std::vector<PlannedShot> readPathFile(std::filesystem::path const& file) {
    requireReadable(file);
    std::ifstream input(file);
    return readPath(input, file.string());
}

} // namespace QELT::Inspection
