#include "Geometry/spatial/node.h"

#include "Geometry/foundations/point.h"

#include <type_traits>

#include <gtest/gtest.h>

namespace QELT::Geometry::ThreeDimensional::BinarySpacePartition {
namespace {

static_assert(std::has_virtual_destructor_v<Object> && std::is_abstract_v<Object>);
static_assert(std::has_virtual_destructor_v<Node>);
static_assert(std::is_copy_assignable_v<Object>);
static_assert(std::is_base_of_v<Node, InternalNode> && std::is_base_of_v<Node, LeafNode>);
static_assert(std::is_base_of_v<Object, Point>);
static_assert(std::is_convertible_v<Object const*, LeafNode>, "an object may stand for its leaf");

TEST(Node, HasNoParentAtFirst) {
    Node const node;
    EXPECT_EQ(node.getParentNode(), nullptr);
}

TEST(Node, CopiesItsParent) {
    InternalNode parent;
    Node node;
    node.setParentNode(&parent);
    Node const copy(node);
    Node assigned;
    assigned = node;
    EXPECT_EQ(copy.getParentNode(), &parent);
    EXPECT_EQ(assigned.getParentNode(), &parent);
}

TEST(InternalNode, HasNoChildrenAndADefaultPlaneAtFirst) {
    InternalNode const node;
    EXPECT_EQ(node.getParentNode(), nullptr);
    EXPECT_EQ(node.getUpNode(), nullptr);
    EXPECT_EQ(node.getDownNode(), nullptr);
    EXPECT_EQ(node.getPlane().getp(), Point());
    EXPECT_EQ(node.getPlane().getN().lSqr(), 0.0);
}

TEST(InternalNode, SetsTheDownNodeForAnOddSideAndTheUpNodeForAnEvenOne) {
    for (unsigned long const even : {0UL, 2UL, 0xFFFFFFFEUL}) {
        InternalNode node;
        LeafNode up;
        LeafNode down;
        node.setNode(even, &up);
        EXPECT_EQ(node.getUpNode(), &up);
        EXPECT_EQ(node.getDownNode(), nullptr);
        node.setNode(even + 1, &down);
        EXPECT_EQ(node.getUpNode(), &up);
        EXPECT_EQ(node.getDownNode(), &down);
    }
}

TEST(InternalNode, SetsEachOfItsFields) {
    InternalNode node;
    LeafNode up;
    LeafNode down;
    node.setUpNode(&up);
    node.setDownNode(&down);
    node.setPlane(Plane(Point(1.0, 2.0, 3.0), Vector(0.0, 1.0, 0.0)));
    EXPECT_EQ(node.getUpNode(), &up);
    EXPECT_EQ(node.getDownNode(), &down);
    EXPECT_EQ(node.getPlane().getp(), Point(1.0, 2.0, 3.0));
    EXPECT_EQ(node.getPlane().getN().getdY(), 1.0);
}

TEST(InternalNode, CopiesPointersAndPlane) {
    InternalNode parent;
    LeafNode up;
    LeafNode down;
    InternalNode node;
    node.setParentNode(&parent);
    node.setUpNode(&up);
    node.setDownNode(&down);
    node.setPlane(Plane(Point(1.0, 2.0, 3.0), Vector(0.0, 0.0, 1.0)));
    InternalNode const copy(node);
    InternalNode assigned;
    assigned = node;
    for (InternalNode const* other : {&copy, static_cast<InternalNode const*>(&assigned)}) {
        EXPECT_EQ(other->getParentNode(), &parent);
        EXPECT_EQ(other->getUpNode(), &up);
        EXPECT_EQ(other->getDownNode(), &down);
        EXPECT_EQ(other->getPlane().getp(), Point(1.0, 2.0, 3.0));
        EXPECT_EQ(other->getPlane().getN().getdZ(), 1.0);
    }
}

TEST(LeafNode, HoldsAnObjectThatItDoesNotOwn) {
    Point first(1.0, 2.0, 3.0);
    Point second;
    LeafNode leaf(&first);
    EXPECT_EQ(leaf.getObject(), &first);
    LeafNode const copy(leaf);
    leaf.setObject(&second);
    EXPECT_EQ(leaf.getObject(), &second);
    EXPECT_EQ(copy.getObject(), &first);
    leaf = copy;
    EXPECT_EQ(leaf.getObject(), &first);
    EXPECT_EQ(LeafNode().getObject(), nullptr);
}

TEST(Node, ShowsItsKindByADynamicCast) {
    InternalNode internal;
    LeafNode leaf;
    Node const* const internalNode = &internal;
    Node const* const leafNode = &leaf;
    EXPECT_NE(dynamic_cast<InternalNode const*>(internalNode), nullptr);
    EXPECT_EQ(dynamic_cast<LeafNode const*>(internalNode), nullptr);
    EXPECT_NE(dynamic_cast<LeafNode const*>(leafNode), nullptr);
}

} // namespace
} // namespace QELT::Geometry::ThreeDimensional::BinarySpacePartition
