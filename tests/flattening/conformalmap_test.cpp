#include "tests/support/flattening_fixtures.h"

#include "Geometry/linearalgebra/solvelistener.h"
#include "Geometry/linearalgebra/sparsematrix.h"
#include "Geometry/trimesh/triangle.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <functional>
#include <limits>
#include <optional>
#include <stdexcept>

namespace QELT::Testing {
namespace {

namespace Plain = PlainFlattening;
using Complex = std::complex<double>;
using Geometry::ThreeDimensional::TriMesh::Triangle;
using Messages = std::vector<std::string>;

std::vector<Triangle*> trianglesOf(TriangleMesh const& mesh) {
    std::vector<Triangle*> list;
    std::vector<Triangle*>::iterator first;
    std::vector<Triangle*>::iterator last;
    mesh.getTriangles(list, first, last);
    return {first, last};
}

/// What an application sees of one call.
struct MapRun {
    std::vector<std::string> messages;
    std::vector<std::string> events;
    std::string output;
    std::vector<double> solution;
    PlainMesh mesh;

    bool isConverged() const { return output.ends_with('\n'); }
};

MapRun runMap(TriangleMesh& mesh, bool pinCorners, std::vector<double> const* start = nullptr,
              bool isListening = true) {
    MapRun result;
    RecordingListener listener;
    mesh.setProgressListener(isListening ? &listener : nullptr);
    LinearAlgebra::Vector solution = start != nullptr ? vectorOf(*start) : LinearAlgebra::Vector(0UL);
    testing::internal::CaptureStdout();
    mesh.conformalMap(pinCorners, &solution, start != nullptr);
    result.output = testing::internal::GetCapturedStdout();
    mesh.setProgressListener(nullptr);
    result.messages = listener.messages;
    result.events = listener.events;
    result.solution = valuesOf(solution);
    result.mesh = plainCopyOf(mesh);
    return result;
}

void expectPlainResult(TriangleMesh& mesh, bool pinCorners, std::vector<double> const* start = nullptr,
                       bool isListening = true) {
    Plain::Outcome const expected = Plain::conformalMap(plainCopyOf(mesh), pinCorners, start, isListening);
    MapRun const actual = runMap(mesh, pinCorners, start, isListening);
    EXPECT_EQ(actual.events, expected.report.events);
    EXPECT_EQ(actual.output, expected.report.output);
    EXPECT_TRUE(sameVector(actual.solution, expected.solution));
    EXPECT_TRUE(samePlainMesh(actual.mesh, expected.mesh));
}

std::vector<Complex> flatPlacesOf(TriangleMesh const& mesh) {
    std::vector<Complex> result;
    for (unsigned long v = 0; v < mesh.getNumberOfVertices(); ++v) {
        result.emplace_back(mesh.getVertex(v).getPoint2D().getU(), mesh.getVertex(v).getPoint2D().getV());
    }
    return result;
}

/// The places in space, with two coordinates of choice as a complex number.
std::vector<Complex> placesOf(TriangleMesh const& mesh,
                              std::function<Complex(double, double, double)> const& project) {
    std::vector<Complex> result;
    for (unsigned long v = 0; v < mesh.getNumberOfVertices(); ++v) {
        auto const& p = mesh.getVertex(v).getPoint3D();
        result.push_back(project(p.getX(), p.getY(), p.getZ()));
    }
    return result;
}

Complex fromAbove(double x, double y, double) {
    return {x, y};
}

Soup makeDegenerateFacePatch() {
    Soup soup = makeGridPatch(4, 4, 4.0, 4.0);
    // An inner vertex on top of its neighbour: two faces without area.
    soup.points[12] = soup.points[11];
    return soup;
}

TEST(ConformalMap, TheTrialFlattensAHexagonalConeOfSevenVerticesAndSixTriangles) {
    TriangleMesh mesh;
    RecordingListener listener;
    mesh.setProgressListener(&listener);
    testing::internal::CaptureStdout();
    mesh.conformalMapTest();
    EXPECT_TRUE(testing::internal::GetCapturedStdout().ends_with('\n'));
    EXPECT_EQ(mesh.getNumberOfVertices(), 7U);
    EXPECT_EQ(trianglesOf(mesh).size(), 6U);
    EXPECT_EQ(listener.messages,
              (Messages{"Promoting interior...", "Constructing order 10 Laplace-Beltrami matrix...",
                        "Solving linear system...", "Starting C-scan orientation calculation..."}));
    std::vector<std::string> const assembly{"1%", "21%", "41%", "61%", "81%"};
    EXPECT_EQ(std::vector<std::string>(listener.events.begin() + 2, listener.events.begin() + 7), assembly);
}

TEST(ConformalMap, TheTrialsMeshIsTheConeAndItsMapThePlainVersions) {
    // A hexagonal cone of unit radius and height: the apex first, the ring at height 1.
    Soup soup;
    soup.points.push_back({0.0, 0.0, 0.0});
    for (int i = 0; i < 6; ++i) {
        double const t = i * 6.283185307179586 / 6.0;
        soup.points.push_back({std::cos(t), std::sin(t), 1.0});
    }
    soup.faces = {{0, 1, 2}, {0, 2, 3}, {0, 3, 4}, {0, 4, 5}, {0, 5, 6}, {0, 6, 1}};
    Plain::Outcome const expected = Plain::conformalMap(plainCopyOf(*buildMesh(soup)), true, nullptr, false);
    TriangleMesh mesh;
    testing::internal::CaptureStdout();
    mesh.conformalMapTest();
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "\n");
    PlainMesh const actual = plainCopyOf(mesh);
    ASSERT_EQ(actual.vertices.size(), 7U);
    for (std::size_t v = 0; v < 7; ++v) {
        EXPECT_TRUE(sameNumbers("point3D", v, Plain::placeOf(actual, v), Plain::placeOf(expected.mesh, v)));
        EXPECT_TRUE(sameNumbers("point2D", v, Plain::flatOf(actual, v), Plain::flatOf(expected.mesh, v)));
    }
}

TEST(ConformalMap, PinnedModeReportsItsStagesInOrder) {
    MeshPointer const mesh = makeMesh(makeWavyPatch(5, 4));
    MapRun const result = runMap(*mesh, true);
    EXPECT_EQ(result.messages,
              (Messages{"Promoting interior...", "Constructing order 56 Laplace-Beltrami matrix...",
                        "Solving linear system...", "Starting C-scan orientation calculation..."}));
}

TEST(ConformalMap, DevelopableModeReportsItsStagesInOrder) {
    MeshPointer const mesh = makeMesh(makeWavyPatch(5, 4));
    MapRun const result = runMap(*mesh, false);
    EXPECT_EQ(result.messages,
              (Messages{"Promoting interior...", "Least-squares developable boundary unwrapping...",
                        "Solving linear system...", "Constructing order 24 Laplace-Beltrami matrix...",
                        "Solving linear system...", "Starting C-scan orientation calculation..."}));
}

TEST(ConformalMap, AssemblyReportsEveryPercentageAtMostOnce) {
    MeshPointer const mesh = makeMesh(makeWavyPatch(16, 14));
    MapRun const result = runMap(*mesh, true);
    auto const start = std::find(result.events.begin(), result.events.end(),
                                 "Constructing order 506 Laplace-Beltrami matrix...");
    auto const end = std::find(result.events.begin(), result.events.end(), "Solving linear system...");
    ASSERT_NE(start, result.events.end());
    ASSERT_EQ(end - start, 101);
    for (int percentage = 1; percentage <= 100; ++percentage) {
        EXPECT_EQ(*(start + percentage), std::to_string(percentage) + "%");
    }
}

TEST(ConformalMap, IsSilentButForTheFinalNewlineWithoutAListener) {
    for (bool const pinCorners : {false, true}) {
        MeshPointer const mesh = makeMesh(makeWavyPatch(4, 4));
        EXPECT_EQ(runMap(*mesh, pinCorners, nullptr, false).output, "\n");
    }
}

TEST(ConformalMap, TheTerminatorIsNeverAsked) {
    class Terminator : public ProgressTerminator {
    public:
        int asked = 0;

        bool getIsTerminationRequested() override {
            ++asked;
            return true;
        }
    };

    MeshPointer const mesh = makeMesh(makeWavyPatch(4, 4));
    MeshPointer const twin = makeMesh(makeWavyPatch(4, 4));
    twin->fileName = mesh->fileName;
    Terminator terminator;
    mesh->setProgressTerminator(&terminator);
    MapRun const result = runMap(*mesh, false);
    EXPECT_EQ(terminator.asked, 0);
    EXPECT_TRUE(samePlainMesh(result.mesh, runMap(*twin, false).mesh));
}

// A flat mesh solves its own system: the map is a similarity of the mesh but for rounding. The coordinates
// are exact in floats and every cotangent is a small whole number or 0 to the last bit or two, so that only
// the solver's own rounding counts, about 2.2e-16 times the condition number of the system. That grows with
// the square of the vertices on a side, with two pins faster by the logarithm of that: some hundreds for the
// meshes here, and a factor of ten stands for the logarithm and the sum over the iterations.
constexpr double flatMapTolerance = 1e-12;

TEST(ConformalMap, AFlatRectangleMapsToItselfUpToASimilarityInPinnedMode) {
    MeshPointer const mesh = makeMesh(makeGridPatch(12, 8, 12.0, 8.0));
    EXPECT_TRUE(runMap(*mesh, true).isConverged());
    SimilarityFit const fit = fitSimilarity(placesOf(*mesh, fromAbove), flatPlacesOf(*mesh));
    EXPECT_LT(fit.relativeError, flatMapTolerance);
}

TEST(ConformalMap, AFlatRectangleMapsToItselfUpToASimilarityInDevelopableMode) {
    MeshPointer const mesh = makeMesh(makeGridPatch(12, 8, 12.0, 8.0));
    EXPECT_TRUE(runMap(*mesh, false).isConverged());
    SimilarityFit const fit = fitSimilarity(placesOf(*mesh, fromAbove), flatPlacesOf(*mesh));
    EXPECT_LT(fit.relativeError, 1e-11);
}

TEST(ConformalMap, AFlatRectangleWithAHoleMapsToItselfInBothModes) {
    Soup soup = makePatchWithHole(7);
    for (auto& p : soup.points) {
        p = {std::round(p[0] * 7.0), std::round(p[1] * 7.0), 0.0};
    }
    for (bool const pinCorners : {false, true}) {
        MeshPointer const mesh = makeMesh(soup);
        EXPECT_TRUE(runMap(*mesh, pinCorners).isConverged());
        SimilarityFit const fit = fitSimilarity(placesOf(*mesh, fromAbove), flatPlacesOf(*mesh));
        EXPECT_LT(fit.relativeError, 1e-11);
    }
}

TEST(ConformalMap, TheOrientationOverwritesThePinsPlaces) {
    MeshPointer const mesh = makeMesh(makeGridPatch(6, 4, 3.0, 2.0));
    runMap(*mesh, true);
    double low = 1.0;
    for (Complex const& p : flatPlacesOf(*mesh)) {
        EXPECT_GT(std::abs(p - Complex(0.5, 1.0)) + std::abs(p - Complex(1.0, 0.5)), 1e-3);
        low = std::min({low, p.real(), p.imag()});
    }
    EXPECT_EQ(low, 0.0);
    // The pins keep their distance.
    unsigned long const total = mesh->getNumberOfVertices();
    EXPECT_NEAR(std::abs(flatPlacesOf(*mesh)[total - 1] - flatPlacesOf(*mesh)[total - 2]), std::sqrt(0.5),
                1e-15);
}

TEST(ConformalMap, InDevelopableModeTheVerticesOfAHoleAreUnknowns) {
    MeshPointer const mesh = makeMesh(makePatchWithHole(7));
    MapRun const result = runMap(*mesh, false);
    // 64 - 4 vertices, 28 of them on the main loop.
    EXPECT_EQ(result.solution.size(), 2U * 32U);
    EXPECT_EQ(result.messages[3], "Constructing order 64 Laplace-Beltrami matrix...");
}

TEST(ConformalMap, AMeshOfMainLoopVerticesAloneHasAnEmptySystem) {
    MeshPointer const mesh = makeMesh(makeStrip(6));
    MapRun const result = runMap(*mesh, false);
    EXPECT_EQ(result.messages[3], "Constructing order 0 Laplace-Beltrami matrix...");
    EXPECT_TRUE(result.isConverged());
    EXPECT_TRUE(result.solution.empty());
    SimilarityFit const fit = fitSimilarity(placesOf(*mesh, fromAbove), flatPlacesOf(*mesh));
    EXPECT_LT(fit.relativeError, 1e-11);
}

TEST(ConformalMap, TheSolutionIsHandedOutWhetherOrNotItWasTheStart) {
    MeshPointer const mesh = makeMesh(makeWavyPatch(5, 5));
    LinearAlgebra::Vector solution(3UL);
    solution.allOnes();
    testing::internal::CaptureStdout();
    mesh->conformalMap(true, &solution, false);
    testing::internal::GetCapturedStdout();
    EXPECT_EQ(solution.getNumberOfValues(), 2U * 34U);
    MeshPointer const twin = makeMesh(makeWavyPatch(5, 5));
    Plain::Outcome const expected = Plain::conformalMap(plainCopyOf(*twin), true, nullptr, false);
    EXPECT_TRUE(sameVector(valuesOf(solution), expected.solution));
}

TEST(ConformalMap, WithoutASolutionToStartFromTheSolverStartsAtZero) {
    MeshPointer const mesh = makeMesh(makeWavyPatch(5, 5));
    MeshPointer const twin = makeMesh(makeWavyPatch(5, 5));
    twin->fileName = mesh->fileName;
    testing::internal::CaptureStdout();
    mesh->conformalMap(true, nullptr, true);
    twin->conformalMap(true, nullptr, false);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "\n\n");
    EXPECT_TRUE(samePlainMesh(plainCopyOf(*mesh), plainCopyOf(*twin)));
}

TEST(ConformalMap, AWarmStartFromTheSameMeshsSolutionTakesFewerIterations) {
    MapRun const cold = runMap(*makeMesh(makeWavyPatch(8, 8)), true);
    MeshPointer const mesh = makeMesh(makeWavyPatch(8, 8));
    MapRun const warm = runMap(*mesh, true, &cold.solution);
    EXPECT_GT(iterationsIn(cold.output), 0U);
    EXPECT_LT(iterationsIn(warm.output), iterationsIn(cold.output));
    for (std::size_t k = 0; k < cold.solution.size(); ++k) {
        EXPECT_NEAR(warm.solution[k], cold.solution[k], 1e-12);
    }
}

TEST(ConformalMap, AStartFitsTheSameFileLoadedAgainButNotAMeshThatAMapHasRenumbered) {
    MeshPointer const mesh = makeMesh(makeWavyPatch(8, 8));
    MapRun const cold = runMap(*mesh, true);
    MapRun const loadedAgain = runMap(*makeMesh(makeWavyPatch(8, 8)), true, &cold.solution);
    MapRun const mappedAgain = runMap(*mesh, true, &cold.solution);
    EXPECT_LT(2 * iterationsIn(loadedAgain.output), iterationsIn(cold.output));
    EXPECT_GT(iterationsIn(mappedAgain.output), 2 * iterationsIn(loadedAgain.output));
}

TEST(ConformalMap, PrintsTheProgressLinesOfEachSolveAndANewline) {
    for (bool const pinCorners : {false, true}) {
        std::string const output = runMap(*makeMesh(makeWavyPatch(5, 5)), pinCorners).output;
        std::size_t const firsts = static_cast<std::size_t>(pinCorners ? 1 : 2);
        std::string const label = "Iterations to Max. 262144: 1.  ";
        std::size_t count = 0;
        for (std::size_t at = output.find(label); at != std::string::npos; at = output.find(label, at + 1)) {
            ++count;
        }
        EXPECT_EQ(count, firsts) << output;
        EXPECT_EQ(output.front(), '\r');
        EXPECT_EQ(output.find('\n'), output.size() - 1);
    }
}

TEST(ConformalMap, AStartThatSolvesTheSystemTakesNoIteration) {
    // Without unknowns any start is the solution; with one unknown vertex amid a regular fan the sum is
    // exact.
    Soup soup = makeGridPatch(2, 2, 2.0, 2.0);
    MeshPointer const mesh = makeMesh(soup);
    std::vector<double> const cold = runMap(*mesh, false).solution;
    ASSERT_EQ(cold.size(), 2U);
    MeshPointer const twin = makeMesh(soup);
    std::vector<double> const start = cold;
    Plain::Outcome const expected = Plain::conformalMap(plainCopyOf(*twin), false, &start, true);
    MapRun const warm = runMap(*twin, false, &start);
    EXPECT_EQ(warm.output, expected.report.output);
    EXPECT_LE(expected.iterations.back(), 2U);
}

TEST(ConformalMap, AStartOfTheWrongLengthIsThrownByPointerAfterTheRenumbering) {
    for (bool const pinCorners : {false, true}) {
        Soup const soup = withShuffledVertices(makeWavyPatch(5, 4), 2);
        MeshPointer const mesh = makeMesh(soup);
        PlainMesh expected = plainCopyOf(*mesh);
        Plain::promoteInterior(expected, pinCorners);
        LinearAlgebra::Vector solution(5UL);
        solution.allOnes();
        testing::internal::CaptureStdout();
        try {
            mesh->conformalMap(pinCorners, &solution, true);
            FAIL() << "nothing was thrown";
        } catch (LinearAlgebra::SparseMatrix::SparseMatrixInvalidDimensionsException* error) {
            delete error;
        }
        EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
        EXPECT_EQ(valuesOf(solution), std::vector<double>(5, 1.0));
        EXPECT_TRUE(samePlainMesh(plainCopyOf(*mesh), expected));
    }
}

TEST(ConformalMap, ADegenerateFaceEndsTheSolveAtOnceWithANotice) {
    MeshPointer const mesh = makeMesh(makeDegenerateFacePatch());
    MapRun const result = runMap(*mesh, true);
    EXPECT_EQ(result.output, "\nLinear system solve failure - carrying on...");
    EXPECT_EQ(result.solution, std::vector<double>(2 * 23, 0.0));
}

TEST(ConformalMap, ADegenerateFaceKeepsTheStartValue) {
    MeshPointer const mesh = makeMesh(makeDegenerateFacePatch());
    std::vector<double> start(2 * 23);
    for (std::size_t k = 0; k < start.size(); ++k) {
        start[k] = 0.01 * static_cast<double>(k);
    }
    EXPECT_EQ(runMap(*mesh, true, &start).solution, start);
}

TEST(ConformalMap, ADegenerateFaceGivesThePlainVersionsResult) {
    for (bool const pinCorners : {false, true}) {
        MeshPointer const mesh = makeMesh(makeDegenerateFacePatch());
        expectPlainResult(*mesh, pinCorners);
        MeshPointer const zeroAreas = makeMesh(makePatchWithZeroAreaFaces(6));
        expectPlainResult(*zeroAreas, pinCorners);
    }
}

/// Keeps the last report of each solve that it hears of.
class SolveRecorder : public LinearAlgebra::SolveListener {
public:
    std::vector<LinearAlgebra::SolveReport> solves;

    void setSolveProgress(LinearAlgebra::SolveReport const& report) override {
        if (report.iterations == 1) {
            solves.emplace_back();
        }
        solves.back() = report;
    }

    void setMessage(char const* /* text */) override {}

    void setPercentage(unsigned long /* percent */) override {}

    void reserved3() override {}

    void reserved4() override {}
};

void expectReport(std::optional<LinearAlgebra::SolveReport> const& actual,
                  LinearAlgebra::SolveReport const& expected) {
    ASSERT_TRUE(actual);
    EXPECT_EQ(actual->iterations, expected.iterations);
    EXPECT_EQ(actual->residual, expected.residual);
    EXPECT_EQ(actual->hasConverged, expected.hasConverged);
}

TEST(ConformalMap, TheReportTellsTheSolvesOfTheLastMap) {
    MeshPointer const mesh = makeMesh(makePatchWithHole(7));
    EXPECT_FALSE(mesh->getConformalMapReport().boundary);
    EXPECT_FALSE(mesh->getConformalMapReport().inside);
    SolveRecorder recorder;
    mesh->setProgressListener(&recorder);
    testing::internal::CaptureStdout();
    mesh->conformalMap(false, nullptr, false);
    ASSERT_EQ(recorder.solves.size(), 2U);
    expectReport(mesh->getConformalMapReport().boundary, recorder.solves[0]);
    expectReport(mesh->getConformalMapReport().inside, recorder.solves[1]);
    EXPECT_NE(recorder.solves[0].iterations, recorder.solves[1].iterations);
    EXPECT_TRUE(recorder.solves[1].hasConverged);
    mesh->conformalMap(true, nullptr, false);
    testing::internal::GetCapturedStdout();
    ASSERT_EQ(recorder.solves.size(), 3U);
    EXPECT_FALSE(mesh->getConformalMapReport().boundary) << "nothing was rolled out";
    expectReport(mesh->getConformalMapReport().inside, recorder.solves[2]);
}

TEST(ConformalMap, TheReportTellsASolveThatBrokeDown) {
    MeshPointer const mesh = makeMesh(makeDegenerateFacePatch());
    testing::internal::CaptureStdout();
    mesh->conformalMap(true, nullptr, false);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "\nLinear system solve failure - carrying on...");
    auto const& inside = mesh->getConformalMapReport().inside;
    ASSERT_TRUE(inside);
    EXPECT_TRUE(std::isnan(inside->residual));
    EXPECT_FALSE(inside->hasConverged);
}

TEST(ConformalMap, TheReportHoldsOnlyTheSolvesThatARefusedMapCameTo) {
    MeshPointer const mesh = makeMesh(makeWavyPatch(5, 4));
    testing::internal::CaptureStdout();
    mesh->conformalMap(false, nullptr, false);
    LinearAlgebra::Vector tooShort(5UL);
    tooShort.allOnes();
    try {
        mesh->conformalMap(false, &tooShort, true);
        ADD_FAILURE() << "nothing was thrown";
    } catch (LinearAlgebra::SparseMatrix::SparseMatrixInvalidDimensionsException* error) {
        delete error;
    }
    EXPECT_TRUE(mesh->getConformalMapReport().boundary);
    EXPECT_FALSE(mesh->getConformalMapReport().inside);
    Soup const closed = makeSphere(1);
    std::vector<Geometry::ThreeDimensional::Point> points;
    for (auto const& [x, y, z] : closed.points) {
        points.emplace_back(x, y, z);
    }
    mesh->construct(points, closed.faces);
    EXPECT_THROW(mesh->conformalMap(false, nullptr, false), std::runtime_error);
    EXPECT_FALSE(mesh->getConformalMapReport().boundary);
    testing::internal::GetCapturedStdout();
}

TEST(ConformalMap, AMeshWithoutABoundaryIsRefusedUnchanged) {
    for (bool const pinCorners : {false, true}) {
        MeshPointer const mesh = makeMesh(makeSphere(1));
        PlainMesh const before = plainCopyOf(*mesh);
        try {
            mesh->conformalMap(pinCorners, nullptr, false);
            FAIL() << "nothing was thrown";
        } catch (std::runtime_error const& error) {
            EXPECT_STREQ(error.what(), "Mesh has no boundary");
        }
        EXPECT_TRUE(samePlainMesh(plainCopyOf(*mesh), before));
    }
}

TEST(ConformalMap, ABoundaryThatMeetsItselfIsRefusedUnchanged) {
    Soup const soup{{{0, 0, 0}, {2, 1, 0}, {0, 2, 0}, {2, 3, 0}, {3, 0, 1}},
                    {{0, 1, 2}, {2, 1, 3}, {3, 1, 4}, {4, 0, 3}}};
    for (bool const pinCorners : {false, true}) {
        MeshPointer const mesh = buildMesh(soup);
        PlainMesh const before = plainCopyOf(*mesh);
        try {
            mesh->conformalMap(pinCorners, nullptr, false);
            FAIL() << "nothing was thrown";
        } catch (std::runtime_error const& error) {
            EXPECT_STREQ(error.what(), "Mesh boundary is not manifold");
        }
        EXPECT_TRUE(samePlainMesh(plainCopyOf(*mesh), before));
    }
}

TEST(ConformalMap, AMainLoopTooShortToRollOutIsRefusedButCanBePinned) {
    Soup const soup = makeGridPatch(1, 1);
    MeshPointer const mesh = makeMesh(soup);
    RecordingListener listener;
    mesh->setProgressListener(&listener);
    try {
        mesh->conformalMap(false, nullptr, false);
        FAIL() << "nothing was thrown";
    } catch (std::runtime_error const& error) {
        EXPECT_STREQ(error.what(), "Boundary flattening internal failure");
    }
    EXPECT_EQ(listener.messages,
              (Messages{"Promoting interior...", "Least-squares developable boundary unwrapping..."}));
    expectPlainResult(*makeMesh(soup), true);
}

TEST(ConformalMap, TheSmallestMeshIsOneTriangle) {
    MeshPointer const mesh = makeMesh(Soup{{{0, 0, 0}, {4, 0, 0}, {0, 3, 0}}, {{0, 1, 2}}});
    expectPlainResult(*mesh, true);
    EXPECT_LT(fitSimilarity(placesOf(*mesh, fromAbove), flatPlacesOf(*mesh)).relativeError, 1e-14);
}

TEST(ConformalMap, TheCutNamesTheSamePointsAfterwards) {
    for (bool const pinCorners : {false, true}) {
        Soup const soup = withShuffledVertices(makeWavyPatch(5, 5), 21);
        MeshPointer const mesh = makeMesh(soup);
        giveCut(*mesh, {5, 30}, {7, 11});
        runMap(*mesh, pinCorners);
        auto const& cut = mesh->getCutEdgeIndices();
        auto const isAt = [&](std::uint32_t index, std::size_t old) {
            return mesh->getVertex(index).getPoint3D() ==
                   Geometry::ThreeDimensional::Point(soup.points[old].data());
        };
        EXPECT_TRUE(isAt(cut.first[0].index, 5) && isAt(cut.first[1].index, 30));
        EXPECT_TRUE(isAt(cut.second[0].index, 7) && isAt(cut.second[1].index, 11));
    }
}

TEST(ConformalMap, GivesThePlainVersionsBitsOnAllFamiliesPinned) {
    for (NamedSoup const& family : openFamilies()) {
        SCOPED_TRACE(family.name);
        MeshPointer const mesh = makeMesh(family.soup);
        giveCut(*mesh, {0, 3, 2, 1}, {4, 1, 1, 0});
        expectPlainResult(*mesh, true);
    }
}

TEST(ConformalMap, GivesThePlainVersionsBitsOnAllFamiliesDevelopable) {
    for (NamedSoup const& family : openFamilies()) {
        SCOPED_TRACE(family.name);
        MeshPointer const mesh = makeMesh(family.soup);
        giveCut(*mesh, {0, 3, 2, 1}, {4, 1, 1, 0});
        expectPlainResult(*mesh, false);
    }
}

TEST(ConformalMap, GivesThePlainVersionsBitsForALoopOf128) {
    MeshPointer const mesh = makeMesh(withShuffledVertices(makeRoughPatchWithLoopOf(128, 1), 2));
    expectPlainResult(*mesh, false);
}

TEST(ConformalMap, GivesThePlainVersionsBitsFromAWarmStart) {
    for (bool const pinCorners : {false, true}) {
        SCOPED_TRACE(pinCorners);
        Soup const soup = withNoise(makePatchWithHole(6), 0.01, 9);
        std::vector<double> start = runMap(*makeMesh(soup), pinCorners).solution;
        MeshPointer const mesh = makeMesh(soup);
        expectPlainResult(*mesh, pinCorners, &start);
        for (double& value : start) {
            value = value * 1.25 - 3.0;
        }
        MeshPointer const second = makeMesh(soup);
        expectPlainResult(*second, pinCorners, &start, false);
    }
}

TEST(ConformalMap, GivesThePlainVersionsBitsWhenCalledAgain) {
    MeshPointer const mesh = makeMesh(withShuffledVertices(makePatchWithManyHoles(7), 33));
    for (bool const pinCorners : {true, true, false, true}) {
        expectPlainResult(*mesh, pinCorners);
    }
}

TEST(ConformalMap, AQuarterCylinderUnrollsToItsRectangle) {
    // The chords of the cylinder unroll to a rectangle, but for the rounding of the vertices to floats, which
    // moves each by up to 4.2e-8; inner vertices are means of their neighbours, so nothing gathers. Five
    // times that is allowed.
    MeshPointer const mesh = makeMesh(makeQuarterCylinder(16, 12, 1.0, 1.5));
    EXPECT_TRUE(runMap(*mesh, false).isConverged());
    double const chord = 2.0 * std::sin(3.141592653589793 / 64.0);
    auto const unrolled = [&](double x, double y, double z) {
        return Complex(std::round(std::atan2(y, x) * 32.0 / 3.141592653589793) * chord, z);
    };
    SimilarityFit const fit = fitSimilarity(placesOf(*mesh, unrolled), flatPlacesOf(*mesh));
    EXPECT_LT(fit.relativeError, 2.1e-7);
    // The sheet is 16 chords, 1.570, wide and 1.5 high, so its width lies along u. The chord is shorter than
    // its arc by a factor 1 - (pi / 64)^2 / 6, so the true cylinder's rectangle differs by 4.02e-4.
    double width = 0.0;
    double height = 0.0;
    for (Complex const& p : flatPlacesOf(*mesh)) {
        width = std::max(width, p.real());
        height = std::max(height, p.imag());
    }
    EXPECT_NEAR(width / height, 16.0 * chord / 1.5, 1e-6);
    EXPECT_NEAR(width / height, 1.5707963267948966 / 1.5, 4.3e-4);
}

double angleAt(Complex const& at, Complex const& next, Complex const& previous) {
    return std::arg((previous - at) / (next - at));
}

struct AngleErrors {
    double rms = 0.0;
    double greatest = 0.0;
};

/// How much the angles of the flat triangles differ from those on the surface.
AngleErrors angleErrorsOf(TriangleMesh const& mesh) {
    std::vector<Complex> const flat = flatPlacesOf(mesh);
    double sum = 0.0;
    double greatest = 0.0;
    std::size_t count = 0;
    for (Triangle const* triangle : trianglesOf(mesh)) {
        for (unsigned long k = 0; k < 3; ++k) {
            unsigned long const v[3]{triangle->getAdjacentVertexIndex(k),
                                     triangle->getAdjacentVertexIndex(k + 1),
                                     triangle->getAdjacentVertexIndex(k + 2)};
            auto const next = mesh.getVertex(v[1]).getPoint3D() - mesh.getVertex(v[0]).getPoint3D();
            auto const previous = mesh.getVertex(v[2]).getPoint3D() - mesh.getVertex(v[0]).getPoint3D();
            double const onSurface = std::acos(next.dot(previous) / std::sqrt(next.lSqr() * previous.lSqr()));
            double const error = std::fabs(angleAt(flat[v[0]], flat[v[1]], flat[v[2]]) - onSurface);
            sum += error * error;
            greatest = std::max(greatest, error);
            ++count;
        }
    }
    return {std::sqrt(sum / static_cast<double>(count)), greatest};
}

/// A square of n x n facets lifted to the unit sphere, over [-0.5, 0.5] in both directions.
Soup makeSphericalSquare(std::uint32_t n) {
    Soup soup = makeGridPatch(n, n);
    for (auto& p : soup.points) {
        p = {p[0] - 0.5, p[1] - 0.5, 0.0};
        p[2] = std::sqrt(1.0 - p[0] * p[0] - p[1] * p[1]);
    }
    return soup;
}

TEST(ConformalMap, TheAngleErrorOfASmoothCapFallsInProportionToItsFacets) {
    // A conformal map of the sphere scales by a smooth factor. Over a facet of size h the factor changes by
    // the order of h, and so do the angles of the flat facet, which has one scale for each of its sides:
    // halving the facets halves the error.
    std::vector<AngleErrors> errors;
    for (std::uint32_t const n : {5U, 10U, 20U}) {
        MeshPointer const mesh = makeMesh(makeSphericalSquare(n));
        EXPECT_TRUE(runMap(*mesh, true).isConverged());
        errors.push_back(angleErrorsOf(*mesh));
    }
    for (std::size_t k = 0; k + 1 < errors.size(); ++k) {
        double const order = std::log2(errors[k].rms / errors[k + 1].rms);
        EXPECT_GT(order, 0.85);
        EXPECT_LT(order, 1.15);
        EXPECT_LT(errors[k + 1].greatest, errors[k].greatest);
    }
    EXPECT_LT(errors.back().greatest, 0.01);
}

} // namespace
} // namespace QELT::Testing
