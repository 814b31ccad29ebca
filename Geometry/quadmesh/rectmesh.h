#pragma once

#include "Geometry/foundations/boundingbox.h"
#include "Geometry/foundations/export.h"
#include "Geometry/foundations/point.h"
#include "Geometry/foundations/progresslistener.h"
#include "Geometry/foundations/sharedtext.h"
#include "Geometry/foundations/vector.h"
#include "Geometry/quadmesh/edge.h"
#include "Geometry/quadmesh/files/quadfileheader.h"
#include "Geometry/quadmesh/quadindicesintersectionstatus.h"
#include "Geometry/quadmesh/quadintersectiondata.h"
#include "Geometry/quadmesh/quadvaliditygenerator.h"

#include <array>
#include <cstdint>
#include <fstream>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace QELT::Geometry::ThreeDimensional {

class AffineMap;

namespace TriMesh {
class Mesh;
}

namespace QuadMesh {

class AreaStatistics;
class QuadIndicesEllipseIntersectionInfo;
class QuadReader;
struct Nodes;

/// Frees a row of nodes as the bare memory that it was made in: a point ends without anything to do, and
/// `delete[]` would look at each of them to find that out.
struct RowDeleter {
    void operator()(void* row) const { ::operator delete(row); }
};

/// The points or the flag bytes of a row of a grid.
template <class Node>
using NodeRow = std::unique_ptr<Node[], RowDeleter>;

/// A direction of the grid.
enum CanonicalAxis : int { AxisU = 0, AxisV = 1 };

/// A coordinate plane of space.
enum CanonicalPlane : int { PlaneYZ = 0, PlaneXZ = 1, PlaneXY = 2 };

/// How a grid grows past its outline: there is one way.
enum BoundaryExtensionAlgorithm : int { Basic = 0 };

/// A surface as a grid of points: node (u, v), 0 <= u <= `extents.u`, 0 <= v <= `extents.v`, each with a flag
/// byte. A node without the flag `Valid` has no surface under it, so a part of any outline is held in a
/// rectangle with holes. A quad is named by its low corner and exists when its four corners are valid. The
/// indices of the quads are the pixels of a scan image.
///
/// A grid comes from a flattened triangle mesh (`construct`), a formula (`setAs...`) or a file (`load`); a
/// beam is located on it by `getIntersection`, which remembers where the last beam hit: even a query changes
/// the grid, so one grid serves one thread at a time. Every reader of geometry goes through the virtual
/// `getPoint`, so that a derived grid can show other points than it stores.
///
/// The copy constructor shares rows with its source, and writing through one shows in the other; assignment
/// copies them. Rows live as long as the last grid that holds them.
class QELT_EXPORT RectMesh {
public:
    /// Numbers of the bits in a node's flag byte.
    enum PointFlagID : int {
        /// The node holds a surface point. The others have a meaning only with it.
        Valid = 0,
        /// Resampled node off the walked boundary.
        Interior = 1,
        /// Node on the walked boundary of the resampled grid.
        Boundary = 2,
        /// Boundary node beside a cut of the source mesh.
        CutBoundary = 4,
    };

    /// How `getSubSampled` takes its value.
    enum ResampleDataType : int {
        /// At most so many quads, by a power of two in each direction.
        ApproximateQuadCount = 0,
        /// One node out of so many in each direction: with 3 the nodes 0, 3, 6 and so on.
        Factor = 1,
    };

    /// An empty grid named "Unnamed<n>.quads", n counting the grids made by this constructor, in
    /// whatever thread.
    RectMesh();
    RectMesh(RectMesh const&) = default;

    /// The point of a node, by value: the stored one, unless a derived grid shows another. No range check.
    virtual ThreeDimensional::Point getPoint(TwoDimensional::Point<int> const& p) const;

    virtual ~RectMesh();

    /// A deep copy of points, flag bytes, areas, the three flips, search memory and file name. Points are
    /// copied as they are stored, not as a scaled source shows them. Offset, double-sidedness, position and
    /// its flags, listener, source name and the area settings of the target stay as they are. From an empty
    /// grid: an empty grid.
    RectMesh& operator=(RectMesh const& other);

    /// \name Nodes
    ///@{

    /// Stores the point and makes the node valid. No range check.
    void setPoint(TwoDimensional::Point<int> const& p, ThreeDimensional::Point const& point);

    /// The stored points of row `v`, one more than there are quads along u, valid or not; null if there is no
    /// such row. They are shared and not copied: a later change in place shows in them, and they outlive the
    /// grid and any replacement of its rows.
    std::shared_ptr<ThreeDimensional::Point const> getRow(unsigned long v) const;

    /// Whether the node lies in the grid, compared as signed numbers. An empty grid admits (0, 0) although
    /// it has no node there; flags of that node read as 0.
    bool getIsPointInBounds(TwoDimensional::Point<int> const& p) const;

    /// Flags out of range read as 0, and writing them is ignored.
    bool getPointFlag(TwoDimensional::Point<int> const& p, PointFlagID id) const;
    char getPointFlags(TwoDimensional::Point<int> const& p) const;

    /// Whether the node holds a surface point.
    bool getIsPointValid(TwoDimensional::Point<int> const& p) const { return getPointFlag(p, Valid); }

    void setPointFlag(TwoDimensional::Point<int> const& p, PointFlagID id, bool value);
    void setPointFlags(TwoDimensional::Point<int> const& p, char newFlags);

    /// An invalidated node keeps its point and its other flags, and with one of these no extension of the
    /// boundary makes it valid again: clear all its flags for that.
    void setPointValidity(TwoDimensional::Point<int> const& p, bool value) { setPointFlag(p, Valid, value); }

    /// The same on a byte in hand.
    bool getFlag(char flagByte, PointFlagID id) const;
    char setFlag(char flagByte, PointFlagID id, bool value) const;

    /// Whether the four corners of the quad are in the grid and valid.
    bool getIsQuadValid(TwoDimensional::Point<int> const& p) const;

    /// Whether the node is valid and one of its four neighbours lies in the grid and is not. The grid's own
    /// rim does not count.
    bool getIsBoundaryPoint(TwoDimensional::Point<int> const& p) const;

    /// Whether the node is a resampled one, not one added by an extension of the boundary.
    bool getIsInteriorNonExtendedPoint(TwoDimensional::Point<int> const& p) const;

    ///@}
    /// \name Settings
    ///@{

    /// The highest index in each direction, which is also the number of quads.
    TwoDimensional::Vector<unsigned long> getExtents() const;

    /// Added to reported indices to place the grid in the scan plane; nothing is moved.
    TwoDimensional::Vector<int> getOffset() const { return offset; }

    void setOffset(TwoDimensional::Vector<int> const& newOffset) { offset = newOffset; }

    /// Turns the normal over in the search. The normal queries below do not heed it.
    void setDoFlipNormals(bool value) { doFlipNormals = value; }

    /// Reported indices in that direction count from the far end.
    void setAxisFlipFlags(bool u, bool v);

    /// Stored, and taken over by the copy constructor alone; the search does not heed it.
    void setDoUseDoubleSided(bool value) { doUseDoubleSided = value; }

    /// The grid answers only while bit `position` modulo 32 of the flags is set.
    void setActivePositionFlags(unsigned long newFlags) { activePositionFlags = toUInt32(newFlags); }

    void setPosition(unsigned long newPosition) { position = toUInt32(newPosition); }

    /// Not owned; null means silence.
    void setProgressListener(ProgressListener* listener) { progressListener = listener; }

    /// Stores the two counts and rebuilds the search points, whose number does not depend on them.
    void setNumberOfSearchPoints(unsigned long u, unsigned long v);

    /// The part of the file name from the last backslash on, which it keeps.
    std::string getShortFileName() const;

    /// Empties the grid. Settings and search memory stay.
    void clear() { uninit(); }

    ///@}
    /// \name Geometry of quads, read through `getPoint`
    /// None of these heeds flips or offset. The forms that say so have no range check: ask them only of quads
    /// and nodes inside the grid.
    ///@{

    /// The corners p, p + (1, 0), p + (1, 1), p + (0, 1) into `out`; stops at the first that is not valid.
    void getQuadPoints(TwoDimensional::Point<int> const& p, ThreeDimensional::Point* out) const;

    /// The lower (p, +u, +u+v) or upper (p, +u+v, +v) triangle of the quad. No range check.
    void getQuadTrianglePoints(TwoDimensional::Point<int> const& p, ThreeDimensional::Point* out,
                               bool lower) const;

    /// Triangle `index` (0 to 7, counter-clockwise from +u) of the fan around node p at distance `step`. No
    /// range check; nothing is written for an index past 7.
    void getQuadTrianglePoints(TwoDimensional::Point<int> const& p, ThreeDimensional::Point* out,
                               unsigned long index, int step) const;

    /// The normal of a triangle of the quad, or of the fan with step 1 (zero for an index past 7), as long as
    /// twice the triangle's area. It points to where u turned into v is counter-clockwise. No range check.
    ThreeDimensional::Vector getQuadNormalVector(TwoDimensional::Point<int> const& p, bool lower) const;
    ThreeDimensional::Vector getQuadNormalVector(TwoDimensional::Point<int> const& p,
                                                 unsigned long index) const;
    ThreeDimensional::Vector getQuadUnitNormalVector(TwoDimensional::Point<int> const& p, bool lower) const;

    /// The unit sum of the normals, each of the lower triangle, of quads p, p + (1, 0), p + (0, 1),
    /// p + (1, 1), the ones up and right; if none exists, of p - (1, 0), p - (0, 1), p - (1, 1); else
    /// (0, 0, 1).
    ThreeDimensional::Vector getPointUnitNormalVector(TwoDimensional::Point<int> const& p) const;

    /// The edges of the quad from its low corner, along u and along v. No range check.
    std::pair<ThreeDimensional::Vector, ThreeDimensional::Vector>
    getQuadBasis(TwoDimensional::Point<int> const& p) const;

    /// The mean of the four corners, or (0, 0, 0) if the quad does not exist.
    ThreeDimensional::Point getMeanQuadPoint(TwoDimensional::Point<int> const& p) const;

    /// The box around all valid nodes.
    ThreeDimensional::BoundingBoxAA getBoundingBoxAA() const;

    /// Areas of the quads as settled when the grid was made or loaded, each the sum of the triangles on
    /// either side of the diagonal from its u corner to its v corner. Without quads: mean and maximum 0,
    /// minimum 1e11.
    double getMeanQuadArea() const { return meanQuadArea; }

    double getMinQuadArea() const { return minQuadArea; }

    double getMaxQuadArea() const { return maxQuadArea; }

    ///@}
    /// \name Resampling
    ///@{

    /// Replaces the grid by a regular sampling of a flattened mesh: nodes stand in the flat map at one
    /// spacing, chosen so that quads have the area `quadArea` on the surface on average, and each node inside
    /// a flat triangle takes its place on the surface. The map must start at (0, 0), else it is cut at the
    /// grid; a triangle turned over in it covers no node, one without area leaves valid nodes of NaNs if none
    /// after it covers them, and these make the mean area NaN. The outline gets the flag `Boundary` (the loop
    /// of the first boundary edge), beside a cut also `CutBoundary`, all other valid nodes `Interior`.
    /// Percentages come without a text, up to 101, and beyond where triangles have no flat area. Names and
    /// the area asked for stay also when this throws. \throws std::runtime_error "Insufficient memory to
    /// initialise quad-mesh." (an area of zero asks for infinitely many nodes), or "No boundary found" if no
    /// quad comes out; the nodes then stay.
    void construct(TriMesh::Mesh const& mesh, double quadArea);

    /// The same with nodes at this spacing of the flat map, above 0, instead of the one that follows from the
    /// area; `quadArea` is what the grid then carries as the area asked for. Without a spacing it is the
    /// above.
    void construct(TriMesh::Mesh const& mesh, double quadArea, std::optional<double> spacing);

    /// Grows the valid region by invented nodes, so that a beam just off the part still finds a quad: each
    /// pass continues the surface across the boundary (the loop of the first boundary edge) by one step, but
    /// not from a node beside a cut, and then smooths the new boundary `smoothingPasses` times. Invented
    /// nodes have the flag `Valid` alone. Each pass adds a margin of one node on all sides, which only the
    /// next pass fills: node (u, v) becomes (u + 1, v + 1), while offset, search points and the quad where
    /// the next search starts stay. Invalid nodes with other flags set are not grown into. Each pass reports
    /// its percentage. Nodes are read as `getPoint` shows them and the invented ones stored: extend a grid
    /// before it is scaled, not after. \throws
    /// std::runtime_error "Unsupported boundary extension algorithm.", "No boundary found" or "Insufficient
    /// memory to initialise quad-mesh.".
    void extendBoundary(BoundaryExtensionAlgorithm algorithm, unsigned long passes,
                        unsigned long smoothingPasses);

    ///@}
    /// \name Derived grids
    /// Valid nodes come with their flags and with the points that `getPoint` shows; other nodes are empty.
    /// The result may be this grid itself, which is then replaced. \throws std::runtime_error "Insufficient
    /// memory to initialise quad-mesh.", with the result unchanged.
    ///@{

    /// Node (u, v) at (u s, v s, 0), s being the side of a quad of mean area.
    void getFlattened(RectMesh& result) const;

    /// Centred on the origin, with `size` as the largest side of its box.
    void getNormalised(double size, RectMesh& result) const;

    /// Every point P at `scale` (P + `shift`).
    void getNormalised(double scale, ThreeDimensional::Vector const& shift, RectMesh& result) const;

    /// Every k-th node: k is `value` for `Factor` (1 for 0), the least power of two that leaves at most
    /// `value` quads for `ApproximateQuadCount`, and 1 for any other type. The result takes the file name.
    void getSubSampled(ResampleDataType type, unsigned long value, RectMesh& result) const;

    /// The nodes of an index box, both ends included; it may reach outside the grid.
    void getRestrictedToAABB(TwoDimensional::BoundingBoxAA<int> const& box, RectMesh& result) const;

    /// The nodes whose points lie in a box of space, with a ring of empty nodes around them.
    void getRestrictedToAABB(ThreeDimensional::BoundingBoxAA const& box, RectMesh& result) const;

    ///@}
    /// \name Changes in place
    /// They change what is stored and leave areas and search points as they are.
    ///@{

    /// Every valid node's point P becomes `origin` + `map`(P - `origin`).
    void transform(ThreeDimensional::Point const& origin, AffineMap const& map);

    /// Reflects the stored points through a coordinate plane moved to `origin`, and reverses the grid along
    /// an axis, so that quads stay counter-clockwise: `AxisV` reverses each row, `AxisU` each column; on a
    /// grid of a single row the latter clears the points. The reversal reads every node through `getPoint`:
    /// in a derived grid what is shown becomes what is stored, so that a scale is applied for good. Other
    /// planes reflect nothing. \throws std::runtime_error "Invalid scan flip axis" for any other axis, after
    /// the reflection.
    void mirror(CanonicalPlane plane, ThreeDimensional::Point const& origin, CanonicalAxis axis);

    ///@}
    /// \name Files
    /// A file that cannot be opened gives std::ios_base::failure with std::io_errc::stream and the text
    /// "Quad-mesh file open failure.", one that cannot be written to its end the same with "Quad-mesh file
    /// write failure.". What was written until then stays: no file, link or device is removed.
    ///@{

    /// Writes a `.quads` file if the path holds ".quads" anywhere, else OBJ text if it holds ".obj"; the path
    /// becomes the file name once all is written. Files are the same on every machine, little-endian.
    /// \throws std::runtime_error "Unsupported file extension".
    void save(char const* path);

    /// Writes the grid as OBJ text: every node, valid or not, and a face of four vertices for every quad.
    void saveAsOBJ(char const* path) const;

    /// Reads a `.quads` file of version 0 or 1. Settings that the file does not hold stay. The file name
    /// becomes the path without directory (up to the last backslash) and extension. A file that ends early is
    /// no error: what is missing reads as zero. After a throw the grid is as it was if the file could not be
    /// opened or is not a `.quads` file; with an unknown version it only has the new name; without memory it
    /// is empty; with an unknown data type it has the file's size, flags and areas and points of zeros.
    /// \throws std::runtime_error "Invalid .quads file.", "Unsupported .quad file version.", "Unsupported
    /// coordinate data-type" or "Insufficient memory to initialise quad-mesh.".
    void load(char const* path);

    /// The whole header of a `.quads` file of any version, without its nodes. A field that the file is too
    /// short for reads as zero. \throws std::runtime_error "Invalid .quads file.".
    static QuadFileHeader getFileHeader(char const* path);

    /// Some of its fields.
    static void getFileHeaderItems(char const* path, unsigned long& extentU, unsigned long& extentV,
                                   double& meanArea, double& minArea, double& maxArea);

    /// Writes 1024 lines: relative area and share of the quads, in bins of equal width from the smallest to
    /// the largest area. Where these are equal, all quads stand in the first bin.
    /// \throws std::ios_base::failure "Quad area distribution file open failure." or "Quad area distribution
    /// file write failure.".
    void saveQuadAreaDistribution(std::string const& path) const;

    ///@}
    /// \name Analytic surfaces
    /// Each replaces the grid; nodes get the flag `Valid` alone. They answer false, with the grid unchanged,
    /// if the grid would take more than `maxMB` megabytes or has more nodes than 32 bits count, and true
    /// otherwise. A plane's side or a cylinder's length shorter than one step has a single row of nodes,
    /// which are valid and NaN along that side. \throws std::runtime_error "Insufficient memory to initialise
    /// quad-mesh.".
    ///@{

    /// A rectangle in the plane z = 0 of whole steps of `spacing`, from (0, 0) or centred on it. False also
    /// for a negative size or spacing. The limit counts one row and column more than the grid gets.
    bool setAsPlane(TwoDimensional::Vector<double> const& size, double spacing, bool centred,
                    unsigned long maxMB);

    /// Node (u, v) at `origin` + `spacing` (u `stepU` + v `stepV`); quads exist where the generator says so.
    /// No limit; always true.
    bool setAsPlane(TwoDimensional::Vector<unsigned long> const& newExtents, double spacing,
                    ThreeDimensional::Point const& origin, ThreeDimensional::Vector const& stepU,
                    ThreeDimensional::Vector const& stepV, QuadValidityGenerator& generator);

    /// An arc of a cylinder around z, centred on the x axis: u runs along the axis, v around the arc against
    /// its angle, so that the normal points outward. Angles in radians.
    bool setAsCylinderArc(double radius, double arcAngle, double length, double spacing, unsigned long maxMB);

    /// An elliptic paraboloid over two orthonormal axes, cut off at `height` above the apex, sampled by a
    /// central projection from a point on its axis. Highest row and column stay invalid, and so does the
    /// node right under the projection's centre, where the intersection's quadratic term vanishes.
    bool setAsParaboloid(ThreeDimensional::Point const& apex, ThreeDimensional::Vector const& axisU,
                         ThreeDimensional::Vector const& axisV, double const& curvatureU,
                         double const& curvatureV, double const& height, double spacing, unsigned long maxMB);

    /// A cap of a sphere around the origin at its +z pole, by stereographic projection.
    bool setAsSphereArcStereographic(double radius, double const& halfAngle, double const& spacing,
                                     unsigned long maxMB);

    /// Kept for its callers: leaves the grid as it is and answers true.
    bool setAsSphereArcAreaPreserving(double radius, double const& halfAngle, double const& spacing,
                                      unsigned long maxMB);

    /// A fixed wavy field of 129 by 129 nodes for tests. Always true.
    bool setAsHeightField();

    ///@}
    /// \name Beam search
    ///@{

    /// Which quad the beam from `origin` along `direction` meets: a search from where the last beam hit and,
    /// unless that gives a hit within a quarter turn of head-on, a second one from a fresh start, whose
    /// answer stands also if the first had a hit and it has none.
    QuadIndicesIntersectionStatus getIntersection(ThreeDimensional::Point const& origin,
                                                  ThreeDimensional::Vector const& direction);

    /// One search. It walks from the quad remembered, or with `doReset` or nothing remembered from a start
    /// found by sampling the grid for nodes near `origin`, by projecting the beam onto the current quad's
    /// plane, for at most 32 steps. A start outside the grid is walked from the nearest quad inside. Beams
    /// that meet an edge of a triangle exactly miss, as do beams along the surface and quads without area;
    /// hits behind the origin count, as near ones. The next search starts from the quad hit only if the
    /// quality mode says so: in `AngleThenDistance` after a hit on the front nearer than 1000, in
    /// `DistanceOnly` after any nearer than 1000 (or at 10000 and beyond, where nothing is measured), in
    /// `AngleOnly` after any on the front nearer than 10000, else never. That quad stays remembered when the
    /// grid is replaced or extended. Not valid if nothing was hit or the position is not active.
    QuadIndicesIntersectionStatus getIntersectionStatus(ThreeDimensional::Point const& origin,
                                                        ThreeDimensional::Vector const& direction,
                                                        bool doReset);

    /// Whether the beam's line meets the quad, and where. `data` (may be null) is written for hits nearer
    /// than 10000. `hitPoint` is written also when the answer is false, if the quad exists.
    bool getDoesIntersectQuad(TwoDimensional::Point<int> const& quad, ThreeDimensional::Point const& origin,
                              ThreeDimensional::Vector const& direction, ThreeDimensional::Point& hitPoint,
                              QuadIntersectionData* data) const;

    /// The existing quad whose low corner is nearest, by looking at all of them, and its distance. Without
    /// quads (0, 0) and the root of the largest double.
    TwoDimensional::Point<int> getNearestPoint2D(ThreeDimensional::Point const& target,
                                                 double& distance) const;

    /// The footprint of a spreading beam around a quad, to first order: the beam's axis and four rays at its
    /// rim meet the plane of the quad, and are given in grid indices magnified `unity` times, truncated. The
    /// beam goes along the cross product of the two axes, which are best of unit length and perpendicular;
    /// its rim rays start at `apertureRadius` from `origin` and spread by the angle of the cotangent. No
    /// flips and no offset apply. False, with `info` unchanged, if the quad does not exist. A beam in the
    /// plane gives saturated numbers or 0.
    bool getConeIntersection(ThreeDimensional::Point const& origin, ThreeDimensional::Vector const& axisA,
                             ThreeDimensional::Vector const& axisB, double coneCotangent,
                             double apertureRadius, TwoDimensional::Point<int> const& quad, int unity,
                             QuadIndicesEllipseIntersectionInfo& info) const;

    /// Tests the search on itself: along `numberOfTests` random lines of the grid, drawn by `rand`, it moves
    /// an array of `numberOfElements` beams (at least one) set across the line at `elementPitch`, fires each
    /// straight down at a known quad, and counts whether `getIntersection` names it. The counters are added
    /// to, and lines on which a beam failed are appended to `failedLines`; the result is whether that is
    /// empty. Only for grids without offset and flips. On a flat regular grid beams of diagonal lines can
    /// stand exactly on the quads' diagonals, where none hits. On a grid on which no line has room for the
    /// array this never returns; on one without any quad along an axis it tests nothing.
    bool testArrayStripes(
        unsigned long numberOfTests, double elementPitch, unsigned long numberOfElements,
        unsigned long& numberOfPasses, unsigned long& numberOfFailures,
        std::vector<std::pair<TwoDimensional::Point<int>, TwoDimensional::Point<int>>>& failedLines);

    /// Lets the next search start afresh.
    void resetQuadIndicesSearch() { doResetSearch = true; }

    /// How often the search for a start may go on without coming nearer, while it is more than 20 length
    /// units off. For all grids.
    static void setMaxDoNMoreTimes(unsigned long value) { maxDoNMoreTimes = toUInt32(value); }

    static std::uint32_t maxDoNMoreTimes;

    /// How many samples a pass of the search for a start takes: a lattice of the greatest square in this
    /// number, the rest at (0, 0); none if 0, which leaves the start in the middle; at most 2^20. For all
    /// grids.
    static std::uint32_t searchDivideByNTimes;

    ///@}

protected:
    /// Makes a grid of these extents with every node invalid. Where the last beam hit stays remembered.
    /// \throws std::runtime_error "Insufficient memory to initialise quad-mesh.", leaving an empty grid.
    void init(TwoDimensional::Vector<unsigned long> const& newExtents);

    /// Reads the header off the start of a file that is open in binary mode, up to the flag block. A field
    /// that the file is too short for reads as zero; of version 0 the data type is `DoubleCoordinates`.
    /// \throws std::runtime_error "Invalid .quads file.", with the header as it was.
    static void readFileHeader(std::ifstream& stream, QuadFileHeader& header);

private:
    struct Extents {
        std::uint32_t u = 0;
        std::uint32_t v = 0;
    };

    void uninit();

    /// The rows as the algorithms beside the grid see them, and the other way round: other rows in place of
    /// these. All that `uninit` clears is then 0; of a derived grid the areas are those of the new quads,
    /// which were measured as the rows were made.
    Nodes getNodes() const;
    void setNodes(Nodes const& nodes);
    void setDerivedNodes(Nodes const& nodes, AreaStatistics const& storedAreas);

    /// The quads as the search reads them.
    QuadReader getQuadReader() const;

    bool getPointValidity(TwoDimensional::Point<int> const& p) const { return getPointFlag(p, Valid); }

    bool getHasRows() const { return points != nullptr; }

    void setFileName(std::string const& name) { fileName = name; }

    static std::uint32_t getNumberOfMBs(unsigned long u, unsigned long v);

    /// Rebuilds the lattice of search points: one existing quad for about every `quadsPerPoint`, the nearest
    /// along v to its place on a lattice of the grid's aspect. The counts are outputs.
    void calculateSearchPoints(std::uint32_t const& quadsPerPoint, std::uint32_t& pointsU,
                               std::uint32_t& pointsV);

    Edge getVertexArbitraryEdge(TwoDimensional::Point<int> const& p) { return {this, p, Edge::PositiveU}; }

    /// The first boundary edge of the grid, or of what is left of it without so many nodes on each side,
    /// outside of which none is valid. \throws std::runtime_error "No boundary found".
    Edge getBoundaryEdge();
    Edge getInnerBoundaryEdge(std::uint32_t margin);

    /// Measures all quads, see `getMeanQuadArea`.
    void getMaxMeanMinQuadSize(double* max, double* mean, double* min) const;

    /// One pass of an extension of the boundary, and so many passes of a grid at which nobody looks in
    /// between.
    void extendBoundaryBasic(unsigned long smoothingPasses);
    void extendUnwatched(std::uint32_t passes, unsigned long smoothingPasses);

    /// Smooths the boundary of the grid without so many nodes on each side, outside of which none is valid.
    void smoothBoundary(unsigned long passes, std::uint32_t margin);

    /// Reverses the grid along an axis, see `mirror`.
    void flipWinding(CanonicalAxis axis);

    bool getEllipseAxisPoints(ThreeDimensional::Point const& origin, ThreeDimensional::Vector const& axisA,
                              ThreeDimensional::Vector const& axisB, double coneCotangent,
                              double apertureRadius, TwoDimensional::Point<int> const& quad,
                              ThreeDimensional::Point& centrePoint, ThreeDimensional::Point& axisPointA1,
                              ThreeDimensional::Point& axisPointB1, ThreeDimensional::Point& axisPointA2,
                              ThreeDimensional::Point& axisPointB2) const;

    /// What a file of that version has behind its header.
    void loadv0(QuadFileHeader const& header, std::ifstream& stream);
    void loadv1(QuadFileHeader const& header, std::ifstream& stream);

    /// Counts the quads in bins of equal width; areas beyond the range go into the nearest bin.
    void getQuadAreaDistribution(double min, double max, std::uint32_t binCount, std::uint32_t* bins,
                                 std::uint32_t* count) const;

    /// A quad from which to walk to `target`, by a coarse-to-fine descent over samples of the grid. It may be
    /// a local minimum, and with extra passes also a place outside the grid.
    TwoDimensional::Point<int> getStartSearchPoint(ThreeDimensional::Point const& target) const;

    /// Whether one of the existing quads among the samples is nearer to `target` than `best`, which it then
    /// becomes. With extra passes left and `best` far off, it becomes the best sample even without that.
    bool getIsAnyQuadPointCloser(TwoDimensional::Point<int> const* samples,
                                 ThreeDimensional::Point const& target, TwoDimensional::Point<int>& best,
                                 double& bestDistanceSqr, bool& hasInvalidQuad, unsigned long doNMoreCount,
                                 unsigned long sampleCount) const;

    std::shared_ptr<NodeRow<ThreeDimensional::Point>[]> points;
    std::shared_ptr<NodeRow<char>[]> flags;
    Extents extents;
    double meanQuadArea = 0.0;
    double minQuadArea = 0.0;
    double maxQuadArea = 0.0;
    bool doResetSearch = true;
    bool doFlipNormals = false;
    TwoDimensional::Point<int> lastQuadIndices;
    std::uint32_t numberOfSearchPointsU = 1;
    std::uint32_t numberOfSearchPointsV = 1;
    std::uint32_t quadsPerSearchPoint = 4096;
    std::vector<TwoDimensional::Point<int>> searchPoints;
    TwoDimensional::Vector<int> offset;
    bool doFlipUAxis = false;
    bool doFlipVAxis = false;
    bool doUseDoubleSided = false;
    SharedText fileName;
    std::string sourceName;
    std::uint32_t activePositionFlags = 0xFFFFFFFFU;
    std::uint32_t position = 0;
    ProgressListener* progressListener = nullptr;
    double targetQuadArea = 0.0;
    double quadAreaTolerance = 0.1;
    bool doSnapQuadAreas = false;

    static std::uint32_t creationCount;
};

} // namespace QuadMesh
} // namespace QELT::Geometry::ThreeDimensional
