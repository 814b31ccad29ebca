#include "Geometry/trimesh/fan.h"

#include "Geometry/trimesh/mesh.h"
#include "tests/support/meshfamilies.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <vector>

namespace QELT::Testing {

namespace {

using Geometry::ThreeDimensional::TriMesh::Edge;
using Geometry::ThreeDimensional::TriMesh::Face;
using Geometry::ThreeDimensional::TriMesh::Fan;
using Geometry::ThreeDimensional::TriMesh::Mesh;
using Geometry::ThreeDimensional::TriMesh::Triangle;
using Indices = std::vector<unsigned long>;

static_assert(std::input_iterator<Fan::Iterator>);
static_assert(std::ranges::input_range<Fan>);

/// Vertex 0 in the middle of a square 1, 2, 3, 4 that runs counter-clockwise, without the faces from
/// `numberOfFaces` on.
Mesh const& makeWheel(Mesh& mesh, std::size_t numberOfFaces) {
    std::vector<Face> faces{{0, 1, 2}, {0, 2, 3}, {0, 3, 4}, {0, 4, 1}};
    faces.resize(numberOfFaces);
    mesh.construct({{0.0, 0.0, 0.0}, {1.0, 0.0, 0.0}, {0.0, 1.0, 0.0}, {-1.0, 0.0, 0.0}, {0.0, -1.0, 0.0}},
                   faces);
    return mesh;
}

/// The edge from one vertex to another, which must be there.
Edge edgeOf(Mesh const& mesh, unsigned long from, unsigned long to) {
    Edge edge;
    EXPECT_TRUE(mesh.getDoesEdgeExist(from, to, &edge)) << from << " to " << to;
    return edge;
}

Indices endsOf(Fan const& fan) {
    Indices ends;
    for (Edge const& spoke : fan) {
        ends.push_back(spoke.dest());
    }
    return ends;
}

} // namespace

TEST(Fan, RunsOnceAroundAnInnerVertexFromAnyStart) {
    Mesh mesh;
    makeWheel(mesh, 4);
    EXPECT_EQ(endsOf(Fan(edgeOf(mesh, 0, 1))), (Indices{1, 2, 3, 4}));
    EXPECT_EQ(endsOf(Fan(edgeOf(mesh, 0, 3))), (Indices{3, 4, 1, 2}));
    EXPECT_EQ(endsOf(Fan::whole(edgeOf(mesh, 0, 3))), (Indices{3, 4, 1, 2}));
    EXPECT_FALSE(Fan::whole(edgeOf(mesh, 0, 3)).getStartsAtBoundary());
}

TEST(Fan, EndsInFrontOfTheBoundary) {
    Mesh mesh;
    makeWheel(mesh, 3);
    EXPECT_EQ(endsOf(Fan(edgeOf(mesh, 0, 1))), (Indices{1, 2, 3}));
    EXPECT_EQ(endsOf(Fan(edgeOf(mesh, 0, 2))), (Indices{2, 3})) << "a fan does not look behind its start";
    EXPECT_EQ(endsOf(Fan(edgeOf(mesh, 0, 3))), (Indices{3}));
    EXPECT_FALSE(Fan(edgeOf(mesh, 0, 2)).getStartsAtBoundary());
    EXPECT_TRUE(Fan(edgeOf(mesh, 0, 1)).getStartsAtBoundary());
}

TEST(Fan, WholeBeginsAtTheBoundaryWhicheverSpokeItIsAskedFor) {
    Mesh mesh;
    makeWheel(mesh, 3);
    for (unsigned long const end : {1UL, 2UL, 3UL}) {
        Fan const fan = Fan::whole(edgeOf(mesh, 0, end));
        EXPECT_EQ(endsOf(fan), (Indices{1, 2, 3}));
        EXPECT_TRUE(fan.getStartsAtBoundary());
    }
}

TEST(Fan, WithoutATriangleIsEmpty) {
    Mesh mesh;
    makeWheel(mesh, 3);
    Edge const across = edgeOf(mesh, 0, 1).sym();
    ASSERT_EQ(across.getTriangle(), nullptr);
    EXPECT_TRUE(endsOf(Fan(across)).empty());
    EXPECT_TRUE(endsOf(Fan::whole(across)).empty());
    EXPECT_TRUE(Fan(across).getStartsAtBoundary());
}

TEST(Fan, ServesTheAlgorithmsOfTheStandardLibrary) {
    Mesh mesh;
    makeWheel(mesh, 4);
    Fan const fan(edgeOf(mesh, 0, 2));
    EXPECT_EQ(std::ranges::distance(fan), 4);
    EXPECT_EQ(std::ranges::find(fan, 4UL, [](Edge const& spoke) { return spoke.dest(); })->dest(), 4U);
    EXPECT_TRUE(std::ranges::all_of(fan, [](Edge const& spoke) { return spoke.org() == 0; }));
}

TEST(Fan, OfEverySideOfEveryFamilyIsThatOfThePlainWalk) {
    std::size_t openFans = 0;
    std::size_t closedFans = 0;
    for (NamedSoup const& family : loadableFamilies()) {
        SCOPED_TRACE(family.name);
        auto const mesh = makeMesh(family.soup);
        std::vector<Triangle*> list;
        std::vector<Triangle*>::iterator first;
        std::vector<Triangle*>::iterator last;
        mesh->getTriangles(list, first, last);
        for (auto triangle = first; triangle != last; ++triangle) {
            for (unsigned long side = 0; side < 3; ++side) {
                Edge const start = (*triangle)->getEdge(side);
                std::vector<Edge> expected;
                for (Edge e = start; e.getTriangle() != nullptr; e = e.onext()) {
                    if (!expected.empty() && e == start) {
                        break;
                    }
                    expected.push_back(e);
                }
                EXPECT_TRUE(std::ranges::equal(Fan(start), expected));
                bool const isOpen = expected.back().onext().getTriangle() == nullptr;
                Fan const whole = Fan::whole(start);
                EXPECT_EQ(whole.getStartsAtBoundary(), isOpen);
                EXPECT_EQ(std::ranges::count(whole, start), 1);
                (isOpen ? openFans : closedFans) += 1;
            }
        }
    }
    EXPECT_GT(openFans, 1000U);
    EXPECT_GT(closedFans, 1000U);
}

} // namespace QELT::Testing
