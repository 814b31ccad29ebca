#pragma once

#include "Inspection/import/part.h"
#include "Inspection/parts/facemesh.h"

namespace QELT::Inspection {

/// A part's triangles as the commands work with them: points of STL and glTF files welded, polygons cut into
/// triangles, points in single precision and in the part's
/// coordinates. Nothing is left out.
struct ReadFaces {
    PartFormat format = PartFormat::Obj;
    FaceMesh mesh; ///< without faces for a cloud
};

/// Throws a `Failure` that names the file.
ReadFaces readFaces(PlacedPart const& source);

} // namespace QELT::Inspection
