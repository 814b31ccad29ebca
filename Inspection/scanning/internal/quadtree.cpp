#include "Inspection/scanning/internal/quadtree.h"

#include "Inspection/records/failure.h"

#include <new>

// Memory: corners (12 bytes a node), indices (16 a quad) and the tree (57 to 80). It is built by the calling
// thread; the one device of the process is never let go, as releasing one starts a thread of its scheduler.

namespace QELT::Inspection {

namespace {

using GridStep = QELT::Geometry::TwoDimensional::Vector<int>;

constexpr char const* deviceSettings = "threads=1,start_threads=0,set_affinity=0,ignore_config_files=1";

/// Larger coordinates are no place for the tree.
constexpr float largestCoordinate = 1e18F;

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

} // namespace

TreeSurface::TreeSurface(Grid const& searched, Box& box)
    : grid(&searched), width(static_cast<std::uint32_t>(searched.getExtents().getdU() + 1)) {
    readQuads();
    if (!quads.empty()) {
        readNodes(box);
    }
}

bool TreeSurface::isUsable(GridIndex const& node) const {
    Point const point = grid->getPoint(node);
    return std::abs(point.getX()) <= largestCoordinate && std::abs(point.getY()) <= largestCoordinate &&
           std::abs(point.getZ()) <= largestCoordinate;
}

/// With three usable corners the triangle that has them stands in for the quad, whose other one is a line.
std::optional<TreeCorners> TreeSurface::cornersOf(GridIndex const& quad) const {
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
    return TreeCorners{hasAlongU ? low + 1 : low, above + 1, hasAlongV ? above : above + 1, low};
}

void TreeSurface::readQuads() {
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
void TreeSurface::readNodes(Box& box) {
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

void TreeSurface::attachTo(RTCScene scene, std::uint32_t number) const {
    if (quads.empty()) {
        return;
    }
    RTCGeometry geometry = rtcNewGeometry(theDevice(), RTC_GEOMETRY_TYPE_QUAD);
    rtcSetSharedGeometryBuffer(geometry, RTC_BUFFER_TYPE_VERTEX, 0, RTC_FORMAT_FLOAT3, coordinates.data(), 0,
                               3 * sizeof(float), coordinates.size() / 3);
    rtcSetSharedGeometryBuffer(geometry, RTC_BUFFER_TYPE_INDEX, 0, RTC_FORMAT_UINT4, quads.data(), 0,
                               sizeof(TreeCorners), quads.size());
    rtcCommitGeometry(geometry);
    rtcAttachGeometryByID(scene, geometry, number);
    rtcReleaseGeometry(geometry);
}

QuadTree::QuadTree(std::vector<Grid const*> const& grids) {
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
}

} // namespace QELT::Inspection
