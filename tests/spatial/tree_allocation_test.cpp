#include "tests/spatial/treeobjects.h"
#include "tests/support/cloudfamilies.h"
#include "tests/support/watchedheap.h"

#include "Geometry/foundations/boundingbox.h"
#include "Geometry/spatial/tree.h"

#include <array>
#include <cmath>
#include <limits>
#include <memory>
#include <set>
#include <stdexcept>
#include <vector>

#include <gtest/gtest.h>

// What a partition tree is after memory ran out, or an object threw, while it was built.

namespace QELT::Geometry::ThreeDimensional::BinarySpacePartition {
namespace {

using Testing::failEachAllocation;
using Testing::uniformCloud;

constexpr std::size_t all = 100000;
constexpr std::size_t numberOfPoints = 60;

using Answer = std::vector<std::pair<Object const*, double>>;

Answer ask(Tree const& tree, Point const& point) {
    constexpr std::size_t k = 4;
    std::array<Object const*, k> objects{};
    std::array<double, k> distances{};
    EXPECT_TRUE(tree.getkNearestNeighbours(k, &point, objects.data(), distances.data()));
    Answer answer;
    for (std::size_t i = 0; i < k; ++i) {
        answer.emplace_back(objects[i], distances[i]);
    }
    return answer;
}

std::vector<Answer> askMuch(Tree const& tree) {
    std::vector<Answer> answers;
    for (Point const& point : uniformCloud(23, 20)) {
        answers.push_back(ask(tree, point));
    }
    return answers;
}

/// Objects found belong to the tree, at the distances given.
void expectHonest(Tree const& tree, Objects const& objects) {
    std::set<Object const*> const known(objects.begin(), objects.end());
    for (Point const& point : uniformCloud(29, 20)) {
        for (auto const& [object, distance] : ask(tree, point)) {
            EXPECT_TRUE(object == nullptr || known.contains(object));
            EXPECT_EQ(distance, object == nullptr ? 1e39 : object->getMinMaxDistance(point));
        }
    }
}

/// Points, some of them coincident, so that the tree has a chain.
Points somePoints(std::uint32_t seed) {
    Points points = uniformCloud(seed, numberOfPoints);
    for (std::size_t i = 0; i < 5; ++i) {
        points[10 + i] = points[3];
    }
    return points;
}

/// A point that can be asked only so often.
class TouchyPoint : public Point {
public:
    TouchyPoint(Point const& point, int& newPatience) : Point(point), patience(&newPatience) {}

    bool getIsAbove(Plane const& plane) const override {
        if (--*patience < 0) {
            throw std::runtime_error("no patience");
        }
        return Point::getIsAbove(plane);
    }

private:
    int* patience;
};

} // namespace

namespace {

/// Builds a tree of the objects with each of its allocations failing once; how many those are.
std::size_t failEachAllocationOfATree(Objects const& objects) {
    Tree whole;
    whole.construct(objects, objects.size());
    std::vector<Answer> const expected = askMuch(whole);
    return failEachAllocation(
        all, [] { return std::make_unique<Tree>(); },
        [&](Tree& tree) { tree.construct(objects, objects.size()); },
        [&](Tree& tree, std::size_t given) {
            SCOPED_TRACE(given);
            expectHonest(tree, objects);
            Tree const copy(tree);
            tree.construct(objects, objects.size());
            EXPECT_EQ(askMuch(tree), expected);
            EXPECT_EQ(tree.depth, whole.depth);
            expectHonest(copy, objects);
        });
}

} // namespace

TEST(TreeAllocation, ANewTreeThatFailsCanBeAskedAndBuiltAgain) {
    Points points = somePoints(3);
    EXPECT_GT(failEachAllocationOfATree(objectsOf(points)), 2 * numberOfPoints);
}

TEST(TreeAllocation, ANewTreeOfObjectsThatMustBeAskedAndThatFailsCanBeAskedAndBuiltAgain) {
    Points points = somePoints(3);
    int patience = std::numeric_limits<int>::max();
    TouchyPoint asked(points.back(), patience);
    Objects objects = objectsOf(points);
    objects.back() = &asked;
    EXPECT_GT(failEachAllocationOfATree(objects), 200U);
}

TEST(TreeAllocation, ATreeOverAnotherThatFailsCanBeAskedAndBuiltAgain) {
    Points earlierPoints = somePoints(5);
    Points points = somePoints(3);
    Objects const earlierObjects = objectsOf(earlierPoints);
    Objects const objects = objectsOf(points);
    Objects both = earlierObjects;
    both.insert(both.end(), objects.begin(), objects.end());
    Tree whole;
    whole.construct(objects, objects.size());
    std::vector<Answer> const expected = askMuch(whole);
    auto const prepare = [&] {
        auto tree = std::make_unique<Tree>();
        tree->construct(earlierObjects, earlierObjects.size());
        return tree;
    };
    std::vector<Answer> const earlier = askMuch(*prepare());
    std::size_t stayed = 0;
    std::size_t const failures = failEachAllocation(
        all, prepare, [&](Tree& tree) { tree.construct(objects, objects.size()); },
        [&](Tree& tree, std::size_t given) {
            SCOPED_TRACE(given);
            stayed += askMuch(tree) == earlier ? 1U : 0U;
            expectHonest(tree, both);
            tree.construct(objects, objects.size());
            EXPECT_EQ(askMuch(tree), expected);
        });
    EXPECT_GT(failures, 2 * numberOfPoints) << "a node for each point, and one above it";
    EXPECT_EQ(stayed, 3U) << "the earlier tree stays until the new one has a list of nodes and a root in it";
}

TEST(TreeAllocation, ATreeWhoseObjectsThrowCanBeAskedAndBuiltAgain) {
    int patience = 0;
    std::vector<TouchyPoint> touchy;
    for (Point const& point : somePoints(3)) {
        touchy.emplace_back(point, patience);
    }
    Objects objects;
    for (TouchyPoint& point : touchy) {
        objects.push_back(&point);
    }
    for (int given = 0; given < 1000; given += 37) {
        SCOPED_TRACE(given);
        Tree tree;
        patience = given;
        EXPECT_THROW(tree.construct(objects, objects.size()), std::runtime_error);
        patience = 1000000;
        expectHonest(tree, objects);
        EXPECT_TRUE(tree.construct(objects, objects.size()));
        EXPECT_EQ(ask(tree, touchy[40]).front().first, objects[40]);
    }
}

} // namespace QELT::Geometry::ThreeDimensional::BinarySpacePartition
