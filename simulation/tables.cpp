#include "simulation/tables.h"

#include "Inspection/records/failure.h"
#include "Inspection/records/numbers.h"

#include <algorithm>
#include <ostream>
#include <vector>

namespace QELT::Simulation {

namespace {

// Fixed numbers of decimals, finer than anything that is measured: the last bit of a sine does not change a
// byte.
constexpr int placeDecimals = 6;
constexpr int directionDecimals = 9;
constexpr int angleDecimals = 8;
constexpr int amplitudeDecimals = 3;
constexpr int timeDecimals = 5;
constexpr int stampDecimals = 7;

constexpr char const* simulatedLine = "# simulated: computed from formulas, nothing was measured\n";

/// A line of a table in the cell's way of writing numbers.
class Fields {
public:
    Fields(std::ostream& newOutput, Cell const& cell)
        : output(newOutput), hasDecimalCommas(cell.hasDecimalCommas) {}

    void add(std::string text) {
        if (hasDecimalCommas) {
            std::replace(text.begin(), text.end(), '.', ',');
        }
        output << (isFirst ? "" : (hasDecimalCommas ? ";" : ",")) << text;
        isFirst = false;
    }

    void add(double value, int decimals) { add(Inspection::toFixedText(value, decimals)); }

    void add(std::optional<double> const& value, int decimals) {
        add(value ? Inspection::toFixedText(*value, decimals) : std::string());
    }

    void add(Vector const& vector, int decimals) {
        add(vector.getdX(), decimals);
        add(vector.getdY(), decimals);
        add(vector.getdZ(), decimals);
    }

    void end() {
        output << '\n';
        isFirst = true;
    }

private:
    std::ostream& output;
    bool hasDecimalCommas;
    bool isFirst = true;
};

std::vector<std::string> columnsOf(Dialect dialect) {
    switch (dialect) {
    case Dialect::OriginDirection:
        return {"ox", "oy", "oz", "dx", "dy", "dz"};
    case Dialect::XyzZyx:
        return {"x", "y", "z", "a", "b", "c"};
    case Dialect::XyzXyz:
    case Dialect::RotationVector:
        return {"x", "y", "z", "rx", "ry", "rz"};
    case Dialect::QuaternionWxyz:
        return {"x", "y", "z", "qw", "qx", "qy", "qz"};
    case Dialect::QuaternionXyzw:
        return {"x", "y", "z", "qx", "qy", "qz", "qw"};
    case Dialect::Xyz:
        break;
    }
    return {"x", "y", "z"};
}

void addRotation(Fields& fields, Rotation const& rotation, Dialect dialect) {
    auto const angles = anglesZyxOf(rotation);
    auto const turn = rotationVectorOf(rotation);
    auto const q = quaternionOf(rotation);
    switch (dialect) {
    case Dialect::OriginDirection:
        return fields.add(rotation.z, directionDecimals);
    case Dialect::Xyz:
        return;
    case Dialect::XyzZyx:
        return fields.add(Vector(angles[0], angles[1], angles[2]), angleDecimals);
    case Dialect::XyzXyz:
        return fields.add(Vector(angles[2], angles[1], angles[0]), angleDecimals);
    case Dialect::RotationVector:
        return fields.add(Vector(turn[0], turn[1], turn[2]), directionDecimals);
    case Dialect::QuaternionWxyz:
        fields.add(q[0], directionDecimals);
        return fields.add(Vector(q[1], q[2], q[3]), directionDecimals);
    case Dialect::QuaternionXyzw:
        fields.add(Vector(q[1], q[2], q[3]), directionDecimals);
        return fields.add(q[0], directionDecimals);
    }
}

void addPose(Fields& fields, Cell const& cell, RigidMotion const& probe) {
    RigidMotion const flange = flangeOf(cell, probe);
    fields.add(flange.shift, placeDecimals);
    addRotation(fields, flange.rotation, cell.dialect);
}

void addReading(Fields& fields, Reading const& reading) {
    fields.add(reading.front, timeDecimals);
    fields.add(reading.amplitude, amplitudeDecimals);
    fields.add(reading.tof, timeDecimals);
    fields.add(reading.backWall, amplitudeDecimals);
}

std::vector<std::string> readingColumns() {
    return {"front[us]", "amplitude[%FSH]", "tof[us]", "backwall[%FSH]"};
}

void addNames(Fields& fields, std::vector<std::string> const& names) {
    for (std::string const& name : names) {
        fields.add(name);
    }
}

void requireRotations(Cell const& cell) {
    bool const hasRotation = cell.dialect != Dialect::OriginDirection && cell.dialect != Dialect::Xyz;
    Inspection::require(hasRotation || cell.tool.isNone(),
                        "a tool's offset needs poses with rotations, such as xyz+zyx-deg");
}

} // namespace

std::vector<std::pair<Dialect, std::string>> const& dialects() {
    static std::vector<std::pair<Dialect, std::string>> const names{
        {Dialect::OriginDirection, "origin+direction"},
        {Dialect::Xyz, "xyz"},
        {Dialect::XyzZyx, "xyz+zyx-deg"},
        {Dialect::XyzXyz, "xyz+xyz-deg"},
        {Dialect::RotationVector, "rotvec"},
        {Dialect::QuaternionWxyz, "quat-wxyz"},
        {Dialect::QuaternionXyzw, "quat-xyzw"}};
    return names;
}

std::string nameOf(Dialect dialect) {
    auto const& names = dialects();
    return std::find_if(names.begin(), names.end(), [&](auto const& name) { return name.first == dialect; })
        ->second;
}

RigidMotion flangeOf(Cell const& cell, RigidMotion const& probe) {
    return cell.frame.inverse().after(probe).after(cell.tool.inverse());
}

void writeShots(std::ostream& output, Measurement const& measurement, Cell const& cell) {
    requireRotations(cell);
    output << simulatedLine;
    Fields fields(output, cell);
    addNames(fields, columnsOf(cell.dialect));
    addNames(fields, readingColumns());
    fields.end();
    for (Shot const& shot : measurement.shots) {
        addPose(fields, cell, shot.pose.probe);
        addReading(fields, shot.reading);
        fields.end();
    }
}

void writePoses(std::ostream& output, Measurement const& measurement, Cell const& cell) {
    requireRotations(cell);
    output << simulatedLine;
    Fields fields(output, cell);
    fields.add("t[s]");
    addNames(fields, columnsOf(cell.dialect));
    fields.end();
    for (Pose const& pose : measurement.poses) {
        fields.add(pose.time, stampDecimals);
        addPose(fields, cell, pose.probe);
        fields.end();
    }
}

void writeReadings(std::ostream& output, Measurement const& measurement, Cell const& cell) {
    output << simulatedLine;
    Fields fields(output, cell);
    fields.add("t[s]");
    addNames(fields, readingColumns());
    fields.end();
    for (Shot const& shot : measurement.shots) {
        fields.add(shot.stamp, stampDecimals);
        addReading(fields, shot.reading);
        fields.end();
    }
}

} // namespace QELT::Simulation
