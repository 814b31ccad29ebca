#include "Inspection/poses/pose.h"

#include "Inspection/records/failure.h"
#include "Inspection/records/numbers.h"
#include "Inspection/tables/units.h"

#include <algorithm>
#include <cmath>

// A dialect is a list of parts, each with the names that a column for it may have; the first that a column
// goes by counts. Without a dialect the names must leave one: a direction, parts of a quaternion by their own
// names, or nothing but a position. Three angles alone never do, for the same letters mean different turns at
// different robots; nor do q1 to q4, whose real part is the first or the last.
//
// Degrees zyx about moving axes and xyz about fixed axes are the same rotation Rz Ry Rx; the dialects differ
// in the order and the names of their columns. A quaternion is made of unit length if it is that within 1e-3,
// which three decimals are; farther off it is more likely no quaternion.

namespace QELT::Inspection {

namespace {

using Names = std::vector<std::string_view>;

constexpr double quaternionTolerance = 1e-3;

struct NamedDialect {
    char const* name;
    PoseDialect dialect;
};

constexpr std::array<NamedDialect, 7> dialects{{{"origin+direction", PoseDialect::OriginDirection},
                                                {"xyz", PoseDialect::Position},
                                                {"xyz+zyx-deg", PoseDialect::ZyxDegrees},
                                                {"xyz+xyz-deg", PoseDialect::XyzDegrees},
                                                {"rotvec", PoseDialect::RotationVector},
                                                {"quat-wxyz", PoseDialect::QuaternionWxyz},
                                                {"quat-xyzw", PoseDialect::QuaternionXyzw}}};

std::vector<Names> const& positionNames() {
    static std::vector<Names> const names{{"x", "px", "posx", "positionx", "tcpx", "ox", "originx"},
                                          {"y", "py", "posy", "positiony", "tcpy", "oy", "originy"},
                                          {"z", "pz", "posz", "positionz", "tcpz", "oz", "originz"}};
    return names;
}

std::vector<Names> const& originNames() {
    static std::vector<Names> const names{{"ox", "originx", "x", "px", "posx", "positionx"},
                                          {"oy", "originy", "y", "py", "posy", "positiony"},
                                          {"oz", "originz", "z", "pz", "posz", "positionz"}};
    return names;
}

std::vector<Names> const& directionNames() {
    static std::vector<Names> const names{
        {"dx", "dirx", "directionx"}, {"dy", "diry", "directiony"}, {"dz", "dirz", "directionz"}};
    return names;
}

std::vector<Names> const& quaternionNames() {
    static std::vector<Names> const names{{"qw", "quatw"}, {"qx", "quatx"}, {"qy", "quaty"}, {"qz", "quatz"}};
    return names;
}

/// Of the turn; empty for what has none.
std::vector<Names> turnNamesOf(PoseDialect dialect) {
    switch (dialect) {
    case PoseDialect::OriginDirection:
        return directionNames();
    case PoseDialect::ZyxDegrees:
        return {{"a", "rz", "yaw"}, {"b", "ry", "pitch"}, {"c", "rx", "roll"}};
    case PoseDialect::XyzDegrees:
        return {{"rx", "w", "roll"}, {"ry", "p", "pitch"}, {"rz", "r", "yaw"}};
    case PoseDialect::RotationVector:
        return {{"rx", "rvx", "rotvecx"}, {"ry", "rvy", "rotvecy"}, {"rz", "rvz", "rotvecz"}};
    case PoseDialect::QuaternionWxyz:
    case PoseDialect::QuaternionXyzw:
        return quaternionNames();
    default:
        return {};
    }
}

bool isQuaternion(PoseDialect dialect) {
    return dialect == PoseDialect::QuaternionWxyz || dialect == PoseDialect::QuaternionXyzw;
}

using Found = std::vector<std::optional<std::size_t>>;

Found find(std::vector<NamedColumn> const& columns, std::vector<Names> const& names) {
    Found found;
    for (Names const& each : names) {
        found.push_back(findColumn(columns, each));
    }
    return found;
}

bool isComplete(Found const& found) {
    return std::all_of(found.begin(), found.end(), [](auto const& place) { return place.has_value(); });
}

/// Columns that number the parts of a quaternion, from 0 or from 1.
Found numberedParts(std::vector<NamedColumn> const& columns) {
    Found const fromOne = find(columns, {{"q1"}, {"q2"}, {"q3"}, {"q4"}});
    return isComplete(fromOne) ? fromOne : find(columns, {{"q0"}, {"q1"}, {"q2"}, {"q3"}});
}

/// As w, x, y, z.
Found orderedParts(Found const& numbered, PoseDialect dialect) {
    if (dialect == PoseDialect::QuaternionWxyz) {
        return numbered;
    }
    return {numbered[3], numbered[0], numbered[1], numbered[2]};
}

bool hasAngles(std::vector<NamedColumn> const& columns) {
    return isComplete(find(columns, {{"a"}, {"b"}, {"c"}})) ||
           isComplete(find(columns, {{"rx"}, {"ry"}, {"rz"}})) ||
           isComplete(find(columns, {{"w"}, {"p"}, {"r"}})) ||
           isComplete(find(columns, {{"roll"}, {"pitch"}, {"yaw"}}));
}

PoseDialect recognised(std::vector<NamedColumn> const& columns, std::string const& source) {
    if (isComplete(find(columns, directionNames()))) {
        return PoseDialect::OriginDirection;
    }
    if (isComplete(find(columns, quaternionNames()))) {
        return PoseDialect::QuaternionWxyz;
    }
    if (isComplete(numberedParts(columns))) {
        throw Failure(source +
                      ": its columns number the parts of quaternions, which leaves open where the real part "
                      "is; give --pose quat-wxyz or --pose quat-xyzw");
    }
    if (hasAngles(columns)) {
        throw Failure(source +
                      ": its angles can mean different turns; give --pose xyz+zyx-deg, --pose xyz+xyz-deg "
                      "or --pose rotvec");
    }
    return PoseDialect::Position;
}

std::vector<std::string> missingNames(Found const& found, std::vector<Names> const& names) {
    std::vector<std::string> missing;
    for (std::size_t i = 0; i < found.size(); ++i) {
        if (!found[i]) {
            missing.emplace_back(names[i].front());
        }
    }
    return missing;
}

std::string columnList(std::vector<NamedColumn> const& columns) {
    std::vector<std::string> names;
    names.reserve(columns.size());
    for (NamedColumn const& column : columns) {
        names.push_back(column.name);
    }
    return names.empty() ? "no column has a name" : "there are " + listOf(names);
}

std::vector<std::size_t> requireAll(std::vector<NamedColumn> const& columns, PoseDialect dialect,
                                    std::string const& source) {
    std::vector<Names> names = dialect == PoseDialect::OriginDirection ? originNames() : positionNames();
    auto const turnNames = turnNamesOf(dialect);
    Found found = find(columns, names);
    Found turn = find(columns, turnNames);
    if (isQuaternion(dialect) && !isComplete(turn) && isComplete(numberedParts(columns))) {
        turn = orderedParts(numberedParts(columns), dialect);
    }
    found.insert(found.end(), turn.begin(), turn.end());
    names.insert(names.end(), turnNames.begin(), turnNames.end());
    require(isComplete(found), source + ": no column " + listOf(missingNames(found, names)) + " for poses " +
                                   nameOf(dialect) + "; " + columnList(columns) +
                                   ", tell which is which with --columns");
    std::vector<std::size_t> chosen;
    std::transform(found.begin(), found.end(), std::back_inserter(chosen),
                   [](auto const& place) { return *place; });
    return chosen;
}

/// The unit that the columns agree on; empty if none tells one.
std::string commonUnit(std::vector<NamedColumn> const& columns, std::span<std::size_t const> chosen,
                       std::string const& source) {
    std::string unit;
    for (std::size_t const index : chosen) {
        std::string const& own = columns[index].unit;
        require(unit.empty() || own.empty() || own == unit, source + ": '" + own + "' of column '" +
                                                                columns[index].name + "' and '" + unit +
                                                                "' of the one before it are not one unit");
        unit = own.empty() ? unit : own;
    }
    return unit;
}

double factorBetween(std::string const& from, std::string const& to, std::string const& source) {
    if (from == to) {
        return 1.0;
    }
    auto const ours = metresIn(to);
    auto const theirs = metresIn(from);
    require(theirs.has_value(), source + ": '" + from +
                                    "' is no unit of length known here; give --pose-unit mm, m, in, or how "
                                    "many of the part's unit it is");
    require(
        ours.has_value(),
        source + ": its positions are in '" + from +
            "', and the part's unit is not known; give --pose-unit as the number of the part's units that "
            "one of them is");
    double const factor = *theirs / *ours;
    double const rounded = std::round(factor);
    return std::abs(factor - rounded) < 1e-9 * rounded ? rounded : factor; // 1000, not 999.9999999
}

} // namespace

PoseDialect poseDialectIn(std::string_view text) {
    std::vector<std::string> names;
    for (NamedDialect const& each : dialects) {
        if (text == each.name) {
            return each.dialect;
        }
        names.emplace_back(each.name);
    }
    throw Failure("'" + std::string(text) + "' is no form of poses; there are " + listOf(names));
}

char const* nameOf(PoseDialect dialect) {
    return std::find_if(dialects.begin(), dialects.end(),
                        [&](NamedDialect const& each) { return each.dialect == dialect; })
        ->name;
}

Triple beamAxisIn(std::string_view text) {
    bool const isBack = text.starts_with('-');
    std::string_view const letter = isBack || text.starts_with('+') ? text.substr(1) : text;
    if (letter.size() == 1 && letter[0] >= 'x' && letter[0] <= 'z') {
        Triple axis{};
        axis[static_cast<std::size_t>(letter[0] - 'x')] = isBack ? -1.0 : 1.0;
        return axis;
    }
    auto const parts = splitAtCommas(text);
    Triple axis{};
    for (std::size_t i = 0; i < 3 && parts.size() == 3; ++i) {
        axis[i] = parseNumber(parts[i]).value_or(0.0);
    }
    require(lengthOf(axis) > 0.0 && std::isfinite(lengthOf(axis)),
            "'" + std::string(text) + "' is no axis; write x, y, z, -x, -y, -z or X,Y,Z");
    return (1.0 / lengthOf(axis)) * axis;
}

Frame toolIn(std::string_view text) {
    auto const parts = splitAtCommas(text);
    std::array<double, 6> numbers{};
    bool isGood = parts.size() == numbers.size();
    for (std::size_t i = 0; i < numbers.size() && isGood; ++i) {
        auto const number = parseNumber(parts[i]);
        isGood = number.has_value();
        numbers[i] = number.value_or(0.0);
    }
    require(isGood, "'" + std::string(text) + "' is not of the form X,Y,Z,A,B,C");
    return {turnOfDegrees(numbers[3], numbers[4], numbers[5]), {numbers[0], numbers[1], numbers[2]}, {}};
}

PoseReader::PoseReader(std::vector<NamedColumn> const& columns, PoseFormat const& format,
                       std::string const& source)
    : dialect(format.dialect ? *format.dialect : recognised(columns, source)),
      chosen(requireAll(columns, dialect, source)),
      tool(format.tool) {
    bool const hasTurn = dialect != PoseDialect::OriginDirection && dialect != PoseDialect::Position;
    require(hasTurn || (!format.tool && !format.beamAxis),
            source + ": poses " + nameOf(dialect) + " tell no turn of the flange, so " +
                (format.tool ? "--tool" : "--beam-axis") + " has no meaning");
    beamAxis = format.beamAxis.value_or(beamAxis);
    setScale(columns, format, source);
    if (hasTurn && !isQuaternion(dialect)) {
        setAngles(columns, source);
    }
}

void PoseReader::setScale(std::vector<NamedColumn> const& columns, PoseFormat const& format,
                          std::string const& source) {
    std::string const headed = commonUnit(columns, std::span(chosen).first(3), source);
    if (!format.unit) {
        bool const isOpen = headed.empty() || format.partUnit.empty();
        scale = isOpen ? 1.0 : factorBetween(headed, format.partUnit, source);
        return;
    }
    auto const factor = parseNumber(*format.unit);
    require(!factor || *factor > 0.0, "--pose-unit: '" + *format.unit + "' is not above zero");
    bool const doAgree = factor || headed.empty() || metresIn(headed) == metresIn(*format.unit);
    require(doAgree, source + ": its heading says '" + headed + "' and --pose-unit '" + *format.unit + "'");
    scale = factor ? *factor : factorBetween(*format.unit, format.partUnit, source);
}

void PoseReader::setAngles(std::vector<NamedColumn> const& columns, std::string const& source) {
    std::string const headed = commonUnit(columns, std::span(chosen).subspan(3), source);
    if (headed.empty()) {
        return;
    }
    auto const radians = radiansIn(headed);
    bool const isVector = dialect == PoseDialect::RotationVector;
    require(radians && (isVector || *radians != 1.0), source + ": its heading says '" + headed +
                                                          "' and --pose " + nameOf(dialect) + " wants " +
                                                          (isVector ? "radians or degrees" : "degrees"));
    angleScale = isVector ? *radians : 1.0;
}

Pose PoseReader::read(std::span<double const> values) {
    fault.clear();
    bool const isWhole =
        std::all_of(values.begin(), values.end(), [](double value) { return std::isfinite(value); });
    Pose pose;
    if (!isWhole) {
        fault = "the pose is not complete";
        return pose;
    }
    pose.position = {values[0], values[1], values[2]};
    if (dialect == PoseDialect::OriginDirection) {
        pose.direction = {values[3], values[4], values[5]};
        double const square = dot(pose.direction, pose.direction);
        fault = square > 0.0 && std::isfinite(square) ? "" : "the direction has no length";
    } else if (dialect != PoseDialect::Position) {
        pose.turn = turnOf(values.subspan(3));
    }
    return pose;
}

Turn PoseReader::turnOf(std::span<double const> values) {
    switch (dialect) {
    case PoseDialect::ZyxDegrees:
        return turnOfDegrees(values[0], values[1], values[2]);
    case PoseDialect::XyzDegrees:
        return turnOfDegrees(values[2], values[1], values[0]);
    case PoseDialect::RotationVector:
        return turnOfRotationVector(angleScale * Triple{values[0], values[1], values[2]});
    default:
        return quaternionOf(values[0], {values[1], values[2], values[3]});
    }
}

Turn PoseReader::quaternionOf(double w, Triple const& v) {
    double const length = std::sqrt(w * w + dot(v, v));
    if (!(std::abs(length - 1.0) <= quaternionTolerance)) {
        fault = "the quaternion has length " + toShortText(length, 4) + " in place of 1";
        return {};
    }
    return {w / length, v[0] / length, v[1] / length, v[2] / length};
}

Pose PoseReader::interpolate(Pose const& from, Pose const& to, double share) const {
    Pose pose;
    pose.position = from.position + share * (to.position - from.position);
    if (dialect == PoseDialect::OriginDirection) {
        pose.direction = slerp(from.direction, to.direction, share);
    } else if (dialect != PoseDialect::Position) {
        pose.turn = slerp(from.turn, to.turn, share);
    }
    return pose;
}

Ray PoseReader::rayOf(Pose const& pose) const {
    if (dialect == PoseDialect::OriginDirection || dialect == PoseDialect::Position) {
        return {scale * pose.position, pose.direction};
    }
    Frame const flange{pose.turn, pose.position, {}};
    Frame const probe = tool ? flange * *tool : flange;
    return {scale * probe.translation, probe.directionOf(beamAxis)};
}

} // namespace QELT::Inspection
