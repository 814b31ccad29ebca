#pragma once

#include "apps/cscan/names.h"

#include <filesystem>

namespace cscan {

/// What came out of an OBJ file besides the mesh itself.
struct ObjContents {
    bool hasFlatCoordinates = false;
};

/// Loads the file into the mesh together with the cut file beside it. Failures name the file.
ObjContents loadObj(Mesh& mesh, std::filesystem::path const& path);

/// Saves the mesh with its flat coordinates, and its cut beside it. Failures name the file.
void saveFlatObj(Mesh const& mesh, std::filesystem::path const& path);

} // namespace cscan
