#include "apps/cscan/report/partreport.h"

#include "Inspection/records/numbers.h"
#include "apps/cscan/report/report.h"

#include <algorithm>
#include <numbers>
#include <ostream>

namespace cscan {

namespace {

constexpr int digits = 6;

/// Pieces and rims told one by one.
constexpr std::size_t maxTold = 5;

std::string rimText(PartRim const& rim) {
    std::size_t const sideCount = rim.points.size() - (rim.isClosed ? 0U : 1U);
    return counted(sideCount, "edge", "edges") + ", length " + toShortText(rim.length, digits) + ", around " +
           pointText(rim.middle) + (rim.isClosed ? "" : ", not closed");
}

std::string pieceText(PartPiece const& piece) {
    std::string text = counted(piece.faceCount, "face", "faces") + ", area " +
                       toShortText(piece.area, digits) + ", " +
                       (piece.isClosed() ? "closed" : counted(piece.rims.size(), "rim", "rims"));
    if (piece.handleCount) {
        text += ", " + counted(*piece.handleCount, "handle", "handles");
    }
    return text + (piece.isClosed() && piece.volume < 0.0 ? ", looks inward" : "");
}

template <class Items, class TextOf>
void printSome(std::ostream& output, std::string const& name, Items const& items, TextOf textOf) {
    printItem(output, name + "s", std::to_string(items.size()));
    std::size_t const toldCount = std::min(items.size(), maxTold);
    for (std::size_t i = 0; i < toldCount; ++i) {
        printItem(output, "  " + name + " " + std::to_string(i + 1), textOf(items[i]));
    }
    if (toldCount < items.size()) {
        printItem(output, "  others", std::to_string(items.size() - toldCount) + ", each smaller");
    }
}

} // namespace

void printAnalysis(std::ostream& output, PartAnalysis const& analysis) {
    constexpr double degrees = 180.0 / std::numbers::pi;
    Vector const extent = analysis.high - analysis.low;
    printItem(output, "points", std::to_string(analysis.pointCount));
    printItem(output, "faces", std::to_string(analysis.faceCount));
    printItem(output, "size",
              toShortText(extent.getdX(), digits) + " x " + toShortText(extent.getdY(), digits) + " x " +
                  toShortText(extent.getdZ(), digits) + ", from " + pointText(analysis.low));
    if (analysis.pieces.empty()) {
        return;
    }
    printItem(output, "area", toShortText(analysis.area, digits));
    printSome(output, "piece", analysis.pieces, pieceText);
    printSome(output, "rim", analysis.rims, rimText);
    printItem(output, "largest jump",
              "of normals " + toFixedText(analysis.largestJump.angle * degrees, 1) + " degrees, near " +
                  pointText(analysis.largestJump.place));
}

void printFaults(std::ostream& output, std::vector<PartFault> const& faults) {
    output << (faults.empty() ? "\nNo faults\n" : "\nFaults, faces and points counted from 1\n");
    for (PartFault const& fault : faults) {
        printItem(output, fault.isInTheWay ? "in the way" : "note", fault.cause);
        if (!fault.place.empty()) {
            printItem(output, "  where", fault.place);
        }
        printItem(output, "  remedy", fault.remedy);
    }
}

void printSuggestion(std::ostream& output, PartAnalysis const& analysis, SuggestedMode const& mode) {
    printItem(output, "suggested pixel",
              toShortText(suggestedPixel(analysis.area, analysis.faceCount), digits));
    printItem(output, "suggested mode",
              (mode.isPinned ? std::string("pinned: ") : std::string("developable: ")) + mode.reason);
}

void printPartRepair(std::ostream& output, PartRepairReport const& report) {
    bool isAnything = false;
    auto const tell = [&](std::size_t count, std::string const& singular, std::string const& plural) {
        if (count > 0) {
            printItem(output, "repair", counted(count, singular, plural));
            isAnything = true;
        }
    };
    std::string const within = " welded within " + toShortText(report.weldTolerance, digits);
    tell(report.weldedCount, "point" + within, "points" + within);
    tell(report.strayCount, "face without its points left out", "faces without their points left out");
    tell(report.collapsedCount, "face with a point twice left out", "faces with a point twice left out");
    tell(report.duplicateCount, "doubled face left out", "doubled faces left out");
    tell(report.flatCount, "face without area mended", "faces without area mended");
    tell(report.crowdedCount, "face left out at sides of more than two",
         "faces left out at sides of more than two");
    tell(report.lesserCount, "face of lesser pieces left out", "faces of lesser pieces left out");
    tell(report.turnedCount, "face turned over", "faces turned over");
    tell(report.splitCount, "point doubled where sheets met in it alone",
         "points doubled where sheets met in them alone");
    std::string const with = " closed with " + counted(report.addedCount, "face", "faces");
    tell(report.closedCount, "hole" + with, "holes" + with);
    tell(report.unusedCount, "unused point left out", "unused points left out");
    if (!isAnything) {
        printItem(output, "repair", "nothing to mend");
    }
}

void printNextCommands(std::ostream& output, std::vector<std::string> const& commands) {
    if (commands.empty()) {
        return;
    }
    output << "\nWhat to type next\n";
    for (std::string const& command : commands) {
        output << "  " << command << '\n';
    }
}

} // namespace cscan
