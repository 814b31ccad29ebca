#include "Inspection/parts/partanalysis.h"

#include "Inspection/import/internal/welding.h"
#include "Inspection/parts/internal/facechoice.h"
#include "Inspection/parts/internal/facetopology.h"
#include "Inspection/parts/internal/flatfaces.h"
#include "Inspection/parts/internal/joinedsets.h"
#include "Inspection/parts/internal/rimwalk.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <numeric>
#include <utility>

// Faces that name no point, or one twice, or that stand there twice, are told and put aside; what they would
// do to the sides around them is not told again. The others are looked at with `FaceTopology`, which takes
// whatever is left: crowded sides, pinched points, windings, pieces and rims are read off it.
//
// Handles follow from Euler's formula for a piece whose rims are closed with a disc each: points - sides +
// faces + rims = 2 - 2 handles, a point counted once for each of its fans. Curvature is what the angles
// around inner points lack to a full turn, added up; so noise cancels, and by the theorem of Gauss and Bonnet
// it is what the rim's turning lacks: the gap that opens where the rim is rolled out into the plane.
//
// A tube is told from a flat ring, which has two rims and no handle either, by the turning of its longest
// rim: that of a ring turns by a whole turn, that of a tube runs straight ahead. Cost: the sorts of
// `FaceTopology` and of the faces' points, and a welding.

namespace QELT::Inspection {

namespace {

using QELT::Geometry::ThreeDimensional::TriangleMeasures::bary;
using QELT::Geometry::ThreeDimensional::TriangleMeasures::twoATN;

/// Points no farther apart than this share of the part's size are one.
constexpr double coincidentShare = 1e-6;

constexpr double cosineOfFacing = 0.5;

/// A tube's second rim is no hole: at least that share of the first.
constexpr double minTubeRimShare = 0.25;

template <class Name>
void add(Found<Name>& found, Name const& name, Point const& place) {
    if (found.count++ == 0) {
        found.place = place;
    }
    if (found.first.size() < maxFoundTold) {
        found.first.push_back(name);
    }
}

/// One look at a part.
class Examination {
public:
    explicit Examination(FaceMesh const& faceMesh) : mesh(faceMesh) {
        result.pointCount = mesh.points.size();
        result.faceCount = mesh.faces.size();
    }

    PartAnalysis run(std::optional<double> pixel) {
        sortOut();
        measureBox();
        findCoincidentPoints();
        FaceTopology const topology(sound, mesh.points.size());
        measureFaces();
        measureFans(topology);
        findPieces(topology);
        addCurvature(topology);
        findFaultySides(topology);
        findPinchedPoints(topology);
        findWindings(topology);
        findRims(topology);
        countHandles(topology);
        orderPieces();
        findFacings(topology);
        result.pixel = pixel.value_or(suggestedPixel(result.area, sound.size()));
        findJumps(topology);
        findLargestPatch();
        return std::move(result);
    }

private:
    FaceMesh const& mesh;
    PartAnalysis result;
    std::vector<Face> sound;            ///< the faces that are looked at
    std::vector<std::uint32_t> numbers; ///< theirs among all
    std::vector<Vector> normals;        ///< of the sound faces, as long as twice the area
    std::vector<bool> isFlat;           ///< of the sound faces: without a normal
    std::vector<double> fanAngles;
    JoinedSets patches{0}; ///< of the sound faces, over sides that are no creases

    Point middleOf(Face const& face) const {
        constexpr double third = 1.0 / 3.0;
        return bary(mesh.points[face[0]], mesh.points[face[1]], mesh.points[face[2]], third, third, third);
    }

    Point middleOf(SideEnds const& side) const {
        return bary(mesh.points[side[0]], mesh.points[side[1]], 0.5, 0.5);
    }

    Point pointAt(FaceTopology const& topology, Corner corner) const {
        return mesh.points[topology.pointAt(corner)];
    }

    void sortOut();
    bool isFaulty(Face const& face, std::uint32_t number);
    void dropDuplicates();
    void measureBox();
    void findCoincidentPoints();
    void measureFaces();
    void measureFans(FaceTopology const& topology);
    void findPieces(FaceTopology const& topology);
    void addCurvature(FaceTopology const& topology);
    void findFaultySides(FaceTopology const& topology);
    void findPinchedPoints(FaceTopology const& topology);
    void findWindings(FaceTopology const& topology);
    void findRims(FaceTopology const& topology);
    void measureRim(PartRim& rim) const;
    void countHandles(FaceTopology const& topology);
    void orderPieces();
    void findFacings(FaceTopology const& topology);
    void findJumps(FaceTopology const& topology);
    void findJump(SideEnds const& side, std::size_t a, std::size_t b, bool isSameWay);
    void findLargestPatch();
};

SideEnds endsOf(FaceTopology const& topology, std::size_t side) {
    Corner const corner = topology.cornersAt(side).front();
    auto const [low, high] = std::minmax({topology.pointAt(corner), topology.pointAt(nextCorner(corner))});
    return {low, high};
}

void Examination::sortOut() {
    for (std::uint32_t i = 0; i < mesh.faces.size(); ++i) {
        if (!isFaulty(mesh.faces[i], i)) {
            sound.push_back(mesh.faces[i]);
            numbers.push_back(i);
        }
    }
    dropDuplicates();
}

bool Examination::isFaulty(Face const& face, std::uint32_t number) {
    auto const& [a, b, c] = face;
    if (std::max({a, b, c}) >= mesh.points.size()) {
        add(result.strayFaces, number, Point());
        return true;
    }
    if (a == b || b == c || c == a) {
        add(result.collapsedFaces, number, mesh.points[a]);
        return true;
    }
    return false;
}

void Examination::dropDuplicates() {
    std::vector<bool> const isDuplicate = duplicatesAmong(sound);
    std::size_t kept = 0;
    for (std::size_t i = 0; i < sound.size(); ++i) {
        if (isDuplicate[i]) {
            add(result.duplicateFaces, numbers[i], middleOf(sound[i]));
        } else {
            sound[kept] = sound[i];
            numbers[kept++] = numbers[i];
        }
    }
    sound.resize(kept);
    numbers.resize(kept);
}

/// Around the points of faces, or around all if there is no face.
void Examination::measureBox() {
    std::vector<bool> isUsed(mesh.points.size(), mesh.faces.empty());
    for (Face const& face : mesh.faces) {
        for (std::uint32_t const point : face) {
            if (point < isUsed.size()) {
                isUsed[point] = true;
            }
        }
    }
    bool isFirst = true;
    for (std::uint32_t i = 0; i < mesh.points.size(); ++i) {
        Point const& point = mesh.points[i];
        if (!isUsed[i]) {
            add(result.unusedPoints, i, point);
            continue;
        }
        for (unsigned long axis = 0; axis < 3; ++axis) {
            float const value = point.get(axis);
            result.low.seti(axis, isFirst ? value : std::min(result.low.get(axis), value));
            result.high.seti(axis, isFirst ? value : std::max(result.high.get(axis), value));
        }
        isFirst = false;
    }
}

void Examination::findCoincidentPoints() {
    std::vector<std::array<double, 3>> places;
    places.reserve(mesh.points.size());
    for (Point const& point : mesh.points) {
        places.push_back({point.getX(), point.getY(), point.getZ()});
    }
    std::uint32_t next = 0;
    auto const welded = weld(places, coincidentShare * result.size());
    for (std::uint32_t i = 0; i < places.size(); ++i) {
        if (welded.newIndices[i] == next) {
            ++next;
        } else {
            add(result.coincidentPoints, i, mesh.points[i]);
        }
    }
}

void Examination::measureFaces() {
    for (std::size_t i = 0; i < sound.size(); ++i) {
        auto const& [a, b, c] = sound[i];
        auto const& points = mesh.points;
        Vector const normal = twoATN(points[a], points[b], points[c]);
        double const longestSqr = std::max(
            {(points[b] - points[a]).lSqr(), (points[c] - points[b]).lSqr(), (points[a] - points[c]).lSqr()});
        double const twiceArea = std::sqrt(normal.lSqr());
        normals.push_back(normal);
        isFlat.push_back(!(twiceArea > minHeightShare * longestSqr));
        if (isFlat[i]) {
            add(result.flatFaces, numbers[i], middleOf(sound[i]));
        }
        result.area += 0.5 * twiceArea;
    }
}

void Examination::measureFans(FaceTopology const& topology) {
    fanAngles.assign(topology.fanCount(), 0.0);
    for (Corner corner = 0; corner < 3 * sound.size(); ++corner) {
        Point const apex = pointAt(topology, corner);
        fanAngles[topology.fanOf(corner)] += angleBetween(pointAt(topology, nextCorner(corner)) - apex,
                                                          pointAt(topology, previousCorner(corner)) - apex);
    }
}

void Examination::findPieces(FaceTopology const& topology) {
    result.pieces.resize(topology.pieceCount());
    for (std::size_t i = 0; i < sound.size(); ++i) {
        PartPiece& piece = result.pieces[topology.pieceOf(i)];
        if (piece.faceCount++ == 0) {
            piece.firstFace = numbers[i];
            piece.place = middleOf(sound[i]);
        }
        piece.area += 0.5 * std::sqrt(normals[i].lSqr());
        Vector const out = mesh.points[sound[i][0]] - result.low;
        piece.volume += out.dot(normals[i]) / 6.0;
    }
}

/// Of the fans without an open side.
void Examination::addCurvature(FaceTopology const& topology) {
    std::vector<bool> isOnRim(topology.fanCount(), false);
    for (std::size_t side = 0; side < topology.sideCount(); ++side) {
        Corner const corner = topology.cornersAt(side).front();
        if (topology.cornersAt(side).size() != 2) {
            isOnRim[topology.fanOf(corner)] = true;
            isOnRim[topology.fanOf(nextCorner(corner))] = true;
        }
    }
    std::vector<bool> isAdded = isOnRim;
    for (Corner corner = 0; corner < 3 * sound.size(); ++corner) {
        std::size_t const fan = topology.fanOf(corner);
        if (!isAdded[fan]) {
            isAdded[fan] = true;
            result.pieces[topology.pieceOf(corner / 3)].curvature += 2.0 * std::numbers::pi - fanAngles[fan];
        }
    }
}

void Examination::findFaultySides(FaceTopology const& topology) {
    for (std::size_t side = 0; side < topology.sideCount(); ++side) {
        auto const corners = topology.cornersAt(side);
        SideEnds const ends = endsOf(topology, side);
        if (corners.size() > 2) {
            add(result.crowdedSides, ends, middleOf(ends));
        } else if (corners.size() == 2 && topology.isSameWay(corners[0], corners[1])) {
            add(result.misdirectedSides, ends, middleOf(ends));
        }
    }
}

void Examination::findPinchedPoints(FaceTopology const& topology) {
    for (std::uint32_t point = 0; point < mesh.points.size(); ++point) {
        if (topology.fansAt(point) > 1) {
            add(result.pinchedPoints, point, mesh.points[point]);
        }
    }
}

void Examination::findWindings(FaceTopology const& topology) {
    Windings const windings = windingsOf(topology, sound.size());
    for (std::size_t i = 0; i < sound.size(); ++i) {
        if (!windings.isOrientable[windings.sheets[i]]) {
            add(result.oneSidedFaces, numbers[i], middleOf(sound[i]));
            result.pieces[topology.pieceOf(i)].isOrientable = false;
        } else if (windings.isTurned[i]) {
            add(result.turnedFaces, numbers[i], middleOf(sound[i]));
        }
    }
}

void Examination::measureRim(PartRim& rim) const {
    std::size_t const count = rim.points.size();
    double const share = 1.0 / static_cast<double>(count);
    Vector sum;
    for (std::size_t i = 0; i < count; ++i) {
        Point const& point = mesh.points[rim.points[i]];
        sum = sum + (point - result.low) * share;
        if (i + 1 < count || rim.isClosed) {
            rim.length += std::sqrt((mesh.points[rim.points[(i + 1) % count]] - point).lSqr());
        }
    }
    rim.middle = result.low + sum;
}

void Examination::findRims(FaceTopology const& topology) {
    auto [rims, firstFaces] = walkRims(topology, fanAngles);
    for (std::size_t i = 0; i < rims.size(); ++i) {
        rims[i].piece = topology.pieceOf(firstFaces[i]);
        measureRim(rims[i]);
    }
    std::stable_sort(rims.begin(), rims.end(),
                     [](PartRim const& a, PartRim const& b) { return a.length > b.length; });
    for (std::size_t i = 0; i < rims.size(); ++i) {
        result.pieces[rims[i].piece].rims.push_back(i);
    }
    result.rims = std::move(rims);
}

void Examination::countHandles(FaceTopology const& topology) {
    std::vector<std::ptrdiff_t> euler(result.pieces.size(), 0);
    std::vector<bool> isClear(result.pieces.size(), true);
    for (std::size_t side = 0; side < topology.sideCount(); ++side) {
        std::size_t const piece = topology.pieceOf(topology.cornersAt(side).front() / 3);
        --euler[piece];
        isClear[piece] = isClear[piece] && topology.cornersAt(side).size() <= 2;
    }
    std::vector<bool> isCounted(topology.fanCount(), false);
    for (Corner corner = 0; corner < 3 * sound.size(); ++corner) {
        std::size_t const fan = topology.fanOf(corner);
        euler[topology.pieceOf(corner / 3)] += (isCounted[fan] ? 0 : 1) + (corner % 3 == 0 ? 1 : 0);
        isCounted[fan] = true;
    }
    for (std::size_t i = 0; i < result.pieces.size(); ++i) {
        PartPiece& piece = result.pieces[i];
        auto const closed = euler[i] + static_cast<std::ptrdiff_t>(piece.rims.size());
        if (piece.isOrientable && isClear[i]) {
            piece.handleCount = static_cast<std::size_t>((2 - closed) / 2);
        }
    }
}

/// Largest first; the rims follow.
void Examination::orderPieces() {
    std::vector<std::size_t> order(result.pieces.size());
    std::iota(order.begin(), order.end(), 0);
    std::stable_sort(order.begin(), order.end(), [&](std::size_t a, std::size_t b) {
        return result.pieces[a].area > result.pieces[b].area;
    });
    std::vector<PartPiece> pieces;
    std::vector<std::size_t> places(order.size());
    for (std::size_t i = 0; i < order.size(); ++i) {
        pieces.push_back(std::move(result.pieces[order[i]]));
        places[order[i]] = i;
    }
    for (PartRim& rim : result.rims) {
        rim.piece = places[rim.piece];
    }
    result.pieces = std::move(pieces);
    for (std::size_t i = 1; i < result.pieces.size(); ++i) {
        result.lesserFaceCount += result.pieces[i].faceCount;
    }
}

void Examination::findFacings(FaceTopology const& topology) {
    if (result.pieces.empty()) {
        return;
    }
    auto const largest = std::find(numbers.begin(), numbers.end(), result.pieces.front().firstFace);
    std::size_t const piece = topology.pieceOf(static_cast<std::size_t>(largest - numbers.begin()));
    for (std::size_t i = 0; i < sound.size(); ++i) {
        double const length = std::sqrt(normals[i].lSqr());
        for (unsigned long axis = 0; axis < 3 && topology.pieceOf(i) == piece; ++axis) {
            double const along = normals[i].get(axis);
            if (std::abs(along) >= cosineOfFacing * length) {
                result.facingArea.at(2 * axis + (along < 0.0 ? 1 : 0)) += 0.5 * length;
            }
        }
    }
}

void Examination::findJumps(FaceTopology const& topology) {
    patches = JoinedSets(sound.size());
    for (std::size_t side = 0; side < topology.sideCount(); ++side) {
        auto const corners = topology.cornersAt(side);
        if (corners.size() == 2 && !isFlat[corners[0] / 3] && !isFlat[corners[1] / 3]) {
            findJump(endsOf(topology, side), corners[0] / 3, corners[1] / 3,
                     topology.isSameWay(corners[0], corners[1]));
        }
    }
}

void Examination::findJump(SideEnds const& side, std::size_t a, std::size_t b, bool isSameWay) {
    double const angle = angleBetween(normals[a], isSameWay ? normals[b] * -1.0 : normals[b]);
    if (angle <= patchCrease) {
        patches.join(a, b);
    }
    if (angle > result.largestJump.angle) {
        result.largestJump = {angle, side, middleOf(side)};
    }
    double const length = std::sqrt((mesh.points[side[1]] - mesh.points[side[0]]).lSqr());
    double const lesserHeight = std::sqrt(std::min(normals[a].lSqr(), normals[b].lSqr())) / length;
    double const width = facetPixels * result.pixel;
    if (angle > facetAngle && length >= width && lesserHeight >= width) {
        add(result.facetSides, side, middleOf(side));
    }
}

/// Of equal ones the first.
void Examination::findLargestPatch() {
    std::vector<double> areas(sound.size(), 0.0);
    for (std::size_t i = 0; i < sound.size(); ++i) {
        areas[patches.setOf(i)] += 0.5 * std::sqrt(normals[i].lSqr());
    }
    auto const patch = static_cast<std::size_t>(std::max_element(areas.begin(), areas.end()) - areas.begin());
    double largest = 0.0;
    for (std::size_t i = 0; i < sound.size(); ++i) {
        if (patches.setOf(i) == patch && normals[i].lSqr() > largest) {
            largest = normals[i].lSqr();
            result.placeOnLargestPatch = middleOf(sound[i]);
        }
    }
}

} // namespace

PartAnalysis analysePart(FaceMesh const& mesh, std::optional<double> pixel) {
    return Examination(mesh).run(pixel);
}

double PartAnalysis::size() const {
    return std::sqrt((high - low).lSqr());
}

bool PartAnalysis::isTube() const {
    if (pieces.empty() || pieces.front().rims.size() < 2 || pieces.front().handleCount != 0U) {
        return false;
    }
    auto const& own = pieces.front().rims;
    auto const lengthOf = [&](std::size_t i) { return rims[own[i]].length; };
    bool const areOthersHoles = own.size() == 2 || lengthOf(2) < minTubeRimShare * lengthOf(0);
    return areOthersHoles && lengthOf(1) >= minTubeRimShare * lengthOf(0) &&
           std::abs(rims[own[0]].turning) < std::numbers::pi;
}

PartRim const* PartAnalysis::outline() const {
    PartRim const* most = nullptr;
    for (PartRim const& rim : rims) {
        if (rim.piece == 0 && (most == nullptr || rim.points.size() > most->points.size())) {
            most = &rim;
        }
    }
    return most;
}

double PartAnalysis::rollingGap() const {
    PartRim const* const rim = outline();
    return rim == nullptr ? 0.0 : 2.0 * std::numbers::pi - rim->turning;
}

double suggestedPixel(double area, std::size_t faceCount) {
    constexpr double fewestQuads = 4e4;
    constexpr double mostQuads = 1e6;
    if (!(area > 0.0) || !std::isfinite(area)) {
        return 0.0;
    }
    double const quads = std::clamp(static_cast<double>(faceCount) / 2.0, fewestQuads, mostQuads);
    double const width = std::sqrt(area / quads);
    double const power = std::pow(10.0, std::floor(std::log10(width)));
    double const digit = width / power;
    for (double const step : {1.0, 2.0, 5.0}) {
        double const next = step == 2.0 ? 5.0 : 2.0 * step;
        if (digit * digit < step * next) { // the nearer of the two as a ratio
            return step * power;
        }
    }
    return 10.0 * power;
}

} // namespace QELT::Inspection
