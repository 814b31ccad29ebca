#pragma once

/// Everything public of QELTGeometry: from a file of triangles to the pixel that a beam meets.
///
/// \code
/// TriMesh::Mesh mesh;
/// mesh.load("examples/cap.obj");
/// mesh.conformalMap(false, nullptr, false);
/// QuadMesh::RectMesh grid;
/// grid.construct(mesh, 0.25);
/// auto const status = grid.getIntersection(Point(3.0, 4.0, 50.0), Vector(0.0, 0.0, -1.0));
/// std::cout << status.getIsValid() << ' ' << status.getIndices().getU() << '\n';
/// \endcode

#include "Geometry/fitting/utility.h"
#include "Geometry/foundations/affinemap.h"
#include "Geometry/foundations/boundingbox.h"
#include "Geometry/foundations/linearmap.h"
#include "Geometry/foundations/map.h"
#include "Geometry/foundations/object.h"
#include "Geometry/foundations/plane.h"
#include "Geometry/foundations/point.h"
#include "Geometry/foundations/progresslistener.h"
#include "Geometry/foundations/progressterminator.h"
#include "Geometry/foundations/quaternion.h"
#include "Geometry/foundations/vector.h"
#include "Geometry/foundations/version.h"
#include "Geometry/groups/mtf_list.h"
#include "Geometry/groups/rectmeshgroup.h"
#include "Geometry/groups/rectmeshgroups.h"
#include "Geometry/linearalgebra/linearsolver.h"
#include "Geometry/linearalgebra/solvelistener.h"
#include "Geometry/linearalgebra/solvereport.h"
#include "Geometry/linearalgebra/sparsematrix.h"
#include "Geometry/linearalgebra/utility.h"
#include "Geometry/linearalgebra/vector.h"
#include "Geometry/quadmesh/edge.h"
#include "Geometry/quadmesh/files/quadfileheader.h"
#include "Geometry/quadmesh/linearscalerectmesh.h"
#include "Geometry/quadmesh/quadindicesellipseintersectioninfo.h"
#include "Geometry/quadmesh/quadindicesintersectionstatus.h"
#include "Geometry/quadmesh/quadintersectiondata.h"
#include "Geometry/quadmesh/quadsearchfailure.h"
#include "Geometry/quadmesh/quadvaliditygenerator.h"
#include "Geometry/quadmesh/rectmesh.h"
#include "Geometry/quadmesh/transformedrectmesh.h"
#include "Geometry/spatial/cloud.h"
#include "Geometry/spatial/nearestpoints.h"
#include "Geometry/spatial/node.h"
#include "Geometry/spatial/tree.h"
#include "Geometry/trimesh/boundary/boundaryloop.h"
#include "Geometry/trimesh/conformalmapreport.h"
#include "Geometry/trimesh/edge.h"
#include "Geometry/trimesh/fan.h"
#include "Geometry/trimesh/mesh.h"
#include "Geometry/trimesh/triangle.h"
#include "Geometry/trimesh/vertex.h"
