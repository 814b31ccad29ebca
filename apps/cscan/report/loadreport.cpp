#include "apps/cscan/report/loadreport.h"

#include "Inspection/records/numbers.h"
#include "apps/cscan/report/report.h"

#include <ostream>

namespace cscan {

namespace {

constexpr int digits = 6;
constexpr int offsetDigits = 17;

std::string inAndOut(std::size_t in, std::size_t out) {
    return std::to_string(in) + " in, " + std::to_string(out) + " out";
}

std::string offsetText(SpacePoint const& offset) {
    return "(" + toShortText(offset[0], offsetDigits) + ", " + toShortText(offset[1], offsetDigits) + ", " +
           toShortText(offset[2], offsetDigits) + ")";
}

void printPlace(std::ostream& output, LoadReport const& report) {
    if (report.isMoved()) {
        printItem(output, "moved",
                  offsetText(report.offset) +
                      " was taken off all points; add it to come back to the file's place");
    } else if (report.liesFarOut()) {
        printItem(output, "note",
                  "coordinates go up to " + toShortText(report.reach, digits) + ", the part is " +
                      toShortText(report.size, digits) + " across: single precision has steps of " +
                      toShortText(report.floatStep, 2) + " there; `cscan import` moves it near the origin");
    }
}

} // namespace

void printCounts(std::ostream& output, LoadReport const& report) {
    printItem(output, "format", nameOf(report.format) + (report.isMesh ? ", a mesh" : ", points"));
    if (!report.unit.empty()) {
        printItem(output, "unit", report.unit + ", kept as it is; `cscan import --scale` changes it");
    }
    printItem(output, "points", inAndOut(report.pointsIn, report.pointsOut));
    if (report.weldTolerance) {
        printItem(output, "welded",
                  counted(report.weldedCount, "point", "points") + " within " +
                      toShortText(*report.weldTolerance, digits));
    }
    if (report.polygonCount > 0) {
        printItem(output, "polygons", std::to_string(report.polygonCount) + " in");
        printItem(output, "triangles", inAndOut(report.trianglesIn, report.trianglesOut));
        printItem(output, "left out",
                  counted(report.degenerateCount, "degenerate triangle", "degenerate triangles"));
    }
}

void printLoadNotes(std::ostream& output, LoadReport const& report) {
    if (report.isMirrored) {
        printItem(output, "note", "--map is a mirror; the triangles were turned to face outward as before");
    }
    if (report.format == PartFormat::Obj && !report.isMesh) {
        printItem(output, "note", "an OBJ file without polygons; if it was to be a mesh, it was cut off");
    }
    if (report.unusedCount > 0) {
        printItem(output, "note",
                  counted(report.unusedCount, "point belongs", "points belong") +
                      " to no polygon; so it is where a file was cut off");
    }
    if (report.crossingCount > 0) {
        printItem(output, "note",
                  counted(report.crossingCount, "polygon crosses itself", "polygons cross themselves") +
                      ": the triangles overlap");
    }
    printPlace(output, report);
}

void printLoad(std::ostream& output, LoadReport const& report) {
    if (report.isAsInFile) {
        return printPlace(output, report);
    }
    printCounts(output, report);
    printLoadNotes(output, report);
}

} // namespace cscan
