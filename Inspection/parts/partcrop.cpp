#include "Inspection/parts/partcrop.h"

#include "Inspection/import/objfile.h"
#include "Inspection/parts/internal/facechoice.h"
#include "Inspection/parts/internal/facetopology.h"
#include "Inspection/parts/internal/readfaces.h"
#include "Inspection/records/failure.h"
#include "Inspection/records/internal/announce.h"
#include "Inspection/records/outputs.h"
#include "Inspection/records/record.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>
#include <string>
#include <system_error>

// Box, plane and direction are asked of each face alone. Growth starts at the wanted face nearest to its
// place (Ericson, "Real-Time Collision Detection", 2005, 5.1.5) and spreads over sides of two faces that bend
// little enough. Then islands are taken back, one sheet is kept, and sheets that meet in a point alone are
// taken apart: of the fans around a point the one with the most faces stays, which can leave new sheets and
// points, so both are repeated until nothing changes. Each round costs a sort of the sides and leaves faces
// out; a handful of rounds is the rule.

namespace QELT::Inspection {

namespace {

using FaceSet = std::vector<bool>;

/// The nearest distance of a place to a face, squared.
double distanceSqr(Point const& place, Point const& a, Point const& b, Point const& c) {
    Vector const ab = b - a;
    Vector const ac = c - a;
    Vector const ap = place - a;
    auto const toSide = [&](Point const& from, Point const& to) {
        Vector const side = to - from;
        Vector const way = place - from;
        double const share = side.lSqr() > 0.0 ? std::clamp(way.dot(side) / side.lSqr(), 0.0, 1.0) : 0.0;
        return (way - side * share).lSqr();
    };
    Vector const normal = ab.cross(ac);
    double const v = normal.dot(ap.cross(ac));
    double const w = normal.dot(ab.cross(ap));
    if (normal.lSqr() > 0.0 && v >= 0.0 && w >= 0.0 && v + w <= normal.lSqr()) {
        double const height = normal.dot(ap);
        return height * height / normal.lSqr();
    }
    return std::min({toSide(a, b), toSide(b, c), toSide(c, a)});
}

/// One cut, over the sound faces of a part.
class Crop {
public:
    Crop(FaceMesh& faceMesh, CropChoice const& cropChoice)
        : mesh(faceMesh),
          choice(cropChoice),
          faces(faceMesh.faces),
          topology(faces, faceMesh.points.size()) {}

    CropReport run() {
        FaceSet const inside = facesInside();
        FaceSet wanted = facesFacing(inside);
        if (choice.growth) {
            wanted = grown(wanted);
        }
        keepIslands(inside, wanted);
        report.unwantedCount = keepFaces(mesh, wanted);
        keepOneSheet();
        report.keptCount = mesh.faces.size();
        return report;
    }

private:
    FaceMesh& mesh;
    CropChoice const& choice;
    std::vector<Face> faces; ///< as they were
    FaceTopology topology;
    CropReport report;
    std::optional<Face> seed; ///< where growth started

    bool fits(Point const& point) const {
        auto const isInBox = [&](CropBox const& box) {
            bool isIn = true;
            for (unsigned long axis = 0; axis < 3; ++axis) {
                isIn = isIn && point.get(axis) >= box.low.get(axis) && point.get(axis) <= box.high.get(axis);
            }
            return isIn;
        };
        auto const isAbove = [&](CropPlane const& plane) {
            return (point - plane.place).dot(plane.normal) >= 0.0;
        };
        return std::all_of(choice.boxes.begin(), choice.boxes.end(), isInBox) &&
               std::all_of(choice.planes.begin(), choice.planes.end(), isAbove);
    }

    FaceSet facesInside() const {
        FaceSet inside(faces.size());
        for (std::size_t i = 0; i < faces.size(); ++i) {
            inside[i] = std::all_of(faces[i].begin(), faces[i].end(),
                                    [&](std::uint32_t point) { return fits(mesh.points[point]); });
        }
        return inside;
    }

    FaceSet facesFacing(FaceSet wanted) const {
        for (std::size_t i = 0; i < faces.size() && choice.facing; ++i) {
            wanted[i] = wanted[i] &&
                        angleBetween(normalOf(mesh, i), choice.facing->direction) <= choice.facing->angle;
        }
        return wanted;
    }

    std::optional<std::size_t> nearestOf(FaceSet const& wanted) const;
    FaceSet grown(FaceSet const& wanted);
    void keepIslands(FaceSet const& inside, FaceSet& wanted);
    void keepOneSheet();
    std::size_t dropLesserFans();
    void dropLesserSheets();
};

std::optional<std::size_t> Crop::nearestOf(FaceSet const& wanted) const {
    std::optional<std::size_t> nearest;
    double least = std::numeric_limits<double>::infinity();
    for (std::size_t i = 0; i < faces.size(); ++i) {
        auto const& [a, b, c] = faces[i];
        double const distance =
            wanted[i] ? distanceSqr(choice.growth->place, mesh.points[a], mesh.points[b], mesh.points[c])
                      : least;
        if (distance < least) {
            least = distance;
            nearest = i;
        }
    }
    return nearest;
}

FaceSet Crop::grown(FaceSet const& wanted) {
    FaceSet result(faces.size(), false);
    std::vector<std::size_t> waiting;
    if (auto const nearest = nearestOf(wanted)) {
        seed = faces[*nearest];
        waiting.push_back(*nearest);
        result[*nearest] = true;
    }
    while (!waiting.empty()) {
        std::size_t const face = waiting.back();
        waiting.pop_back();
        for (Corner corner = 3 * face; corner < 3 * face + 3; ++corner) {
            auto const atSide = topology.cornersAt(topology.sideOf(corner));
            Corner const other = atSide.front() == corner ? atSide.back() : atSide.front();
            if (atSide.size() == 2 && wanted[other / 3] && !result[other / 3] &&
                bendAt(mesh, topology, corner, other) <= choice.growth->crease) {
                result[other / 3] = true;
                waiting.push_back(other / 3);
            }
        }
    }
    return result;
}

/// What lies inside box and planes, is not wanted, and touches nothing else but what is wanted.
void Crop::keepIslands(FaceSet const& inside, FaceSet& wanted) {
    if (!(choice.islandShare > 0.0)) {
        return;
    }
    FaceMesh unwanted{{}, {}};
    std::vector<std::size_t> numbers;
    double wantedArea = 0.0;
    for (std::size_t i = 0; i < faces.size(); ++i) {
        if (wanted[i]) {
            wantedArea += std::sqrt(normalOf(mesh, i).lSqr());
        } else {
            unwanted.faces.push_back(faces[i]);
            numbers.push_back(i);
        }
    }
    FaceTopology const patches(unwanted.faces, mesh.points.size());
    std::vector<double> areas(patches.pieceCount(), 0.0);
    for (std::size_t i = 0; i < numbers.size(); ++i) {
        double& area = areas[patches.pieceOf(i)];
        area += std::sqrt(normalOf(mesh, numbers[i]).lSqr());
        bool isOnRim = !inside[numbers[i]];
        for (Corner corner = 3 * numbers[i]; corner < 3 * numbers[i] + 3; ++corner) {
            isOnRim = isOnRim || topology.cornersAt(topology.sideOf(corner)).size() < 2;
        }
        area = isOnRim ? std::numeric_limits<double>::infinity() : area;
    }
    for (std::size_t i = 0; i < numbers.size(); ++i) {
        if (areas[patches.pieceOf(i)] <= choice.islandShare * wantedArea) {
            wanted[numbers[i]] = true;
            ++report.islandFaceCount;
        }
    }
}

/// Of the fans around each point the one with the most faces stays; of equal ones the first.
std::size_t Crop::dropLesserFans() {
    std::vector<Face> const current = mesh.faces;
    FaceTopology const fans(current, mesh.points.size());
    std::vector<std::size_t> sizes(fans.fanCount(), 0);
    for (Corner corner = 0; corner < 3 * current.size(); ++corner) {
        ++sizes[fans.fanOf(corner)];
    }
    std::vector<std::size_t> greatest(mesh.points.size(), fans.fanCount());
    for (Corner corner = 0; corner < 3 * current.size(); ++corner) {
        std::size_t& best = greatest[fans.pointAt(corner)];
        best = best == fans.fanCount() || sizes[fans.fanOf(corner)] > sizes[best] ? fans.fanOf(corner) : best;
    }
    FaceSet isKept(current.size(), true);
    for (Corner corner = 0; corner < 3 * current.size(); ++corner) {
        if (fans.fanOf(corner) != greatest[fans.pointAt(corner)]) {
            isKept[corner / 3] = false;
        }
    }
    return keepFaces(mesh, isKept);
}

void Crop::dropLesserSheets() {
    std::size_t const sheetCount = FaceTopology(mesh.faces, mesh.points.size()).pieceCount();
    report.sheetCount += sheetCount > 0 ? sheetCount - 1 : 0;
    auto const place = seed ? std::find(mesh.faces.begin(), mesh.faces.end(), *seed) : mesh.faces.end();
    report.sheetFaceCount += place == mesh.faces.end()
                                 ? keepOnePiece(mesh)
                                 : keepOnePiece(mesh, static_cast<std::size_t>(place - mesh.faces.begin()));
}

void Crop::keepOneSheet() {
    std::size_t dropped = 1;
    while (dropped > 0 && !mesh.faces.empty()) {
        dropLesserSheets();
        dropped = dropLesserFans();
        report.pinchedCount += dropped;
    }
}

bool isClosed(FaceMesh const& mesh) {
    FaceTopology const topology(mesh.faces, mesh.points.size());
    for (std::size_t side = 0; side < topology.sideCount(); ++side) {
        if (topology.cornersAt(side).size() == 1) {
            return false;
        }
    }
    return true;
}

} // namespace

CropReport cropFaces(FaceMesh& mesh, CropChoice const& choice) {
    std::size_t faultyCount = dropStrayFaces(mesh) + dropCollapsedFaces(mesh);
    faultyCount += dropDuplicateFaces(mesh) + dropFacesAtCrowdedSides(mesh);
    CropReport report = Crop(mesh, choice).run();
    report.faultyCount = faultyCount;
    require(!mesh.faces.empty(), "no face fits what is to be kept; cscan check tells the part's size");
    require(!isClosed(mesh), "nothing is cut off, what is kept is still closed; narrow the choice, as with "
                             "--facing and --angle");
    dropLoosePoints(mesh);
    return report;
}

namespace {

void addSettings(Record& record, CropChoice const& choice) {
    for (CropBox const& box : choice.boxes) {
        record.setting("boxLow", box.low);
        record.setting("boxHigh", box.high);
    }
    for (CropPlane const& plane : choice.planes) {
        record.setting("planePlace", plane.place);
        record.setting("planeNormal", plane.normal);
    }
    if (choice.facing) {
        record.setting("facing", choice.facing->direction);
        record.setting("facingAngle", choice.facing->angle);
    }
    if (choice.growth) {
        record.setting("growthPlace", choice.growth->place);
        record.setting("growthCrease", choice.growth->crease);
    }
    record.setting("islandShare", choice.islandShare);
}

void addFigures(Record& record, CropReport const& report) {
    record.figure("facesKept", report.keptCount);
    record.figure("facesUnwanted", report.unwantedCount);
    record.figure("islandFaces", report.islandFaceCount);
    record.figure("otherSheets", report.sheetCount);
    record.figure("otherSheetFaces", report.sheetFaceCount);
    record.figure("pinchedFaces", report.pinchedCount);
    record.figure("faultyFaces", report.faultyCount);
}

} // namespace

CropResult cropPart(CropOptions const& options, ProgressListener* listener) {
    std::string const part = options.part.string();
    Record record("crop");
    addPart(record, options.part);
    Outputs outputs(record);
    addObjOutput(outputs, options.result);
    requireNoCutBeside(options.result);
    announce(listener, "Reading part");
    FaceMesh mesh = readFaces(options.part).mesh;
    require(!mesh.faces.empty(),
            part + ": holds points and no faces; make a surface of it first: cscan reconstruct");
    announce(listener, "Cutting out");
    CropResult result;
    try {
        result.crop = cropFaces(mesh, options.choice);
    } catch (Failure const& failure) {
        throw Failure(part + ": " + failure.what());
    }
    writeFaces(mesh, outputs.at(options.result));
    addSettings(record, options.choice);
    addFigures(record, result.crop);
    result.analysis = analysePart(mesh);
    result.mode = suggestedModeOf(result.analysis);
    result.faults = faultsOf(mesh, result.analysis, options.result);
    result.nextCommands = nextCommands(result.analysis, result.faults, options.result);
    outputs.commit(listener);
    return result;
}

} // namespace QELT::Inspection
