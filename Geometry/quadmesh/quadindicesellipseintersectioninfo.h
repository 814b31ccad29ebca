#pragma once

#include "Geometry/foundations/export.h"
#include "Geometry/foundations/point.h"
#include "Geometry/foundations/vector.h"

namespace QELT::Geometry::ThreeDimensional::QuadMesh {

/// The footprint of a spreading beam on a grid magnified `unity` times: the centre and the four half-axes of
/// an ellipse, in steps of 1 / `unity` quads. The half-axes of one pair need not be opposite or of equal
/// length.
class QELT_EXPORT QuadIndicesEllipseIntersectionInfo {
public:
    /// All zero; `unity` too, but it has a meaning only in an info that a footprint query has filled.
    QuadIndicesEllipseIntersectionInfo() = default;

    QuadIndicesEllipseIntersectionInfo(TwoDimensional::Point<int> const& newCentre,
                                       TwoDimensional::Vector<int> const& newAxisA1,
                                       TwoDimensional::Vector<int> const& newAxisB1,
                                       TwoDimensional::Vector<int> const& newAxisA2,
                                       TwoDimensional::Vector<int> const& newAxisB2, int newUnity)
        : centre(newCentre),
          axisA1(newAxisA1),
          axisB1(newAxisB1),
          axisA2(newAxisA2),
          axisB2(newAxisB2),
          unity(newUnity) {}

    TwoDimensional::Point<int> const& getCentre() const { return centre; }

    TwoDimensional::Vector<int> const& getAxisA1() const { return axisA1; }

    TwoDimensional::Vector<int> const& getAxisB1() const { return axisB1; }

    TwoDimensional::Vector<int> const& getAxisA2() const { return axisA2; }

    TwoDimensional::Vector<int> const& getAxisB2() const { return axisB2; }

    int getUnity() const { return unity; }

private:
    TwoDimensional::Point<int> centre;
    TwoDimensional::Vector<int> axisA1;
    TwoDimensional::Vector<int> axisB1;
    TwoDimensional::Vector<int> axisA2;
    TwoDimensional::Vector<int> axisB2;
    int unity = 0;
};

} // namespace QELT::Geometry::ThreeDimensional::QuadMesh
