#include "Inspection/scanning/suresearch.h"

#include "Inspection/records/failure.h"
#include "Inspection/scanning/internal/quadhit.h"

#include <embree3/rtcore.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <limits>
#include <new>
#include <numbers>
#include <optional>

// The first quad along a beam, out of all quads at once.
//
// 1. A tree of boxes over all quads (Embree, a library of ray tracing kernels) names the first one along the
//    beam. Its quads are the core's: the same float corners, cut along the same diagonal, from the low corner
//    to the opposite one. In its robust mode neighbouring triangles leave no gap: whoever passes between two
//    sheets has met one of them.
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
// direction are then off by parts of 2^-24 of the largest coordinate. All allowances are `slack` of it, 16
// times that. The ray starts by so much behind the origin: what the core sees at or behind it is passed over.
// `samePlace` is a share of the quad's diagonal: a smaller one makes hits at creases into edges, a larger
// one lets a neighbour answer from behind. Both are then wrong by a hundredth of a quad.
//
// Cost: the tree's own, one core's test and a few nanoseconds a beam; memory for corners (12 bytes a node),
// indices (16 a quad) and the tree (57 to 80). It is built by the calling thread; the one device of the
// process is never let go, as releasing one starts a thread of its scheduler.

namespace QELT::Inspection {

namespace {

using GridStep = QELT::Geometry::TwoDimensional::Vector<int>;

constexpr char const* deviceSettings = "threads=1,start_threads=0,set_affinity=0,ignore_config_files=1";

constexpr double slack = 0x1p-20;
constexpr double samePlace = 0.01;

/// Larger coordinates are no place for the tree.
constexpr float largestCoordinate = 1e18F;

constexpr std::array<std::array<int, 2>, 8> stepsAround{
    {{1, 0}, {1, 1}, {0, 1}, {-1, 1}, {-1, 0}, {-1, -1}, {0, -1}, {1, -1}}};

/// Bytes taken since the caller set it to zero. Scenes are built on one thread.
thread_local std::int64_t bytesTaken = 0;

bool countBytes(void* /*unused*/, ssize_t bytes, bool /*isAfterwards*/) {
    bytesTaken += bytes;
    return true;
}

RTCDevice makeDevice() {
    RTCDevice device = rtcNewDevice(deviceSettings);
    if (device != nullptr) {
        rtcSetDeviceMemoryMonitorFunction(device, countBytes, nullptr);
    }
    return device;
}

RTCDevice theDevice() {
    static RTCDevice device = makeDevice();
    if (device == nullptr) {
        throw Failure("the search for beams does not run on this processor");
    }
    return device;
}

/// A box along the axes of space; empty at first.
struct Box {
    std::array<double, 3> low{infinity, infinity, infinity};
    std::array<double, 3> high{-infinity, -infinity, -infinity};

    void include(std::array<float, 3> const& corner) {
        for (std::size_t i = 0; i < corner.size(); ++i) {
            low[i] = std::min(low[i], static_cast<double>(corner[i]));
            high[i] = std::max(high[i], static_cast<double>(corner[i]));
        }
    }

    bool isEmpty() const { return !(low[0] <= high[0]); }

    /// The largest coordinate without its sign, of a box that is not empty.
    double reach() const {
        double reach = 0.0;
        for (std::size_t i = 0; i < low.size(); ++i) {
            reach = std::max({reach, std::abs(low[i]), std::abs(high[i])});
        }
        return reach;
    }

    Vector centre() const {
        return {0.5 * (low[0] + high[0]), 0.5 * (low[1] + high[1]), 0.5 * (low[2] + high[2])};
    }

    double radius() const { return 0.5 * std::hypot(high[0] - low[0], high[1] - low[1], high[2] - low[2]); }

    static constexpr double infinity = std::numeric_limits<double>::infinity();
};

std::array<double, 3> numbersOf(Point const& point) {
    return {static_cast<double>(point.getX()), static_cast<double>(point.getY()),
            static_cast<double>(point.getZ())};
}

std::array<double, 3> numbersOf(Vector const& vector) {
    return {vector.getdX(), vector.getdY(), vector.getdZ()};
}

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

/// The corners of a quad as Embree takes them, by the numbers of their nodes. It cuts a quad from its second
/// to its fourth corner: that is the core's diagonal, from the low corner to the opposite one.
struct Corners {
    std::uint32_t alongU = 0;
    std::uint32_t opposite = 0;
    std::uint32_t alongV = 0;
    std::uint32_t low = 0;
};

/// A grid as the tree sees it. It reads the corners from here.
class Surface {
public:
    Surface(Grid const& searched, Box& box);

    Grid const& getGrid() const { return *grid; }

    GridIndex quadOf(std::uint32_t number) const;

    std::size_t getMemory() const {
        return quads.capacity() * sizeof(Corners) + coordinates.capacity() * sizeof(float);
    }

    /// Hands the quads over to the scene, with `number` for a name.
    void attachTo(RTCScene scene, std::uint32_t number) const;

private:
    Grid const* grid;
    std::uint32_t width;  ///< in nodes
    bool isWhole = false; ///< no quad of the rectangle is missing
    std::vector<Corners> quads;
    std::vector<float> coordinates;

    bool isUsable(GridIndex const& node) const;
    std::optional<Corners> cornersOf(GridIndex const& quad) const;
    void readQuads();
    void readNodes(Box& box);
};

Surface::Surface(Grid const& searched, Box& box)
    : grid(&searched), width(static_cast<std::uint32_t>(searched.getExtents().getdU() + 1)) {
    readQuads();
    if (!quads.empty()) {
        readNodes(box);
    }
}

/// Where every quad is there its number tells its place, and the list need not be read.
GridIndex Surface::quadOf(std::uint32_t number) const {
    std::uint32_t const place = isWhole ? number : quads[number].low;
    std::uint32_t const rowLength = isWhole ? width - 1 : width;
    return {static_cast<int>(place % rowLength), static_cast<int>(place / rowLength)};
}

bool Surface::isUsable(GridIndex const& node) const {
    Point const point = grid->getPoint(node);
    return std::abs(point.getX()) <= largestCoordinate && std::abs(point.getY()) <= largestCoordinate &&
           std::abs(point.getZ()) <= largestCoordinate;
}

/// With three usable corners the triangle that has them stands in for the quad, whose other one is a line.
std::optional<Corners> Surface::cornersOf(GridIndex const& quad) const {
    if (!grid->getIsQuadValid(quad)) {
        return std::nullopt;
    }
    bool const hasAlongU = isUsable(quad + GridStep(1, 0));
    bool const hasAlongV = isUsable(quad + GridStep(0, 1));
    if (!isUsable(quad) || !isUsable(quad + GridStep(1, 1)) || !(hasAlongU || hasAlongV)) {
        return std::nullopt;
    }
    auto const low =
        static_cast<std::uint32_t>(quad.getV()) * width + static_cast<std::uint32_t>(quad.getU());
    std::uint32_t const above = low + width;
    return Corners{hasAlongU ? low + 1 : low, above + 1, hasAlongV ? above : above + 1, low};
}

void Surface::readQuads() {
    auto const extents = grid->getExtents();
    for (int v = 0; v < static_cast<int>(extents.getdV()); ++v) {
        for (int u = 0; u < static_cast<int>(extents.getdU()); ++u) {
            if (auto const quad = cornersOf(GridIndex(u, v))) {
                quads.push_back(*quad);
            }
        }
    }
    quads.shrink_to_fit();
    isWhole = quads.size() == std::size_t{extents.getdU()} * extents.getdV();
}

/// Embree reads 16 bytes a corner, one number more than there is.
void Surface::readNodes(Box& box) {
    auto const height = grid->getExtents().getdV() + 1;
    coordinates.assign(std::size_t{3} * width * height + 1, 0.0F);
    auto place = coordinates.begin();
    for (int v = 0; v < static_cast<int>(height); ++v) {
        for (int u = 0; u < static_cast<int>(width); ++u, place += 3) {
            GridIndex const node(u, v);
            if (grid->getIsPointValid(node) && isUsable(node)) {
                Point const point = grid->getPoint(node);
                std::array const corner{point.getX(), point.getY(), point.getZ()};
                std::copy(corner.begin(), corner.end(), place);
                box.include(corner);
            }
        }
    }
}

void Surface::attachTo(RTCScene scene, std::uint32_t number) const {
    if (quads.empty()) {
        return;
    }
    RTCGeometry geometry = rtcNewGeometry(theDevice(), RTC_GEOMETRY_TYPE_QUAD);
    rtcSetSharedGeometryBuffer(geometry, RTC_BUFFER_TYPE_VERTEX, 0, RTC_FORMAT_FLOAT3, coordinates.data(), 0,
                               3 * sizeof(float), coordinates.size() / 3);
    rtcSetSharedGeometryBuffer(geometry, RTC_BUFFER_TYPE_INDEX, 0, RTC_FORMAT_UINT4, quads.data(), 0,
                               sizeof(Corners), quads.size());
    rtcCommitGeometry(geometry);
    rtcAttachGeometryByID(scene, geometry, number);
    rtcReleaseGeometry(geometry);
}

/// What the tree comes to along a beam.
struct Named {
    Surface const* surface = nullptr;
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

RTCRayHit rayFrom(Point const& start, Vector const& unit, Box const& box) {
    std::array<float, 3> origin{start.getX(), start.getY(), start.getZ()};
    auto const along = numbersOf(unit);
    for (std::size_t i = 0; i < origin.size(); ++i) {
        // Seen along an axis a box of the tree is open on its upper side. The outermost is closed by a step.
        bool const isOnUpperSide = along[i] == 0.0 && static_cast<double>(origin[i]) == box.high[i];
        origin[i] = isOnUpperSide ? std::nextafter(origin[i], static_cast<float>(box.low[i])) : origin[i];
    }
    RTCRayHit ray{};
    ray.ray.org_x = origin[0];
    ray.ray.org_y = origin[1];
    ray.ray.org_z = origin[2];
    ray.ray.dir_x = static_cast<float>(along[0]);
    ray.ray.dir_y = static_cast<float>(along[1]);
    ray.ray.dir_z = static_cast<float>(along[2]);
    ray.ray.mask = std::numeric_limits<unsigned>::max();
    return ray;
}

struct ReleaseTree {
    void operator()(RTCScene tree) const { rtcReleaseScene(tree); }
};

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

    std::vector<Surface> surfaces;
    Box box;
    Vector centre;       ///< of the ball around the box
    double radius = 0.0; ///< of the ball
    double margin = 0.0; ///< rounding of places on the surface and of the rays' starts
    std::unique_ptr<RTCSceneTy, ReleaseTree> tree;
    std::size_t memory = 0;
};

SureSearch::Scene::Scene(std::vector<Grid const*> const& grids) {
    bytesTaken = 0;
    tree.reset(rtcNewScene(theDevice()));
    rtcSetSceneFlags(tree.get(), RTC_SCENE_FLAG_ROBUST);
    surfaces.reserve(grids.size());
    for (Grid const* const grid : grids) {
        surfaces.emplace_back(*grid, box);
        surfaces.back().attachTo(tree.get(), static_cast<std::uint32_t>(surfaces.size() - 1));
        memory += surfaces.back().getMemory();
    }
    rtcCommitScene(tree.get());
    if (rtcGetDeviceError(theDevice()) != RTC_ERROR_NONE) {
        throw std::bad_alloc();
    }
    memory += static_cast<std::size_t>(bytesTaken);
    if (!box.isEmpty()) {
        centre = box.centre();
        radius = box.radius();
        margin = slack * (box.reach() + radius);
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
    Surface const& surface = surfaces[ray.hit.geomID];
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
        double const rounding = margin + slack * std::abs(named.distance);
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
    RTCRayHit ray = rayFrom(beam.origin + start * unit, unit, scene->box);
    return scene->firstHit(ray, start, beam, unit);
}

namespace {

using Numbers = std::array<double, 3>;

Vector vectorOf(Numbers const& from, Numbers const& to) {
    return {to[0] - from[0], to[1] - from[1], to[2] - from[2]};
}

/// The place of a triangle that is nearest to a point, by which of its corners, sides or its inside faces it:
/// the signs of products along two sides tell.
Numbers nearestOn(std::array<Numbers, 3> const& corners, Numbers const& point) {
    Vector const ab = vectorOf(corners[0], corners[1]);
    Vector const ac = vectorOf(corners[0], corners[2]);
    auto const at = [&](double alongB, double alongC) {
        Vector const step = ab * alongB + ac * alongC;
        return Numbers{corners[0][0] + step.getdX(), corners[0][1] + step.getdY(),
                       corners[0][2] + step.getdZ()};
    };
    Vector const ap = vectorOf(corners[0], point);
    double const d1 = ab.dot(ap);
    double const d2 = ac.dot(ap);
    if (d1 <= 0.0 && d2 <= 0.0) {
        return corners[0];
    }
    Vector const bp = vectorOf(corners[1], point);
    double const d3 = ab.dot(bp);
    double const d4 = ac.dot(bp);
    if (d3 >= 0.0 && d4 <= d3) {
        return corners[1];
    }
    double const offSideAb = d1 * d4 - d3 * d2;
    if (offSideAb <= 0.0 && d1 >= 0.0 && d3 <= 0.0) {
        return at(d1 / (d1 - d3), 0.0);
    }
    Vector const cp = vectorOf(corners[2], point);
    double const d5 = ab.dot(cp);
    double const d6 = ac.dot(cp);
    if (d6 >= 0.0 && d5 <= d6) {
        return corners[2];
    }
    double const offSideAc = d5 * d2 - d1 * d6;
    if (offSideAc <= 0.0 && d2 >= 0.0 && d6 <= 0.0) {
        return at(0.0, d2 / (d2 - d6));
    }
    double const offSideBc = d3 * d6 - d5 * d4;
    if (offSideBc <= 0.0 && d4 >= d3 && d5 >= d6) {
        double const along = (d4 - d3) / ((d4 - d3) + (d5 - d6));
        return at(1.0 - along, along);
    }
    double const whole = offSideAb + offSideAc + offSideBc;
    return at(offSideAc / whole, offSideAb / whole);
}

/// The nearest place so far.
struct NearestPlace {
    std::vector<Surface> const* surfaces = nullptr;
    Numbers point{};
    double distance = Box::infinity;
    Surface const* surface = nullptr;
    GridIndex quad;
    bool isLower = true; ///< which triangle of the quad
    Numbers place{};
    Vector normal;
    double diagonal = 0.0;
};

void lookAtTriangle(NearestPlace& nearest, Surface const& surface, GridIndex const& quad, bool isLower) {
    std::array<Point, 3> points;
    surface.getGrid().getQuadTrianglePoints(quad, points.data(), isLower);
    std::array<Numbers, 3> const corners{numbersOf(points[0]), numbersOf(points[1]), numbersOf(points[2])};
    Numbers const place = nearestOn(corners, nearest.point);
    double const distance = std::sqrt(vectorOf(place, nearest.point).lSqr());
    if (distance < nearest.distance) {
        nearest.distance = distance;
        nearest.surface = &surface;
        nearest.quad = quad;
        nearest.isLower = isLower;
        nearest.place = place;
        nearest.normal = surface.getGrid().getQuadNormalVector(quad, isLower);
        nearest.diagonal = std::sqrt(
            (surface.getGrid().getPoint(quad + GridStep(1, 1)) - surface.getGrid().getPoint(quad)).lSqr());
    }
}

bool lookAtQuad(RTCPointQueryFunctionArguments* arguments) {
    auto& nearest = *static_cast<NearestPlace*>(arguments->userPtr);
    Surface const& surface = (*nearest.surfaces)[arguments->geomID];
    GridIndex const quad = surface.quadOf(arguments->primID);
    double const before = nearest.distance;
    lookAtTriangle(nearest, surface, quad, true);
    lookAtTriangle(nearest, surface, quad, false);
    if (!(nearest.distance < before)) {
        return false;
    }
    // The tree rounds to floats: a little more than the distance is looked at.
    arguments->query->radius = static_cast<float>(nearest.distance * (1.0 + slack));
    return true;
}

/// How far the place lies beside the normal through the nearest place, which is none but at a rim.
double offNormal(NearestPlace const& nearest) {
    Vector const way = vectorOf(nearest.place, nearest.point);
    double const length = std::sqrt(nearest.normal.lSqr());
    return length > 0.0 ? std::sqrt(way.cross(nearest.normal).lSqr()) / length : nearest.distance;
}

/// As the core sees it, which knows what the outside is, along the normal onto the middle of the triangle.
bool isSeenFromBehind(NearestPlace const& nearest) {
    Grid const& grid = nearest.surface->getGrid();
    std::array<Point, 3> corners;
    grid.getQuadTrianglePoints(nearest.quad, corners.data(), nearest.isLower);
    Point const middle = corners[0] + ((corners[1] - corners[0]) + (corners[2] - corners[0])) / 3.0;
    double const side = vectorOf(nearest.place, nearest.point).dot(nearest.normal) < 0.0 ? -1.0 : 1.0;
    Vector const away = nearest.normal * (side * nearest.diagonal / std::sqrt(nearest.normal.lSqr()));
    auto const met = meeting(grid, nearest.quad, Beam{middle + away, away * -1.0});
    return met && met->hit.isFromBehind();
}

Hit hitOn(NearestPlace const& nearest) {
    constexpr double leastOfQuad = 0.5;
    constexpr double leastOfDistance = 1.0 / 3.0;
    double const beside = offNormal(nearest);
    if (beside > leastOfQuad * nearest.diagonal && beside > leastOfDistance * nearest.distance) {
        return {};
    }
    Hit hit;
    hit.state = Hit::Inside;
    hit.isMeasured = true;
    hit.quad = nearest.quad + nearest.surface->getGrid().getOffset();
    hit.point = Point(static_cast<float>(nearest.place[0]), static_cast<float>(nearest.place[1]),
                      static_cast<float>(nearest.place[2]));
    hit.distance = nearest.distance;
    hit.angleError = isSeenFromBehind(nearest) ? std::numbers::pi : 0.0;
    hit.angleToNormal = std::numbers::pi - hit.angleError;
    return hit;
}

} // namespace

Hit SureSearch::findNearest(Point const& place) const {
    NearestPlace nearest;
    nearest.surfaces = &scene->surfaces;
    nearest.point = numbersOf(place);
    if (scene->box.isEmpty() || !std::isfinite(nearest.point[0] + nearest.point[1] + nearest.point[2])) {
        return {};
    }
    RTCPointQuery query{place.getX(), place.getY(), place.getZ(), 0.0F,
                        std::numeric_limits<float>::infinity()};
    RTCPointQueryContext context;
    rtcInitPointQueryContext(&context);
    rtcPointQuery(scene->tree.get(), &query, &context, lookAtQuad, &nearest);
    return nearest.surface == nullptr ? Hit() : hitOn(nearest);
}

std::size_t SureSearch::getMemory() const {
    return scene->memory;
}

} // namespace QELT::Inspection
