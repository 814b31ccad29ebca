#pragma once

#include "Geometry/geometry.h"

/// Short names for the library's types that the application works with.
namespace QELT::Inspection {

using Point = QELT::Geometry::ThreeDimensional::Point;
using Vector = QELT::Geometry::ThreeDimensional::Vector;
using FlatPoint = QELT::Geometry::TwoDimensional::Point<double>;
using GridIndex = QELT::Geometry::TwoDimensional::Point<int>;
using Mesh = QELT::Geometry::ThreeDimensional::TriMesh::Mesh;
using Triangle = QELT::Geometry::ThreeDimensional::TriMesh::Triangle;
using Edge = QELT::Geometry::ThreeDimensional::TriMesh::Edge;
using Grid = QELT::Geometry::ThreeDimensional::QuadMesh::RectMesh;

} // namespace QELT::Inspection
