#include "apps/cscan/report/measuredreport.h"

#include "Inspection/records/numbers.h"
#include "apps/cscan/report/report.h"

#include <algorithm>
#include <cmath>
#include <ostream>

namespace cscan {

namespace {

constexpr int digits = 4;

std::string shortText(double number) {
    return toShortText(number, digits);
}

std::string percentText(double share) {
    constexpr double percent = 100.0;
    return toFixedText(percent * share, 2) + " %";
}

std::string spreadText(Distribution const& distribution, std::string const& unit) {
    constexpr double mostly = 0.95;
    double const worst = std::abs(distribution.least()) > std::abs(distribution.greatest())
                             ? distribution.least()
                             : distribution.greatest();
    return "median " + shortText(distribution.median()) + ", 95 % up to " +
           shortText(distribution.quantile(mostly)) + ", worst " + shortText(worst) + unit;
}

std::string placeText(std::array<double, 3> const& place, std::size_t u, std::size_t v) {
    constexpr int placeDigits = 6;
    return "(" + toShortText(place[0], placeDigits) + ", " + toShortText(place[1], placeDigits) + ", " +
           toShortText(place[2], placeDigits) + "), pixel " + std::to_string(u) + ", " + std::to_string(v);
}

void printLines(std::ostream& output, MeasuredScan const& scan) {
    ShotCounts const& counts = scan.counts;
    printItem(output, "lines", std::to_string(counts.read) + " read, " + std::to_string(counts.bad) + " bad");
    for (BadShot const& bad : counts.firstBad) {
        printItem(output, "  bad line", bad.file + ", line " + std::to_string(bad.line) + ": " + bad.cause);
    }
    if (counts.inGap + counts.outside > 0) {
        printItem(output, "without a pose",
                  std::to_string(counts.inGap) + " in gaps of the poses, " + std::to_string(counts.outside) +
                      " before or behind them");
    }
    if (scan.lag) {
        printItem(output, "lag",
                  shortText(scan.lag->lag) + " ms, within " + shortText(scan.lag->uncertainty) + " ms, by " +
                      std::to_string(scan.lag->linePairs) + " pairs of lines");
    }
    if (!scan.unusedColumns.empty()) {
        std::string names;
        for (std::string const& name : scan.unusedColumns) {
            names += (names.empty() ? "" : ", ") + name;
        }
        printItem(output, "not read", names);
    }
}

void printShots(std::ostream& output, MeasuredScan const& scan) {
    ShotFigures const& figures = scan.figures;
    std::string const unit = scan.result.unit.empty() ? "" : " " + scan.result.unit;
    printItem(output, "shots",
              std::to_string(figures.shotCount) + ", " + std::to_string(figures.missedCount) +
                  " beside the surface");
    printItem(output, "refused",
              std::to_string(figures.angleCount) + " for the angle, " +
                  std::to_string(figures.standoffCount) + " for the standoff, " +
                  std::to_string(figures.badCount) + " for a bad line");
    printItem(output, "echoes",
              std::to_string(figures.echoCount) + ", " + std::to_string(figures.saturatedCount) +
                  " of them saturated; " + std::to_string(figures.noEchoCount) + " shots without");
    if (figures.standoff.getCount() > 0) {
        printItem(output, "standoff", spreadText(figures.standoff, unit));
        printItem(output, "angle off head-on", spreadText(figures.incidence, " deg"));
    }
    if (figures.residual.getCount() > 0) {
        printItem(output, "measured standoff",
                  "less that of the poses: " + spreadText(figures.residual, unit));
    }
    double const rate = scan.seconds > 0.0 ? static_cast<double>(figures.shotCount) / scan.seconds : 0.0;
    printItem(output, "placing", secondsText(scan.seconds) + ", " + toFixedText(rate, 0) + " shots a second");
}

} // namespace

void printCoverage(std::ostream& output, Result const& result, Coverage const& coverage) {
    std::string const unit = result.unit.empty() ? "" : " " + result.unit;
    std::string const square = result.unit.empty() ? "" : unit + "^2";
    printItem(output, "reached",
              percentText(coverage.reachedShare()) + " of " + shortText(coverage.surfaceArea) + square +
                  ", by true area");
    for (std::size_t state = 1; state < coverage.areas.size(); ++state) {
        if (coverage.pixels[state] > 0) {
            printItem(output, std::string("  ") + nameOf(static_cast<PixelState>(state)),
                      shortText(coverage.areas[state]) + square + ", " +
                          std::to_string(coverage.pixels[state]) + " pixels");
        }
    }
    if (coverage.longestGap > 0.0) {
        printItem(output, "longest gap",
                  shortText(coverage.longestGap) + unit + " at " +
                      placeText(coverage.gapPlace, coverage.gapU, coverage.gapV) + "; typical " +
                      shortText(coverage.typicalGap) + unit);
    }
    printItem(output, "not reached",
              counted(coverage.patchCount, "patch", "patches") + " with gaps over " +
                  shortText(coverage.patchGap) + unit);
    for (UnreachedPatch const& patch : coverage.patches) {
        printItem(output, "  patch",
                  shortText(patch.area) + square + ", gap " + shortText(patch.gap) + unit + " at " +
                      placeText(patch.place, patch.u, patch.v));
    }
}

void printValues(std::ostream& output, Result const& result) {
    output << "values\n";
    for (ValueMap const& map : result.values) {
        std::size_t count = 0;
        double low = INFINITY;
        double high = -INFINITY;
        for (double const number : map.values) {
            if (!std::isnan(number)) {
                ++count;
                low = std::min(low, number);
                high = std::max(high, number);
            }
        }
        std::string const unit = map.unit.empty() ? "" : " " + map.unit;
        printItem(output, "  " + map.name,
                  count == 0 ? "on no pixel"
                             : shortText(low) + " to " + shortText(high) + unit + " on " +
                                   std::to_string(count) + " pixels");
    }
}

void printMeasuredScan(std::ostream& output, MeasuredScan const& scan) {
    printLines(output, scan);
    printShots(output, scan);
    printCoverage(output, scan.result, scan.coverage);
    printValues(output, scan.result);
    for (std::string const& note : scan.notes) {
        printItem(output, "note", note);
    }
}

} // namespace cscan
