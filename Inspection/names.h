#pragma once

#include "Geometry/geometry.h"

/// The inspection of a part from its scanned surface to its C-scan, as functions that a program, a script or
/// a batch calls: options in, results out. Nothing here prints, ends the program or asks anyone.
namespace QELT::Inspection {

/// Short names for the core's types.
using ProgressListener = QELT::ProgressListener;
using Point = QELT::Geometry::ThreeDimensional::Point;
using Vector = QELT::Geometry::ThreeDimensional::Vector;
using FlatPoint = QELT::Geometry::TwoDimensional::Point<double>;
using GridIndex = QELT::Geometry::TwoDimensional::Point<int>;
using Mesh = QELT::Geometry::ThreeDimensional::TriMesh::Mesh;
using Triangle = QELT::Geometry::ThreeDimensional::TriMesh::Triangle;
using Edge = QELT::Geometry::ThreeDimensional::TriMesh::Edge;
using Grid = QELT::Geometry::ThreeDimensional::QuadMesh::RectMesh;

} // namespace QELT::Inspection
