#include "Geometry/spatial/tree.h"

#include "tests/spatial/treeobjects.h"
#include "tests/support/cloudfamilies.h"
#include "tests/support/float_bits.h"
#include "tests/support/plain_tree.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <map>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

namespace QELT::Geometry::ThreeDimensional::BinarySpacePartition {
namespace {

using Testing::CloudFamily;
using Testing::PlainTree;
using Testing::PlainTreeNode;
using Testing::sameBits;

Tree treeOf(Objects const& objects) {
    Tree tree;
    EXPECT_TRUE(tree.construct(objects, objects.size()));
    return tree;
}

testing::AssertionResult samePlane(Plane const& actual, Plane const& expected) {
    for (unsigned long k = 0; k < 3; ++k) {
        if (!sameBits(actual.getp().get(k), expected.getp().get(k)) ||
            !sameBits(actual.getN().get(k), expected.getN().get(k))) {
            return testing::AssertionFailure() << "plane, axis " << k;
        }
    }
    return testing::AssertionSuccess();
}

/// The two trees node by node, without recursion: chains are deep.
testing::AssertionResult sameTree(Tree const& tree, PlainTree const& expected) {
    std::vector<std::pair<Node const*, PlainTreeNode const*>> work = {{tree.rootNode, expected.root.get()}};
    while (!work.empty()) {
        auto const [node, plain] = work.back();
        work.pop_back();
        if ((node == nullptr) != (plain == nullptr)) {
            return testing::AssertionFailure() << "a child on one side only";
        }
        if (node == nullptr) {
            continue;
        }
        auto const* const internal = dynamic_cast<InternalNode const*>(node);
        if ((internal == nullptr) != (plain->object != nullptr)) {
            return testing::AssertionFailure() << "a leaf on one side only";
        }
        if (internal == nullptr) {
            if (static_cast<LeafNode const*>(node)->getObject() != plain->object) {
                return testing::AssertionFailure() << "another object";
            }
            continue;
        }
        if (auto const same = samePlane(internal->getPlane(), plain->plane); !same) {
            return same;
        }
        for (Node const* child : {internal->getUpNode(), internal->getDownNode()}) {
            if (child != nullptr && child->getParentNode() != internal) {
                return testing::AssertionFailure() << "a child of another parent";
            }
        }
        work.emplace_back(internal->getUpNode(), plain->up.get());
        work.emplace_back(internal->getDownNode(), plain->down.get());
    }
    if (tree.depth != expected.depth) {
        return testing::AssertionFailure() << "depth " << tree.depth << ", expected " << expected.depth;
    }
    return testing::AssertionSuccess();
}

/// How many leaves each object has.
std::map<Object const*, int> leavesOf(Tree const& tree) {
    std::map<Object const*, int> leaves;
    std::vector<Node const*> work = {tree.rootNode};
    while (!work.empty()) {
        Node const* const node = work.back();
        work.pop_back();
        if (auto const* const internal = dynamic_cast<InternalNode const*>(node)) {
            work.push_back(internal->getUpNode());
            work.push_back(internal->getDownNode());
        } else if (node != nullptr) {
            ++leaves[static_cast<LeafNode const*>(node)->getObject()];
        }
    }
    return leaves;
}

LeafNode const* leafAt(Node const* node) {
    return dynamic_cast<LeafNode const*>(node);
}

InternalNode const* internalAt(Node const* node) {
    return dynamic_cast<InternalNode const*>(node);
}

static_assert(std::has_virtual_destructor_v<Tree>);

TEST(TreeConstruction, StartsWithoutARoot) {
    Tree const tree;
    EXPECT_EQ(tree.rootNode, nullptr);
    EXPECT_EQ(tree.depth, 0U);
}

TEST(TreeConstruction, OfOneObjectIsARootWithALeafAbove) {
    Points points = {{3.0, -2.0, 1.0}};
    Tree const tree = treeOf(objectsOf(points));
    ASSERT_NE(leafAt(tree.rootNode->getUpNode()), nullptr) << "an object on the plane counts as above";
    EXPECT_EQ(leafAt(tree.rootNode->getUpNode())->getObject(), &points[0]);
    EXPECT_EQ(tree.rootNode->getDownNode(), nullptr);
    EXPECT_EQ(tree.rootNode->getParentNode(), nullptr);
    EXPECT_TRUE(samePlane(tree.rootNode->getPlane(), Plane(points[0], Vector(1.0, 0.0, 0.0))));
    EXPECT_EQ(tree.depth, 1U);
}

TEST(TreeConstruction, OfTwoObjectsThatDifferInYCutsY) {
    Points points = {{1.0, 2.0, 3.0}, {1.0, 6.0, 3.0}};
    Tree const tree = treeOf(objectsOf(points));
    EXPECT_TRUE(samePlane(tree.rootNode->getPlane(), Plane(Point(1.0, 4.0, 3.0), Vector(0.0, 1.0, 0.0))));
    EXPECT_EQ(leafAt(tree.rootNode->getUpNode())->getObject(), &points[1]);
    EXPECT_EQ(leafAt(tree.rootNode->getDownNode())->getObject(), &points[0]);
    EXPECT_EQ(tree.depth, 1U);
}

TEST(TreeConstruction, OfTheCornersOfACubeHasThreeLevelsOneAxisALevel) {
    Points points;
    for (int i = 0; i < 8; ++i) {
        points.emplace_back(i & 1, (i >> 1) & 1, (i >> 2) & 1);
    }
    Tree const tree = treeOf(objectsOf(points));
    EXPECT_EQ(tree.depth, 3U);
    EXPECT_EQ(tree.rootNode->getPlane().getN().getdX(), 1.0);
    for (Node const* second : {tree.rootNode->getUpNode(), tree.rootNode->getDownNode()}) {
        ASSERT_NE(internalAt(second), nullptr);
        EXPECT_EQ(internalAt(second)->getPlane().getN().getdY(), 1.0);
        for (Node const* third : {internalAt(second)->getUpNode(), internalAt(second)->getDownNode()}) {
            ASSERT_NE(internalAt(third), nullptr);
            EXPECT_EQ(internalAt(third)->getPlane().getN().getdZ(), 1.0);
        }
    }
}

TEST(TreeConstruction, PrefersTheAxisOfTheMostEvenCutAndXBeforeYBeforeZOnATie) {
    // x cuts 1 : 3, y and z cut 2 : 2.
    Points uneven = {{0.0, 0.0, 0.0}, {8.0, 1.0, 0.0}, {8.0, 0.0, 1.0}, {8.0, 1.0, 1.0}};
    EXPECT_EQ(treeOf(objectsOf(uneven)).rootNode->getPlane().getN().getdY(), 1.0);
    Points even = {{0.0, 0.0, 0.0}, {8.0, 1.0, 1.0}};
    EXPECT_EQ(treeOf(objectsOf(even)).rootNode->getPlane().getN().getdX(), 1.0);
    Points last = {{0.0, 0.0, 0.0}, {8.0, 0.0, 1.0}, {8.0, 1.0, 0.0}, {8.0, 0.0, 1.0}};
    EXPECT_EQ(treeOf(objectsOf(last)).rootNode->getPlane().getN().getdZ(), 1.0);
}

TEST(TreeConstruction, HalvesBoxesWhereverTheObjectsLie) {
    // The outlier leaves the cluster alone in box after box, halved to 1 / 1024 of its size.
    Points points = {{0.0, 0.0, 0.0}, {1.0, 0.0, 0.0}, {1024.0, 0.0, 0.0}};
    Tree const tree = treeOf(objectsOf(points));
    EXPECT_EQ(tree.depth, 10U);
    Node const* node = tree.rootNode->getDownNode();
    for (double plane = 256.0; plane >= 1.0; plane /= 2.0) {
        ASSERT_NE(internalAt(node), nullptr);
        EXPECT_EQ(internalAt(node)->getPlane().getp().getX(), plane);
        EXPECT_EQ(internalAt(node)->getUpNode() == nullptr, plane > 1.0) << "one side is empty";
        node = internalAt(node)->getDownNode();
    }
}

TEST(TreeConstruction, UsesOnlyTheFirstObjects) {
    Points points = {{0.0, 0.0, 0.0}, {4.0, 0.0, 0.0}, {100.0, 0.0, 0.0}};
    Objects const objects = objectsOf(points);
    Tree tree;
    EXPECT_TRUE(tree.construct(objects, 2));
    EXPECT_EQ(leavesOf(tree).size(), 2U);
    EXPECT_EQ(tree.rootNode->getPlane().getp().getX(), 2.0F);
    EXPECT_EQ(leavesOf(tree).count(&points[2]), 0U);
}

TEST(TreeConstruction, OfNoObjectsOrOfMoreThanThereAreReadsNothingElse) {
    Tree tree;
    EXPECT_TRUE(tree.construct({}, 0));
    EXPECT_TRUE(tree.construct({}, 3));
    EXPECT_EQ(tree.depth, 0U);
    Points points = {{0.0, 0.0, 0.0}, {4.0, 0.0, 0.0}};
    EXPECT_TRUE(tree.construct(objectsOf(points), 100));
    EXPECT_EQ(leavesOf(tree).size(), 2U);
}

TEST(TreeConstruction, IsThePlainTreeNodeByNode) {
    int byPlainRule = 0;
    int beyond = 0;
    for (std::uint32_t seed = 1; seed <= 5; ++seed) {
        for (CloudFamily& family : Testing::cloudFamilies(seed)) {
            SCOPED_TRACE(family.name);
            Objects const objects = objectsOf(family.points);
            PlainTree const expected = Testing::plainTree(objects);
            ASSERT_EQ(expected.isByPlainRule, Testing::plainRuleEnds(objects));
            (expected.isByPlainRule ? byPlainRule : beyond) += 1;
            ASSERT_TRUE(sameTree(treeOf(objects), expected));
        }
    }
    EXPECT_GE(byPlainRule, 80);
    EXPECT_GE(beyond, 40);
}

TEST(TreeConstruction, OfSmallRandomCloudsIsThePlainTreeNodeByNode) {
    for (std::uint32_t seed = 0; seed < 400; ++seed) {
        Points points = Testing::uniformCloud(seed, 1 + seed % 12);
        if (seed % 3 == 0) {
            for (Point& p : points) { // onto a coarse lattice, so that ties abound
                p.set(std::round(2.0 * p.getX()), std::round(2.0 * p.getY()), std::round(p.getZ()));
            }
        }
        Objects const objects = objectsOf(points);
        PlainTree const expected = Testing::plainTree(objects);
        ASSERT_EQ(expected.isByPlainRule, Testing::plainRuleEnds(objects));
        ASSERT_TRUE(sameTree(treeOf(objects), expected)) << "seed " << seed;
    }
}

/// A point of another class, which the tree must ask.
class AskedPoint : public Point {
public:
    explicit AskedPoint(Point const& point, int& newQuestions) : Point(point), questions(&newQuestions) {}

    bool getIsAbove(Plane const& plane) const override {
        ++*questions;
        return Point::getIsAbove(plane);
    }

private:
    int* questions;
};

TEST(TreeConstruction, OfObjectsThatMustBeAskedIsThePlainTreeNodeByNode) {
    for (CloudFamily& family : Testing::cloudFamilies(9)) {
        SCOPED_TRACE(family.name);
        int questions = 0;
        std::vector<AskedPoint> asked;
        for (Point const& point : family.points) {
            asked.emplace_back(point, questions);
        }
        Objects all;
        Objects one = objectsOf(family.points);
        for (AskedPoint& point : asked) {
            all.push_back(&point);
        }
        one.back() = all.back();
        for (Objects const& objects : {all, one}) {
            Tree const tree = treeOf(objects);
            EXPECT_GT(questions, 0);
            ASSERT_TRUE(sameTree(tree, Testing::plainTree(objects)));
            questions = 0;
        }
    }
}

TEST(TreeConstruction, OfCloudsAboutTheLimitOfDifferencesIsThePlainTreeNodeByNode) {
    for (float const share : {0.12F, 0.125F, 0.126F, 0.25F, 0.5F, 1.0F}) {
        SCOPED_TRACE(share);
        double const size =
            static_cast<double>(share) * static_cast<double>(std::numeric_limits<float>::max());
        Points points = Testing::uniformCloud(31, 60);
        for (Point& p : points) {
            p.set(size * p.getX(), size * p.getY(), p.getZ());
        }
        points[7].set(-size, size, 0.0);
        Objects const objects = objectsOf(points);
        ASSERT_TRUE(sameTree(treeOf(objects), Testing::plainTree(objects)));
    }
}

TEST(TreeConstruction, OfACloudOfManyPointsIsThePlainTreeNodeByNode) {
    Points points = Testing::uniformCloud(33, 6000);
    for (std::size_t i = 0; i < 2000; ++i) { // a third in a cluster, some of them coincident
        points[i].set(0.5 + 1e-5 * std::round(50.0 * points[i].getX()), 1e-5 * points[i].getY(), 0.25);
    }
    Objects const objects = objectsOf(points);
    ASSERT_TRUE(sameTree(treeOf(objects), Testing::plainTree(objects)));
}

TEST(TreeConstruction, GivesEachObjectOneLeaf) {
    for (CloudFamily& family : Testing::cloudFamilies(6)) {
        SCOPED_TRACE(family.name);
        bool const isBeyondFloats = family.name.find("beyond differences") != std::string::npos;
        std::map<Object const*, int> const leaves = leavesOf(treeOf(objectsOf(family.points)));
        std::size_t wanted = 0;
        for (Point const& p : family.points) {
            bool const isNumber = !std::isnan(p.getX()) && !std::isnan(p.getY()) && !std::isnan(p.getZ());
            wanted += isNumber ? 1U : 0U;
        }
        if (!isBeyondFloats) {
            EXPECT_EQ(leaves.size(), wanted);
        }
        for (auto const& [object, count] : leaves) {
            EXPECT_EQ(count, 1);
        }
    }
}

TEST(TreeConstruction, ChainsCoincidentObjectsBelowOneAnother) {
    Points points(4, Point(1.0, 2.0, 3.0));
    Objects const objects = objectsOf(points);
    ASSERT_FALSE(Testing::plainRuleEnds(objects));
    Tree const tree = treeOf(objects);
    EXPECT_EQ(leavesOf(tree).size(), 4U);
    EXPECT_EQ(tree.depth, 3U) << "two leaves share the last node";
    EXPECT_EQ(tree.rootNode->getPlane().getN().lSqr(), 0.0);
}

TEST(TreeConstruction, GoesOnWithYAndZWhereXCanNotSeparate) {
    for (unsigned long axis = 1; axis < 3; ++axis) {
        Points points(3, Point(0.0, 0.0, 0.0));
        points[1].seti(axis, 0.1);
        points[2].seti(axis, 10.0);
        Objects const objects = objectsOf(points);
        ASSERT_FALSE(Testing::plainRuleEnds(objects)) << "x would be halved for ever";
        Tree const tree = treeOf(objects);
        EXPECT_EQ(leavesOf(tree).size(), 3U);
        EXPECT_EQ(tree.depth, 7U) << "10 / 2^7 is the first half below 0.1";
        EXPECT_EQ(tree.rootNode->getPlane().getN().get(axis), 1.0);
    }
}

TEST(TreeConstruction, EndsForEveryPairOfSpecialCoordinates) {
    float const smallest = std::numeric_limits<float>::denorm_min();
    float const largest = std::numeric_limits<float>::max();
    std::vector<float> const values = {0.0F, -0.0F, smallest, -smallest, 1.0F, -1e-20F, largest, -largest};
    for (float const x : values) {
        for (float const y : values) {
            for (float const z : values) {
                Points points = {Point(x, y, z), Point(y, z, x), Point(z, x, y), Point(0.0, 0.0, 0.0)};
                Objects const objects = objectsOf(points);
                ASSERT_TRUE(sameTree(treeOf(objects), Testing::plainTree(objects)))
                    << x << ", " << y << ", " << z;
            }
        }
    }
}

TEST(TreeConstruction, DropsObjectsThatAreNoNumber) {
    double const nan = std::numeric_limits<double>::quiet_NaN();
    Points points = {{0.0, 0.0, 0.0}, {nan, 0.0, 0.0}, {1.0, 0.0, 0.0}, {0.5, 0.0, nan}};
    std::map<Object const*, int> const leaves = leavesOf(treeOf(objectsOf(points)));
    EXPECT_EQ(leaves.size(), 2U);
    EXPECT_EQ(leaves.count(&points[0]), 1U);
    EXPECT_EQ(leaves.count(&points[2]), 1U);
    Points none = {{nan, 0.0, 0.0}};
    Tree const tree = treeOf(objectsOf(none));
    EXPECT_EQ(leavesOf(tree).size(), 0U);
    EXPECT_EQ(tree.depth, 0U);
}

TEST(TreeConstruction, DropsAllObjectsIfTheFirstIsNoNumber) {
    double const nan = std::numeric_limits<double>::quiet_NaN();
    for (unsigned long axis = 0; axis < 3; ++axis) {
        Points points = Testing::uniformCloud(3, 20);
        points[0].seti(axis, nan);
        Objects const objects = objectsOf(points);
        Tree const tree = treeOf(objects);
        EXPECT_TRUE(leavesOf(tree).empty()) << "axis " << axis;
        EXPECT_EQ(tree.depth, 0U);
        EXPECT_TRUE(sameTree(tree, Testing::plainTree(objects)));
        std::swap(points[0], points[1]);
        EXPECT_EQ(leavesOf(treeOf(objects)).size(), 19U) << "axis " << axis;
    }
}

/// An interval along x, which a plane through it has neither above nor below it, or both.
class Interval : public Object {
public:
    Interval(double newLow, double newHigh, bool newIsBoth = false)
        : low(newLow), high(newHigh), isBoth(newIsBoth) {}

    bool getIsAbove(Plane const& plane) const override { return ask(plane, low >= plane.getp().getX()); }

    bool getIsBelow(Plane const& plane) const override { return ask(plane, high < plane.getp().getX()); }

    double getMinMaxDistance(Point const& point) const override {
        return std::max({low - point.getX(), point.getX() - high, 0.0});
    }

    double getMinMaxDistance(Plane const& plane) const override { return getMinMaxDistance(plane.getp()); }

    BoundingBoxAA getBoundingBox() const override {
        return {Point(low, 0.0, 0.0), Vector(high - low, 0.0, 0.0)};
    }

private:
    bool ask(Plane const& plane, bool answer) const {
        bool const isCut = low < plane.getp().getX() && plane.getp().getX() <= high;
        return isBoth && isCut ? true : answer;
    }

    double low;
    double high;
    bool isBoth;
};

TEST(TreeConstruction, DropsObjectsThatAreOnNoSideOrOnBoth) {
    Interval left(0.0, 1.0);
    Interval middle(3.0, 5.0);
    Interval everywhere(3.0, 6.0, true);
    Interval right(7.0, 8.0);
    Objects const objects = {&left, &middle, &everywhere, &right};
    Tree const tree = treeOf(objects);
    EXPECT_TRUE(sameTree(tree, Testing::plainTree(objects)));
    EXPECT_EQ(leavesOf(tree), (std::map<Object const*, int>{{&left, 1}, {&right, 1}}));
}

TEST(TreeConstruction, OverwritesAnEarlierTree) {
    Points first = Testing::uniformCloud(1, 50);
    Points second = {{0.0, 0.0, 0.0}, {1.0, 0.0, 0.0}};
    Tree tree = treeOf(objectsOf(first));
    EXPECT_GT(tree.depth, 1U);
    EXPECT_TRUE(tree.construct(objectsOf(second), 2));
    EXPECT_EQ(tree.depth, 1U);
    EXPECT_EQ(leavesOf(tree).size(), 2U);
}

} // namespace
} // namespace QELT::Geometry::ThreeDimensional::BinarySpacePartition
