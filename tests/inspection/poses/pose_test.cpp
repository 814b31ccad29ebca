#include "Inspection/poses/pose.h"

#include "tests/inspection/scratchdirectory.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

namespace QELT::Inspection {
namespace {

using Testing::messageOf;

std::vector<NamedColumn> columnsOf(std::vector<std::pair<std::string, std::string>> const& namesAndUnits) {
    std::vector<NamedColumn> columns;
    for (auto const& [name, unit] : namesAndUnits) {
        columns.push_back({name, unit, columns.size(), false});
    }
    return columns;
}

std::vector<NamedColumn> columnsNamed(std::vector<std::string> const& names) {
    std::vector<std::pair<std::string, std::string>> all;
    for (std::string const& name : names) {
        all.emplace_back(name, "");
    }
    return columnsOf(all);
}

PoseFormat formOf(PoseDialect dialect) {
    PoseFormat format;
    format.dialect = dialect;
    return format;
}

void expectNear(Triple const& found, Triple const& wanted, double tolerance = 1e-12) {
    for (std::size_t i = 0; i < 3; ++i) {
        EXPECT_NEAR(found[i], wanted[i], tolerance) << "coordinate " << i;
    }
}

Triple directionOf(PoseReader& reader, std::vector<double> const& values) {
    Ray const ray = reader.rayOf(reader.read(values));
    EXPECT_EQ(reader.getFault(), "");
    return ray.direction;
}

TEST(Turn, DegreesTurnAboutTheMovingAxes) {
    expectNear(turnOfDegrees(90.0, 0.0, 0.0) * Triple{1.0, 0.0, 0.0}, {0.0, 1.0, 0.0});
    expectNear(turnOfDegrees(0.0, 90.0, 0.0) * Triple{1.0, 0.0, 0.0}, {0.0, 0.0, -1.0});
    expectNear(turnOfDegrees(0.0, 0.0, 90.0) * Triple{0.0, 1.0, 0.0}, {0.0, 0.0, 1.0});
    // z first: the probe's z axis is tilted towards the moved x axis, which is y.
    expectNear(turnOfDegrees(90.0, 90.0, 0.0) * Triple{0.0, 0.0, 1.0}, {0.0, 1.0, 0.0});
    // Then about the moved x, which points down by now: the probe's y goes where its z was.
    expectNear(turnOfDegrees(90.0, 90.0, 90.0) * Triple{0.0, 1.0, 0.0}, {0.0, 1.0, 0.0});
}

TEST(Turn, MatrixAndTurnAreTheSame) {
    for (Turn const& turn : {turnOfDegrees(10.0, 20.0, 30.0), turnOfDegrees(180.0, 0.0, 0.0),
                             turnOfDegrees(0.0, 180.0, 0.0), turnOfDegrees(0.0, 0.0, 180.0)}) {
        Turn const again = turnOfMatrix(matrixOf(turn));
        double const cosine = turn.w * again.w + turn.x * again.x + turn.y * again.y + turn.z * again.z;
        EXPECT_NEAR(std::abs(cosine), 1.0, 1e-14);
    }
}

TEST(Turn, SlerpTurnsAtConstantSpeedTheShorterWay) {
    Turn const from = turnOfDegrees(10.0, 0.0, 0.0);
    Turn to = turnOfDegrees(70.0, 0.0, 0.0);
    to = {-to.w, -to.x, -to.y, -to.z}; // the same rotation
    for (double const share : {0.0, 0.25, 0.5, 1.0}) {
        double const angle = (10.0 + 60.0 * share) * std::numbers::pi / 180.0;
        expectNear(slerp(from, to, share) * Triple{1.0, 0.0, 0.0}, {std::cos(angle), std::sin(angle), 0.0});
        expectNear(slerp(Triple{2.0, 0.0, 0.0}, Triple{0.0, 4.0, 0.0}, share),
                   {(2.0 + 2.0 * share) * std::cos(0.5 * std::numbers::pi * share),
                    (2.0 + 2.0 * share) * std::sin(0.5 * std::numbers::pi * share), 0.0});
    }
    expectNear(slerp(from, from, 0.3) * Triple{1.0, 0.0, 0.0}, from * Triple{1.0, 0.0, 0.0});
}

TEST(PoseReader, ReadsEachDialect) {
    double const half = std::sqrt(0.5);

    // The z axis of the probe ends along x in all of them: by 90 degrees about y; or about the fixed x, to
    // -y, and then about the fixed z.
    struct Sample {
        PoseDialect dialect;
        std::vector<std::string> names;
        std::vector<double> turn;
    };

    for (Sample const& sample : std::vector<Sample>{
             {PoseDialect::OriginDirection, {"ox", "oy", "oz", "dx", "dy", "dz"}, {1.0, 0.0, 0.0}},
             {PoseDialect::ZyxDegrees, {"x", "y", "z", "a", "b", "c"}, {0.0, 90.0, 0.0}},
             {PoseDialect::ZyxDegrees, {"X", "Y", "Z", "Rz", "Ry", "Rx"}, {0.0, 90.0, 0.0}},
             {PoseDialect::XyzDegrees, {"x", "y", "z", "rx", "ry", "rz"}, {0.0, 90.0, 0.0}},
             {PoseDialect::XyzDegrees, {"x", "y", "z", "W", "P", "R"}, {90.0, 0.0, 90.0}},
             {PoseDialect::RotationVector,
              {"x", "y", "z", "rx", "ry", "rz"},
              {0.0, std::numbers::pi / 2.0, 0.0}},
             {PoseDialect::QuaternionWxyz, {"x", "y", "z", "q1", "q2", "q3", "q4"}, {half, 0.0, half, 0.0}},
             {PoseDialect::QuaternionXyzw, {"x", "y", "z", "q0", "q1", "q2", "q3"}, {0.0, half, 0.0, half}},
             {PoseDialect::QuaternionXyzw, {"x", "y", "z", "qw", "qx", "qy", "qz"}, {half, 0.0, half, 0.0}},
         }) {
        PoseReader reader(columnsNamed(sample.names), formOf(sample.dialect), "p.csv");
        std::vector<double> line{1.0, 2.0, 3.0};
        line.insert(line.end(), sample.turn.begin(), sample.turn.end());
        std::vector<double> values;
        for (std::size_t const column : reader.getColumns()) {
            values.push_back(line[column]);
        }
        expectNear(directionOf(reader, values), {1.0, 0.0, 0.0});
        expectNear(reader.rayOf(reader.read(values)).origin, {1.0, 2.0, 3.0});
    }
}

TEST(PoseReader, RecognisesWhatTheNamesLeaveClear) {
    auto const dialectOf = [](std::vector<std::string> const& names) {
        return PoseReader(columnsNamed(names), {}, "p.csv").getDialect();
    };
    EXPECT_EQ(dialectOf({"ox", "oy", "oz", "dx", "dy", "dz", "amp"}), PoseDialect::OriginDirection);
    EXPECT_EQ(dialectOf({"X", "Y", "Z", "Dir X", "Dir_Y", "dir.z"}), PoseDialect::OriginDirection);
    EXPECT_EQ(dialectOf({"x", "y", "z", "qx", "qy", "qz", "qw"}), PoseDialect::QuaternionWxyz);
    EXPECT_EQ(dialectOf({"x", "y", "z", "amp"}), PoseDialect::Position);
}

TEST(PoseReader, RefusesWhatIsOpenWithTheRemedy) {
    auto const complaint = [](std::vector<NamedColumn> const& columns, PoseFormat const& format) {
        return messageOf([&] { PoseReader(columns, format, "p.csv"); });
    };
    EXPECT_EQ(
        complaint(columnsNamed({"x", "y", "z", "q1", "q2", "q3", "q4"}), {}),
        "p.csv: its columns number the parts of quaternions, which leaves open where the real part is; give "
        "--pose quat-wxyz or --pose quat-xyzw");
    std::string const open = "p.csv: its angles can mean different turns; give --pose xyz+zyx-deg, --pose "
                             "xyz+xyz-deg or --pose rotvec";
    EXPECT_EQ(complaint(columnsNamed({"x", "y", "z", "a", "b", "c"}), {}), open);
    EXPECT_EQ(complaint(columnsNamed({"x", "y", "z", "rx", "ry", "rz"}), {}), open);
    EXPECT_EQ(complaint(columnsNamed({"x", "y", "amp"}), {}),
              "p.csv: no column 'z' for poses xyz; there are 'x', 'y' and 'amp', tell which is which with "
              "--columns");
    EXPECT_EQ(complaint({}, {}),
              "p.csv: no column 'x', 'y' and 'z' for poses xyz; no column has a name, tell "
              "which is which with --columns");
    EXPECT_EQ(
        complaint(columnsNamed({"x", "y", "z"}), formOf(PoseDialect::QuaternionWxyz)),
        "p.csv: no column 'qw', 'qx', 'qy' and 'qz' for poses quat-wxyz; there are 'x', 'y' and 'z', tell "
        "which is which with --columns");
    PoseFormat tool = formOf(PoseDialect::Position);
    tool.tool = toolIn("0,0,100,0,0,0");
    EXPECT_EQ(complaint(columnsNamed({"x", "y", "z"}), tool),
              "p.csv: poses xyz tell no turn of the flange, so --tool has no meaning");
    EXPECT_EQ(
        messageOf([] { poseDialectIn("euler"); }),
        "'euler' is no form of poses; there are 'origin+direction', 'xyz', 'xyz+zyx-deg', 'xyz+xyz-deg', "
        "'rotvec', 'quat-wxyz' and 'quat-xyzw'");
}

TEST(PoseReader, AQuaternionNeedsNearlyUnitLength) {
    PoseReader reader(columnsNamed({"x", "y", "z", "qw", "qx", "qy", "qz"}), {}, "p.csv");
    reader.read(std::vector<double>{0.0, 0.0, 0.0, 1.0009, 0.0, 0.0, 0.0});
    EXPECT_EQ(reader.getFault(), "");
    reader.read(std::vector<double>{0.0, 0.0, 0.0, 0.0, 0.0, 1.002, 0.0});
    EXPECT_EQ(reader.getFault(), "the quaternion has length 1.002 in place of 1");
    reader.read(std::vector<double>{0.0, 0.0, 0.0, std::nan(""), 0.0, 1.0, 0.0});
    EXPECT_EQ(reader.getFault(), "the pose is not complete");
}

TEST(PoseReader, TheToolMovesTheProbeOutOfTheFlange) {
    PoseFormat format = formOf(PoseDialect::ZyxDegrees);
    format.tool = toolIn("10,0,100,0,90,0");
    format.beamAxis = beamAxisIn("-z");
    PoseReader reader(columnsNamed({"x", "y", "z", "a", "b", "c"}), format, "p.csv");
    // The flange is turned by 90 degrees about z: its x is y. The probe's z is the flange's x.
    Ray const ray = reader.rayOf(reader.read(std::vector<double>{1.0, 2.0, 3.0, 90.0, 0.0, 0.0}));
    expectNear(ray.origin, {1.0, 12.0, 103.0});
    expectNear(ray.direction, {0.0, -1.0, 0.0});
    EXPECT_EQ(messageOf([] { toolIn("1,2,3"); }), "'1,2,3' is not of the form X,Y,Z,A,B,C");
    EXPECT_EQ(messageOf([] { beamAxisIn("up"); }), "'up' is no axis; write x, y, z, -x, -y, -z or X,Y,Z");
    expectNear(beamAxisIn("0,3,4"), {0.0, 0.6, 0.8});
}

TEST(PoseReader, UnitsOfPositionsBecomeThePartsOwn) {
    auto const scaleOf = [](char const* heading, std::optional<std::string> const& told, char const* part) {
        PoseFormat format;
        format.unit = told;
        format.partUnit = part;
        return PoseReader(columnsOf({{"x", heading}, {"y", heading}, {"z", ""}}), format, "p.csv").getScale();
    };
    EXPECT_EQ(scaleOf("", std::nullopt, "mm"), 1.0);
    EXPECT_EQ(scaleOf("m", std::nullopt, "mm"), 1000.0);
    EXPECT_EQ(scaleOf("m", std::nullopt, ""), 1.0);
    EXPECT_EQ(scaleOf("", "m", "mm"), 1000.0);
    EXPECT_EQ(scaleOf("in", "inch", "millimetre"), 25.4);
    EXPECT_EQ(scaleOf("", "25.4", ""), 25.4);
    auto const complaint = [&](char const* heading, std::optional<std::string> const& told,
                               char const* part) { return messageOf([&] { scaleOf(heading, told, part); }); };
    EXPECT_EQ(complaint("mm", "m", "mm"), "p.csv: its heading says 'mm' and --pose-unit 'm'");
    EXPECT_EQ(complaint("", "m", ""),
              "p.csv: its positions are in 'm', and the part's unit is not known; give "
              "--pose-unit as the number of the part's units that one of them is");
    EXPECT_EQ(complaint("", "ell", "mm"),
              "p.csv: 'ell' is no unit of length known here; give --pose-unit mm, m, "
              "in, or how many of the part's unit it is");
    EXPECT_EQ(complaint("", "-2", "mm"), "--pose-unit: '-2' is not above zero");
    EXPECT_EQ(messageOf([] {
                  PoseReader(columnsOf({{"x", "mm"}, {"y", "m"}, {"z", ""}}), {}, "p.csv");
              }),
              "p.csv: 'm' of column 'y' and 'mm' of the one before it are not one unit");
}

TEST(PoseReader, UnitsOfAnglesAreThoseOfTheDialect) {
    auto const columns =
        columnsOf({{"x", ""}, {"y", ""}, {"z", ""}, {"rx", "deg"}, {"ry", "deg"}, {"rz", "deg"}});
    PoseReader vector(columns, formOf(PoseDialect::RotationVector), "p.csv");
    expectNear(directionOf(vector, {0.0, 0.0, 0.0, 0.0, 90.0, 0.0}), {1.0, 0.0, 0.0});
    auto const radians = columnsOf({{"x", ""}, {"y", ""}, {"z", ""}, {"rx", "rad"}, {"ry", ""}, {"rz", ""}});
    EXPECT_EQ(messageOf([&] { PoseReader(radians, formOf(PoseDialect::XyzDegrees), "p.csv"); }),
              "p.csv: its heading says 'rad' and --pose xyz+xyz-deg wants degrees");
}

} // namespace
} // namespace QELT::Inspection
