#include "Geometry/foundations/boundingbox.h"
#include "Geometry/foundations/element.h"
#include "Geometry/foundations/plane.h"
#include "Geometry/spatial/tree.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <numeric>
#include <typeinfo>
#include <utility>

// A binary space partition with planes at right angles to the axes (Fuchs, Kedem and Naylor, "On Visible
// Surface Generation by A Priori Tree Structures", 1980, for the tree; the planes stand as in an octree).
//
// 1. The root's box is that around all objects. A box is always cut through its centre, wherever its objects
//    lie, and each half is the box of a child: an outlier among a tight cluster makes one level for each
//    halving.
// 2. Of the three axes that one is taken whose share of objects above the plane is nearest to a half, the
//    first of equals.
// 3. Where the best cut leaves all objects on one side, the box is halved along x until that can separate
//    them no more, then along y, then along z. An axis is exhausted when the objects have no extent and one
//    place on it, when its plane stands at the low corner, or when its extent is too large to be halved
//    (infinite).
// 4. Objects that no axis separates, as coincident ones, become a chain of leaves behind planes without a
//    normal: every point is above these, at no distance that could prune, so that a search sees them all.
//
// There is no tolerance; the comparisons are exact, and it is step 3 that makes the construction end. An
// object that is neither above nor below a chosen plane is dropped, as one with a NaN. A NaN in the first
// object is in the root's box and by that in every plane. Each level classifies its objects three times.
//
// Points, which are nearly all that trees are built of, are not asked: their coordinates stand in one list,
// in which each node's own are a stretch. That goes where no difference can overflow into an infinity or a
// NaN; clouds beyond an eighth of the range of floats, and objects of other shapes, are asked one by one.

namespace QELT::Geometry::ThreeDimensional::BinarySpacePartition {

namespace {

constexpr unsigned long up = 0;
constexpr unsigned long down = 1;

using Indices = std::vector<std::uint32_t>;

/// Whether the objects are all of no extent and at one place along an axis, where no plane can separate them.
bool getIsFlat(std::vector<Object*> const& objects, Indices const& indices, unsigned long axis) {
    float const place = objects[indices.front()]->getBoundingBox().getp().get(axis);
    return std::all_of(indices.begin(), indices.end(), [&](std::uint32_t index) {
        BoundingBoxAA const box = objects[index]->getBoundingBox();
        return box.getp().get(axis) == place && box.getd().get(axis) == 0.0;
    });
}

} // namespace

/// An internal node still to be split: its objects, its box and its depth.
struct Tree::Item {
    InternalNode* node;
    Indices indices;
    BoundingBoxAA box;
    std::uint32_t depth;
};

namespace {

/// A box halved along an axis.
struct Halving {
    Halving(BoundingBoxAA const& box, unsigned long newAxis) : axis(newAxis) {
        Point const& p = box.getp();
        Vector const step(axis, box.getd().get(axis) * 0.5);
        Vector halfD = box.getd();
        halfD.set(axis, halfD.get(axis) * 0.5);
        plane = Plane(p + step, Vector(axis, 1.0));
        boxes = {BoundingBoxAA(p + step, halfD), BoundingBoxAA(p, halfD)};
        isStuck = plane.getp() == p || boxes[down].getd().get(axis) == box.getd().get(axis);
    }

    unsigned long axis;
    Plane plane;
    std::array<BoundingBoxAA, 2> boxes;

    /// Whether halving again changes nothing: the plane already stands at the low corner, with all objects
    /// above it, or the extent is too large to be halved.
    bool isStuck;
};

/// How far the share of the objects above a plane is from a half.
double getScore(std::size_t above, std::size_t all) {
    return std::abs(static_cast<double>(above) / static_cast<double>(all) - 0.5);
}

/// A point in hand: its coordinates and which object it is.
struct IndexedPoint {
    std::array<float, 3> coordinates;
    std::uint32_t index;
};

/// The objects as points in hand, if all of them are points and nothing else, and finite so far from the
/// largest float that no difference from a plane in their box overflows; else none.
std::vector<IndexedPoint> getTamePoints(std::vector<Object*> const& objects, std::size_t count) {
    constexpr float tameLimit = std::numeric_limits<float>::max() / 8.0F;
    std::vector<IndexedPoint> points;
    points.reserve(count);
    for (std::size_t i = 0; i < count; ++i) {
        Object const& object = *objects[i];
        if (typeid(object) != typeid(Point)) {
            return {};
        }
        auto const& point = static_cast<Point const&>(object);
        std::array<float, 3> const coordinates{point.getX(), point.getY(), point.getZ()};
        if (!std::all_of(coordinates.begin(), coordinates.end(),
                         [](float coordinate) { return std::abs(coordinate) <= tameLimit; })) {
            return {};
        }
        points.push_back({coordinates, static_cast<std::uint32_t>(i)});
    }
    return points;
}

} // namespace

/// A box halved along an axis, and its objects on both sides.
struct Tree::Split : Halving {
    Split(std::vector<Object*> const& objects, Item const& item, unsigned long newAxis)
        : Halving(item.box, newAxis) {
        for (std::uint32_t const index : item.indices) {
            bool const isAbove = objects[index]->getIsAbove(plane);
            if (isAbove != objects[index]->getIsBelow(plane)) {
                indices[isAbove ? up : down].push_back(index);
            }
        }
        score = getScore(indices[up].size(), item.indices.size());
    }

    /// Whether all objects stay on one side.
    bool getIsOneSided(Item const& item) const {
        return indices[up].size() == item.indices.size() || indices[down].size() == item.indices.size();
    }

    /// Whether an object is on neither side, as one whose distance from the plane overflows into a NaN.
    bool getLosesAny(Item const& item) const {
        return indices[up].size() + indices[down].size() != item.indices.size();
    }

    /// Whether halving along this axis again and again never separates the objects: nothing changes any more,
    /// or they have no extent along it.
    bool getIsExhausted(std::vector<Object*> const& objects, Item const& item) const {
        return isStuck || getIsFlat(objects, item.indices, axis);
    }

    std::array<Indices, 2> indices;
    double score;
};

/// Splits a cloud of tame points as `split` does any objects, in a list of its own in which each node's
/// points stand side by side, in the order of the objects. Each of them is above or below a plane by its
/// coordinate along the normal alone, the difference of two finite floats having the sign that their
/// comparison tells.
class Tree::PointSplitter {
public:
    PointSplitter(Tree& newTree, std::vector<Object*> const& newObjects, std::vector<IndexedPoint> newPoints)
        : tree(newTree), objects(newObjects), points(std::move(newPoints)), below(points.size()) {}

    void run(BoundingBoxAA const& box) {
        work.push_back({tree.rootNode, 0, points.size(), box, 0});
        while (!work.empty()) {
            Stretch const stretch = work.back();
            work.pop_back();
            split(stretch);
        }
    }

private:
    /// An internal node still to be split, and which points are its own.
    struct Stretch {
        InternalNode* node;
        std::size_t first;
        std::size_t last;
        BoundingBoxAA box;
        std::uint32_t depth;

        std::size_t getSize() const { return last - first; }
    };

    void split(Stretch const& stretch) {
        std::array<Halving, 3> const halvings{Halving(stretch.box, 0), Halving(stretch.box, 1),
                                              Halving(stretch.box, 2)};
        std::array<std::size_t, 3> const above = countAbove(stretch, halvings);
        auto const isLess = [&](Halving const& a, Halving const& b) {
            return getScore(above[a.axis], stretch.getSize()) < getScore(above[b.axis], stretch.getSize());
        };
        auto const* best = std::min_element(halvings.begin(), halvings.end(), isLess);
        bool const isOneSided = above[best->axis] == 0 || above[best->axis] == stretch.getSize();
        if (stretch.getSize() > 1 && isOneSided) {
            best = std::find_if(best, halvings.end(), [&](Halving const& halving) {
                return !halving.isStuck && !getIsFlat(stretch, halving.axis);
            });
            if (best == halvings.end()) {
                chain(stretch);
                return;
            }
        }
        stretch.node->setPlane(best->plane);
        std::size_t const middle = part(stretch, *best);
        attach(stretch, stretch.first, middle, best->boxes[up], up);
        attach(stretch, middle, stretch.last, best->boxes[down], down);
    }

    std::array<std::size_t, 3> countAbove(Stretch const& stretch,
                                          std::array<Halving, 3> const& halvings) const {
        std::array<float, 3> const places{halvings[0].plane.getp().getX(), halvings[1].plane.getp().getY(),
                                          halvings[2].plane.getp().getZ()};
        std::array<std::size_t, 3> above{};
        for (std::size_t i = stretch.first; i < stretch.last; ++i) {
            for (std::size_t axis = 0; axis < 3; ++axis) {
                above[axis] += points[i].coordinates[axis] >= places[axis] ? 1U : 0U;
            }
        }
        return above;
    }

    bool getIsFlat(Stretch const& stretch, unsigned long axis) const {
        float const place = points[stretch.first].coordinates[axis];
        return std::all_of(points.begin() + static_cast<std::ptrdiff_t>(stretch.first),
                           points.begin() + static_cast<std::ptrdiff_t>(stretch.last),
                           [&](IndexedPoint const& point) { return point.coordinates[axis] == place; });
    }

    /// Puts the points above the plane before those below it, both in their order, and tells where these
    /// start.
    std::size_t part(Stretch const& stretch, Halving const& halving) {
        float const place = halving.plane.getp().get(halving.axis);
        std::size_t middle = stretch.first;
        std::size_t countBelow = 0;
        for (std::size_t i = stretch.first; i < stretch.last; ++i) {
            IndexedPoint const point = points[i];
            bool const isAbove = point.coordinates[halving.axis] >= place;
            points[middle] = point;
            below[countBelow] = point;
            middle += isAbove ? 1U : 0U;
            countBelow += isAbove ? 0U : 1U;
        }
        std::copy_n(below.begin(), countBelow, points.begin() + static_cast<std::ptrdiff_t>(middle));
        return middle;
    }

    void attach(Stretch const& parent, std::size_t first, std::size_t last, BoundingBoxAA const& box,
                unsigned long side) {
        if (last - first == 1) {
            tree.makeNode<LeafNode>(parent.node, side, objects[points[first].index]);
            tree.depth = std::max(tree.depth, parent.depth + 1);
        } else if (last - first > 1) {
            auto* const node = tree.makeNode<InternalNode>(parent.node, side);
            work.push_back({node, first, last, box, parent.depth + 1});
        }
    }

    void chain(Stretch const& stretch) {
        Indices indices;
        for (std::size_t i = stretch.first; i < stretch.last; ++i) {
            indices.push_back(points[i].index);
        }
        tree.chain(objects, {stretch.node, std::move(indices), stretch.box, stretch.depth});
    }

    Tree& tree;
    std::vector<Object*> const& objects;
    std::vector<IndexedPoint> points;
    std::vector<IndexedPoint> below; ///< while points are parted
    std::vector<Stretch> work;
};

template <class AnyNode, class... Arguments>
AnyNode* Tree::makeNode(InternalNode* parent, unsigned long side, Arguments&&... arguments) {
    auto owned = std::make_unique<AnyNode>(std::forward<Arguments>(arguments)...);
    AnyNode* const node = owned.get();
    node->setNumber(nodes->size());
    nodes->push_back(std::move(owned));
    node->setParentNode(parent);
    parent->setNode(side, node);
    return node;
}

/// Puts a lone root in place of the earlier tree, which stays if there is no memory for that.
void Tree::plantRoot() {
    auto newNodes = std::make_shared<std::vector<std::unique_ptr<Node>>>();
    auto root = std::make_unique<InternalNode>();
    InternalNode* const newRoot = root.get();
    newNodes->push_back(std::move(root));
    nodes = std::move(newNodes);
    rootNode = newRoot;
    depth = 0;
}

bool Tree::construct(std::vector<Object*> const& objects, unsigned long numberOfObjects) {
    plantRoot();
    std::size_t const count = std::min<std::size_t>(toUInt32(numberOfObjects), objects.size());
    if (count == 0) {
        return true;
    }
    BoundingBoxAA box = objects[0]->getBoundingBox();
    for (std::size_t i = 1; i < count; ++i) {
        box.expand(objects[i]->getBoundingBox());
    }
    if (std::vector<IndexedPoint> points = getTamePoints(objects, count); !points.empty()) {
        PointSplitter(*this, objects, std::move(points)).run(box);
        return true;
    }
    Item root{rootNode, Indices(count), box, 0};
    std::iota(root.indices.begin(), root.indices.end(), 0U);
    std::vector<Item> work;
    work.push_back(std::move(root));
    while (!work.empty()) {
        Item const item = std::move(work.back());
        work.pop_back();
        split(objects, item, work);
    }
    return true;
}

void Tree::split(std::vector<Object*> const& objects, Item const& item, std::vector<Item>& work) {
    std::array<Split, 3> splits{Split(objects, item, 0), Split(objects, item, 1), Split(objects, item, 2)};
    auto best = std::min_element(splits.begin(), splits.end(),
                                 [](Split const& a, Split const& b) { return a.score < b.score; });
    if (item.indices.size() > 1 && best->getIsOneSided(item)) {
        best = std::find_if(best, splits.end(), [&](Split const& s) {
            return !s.getIsExhausted(objects, item) && !s.getLosesAny(item);
        });
        if (best == splits.end()) {
            chain(objects, item);
            return;
        }
    }
    item.node->setPlane(best->plane);
    attach(objects, item, *best, up, work);
    attach(objects, item, *best, down, work);
}

void Tree::attach(std::vector<Object*> const& objects, Item const& item, Split& split, unsigned long side,
                  std::vector<Item>& work) {
    Indices& indices = split.indices[side];
    if (indices.size() == 1) {
        makeNode<LeafNode>(item.node, side, objects[indices.front()]);
        depth = std::max(depth, item.depth + 1);
    } else if (indices.size() > 1) {
        auto* const node = makeNode<InternalNode>(item.node, side);
        work.push_back({node, std::move(indices), split.boxes[side], item.depth + 1});
    }
}

/// Gives objects that no plane separates a leaf each, along a chain of nodes. Their planes have no normal,
/// which puts every point above them at no distance that could prune: a search that comes here sees them all.
void Tree::chain(std::vector<Object*> const& objects, Item const& item) {
    InternalNode* node = item.node;
    std::uint32_t nodeDepth = item.depth;
    for (std::size_t i = 0; i + 1 < item.indices.size(); ++i) {
        if (i > 0) {
            node = makeNode<InternalNode>(node, up);
            ++nodeDepth;
        }
        node->setPlane(Plane(item.box.getp(), Vector()));
        makeNode<LeafNode>(node, down, objects[item.indices[i]]);
    }
    makeNode<LeafNode>(node, up, objects[item.indices.back()]);
    depth = std::max(depth, nodeDepth + 1);
}

} // namespace QELT::Geometry::ThreeDimensional::BinarySpacePartition
