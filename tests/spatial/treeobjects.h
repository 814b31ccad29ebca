#pragma once

#include "Geometry/spatial/tree.h"

#include <vector>

namespace QELT::Geometry::ThreeDimensional::BinarySpacePartition {

using Points = std::vector<Point>;
using Objects = std::vector<Object*>;

/// The points as the tree takes them; it keeps pointers to them.
inline Objects objectsOf(Points& points) {
    Objects objects;
    for (Point& p : points) {
        objects.push_back(&p);
    }
    return objects;
}

} // namespace QELT::Geometry::ThreeDimensional::BinarySpacePartition
