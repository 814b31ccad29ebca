#include "apps/cscan/report/report.h"

#include "Inspection/records/numbers.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <optional>
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

std::string lineOn(std::string const& subject, SolveReport const& solve,
                   std::optional<DirectSolve> const& direct) {
    if (!direct) {
        return lineOn(subject, solve);
    }
    bool const isByLu = direct->state == DirectSolveState::SolvedByLu;
    std::string line = subject + (isByLu ? ": by LU, " : ": direct, ") +
                       counted(solve.iterations, "refinement", "refinements");
    if (!std::isnan(direct->uncertainty)) {
        line += ", residual " + toShortText(relativeResidualOf(solve), 3) +
                " of the right side, uncertain by " + toShortText(direct->uncertainty, 3);
    }
    return line + (solve.hasConverged ? ", converged" : ", not converged: what it has is used");
}

/// Triangles that the core does not list, and so neither writes nor resamples.
void printUnlisted(std::ostream& output, std::size_t count) {
    if (count > 0) {
        printItem(output, "unlisted faces",
                  std::to_string(count) + ", left out where the surface meets itself in points");
    }
}

void printSearch(std::ostream& output, Scan const& scan, ScanStatistics const& statistics) {
    constexpr double bytesInMegabyte = 1e6;
    bool const isSure = scan.search == BeamSearch::Sure;
    printItem(output, "search",
              isSure ? "sure, set up in " + secondsText(scan.setUpSeconds) + ", " +
                           toFixedText(static_cast<double>(scan.searchMemory) / bytesInMegabyte, 1) + " MB"
                     : "walk");
    printItem(output, "query time", secondsText(scan.result.seconds));
    printItem(output, "beams per second", toFixedText(statistics.beamsPerSecond, 0));
}

/// The lines on how the walk alone would have done; those of things that did not happen are left out.
void printComparison(std::ostream& output, WalkComparison const& walk) {
    std::size_t const hitCount =
        walk.sameCount + walk.neighbourCount + walk.elsewhereCount + walk.missedCount;
    auto const print = [&](char const* name, std::size_t count, std::string const& what) {
        if (count > 0) {
            double const percent =
                hitCount > 0 ? 100.0 * static_cast<double>(count) / static_cast<double>(hitCount) : 0.0;
            printItem(output, name,
                      std::to_string(count) + " " + what + ", " + toShortText(percent, 3) + " %");
        }
    };
    printItem(output, "walk alone",
              counted(walk.sameCount, "hit", "hits") + " on the same quad of " + std::to_string(hitCount));
    print("  neighbours", walk.neighbourCount, "on a quad beside it");
    print("  elsewhere", walk.elsewhereCount, "on another sheet");
    print("  missed", walk.missedCount, "not found");
    if (walk.surplusCount > 0) {
        printItem(output, "  surplus",
                  counted(walk.surplusCount, "hit", "hits") + " where nothing lies in front of the probe");
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
        lines.push_back(lineOn("boundary", *report.solves.boundary, report.boundary));
    }
    if (report.solves.inside) {
        lines.push_back(lineOn(lines.empty() ? "map" : "inside", *report.solves.inside, report.inside));
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

void printMapQuality(std::ostream& output, MapQuality const& quality) {
    constexpr double degrees = 180.0 / std::numbers::pi;
    printItem(output, "area distortion",
              "typically a factor of " + toShortText(quality.areaSpread, 4) + ", " +
                  toFixedText(100.0 * quality.alikeShare, 1) + " % of the surface within a factor of " +
                  toShortText(bearableAreaFactor, 2) + " of the median");
    printItem(output, "angle distortion",
              "mean " + toFixedText(quality.meanAngleError * degrees, 2) + ", on 95 % of the surface below " +
                  toFixedText(quality.highAngleError * degrees, 2) + " degrees");
}

void printQuadSizes(std::ostream& output, QuadSizes const& sizes) {
    auto const share = [&](std::size_t count) {
        return toFixedText(100.0 * static_cast<double>(count) / static_cast<double>(sizes.quadCount), 1);
    };
    printItem(output, "quads by size",
              share(sizes.counts[0]) + " % below 1/4 of the median, " + share(sizes.counts[1]) +
                  " % to 1/2, " + share(sizes.counts[2]) + " % to 2, " + share(sizes.counts[3]) +
                  " % to 4, " + share(sizes.counts[4]) + " % above");
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

void printScan(std::ostream& output, Scan const& scan) {
    ScanResult const& result = scan.result;
    ScanStatistics const statistics = statisticsOf(result);
    printItem(output, "beams", std::to_string(statistics.beamCount));
    printItem(output, "hits", std::to_string(statistics.hitCount));
    printItem(output, "hit rate", toFixedText(100.0 * statistics.hitRate, 2) + " %");
    if (statistics.edgeCount > 0) {
        printItem(output, "on edges",
                  counted(statistics.edgeCount, "hit", "hits") + " between two triangles or at the rim");
    }
    printSearch(output, scan, statistics);
    if (statistics.measuredCount < statistics.hitCount) {
        printItem(output, "not measured",
                  counted(statistics.hitCount - statistics.measuredCount, "hit", "hits") + " at " +
                      toShortText(measurementLimit, digits) +
                      " units or farther; a part in micrometres is better scanned in millimetres");
    }
    if (scan.comparison) {
        printComparison(output, *scan.comparison);
    }
    if (statistics.measuredCount == 0) {
        return;
    }
    constexpr double degrees = 180.0 / std::numbers::pi;
    printItem(output, "distance", rangeText(result.hits, [](Hit const& hit) { return hit.distance; }));
    printItem(output, "angle error",
              rangeText(result.hits, [](Hit const& hit) { return hit.angleError * degrees; }) + " degrees");
    if (statistics.backSideCount > 0) {
        bool const areMost = 2 * statistics.backSideCount > statistics.measuredCount;
        printItem(output, "from behind",
                  counted(statistics.backSideCount, "hit", "hits") +
                      (areMost ? " (--flip-normals turns the sides)"
                               : " (through gaps of the surface or past its rim)"));
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
