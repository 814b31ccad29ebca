#include "Inspection/parts/surfacerepair.h"

#include "Inspection/parts/internal/holes.h"
#include "Inspection/parts/internal/overlaps.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <numeric>
#include <unordered_map>
#include <unordered_set>

namespace QELT::Inspection {

namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();

/// Closed unless the user says otherwise.
constexpr std::size_t smallestHole = 3;

/// Covering a hole costs the cube of its sides; a narrow one that has more is left.
constexpr std::size_t mostSidesOfNarrow = 200;

double distance(Point const& a, Point const& b) {
    return std::sqrt((b - a).lSqr());
}

double areaOf(Point const& a, Point const& b, Point const& c) {
    return 0.5 * std::sqrt((b - a).cross(c - a).lSqr());
}

/// Where each side of the triangles is found, by its two ends in the order of its triangle. A side is told by
/// its corner: three times the face's number plus the corner that it starts from.
class SideTable {
public:
    void reserve(std::size_t count) { corners.reserve(count); }

    bool add(unsigned from, unsigned to, std::size_t corner) {
        return corners.emplace(keyOf(from, to), corner).second;
    }

    bool contains(unsigned from, unsigned to) const { return corners.count(keyOf(from, to)) > 0; }

    std::optional<std::size_t> find(unsigned from, unsigned to) const {
        auto const place = corners.find(keyOf(from, to));
        return place == corners.end() ? std::nullopt : std::optional(place->second);
    }

private:
    std::unordered_map<std::uint64_t, std::size_t> corners;

    static std::uint64_t keyOf(unsigned from, unsigned to) {
        return (static_cast<std::uint64_t>(from) << 32U) | to;
    }
};

/// Sets of numbers that grow by being joined.
class JoinedSets {
public:
    explicit JoinedSets(std::size_t count) : parents(count) { std::iota(parents.begin(), parents.end(), 0); }

    std::size_t setOf(std::size_t i) {
        while (parents[i] != i) {
            parents[i] = parents[parents[i]];
            i = parents[i];
        }
        return i;
    }

    void join(std::size_t a, std::size_t b) { parents[setOf(a)] = setOf(b); }

    /// By the set's number; 0 where there is none of that number.
    std::vector<std::size_t> sizes() {
        std::vector<std::size_t> result(parents.size(), 0);
        for (std::size_t i = 0; i < parents.size(); ++i) {
            ++result[setOf(i)];
        }
        return result;
    }

private:
    std::vector<std::size_t> parents;
};

std::size_t nextCorner(std::size_t corner) {
    return corner % 3 == 2 ? corner - 2 : corner + 1;
}

unsigned pointAt(FaceMesh const& mesh, std::size_t corner) {
    return mesh.faces[corner / 3].at(corner % 3);
}

std::size_t cornerCount(FaceMesh const& mesh) {
    return 3 * mesh.faces.size();
}

SideTable sidesOf(FaceMesh const& mesh) {
    SideTable sides;
    sides.reserve(cornerCount(mesh));
    for (std::size_t corner = 0; corner < cornerCount(mesh); ++corner) {
        sides.add(pointAt(mesh, corner), pointAt(mesh, nextCorner(corner)), corner);
    }
    return sides;
}

/// Calls `visit` with each two corners that start the two directions of one side.
template <class Visit>
void forEachSharedSide(FaceMesh const& mesh, Visit visit) {
    SideTable const sides = sidesOf(mesh);
    for (std::size_t corner = 0; corner < cornerCount(mesh); ++corner) {
        auto const other = sides.find(pointAt(mesh, nextCorner(corner)), pointAt(mesh, corner));
        if (other) {
            visit(corner, *other);
        }
    }
}

/// Tells how many faces went.
template <class IsUnwanted>
std::size_t dropFaces(FaceMesh& mesh, IsUnwanted isUnwanted) {
    std::size_t kept = 0;
    for (std::size_t i = 0; i < mesh.faces.size(); ++i) {
        if (!isUnwanted(i)) {
            mesh.faces[kept++] = mesh.faces[i];
        }
    }
    std::size_t const dropped = mesh.faces.size() - kept;
    mesh.faces.resize(kept);
    return dropped;
}

std::size_t dropLongSides(FaceMesh& mesh, double longest) {
    return dropFaces(mesh, [&](std::size_t i) {
        auto const& [a, b, c] = mesh.faces[i];
        auto const& points = mesh.points;
        return std::max({distance(points[a], points[b]), distance(points[b], points[c]),
                         distance(points[c], points[a])}) > longest;
    });
}

/// Of triangles that run along one side in the same direction the first stays.
std::size_t dropDoubledSides(FaceMesh& mesh) {
    SideTable sides;
    return dropFaces(mesh, [&](std::size_t i) {
        auto const& [a, b, c] = mesh.faces[i];
        if (a == b || b == c || c == a || sides.contains(a, b) || sides.contains(b, c) ||
            sides.contains(c, a)) {
            return true;
        }
        sides.add(a, b, 3 * i);
        sides.add(b, c, 3 * i + 1);
        sides.add(c, a, 3 * i + 2);
        return false;
    });
}

std::size_t dropOverlaps(FaceMesh& mesh, double reach) {
    auto const isOver = overlappingFaces(mesh, reach);
    return dropFaces(mesh, [&](std::size_t i) { return isOver[i]; });
}

/// Of the fans of triangles around each point the one with the most triangles stays.
std::size_t dropLesserFans(FaceMesh& mesh) {
    JoinedSets fans(cornerCount(mesh));
    forEachSharedSide(mesh, [&](std::size_t corner, std::size_t other) {
        fans.join(corner, nextCorner(other));
        fans.join(nextCorner(corner), other);
    });
    auto const sizes = fans.sizes();
    std::vector<std::size_t> greatest(mesh.points.size(), cornerCount(mesh));
    for (std::size_t corner = 0; corner < cornerCount(mesh); ++corner) {
        std::size_t& fan = greatest[pointAt(mesh, corner)];
        if (fan == cornerCount(mesh) || sizes[fans.setOf(corner)] > sizes[fan]) {
            fan = fans.setOf(corner);
        }
    }
    std::vector<bool> isUnwanted(mesh.faces.size(), false);
    for (std::size_t corner = 0; corner < cornerCount(mesh); ++corner) {
        if (fans.setOf(corner) != greatest[pointAt(mesh, corner)]) {
            isUnwanted[corner / 3] = true;
        }
    }
    return dropFaces(mesh, [&](std::size_t i) { return isUnwanted[i]; });
}

std::size_t dropLesserPieces(FaceMesh& mesh) {
    JoinedSets pieces(mesh.faces.size());
    forEachSharedSide(mesh,
                      [&](std::size_t corner, std::size_t other) { pieces.join(corner / 3, other / 3); });
    auto const sizes = pieces.sizes();
    auto const greatest =
        static_cast<std::size_t>(std::max_element(sizes.begin(), sizes.end()) - sizes.begin());
    return dropFaces(mesh, [&](std::size_t i) { return pieces.setOf(i) != greatest; });
}

/// The points around a hole or the outline. The triangles that would close it run along the loop.
using Loop = std::vector<unsigned>;

/// Needs faces whose rims part at no point.
std::vector<Loop> loopsOf(FaceMesh const& mesh, SideTable const& sides) {
    std::unordered_map<unsigned, unsigned> next;
    std::vector<unsigned> starts;
    for (std::size_t corner = 0; corner < cornerCount(mesh); ++corner) {
        unsigned const from = pointAt(mesh, corner);
        unsigned const to = pointAt(mesh, nextCorner(corner));
        if (!sides.contains(to, from)) {
            next.emplace(to, from);
            starts.push_back(to);
        }
    }
    std::vector<Loop> loops;
    std::unordered_set<unsigned> walked;
    for (unsigned const start : starts) {
        Loop loop;
        for (unsigned point = start; walked.insert(point).second; point = next.at(point)) {
            loop.push_back(point);
        }
        if (!loop.empty()) {
            loops.push_back(std::move(loop));
        }
    }
    return loops;
}

double lengthOf(FaceMesh const& mesh, Loop const& loop) {
    double length = distance(mesh.points[loop.back()], mesh.points[loop.front()]);
    for (std::size_t i = 1; i < loop.size(); ++i) {
        length += distance(mesh.points[loop[i - 1]], mesh.points[loop[i]]);
    }
    return length;
}

/// The longest loop of each piece, which is its outline, goes.
void dropOutlines(FaceMesh const& mesh, std::vector<Loop>& loops) {
    JoinedSets pieces(mesh.points.size());
    for (Face const& face : mesh.faces) {
        pieces.join(face[0], face[1]);
        pieces.join(face[1], face[2]);
    }
    std::vector<double> longest(mesh.points.size(), -1.0);
    std::vector<std::size_t> outlines(mesh.points.size(), loops.size());
    for (std::size_t i = 0; i < loops.size(); ++i) {
        std::size_t const piece = pieces.setOf(loops[i].front());
        if (double const length = lengthOf(mesh, loops[i]); length > longest[piece]) {
            longest[piece] = length;
            outlines[piece] = i;
        }
    }
    std::vector<Loop> holes;
    for (std::size_t i = 0; i < loops.size(); ++i) {
        if (outlines[pieces.setOf(loops[i].front())] != i) {
            holes.push_back(std::move(loops[i]));
        }
    }
    loops = std::move(holes);
}

/// Finds the triangles of least total area that close a hole, need no side twice and none that is too long,
/// from those of ever longer stretches of its rim.
class HoleCover {
public:
    HoleCover(FaceMesh const& faceMesh, SideTable const& sideTable, Loop const& rim, double longest)
        : mesh(faceMesh), sides(sideTable), loop(rim), longestSide(longest), best(rim.size() * rim.size()) {
        for (std::size_t length = 2; length < loop.size(); ++length) {
            for (std::size_t first = 0; first + length < loop.size(); ++first) {
                cover(first, first + length);
            }
        }
    }

    bool exists() const { return at(0, loop.size() - 1).area < infinity; }

    std::vector<Face> faces() const {
        std::vector<Face> result;
        collect(0, loop.size() - 1, result);
        return result;
    }

private:
    /// The cover of the stretch of rim between two of its points.
    struct Cover {
        double area = 0.0;
        std::size_t apex = 0;
    };

    FaceMesh const& mesh;
    SideTable const& sides;
    Loop const& loop;
    double longestSide;
    std::vector<Cover> best;

    Cover const& at(std::size_t first, std::size_t last) const { return best[first * loop.size() + last]; }

    /// Whether there is such a side already, or it is too long.
    bool isSideRefused(std::size_t first, std::size_t last) const {
        bool const isOnRim = first == 0 && last + 1 == loop.size();
        return !isOnRim &&
               (sides.contains(loop[first], loop[last]) || sides.contains(loop[last], loop[first]) ||
                distance(mesh.points[loop[first]], mesh.points[loop[last]]) > longestSide);
    }

    void cover(std::size_t first, std::size_t last) {
        Cover result{infinity, 0};
        for (std::size_t apex = first + 1; apex < last && !isSideRefused(first, last); ++apex) {
            double const own =
                areaOf(mesh.points[loop[first]], mesh.points[loop[apex]], mesh.points[loop[last]]);
            double const area = own + at(first, apex).area + at(apex, last).area;
            if (own > 0.0 && area < result.area) {
                result = {area, apex};
            }
        }
        best[first * loop.size() + last] = result;
    }

    void collect(std::size_t first, std::size_t last, std::vector<Face>& result) const {
        if (last - first < 2) {
            return;
        }
        std::size_t const apex = at(first, last).apex;
        result.push_back({loop[first], loop[apex], loop[last]});
        collect(first, apex, result);
        collect(apex, last, result);
    }
};

/// How long the sides of triangles may be that cover a hole; nothing if it is to be left open.
std::optional<double> longestCoverSide(Loop const& hole, RepairOptions const& options) {
    if (hole.size() <= options.largestHole.value_or(smallestHole)) {
        return infinity;
    }
    bool const isClosedIfNarrow =
        !options.largestHole && options.longestSide && hole.size() <= mostSidesOfNarrow;
    return isClosedIfNarrow && std::isfinite(*options.longestSide) ? options.longestSide : std::nullopt;
}

std::size_t closeHoles(FaceMesh& mesh, RepairOptions const& options) {
    SideTable sides = sidesOf(mesh);
    auto holes = loopsOf(mesh, sides);
    dropOutlines(mesh, holes);
    std::size_t closedCount = 0;
    for (Loop const& hole : holes) {
        auto const longest = longestCoverSide(hole, options);
        if (!longest) {
            continue;
        }
        HoleCover const cover(mesh, sides, hole, *longest);
        if (!cover.exists()) {
            continue;
        }
        for (Face const& face : cover.faces()) {
            std::size_t const corner = cornerCount(mesh);
            mesh.faces.push_back(face);
            for (std::size_t i = 0; i < 3; ++i) {
                sides.add(face.at(i), face.at((i + 1) % 3), corner + i);
            }
        }
        ++closedCount;
    }
    return closedCount;
}

/// By the count of points, sides, faces and rims of one piece.
std::size_t handlesOf(FaceMesh const& mesh) {
    SideTable const sides = sidesOf(mesh);
    std::unordered_set<unsigned> points;
    std::size_t doubledSides = 0;
    for (std::size_t corner = 0; corner < cornerCount(mesh); ++corner) {
        unsigned const from = pointAt(mesh, corner);
        unsigned const to = pointAt(mesh, nextCorner(corner));
        points.insert(from);
        doubledSides += sides.contains(to, from) ? 1U : 2U;
    }
    std::size_t const rims = loopsOf(mesh, sides).size();
    return (2 + doubledSides / 2 - points.size() - mesh.faces.size() - rims) / 2;
}

} // namespace

std::size_t closeHoles(FaceMesh& mesh, std::size_t largest) {
    RepairOptions options;
    options.largestHole = largest;
    return closeHoles(mesh, options);
}

void addSettings(Record& record, RepairOptions const& options) {
    record.setting("thinTo", options.thinTo);
    record.setting("maxSide", options.longestSide);
    record.setting("fillHoles", options.largestHole);
}

void addFigures(Record& record, RepairReport const& report) {
    if (report.cloud) {
        record.figure("cloudPoints", report.cloud->pointCount);
        record.figure("cloudSpacingAlong", report.cloud->spacing.along);
        record.figure("cloudSpacingAcross", report.cloud->spacing.across);
        record.figure("cloudThinnedTo", report.cloud->thinnedTo);
        record.figure("cloudThinnedPoints", report.cloud->thinnedCount);
        record.figure("cloudLongestSide", report.cloud->longestSide.value_or(0.0));
    }
    record.figure("droppedTriangles", report.droppedCount);
    record.figure("overlappingTriangles", report.overlapCount);
    record.figure("loosePoints", report.looseCount);
    record.figure("closedHoles", report.closedCount);
    record.figure("handles", report.handleCount);
}

RepairReport repairSurface(FaceMesh& mesh, RepairOptions const& options) {
    RepairReport report;
    report.droppedCount = options.longestSide ? dropLongSides(mesh, *options.longestSide) : 0;
    report.droppedCount += dropDoubledSides(mesh);
    report.overlapCount = options.overlapReach ? dropOverlaps(mesh, *options.overlapReach) : 0;
    report.droppedCount += report.overlapCount;
    std::size_t dropped = 1;
    while (dropped > 0 && !mesh.faces.empty()) {
        dropped = dropLesserFans(mesh);
        dropped += dropLesserPieces(mesh);
        report.droppedCount += dropped;
    }
    if (!mesh.faces.empty()) {
        report.closedCount = closeHoles(mesh, options);
        report.handleCount = handlesOf(mesh);
    }
    report.looseCount = dropLoosePoints(mesh);
    return report;
}

} // namespace QELT::Inspection
