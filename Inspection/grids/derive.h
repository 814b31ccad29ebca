#pragma once

#include "Inspection/export.h"
#include "Inspection/grids/gridsummary.h"
#include "Inspection/names.h"

#include <filesystem>
#include <variant>

/// Grids made of grids.
namespace QELT::Inspection {

/// Rolled out into a plane of equal quads.
struct FlattenGrid {};

/// Centred on the origin and brought to a size.
struct NormaliseGrid {
    double size = 1.0; ///< the longest side of the result's box, above 0
};

/// Fewer nodes.
struct ThinOutGrid {
    bool isFactor = false;   ///< take one node in `value` along each axis; else make at most `value` quads
    unsigned long value = 1; ///< at least 1
};

/// The nodes of a box of indices.
struct RestrictGrid {
    GridIndex low; ///< first and last node, both taken; the last beyond the first on both axes
    GridIndex high;
};

/// Reflected through a coordinate plane.
struct MirrorGrid {
    QELT::Geometry::ThreeDimensional::QuadMesh::CanonicalPlane plane =
        QELT::Geometry::ThreeDimensional::QuadMesh::PlaneYZ;
    QELT::Geometry::ThreeDimensional::QuadMesh::CanonicalAxis axis =
        QELT::Geometry::ThreeDimensional::QuadMesh::AxisU; ///< U turns columns end for end, V rows, so that
                                                           ///< the outside stays outside
};

/// Scaled about the origin.
struct ScaleGrid {
    double scale = 1.0; ///< finite and not 0
};

/// One of the ways to derive a grid.
using Derivation = std::variant<FlattenGrid, NormaliseGrid, ThinOutGrid, RestrictGrid, MirrorGrid, ScaleGrid>;

/// What to derive from which grid.
struct DeriveOptions {
    std::filesystem::path source; ///< grid to start from, a .quads file
    std::filesystem::path result; ///< grid to write, a .quads file
    Derivation derivation;
};

/// Makes another grid of a grid, writes it and tells what it holds. Fails if a file cannot be read or
/// written, if the derivation's numbers are not as said above, and where the core refuses it.
QELT_INSPECTION_EXPORT GridSummary derive(DeriveOptions const& options, ProgressListener* listener);

} // namespace QELT::Inspection
