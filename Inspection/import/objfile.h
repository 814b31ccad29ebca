#pragma once

#include "Inspection/export.h"
#include "Inspection/names.h"

#include <filesystem>

namespace QELT::Inspection {

/// What came out of an OBJ file besides the mesh itself.
struct ObjContents {
    bool hasFlatCoordinates = false;
};

/// Loads the file into the mesh together with the cut file beside it. Failures name the file.
QELT_INSPECTION_EXPORT ObjContents loadObj(Mesh& mesh, std::filesystem::path const& path);

/// Where the cut of a mesh file lies: beside it, under the name that the core makes of a bare file name,
/// so that either finds the other's. Since that holds no backslash, the core takes all of it for the
/// directory.
QELT_INSPECTION_EXPORT std::filesystem::path cutFileOf(std::filesystem::path const& path);

/// Throws a `Failure` unless the name ends in ".obj" and the file can be written.
QELT_INSPECTION_EXPORT void requireObjOutput(std::filesystem::path const& path);

/// Throws a `Failure` if a cut of an earlier mesh lies where `path` is to be written: it would be read as the
/// new one's.
QELT_INSPECTION_EXPORT void requireNoCutBeside(std::filesystem::path const& path);

/// Saves the surface, and its cut beside it. Failures name the file.
QELT_INSPECTION_EXPORT void saveObj(Mesh const& mesh, std::filesystem::path const& path);

/// Saves the mesh with its flat coordinates, and its cut beside it. Failures name the file.
QELT_INSPECTION_EXPORT void saveFlatObj(Mesh const& mesh, std::filesystem::path const& path);

} // namespace QELT::Inspection
