#include "apps/cscan/report/report.h"

#include "Inspection/records/numbers.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <ostream>

namespace cscan {

namespace {

constexpr std::size_t nameColumn = 20;
constexpr int digits = 6;

constexpr std::size_t maxLoopsTold = 10;

std::string padded(std::string const& text, std::size_t length) {
    return text + std::string(length > text.size() ? length - text.size() : 0, ' ');
}

std::string pairText(double first, double second) {
    return toShortText(first, digits) + " x " + toShortText(second, digits);
}

/// Least, mean and greatest of a quantity over the measured hits.
template <class Quantity>
std::string rangeText(std::vector<Hit> const& hits, Quantity quantity) {
    double low = INFINITY;
    double high = -INFINITY;
    double sum = 0.0;
    double count = 0.0;
    for (Hit const& hit : hits) {
        if (hit.isMeasured) {
            double const value = quantity(hit);
            low = std::min(low, value);
            high = std::max(high, value);
            sum += value;
            count += 1.0;
        }
    }
    return "min " + toShortText(low, digits) + ", mean " + toShortText(sum / count, digits) + ", max " +
           toShortText(high, digits);
}

std::string lineOn(std::string const& subject, SolveReport const& solve) {
    std::string line = subject + ": " + std::to_string(solve.iterations) + " iterations";
    if (!std::isnan(solve.residual)) {
        line += ", residual " + toShortText(solve.residual, 3);
    }
    return line + (solve.hasConverged ? ", converged" : ", not converged: the last iterate is used");
}

/// Triangles that the core does not list, and so neither writes nor resamples.
void printUnlisted(std::ostream& output, std::size_t count) {
    if (count > 0) {
        printItem(output, "unlisted faces",
                  std::to_string(count) + ", left out where the surface meets itself in points");
    }
}

} // namespace

std::string pointText(Point const& point) {
    return "(" + toShortText(point.getX(), digits) + ", " + toShortText(point.getY(), digits) + ", " +
           toShortText(point.getZ(), digits) + ")";
}

std::string vectorText(Vector const& vector) {
    return "(" + toShortText(vector.getdX(), digits) + ", " + toShortText(vector.getdY(), digits) + ", " +
           toShortText(vector.getdZ(), digits) + ")";
}

void printItem(std::ostream& output, std::string const& name, std::string const& text) {
    output << padded(name, nameColumn) << text << '\n';
}

std::string secondsText(double seconds) {
    return toFixedText(seconds, 3) + " s";
}

std::string counted(std::size_t count, std::string const& singular, std::string const& plural) {
    return std::to_string(count) + " " + (count == 1 ? singular : plural);
}

std::vector<std::string> linesOf(FlatteningReport const& report) {
    std::vector<std::string> lines;
    if (report.solves.boundary) {
        lines.push_back(lineOn("boundary", *report.solves.boundary));
    }
    if (report.solves.inside) {
        lines.push_back(lineOn(lines.empty() ? "map" : "inside", *report.solves.inside));
    }
    return lines;
}

void printMesh(std::ostream& output, MeshSummary const& mesh) {
    auto const& loops = mesh.loops;
    printItem(output, "vertices", std::to_string(mesh.vertexCount));
    printItem(output, "faces", std::to_string(mesh.faceCount));
    printUnlisted(output, mesh.unlistedCount);
    printItem(output, "boundary loops", std::to_string(loops.size()));
    std::size_t const toldCount = std::min(loops.size(), maxLoopsTold);
    for (std::size_t i = 0; i < toldCount; ++i) {
        printItem(output, "  loop " + std::to_string(i + 1),
                  counted(loops[i].vertices.size(), "edge", "edges") + ", length " +
                      toShortText(loops[i].length, digits));
    }
    if (toldCount < loops.size()) {
        printItem(output, "  others",
                  counted(loops.size() - toldCount, "loop", "loops") + " of length " +
                      toShortText(loops.back().length, digits) + " to " +
                      toShortText(loops[toldCount].length, digits));
    }
    if (mesh.cutEntryCount > 0) {
        printItem(output, "cut entries", std::to_string(mesh.cutEntryCount));
    }
}

namespace {

std::string lengthText(double length) {
    return toShortText(length, 3);
}

std::string formText(CloudSpacing const& spacing) {
    switch (spacing.form) {
    case CloudForm::Lines:
        return lengthText(spacing.along) + " along lines, " + lengthText(spacing.across) +
               " across (1 : " + toShortText(spacing.ratio(), 2) + ")";
    case CloudForm::Crowded:
        return lengthText(spacing.along) + ", crowded by noise or by lines that cross";
    case CloudForm::Even:
        return lengthText(spacing.along);
    }
    return {};
}

void printCloud(std::ostream& output, CloudReport const& cloud) {
    printItem(output, "cloud", counted(cloud.pointCount, "point", "points"));
    printItem(output, "spacing", formText(cloud.spacing));
    if (cloud.thinnedTo > 0.0) {
        printItem(output, "thinned to",
                  lengthText(cloud.thinnedTo) + ", " + std::to_string(cloud.pointCount - cloud.thinnedCount) +
                      " points left");
    }
    if (cloud.longestSide && std::isfinite(*cloud.longestSide)) {
        printItem(output, "longest side", lengthText(*cloud.longestSide));
    }
}

/// More points that no triangle reaches than strays make.
constexpr double bearableLooseShare = 0.01;

/// Of the spacing it was thinned to.
constexpr double thinningGrowth = 1.5;

bool doesNeedThinning(RepairReport const& repair) {
    auto const left = static_cast<double>(repair.cloud->pointCount - repair.cloud->thinnedCount);
    return repair.handleCount > 0 || static_cast<double>(repair.looseCount) > bearableLooseShare * left;
}

double widerSpacing(CloudReport const& cloud) {
    return cloud.thinnedTo > 0.0 ? thinningGrowth * cloud.thinnedTo : cloud.spacing.nearest;
}

} // namespace

void printRepair(std::ostream& output, RepairReport const& repair) {
    if (repair.cloud) {
        printCloud(output, *repair.cloud);
    }
    printUnlisted(output, repair.unlistedCount);
    printItem(output, "left out",
              counted(repair.droppedCount, "triangle", "triangles") + ", " +
                  counted(repair.looseCount, "point", "points"));
    if (repair.overlapCount > 0) {
        printItem(output, "overlaps",
                  counted(repair.overlapCount, "triangle", "triangles") +
                      " over others, among those left out");
    }
    printItem(output, "holes closed", std::to_string(repair.closedCount));
    if (repair.handleCount > 0) {
        printItem(output, "note",
                  counted(repair.handleCount, "sheet passes", "sheets pass") +
                      " over another; --max-side leaves out the triangles that bridge gaps");
    }
    if (repair.cloud && doesNeedThinning(repair)) {
        printItem(output, "note",
                  "points are too uneven for a whole surface; try --thin " +
                      lengthText(widerSpacing(*repair.cloud)));
    }
}

void printFlat(std::ostream& output, FlatSummary const& flat) {
    printItem(output, "flat extent", pairText(flat.width, flat.height));
    printItem(output, "flipped triangles", std::to_string(flat.flippedCount));
    if (flat.degenerateCount > 0) {
        printItem(output, "no flat area", counted(flat.degenerateCount, "triangle", "triangles"));
    }
}

void printGrid(std::ostream& output, GridSummary const& grid) {
    printItem(output, "grid extents",
              std::to_string(grid.extentU) + " x " + std::to_string(grid.extentV) + " quads");
    printItem(output, "valid nodes",
              std::to_string(grid.validNodeCount) + " of " + std::to_string(grid.nodeCount));
    printItem(output, "valid quads",
              std::to_string(grid.validQuadCount) + " of " + std::to_string(grid.extentU * grid.extentV));
    printItem(output, "quad area",
              "min " + toShortText(grid.minQuadArea, digits) + ", mean " +
                  toShortText(grid.meanQuadArea, digits) + ", max " + toShortText(grid.maxQuadArea, digits));
    if (grid.validNodeCount > 0) {
        printItem(output, "bounding box", pointText(grid.low) + " to " + pointText(grid.high));
    }
}

void printNanNodes(std::ostream& output, NanNodes const& nodes) {
    if (!nodes.places.empty()) {
        printItem(output, "NaN nodes",
                  counted(nodes.places.size(), "valid node is", "valid nodes are") + " no number, from " +
                      counted(nodes.triangleCount, "triangle", "triangles") + " without flat area");
    }
}

void printScan(std::ostream& output, ScanResult const& result) {
    ScanStatistics const statistics = statisticsOf(result);
    printItem(output, "beams", std::to_string(statistics.beamCount));
    printItem(output, "hits", std::to_string(statistics.hitCount));
    printItem(output, "hit rate", toFixedText(100.0 * statistics.hitRate, 2) + " %");
    printItem(output, "query time", secondsText(result.seconds));
    printItem(output, "beams per second", toFixedText(statistics.beamsPerSecond, 0));
    if (statistics.measuredCount < statistics.hitCount) {
        printItem(output, "not measured",
                  counted(statistics.hitCount - statistics.measuredCount, "hit", "hits") + " at " +
                      toShortText(measurementLimit, digits) + " or farther");
    }
    if (statistics.measuredCount == 0) {
        return;
    }
    constexpr double degrees = 180.0 / std::numbers::pi;
    printItem(output, "distance", rangeText(result.hits, [](Hit const& hit) { return hit.distance; }));
    printItem(output, "angle error",
              rangeText(result.hits, [](Hit const& hit) { return hit.angleError * degrees; }) + " degrees");
    if (statistics.backSideCount > 0) {
        printItem(output, "from behind",
                  counted(statistics.backSideCount, "hit", "hits") + " (--flip-normals turns the sides)");
    }
}

void printTable(std::ostream& output, std::vector<std::vector<std::string>> const& rows) {
    std::vector<std::size_t> widths;
    for (auto const& row : rows) {
        widths.resize(std::max(widths.size(), row.size()), 0);
        for (std::size_t i = 0; i < row.size(); ++i) {
            widths[i] = std::max(widths[i], row[i].size());
        }
    }
    for (std::size_t r = 0; r < rows.size(); ++r) {
        std::string line;
        std::string rule;
        for (std::size_t i = 0; i < rows[r].size(); ++i) {
            line += padded(rows[r][i], widths[i]) + "  ";
            rule += std::string(widths[i], '-') + "  ";
        }
        output << line.substr(0, line.find_last_not_of(' ') + 1) << '\n';
        if (r == 0) {
            output << rule.substr(0, rule.find_last_not_of(' ') + 1) << '\n';
        }
    }
}

} // namespace cscan
