#include "tests/support/flattening_fixtures.h"
#include "tests/support/watchedheap.h"

#include "Geometry/trimesh/edge.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <stdexcept>

namespace QELT::Testing {
namespace {

namespace Plain = PlainFlattening;
using Complex = std::complex<double>;
using FlatPoint = Geometry::TwoDimensional::Point<double>;

constexpr Complex firstPin{0.5, 1.0};
constexpr Complex secondPin{1.0, 0.5};

struct Loop {
    MeshPointer mesh;
    std::uint32_t size = 0;
};

Loop promoted(Soup const& soup) {
    Loop loop{makeMesh(soup), 0};
    unsigned long interior = 0;
    unsigned long mainLoop = 0;
    loop.mesh->promoteInterior(false, interior, mainLoop);
    loop.size = static_cast<std::uint32_t>(mainLoop);
    return loop;
}

std::vector<Complex> rollOut(Loop const& loop) {
    std::vector<FlatPoint> points(loop.size);
    loop.mesh->getDevelopableBoundaryConformalMap(loop.size, points.data());
    std::vector<Complex> result;
    for (FlatPoint const& p : points) {
        result.emplace_back(p.getU(), p.getV());
    }
    return result;
}

/// The loop's own places, for loops in the plane z = 0.
std::vector<Complex> placesOf(Loop const& loop) {
    std::vector<Complex> result;
    auto const base = static_cast<std::uint32_t>(loop.mesh->getNumberOfVertices()) - loop.size;
    for (std::uint32_t p = 0; p < loop.size; ++p) {
        auto const& place = loop.mesh->getVertex(base + p).getPoint3D();
        result.emplace_back(place.getX(), place.getY());
    }
    return result;
}

/// Compares places, events and output with those of the plain version, which solves with the full matrix.
void expectPlainResult(Soup const& soup, bool isListening) {
    Loop const loop = promoted(soup);
    RecordingListener listener;
    loop.mesh->setProgressListener(isListening ? &listener : nullptr);
    Plain::Report report;
    report.isListening = isListening;
    std::uint32_t iterations = 0;
    auto const expected = Plain::developableBoundary(plainCopyOf(*loop.mesh), loop.size, report, iterations);
    testing::internal::CaptureStdout();
    std::vector<Complex> const actual = rollOut(loop);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), report.output);
    EXPECT_EQ(listener.events, report.events);
    ASSERT_EQ(actual.size(), expected.size());
    for (std::size_t p = 0; p < expected.size(); ++p) {
        EXPECT_TRUE(sameBits(actual[p].real(), expected[p][0])) << p;
        EXPECT_TRUE(sameBits(actual[p].imag(), expected[p][1])) << p;
    }
}

/// The distance from the pins' places of the two positions that should be pinned.
double distanceFromPins(std::vector<Complex> const& points, std::size_t first, std::size_t second) {
    return std::abs(points.at(first) - firstPin) + std::abs(points.at(second) - secondPin);
}

// The places in the plane of a flat loop solve the equations but for rounding: coefficients carry a few
// units of 1.1e-16, and the coordinates are exact in floats where the test says so. The solution moves by
// that times the condition number of the system, which for a chain of n vertices grows like n squared:
// 1e-15 * 128^2 is 2e-11, with a factor of ten to spare.
constexpr double exactLoopTolerance = 2e-10;

TEST(DevelopableBoundary, AFlatSquareComesOutAsASquareThatTurnsLeftAtItsCorners) {
    Loop const loop = promoted(makeGridPatch(8, 8, 8.0, 8.0));
    ASSERT_EQ(loop.size, 32U);
    std::vector<Complex> const points = rollOut(loop);
    EXPECT_LT(fitSimilarity(placesOf(loop), points).relativeError, exactLoopTolerance);
    int corners = 0;
    for (std::size_t p = 0; p < 32; ++p) {
        double const turn =
            std::arg((points[(p + 2) % 32] - points[(p + 1) % 32]) / (points[(p + 1) % 32] - points[p]));
        bool const isCorner = std::fabs(turn - 1.5707963267948966) < 1e-6;
        corners += isCorner ? 1 : 0;
        EXPECT_TRUE(isCorner || std::fabs(turn) < 1e-6) << turn;
    }
    EXPECT_EQ(corners, 4);
}

TEST(DevelopableBoundary, AFlatDiscComesOutAsItselfUpToASimilarity) {
    // The corners are rounded to floats, and the polygon meant is that of the rounded places: differences of
    // neighbours are exact, so its sides and angles are known to the last bits of a double.
    Loop const loop = promoted(makeDisc(2, 128));
    ASSERT_EQ(loop.size, 128U);
    std::vector<Complex> const points = rollOut(loop);
    EXPECT_LT(fitSimilarity(placesOf(loop), points).relativeError, exactLoopTolerance);
    EXPECT_EQ(points[0], firstPin);
    EXPECT_EQ(points[1], secondPin);
}

TEST(DevelopableBoundary, ALoopOf128IsPinnedAtPositionsZeroAndOne) {
    Loop const loop = promoted(makePatchWithLoopOf(128));
    ASSERT_EQ(loop.size, 128U);
    std::vector<Complex> const points = rollOut(loop);
    EXPECT_EQ(distanceFromPins(points, 0, 1), 0.0);
    EXPECT_LT(fitSimilarity(placesOf(loop), points).relativeError, exactLoopTolerance);
}

TEST(DevelopableBoundary, ALongerLoopIsPinned128And127FromItsEnd) {
    for (std::uint32_t const n : {129U, 140U}) {
        Loop const loop = promoted(makePatchWithLoopOf(n));
        ASSERT_EQ(loop.size, n);
        std::vector<Complex> const points = rollOut(loop);
        EXPECT_EQ(distanceFromPins(points, n - 128, n - 127), 0.0) << n;
        EXPECT_LT(fitSimilarity(placesOf(loop), points).relativeError, exactLoopTolerance) << n;
    }
}

TEST(DevelopableBoundary, AShorterLoopIsPinnedAtItsFirstTwoPositions) {
    for (std::uint32_t const n : {127U, 40U, 9U, 8U}) {
        Loop const loop = promoted(makePatchWithLoopOf(n));
        ASSERT_EQ(loop.size, n);
        std::vector<Complex> const points = rollOut(loop);
        EXPECT_EQ(distanceFromPins(points, 0, 1), 0.0) << n;
        EXPECT_LT(fitSimilarity(placesOf(loop), points).relativeError, exactLoopTolerance) << n;
    }
}

TEST(DevelopableBoundary, TheSmallestLoopThatIsRolledOutHasFiveVertices) {
    Loop const loop = promoted(makeFan({{2, 0, 0}, {0.5, 2, 0}, {-2, 1, 0}, {-2, -1, 0}, {1, -2, 0}}));
    ASSERT_EQ(loop.size, 5U);
    std::vector<Complex> const points = rollOut(loop);
    EXPECT_EQ(distanceFromPins(points, 0, 1), 0.0);
    EXPECT_LT(fitSimilarity(placesOf(loop), points).relativeError, exactLoopTolerance);
}

TEST(DevelopableBoundary, ALoopOfFewerThanFiveVerticesIsRefused) {
    std::vector<Soup> const soups{Soup{{{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}, {{0, 1, 2}}}, makeGridPatch(1, 1)};
    for (Soup const& soup : soups) {
        Loop const loop = promoted(soup);
        try {
            rollOut(loop);
            FAIL() << "nothing was thrown";
        } catch (std::runtime_error const& error) {
            EXPECT_STREQ(error.what(), "Boundary flattening internal failure");
        }
    }
}

TEST(DevelopableBoundary, TheScaleIsSetByThePinsAlone) {
    double const pinnedSide = std::sqrt(0.5);
    for (double const size : {0.125, 1.0, 64.0}) {
        Loop const loop = promoted(makeGridPatch(6, 6, 6.0 * size, 6.0 * size));
        std::vector<Complex> const points = rollOut(loop);
        for (std::size_t p = 0; p < points.size(); ++p) {
            EXPECT_NEAR(std::abs(points[(p + 1) % points.size()] - points[p]), pinnedSide,
                        exactLoopTolerance);
        }
    }
}

TEST(DevelopableBoundary, ARolledUpSheetUnrollsToItsRectangle) {
    // The chords of a quarter cylinder unroll to a rectangle of 16 chords by 12 steps of height. Rounding to
    // floats moves every vertex by up to sqrt(2) * 2^-25 = 4.2e-8. Along the surface that is how far the
    // vertex is off in the plane too, with nothing to gather, since sides and angles are measured on the
    // rounded places; across the surface it bends the sheet, which counts at second order. Five times
    // that is allowed.
    Loop const loop = promoted(makeQuarterCylinder(16, 12, 1.0, 1.5));
    ASSERT_EQ(loop.size, 56U);
    double const chord = 2.0 * std::sin(1.5707963267948966 / 32.0);
    std::vector<Complex> expected;
    auto const base = static_cast<std::uint32_t>(loop.mesh->getNumberOfVertices()) - loop.size;
    for (std::uint32_t p = 0; p < loop.size; ++p) {
        auto const& place = loop.mesh->getVertex(base + p).getPoint3D();
        double const angle = std::atan2(place.getY(), place.getX());
        expected.emplace_back(std::round(angle * 32.0 / 3.141592653589793) * chord, place.getZ());
    }
    EXPECT_LT(fitSimilarity(expected, rollOut(loop)).relativeError, 2.1e-7);
}

TEST(DevelopableBoundary, SendsOnlyTheSolversMessageAndProgress) {
    Loop const loop = promoted(makeGridPatch(3, 3));
    RecordingListener listener;
    loop.mesh->setProgressListener(&listener);
    testing::internal::CaptureStdout();
    rollOut(loop);
    std::string const output = testing::internal::GetCapturedStdout();
    EXPECT_EQ(listener.events, (std::vector<std::string>{"Solving linear system..."}));
    EXPECT_TRUE(output.starts_with("\rResidual L2 norm: ")) << output;
    EXPECT_GT(iterationsIn(output), 0U);
    EXPECT_EQ(output.find('\n'), std::string::npos);
}

TEST(DevelopableBoundary, IsSilentWithoutAListener) {
    Loop const loop = promoted(makeGridPatch(3, 3));
    testing::internal::CaptureStdout();
    rollOut(loop);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

TEST(DevelopableBoundary, LeavesTheMeshAlone) {
    Loop const loop = promoted(makeRoughPatchWithLoopOf(20, 3));
    PlainMesh const before = plainCopyOf(*loop.mesh);
    rollOut(loop);
    EXPECT_TRUE(samePlainMesh(plainCopyOf(*loop.mesh), before));
}

TEST(DevelopableBoundary, GivesTheBitsOfTheFullNormalMatrixOnAllFamilies) {
    for (NamedSoup const& family : openFamilies()) {
        SCOPED_TRACE(family.name);
        expectPlainResult(family.soup, true);
    }
}

TEST(DevelopableBoundary, GivesTheBitsOfTheFullNormalMatrixForLoopsOfEverySmallSize) {
    for (std::uint32_t n = 7; n < 24; ++n) {
        SCOPED_TRACE(n);
        expectPlainResult(makeRoughPatchWithLoopOf(n, n), n % 2 == 0);
    }
    expectPlainResult(makeFan({{2, 0, 0}, {0, 2, 0.3}, {-2, 1, 0}, {-2, -1, 0.2}, {1, -2, 0}}), true);
    expectPlainResult(makeDisc(1, 6), true);
}

TEST(DevelopableBoundary, GivesTheBitsOfTheFullNormalMatrixAroundTheLengthThatMovesThePins) {
    for (std::uint32_t const n : {128U, 129U}) {
        SCOPED_TRACE(n);
        expectPlainResult(makeRoughPatchWithLoopOf(n, n), true);
    }
}

TEST(DevelopableBoundary, SidesWithoutLengthGiveUndefinedCoefficientsAndTheStartValue) {
    Soup soup = makeGridPatch(5, 4, 5.0, 4.0);
    soup.points[3] = soup.points[2];
    Loop const loop = promoted(soup);
    for (Complex const& p : rollOut(loop)) {
        EXPECT_TRUE(p == Complex(0.0, 0.0) || p == firstPin || p == secondPin);
    }
    expectPlainResult(soup, true);
}

/// The most bytes in use during one call, above those in use before it.
std::size_t peakOfRollingOut(Loop const& loop) {
    std::vector<FlatPoint> points(loop.size);
    std::size_t const before = liveBytes;
    peakBytes = liveBytes;
    loop.mesh->getDevelopableBoundaryConformalMap(loop.size, points.data());
    return peakBytes - before;
}

constexpr std::size_t mebibyte = std::size_t{1} << 20U;

TEST(DevelopableBoundary, ALoopOfFiveHundredVerticesIsSolvedInLittleMemory) {
    // A full normal matrix of 996 * 996 doubles and columns would take 11 megabytes.
    Loop const loop = promoted(makePatchWithLoopOf(500));
    ASSERT_EQ(loop.size, 500U);
    std::size_t const peak = peakOfRollingOut(loop);
    EXPECT_LT(peak, mebibyte);
    EXPECT_GT(peak, mebibyte / 64);
}

TEST(DevelopableBoundary, ALoopOfTwoThousandVerticesTakesMegabytesNotGigabytes) {
    // A full normal matrix of 3996 * 3996 doubles and columns would take 190 megabytes, and twice that while
    // its rows grow. A side without length ends the solver at once: the test is of memory, not of patience.
    Soup soup = makeStrip(999);
    soup.points[3] = soup.points[2];
    Loop const loop = promoted(soup);
    ASSERT_EQ(loop.size, 2000U);
    std::size_t const peak = peakOfRollingOut(loop);
    EXPECT_LT(peak, 4 * mebibyte);
    EXPECT_GT(peak, mebibyte / 64);
}

} // namespace
} // namespace QELT::Testing
