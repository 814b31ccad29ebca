#include "Geometry/spatial/tree.h"

#include "tests/spatial/treeobjects.h"
#include "tests/support/cloudfamilies.h"
#include "tests/support/float_bits.h"
#include "tests/support/plain_tree.h"

#include <cmath>
#include <memory>
#include <random>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace QELT::Geometry::ThreeDimensional::BinarySpacePartition {
namespace {

using Testing::CloudFamily;
using Testing::PlainTree;
using Testing::sameBits;

Tree treeOf(Points& points) {
    Tree tree;
    EXPECT_TRUE(tree.construct(objectsOf(points), points.size()));
    return tree;
}

/// Whether distances are finite, and zero only between points that are equal: squares have single precision.
bool hasMeasurableDistances(CloudFamily const& family) {
    static std::set<std::string> const others = {"tiny",          "denormal",  "huge",
                                                 "tiny and huge", "with NaNs", "largest alike"};
    return others.count(family.name) == 0 && family.name.find("beyond differences") == std::string::npos;
}

struct Neighbours {
    std::vector<Object const*> objects;
    std::vector<double> distances;
};

Neighbours askFor(unsigned long k, Tree const& tree, Point const& query) {
    Neighbours found;
    found.objects.assign(k, &query);
    found.distances.assign(k, -9.0);
    EXPECT_TRUE(tree.getkNearestNeighbours(k, &query, found.objects.data(), found.distances.data()));
    return found;
}

/// Queries inside and outside the cloud, on its points, and on the root's plane.
Points queriesOf(Points const& points, Tree const& tree, std::mt19937& generator) {
    std::uniform_real_distribution<double> number(-2.0, 2.0);
    Points queries = {points.front(), points.back(), points[points.size() / 2],
                      tree.rootNode->getPlane().getp(), Point(1e4, -1e4, 1e5)};
    for (int i = 0; i < 8; ++i) {
        Point const& near = points[generator() % points.size()];
        double const x = number(generator);
        double const y = number(generator);
        double const z = number(generator);
        queries.emplace_back(x, y, z);
        queries.push_back(near + Vector(0.01 * x, 0.01 * y, 0.01 * z));
    }
    return queries;
}

TEST(NearestNeighbours, AreThoseOfThePlainSearchToTheBit) {
    std::mt19937 generator(1);
    for (std::uint32_t seed = 11; seed < 14; ++seed) {
        for (CloudFamily& family : Testing::cloudFamilies(seed)) {
            SCOPED_TRACE(family.name);
            Tree const tree = treeOf(family.points);
            PlainTree const plain = Testing::plainTree(objectsOf(family.points));
            for (Point const& query : queriesOf(family.points, tree, generator)) {
                for (std::uint32_t const k : {1U, 2U, 8U, static_cast<std::uint32_t>(family.points.size())}) {
                    Neighbours const found = askFor(k, tree, query);
                    auto const expected = Testing::plainNearestInTree(plain, query, k);
                    for (std::uint32_t i = 0; i < k; ++i) {
                        ASSERT_EQ(found.objects[i], expected[i].first) << "k " << k << ", place " << i;
                        ASSERT_TRUE(sameBits(found.distances[i], expected[i].second));
                    }
                }
            }
        }
    }
}

TEST(NearestNeighbours, OfManyPointsAreThoseOfThePlainSearchToTheBit) {
    std::mt19937 generator(2);
    for (bool const isLattice : {false, true}) {
        Points points = Testing::uniformCloud(41, 5000);
        for (Point& p : points) {
            if (isLattice) { // where most distances have equals, and some points coincide
                p.set(std::round(9.0 * p.getX()), std::round(9.0 * p.getY()), std::round(5.0 * p.getZ()));
            }
        }
        Tree const tree = treeOf(points);
        PlainTree const plain = Testing::plainTree(objectsOf(points));
        for (Point const& query : queriesOf(points, tree, generator)) {
            for (std::uint32_t const k : {1U, 3U, 8U, 100U}) {
                Neighbours const found = askFor(k, tree, query);
                auto const expected = Testing::plainNearestInTree(plain, query, k);
                for (std::uint32_t i = 0; i < k; ++i) {
                    ASSERT_EQ(found.objects[i], expected[i].first) << "k " << k << ", place " << i;
                    ASSERT_TRUE(sameBits(found.distances[i], expected[i].second));
                }
            }
        }
    }
}

TEST(NearestNeighbours, AreInexactAndRepeatedAsOftenAsTheHeaderSays) {
    int missedNearest = 0;
    int inexact = 0;
    int wrongEntries = 0;
    int repeated = 0;
    int queriesWithRepetition = 0;
    for (std::uint32_t seed = 1; seed <= 5; ++seed) {
        Points points = Testing::uniformCloud(seed, 1000);
        Tree const tree = treeOf(points);
        for (Point const& query : Testing::uniformCloud(100 + seed, 200)) {
            std::vector<double> const expected = Testing::plainNearestDistances(objectsOf(points), query, 8);
            double const nearest = askFor(1, tree, query).distances[0];
            EXPECT_GE(nearest, expected[0]);
            missedNearest += nearest == expected[0] ? 0 : 1;
            Neighbours const found = askFor(8, tree, query);
            inexact += found.distances == expected ? 0 : 1;
            for (std::size_t i = 0; i < 8; ++i) {
                wrongEntries += found.distances[i] == expected[i] ? 0 : 1;
                EXPECT_EQ(found.distances[i], found.objects[i]->getMinMaxDistance(query));
            }
            std::set<Object const*> const distinct(found.objects.begin(), found.objects.end());
            repeated += 8 - static_cast<int>(distinct.size());
            queriesWithRepetition += distinct.size() < 8 ? 1 : 0;
        }
    }
    EXPECT_NEAR(missedNearest / 1000.0, 0.04, 0.02);
    EXPECT_NEAR(inexact / 1000.0, 0.4, 0.1);
    EXPECT_NEAR(wrongEntries / 8000.0, 0.2, 0.1);
    EXPECT_NEAR(repeated / 8000.0, 0.05, 0.02);
    EXPECT_NEAR(queriesWithRepetition / 1000.0, 0.3, 0.05);
}

TEST(NearestNeighbours, ComeInAscendingDistance) {
    std::mt19937 generator(3);
    for (CloudFamily& family : Testing::cloudFamilies(15)) {
        SCOPED_TRACE(family.name);
        Tree const tree = treeOf(family.points);
        for (Point const& query : queriesOf(family.points, tree, generator)) {
            Neighbours const found = askFor(12, tree, query);
            for (std::size_t i = 1; i < 12; ++i) {
                EXPECT_FALSE(found.distances[i] < found.distances[i - 1]);
            }
        }
    }
}

TEST(NearestNeighbours, AreFilledUpWithNullAtADistanceOfNone) {
    Points points = {{0.0, 0.0, 0.0}, {3.0, 4.0, 0.0}, {10.0, 0.0, 0.0}};
    Tree const tree = treeOf(points);
    Neighbours const found = askFor(5, tree, Point(0.0, 0.0, 0.0));
    EXPECT_EQ(found.objects,
              (std::vector<Object const*>{&points[0], &points[1], &points[2], nullptr, nullptr}));
    EXPECT_EQ(found.distances, (std::vector<double>{0.0, 5.0, 10.0, 1e39, 1e39}));
}

TEST(NearestNeighbours, NoneOfThemLeavesTheArraysUntouched) {
    Points points = Testing::uniformCloud(4, 20);
    Tree const tree = treeOf(points);
    Object const* object = &points[3];
    double distance = -9.0;
    EXPECT_TRUE(tree.getkNearestNeighbours(0, &points[0], &object, &distance));
    EXPECT_EQ(object, &points[3]);
    EXPECT_EQ(distance, -9.0);
    EXPECT_TRUE(tree.getkNearestNeighbours(0, &points[0], nullptr, nullptr));
    EXPECT_TRUE(tree.getkNearestNeighbours(0x100000000UL, &points[0], nullptr, nullptr)) << "32 bits";
}

TEST(NearestNeighbours, OfAPointOfTheCloudStartWithIt) {
    for (CloudFamily& family : Testing::cloudFamilies(16)) {
        if (!hasMeasurableDistances(family)) {
            continue;
        }
        SCOPED_TRACE(family.name);
        Tree const tree = treeOf(family.points);
        for (Point const& p : family.points) {
            Neighbours const found = askFor(1, tree, p);
            EXPECT_EQ(found.distances[0], 0.0);
            EXPECT_EQ(*static_cast<Point const*>(found.objects[0]), p);
        }
    }
}

TEST(NearestNeighbours, AreFoundWithoutRoomForDistances) {
    Points points = Testing::uniformCloud(5, 60);
    Tree const tree = treeOf(points);
    Point const query(0.1, 0.2, 0.3);
    Neighbours const expected = askFor(7, tree, query);
    std::vector<Object const*> objects(7, nullptr);
    EXPECT_TRUE(tree.getkNearestNeighbours(7, &query, objects.data(), nullptr));
    EXPECT_EQ(objects, expected.objects);
}

/// A point that notes the planes which it was asked for its side of.
class NotingPoint : public Point {
public:
    using Point::Point;

    bool getIsAbove(Plane const& plane) const override {
        planes.push_back(plane.getp().getX());
        return Point::getIsAbove(plane);
    }

    mutable std::vector<float> planes;
};

TEST(NearestNeighbours, OfAPointOnAPlaneAreSoughtAboveIt) {
    // The two are equally far from the plane between them; what is found first stays first.
    Points points = {{0.0, 0.0, 0.0}, {2.0, 0.0, 0.0}};
    Tree const tree = treeOf(points);
    Neighbours const found = askFor(1, tree, Point(1.0, 0.0, 0.0));
    EXPECT_EQ(found.distances[0], 1.0);
    PlainTree const plain = Testing::plainTree(objectsOf(points));
    EXPECT_EQ(found.objects[0], Testing::plainNearestInTree(plain, Point(1.0, 0.0, 0.0), 1)[0].first);
    // Three of them: the descent asks the plane x = 3 next if it goes up from x = 2, and ends if it goes
    // down.
    Points more = {{0.0, 0.0, 0.0}, {3.0, 0.0, 0.0}, {4.0, 0.0, 0.0}};
    Tree const deeper = treeOf(more);
    ASSERT_EQ(deeper.rootNode->getPlane().getp().getX(), 2.0F);
    NotingPoint const query(2.0, 0.0, 0.0);
    Object const* object = nullptr;
    EXPECT_TRUE(deeper.getkNearestNeighbours(1, &query, &object, nullptr));
    ASSERT_GE(query.planes.size(), 2U);
    EXPECT_EQ(query.planes[0], 2.0F);
    EXPECT_EQ(query.planes[1], 3.0F) << "the plane of the upper child";
    EXPECT_EQ(object, &more[1]);
}

TEST(NearestNeighbours, OfAQueryFarOutsideAreStillAsManyAsAskedFor) {
    Points points = Testing::uniformCloud(6, 200);
    Tree const tree = treeOf(points);
    Neighbours const found = askFor(20, tree, Point(1e6, 1e6, -1e6));
    for (std::size_t i = 0; i < 20; ++i) {
        EXPECT_NE(found.objects[i], nullptr);
        EXPECT_LT(found.distances[i], 2e6);
    }
}

TEST(NearestNeighbours, AsManyAsThereAreAreAllOfThem) {
    for (std::size_t const count : {1U, 2U, 5U, 40U}) {
        Points alike(count, Point(1.0, 2.0, 3.0));
        Points line;
        for (std::size_t i = 0; i < count; ++i) {
            line.emplace_back(0.0, 0.0, static_cast<double>(i));
        }
        for (Points* points : {&alike, &line}) {
            Tree const tree = treeOf(*points);
            Neighbours const found = askFor(count, tree, Point(0.5, 0.5, -1.0));
            std::set<Object const*> const distinct(found.objects.begin(), found.objects.end());
            EXPECT_EQ(distinct.size(), count);
            EXPECT_EQ(distinct.count(nullptr), 0U);
        }
    }
}

/// With room for what is reported twice.
TEST(NearestNeighbours, ManyMoreThanThereAreHoldAllOfThem) {
    std::mt19937 generator(7);
    for (CloudFamily& family : Testing::cloudFamilies(17)) {
        if (!hasMeasurableDistances(family)) {
            continue;
        }
        SCOPED_TRACE(family.name);
        Tree const tree = treeOf(family.points);
        for (Point const& query : queriesOf(family.points, tree, generator)) {
            Neighbours const found = askFor((tree.depth + 1) * family.points.size(), tree, query);
            std::set<Object const*> distinct(found.objects.begin(), found.objects.end());
            distinct.erase(nullptr);
            EXPECT_EQ(distinct.size(), family.points.size());
        }
    }
}

TEST(NearestNeighbours, MayHoldAnObjectTwiceWhereTheNearChildIsMissing) {
    // A pair at the far end of a long box: the planes between it and the query have no near child.
    Points points = {{0.0, 0.0, 0.0}, {100.0, 0.0, 0.0}, {100.5, 0.0, 0.0}};
    Tree const tree = treeOf(points);
    PlainTree const plain = Testing::plainTree(objectsOf(points));
    bool isAnyTwice = false;
    for (double x = -10.0; x < 120.0; x += 1.0) {
        Point const query(x, 0.0, 0.0);
        Neighbours const found = askFor(3, tree, query);
        std::set<Object const*> const distinct(found.objects.begin(), found.objects.end());
        isAnyTwice |= distinct.size() < 3;
        auto const expected = Testing::plainNearestInTree(plain, query, 3);
        for (std::size_t i = 0; i < 3; ++i) {
            EXPECT_EQ(found.objects[i], expected[i].first);
        }
    }
    EXPECT_TRUE(isAnyTwice);
}

TEST(NearestNeighbours, OfACopyAreThoseOfItsSourceWhicheverIsDestroyedFirst) {
    Points points = Testing::uniformCloud(8, 80);
    Point const query(0.3, -0.2, 0.1);
    auto source = std::make_unique<Tree>(treeOf(points));
    Neighbours const expected = askFor(6, *source, query);
    auto copy = std::make_unique<Tree>(*source);
    Tree assigned;
    assigned = *source;
    EXPECT_EQ(copy->rootNode, source->rootNode);
    EXPECT_EQ(copy->depth, source->depth);
    source.reset();
    EXPECT_EQ(askFor(6, *copy, query).objects, expected.objects);
    copy.reset();
    EXPECT_EQ(askFor(6, assigned, query).objects, expected.objects);
}

TEST(NearestNeighbours, OfACopyOutliveANewConstructionOfTheSource) {
    Points points = Testing::uniformCloud(9, 80);
    Points others = Testing::uniformCloud(10, 30);
    Point const query(0.3, -0.2, 0.1);
    Tree tree = treeOf(points);
    Neighbours const expected = askFor(6, tree, query);
    Tree const copy(tree);
    EXPECT_TRUE(tree.construct(objectsOf(others), others.size()));
    EXPECT_EQ(askFor(6, copy, query).objects, expected.objects);
    EXPECT_NE(askFor(6, tree, query).objects, expected.objects);
}

TEST(NearestNeighbours, OfATreeWithoutObjectsAreNone) {
    Tree tree;
    EXPECT_EQ(askFor(2, tree, Point()).distances, (std::vector<double>{1e39, 1e39}));
    EXPECT_TRUE(tree.construct({}, 0));
    EXPECT_EQ(askFor(2, tree, Point()).objects, (std::vector<Object const*>{nullptr, nullptr}));
}

} // namespace
} // namespace QELT::Geometry::ThreeDimensional::BinarySpacePartition
