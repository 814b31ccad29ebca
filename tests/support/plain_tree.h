#pragma once

#include "Geometry/foundations/boundingbox.h"
#include "Geometry/foundations/object.h"
#include "Geometry/foundations/plane.h"
#include "Geometry/foundations/point.h"

#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

/// The partition tree built by plain recursion over boxes, and its search on explicit sets. Objects are asked
/// through their own operations.
namespace QELT::Testing {

using TreeObject = Geometry::ThreeDimensional::BinarySpacePartition::Object;
using TreeObjects = std::vector<TreeObject*>;

/// A leaf has an object; an internal node has a plane and a child for each side that has objects.
struct PlainTreeNode {
    TreeObject const* object = nullptr;
    Geometry::ThreeDimensional::Plane plane;
    std::unique_ptr<PlainTreeNode> up;
    std::unique_ptr<PlainTreeNode> down;
    PlainTreeNode* parent = nullptr;
};

struct PlainTree {
    std::unique_ptr<PlainTreeNode> root;
    std::uint32_t depth = 0;
    /// Whether the rule alone, to halve along the best axis with ties to the earlier one, made the tree.
    /// Elsewhere, i.e. where no axis separates the objects and no more halving along the best one will, the
    /// split is that of the next axis whose halving may, without losing an object; and where there is none,
    /// the objects stand in a chain.
    bool isByPlainRule = true;
    std::uint32_t chains = 0;
};

/// Whether the rule alone comes to an end, found out by doing just that: it never ends where a split gives
/// the very item that was split.
bool plainRuleEnds(TreeObjects const& objects);

PlainTree plainTree(TreeObjects const& objects);

/// The nearest objects and their distances, nearest first, by the search that walks a tree: not exact.
std::vector<std::pair<TreeObject const*, double>>
plainNearestInTree(PlainTree const& tree, Geometry::ThreeDimensional::Point const& query, std::uint32_t k);

/// The distances to the k nearest objects (1e39 where there are no more), by looking at all of them.
std::vector<double> plainNearestDistances(TreeObjects const& objects,
                                          Geometry::ThreeDimensional::Point const& query, std::uint32_t k);

} // namespace QELT::Testing
