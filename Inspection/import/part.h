#pragma once

#include "Inspection/frames/frame.h"
#include "Inspection/import/axismap.h"
#include "Inspection/import/objfile.h"
#include "Inspection/import/partfile.h"
#include "Inspection/import/xyzfile.h"
#include "Inspection/names.h"

#include <concepts>
#include <filesystem>
#include <optional>
#include <string>
#include <utility>

/// Parts made ready: what a file holds, welded, in triangles, without what no triangle needs.
namespace QELT::Inspection {

/// A point as files have it, in double precision.
using SpacePoint = std::array<double, 3>;

/// Where a part comes from: its file and, if that is in a cell's coordinates, the frame that takes these to
/// the part's, as `registerPoints` writes it.
struct PlacedPart {
    std::filesystem::path file;
    std::optional<std::filesystem::path> frame;

    PlacedPart() = default;

    template <std::convertible_to<std::filesystem::path> Path>
    PlacedPart(Path const& newFile, std::optional<std::filesystem::path> newFrame = {})
        : file(newFile), frame(std::move(newFrame)) {}

    /// The file's name, for messages.
    std::string string() const { return file.string(); }
};

/// What is done with a part on its way in.
struct LoadOptions {
    /// Points no farther apart become one, in the unit of the result. Unless given, STL and glTF files are
    /// welded within `defaultWeldShare` of the diagonal of their box, others are not.
    std::optional<double> weldTolerance;
    double scale = 1.0; ///< what coordinates are multiplied by
    AxisMap axes = sameAxes;
    bool movesFarParts = false; ///< whether a part that `liesFarOut` is brought near the origin
    /// Takes coordinates, mapped and multiplied, to those of the part.
    std::optional<Frame> frame = {};
};

/// About the rounding of coordinates in single precision.
inline constexpr double defaultWeldShare = 1e-6;

/// A part is told to lie far out from this multiple of its size on: single precision then has lost four of
/// its 24 bits.
inline constexpr double farOutRatio = 16.0;

/// What was found and done on the way from a file to a part.
struct LoadReport {
    PartFormat format = PartFormat::Obj;
    bool isMesh = false;
    bool isAsInFile = false; ///< nothing was done: it is an OBJ file that the core's own loader reads
    std::size_t pointsIn = 0;
    std::size_t pointsOut = 0;
    std::size_t weldedCount = 0;         ///< points that became one with an earlier one
    std::optional<double> weldTolerance; ///< what was welded within, nothing if nothing was to be
    std::size_t unusedCount = 0;         ///< points of no polygon in the file
    std::size_t polygonCount = 0;
    std::size_t trianglesIn = 0; ///< what the polygons come to, two fewer each than corners
    std::size_t trianglesOut = 0;
    std::size_t degenerateCount = 0; ///< left out: a point stands twice in them
    std::size_t crossingCount = 0;   ///< polygons that cross themselves; their triangles overlap
    bool isMirrored = false;         ///< the axes' map is a mirror; polygons were turned, so that normals
                                     ///< still point outward
    double size = 0.0;               ///< the diagonal of the box
    double reach = 0.0;              ///< the greatest coordinate without its sign, before any move
    double floatStep = 0.0;          ///< what single precision tells apart there
    std::string unit;    ///< of lengths, as the file or its format names it; empty if neither does
    SpacePoint offset{}; ///< what was taken off each point to bring the part near the origin

    /// Whether single precision loses too much of it where it lies.
    bool liesFarOut() const { return reach > farOutRatio * size; }

    bool isMoved() const { return offset != SpacePoint{}; }
};

/// A part as commands work on it. One without triangles is a cloud.
struct PartAsLoaded {
    LoadReport report;
    std::vector<SpacePoint> points;
    std::vector<SpacePoint> normals; ///< of a cloud, where its file has them: one a point, of any length
    std::vector<std::array<std::uint32_t, 3>> triangles;

    bool isMesh() const { return report.isMesh; }
};

/// Makes a part of what a file says: maps, scales and moves its points, welds them, cuts polygons into
/// triangles and leaves out those with a point twice and the points of none. No triangle is lost else, and no
/// point is moved on its own. `source` stands for the file in failures.
QELT_INSPECTION_EXPORT PartAsLoaded makePart(PartAsRead read, std::string const& source,
                                             LoadOptions const& options = {});

/// Reads a part of any format and makes it ready, in its frame if it has one. An OBJ file that the core's own
/// loader reads as it is meant is left as it is, if the options ask for nothing; of one in which many points
/// belong to no polygon it is told that it was cut off.
QELT_INSPECTION_EXPORT PartAsLoaded loadPart(PlacedPart const& source, LoadOptions const& options = {});

/// Whether the file holds points alone; one that cannot be read is judged by its name.
QELT_INSPECTION_EXPORT bool isCloudPart(PlacedPart const& source);

/// Fills the mesh with a part that was loaded from `path`: by the core's loader, with flat coordinates and
/// the cut file beside it, where the part is as in its file. Fails if it is a cloud.
QELT_INSPECTION_EXPORT ObjContents fillMesh(Mesh& mesh, PartAsLoaded const& part,
                                            std::filesystem::path const& path);

/// Tells that a run reads a part, and the frame that it is read with. Fails with a frame if the file was
/// moved when it was made, since the frame is for what it was made of.
QELT_INSPECTION_EXPORT void addPart(Record& record, PlacedPart const& source);

/// The points in single precision.
QELT_INSPECTION_EXPORT std::vector<Point> pointsOf(PartAsLoaded const& part);

/// The points of any part in single precision, those of a mesh too; and with normals, which fails where the
/// file has none.
QELT_INSPECTION_EXPORT std::vector<Point> loadPoints(PlacedPart const& source);
QELT_INSPECTION_EXPORT OrientedCloud loadOrientedPoints(PlacedPart const& source);

} // namespace QELT::Inspection
