#include "Inspection/import/xyzfile.h"

#include "Inspection/import/internal/tablereader.h"
#include "Inspection/records/failure.h"
#include "Inspection/records/files.h"

#include <fstream>
#include <iterator>

namespace QELT::Inspection {

namespace {

constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";

PartAsRead tableIn(std::istream& input, std::string const& source, TableNormals normals) {
    std::string const content{std::istreambuf_iterator<char>(input), std::istreambuf_iterator<char>()};
    require(!input.bad(), source + ": cannot be read to its end");
    std::string_view const text(content);
    return readPointTable(
        {source, text.starts_with(byteOrderMark) ? text.substr(byteOrderMark.size()) : text}, normals);
}

std::vector<Point> pointsOf(PartAsRead const& table) {
    std::vector<Point> points;
    points.reserve(table.points.size());
    for (auto const& point : table.points) {
        points.emplace_back(point[0], point[1], point[2]);
    }
    return points;
}

} // namespace

bool isCloudFile(std::filesystem::path const& path) {
    return path.extension() == ".xyz";
}

std::vector<Point> readCloud(std::istream& input, std::string const& source) {
    return pointsOf(tableIn(input, source, TableNormals::Taken));
}

std::vector<Point> readCloudFile(std::filesystem::path const& path) {
    requireReadable(path);
    std::ifstream input(path);
    return readCloud(input, path.string());
}

OrientedCloud readOrientedCloud(std::istream& input, std::string const& source) {
    PartAsRead const table = tableIn(input, source, TableNormals::Required);
    OrientedCloud cloud{pointsOf(table), {}};
    for (auto const& normal : table.normals) {
        cloud.normals.emplace_back(normal[0], normal[1], normal[2]);
    }
    return cloud;
}

OrientedCloud readOrientedCloudFile(std::filesystem::path const& path) {
    requireReadable(path);
    std::ifstream input(path);
    return readOrientedCloud(input, path.string());
}

} // namespace QELT::Inspection
