#pragma once

#include "Geometry/foundations/element.h"

namespace QELT::Geometry::ThreeDimensional::TriMesh {

/// Something `s` with a rank `t`: the record of heaps and searches. Order looks at `t` alone, by the plain
/// comparison, so that a NaN is neither greater nor less. It knows nothing of meshes: the namespace is that
/// of its first user, the reconstruction of a mesh, and part of the interface. The search of the partition
/// tree ranks with it too, which is why it lies here, below both.
template <class K, class V>
class Map {
public:
    /// What the key is stored as.
    using Key = ElementType<K>;
    /// What the value is stored as, by which pairs are ranked.
    using Value = ElementType<V>;

    Map() = default;

    Map(Key const& key, Value const& value) : s(key), t(value) {}

    bool operator>(Map const& other) const { return t > other.t; }

    bool operator<(Map const& other) const { return t < other.t; }

    Key const& gets() const { return s; }

    Value const& gett() const { return t; }

private:
    Key s{};
    Value t{};
};

} // namespace QELT::Geometry::ThreeDimensional::TriMesh
