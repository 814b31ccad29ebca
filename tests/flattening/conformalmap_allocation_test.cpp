#include "tests/support/capturedoutput.h"
#include "tests/support/flattening_fixtures.h"
#include "tests/support/meshuse.h"
#include "tests/support/throwinglistener.h"
#include "tests/support/watchedheap.h"

#include <algorithm>
#include <set>
#include <stdexcept>
#include <string>

// What a mesh is after memory ran out, or a listener threw, while it was flattened.

namespace QELT::Testing {
namespace {

using Place = std::array<double, 3>;

/// How many numbers of allocations a test has the patience for.
constexpr std::size_t sample = 150;

Place placeOf(TriangleMesh const& mesh, std::uint32_t v) {
    auto const& point = mesh.getVertex(v).getPoint3D();
    return {point.getX(), point.getY(), point.getZ()};
}

/// What no numbering changes: where the vertices and the triangles lie, and the points along the cut.
struct Shape {
    explicit Shape(TriangleMesh const& mesh) {
        for (std::uint32_t v = 0; v < mesh.getNumberOfVertices(); ++v) {
            vertices.insert(placeOf(mesh, v));
        }
        std::vector<Geometry::ThreeDimensional::TriMesh::Triangle*> list;
        decltype(list)::iterator first;
        decltype(list)::iterator last;
        mesh.getTriangles(list, first, last);
        std::for_each(first, last, [&](auto const* triangle) {
            for (std::uint32_t const v : triangle->vertexIndices) {
                corners.push_back(placeOf(mesh, v));
            }
        });
        for (std::size_t k = 0; k < mesh.getCutEdgeIndices().first.size(); ++k) {
            lips.push_back(placeOf(mesh, mesh.getCutEdgeIndices().first[k].index));
            lips.push_back(placeOf(mesh, mesh.getCutEdgeIndices().second[k].index));
        }
    }

    bool operator==(Shape const& other) const = default;

    std::multiset<Place> vertices;
    std::vector<Place> corners;
    std::vector<Place> lips;
};

void expectFailuresToLeaveAWholeMesh(bool doPinExtremeCorners) {
    CapturedOutput const quiet;
    Shape const shape(*makeCutTube());
    MeshPointer const flat = makeCutTube();
    flat->conformalMap(doPinExtremeCorners, nullptr, false);
    std::size_t const failures = failEachAllocation(
        sample, makeCutTube,
        [&](TriangleMesh& mesh) { mesh.conformalMap(doPinExtremeCorners, nullptr, false); },
        [&](TriangleMesh& mesh, std::size_t given) {
            SCOPED_TRACE(given);
            EXPECT_TRUE(Shape(mesh) == shape);
            mesh.conformalMap(doPinExtremeCorners, nullptr, false);
            EXPECT_TRUE(Shape(mesh) == shape);
            expectUsable(mesh);
        });
    EXPECT_GT(failures, sample / 2);
}

TEST(ConformalMapAllocation, AFailureWithPinnedCornersLeavesAWholeMesh) {
    expectFailuresToLeaveAWholeMesh(true);
}

TEST(ConformalMapAllocation, AFailureWithTheBoundaryRolledOutLeavesAWholeMesh) {
    expectFailuresToLeaveAWholeMesh(false);
}

TEST(ConformalMapAllocation, AFailureBeforeTheRenumberingLeavesTheMeshAsItWas) {
    // The renumbering is the last step of this.
    auto const promote = [](TriangleMesh& mesh) {
        unsigned long interior = 0;
        unsigned long boundary = 0;
        mesh.promoteInterior(true, interior, boundary);
    };
    auto const before = plainCopyOf(*makeCutTube());
    std::size_t const failures =
        failEachAllocation(sample, makeCutTube, promote, [&](TriangleMesh& mesh, std::size_t given) {
            EXPECT_TRUE(samePlainMesh(plainCopyOf(mesh), before)) << given;
        });
    EXPECT_GT(failures, 10U);
}

TEST(ConformalMapAllocation, AListenerThatThrowsLeavesAWholeMesh) {
    CapturedOutput const quiet;
    Shape const shape(*makeCutTube());
    bool isDone = false;
    std::size_t patience = 0;
    for (; !isDone; patience += 7) {
        SCOPED_TRACE(patience);
        MeshPointer const mesh = makeCutTube();
        ThrowingListener listener(patience);
        mesh->setProgressListener(&listener);
        isDone = true;
        try {
            mesh->conformalMap(true, nullptr, false);
        } catch (std::runtime_error const&) {
            isDone = false;
        }
        mesh->setProgressListener(nullptr);
        EXPECT_TRUE(Shape(*mesh) == shape);
        expectUsable(*mesh);
    }
    EXPECT_GT(patience, 100U);
}

TEST(ConformalMapAllocation, TheReceivedSolutionIsTheWholeOneOrTheOldOneOrEmpty) {
    CapturedOutput const quiet;

    struct Task {
        MeshPointer mesh = makeCutTube();
        LinearAlgebra::Vector solution = vectorOf({7.0, 8.0});
    };

    Task whole;
    whole.mesh->conformalMap(true, &whole.solution, false);
    auto const expected = valuesOf(whole.solution);
    failEachAllocation(
        sample, [] { return std::make_unique<Task>(); },
        [](Task& task) { task.mesh->conformalMap(true, &task.solution, false); },
        [&](Task& task, std::size_t given) {
            auto const values = valuesOf(task.solution);
            EXPECT_TRUE(values.empty() || values == expected || values == std::vector<double>({7.0, 8.0}))
                << given;
        });
}

} // namespace
} // namespace QELT::Testing
