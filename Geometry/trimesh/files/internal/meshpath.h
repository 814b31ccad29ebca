#pragma once

#include <stdexcept>
#include <string>
#include <string_view>

/// The parts of a mesh file's path. Only a backslash separates directories, on every platform.
namespace QELT::Geometry::ThreeDimensional::TriMesh {

inline constexpr char directorySeparator = '\\';

inline void checkExtension(std::string_view path) {
    if (path.find(".obj") == std::string_view::npos) {
        throw std::runtime_error("Invalid file extension");
    }
}

/// The path behind the last separator, or all of it.
inline std::string_view getNameWithExtension(std::string_view path) {
    return path.substr(path.rfind(directorySeparator) + 1);
}

/// The name in front of its last dot, or all of it.
inline std::string_view getStem(std::string_view name) {
    return name.substr(0, name.rfind('.'));
}

/// The path of `name` in the directory in front of the path's last separator. Without a separator all of the
/// path stands for the directory.
inline std::string getPathBeside(std::string_view path, std::string const& name) {
    return std::string(path.substr(0, path.rfind(directorySeparator))) + directorySeparator + name;
}

} // namespace QELT::Geometry::ThreeDimensional::TriMesh
