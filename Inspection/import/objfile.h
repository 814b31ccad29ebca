#pragma once

#include "Inspection/export.h"
#include "Inspection/names.h"
#include "Inspection/records/outputs.h"

#include <filesystem>
#include <vector>

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

/// Tells a record of the cut that is read with a mesh, where there is one.
QELT_INSPECTION_EXPORT void addCutInput(Record& record, std::filesystem::path const& path);

/// Adds a mesh to what a run writes. Fails as `Outputs::add` does, and unless the name ends in ".obj".
QELT_INSPECTION_EXPORT void addObjOutput(Outputs& outputs, std::filesystem::path const& path);

/// Adds the cut as well that lies beside such a mesh if it has one.
QELT_INSPECTION_EXPORT void addCutOutput(Outputs& outputs, std::filesystem::path const& path);

/// Throws a `Failure` if a cut of an earlier mesh lies where `path` is to be written: it would be read as the
/// new one's.
QELT_INSPECTION_EXPORT void requireNoCutBeside(std::filesystem::path const& path);

/// Saves the surface, and its cut beside it. Failures name the file. As outputs of a run mesh and cut have to
/// be added first.
QELT_INSPECTION_EXPORT void saveObj(Mesh const& mesh, std::filesystem::path const& path);
QELT_INSPECTION_EXPORT void saveObj(Mesh const& mesh, std::filesystem::path const& path, Outputs& outputs);

/// The same of the mesh with its flat coordinates.
QELT_INSPECTION_EXPORT void saveFlatObj(Mesh const& mesh, std::filesystem::path const& path);
QELT_INSPECTION_EXPORT void saveFlatObj(Mesh const& mesh, std::filesystem::path const& path,
                                        Outputs& outputs);

} // namespace QELT::Inspection
