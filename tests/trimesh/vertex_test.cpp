#include "Geometry/trimesh/vertex.h"

#include "Geometry/trimesh/mesh.h"

#include <gtest/gtest.h>

#include <type_traits>
#include <utility>

namespace QELT::Testing {

namespace {

using Geometry::ThreeDimensional::Point;
using Geometry::ThreeDimensional::Vector;
using Geometry::ThreeDimensional::TriMesh::Mesh;
using Geometry::ThreeDimensional::TriMesh::Vertex;
using FlatPoint = Geometry::TwoDimensional::Point<double>;

bool isNull(Vector const& v) {
    return v.getdX() == 0.0 && v.getdY() == 0.0 && v.getdZ() == 0.0;
}

} // namespace

TEST(Vertex, StartsAtZero) {
    Vertex const vertex;
    EXPECT_TRUE(vertex.getPoint3D().getIsNull());
    EXPECT_EQ(vertex.getPoint2D(), FlatPoint(0.0, 0.0));
    EXPECT_TRUE(isNull(vertex.getNormal3D()));
}

TEST(Vertex, MadeFromAPointHasNoFlatPlaceAndNoNormal) {
    Vertex const vertex(Point(1.0, 2.0, 3.0));
    EXPECT_EQ(vertex.getPoint3D(), Point(1.0, 2.0, 3.0));
    EXPECT_EQ(vertex.getPoint2D(), FlatPoint(0.0, 0.0));
    EXPECT_TRUE(isNull(vertex.getNormal3D()));
}

TEST(Vertex, APointMayStandForAVertex) {
    Vertex const vertex = Point(1.0, 2.0, 3.0);
    EXPECT_EQ(vertex.getPoint3D(), Point(1.0, 2.0, 3.0));
    Mesh mesh;
    EXPECT_TRUE(mesh.addVertex(Point(4.0, 5.0, 6.0)));
    EXPECT_EQ(mesh.getVertex(0).getPoint3D(), Point(4.0, 5.0, 6.0));
}

TEST(Vertex, SettersStoreAndCopiesTakeAllOver) {
    Vertex vertex;
    vertex.setPoint3D(Point(1.0, 2.0, 3.0));
    vertex.setPoint2D(FlatPoint(4.0, 5.0));
    vertex.setNormal3D(Vector(6.0, 7.0, 8.0));
    Vertex const copy(vertex);
    Vertex assigned;
    Vertex const& result = assigned = vertex;
    EXPECT_EQ(&result, &assigned);
    for (Vertex const* v : {&std::as_const(vertex), &copy, &std::as_const(assigned)}) {
        EXPECT_EQ(v->getPoint3D(), Point(1.0, 2.0, 3.0));
        EXPECT_EQ(v->getPoint2D(), FlatPoint(4.0, 5.0));
        EXPECT_EQ(v->getNormal3D().getdX(), 6.0);
        EXPECT_EQ(v->getNormal3D().getdY(), 7.0);
        EXPECT_EQ(v->getNormal3D().getdZ(), 8.0);
    }
}

TEST(Vertex, AssignmentGivesAConstReference) {
    static_assert(
        std::is_same_v<decltype(std::declval<Vertex&>() = std::declval<Vertex const&>()), Vertex const&>);
    static_assert(std::has_virtual_destructor_v<Vertex>);
}

TEST(Vertex, ThePositionKeepsSinglePrecisionAndTheFlatPlaceDouble) {
    Vertex vertex(Point(0.1, 0.2, 0.3));
    vertex.setPoint2D(FlatPoint(0.1, 0.2));
    EXPECT_EQ(vertex.getPoint3D().getX(), 0.1F);
    EXPECT_EQ(vertex.getPoint2D().getU(), 0.1);
    EXPECT_EQ(vertex.getpPoint3D(), &vertex.getPoint3D());
}

} // namespace QELT::Testing
