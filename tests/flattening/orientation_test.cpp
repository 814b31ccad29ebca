#include "tests/support/flattening_fixtures.h"

#include <cmath>
#include <limits>
#include <random>

namespace QELT::Testing {
namespace {

namespace Plain = PlainFlattening;
using Plain::Flat;

constexpr double quarterTurn = 1.5707963267948966;
constexpr double smallestStep = quarterTurn / 4096.0;

MeshPointer meshOf(std::vector<Flat> const& flats) {
    auto mesh = std::make_unique<TriangleMesh>();
    for (Flat const& p : flats) {
        Geometry::ThreeDimensional::TriMesh::Vertex vertex(
            Geometry::ThreeDimensional::Point(p[0], 2.0, -p[1]));
        vertex.setPoint2D({p[0], p[1]});
        mesh->addVertex(vertex);
    }
    return mesh;
}

std::vector<Flat> oriented(std::vector<Flat> const& flats) {
    MeshPointer const mesh = meshOf(flats);
    EXPECT_TRUE(mesh->transformMinBBArea2D());
    return Plain::flatsOf(plainCopyOf(*mesh));
}

std::vector<Flat> rectangle(double width, double height, double u = 0.0, double v = 0.0) {
    return {{u, v}, {u + width, v}, {u + width, v + height}, {u, v + height}};
}

std::vector<Flat> turnedBy(std::vector<Flat> flats, double angle) {
    for (Flat& p : flats) {
        p = {p[0] * std::cos(angle) - p[1] * std::sin(angle),
             p[0] * std::sin(angle) + p[1] * std::cos(angle)};
    }
    return flats;
}

struct Size {
    double width;
    double height;
    double lowU;
    double lowV;
};

Size sizeOf(std::vector<Flat> const& flats) {
    double lowU = flats[0][0];
    double lowV = flats[0][1];
    double highU = lowU;
    double highV = lowV;
    for (Flat const& p : flats) {
        lowU = std::min(lowU, p[0]);
        lowV = std::min(lowV, p[1]);
        highU = std::max(highU, p[0]);
        highV = std::max(highV, p[1]);
    }
    return {highU - lowU, highV - lowV, lowU, lowV};
}

void expectPlainResult(std::vector<Flat> const& flats) {
    MeshPointer const mesh = meshOf(flats);
    RecordingListener listener;
    mesh->setProgressListener(&listener);
    PlainMesh plain = plainCopyOf(*mesh);
    Plain::Report report;
    Plain::orient(plain, report);
    EXPECT_TRUE(mesh->transformMinBBArea2D());
    EXPECT_TRUE(samePlainMesh(plainCopyOf(*mesh), plain));
    EXPECT_EQ(listener.events, report.events);
}

TEST(Orientation, ALongRectangleAlongUStaysButForTheShiftToTheOrigin) {
    EXPECT_EQ(oriented(rectangle(8.0, 2.0, -3.0, 5.0)), rectangle(8.0, 2.0));
}

TEST(Orientation, ALongRectangleAlongVGetsAQuarterTurn) {
    // (u, v) goes to (v, -u) and then up to the origin, but for the cosine of the quarter turn, which is no
    // exact zero: 6e-17 of the other coordinate comes in.
    std::vector<Flat> const result = oriented(rectangle(2.0, 8.0));
    std::vector<Flat> const expected{{0.0, 2.0}, {0.0, 0.0}, {8.0, 0.0}, {8.0, 2.0}};
    for (std::size_t k = 0; k < 4; ++k) {
        EXPECT_NEAR(result[k][0], expected[k][0], 2e-15);
        EXPECT_NEAR(result[k][1], expected[k][1], 2e-15);
    }
}

TEST(Orientation, ASquareGetsAQuarterTurnSinceItsSidesAreEqual) {
    std::vector<Flat> const result = oriented(rectangle(4.0, 4.0));
    std::vector<Flat> const expected{{0.0, 4.0}, {0.0, 0.0}, {4.0, 0.0}, {4.0, 4.0}};
    for (std::size_t k = 0; k < 4; ++k) {
        EXPECT_NEAR(result[k][0], expected[k][0], 2e-15);
        EXPECT_NEAR(result[k][1], expected[k][1], 2e-15);
    }
}

TEST(Orientation, ASingleVertexMovesToTheOrigin) {
    EXPECT_EQ(oriented({{7.25, -3.5}}), (std::vector<Flat>{{0.0, 0.0}}));
}

TEST(Orientation, AnExactOrientationBetweenTwoStepsIsNotFound) {
    std::vector<Flat> const result = oriented(turnedBy(rectangle(8.0, 2.0), 100.5 * smallestStep));
    double const tilt = std::atan2(result[1][1] - result[0][1], result[1][0] - result[0][0]);
    EXPECT_NEAR(std::fabs(tilt), 0.5 * smallestStep, 1e-3 * smallestStep);
}

TEST(Orientation, ATurnByWholeStepsIsTakenBack) {
    for (int const step : {1, 777, 2048, 4095}) {
        Size const size = sizeOf(oriented(turnedBy(rectangle(8.0, 2.0), step * smallestStep)));
        EXPECT_NEAR(size.width, 8.0, 1e-14) << step;
        EXPECT_NEAR(size.height, 2.0, 1e-14) << step;
    }
}

TEST(Orientation, ALongSideThatPointsBeyondTheQuarterTurnComesDownAllTheSame) {
    Size const size = sizeOf(oriented(turnedBy(rectangle(8.0, 2.0), quarterTurn + 300 * smallestStep)));
    EXPECT_NEAR(size.width, 8.0, 1e-14);
    EXPECT_NEAR(size.height, 2.0, 1e-14);
}

TEST(Orientation, TheLowCornerIsExactlyTheOriginAndTheBoxLiesAlongU) {
    std::mt19937 generator(3);
    std::uniform_real_distribution<double> uniform(-5.0, 5.0);
    for (int round = 0; round < 5; ++round) {
        std::vector<Flat> flats;
        for (int k = 0; k < 20; ++k) {
            flats.push_back({uniform(generator), 0.3 * uniform(generator)});
        }
        Size const size = sizeOf(oriented(turnedBy(flats, uniform(generator))));
        EXPECT_EQ(size.lowU, 0.0);
        EXPECT_EQ(size.lowV, 0.0);
        EXPECT_GE(size.width, size.height);
    }
}

TEST(Orientation, TheFirstStepIsTakenHoweverLargeItsArea) {
    // Every box is larger than the area the search starts with.
    expectPlainResult(rectangle(8e12, 2e12, 1e12, 0.0));
    EXPECT_EQ(oriented(rectangle(8e12, 2e12)), rectangle(8e12, 2e12));
}

TEST(Orientation, ReportsItsMessageAndThenEveryPercentageOnce) {
    MeshPointer const mesh = meshOf(rectangle(3.0, 1.0));
    RecordingListener listener;
    mesh->setProgressListener(&listener);
    mesh->transformMinBBArea2D();
    std::vector<std::string> expected{"Starting C-scan orientation calculation..."};
    for (int percentage = 1; percentage <= 100; ++percentage) {
        expected.push_back(std::to_string(percentage) + "%");
    }
    EXPECT_EQ(listener.events, expected);
}

TEST(Orientation, ChangesNothingButTheFlatPlaces) {
    MeshPointer const mesh = makeMesh(makeWavyPatch(3, 3));
    for (unsigned long v = 0; v < mesh->getNumberOfVertices(); ++v) {
        auto const& p = mesh->getVertex(v).getPoint3D();
        mesh->getVertex(v).setPoint2D({p.getX() + 0.3 * p.getY(), p.getY()});
    }
    PlainMesh before = plainCopyOf(*mesh);
    mesh->transformMinBBArea2D();
    PlainMesh const after = plainCopyOf(*mesh);
    EXPECT_NE(Plain::flatsOf(after), Plain::flatsOf(before));
    Plain::setFlats(before, Plain::flatsOf(after));
    EXPECT_TRUE(samePlainMesh(after, before));
}

TEST(Orientation, GivesThePlainVersionsBitsForRandomPoints) {
    std::mt19937 generator(17);
    std::uniform_real_distribution<double> uniform(-1.0, 1.0);
    for (int round = 0; round < 12; ++round) {
        SCOPED_TRACE(round);
        std::vector<Flat> flats;
        double const scale = std::pow(10.0, round - 6);
        double const offset = round % 3 == 0 ? 1e6 * scale : 0.0;
        for (int k = 0; k < 5 + 6 * round; ++k) {
            flats.push_back({scale * uniform(generator) + offset, scale * uniform(generator) - offset});
        }
        expectPlainResult(flats);
    }
}

TEST(Orientation, GivesThePlainVersionsBitsWhereRoundingDecidesBetweenEqualAreas) {
    // Regular polygons have the same box again and again: only the last bits of the areas tell them apart,
    // and these depend on how the boxes gather their extents, hence on the place and the order of the points.
    std::mt19937 generator(29);
    std::uniform_real_distribution<double> uniform(-1.0, 1.0);
    for (int round = 0; round < 40; ++round) {
        int const corners = 4 << (round % 5);
        SCOPED_TRACE(std::to_string(corners) + " corners, round " + std::to_string(round));
        double const centreU = 2.0 + 2.0 * uniform(generator);
        double const centreV = -2.0 + 2.0 * uniform(generator);
        std::vector<Flat> flats;
        for (int k = 0; k < corners; ++k) {
            double const angle = 4.0 * quarterTurn * (k + 0.5 / 4096.0) / corners;
            flats.push_back({centreU + std::cos(angle), centreV + std::sin(angle)});
        }
        for (std::size_t k = flats.size(); k > 1; --k) {
            std::swap(flats[k - 1], flats[generator() % k]);
        }
        expectPlainResult(flats);
    }
}

TEST(Orientation, GivesThePlainVersionsBitsForDegenerateAndUndefinedPoints) {
    double const nan = std::numeric_limits<double>::quiet_NaN();
    double const inf = std::numeric_limits<double>::infinity();
    expectPlainResult({{0.0, 0.0}, {3.0, 1.0}, {6.0, 2.0}});
    expectPlainResult({{1.0, 1.0}, {1.0, 1.0}});
    expectPlainResult({{nan, 0.0}, {1.0, 2.0}, {0.0, 5.0}});
    expectPlainResult({{1.0, 2.0}, {0.0, 5.0}, {nan, nan}, {4.0, 4.0}});
    expectPlainResult({{nan, nan}});
    expectPlainResult({{1.0, 2.0}, {inf, 5.0}, {3.0, -1.0}});
    expectPlainResult({{0.0, 0.0}, {1e200, 0.0}, {0.0, 1e200}, {-1e308, 1e308}});
}

} // namespace
} // namespace QELT::Testing
