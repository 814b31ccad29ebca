#pragma once

#include "Geometry/foundations/export.h"
#include "Geometry/foundations/map.h"
#include "Geometry/foundations/point.h"
#include "Geometry/foundations/progresslistener.h"
#include "Geometry/foundations/progressterminator.h"
#include "Geometry/trimesh/boundary/boundaryloop.h"
#include "Geometry/trimesh/conformalmapreport.h"
#include "Geometry/trimesh/edge.h"
#include "Geometry/trimesh/triangle.h"
#include "Geometry/trimesh/vertex.h"

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace QELT::LinearAlgebra {
class LinearSolver;
class Vector;
} // namespace QELT::LinearAlgebra

namespace QELT::Geometry::ThreeDimensional::PointCloud {
class Cloud;
}

namespace QELT::Geometry::ThreeDimensional::TriMesh {

class Connectivity;
class SurfaceBuilder;
class TriangleArena;

/// One entry of a cut: a vertex on one of its lips.
struct CutEdgeIndex {
    std::uint32_t index = 0;
};

/// The two lips of a cut, of equal length: entry k of `second` is the vertex that was split off from entry k
/// of `first`.
using CutEdgeIndices = std::pair<std::vector<CutEdgeIndex>, std::vector<CutEdgeIndex>>;

/// A triangle by its vertices, whose indices count from 0. The surface faces where they run
/// counter-clockwise.
using Face = std::array<std::uint32_t, 3>;

/// At which end of an axis a cut starts.
enum CutMetric : int {
    Minimum = 0,
    Maximum = 1,
};

/// What a mesh file held.
class QELT_EXPORT FileContents {
public:
    FileContents() = default;

    FileContents(bool newContains3D, bool newContains2D)
        : contains3D(newContains3D), contains2D(newContains2D) {}

    bool getDoesContain3D() const { return contains3D; }

    bool getDoesContain2D() const { return contains2D; }

private:
    bool contains3D = false;
    bool contains2D = false;
};

/// The triangulated surface of a part, with boundary. It is built one triangle at a time, is flattened by
/// `conformalMap`, and is then resampled by `QuadMesh::RectMesh::construct`.
///
/// Edges are values, not stored objects: from a vertex the mesh knows some of the triangles that touch it,
/// and all else is navigation (see `Edge`). A boundary is where a triangle has no neighbour.
///
/// The mesh owns vertices and triangles. Pointers to triangles stay valid as long as it, also over `load`. A
/// mesh is neither copied nor moved, since its triangles know it. One mesh serves one thread at a time.
/// Whatever an operation throws, `std::bad_alloc` or a listener's own included, leaves a mesh that can be
/// asked, saved, filled again and destroyed: `load` and `construct` leave what they built until then, others
/// the mesh as it was, unless they say more.
class QELT_EXPORT Mesh {
public:
    Mesh();

    /// The mesh that `construct` makes of points and faces. Throws what that throws.
    Mesh(std::vector<Point> const& points, std::vector<Face> const& faces);

    Mesh(Mesh const&) = delete;
    Mesh& operator=(Mesh const&) = delete;
    virtual ~Mesh();

    /// Replaces the mesh by the contents of an OBJ text file: records "v x y z", "vt u v" for each vertex or
    /// none, and "f a b c" with indices from 1. Lines mean nothing: any `v` or `f`, also in a word or
    /// comment, starts a record if its three numbers follow; what does not match, as a face with slashes, is
    /// skipped. Faces must hang together over shared sides with consistent winding. Vertices without one are
    /// dropped, normals computed, and the pairs of `<directory>\<stem>_cut_indices.txt`, if there is one,
    /// appended to the cut (see `getCutEdgeIndices`). Only a backslash separates directories. \throws
    /// std::runtime_error "Invalid file extension" if the path holds no ".obj", "Cannot open file", "File
    /// does not contain 3D data", "Invalid number of 2D coordinates", "Invalid vertex index", or "Mesh
    /// construction failure" if there is no face or the faces cannot be joined. After these, and after an
    /// exception of the listener, the mesh holds what was read until then; flattening refuses it while a
    /// vertex has no triangle.
    FileContents load(char const* path);

    /// The same with the cut in a file of its own, at `cutPath`; if none can be opened there, there is no
    /// cut. Directories are separated as on the platform, and the file name becomes the stem of `path`.
    FileContents load(char const* path, char const* cutPath);

    /// Writes the mesh as `load` reads it, numbers with six decimals: 3D vertices and faces; with `saveFlat`
    /// the flat coordinates as well; with both flags the flat map in place of the surface, as a plane that
    /// any program shows. `saveFlatAs3D` alone writes faces only. The cut, if there is one, goes to a file
    /// beside it; that this cannot be opened goes unnoticed. What was written of a file that fails stays.
    /// \throws std::runtime_error "Invalid file extension", "Cannot open file", and "Cannot write mesh file"
    /// or "Cannot write cut file" if it cannot be written to its end, as on a full disk.
    void save(char const* path, bool saveFlat, bool saveFlatAs3D) const;

    /// The same with the cut, if there is one, written to `cutPath`, wherever that is. Without a cut nothing
    /// is written there, and a file that is there stays. \throws also "Cannot open cut file", with the mesh
    /// written.
    void save(char const* path, char const* cutPath, bool saveFlat, bool saveFlatAs3D) const;

    /// Replaces the mesh by the one that `load` makes of an OBJ file of these points and faces, without flat
    /// coordinates: the same vertices, triangles, orders and normals, and the same demands on the faces. The
    /// file name and the cut of an earlier mesh stay.
    /// \throws std::runtime_error "Invalid vertex index" if a face names a point that is not there, with the
    /// mesh unchanged, or "Mesh construction failure" if there is no face or the faces cannot be joined, with
    /// what was built until then.
    void construct(std::vector<Point> const& points, std::vector<Face> const& faces);

    /// Replaces the mesh by a surface through the points of a cloud, by an advancing front from the closest
    /// two points on, facing up there. A point forms triangles with its 64 nearest others only, and uses each
    /// such link once. Vertex i is point i, also when no triangle reaches it; normals are not computed, and
    /// sides still open when all points are reached stay open. Sheets may touch in a point alone, which
    /// `conformalMap` refuses, or pass over each other. The first triangle stands on the left of its closest
    /// pair, lower index first: on a rim there may be no point there, and the points in reverse order then
    /// do. A side of it on which no point can stand waits for nothing. Time grows a little faster than the
    /// number of points, on a lattice too. The file name and the cut of an earlier mesh stay. \throws
    /// std::runtime_error "Cannot add floating triangle" if no first triangle can be made.
    void construct(PointCloud::Cloud const& cloud);

    /// The boundary of the triangles that `getTriangles` gathers, of which each open side lies on one loop.
    /// Loops come in the order of their lowest vertices, at which each starts; loops with the same one, in
    /// that of the triangles of their first edges. A mesh that is closed or empty has none. Costs a walk
    /// along the boundary beside `getTriangles`.
    [[nodiscard]] std::vector<BoundaryLoop> getBoundaryLoops() const;

    /// The four corners of the longest boundary loop, by how sharply it turns and how far they lie apart,
    /// into `corners[0]` to `corners[3]`. The first and the third are the ends of the longest diagonal. A
    /// loop without a turn of more than 80 degrees gives its first four vertices, over again if it has fewer;
    /// of more than 1024 such turns only the sharpest count. A mesh without boundary leaves `corners` as they
    /// are.
    void getCorners(Point* corners) const;

    /// Slits the mesh along edges, from the boundary vertex with the least or greatest coordinate `axis` to
    /// another boundary, as straight as edges allow in the plane through that vertex along both axes. Meant
    /// for tubes, before they are flattened. `perpendicularAxis` is the axis along which the surface's normal
    /// points at the start, outward and to the axis's positive side, and not one across the surface: x for a
    /// tube along z whose rim has its first highest vertex where x is greatest. True when the mesh was cut:
    /// the vertices of the path are doubled, the twins on its left getting new indices, and the pairs are
    /// kept as the cut. False, with the mesh as it was and no cut, if there is no boundary, if the path finds
    /// no edge that leads on, meets itself or runs along the boundary, if one of its edges ends exactly on
    /// the plane, or if one ends where sheets touch in a point alone, in another sheet than the first. An
    /// exception leaves the same.
    bool makeCut(CutMetric metric, unsigned long axis, unsigned long perpendicularAxis);

    /// Gives every vertex its place in the plane by a least-squares conformal map (see conformalmap.cpp),
    /// along u and with its low corner at (0, 0). With `doPinExtremeCorners` two far corners of the longest
    /// boundary loop are fixed; without, that loop is rolled out. Vertices are renumbered for good.
    /// `pSolution` (may be null) receives the solution, and is the start with `doUseSolutionAsStart`: it fits
    /// only a mesh numbered as that one was before its call. A solve that fails leaves its last iterate: the
    /// report tells. Unless a solver is attached, standard output receives with a listener the progress of
    /// each solve, and after the inside's a new line or that it failed; of how the rim's ended, nothing.
    /// \throws std::runtime_error "Mesh has no boundary", "Mesh boundary is not manifold", "Mesh has a vertex
    /// without a triangle", with the mesh unchanged; then "Boundary flattening internal failure" for a loop
    /// of fewer than five vertices, and SparseMatrix::SparseMatrixInvalidDimensionsException* for a start of
    /// the wrong length. Should memory run out, or a listener or solver throw, the vertices are renumbered or
    /// not, the flat places perhaps the old ones or not yet turned, the solution empty.
    void conformalMap(bool doPinExtremeCorners, LinearAlgebra::Vector* pSolution, bool doUseSolutionAsStart);

    /// How the solves of the last `conformalMap` ended; no report for those that it did not come to.
    ConformalMapReport const& getConformalMapReport() const { return conformalMapReport; }

    /// Builds a hexagonal cone of seven vertices in this empty mesh and flattens it, as a trial.
    void conformalMapTest();

    unsigned long getNumberOfVertices() const { return toUInt32(vertices.size()); }

    /// The index wraps modulo the number of vertices, of which there must be one. The reference is to a place
    /// of the array: it stays valid until vertices are added or dropped (`load`, `construct`, `makeCut`,
    /// `conformalMapTest`) or the mesh ends. `conformalMap` leaves the array and puts other vertices there.
    Vertex const& getVertex(unsigned long i) const {
        return vertices[toUInt32(i) % toUInt32(vertices.size())];
    }

    /// Vertex i, modulo their number.
    Vertex& getVertex(unsigned long i) { return vertices[toUInt32(i) % toUInt32(vertices.size())]; }

    /// Gathers the triangles in ascending order of their addresses, which is the order in which they were
    /// made as far as they lie in one run of memory. They stand from `first` to `last`; what lies behind
    /// `last` in `list` is left over from the work. Costs a walk around every vertex.
    ///
    /// Of each vertex one fan of triangles is seen, mostly that which was built first. Where a surface meets
    /// itself in points, a triangle is missing if each of its three vertices shows another fan (2 of 25,988
    /// in a bunny that was reconstructed, saved and loaded again); `save` writes it no more than this lists
    /// it.
    void getTriangles(std::vector<Triangle*>& list, std::vector<Triangle*>::iterator& first,
                      std::vector<Triangle*>::iterator& last) const;

    /// The triangles of the surface that `getTriangles` misses although navigation leads to them, in
    /// ascending order of their addresses. None, as a rule.
    [[nodiscard]] std::vector<Triangle*> getUnlistedTriangles() const;

    /// The name that `load` took last, without directory and extension.
    std::string const& getFileName() const { return fileName; }

    /// Names a surface that was not loaded; a grid that is made of the mesh takes the name over.
    void setFileName(std::string const& name) { fileName = name; }

    /// The vertices on both lips of the cut, as `makeCut` left them; `conformalMap` renumbers them. A `load`
    /// appends the pairs of its cut file and behind them a pair (0, 0), which `save` writes like any other.
    /// Lips are followed from pair to pair: a resampled grid then has `CutBoundary` also where its boundary
    /// meets the straight way, in the flat map, from the last pair to what was vertex 0.
    CutEdgeIndices const& getCutEdgeIndices() const { return cutEdgeIndices; }

    /// Neither is owned; null means none. The terminator is kept but not asked.
    void setProgressListener(ProgressListener* listener) { progressListener = listener; }

    void setProgressTerminator(ProgressTerminator* terminator) { progressTerminator = terminator; }

    /// Solves the systems of `conformalMap` in place of conjugate gradients: the rim's as least squares, the
    /// inside's as a symmetric system, with the start if there is one. Not owned; null, as in a new mesh,
    /// means none. An answer of the wrong length makes `conformalMap` throw std::runtime_error "Linear solver
    /// gave a wrong number of values".
    void setLinearSolver(LinearAlgebra::LinearSolver* solver) { linearSolver = solver; }

    LinearAlgebra::LinearSolver* getLinearSolver() const { return linearSolver; }

private:
    /// What the algorithms read, and what they build with.
    Connectivity getConnectivity() const;
    SurfaceBuilder getBuilder();

    /// Appends a vertex that no triangle touches yet. Always true.
    bool addVertex(Vertex const& vertex);

    /// Adds a triangle of three floating vertices. False only if there are not three indices: if one of the
    /// vertices is attached, nothing is added and the result is true.
    bool addFloatingTriangle(std::vector<unsigned long> const& indices);

    /// Adds a triangle across boundary edge `e` with apex `w`, and stitches its other sides to listed
    /// triangles that lie against them. False if `e` is not on the boundary or a stitch is taken; what was
    /// stitched until then stays.
    bool addBoundaryTriangle(Edge const& e, int w);

    /// Whether no triangle touches the vertex. The index wraps.
    bool getIsVertexFloating(unsigned long v) const;

    /// False for an index out of range.
    bool getIsVertexAttached(unsigned long v) const;

    /// Whether the first listed fan of the vertex is open. True for a floating vertex.
    bool getIsBoundaryVertex(unsigned long v) const;

    /// Whether the directed edge a to b exists; `out` (may be null) receives it.
    bool getDoesEdgeExist(unsigned long a, unsigned long b, Edge* out) const;

    /// An edge out of the vertex, or one without a triangle if the vertex is floating.
    Edge getVertexArbitraryEdge(unsigned long v) const;

    /// Whether a triangle with apex `w` across `e` would not fold back over the triangle of `e`.
    bool getIsVertexAdmissable(Edge const& e, unsigned long w) const;

    /// The normal of the surface at an attached vertex: the gradient of the fan's area, turned over as a
    /// whole if any of the fan's triangles faces away from it. Flat fans around an inner vertex have no
    /// gradient and give what rounding leaves, or NaN.
    Vector getVertexNormal(unsigned long v) const;
    void calculateVertexNormals();

    /// Drops the vertices that no triangle touches and renumbers the others in their order.
    void clean();

    /// Empties the mesh. The file name, the cut and the listener stay, and so do triangles' addresses.
    void clear();

    /// The nearest whole number, a half going upward.
    static double round(double value);

    std::string getCutEdgeIndicesFileName(std::string const& stem) const;
    void saveCutEdgeIndices(std::string const& path, CutEdgeIndices const& indices) const;

    /// Appends the pairs of the file; none if it cannot be opened. The read that meets the end of the file
    /// appends a pair (0, 0).
    void loadCutEdgeIndices(std::string const& path, CutEdgeIndices& indices) const;

    /// The apex that gives the triangle (a, b, apex) of the smallest circumradius on the side of `normal`,
    /// among the first `counts[a]` of `nearest[a]`, the earliest of equals. An apex of the surface must lie
    /// on the front beside the edge. If there is one, the links a to b and b to the apex are used up.
    /// `apexWasFloating` may be null.
    bool getMinrTSqr(unsigned long a, unsigned long b, std::vector<std::vector<std::uint32_t>>& nearest,
                     std::vector<std::uint32_t>& counts, Vector const& normal, unsigned long* apex,
                     double* rTSqr, bool* apexWasFloating) const;
    static void removeEdgeFromIndices(unsigned long a, unsigned long b,
                                      std::vector<std::vector<std::uint32_t>>& nearest,
                                      std::vector<std::uint32_t>& counts);

    /// The two ends, as positions along the first boundary loop, of its longest stretch between two kinks of
    /// more than 5 degrees, counted in vertices. The stretch through the start of the loop is not joined up;
    /// one that leads to the first kink starts at 0xFFFFFFFF. False if there is no boundary.
    bool getExtremeBoundaryVertexIndices(unsigned long* first, unsigned long* second) const;

    /// Renumbers the mesh: interior vertices first, then the boundary loops in walking order, the longest
    /// last; with `doPinExtremeCorners` its two most distant corners are the last two vertices of all.
    /// `numberOfBoundaryVertices` is the length of the longest loop alone.
    void promoteInterior(bool doPinExtremeCorners, unsigned long& numberOfInteriorVertices,
                         unsigned long& numberOfBoundaryVertices);

    /// Rolls the longest loop out into the plane: `boundaryPoints` has room for one point for each of its
    /// vertices, which must be the last of the mesh, in walking order.
    void getDevelopableBoundaryConformalMap(unsigned long numberOfBoundaryVertices,
                                            TwoDimensional::Point<double>* boundaryPoints);

    /// Solves for the places of the vertices that are not fixed, and reports. `solution` is as long as that;
    /// with `hasStart` it is the start.
    void solveForInside(std::vector<TwoDimensional::Point<double>> const& fixedPoints,
                        LinearAlgebra::Vector& solution, bool hasStart);

    /// Turns the flat map to the smallest of 4096 bounding boxes over a quarter turn, with its long side
    /// along u and its low corner at (0, 0). Always true.
    bool transformMinBBArea2D();

    std::vector<std::vector<Triangle*>> vertexTriangles;
    std::vector<Vertex> vertices;
    std::string fileName;
    CutEdgeIndices cutEdgeIndices;
    ProgressListener* progressListener = nullptr;
    ProgressTerminator* progressTerminator = nullptr;
    LinearAlgebra::LinearSolver* linearSolver = nullptr;
    ConformalMapReport conformalMapReport;
    std::unique_ptr<TriangleArena> triangles;
};

} // namespace QELT::Geometry::ThreeDimensional::TriMesh
