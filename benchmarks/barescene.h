#pragma once

#include "Geometry/geometry.h"

#include <embree3/rtcore.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <limits>
#include <vector>

/// Embree over a grid's quads, for who measures beside it.
namespace Benchmarks {

using QELT::Geometry::ThreeDimensional::Point;
using QELT::Geometry::ThreeDimensional::Vector;
using QELT::Geometry::ThreeDimensional::QuadMesh::RectMesh;

/// All that is needed to call the kernels and nothing else.
class BareScene {
public:
    explicit BareScene(RectMesh const& grid) : device(rtcNewDevice("threads=1")), scene(rtcNewScene(device)) {
        rtcSetSceneFlags(scene, RTC_SCENE_FLAG_ROBUST);
        RTCGeometry const geometry = rtcNewGeometry(device, RTC_GEOMETRY_TYPE_QUAD);
        fillPoints(grid, geometry);
        fillQuads(grid, geometry);
        rtcCommitGeometry(geometry);
        rtcAttachGeometry(scene, geometry);
        rtcReleaseGeometry(geometry);
        rtcCommitScene(scene);
    }

    BareScene(BareScene const&) = delete;
    BareScene& operator=(BareScene const&) = delete;

    ~BareScene() {
        rtcReleaseScene(scene);
        rtcReleaseDevice(device);
    }

    /// The ray with what it met first.
    RTCRayHit fired(RTCRayHit ray) const {
        RTCIntersectContext context;
        rtcInitIntersectContext(&context);
        rtcIntersect1(scene, &context, &ray);
        return ray;
    }

    bool meets(RTCRayHit const& ray) const { return fired(ray).hit.geomID != RTC_INVALID_GEOMETRY_ID; }

private:
    RTCDevice device;
    RTCScene scene;

    static void fillPoints(RectMesh const& grid, RTCGeometry geometry) {
        auto const extents = grid.getExtents();
        auto* place = static_cast<float*>(
            rtcSetNewGeometryBuffer(geometry, RTC_BUFFER_TYPE_VERTEX, 0, RTC_FORMAT_FLOAT3, 3 * sizeof(float),
                                    (extents.getdU() + 1) * (extents.getdV() + 1)));
        for (int v = 0; v <= static_cast<int>(extents.getdV()); ++v) {
            for (int u = 0; u <= static_cast<int>(extents.getdU()); ++u) {
                Point const point = grid.getPoint({u, v});
                std::array const corner{point.getX(), point.getY(), point.getZ()};
                place = std::copy(corner.begin(), corner.end(), place);
            }
        }
    }

    static void fillQuads(RectMesh const& grid, RTCGeometry geometry) {
        auto const extents = grid.getExtents();
        auto const width = static_cast<std::uint32_t>(extents.getdU() + 1);
        std::vector<std::array<std::uint32_t, 4>> quads;
        for (std::uint32_t v = 0; v < extents.getdV(); ++v) {
            for (std::uint32_t u = 0; u < extents.getdU(); ++u) {
                if (grid.getIsQuadValid({static_cast<int>(u), static_cast<int>(v)})) {
                    std::uint32_t const low = v * width + u;
                    quads.push_back({low + 1, low + width + 1, low + width, low});
                }
            }
        }
        auto* const buffer = static_cast<std::uint32_t*>(rtcSetNewGeometryBuffer(
            geometry, RTC_BUFFER_TYPE_INDEX, 0, RTC_FORMAT_UINT4, 4 * sizeof(std::uint32_t), quads.size()));
        std::copy(quads.front().data(), quads.front().data() + 4 * quads.size(), buffer);
    }
};

inline RTCRayHit rayOf(Point const& origin, Vector const& direction) {
    RTCRayHit ray{};
    ray.ray.org_x = origin.getX();
    ray.ray.org_y = origin.getY();
    ray.ray.org_z = origin.getZ();
    ray.ray.dir_x = static_cast<float>(direction.getdX());
    ray.ray.dir_y = static_cast<float>(direction.getdY());
    ray.ray.dir_z = static_cast<float>(direction.getdZ());
    ray.ray.tfar = std::numeric_limits<float>::infinity();
    ray.ray.mask = std::numeric_limits<unsigned>::max();
    ray.hit.geomID = RTC_INVALID_GEOMETRY_ID;
    return ray;
}

} // namespace Benchmarks
