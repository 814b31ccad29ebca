#include "Geometry/foundations/boundingbox.h"
#include "Geometry/foundations/element.h"
#include "Geometry/foundations/plane.h"
#include "Geometry/spatial/tree.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numeric>
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

/// A box halved along an axis, and its objects on both sides.
struct Tree::Split {
    Split(std::vector<Object*> const& objects, Item const& item, unsigned long newAxis) : axis(newAxis) {
        Point const& p = item.box.getp();
        Vector const step(axis, item.box.getd().get(axis) * 0.5);
        Vector halfD = item.box.getd();
        halfD.set(axis, halfD.get(axis) * 0.5);
        plane = Plane(p + step, Vector(axis, 1.0));
        boxes = {BoundingBoxAA(p + step, halfD), BoundingBoxAA(p, halfD)};
        for (std::uint32_t const index : item.indices) {
            bool const isAbove = objects[index]->getIsAbove(plane);
            if (isAbove != objects[index]->getIsBelow(plane)) {
                indices[isAbove ? up : down].push_back(index);
            }
        }
        score = std::abs(static_cast<double>(indices[up].size()) / static_cast<double>(item.indices.size()) -
                         0.5);
        isAtCorner = plane.getp() == p;
        isBoxStuck = boxes[down].getd().get(axis) == item.box.getd().get(axis);
    }

    /// Whether all objects stay on one side.
    bool getIsOneSided(Item const& item) const {
        return indices[up].size() == item.indices.size() || indices[down].size() == item.indices.size();
    }

    /// Whether an object is on neither side, as one whose distance from the plane overflows into a NaN.
    bool getLosesAny(Item const& item) const {
        return indices[up].size() + indices[down].size() != item.indices.size();
    }

    /// Whether halving along this axis again and again never separates the objects: they have no extent
    /// along it, the plane already stands at the low corner with all objects above it, or the extent is too
    /// large to be halved.
    bool getIsExhausted(std::vector<Object*> const& objects, Item const& item) const {
        return isAtCorner || isBoxStuck || getIsFlat(objects, item.indices, axis);
    }

    unsigned long axis;
    Plane plane;
    std::array<BoundingBoxAA, 2> boxes;
    std::array<Indices, 2> indices;
    double score;
    bool isAtCorner;
    bool isBoxStuck;
};

template <class AnyNode, class... Arguments>
AnyNode* Tree::makeNode(InternalNode* parent, unsigned long side, Arguments&&... arguments) {
    auto owned = std::make_unique<AnyNode>(std::forward<Arguments>(arguments)...);
    AnyNode* const node = owned.get();
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
    Item root{rootNode, Indices(count), objects[0]->getBoundingBox(), 0};
    std::iota(root.indices.begin(), root.indices.end(), 0U);
    for (std::size_t i = 1; i < count; ++i) {
        root.box.expand(objects[i]->getBoundingBox());
    }
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
