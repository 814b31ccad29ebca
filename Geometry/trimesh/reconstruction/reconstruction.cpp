#include "Geometry/spatial/cloud.h"
#include "Geometry/trimesh/mesh.h"
#include "Geometry/trimesh/reconstruction/internal/advancingfront.h"

#include <algorithm>
#include <span>

// A surface through a cloud by an advancing front, in three steps:
//
//   1. each point is linked with its 64 nearest others (neighbourlinks.cpp, neighbourorder.cpp,
//   nearheap.cpp),
//      the points taken along a curve through the cloud (cloudorder.cpp);
//   2. the first triangle stands on the closest two points and faces up;
//   3. for each open side the apex is chosen that gives the smallest circumscribed circle (apex.cpp), and
//      of all waiting triangles that of the smallest circle is built next (advancingfront.cpp, minheap.h),
//      until every point is reached or nothing waits.
//
// Small circles keep to the surface: a triangle across a gap, or from one sheet to another, has a large one.
// A candidate must lie on the side that the normal of its neighbour points to; 0 is the only limit, so folds
// of less than a right angle are seen and sharper ones are not. Radii are compared as a quarter of their
// squares, and exactly, the first of equals staying first: any tolerance there would give other surfaces on
// regular clouds, where nearly all triangles are equal.
//
// A link is used up when an apex is chosen, not when the triangle is built, and the way back from the apex
// stays. A side on which no point can stand waits for nothing, also one of the first triangle: an apex chosen
// for another side would end the growth of some clouds after a few steps.
//
// A point takes the time of a search among the others and about two triangles, each with a dozen candidates.

namespace QELT::Geometry::ThreeDimensional::TriMesh {

void Mesh::construct(PointCloud::Cloud const& cloud) {
    SurfaceBuilder const builder = getBuilder();
    builder.clear();
    std::uint32_t const numberOfPoints = toUInt32(cloud.getNumberOfPoints());
    for (std::uint32_t i = 0; i < numberOfPoints; ++i) {
        builder.addVertex(Vertex(cloud.getPoint(i)));
    }
    CloudOrder const order(getConnectivity());
    NeighbourLinks const links(order);
    // A surface has about twice as many triangles as points; one that runs into itself has more. Then it is
    // grown once again with more room, so that the order of addresses is always that of making.
    for (std::size_t room = std::size_t{2} * numberOfPoints;; room *= 2) {
        builder.reserveTriangles(room);
        AdvancingFront front(builder, order, links);
        front.plantSeed();
        if (front.grow() <= room) {
            return;
        }
        builder.clearTriangles();
    }
}

bool Mesh::getMinrTSqr(unsigned long a, unsigned long b, std::vector<std::vector<std::uint32_t>>& nearest,
                       std::vector<std::uint32_t>& counts, Vector const& normal, unsigned long* apex,
                       double* rTSqr, bool* apexWasFloating) const {
    std::span<std::uint32_t const> const live = std::span(nearest[toUInt32(a)]).first(counts[toUInt32(a)]);
    auto const found = findApex(getConnectivity(), toUInt32(a), toUInt32(b), live, normal);
    if (!found) {
        return false;
    }
    removeEdgeFromIndices(a, b, nearest, counts);
    removeEdgeFromIndices(b, found->vertex, nearest, counts);
    if (apexWasFloating != nullptr) {
        *apexWasFloating = found->wasFloating;
    }
    *apex = found->vertex;
    *rTSqr = found->rTSqr;
    return true;
}

void Mesh::removeEdgeFromIndices(unsigned long a, unsigned long b,
                                 std::vector<std::vector<std::uint32_t>>& nearest,
                                 std::vector<std::uint32_t>& counts) {
    std::vector<std::uint32_t>& list = nearest[toUInt32(a)];
    auto const end = list.begin() + counts[toUInt32(a)];
    auto const found = std::find(list.begin(), end, toUInt32(b));
    if (found != end) {
        list.erase(found);
        --counts[toUInt32(a)];
    }
}

} // namespace QELT::Geometry::ThreeDimensional::TriMesh
