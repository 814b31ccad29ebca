#pragma once

#include "Inspection/export.h"
#include "Inspection/names.h"

#include <filesystem>
#include <iosfwd>
#include <string>
#include <vector>

/// Clouds of points as text.
namespace QELT::Inspection {

/// Whether the name is that of a cloud.
QELT_INSPECTION_EXPORT bool isCloudFile(std::filesystem::path const& path);

/// Reads a point a line: three finite numbers with blanks or a comma between them. What follows a '#' is a
/// comment, blank lines are passed over, both kinds of line end are taken. A malformed line is a failure that
/// names `source` and the line's number; so is a cloud without a point.
QELT_INSPECTION_EXPORT std::vector<Point> readCloud(std::istream& input, std::string const& source);
QELT_INSPECTION_EXPORT std::vector<Point> readCloudFile(std::filesystem::path const& path);

/// Points with the surface's normals at them.
struct OrientedCloud {
    std::vector<Point> points;
    std::vector<Vector> normals; ///< of any length but 0
};

/// The same with six numbers a line, the last three of which are a normal.
QELT_INSPECTION_EXPORT OrientedCloud readOrientedCloud(std::istream& input, std::string const& source);
QELT_INSPECTION_EXPORT OrientedCloud readOrientedCloudFile(std::filesystem::path const& path);

} // namespace QELT::Inspection
