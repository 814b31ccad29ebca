#include "simulation/tables.h"

#include "Inspection/records/numbers.h"
#include "tests/inspection/scratchdirectory.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <numbers>
#include <sstream>
#include <string>
#include <vector>

namespace QELT::Simulation {
namespace {

using Inspection::Testing::messageOf;

Measurement smallMeasurement() {
    Case setup = caseOf("cylinder");
    setup.sweep.from = {-30.0, -3.0};
    setup.sweep.to = {30.0, 3.0};
    setup.sweep.step = 6.0;
    setup.sweep.lineSpacing = 3.0;
    return measure(setup);
}

struct Table {
    std::vector<std::string> heading;
    std::vector<std::vector<double>> rows; ///< NaN where a field is empty
};

std::vector<std::string> split(std::string const& line, char separator) {
    std::vector<std::string> fields(1);
    for (char const character : line) {
        if (character == separator) {
            fields.emplace_back();
        } else {
            fields.back() += character;
        }
    }
    return fields;
}

Table tableOf(std::string const& text, char separator = ',') {
    std::istringstream stream(text);
    std::string line;
    std::getline(stream, line);
    EXPECT_EQ("# simulated: computed from formulas, nothing was measured", line);
    Table table;
    std::getline(stream, line);
    table.heading = split(line, separator);
    while (std::getline(stream, line)) {
        std::replace(line.begin(), line.end(), separator == ';' ? ',' : ' ', separator == ';' ? '.' : ' ');
        table.rows.emplace_back();
        for (std::string const& field : split(line, separator)) {
            table.rows.back().push_back(field.empty() ? std::nan("")
                                                      : Inspection::parseNumber(field).value());
        }
        EXPECT_EQ(table.heading.size(), table.rows.back().size());
    }
    return table;
}

Table shotsIn(Measurement const& measurement, Cell const& cell) {
    std::ostringstream output;
    writeShots(output, measurement, cell);
    return tableOf(output.str(), cell.hasDecimalCommas ? ';' : ',');
}

/// Turns about one axis, as a matrix in rows.
using Matrix = std::array<std::array<double, 3>, 3>;

Matrix turnAbout(int axis, double degrees) {
    double const c = std::cos(degrees * std::numbers::pi / 180.0);
    double const s = std::sin(degrees * std::numbers::pi / 180.0);
    auto const i = static_cast<std::size_t>((axis + 1) % 3);
    auto const j = static_cast<std::size_t>((axis + 2) % 3);
    Matrix m{};
    m[static_cast<std::size_t>(axis)][static_cast<std::size_t>(axis)] = 1.0;
    m[i][i] = c;
    m[i][j] = -s;
    m[j][i] = s;
    m[j][j] = c;
    return m;
}

Vector times(Matrix const& m, Vector const& v) {
    auto const row = [&](std::size_t i) {
        return m[i][0] * v.getdX() + m[i][1] * v.getdY() + m[i][2] * v.getdZ();
    };
    return Vector(row(0), row(1), row(2));
}

Vector byQuaternion(double w, Vector const& axis, Vector const& v) {
    return v + 2.0 * axis.cross(axis.cross(v) + w * v);
}

/// The beam's direction and the place a millimetre along it as a robot's controller would have them, worked
/// out from the columns alone.
Vector zAxisOf(Dialect dialect, std::vector<double> const& row) {
    Vector const z(0.0, 0.0, 1.0);
    switch (dialect) {
    case Dialect::XyzZyx:
        return times(turnAbout(2, row[3]), times(turnAbout(1, row[4]), times(turnAbout(0, row[5]), z)));
    case Dialect::XyzXyz:
        return times(turnAbout(2, row[5]), times(turnAbout(1, row[4]), times(turnAbout(0, row[3]), z)));
    case Dialect::RotationVector: {
        Vector const turn(row[3], row[4], row[5]);
        double const angle = std::sqrt(turn.lSqr());
        return byQuaternion(std::cos(angle / 2), turn * (std::sin(angle / 2) / angle), z);
    }
    case Dialect::QuaternionWxyz:
        return byQuaternion(row[3], Vector(row[4], row[5], row[6]), z);
    case Dialect::QuaternionXyzw:
        return byQuaternion(row[6], Vector(row[3], row[4], row[5]), z);
    default:
        return Vector(row[3], row[4], row[5]);
    }
}

TEST(Tables, TellTheSameBeamsInEveryDialect) {
    Measurement const measurement = smallMeasurement();
    Cell cell;
    cell.frame = {rotationZyx(20.0, -35.0, 100.0), Vector(400.0, -50.0, 30.0)};
    for (auto const& [dialect, name] : dialects()) {
        cell.dialect = dialect;
        Table const table = shotsIn(measurement, cell);
        ASSERT_EQ(measurement.shots.size(), table.rows.size()) << name;
        for (std::size_t i = 0; i < table.rows.size(); ++i) {
            RigidMotion const& probe = measurement.shots[i].pose.probe;
            auto const& row = table.rows[i];
            Vector const place = cell.frame.placed(Vector(row[0], row[1], row[2]));
            EXPECT_LT((place - probe.shift).lSqr(), 1e-11) << name;
            if (dialect != Dialect::Xyz) {
                Vector const beam = cell.frame.rotation.turned(zAxisOf(dialect, row));
                EXPECT_LT((beam - probe.rotation.z).lSqr(), 1e-16) << name;
            }
        }
    }
}

TEST(Tables, TellWhereTheFlangeIs) {
    Measurement const measurement = smallMeasurement();
    Cell cell;
    cell.dialect = Dialect::QuaternionWxyz;
    cell.tool = {rotationZyx(0.0, 180.0, 0.0), Vector(10.0, 0.0, 120.0)};
    auto const row = shotsIn(measurement, cell).rows.at(7);
    // The probe's origin from the flange's pose.
    Vector const axis(row[4], row[5], row[6]);
    Vector const probe =
        Vector(row[0], row[1], row[2]) + byQuaternion(row[3], axis, Vector(10.0, 0.0, 120.0));
    EXPECT_LT((probe - measurement.shots[7].pose.probe.shift).lSqr(), 1e-10);
    // The probe looks along the flange's -z.
    Vector const beam = byQuaternion(row[3], axis, Vector(0.0, 0.0, -1.0));
    EXPECT_LT((beam - measurement.shots[7].pose.beam()).lSqr(), 1e-15);
}

TEST(Tables, NameTheirColumnsWithUnits) {
    Measurement const measurement = smallMeasurement();
    std::map<Dialect, std::string> const poses{{Dialect::OriginDirection, "ox oy oz dx dy dz"},
                                               {Dialect::Xyz, "x y z"},
                                               {Dialect::XyzZyx, "x y z a b c"},
                                               {Dialect::XyzXyz, "x y z rx ry rz"},
                                               {Dialect::RotationVector, "x y z rx ry rz"},
                                               {Dialect::QuaternionWxyz, "x y z qw qx qy qz"},
                                               {Dialect::QuaternionXyzw, "x y z qx qy qz qw"}};
    ASSERT_EQ(poses.size(), dialects().size());
    for (auto const& [dialect, columns] : poses) {
        Cell cell;
        cell.dialect = dialect;
        EXPECT_EQ(split(columns + " front[us] amplitude[%FSH] tof[us] backwall[%FSH]", ' '),
                  shotsIn(measurement, cell).heading);
    }
}

TEST(Tables, LeaveFieldsOfNoEchoEmpty) {
    Case setup = caseOf("cylinder");
    setup.sweep.from = {50.0, 25.0}; // the flaw that only takes echoes away, and a place beside the part
    setup.sweep.to = {50.0, 45.0};
    setup.sweep.lineSpacing = 20.0;
    std::ostringstream output;
    writeShots(output, measure(setup), {});
    auto const lines = split(output.str(), '\n');
    ASSERT_EQ(5U, lines.size());
    EXPECT_EQ("105.309907,57.531065,25.000000,-0.877582562,-0.479425539,0.000000000,27.02703,,,", lines[2]);
    EXPECT_EQ("105.309907,57.531065,45.000000,-0.877582562,-0.479425539,0.000000000,,,,", lines[3]);
}

TEST(Tables, WriteDecimalCommas) {
    Measurement const measurement = smallMeasurement();
    Cell cell;
    Table const plain = shotsIn(measurement, cell);
    cell.hasDecimalCommas = true;
    Table const commas = shotsIn(measurement, cell);
    EXPECT_EQ(plain.heading, commas.heading);
    EXPECT_EQ(plain.rows.size(), commas.rows.size());
    for (std::size_t i = 0; i < plain.rows.size(); ++i) {
        EXPECT_EQ(plain.rows[i][0], commas.rows[i][0]);
        EXPECT_EQ(plain.rows[i][7], commas.rows[i][7]);
    }
}

TEST(Tables, KeepTwoClocksApart) {
    Case setup = caseOf("cylinder");
    setup.sweep.from = {-5.0, -1.0};
    setup.sweep.to = {5.0, 1.0};
    setup.clocks = Clocks{83.0, 1000.0, 50.0, 0.0};
    Measurement const measurement = measure(setup);
    std::ostringstream poses;
    writePoses(poses, measurement, {});
    std::ostringstream readings;
    writeReadings(readings, measurement, {});
    Table const poseTable = tableOf(poses.str());
    Table const readingTable = tableOf(readings.str());
    EXPECT_EQ("t[s]", poseTable.heading[0]);
    EXPECT_EQ("ox", poseTable.heading[1]);
    EXPECT_EQ(split("t[s],front[us],amplitude[%FSH],tof[us],backwall[%FSH]", ','), readingTable.heading);
    EXPECT_NEAR(1.0 / 83.0, poseTable.rows[1][0], 1e-7);
    EXPECT_NEAR(0.051, readingTable.rows[1][0], 1e-9);
}

TEST(Tables, RefuseAToolWithoutRotations) {
    Cell cell;
    cell.tool = {{}, Vector(0.0, 0.0, 100.0)};
    std::ostringstream output;
    EXPECT_EQ("a tool's offset needs poses with rotations, such as xyz+zyx-deg",
              messageOf([&] { writeShots(output, smallMeasurement(), cell); }));
}

} // namespace
} // namespace QELT::Simulation
