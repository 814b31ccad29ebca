#pragma once

#include "Inspection/export.h"
#include "Inspection/import/part.h"
#include "Inspection/names.h"
#include "Inspection/parts/facemesh.h"
#include "Inspection/parts/meshsummary.h"

#include <filesystem>
#include <optional>

namespace QELT::Inspection {

/// Where a cut starts and the plane that it keeps to.
struct TubeCut {
    bool isFromGreatest = false;  ///< whether it starts where the coordinate is greatest, else least
    unsigned long axis = 0;       ///< of that coordinate, 0 to 2; the plane is along this axis
    unsigned long normalAxis = 0; ///< and along this one, that of the surface's normal at the start
};

/// How the plane of a cut differs from the one asked for.
struct CutPlane {
    bool isTurned = false; ///< by half a turn about the axis of the cut
    double slope = 0.0;    ///< out of the plane, by so much for each unit along the axis of the cut
};

/// Cuts a tube from rim to rim. The core follows that plane only from a start where
/// the surface's normal points to the positive side of its axis, and takes no edge that ends exactly on it,
/// as those of a regular tube do. Where there is no way, other planes are tried: turned, and leaning a little
/// to either side. The result is the one that served; nothing if none did. No point of the mesh moves.
QELT_INSPECTION_EXPORT std::optional<CutPlane> cutTube(Mesh& mesh, TubeCut const& cut);

/// A cut that opens a tube between rims around these two places: the first of those along the axis that the
/// rims lie apart on for which there is a way. Nothing if there is none, or if no mesh can be made of the
/// faces.
QELT_INSPECTION_EXPORT std::optional<TubeCut> findTubeCut(FaceMesh const& tube, Point const& firstRim,
                                                          Point const& secondRim);

/// Which tube to slit, and where to write it.
struct CutOptions {
    PlacedPart part;              ///< mesh of a tube, of any format
    std::filesystem::path result; ///< mesh to write, an OBJ file
    TubeCut cut;
};

/// What came of it.
struct CutResult {
    MeshSummary part; ///< slit
    CutPlane plane;   ///< that served
    std::filesystem::path cutFile;
    LoadReport load; ///< of the file of the tube
};

/// Slits a tube from rim to rim and writes it with the cut file beside it, which must stay there. Fails if a
/// file cannot be read or written, and if the mesh is closed, no way for the cut is found, or it leads back
/// to the rim that it starts from; then nothing is written.
QELT_INSPECTION_EXPORT CutResult cut(CutOptions const& options, ProgressListener* listener);

} // namespace QELT::Inspection
