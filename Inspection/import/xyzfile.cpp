#include "Inspection/import/xyzfile.h"

#include "Inspection/records/failure.h"
#include "Inspection/records/files.h"
#include "Inspection/records/internal/textline.h"
#include "Inspection/records/numbers.h"

#include <algorithm>
#include <cmath>
#include <fstream>

namespace QELT::Inspection {

namespace {

/// The words between the blanks of a text.
void addWords(std::string_view text, std::vector<std::string_view>& words) {
    for (std::string_view rest = trimmed(text); !rest.empty(); rest = trimmed(rest)) {
        auto const end = std::min(rest.find_first_of(" \t"), rest.size());
        words.push_back(rest.substr(0, end));
        rest.remove_prefix(end);
    }
}

/// What stands between blanks; a comma with the blanks around it counts as one separator, so that two commas
/// in a row have an empty field between them.
std::vector<std::string_view> fieldsOf(std::string_view text) {
    std::vector<std::string_view> fields;
    if (trimmed(text).empty()) {
        return fields;
    }
    for (std::string_view const part : splitAtCommas(text)) {
        if (trimmed(part).empty()) {
            fields.emplace_back();
        }
        addWords(part, fields);
    }
    return fields;
}

std::vector<double> numbersOf(TextLine const& line, std::size_t count) {
    auto const fields = fieldsOf(line.text.substr(0, line.text.find('#')));
    if (!fields.empty() && fields.size() != count) {
        line.fail(std::to_string(count) + " numbers expected, " + std::to_string(fields.size()) + " found");
    }
    std::vector<double> numbers;
    for (std::string_view const field : fields) {
        auto const number = parseNumber(field);
        if (!number) {
            line.fail("'" + std::string(field) + "' is not a number");
        }
        numbers.push_back(*number);
    }
    return numbers;
}

/// Calls `visit` with each line that holds numbers, `count` of them, of which the first three are a point.
template <class Visit>
void readPoints(std::istream& input, std::string const& source, std::size_t count, Visit visit) {
    bool isEmpty = true;
    forEachLine(input, source, [&](TextLine const& line) {
        auto const numbers = numbersOf(line, count);
        if (!numbers.empty()) {
            requirePointInReach(line, numbers, 0, "point");
            visit(line, Point(numbers[0], numbers[1], numbers[2]), numbers);
            isEmpty = false;
        }
    });
    if (isEmpty) {
        throw Failure(source + ": holds no points");
    }
}

} // namespace

bool isCloudFile(std::filesystem::path const& path) {
    return path.extension() == ".xyz";
}

std::vector<Point> readCloud(std::istream& input, std::string const& source) {
    std::vector<Point> points;
    readPoints(input, source, 3, [&](TextLine const&, Point const& point, std::vector<double> const&) {
        points.push_back(point);
    });
    return points;
}

std::vector<Point> readCloudFile(std::filesystem::path const& path) {
    requireReadable(path);
    std::ifstream input(path);
    return readCloud(input, path.string());
}

OrientedCloud readOrientedCloud(std::istream& input, std::string const& source) {
    OrientedCloud cloud;
    readPoints(input, source, 6, [&](TextLine const& line, Point const& point, std::vector<double> const& n) {
        Vector const normal(n[3], n[4], n[5]);
        if (!(normal.lSqr() > 0.0) || !std::isfinite(normal.lSqr())) {
            line.fail("the normal has no usable length");
        }
        cloud.points.push_back(point);
        cloud.normals.push_back(normal);
    });
    return cloud;
}

OrientedCloud readOrientedCloudFile(std::filesystem::path const& path) {
    requireReadable(path);
    std::ifstream input(path);
    return readOrientedCloud(input, path.string());
}

} // namespace QELT::Inspection
