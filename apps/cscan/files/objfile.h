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

/// Where the cut of a mesh file lies: beside it, under the name that the library makes of a bare file name,
/// so that either finds the other's. Since that holds no backslash, the library takes all of it for the
/// directory.
std::filesystem::path cutFileOf(std::filesystem::path const& path);

/// Throws a `Failure` unless the name ends in ".obj" and the file can be written.
void requireObjOutput(std::filesystem::path const& path);

/// Throws a `Failure` if a cut of an earlier mesh lies where `path` is to be written: it would be read as the
/// new one's.
void requireNoCutBeside(std::filesystem::path const& path);

/// Saves the surface, and its cut beside it. Failures name the file.
void saveObj(Mesh const& mesh, std::filesystem::path const& path);

/// Saves the mesh with its flat coordinates, and its cut beside it. Failures name the file.
void saveFlatObj(Mesh const& mesh, std::filesystem::path const& path);

} // namespace cscan
