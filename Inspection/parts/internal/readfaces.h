#pragma once

#include "Inspection/import/partfile.h"
#include "Inspection/parts/facemesh.h"

#include <filesystem>

namespace QELT::Inspection {

/// A part's triangles as the commands work with them: points of STL and glTF files welded, polygons cut into
/// triangles, points in single precision. Nothing is left out.
struct ReadFaces {
    PartFormat format = PartFormat::Obj;
    FaceMesh mesh; ///< without faces for a cloud
};

/// Throws a `Failure` that names the file.
ReadFaces readFaces(std::filesystem::path const& path);

} // namespace QELT::Inspection
