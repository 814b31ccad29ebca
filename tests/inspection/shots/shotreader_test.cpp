#include "Inspection/shots/shotreader.h"

#include "Inspection/records/numbers.h"
#include "Inspection/scanning/csvfile.h"
#include "tests/inspection/scratchdirectory.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <numbers>
#include <random>
#include <sstream>

namespace QELT::Inspection {
namespace {

using Testing::messageOf;
using Testing::ScratchDirectory;
using Testing::writeText;

TEST(ShotReader, ReadsATableOfBeamsWithValues) {
    ScratchDirectory const directory;
    writeText(directory / "s.csv", "ox,oy,oz,dx,dy,dz,amp[%FSH],remark,tof [us]\n"
                                   "1,2,3.1,0,0,-1,80,good,2.5\n4,5,6,0,-1,0,,bad,\n");
    ShotOptions options;
    options.shots = directory / "s.csv";
    options.move = Vector(0.5, 0.0, 0.0);
    ShotReader reader(options);
    ASSERT_EQ(reader.getQuantities().size(), 2U);
    EXPECT_EQ(reader.getQuantities()[0].name, "amp");
    EXPECT_EQ(reader.getQuantities()[1].unit, "us");
    EXPECT_EQ(reader.getUnusedColumns(), std::vector<std::string>{"'remark' (holds no numbers)"});
    ShotBlock block;
    ASSERT_TRUE(reader.read(block, 1));
    ASSERT_EQ(block.size(), 1U);
    EXPECT_EQ(block.beams[0].origin, Point(1.5, 2.0, 3.1));
    EXPECT_EQ(block.beams[0].direction.getdZ(), -1.0);
    EXPECT_EQ(block.values, (std::vector<double>{80.0, 2.5}));
    EXPECT_EQ(block.lines[0], 2U);
    EXPECT_TRUE(block.hasDirection[0]);
    ASSERT_TRUE(reader.read(block, 10));
    ASSERT_EQ(block.size(), 1U);
    EXPECT_TRUE(std::isnan(block.values[0]) && std::isnan(block.values[1]));
    EXPECT_FALSE(reader.read(block, 10));
    EXPECT_EQ(reader.getCounts().given, 2U);
}

/// Where the probe of a made-up scan stood and how it was turned, by matrices of its own.
using Matrix = std::array<Triple, 3>;

Matrix product(Matrix const& a, Matrix const& b) {
    Matrix c{};
    for (std::size_t i = 0; i < 3; ++i) {
        for (std::size_t j = 0; j < 3; ++j) {
            c[i][j] = a[i][0] * b[0][j] + a[i][1] * b[1][j] + a[i][2] * b[2][j];
        }
    }
    return c;
}

/// The coordinate axes that stay in the plane of the turn are `first` and `second`.
Matrix turnIn(std::size_t first, std::size_t second, double angle) {
    Matrix m{};
    m[0][0] = m[1][1] = m[2][2] = 1.0;
    m[first][first] = m[second][second] = std::cos(angle);
    m[first][second] = -std::sin(angle);
    m[second][first] = std::sin(angle);
    return m;
}

constexpr double degree = std::numbers::pi / 180.0;

struct Stand {
    Triple place{};
    Triple angles{}; ///< degrees about z, the moved y, the moved x

    /// About moving axes the later turn stands on the right.
    Matrix matrix() const {
        return product(product(turnIn(0, 1, angles[0] * degree), turnIn(2, 0, angles[1] * degree)),
                       turnIn(1, 2, angles[2] * degree));
    }

    /// The axis and the angle of the turn, from its matrix.
    Triple rotationVector() const {
        Matrix const m = matrix();
        Triple const axis{m[2][1] - m[1][2], m[0][2] - m[2][0], m[1][0] - m[0][1]};
        double const sine = 0.5 * lengthOf(axis);
        double const angle = std::atan2(sine, 0.5 * (m[0][0] + m[1][1] + m[2][2] - 1.0));
        return (0.5 * angle / sine) * axis;
    }

    std::array<double, 4> quaternion() const {
        Triple const vector = rotationVector();
        double const angle = lengthOf(vector);
        Triple const v = (std::sin(0.5 * angle) / angle) * vector;
        return {std::cos(0.5 * angle), v[0], v[1], v[2]};
    }
};

std::vector<Stand> stands() {
    std::mt19937 random(8);
    std::uniform_real_distribution<double> number(-1.0, 1.0);
    std::vector<Stand> all;
    for (int i = 0; i < 50; ++i) {
        all.push_back({{300.0 * number(random), 300.0 * number(random), 300.0 * number(random)},
                       {170.0 * number(random), 80.0 * number(random), 170.0 * number(random)}});
    }
    return all;
}

/// A table of stands, with the turn written by `turn`.
template <class Turned>
std::string tableOf(std::string const& heading, Turned turn) {
    std::string text = heading + ",amp\n";
    double amp = 0.0;
    for (Stand const& stand : stands()) {
        for (double const number : stand.place) {
            text += toExactText(number) + ',';
        }
        for (double const number : turn(stand)) {
            text += toExactText(number) + ',';
        }
        text += toExactText(amp += 1.5) + '\n';
    }
    return text;
}

/// The scan written in a dialect, read back.
ShotBlock readIn(ScratchDirectory const& directory, std::string const& text, ShotOptions options) {
    writeText(directory / "s.csv", text);
    options.shots = directory / "s.csv";
    ShotReader reader(options);
    ShotBlock block;
    reader.read(block, 1000);
    return block;
}

ShotBlock readIn(std::string const& text, ShotOptions const& options) {
    return readIn(ScratchDirectory(), text, options);
}

ShotOptions optionsOf(std::optional<PoseDialect> dialect) {
    ShotOptions options;
    options.pose.dialect = dialect;
    if (dialect) {
        options.pose.beamAxis = beamAxisIn("-z");
    }
    return options;
}

void expectSame(ShotBlock const& found, ShotBlock const& wanted) {
    ASSERT_EQ(found.size(), wanted.size());
    EXPECT_EQ(found.values, wanted.values);
    for (std::size_t i = 0; i < found.size(); ++i) {
        EXPECT_EQ(found.beams[i].origin, wanted.beams[i].origin) << i;
        EXPECT_LT((found.beams[i].direction - wanted.beams[i].direction).lSqr(), 1e-26) << i;
    }
}

/// Where the beam goes: the probe's z axis turned round.
Triple beamOf(Stand const& stand) {
    Matrix const m = stand.matrix();
    return {-m[0][2], -m[1][2], -m[2][2]};
}

TEST(ShotReader, OneScanInEveryDialectGivesTheSameBeams) {
    ShotBlock const wanted = readIn(tableOf("ox,oy,oz,dx,dy,dz", beamOf), optionsOf(std::nullopt));
    ASSERT_EQ(wanted.size(), 50U);
    auto const angles = [](Stand const& stand) { return stand.angles; };
    auto const reversed = [](Stand const& stand) {
        return Triple{stand.angles[2], stand.angles[1], stand.angles[0]};
    };
    auto const wxyz = [](Stand const& stand) { return stand.quaternion(); };
    auto const xyzw = [](Stand const& stand) {
        auto const q = stand.quaternion();
        return std::array<double, 4>{q[1], q[2], q[3], q[0]};
    };
    expectSame(readIn(tableOf("x,y,z,a,b,c", angles), optionsOf(PoseDialect::ZyxDegrees)), wanted);
    expectSame(readIn(tableOf("x,y,z,rx,ry,rz", reversed), optionsOf(PoseDialect::XyzDegrees)), wanted);
    expectSame(readIn(tableOf("x,y,z,rx,ry,rz", [](Stand const& stand) { return stand.rotationVector(); }),
                      optionsOf(PoseDialect::RotationVector)),
               wanted);
    expectSame(readIn(tableOf("x,y,z,q1,q2,q3,q4", wxyz), optionsOf(PoseDialect::QuaternionWxyz)), wanted);
    expectSame(readIn(tableOf("x,y,z,q1,q2,q3,q4", xyzw), optionsOf(PoseDialect::QuaternionXyzw)), wanted);
    ShotOptions named = optionsOf(std::nullopt);
    named.pose.beamAxis = beamAxisIn("-z");
    expectSame(readIn(tableOf("x,y,z,qx,qy,qz,qw", xyzw), named), wanted);
}

TEST(ShotReader, ToolFrameAndUnitGiveTheSameBeamsAgain) {
    ShotBlock const wanted = readIn(tableOf("ox,oy,oz,dx,dy,dz", beamOf), optionsOf(std::nullopt));
    ScratchDirectory const directory;
    Frame const cellToPart{turnOfDegrees(33.0, -12.0, 75.0), {1500.0, -300.0, 820.0}, "mm"};
    Frame const tool = toolIn("0.012,-0.03,0.21,15,40,-70"); // metres, as the poses
    writeFrame(cellToPart, directory / "f.json");
    std::string text = "x[m],y[m],z[m],qw,qx,qy,qz,amp\n";
    double amp = 0.0;
    for (Stand const& stand : stands()) {
        Frame const onPart{turnOfMatrix(stand.matrix()), stand.place, {}};
        Frame inCell = cellToPart.getInverse() * onPart;
        inCell.translation = 0.001 * inCell.translation;
        Frame const flange = inCell * tool.getInverse();
        for (double const number : {flange.translation[0], flange.translation[1], flange.translation[2],
                                    flange.turn.w, flange.turn.x, flange.turn.y, flange.turn.z}) {
            text += toExactText(number) + ',';
        }
        text += toExactText(amp += 1.5) + '\n';
    }
    ShotOptions options = optionsOf(std::nullopt);
    options.pose.partUnit = "mm";
    options.pose.tool = tool;
    options.pose.beamAxis = beamAxisIn("-z");
    options.frame = directory / "f.json";
    ShotBlock const found = readIn(directory, text, options);
    ASSERT_EQ(found.size(), wanted.size());
    for (std::size_t i = 0; i < found.size(); ++i) {
        EXPECT_LT((found.beams[i].origin - wanted.beams[i].origin).lSqr(), 1e-8) << i;
        EXPECT_LT((found.beams[i].direction - wanted.beams[i].direction).lSqr(), 1e-24) << i;
    }
    options.pose.partUnit = "in";
    EXPECT_EQ(messageOf([&] { readIn(directory, text, options); }),
              (directory / "f.json").string() +
                  ": is in 'mm', the part in 'in'; register the cell in the part's unit");
}

TEST(ShotReader, PlainBeamsAreThoseOfTheOtherReader) {
    ScratchDirectory const directory;
    std::string text = tableOf("ox,oy,oz,dx,dy,dz", beamOf);
    ShotBlock const found = readIn(text, optionsOf(std::nullopt));
    std::string plain;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        plain += line.substr(0, line.rfind(',')) + '\n';
    }
    std::istringstream table(plain);
    auto const beams = readBeams(table, "b.csv");
    ASSERT_EQ(beams.size(), found.size());
    for (std::size_t i = 0; i < beams.size(); ++i) {
        EXPECT_EQ(beams[i].origin, found.beams[i].origin);
        EXPECT_EQ((beams[i].direction - found.beams[i].direction).lSqr(), 0.0);
    }
}

TEST(ShotReader, APositionAloneHasNoDirection) {
    ShotBlock const block = readIn("x,y,z,amp\n1,2,3,4\n", {});
    ASSERT_EQ(block.size(), 1U);
    EXPECT_FALSE(block.hasDirection[0]);
    EXPECT_EQ(block.beams[0].direction.lSqr(), 0.0);
    EXPECT_EQ(block.values, std::vector<double>{4.0});
}

TEST(ShotReader, ColumnsAreToldWithoutAHeading) {
    ShotOptions options;
    EXPECT_NE(
        messageOf([&] { readIn("1,2,3,4\n5,6,7,8\n", options); }).find("tell which is which with --columns"),
        std::string::npos);
    options.columns = columnNamingIn("x,y,z,amp[%]");
    EXPECT_EQ(readIn("1,2,3,4\n5,6,7,8\n", options).values, (std::vector<double>{4.0, 8.0}));
    options.columns = columnNamingIn("amp=1,x=2,y=3,z=4");
    EXPECT_EQ(readIn("1,2,3,4\n5,6,7,8\n", options).beams[0].origin, Point(2.0, 3.0, 4.0));
    options.columns = columnNamingIn("amp=peak");
    std::string const message = messageOf([&] { readIn("x,y,z,a\n1,2,3,4\n", options); });
    EXPECT_NE(
        message.find(": there is no column 'peak', which --columns names; there are 'x', 'y', 'z' and 'a'"),
        std::string::npos)
        << message;
}

TEST(ShotReader, BadLinesAreNamedOrSkippedAndCounted) {
    ScratchDirectory const directory;
    writeText(directory / "s.csv",
              "ox,oy,oz,dx,dy,dz,amp\n1,2,3,0,0,-1,4\n1,2,3,0,0,0,4\n1,2,3\n1,2,3,0,0,-1,loud\n"
              "1,2,,0,0,-1,4\n1e39,2,3,0,0,-1,4\n1,2,3,0,0,-1,9\n");
    ShotOptions options;
    options.shots = directory / "s.csv";
    ShotBlock block;
    std::string const path = options.shots.string();
    EXPECT_EQ(messageOf([&] {
                  ShotReader reader(options);
                  reader.read(block, 10);
              }),
              path + ", line 3: the direction has no length");
    options.doSkipBad = true;
    ShotReader reader(options);
    ASSERT_TRUE(reader.read(block, 10));
    EXPECT_EQ(block.lines, (std::vector<std::uint64_t>{2, 5, 8}));
    EXPECT_EQ(block.isBad, (std::vector<bool>{false, true, false}));
    ShotCounts const& counts = reader.getCounts();
    EXPECT_EQ(counts.bad, 5U);
    EXPECT_EQ(counts.read, 7U);
    EXPECT_EQ(counts.given, 3U);
    ASSERT_EQ(counts.firstBad.size(), 5U);
    EXPECT_EQ(counts.firstBad[1].cause, "7 fields expected, 3 found");
    EXPECT_EQ(counts.firstBad[1].line, 4U);
    EXPECT_EQ(counts.firstBad[2].cause, "'loud' in column 'amp' is not a number");
    EXPECT_EQ(counts.firstBad[3].cause, "the pose is not complete");
    EXPECT_EQ(counts.firstBad[4].cause, "the origin lies too far out");
}

} // namespace
} // namespace QELT::Inspection
