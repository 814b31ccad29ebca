#include "Inspection/maps/flattening.h"

#include "Inspection/import/objfile.h"
#include "tests/inspection/sampleparts.h"
#include "tests/support/capturedoutput.h"
#include "tests/support/recordinglistener.h"
#include "tests/support/throwinglistener.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <complex>
#include <iostream>
#include <map>
#include <numbers>
#include <numeric>
#include <random>
#include <stdexcept>
#include <utility>
#include <vector>

namespace QELT::Inspection {
namespace {

using namespace Testing;
using QELT::Testing::RecordingListener;

void loadPatch(Mesh& mesh) {
    ScratchDirectory const directory;
    writeText(directory / "patch.obj", patchMesh());
    loadObj(mesh, directory / "patch.obj");
}

TEST(Flatten, reportsTheSolvesOfBothModes) {
    Mesh pinned;
    loadPatch(pinned);
    Mesh rolledOut;
    loadPatch(rolledOut);
    auto const gradients = SolverKind::ConjugateGradients;
    FlatteningReport const one = flatten(pinned, {FlatteningMode::Pinned, gradients}, nullptr);
    FlatteningReport const both = flatten(rolledOut, {FlatteningMode::Developable, gradients}, nullptr);
    EXPECT_FALSE(one.solves.boundary);
    ASSERT_TRUE(one.solves.inside && both.solves.boundary && both.solves.inside);
    for (SolveReport const& solve : {*one.solves.inside, *both.solves.boundary, *both.solves.inside}) {
        EXPECT_TRUE(solve.hasConverged);
        EXPECT_GT(solve.iterations, 1U);
        EXPECT_LE(solve.residual, 1e-20);
    }
}

TEST(Flatten, leavesTheStandardOutputAsItWas) {
    for (SolverKind const solver : {SolverKind::ConjugateGradients, SolverKind::Direct}) {
        Mesh mesh;
        loadPatch(mesh);
        RecordingListener listener;
        QELT::Testing::CapturedOutput const output;
        flatten(mesh, {FlatteningMode::Pinned, solver}, &listener);
        EXPECT_EQ(output.getText(), "");
        std::cout << "findings";
        EXPECT_EQ(output.getText(), "findings");
        std::cout.setstate(std::ios_base::failbit);
        flatten(mesh, {FlatteningMode::Pinned, solver}, nullptr);
        EXPECT_TRUE(std::cout.fail()) << "a failure from before is not forgotten";
        std::cout.clear();
    }
}

TEST(Flatten, leavesTheListenerAttached) {
    Mesh mesh;
    loadPatch(mesh);
    RecordingListener listener;
    flatten(mesh, FlatteningMode::Pinned, &listener);
    ASSERT_FALSE(listener.messages.empty());
    EXPECT_EQ(listener.messages.front(), "Promoting interior...");
    listener.messages.clear();
    flatten(mesh, FlatteningMode::Pinned, nullptr);
    EXPECT_TRUE(listener.messages.empty());
}

using QELT::Geometry::ThreeDimensional::TriMesh::Face;
using Complex = std::complex<double>;

constexpr std::array<FlatteningMode, 2> bothModes{FlatteningMode::Pinned, FlatteningMode::Developable};

struct Part {
    std::vector<Point> points;
    std::vector<Face> faces;

    void construct(Mesh& mesh) const { mesh.construct(points, faces); }
};

/// columns * rows squares, the points of which `place` gives, less those with a column and a row in the hole.
template <class PlaceOf>
Part makePart(std::uint32_t columns, std::uint32_t rows, PlaceOf placeOf, std::uint32_t holeFrom = 0,
              std::uint32_t holeTo = 0) {
    Part part;
    std::vector<std::uint32_t> numbers;
    auto const isInHole = [&](std::uint32_t v) { return v >= holeFrom && v < holeTo; };
    auto const isInsideHole = [&](std::uint32_t v) { return v > holeFrom && v < holeTo; };
    for (std::uint32_t j = 0; j <= rows; ++j) {
        for (std::uint32_t i = 0; i <= columns; ++i) {
            numbers.push_back(static_cast<std::uint32_t>(part.points.size()));
            if (!(isInsideHole(i) && isInsideHole(j))) {
                part.points.push_back(placeOf(i, j));
            }
        }
    }
    auto const number = [&](std::uint32_t i, std::uint32_t j) { return numbers[j * (columns + 1) + i]; };
    for (std::uint32_t j = 0; j < rows; ++j) {
        for (std::uint32_t i = 0; i < columns; ++i) {
            if (!(isInHole(i) && isInHole(j))) {
                part.faces.push_back({number(i, j), number(i + 1, j), number(i + 1, j + 1)});
                part.faces.push_back({number(i, j), number(i + 1, j + 1), number(i, j + 1)});
            }
        }
    }
    return part;
}

/// A shallow cap over a rectangle; its middle lies aside.
Point capPlace(std::uint32_t i, std::uint32_t j) {
    double const x = 1.1 * i;
    double const y = 0.9 * j;
    return {x, y, std::sqrt(2500.0 - (x - 14.0) * (x - 14.0) - (y - 9.0) * (y - 9.0))};
}

/// A tube around z, of which 36 columns are all but a slit.
Point tubePlace(std::uint32_t i, std::uint32_t j) {
    double const angle = 2.0 * std::numbers::pi * i / 36.0;
    double const radius = 8.0 + 0.02 * j + 0.3 * std::sin(2.0 * angle);
    return {radius * std::cos(angle), radius * std::sin(angle), 1.2 * j + 0.01 * i};
}

/// The parts by which the solvers are compared.
std::vector<Part> variedParts() {
    std::mt19937 generator(5);
    auto const noise = [&] { return 0.3 * (static_cast<double>(generator()) / 4294967296.0 - 0.5); };
    auto const noisyPlace = [&](std::uint32_t i, std::uint32_t j) {
        return Point(i + noise(), j + noise(), 2.0 * std::sin(0.2 * i) + noise());
    };
    return {makePart(31, 23, capPlace), makePart(31, 23, capPlace, 7, 15), makePart(36, 20, tubePlace),
            makePart(29, 25, noisyPlace), makePart(40, 40, noisyPlace, 10, 20)};
}

std::vector<Complex> flatPlacesOf(Mesh const& mesh) {
    std::vector<Complex> places;
    for (unsigned long v = 0; v < mesh.getNumberOfVertices(); ++v) {
        auto const& place = mesh.getVertex(v).getPoint2D();
        places.emplace_back(place.getU(), place.getV());
    }
    return places;
}

/// How far places lie apart once a similarity has brought the first ones as near as it can, as a part of the
/// extent of the second.
double distanceUpToSimilarity(std::vector<Complex> const& from, std::vector<Complex> const& to) {
    auto const count = static_cast<double>(from.size());
    Complex const fromMean = std::accumulate(from.begin(), from.end(), Complex()) / count;
    Complex const toMean = std::accumulate(to.begin(), to.end(), Complex()) / count;
    Complex product;
    double square = 0.0;
    for (std::size_t i = 0; i < from.size(); ++i) {
        product += (to[i] - toMean) * std::conj(from[i] - fromMean);
        square += std::norm(from[i] - fromMean);
    }
    double distance = 0.0;
    double extent = 0.0;
    for (std::size_t i = 0; i < from.size(); ++i) {
        Complex const moved = product / square * (from[i] - fromMean) + toMean;
        distance = std::max(distance, std::abs(moved - to[i]));
        extent = std::max(extent, std::abs(to[i] - toMean));
    }
    return distance / extent;
}

TEST(Flatten, TheMapsOfBothSolversAgree) {
    for (Part const& part : variedParts()) {
        for (FlatteningMode const mode : bothModes) {
            Mesh direct;
            Mesh iterated;
            part.construct(direct);
            part.construct(iterated);
            FlatteningReport const report = flatten(direct, mode, nullptr);
            FlatteningReport const other = flatten(iterated, {mode, SolverKind::ConjugateGradients}, nullptr);
            EXPECT_EQ(report.doubt, "");
            EXPECT_EQ(other.doubt, "");
            EXPECT_LT(distanceUpToSimilarity(flatPlacesOf(direct), flatPlacesOf(iterated)), 1e-6);
        }
    }
}

TEST(Flatten, TheDirectSolverReportsWhatItFound) {
    for (FlatteningMode const mode : bothModes) {
        Mesh mesh;
        loadPatch(mesh);
        FlatteningReport const report = flatten(mesh, mode, nullptr);
        EXPECT_EQ(report.solver, SolverKind::Direct);
        bool const isRolledOut = mode == FlatteningMode::Developable;
        EXPECT_EQ(report.boundary.has_value(), isRolledOut);
        EXPECT_EQ(report.solves.boundary.has_value(), isRolledOut);
        ASSERT_TRUE(report.inside && report.solves.inside);
        EXPECT_EQ(report.inside->state, DirectSolveState::Solved);
        EXPECT_TRUE(report.solves.inside->hasConverged);
        EXPECT_LT(relativeResidualOf(*report.solves.inside), 1e-13);
        EXPECT_LT(report.inside->uncertainty, 1e-9);
        EXPECT_TRUE(report.isTrustworthy());
    }
}

TEST(Flatten, ByTheDirectSolverGivesTheSameBitsAgain) {
    Mesh meshes[2];
    for (Mesh& mesh : meshes) {
        variedParts()[4].construct(mesh);
        flatten(mesh, FlatteningMode::Developable, nullptr);
    }
    EXPECT_EQ(flatPlacesOf(meshes[0]), flatPlacesOf(meshes[1]));
}

TEST(Flatten, ATriangleWithoutAreaIsAReasonForDoubt) {
    Part part = makePart(12, 10, capPlace);
    part.points[60] = part.points[59];
    for (SolverKind const solver : {SolverKind::Direct, SolverKind::ConjugateGradients}) {
        Mesh mesh;
        part.construct(mesh);
        FlatteningReport const report = flatten(mesh, {FlatteningMode::Pinned, solver}, nullptr);
        EXPECT_FALSE(report.isTrustworthy());
        EXPECT_NE(report.doubt.find("repair"), std::string::npos) << report.doubt;
        EXPECT_EQ(report.doubt.find('\n'), std::string::npos);
        EXPECT_FALSE(report.solves.inside->hasConverged);
    }
}

TEST(Flatten, ARimWithAnEdgeWithoutLengthIsAReasonForDoubt) {
    Part part = makePart(12, 10, capPlace);
    part.points[6] = part.points[5];
    Mesh mesh;
    part.construct(mesh);
    FlatteningReport const report = flatten(mesh, FlatteningMode::Developable, nullptr);
    ASSERT_TRUE(report.boundary);
    EXPECT_EQ(report.boundary->state, DirectSolveState::NotFinite);
    EXPECT_EQ(report.doubt.find("the rim"), 0U) << report.doubt;
}

TEST(Flatten, SliversThatCostTooManyDigitsAreAReasonForDoubt) {
    // The residual is the rounding's; only the uncertainty shows it.
    Part const part = makePart(8, 8, [](std::uint32_t i, std::uint32_t j) {
        return Point(1048576.0 * i, j, 0.25 * std::sin(0.5 * (i + j)));
    });
    Mesh mesh;
    part.construct(mesh);
    FlatteningReport const report = flatten(mesh, FlatteningMode::Pinned, nullptr);
    EXPECT_EQ(report.inside->state, DirectSolveState::Inaccurate);
    EXPECT_LT(report.inside->residual, 1e-15);
    EXPECT_GT(report.inside->uncertainty, 1e-6);
    EXPECT_FALSE(report.solves.inside->hasConverged);
    EXPECT_NE(report.doubt.find("slivers"), std::string::npos) << report.doubt;
}

TEST(SolveReports, AreJudgedByTheirRightSide) {
    EXPECT_EQ(relativeResidualOf({262144, 3e-5, false, 2.0}), 1.5e-5);
    EXPECT_TRUE(std::isnan(relativeResidualOf({0, std::nan(""), false, 2.0})));
    EXPECT_EQ(relativeResidualOf({0, 0.0, true, 0.0}), 0.0);
}

class NoSolver : public QELT::LinearAlgebra::LinearSolver {
public:
    QELT::LinearAlgebra::LinearSolution solveLeastSquares(QELT::LinearAlgebra::SparseMatrix const&,
                                                          QELT::LinearAlgebra::Vector const&,
                                                          ProgressListener* const&) override {
        throw std::logic_error("asked");
    }

    QELT::LinearAlgebra::LinearSolution solveSymmetric(QELT::LinearAlgebra::SparseMatrix const&,
                                                       QELT::LinearAlgebra::Vector const&,
                                                       QELT::LinearAlgebra::Vector const*,
                                                       ProgressListener* const&) override {
        throw std::logic_error("asked");
    }
};

TEST(Flatten, LeavesTheMeshItsOwnSolverAlsoAfterAStop) {
    for (SolverKind const solver : {SolverKind::Direct, SolverKind::ConjugateGradients}) {
        Mesh mesh;
        loadPatch(mesh);
        NoSolver own;
        mesh.setLinearSolver(&own);
        flatten(mesh, {FlatteningMode::Developable, solver}, nullptr);
        EXPECT_EQ(mesh.getLinearSolver(), &own);
        QELT::Testing::ThrowingListener listener(3);
        EXPECT_THROW(flatten(mesh, {FlatteningMode::Developable, solver}, &listener), std::runtime_error);
        EXPECT_EQ(mesh.getLinearSolver(), &own);
    }
}

TEST(Flatten, AListenerStopsTheDirectSolverAtEachOfItsCalls) {
    Part const part = makePart(12, 10, capPlace);
    bool isDone = false;
    std::size_t patience = 0;
    for (; !isDone; patience += 9) {
        Mesh mesh;
        part.construct(mesh);
        QELT::Testing::ThrowingListener listener(patience);
        isDone = true;
        try {
            flatten(mesh, FlatteningMode::Developable, &listener);
        } catch (std::runtime_error const&) {
            isDone = false;
        }
        EXPECT_TRUE(flatten(mesh, FlatteningMode::Developable, nullptr).isTrustworthy()) << patience;
    }
    EXPECT_GT(patience, 200U);
}

/// A ribbon that is wound up around the axis z, with straight lines along it: it can be rolled out without a
/// change of any length, also as the floats have it. Squares keep their right angles, as both ends of a line
/// have the same x and y.
Part makeRibbon(std::uint32_t columns, std::uint32_t rows) {
    return makePart(columns, rows, [](std::uint32_t i, std::uint32_t j) {
        double const angle = 0.003 * i;
        double const radius = 100.0 + 0.004 * i;
        return Point(radius * std::cos(angle), radius * std::sin(angle), 4.0 * j);
    });
}

/// Where the vertices of a ribbon lie once it is rolled out.
std::vector<Complex> rolledOutPlacesOf(Mesh const& mesh, Part const& ribbon, std::uint32_t columns) {
    std::map<std::pair<double, double>, double> ways;
    double way = 0.0;
    for (std::uint32_t i = 0; i <= columns; ++i) {
        Point const& p = ribbon.points[i];
        if (i > 0) {
            Point const& before = ribbon.points[i - 1];
            way += std::hypot(double(p.getX()) - double(before.getX()),
                              double(p.getY()) - double(before.getY()));
        }
        ways[{p.getX(), p.getY()}] = way;
    }
    std::vector<Complex> places;
    for (unsigned long v = 0; v < mesh.getNumberOfVertices(); ++v) {
        Point const& p = mesh.getVertex(v).getPoint3D();
        places.emplace_back(ways.at({p.getX(), p.getY()}), p.getZ());
    }
    return places;
}

/// Faces in a ribbon whose normals point outward map to their mirror image of (way, height); either will do.
double distanceFromRectangle(Mesh const& mesh, std::vector<Complex> places) {
    double const asItIs = distanceUpToSimilarity(places, flatPlacesOf(mesh));
    std::transform(places.begin(), places.end(), places.begin(), [](Complex p) { return std::conj(p); });
    return std::min(asItIs, distanceUpToSimilarity(places, flatPlacesOf(mesh)));
}

TEST(Flatten, ARibbonOfTenThousandRimEdgesRollsOutToItsRectangle) {
    for (std::uint32_t const rows : {1U, 4U}) {
        std::uint32_t const columns = 5000 - rows;
        Part const ribbon = makeRibbon(columns, rows);
        Mesh mesh;
        ribbon.construct(mesh);
        FlatteningReport const report = flatten(mesh, FlatteningMode::Developable, nullptr);
        EXPECT_EQ(report.doubt, "");
        EXPECT_LT(distanceFromRectangle(mesh, rolledOutPlacesOf(mesh, ribbon, columns)), 1e-6) << rows;
    }
}

TEST(Flatten, ARimOfFourThousandEdgesRollsOutToItsRectangle) {
    // Conjugate gradients meet the limit of their iterations here.
    Part const ribbon = makeRibbon(1980, 20);
    Mesh mesh;
    ribbon.construct(mesh);
    FlatteningReport const report = flatten(mesh, FlatteningMode::Developable, nullptr);
    EXPECT_EQ(report.doubt, "");
    EXPECT_EQ(report.boundary->state, DirectSolveState::Solved);
    EXPECT_LT(distanceFromRectangle(mesh, rolledOutPlacesOf(mesh, ribbon, 1980)), 1e-7);
}

} // namespace
} // namespace QELT::Inspection
