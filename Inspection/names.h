#pragma once

#include "Geometry/geometry.h"

/// The inspection of a part from its scanned surface to its C-scan, as functions that a program, a script or
/// a batch calls: options in, results out. Nothing here prints, ends the program or asks anyone.
namespace QELT::Inspection {

/// Short names for the core's types.
using ProgressListener = QELT::ProgressListener;
/// A point of the surface, in single precision.
using Point = QELT::Geometry::ThreeDimensional::Point;
/// A vector in double precision.
using Vector = QELT::Geometry::ThreeDimensional::Vector;
/// A place in the flat map or in the plane of pixels.
using FlatPoint = QELT::Geometry::TwoDimensional::Point<double>;
/// A node or a quad of a grid.
using GridIndex = QELT::Geometry::TwoDimensional::Point<int>;
/// The core's mesh of triangles.
using Mesh = QELT::Geometry::ThreeDimensional::TriMesh::Mesh;
/// A triangle of a mesh.
using Triangle = QELT::Geometry::ThreeDimensional::TriMesh::Triangle;
/// An edge of a mesh.
using Edge = QELT::Geometry::ThreeDimensional::TriMesh::Edge;
/// The core's grid of quads.
using Grid = QELT::Geometry::ThreeDimensional::QuadMesh::RectMesh;

} // namespace QELT::Inspection
