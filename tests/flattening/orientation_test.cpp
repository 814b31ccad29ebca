#include "tests/support/flattening_fixtures.h"

#include <algorithm>
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

/// Points in rows, as vertices of a surface often come, off their lattice by so much.
std::vector<Flat> lattice(std::mt19937& generator, int rows, int columns, double jitter) {
    std::uniform_real_distribution<double> uniform(-jitter, jitter);
    std::vector<Flat> flats;
    for (int row = 0; row < rows; ++row) {
        for (int column = 0; column < columns; ++column) {
            flats.push_back({column + uniform(generator), row + uniform(generator)});
        }
    }
    return flats;
}

TEST(Orientation, GivesThePlainVersionsBitsForManyPoints) {
    std::mt19937 generator(31);
    std::uniform_real_distribution<double> uniform(-1.0, 1.0);
    for (int round = 0; round < 12; ++round) {
        SCOPED_TRACE(round);
        std::vector<Flat> flats = lattice(generator, 12 + round, 40 - round, round % 3 == 0 ? 0.0 : 0.3);
        if (round % 4 == 1) { // a disc
            flats.clear();
            while (flats.size() < 900) {
                Flat const p{uniform(generator), uniform(generator)};
                if (p[0] * p[0] + p[1] * p[1] < 1.0) {
                    flats.push_back(p);
                }
            }
        }
        if (round % 2 == 1) {
            std::reverse(flats.begin(), flats.end());
        }
        expectPlainResult(round % 4 == 2 ? flats : turnedBy(flats, 3.0 * uniform(generator)));
    }
}

TEST(Orientation, GivesThePlainVersionsBitsWhereAreasAreEqualButForRounding) {
    // What looks the same after a quarter turn, or in a mirror, has the same areas at two angles.
    std::mt19937 generator(37);
    std::uniform_real_distribution<double> uniform(-1.0, 1.0);
    for (int round = 0; round < 60; ++round) {
        SCOPED_TRACE(round);
        std::vector<Flat> flats;
        double const shift = round % 5 == 0 ? 1000.0 : 0.0;
        for (int k = 0; k < 2 + round % 7; ++k) {
            double const u = uniform(generator);
            double const v = uniform(generator);
            flats.push_back({u + shift, v});
            flats.push_back(round % 2 == 0 ? Flat{v + shift, u} : Flat{-u + shift, v});
            if (round % 3 == 0) {
                flats.push_back({-v + shift, -u});
                flats.push_back({-u + shift, -v});
            }
        }
        std::shuffle(flats.begin(), flats.end(), generator);
        expectPlainResult(flats);
    }
    for (int const step : {0, 1, 500, 2047, 2048, 4095}) {
        expectPlainResult(turnedBy(rectangle(8.0, 2.0, -4.0, -1.0), (step + 0.5) * smallestStep));
        expectPlainResult(turnedBy(rectangle(4.0, 4.0, 0.1, 0.2), step * smallestStep));
    }
}

TEST(Orientation, GivesThePlainVersionsBitsWhereRoundingGathersInTheBoxes) {
    // A regular polygon whose upper half comes first, and whose lower half grows by small steps: each moves
    // the low ends of a box, whose high ends drift away from the points that they stand for.
    for (int round = 0; round < 12; ++round) {
        int const corners = 16 + 8 * (round % 4);
        int const growth = 20 + 10 * round;
        SCOPED_TRACE(std::to_string(corners) + " corners, round " + std::to_string(round));
        std::vector<Flat> flats;
        for (int ring = -1; ring < growth; ++ring) {
            double const radius = ring < 0 ? 1.0 : 0.5 + 0.5 * (ring + 1) / growth;
            for (int k = 0; k < corners / 2; ++k) {
                double const angle = 4.0 * quarterTurn * (k + 0.5 + (ring < 0 ? 0 : corners / 2)) / corners;
                flats.push_back({0.3 + radius * std::cos(angle), -0.2 + radius * std::sin(angle)});
            }
        }
        expectPlainResult(flats);
    }
}

TEST(Orientation, GivesThePlainVersionsBitsForPointsOnFewLines) {
    std::mt19937 generator(41);
    for (int round = 0; round < 40; ++round) {
        SCOPED_TRACE(round);
        int const lines = 1 + round % 4;
        double const size = round % 2 == 0 ? 1.0 : 0.1;
        std::vector<Flat> flats;
        for (int k = 0; k < 30; ++k) {
            double const along = size * static_cast<double>(generator() % 9);
            double const across = size * static_cast<double>(generator() % static_cast<unsigned>(lines));
            flats.push_back(round % 3 == 0 ? Flat{across, along} : Flat{along, across});
        }
        expectPlainResult(round % 5 == 0 ? turnedBy(flats, 0.3) : flats);
    }
}

TEST(Orientation, GivesThePlainVersionsBitsForNumbersOfAnySize) {
    std::mt19937 generator(43);
    std::uniform_real_distribution<double> uniform(-1.0, 1.0);
    for (double const size :
         {0.0, 5e-324, 1e-310, 1e-200, 0.9e-100, 1.1e-100, 1e-20, 1e20, 0.9e100, 1.1e100, 1e155, 1e300}) {
        SCOPED_TRACE(size);
        std::vector<Flat> flats;
        for (int k = 0; k < 40; ++k) {
            flats.push_back({size * uniform(generator), 0.4 * size * uniform(generator)});
        }
        expectPlainResult(flats);
        flats[7] = {1e-3 * size, 1.0};
        expectPlainResult(flats);
    }
}

} // namespace
} // namespace QELT::Testing
