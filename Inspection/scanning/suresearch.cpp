#include "Inspection/scanning/suresearch.h"

#include "Inspection/records/failure.h"
#include "Inspection/scanning/internal/nearestplace.h"
#include "Inspection/scanning/internal/quadhit.h"
#include "Inspection/scanning/internal/quadtree.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

// The first quad along a beam, out of all quads at once.
//
// 1. A tree of boxes over all quads (`internal/quadtree.h`) names the first one along the beam. In its robust
//    mode neighbouring triangles leave no gap: whoever passes between two sheets has met one of them.
// 2. The core's test decides whether the beam meets that quad. If not, it is asked of the eight around it:
//    the tree works in floats and may come to the wrong side of an edge. A neighbour's hit counts if it is in
//    the same place: where a surface folds over, a neighbour lies behind.
// 3. If none accepts, the beam is on an edge, which the core's test gives to neither side, and that is the
//    answer. It is not looked further: what lies behind is another sheet.
//
// Why this is sure: nothing is remembered and nothing iterated, so there is no start to be wrong and no limit
// of steps. Where the tree and the core can differ is within rounding of an edge, and there the quads around
// are asked too. What remains is the outline of a sheet: whether a beam within rounding of it touches is
// chance in any arithmetic, and then `OnEdge`, or whatever is behind.
//
// Rounding. The tree's ray starts where the beam comes to a ball around the surface, found in doubles, so
// that a distant probe costs no precision; the direction is made a unit vector in doubles. Start and
// direction are then off by parts of 2^-24 of the largest coordinate. All allowances are `treeSlack` of it,
// 16 times that. The ray starts by so much behind the origin: what the core sees at or behind it is passed
// over. `samePlace` is a share of the quad's diagonal: a smaller one makes hits at creases into edges, a
// larger one lets a neighbour answer from behind. Both are then wrong by a hundredth of a quad.
//
// Cost: the tree's own, one core's test and a few nanoseconds a beam.

namespace QELT::Inspection {

namespace {

using GridStep = QELT::Geometry::TwoDimensional::Vector<int>;

constexpr double samePlace = 0.01;

constexpr std::array<std::array<int, 2>, 8> stepsAround{
    {{1, 0}, {1, 1}, {0, 1}, {-1, 1}, {-1, 0}, {-1, -1}, {0, -1}, {1, -1}}};

/// Not finite for a vector without length or with numbers that are none.
Vector unitOf(Vector const& vector) {
    constexpr double shortest = 1e-200;
    constexpr double longest = 1e200;
    double const lengthSqr = vector.lSqr();
    if (lengthSqr > shortest && lengthSqr < longest) {
        return vector * (1.0 / std::sqrt(lengthSqr));
    }
    double const largest =
        std::max({std::abs(vector.getdX()), std::abs(vector.getdY()), std::abs(vector.getdZ())});
    Vector const scaled = vector / largest;
    return scaled / std::sqrt(scaled.lSqr());
}

/// What the tree comes to along a beam.
struct Named {
    TreeSurface const* surface = nullptr;
    GridIndex quad;
    bool isLower = true;   ///< which triangle of the quad
    double distance = 0.0; ///< along the beam
};

/// What the core's test says of a beam that meets a quad.
struct Met {
    Hit hit;               ///< a miss has no meaning but that
    double distance = 0.0; ///< along the beam, negative behind its origin, also where the core measures none

    bool isHit() const { return hit.isHit(); }

    bool isInFront() const { return !std::signbit(distance); }
};

/// What lies at the origin itself or so far away that the core measured nothing.
void measureFar(Met& met, Beam const& beam) {
    double const length = std::sqrt(met.hit.point.dSqr(beam.origin));
    met.hit.isMeasured = measurementLimit > length;
    if (!met.hit.isMeasured) {
        met.hit.angleToNormal = 0.0;
        met.hit.angleError = 0.0;
        met.distance = std::copysign(length, (met.hit.point - beam.origin).dot(beam.direction));
    }
}

Met meeting(Grid const& grid, GridIndex const& quad, Beam const& beam) {
    Met met;
    Hit& hit = met.hit;
    QuadIntersectionData data;
    if (!grid.getDoesIntersectQuad(quad, beam.origin, beam.direction, hit.point, &data)) {
        return met;
    }
    hit.state = Hit::Inside;
    hit.quad = quad + grid.getOffset();
    measure(hit, data);
    hit.isMeasured = hit.distance != 0.0;
    met.distance = hit.distance;
    if (!hit.isMeasured) {
        measureFar(met, beam);
    }
    return met;
}

/// The nearest hit on the quads around the one named, of those in the same place.
Met meetingAround(Named const& named, Beam const& beam, double rounding) {
    Grid const& grid = named.surface->getGrid();
    auto const cornerOf = [&](int u, int v) { return grid.getPoint(named.quad + GridStep(u, v)); };
    double const diagonal = std::sqrt(
        std::max((cornerOf(1, 1) - cornerOf(0, 0)).lSqr(), (cornerOf(0, 1) - cornerOf(1, 0)).lSqr()));
    double const allowance = samePlace * diagonal + rounding;
    Met nearest;
    for (auto const& [u, v] : stepsAround) {
        Met const met = meeting(grid, named.quad + GridStep(u, v), beam);
        bool const isThere = met.isHit() && std::abs(met.distance - named.distance) <= allowance;
        if (isThere && (!nearest.isHit() || met.distance < nearest.distance)) {
            nearest = met;
        }
    }
    return nearest;
}

/// What the core says of the quad named or, if nothing, of those around it.
Met meetingAt(Named const& named, Beam const& beam, double rounding) {
    Met met = meeting(named.surface->getGrid(), named.quad, beam);
    if (!met.isHit()) {
        met = meetingAround(named, beam, rounding);
    }
    return met;
}

/// On the edge of the triangle named. The core does not say at what angle a beam passes that it lets pass; a
/// parallel one through the middle of the triangle meets that at the same.
Hit hitOnEdge(Named const& named, Beam const& beam, Point const& place) {
    Hit hit;
    hit.state = Hit::OnEdge;
    hit.quad = named.quad + named.surface->getGrid().getOffset();
    hit.point = place;
    std::array<Point, 3> corners;
    named.surface->getGrid().getQuadTrianglePoints(named.quad, corners.data(), named.isLower);
    Point const middle = corners[0] + ((corners[1] - corners[0]) + (corners[2] - corners[0])) / 3.0;
    Beam const parallel{beam.origin + (middle - place), beam.direction};
    Met const met = meeting(named.surface->getGrid(), named.quad, parallel);
    hit.isMeasured = met.isHit() && measurementLimit > std::max(std::abs(met.distance), named.distance);
    if (hit.isMeasured) {
        hit.distance = named.distance;
        hit.angleToNormal = met.hit.angleToNormal;
        hit.angleError = met.hit.angleError;
    }
    return hit;
}

/// Four numbers of a ray, in one go: the tree reads them so, and a processor that finds them written one by
/// one waits until they have reached its cache.
void writeFour(float* place, float a, float b, float c, float d) {
#if defined(__SSE2__)
    _mm_storeu_ps(place, _mm_set_ps(d, c, b, a));
#else
    std::array const four{a, b, c, d};
    std::copy(four.begin(), four.end(), place);
#endif
}

RTCRayHit rayFrom(Point const& start, Vector const& unit, Box const& box) {
    std::array<float, 3> origin{start.getX(), start.getY(), start.getZ()};
    auto const along = numbersOf(unit);
    for (std::size_t i = 0; i < origin.size(); ++i) {
        // Seen along an axis a box of the tree is open on its upper side. The outermost is closed by a step.
        bool const isOnUpperSide = along[i] == 0.0 && static_cast<double>(origin[i]) == box.high[i];
        origin[i] = isOnUpperSide ? std::nextafter(origin[i], static_cast<float>(box.low[i])) : origin[i];
    }
    RTCRayHit ray{};
    writeFour(&ray.ray.org_x, origin[0], origin[1], origin[2], 0.0F);
    writeFour(&ray.ray.dir_x, static_cast<float>(along[0]), static_cast<float>(along[1]),
              static_cast<float>(along[2]), 0.0F);
    ray.ray.mask = std::numeric_limits<unsigned>::max();
    return ray;
}

} // namespace

struct SureSearch::Scene {
    explicit Scene(std::vector<Grid const*> const& grids);
    Scene(Scene const&) = delete;
    Scene(Scene&&) = delete;
    Scene& operator=(Scene const&) = delete;
    Scene& operator=(Scene&&) = delete;
    ~Scene() = default;

    /// How far along a beam its ray starts: where it comes to the ball, or just behind its origin. Not finite
    /// for a beam that is none.
    double startOf(Beam const& beam, Vector const& unit) const;

    /// The first quad along the ray, from `ray.tnear` on.
    bool doesMeet(RTCRayHit& ray) const;

    /// What the ray of a beam met that starts at `start` along it.
    Named namedBy(RTCRayHit const& ray, double start) const;

    /// The first hit along the beam, as the core sees it, from what the ray meets.
    Hit firstHit(RTCRayHit& ray, double start, Beam const& beam, Vector const& unit) const;

    QuadTree tree;
    Vector centre;       ///< of the ball around the box
    double radius = 0.0; ///< of the ball
    double margin = 0.0; ///< rounding of places on the surface and of the rays' starts
};

SureSearch::Scene::Scene(std::vector<Grid const*> const& grids) : tree(grids) {
    Box const& box = tree.getBox();
    if (!box.isEmpty()) {
        centre = box.centre();
        radius = box.radius();
        margin = treeSlack * (box.reach() + radius);
    }
}

inline double SureSearch::Scene::startOf(Beam const& beam, Vector const& unit) const {
    auto const from = numbersOf(beam.origin);
    Vector const way(centre.getdX() - from[0], centre.getdY() - from[1], centre.getdZ() - from[2]);
    return std::max(way.dot(unit) - radius - margin, -margin);
}

inline bool SureSearch::Scene::doesMeet(RTCRayHit& ray) const {
    RTCIntersectContext context;
    rtcInitIntersectContext(&context);
    ray.ray.tfar = std::numeric_limits<float>::infinity();
    ray.hit.geomID = RTC_INVALID_GEOMETRY_ID;
    rtcIntersect1(tree.get(), &context, &ray);
    return ray.hit.geomID != RTC_INVALID_GEOMETRY_ID;
}

inline Named SureSearch::Scene::namedBy(RTCRayHit const& ray, double start) const {
    TreeSurface const& surface = tree.getSurface(ray.hit.geomID);
    return {&surface, surface.quadOf(ray.hit.primID), ray.hit.u + ray.hit.v <= 1.0F,
            start + static_cast<double>(ray.ray.tfar)};
}

inline Hit SureSearch::Scene::firstHit(RTCRayHit& ray, double start, Beam const& beam,
                                       Vector const& unit) const {
    Met first;
    while (doesMeet(ray)) {
        Named const named = namedBy(ray, start);
        if (first.isHit() && first.distance < named.distance) {
            break;
        }
        double const rounding = margin + treeSlack * std::abs(named.distance);
        Met const met = meetingAt(named, beam, rounding);
        if (!met.isHit() && named.distance > 0.0) {
            return hitOnEdge(named, beam, beam.origin + named.distance * unit);
        }
        if (met.isHit() && met.isInFront() && (!first.isHit() || met.distance < first.distance)) {
            if (met.distance <= named.distance + rounding) {
                return met.hit;
            }
            first = met;
        }
        ray.ray.tnear = std::nextafter(ray.ray.tfar, std::numeric_limits<float>::infinity());
    }
    return first.isHit() ? first.hit : Hit();
}

SureSearch::SureSearch(std::vector<Grid const*> const& grids)
    : scene(naming("the search for beams", [&] { return std::make_unique<Scene const>(grids); })) {}

SureSearch::SureSearch(SureSearch&& other) noexcept = default;

SureSearch& SureSearch::operator=(SureSearch&& other) noexcept = default;

SureSearch::~SureSearch() = default;

Hit SureSearch::find(Beam const& beam) const {
    Vector const unit = unitOf(beam.direction);
    double const start = scene->startOf(beam, unit);
    if (!std::isfinite(start)) {
        return {};
    }
    RTCRayHit ray = rayFrom(beam.origin + start * unit, unit, scene->tree.getBox());
    return scene->firstHit(ray, start, beam, unit);
}

Hit SureSearch::findNearest(Point const& place) const {
    return nearestHit(scene->tree, place);
}

std::size_t SureSearch::getMemory() const {
    return scene->tree.getMemory();
}

} // namespace QELT::Inspection
