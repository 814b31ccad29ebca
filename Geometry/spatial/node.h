#pragma once

#include "Geometry/foundations/export.h"
#include "Geometry/foundations/object.h"
#include "Geometry/foundations/plane.h"

#include <cstddef>

namespace QELT::Geometry::ThreeDimensional::BinarySpacePartition {

class InternalNode;

/// A node of a partition tree. It knows its parent, since the search walks upward; which kind it is shows by
/// a dynamic cast. Nodes own nothing: the trees that share them do.
class QELT_EXPORT Node {
public:
    Node() = default;
    Node(Node const&) = default;
    Node& operator=(Node const&) = default;
    virtual ~Node() = default;

protected:
    friend class Tree;

    /// Of the kind of an internal node, or not.
    explicit Node(bool newIsInternal) : isInternal(newIsInternal) {}

    /// What the dynamic cast would tell, at a fraction of its cost.
    bool getIsInternal() const { return isInternal; }

    /// Each node of a tree has another, from 0 on.
    std::size_t getNumber() const { return number; }

    void setNumber(std::size_t newNumber) { number = newNumber; }

    /// Null at the root.
    InternalNode const* getParentNode() const { return parentNode; }

    void setParentNode(InternalNode* node) { parentNode = node; }

private:
    InternalNode* parentNode = nullptr;
    std::size_t number = 0;
    bool isInternal = false;
};

/// A node with a splitting plane. A side without objects has no child.
class QELT_EXPORT InternalNode : public Node {
public:
    InternalNode() : Node(true) {}

protected:
    friend class Tree;

    /// The child with the objects above the plane, and that with those below it.
    Node const* getUpNode() const { return upNode; }

    Node const* getDownNode() const { return downNode; }

    void setUpNode(Node* node) { upNode = node; }

    void setDownNode(Node* node) { downNode = node; }

    /// An odd side is down, an even one up.
    void setNode(unsigned long side, Node* node) { ((side & 1UL) != 0 ? downNode : upNode) = node; }

    /// Its normal is a unit axis, or zero where no plane separates the objects.
    Plane const& getPlane() const { return plane; }

    void setPlane(Plane const& newPlane) { plane = newPlane; }

private:
    Node* upNode = nullptr;
    Node* downNode = nullptr;
    Plane plane;
};

/// A node with one object, which it does not own.
class QELT_EXPORT LeafNode : public Node {
public:
    LeafNode() = default;

    LeafNode(Object const* newObject) : object(newObject) {}

protected:
    friend class Tree;

    Object const* getObject() const { return object; }

    void setObject(Object* newObject) { object = newObject; }

private:
    Object const* object = nullptr;
};

} // namespace QELT::Geometry::ThreeDimensional::BinarySpacePartition
