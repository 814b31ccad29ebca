#pragma once

#include "Inspection/export.h"
#include "Inspection/parts/partfaults.h"

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

/// Cutting the face to inspect out of a part.
namespace QELT::Inspection {

/// A box along the axes, both ends within.
struct CropBox {
    Point low;
    Point high;
};

/// The side of a plane that its normal points to.
struct CropPlane {
    Point place;
    Vector normal;
};

/// Faces whose normals lie within an angle of a direction.
struct CropFacing {
    Vector direction;
    double angle = 0.0; ///< in radians
};

/// From the face nearest to a place over sides at which the surface bends by no more than an angle.
struct CropGrowth {
    Point place;
    double crease = 0.0; ///< in radians
};

/// A face is kept if it fits all that is given, with all of its three points.
struct CropChoice {
    std::vector<CropBox> boxes;
    std::vector<CropPlane> planes;
    std::optional<CropFacing> facing;
    std::optional<CropGrowth> growth;
    /// Patches that face or bend otherwise are kept if they lie within what is kept and have at most this
    /// share of its area: what noise would leave out as holes.
    double islandShare = 0.0;
};

/// What was kept.
struct CropReport {
    std::size_t keptCount = 0;
    std::size_t unwantedCount = 0;   ///< faces left out because they do not fit
    std::size_t islandFaceCount = 0; ///< faces kept although they do not fit
    std::size_t sheetCount = 0;      ///< other sheets that fit and were left out
    std::size_t sheetFaceCount = 0;  ///< their faces
    std::size_t pinchedCount = 0;    ///< faces left out where the rim would meet itself in a point
    std::size_t faultyCount =
        0; ///< faces left out before: collapsed, doubled, at sides of more than two faces
};

/// Leaves all faces out but one sheet of those chosen: the one grown, or else the largest in area. Sheets
/// that meet in a point alone are taken apart, the lesser one being left out. Faces stay whole and no point
/// moves. Throws a `Failure` if no face is left, or if nothing was left out of a closed part.
QELT_INSPECTION_EXPORT CropReport cropFaces(FaceMesh& mesh, CropChoice const& choice);

/// What to cut out of which part, and where to write it.
struct CropOptions {
    PlacedPart part;              ///< of any format that is read
    std::filesystem::path result; ///< mesh to write, an OBJ file
    CropChoice choice;
};

/// What came of it, with the faults that are left.
struct CropResult {
    CropReport crop;
    PartAnalysis analysis; ///< of what was cut out
    SuggestedMode mode;
    std::vector<PartFault> faults;
    std::vector<std::string> nextCommands;

    /// Whether no fault is in the way of `prepare`.
    bool canBePrepared() const { return !isAnyInTheWay(faults); }
};

/// Cuts a face out of a part and writes it. Fails if a file cannot be read or written, if the output is the
/// input, and where `cropFaces` does.
QELT_INSPECTION_EXPORT CropResult cropPart(CropOptions const& options, ProgressListener* listener);

} // namespace QELT::Inspection
