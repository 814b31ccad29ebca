#pragma once

#include "Geometry/foundations/boundingbox.h"
#include "Geometry/foundations/export.h"
#include "Geometry/foundations/plane.h"
#include "Geometry/foundations/point.h"
#include "Geometry/spatial/node.h"
#include "Geometry/spatial/object.h"

#include <array>
#include <cstdint>
#include <memory>
#include <vector>

namespace QELT::Geometry::ThreeDimensional::BinarySpacePartition {

/// A binary space partition over objects of any shape, one object a leaf. Objects belong to the caller and
/// must outlive all searches. Copies of a tree share its nodes, which live as long as the last of them. A
/// search keeps its state to itself, so searches of one tree may run at the same time.
class QELT_EXPORT Tree {
public:
    Tree() = default;
    Tree(Tree const&) = default;
    Tree& operator=(Tree const&) = default;
    virtual ~Tree() = default;

    /// Builds the tree of the first `numberOfObjects` objects (no more than there are); always true. Each
    /// node halves its box by the plane through the box' centre that cuts the objects most evenly, x before y
    /// before z. Where no axis separates the objects the box is halved along x until that can change nothing
    /// any more, then along y, then along z; objects that no plane separates, as coincident ones, stand in a
    /// chain of nodes. An object with a NaN is dropped. Cost: each level classifies its objects three times;
    /// an outlier among a tight cluster makes a long chain of nodes with one empty side each.
    bool construct(std::vector<Object*> const& objects, unsigned long numberOfObjects);

    /// The `k` objects nearest to a point, nearest first, of equals in no fixed order; always true. `objects`
    /// has room for k, and so has `distances`, which may be null. If there are fewer objects, the rest are
    /// null with the distance 1e39. The tree must have been constructed.
    ///
    /// The search prunes by distances to splitting planes, and one of these measures is no lower bound of the
    /// distances behind the plane: the result is very nearly, not provably, exact. Where a node has no child
    /// on the point's side, an object can be reported twice. On uniform clouds of 1000 points with k = 8, see
    /// the benchmark `neighbours`, both are rare.
    bool getkNearestNeighbours(unsigned long k, Point const* point, Object const** objects,
                               double* distances) const;

private:
    struct Item;
    struct Split;
    class Search;

    template <class AnyNode, class... Arguments>
    AnyNode* makeNode(InternalNode* parent, unsigned long side, Arguments&&... arguments);
    void split(std::vector<Object*> const& objects, Item const& item, std::vector<Item>& work);
    void attach(std::vector<Object*> const& objects, Item const& item, Split& split, unsigned long side,
                std::vector<Item>& work);
    void chain(std::vector<Object*> const& objects, Item const& item);

    InternalNode* rootNode = nullptr;
    std::uint32_t depth = 0;
    std::shared_ptr<std::vector<std::unique_ptr<Node>>> nodes;
};

} // namespace QELT::Geometry::ThreeDimensional::BinarySpacePartition
