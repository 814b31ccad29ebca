#pragma once

#include "apps/cscan/names.h"

#include <filesystem>
#include <vector>

namespace cscan {

/// Builds a surface through the points of a cloud in an empty mesh. Failures name the file.
void loadCloud(Mesh& mesh, std::filesystem::path const& path);

/// How many vertices of a mesh no triangle reaches. An OBJ file leaves them out when it is loaded.
std::size_t looseVertexCount(Mesh const& mesh, std::vector<Triangle*> const& triangles);

} // namespace cscan
