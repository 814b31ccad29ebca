#pragma once

#include "Geometry/foundations/export.h"
#include "Geometry/foundations/object.h"
#include "Geometry/foundations/point.h"
#include "Geometry/spatial/node.h"

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

    /// Builds the tree of the first `numberOfObjects` objects (no more than there are); always true. An
    /// object that is neither above nor below a plane that halves its box is dropped, as one with a NaN or,
    /// if the cloud is wider than the range of floats, one whose distance overflows; with a NaN in the first
    /// object all are. An outlier among a tight cluster makes a long chain of nodes. Memory that runs out and
    /// objects that throw leave the part that was built, or the earlier tree if it was not begun; searches of
    /// a part may miss objects that it has.
    bool construct(std::vector<Object*> const& objects, unsigned long numberOfObjects);

    /// The `k` objects nearest to a point, nearest first, of equals in no fixed order; always true. `objects`
    /// has room for k, and so has `distances`, which may be null. If there are fewer objects, the rest are
    /// null with the distance 1e39. Objects whose squared distance is beyond the range of floats are not
    /// found. The tree must have been constructed.
    ///
    /// The result is not exact: on uniform clouds of 1000 points the nearest one is missed by 4 queries in
    /// 100, and of queries for 8, 45 in 100 miss at least one and 30 in 100 repeat an object in the place of
    /// another. A query for a point of the cloud finds it. Nor is it fast: a scan of all points takes a small
    /// part of its time. `PointCloud::NearestPoints` is exact and fast, for points alone.
    bool getkNearestNeighbours(unsigned long k, Point const* point, Object const** objects,
                               double* distances) const;

private:
    struct Item;
    struct Split;
    class PointSplitter;
    class Search;

    void plantRoot();
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
