#pragma once

#include "Geometry/foundations/export.h"
#include "Geometry/foundations/point.h"

namespace QELT::Geometry::ThreeDimensional::QuadMesh {

/// Tells which quads of a plane grid exist. Callers of `RectMesh::setAsPlane` derive from it to cut a pattern
/// of holes; the base class leaves no quad at all.
class QELT_EXPORT QuadValidityGenerator {
public:
    QuadValidityGenerator() = default;
    QuadValidityGenerator(QuadValidityGenerator const&) = default;
    QuadValidityGenerator& operator=(QuadValidityGenerator const&) = default;
    virtual ~QuadValidityGenerator() = default;

    /// Whether the quad with this low corner exists.
    virtual bool getValidity(TwoDimensional::Point<int> const& quad);
};

} // namespace QELT::Geometry::ThreeDimensional::QuadMesh
