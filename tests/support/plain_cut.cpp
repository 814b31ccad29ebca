#include "tests/support/plain_cut.h"

#include "Geometry/foundations/vector.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <stdexcept>

namespace QELT::Testing {

using Geometry::ThreeDimensional::Point;
using Geometry::ThreeDimensional::Vector;
using MeshEdge = PlainMesh::PlainEdge;

namespace {

constexpr double largest = std::numeric_limits<double>::max();

class Cutter {
public:
    explicit Cutter(PlainMesh& theMesh) : mesh(theMesh) {}

    PlainCutOutcome cut(bool isMaximum, std::uint32_t axis, std::uint32_t perpendicularAxis) {
        mesh.cut.first.clear();
        mesh.cut.second.clear();
        if (!findStart(isMaximum, axis)) {
            return PlainCutOutcome::noBoundary;
        }
        Vector const perpendicular(perpendicularAxis, isMaximum ? 1.0 : -1.0);
        planeNormal = Vector(axis, 1.0).cross(perpendicular);
        PlainCutOutcome const outcome = findPath();
        if (outcome == PlainCutOutcome::cut) {
            slit();
        }
        return outcome;
    }

private:
    Point const& position(std::uint32_t v) const { return mesh.vertices[v].point; }

    Vector way(MeshEdge e) const { return position(mesh.dest(e)) - position(mesh.org(e)); }

    Vector unitNormal(MeshEdge e) const {
        Vector const n = way(e).cross(way(mesh.rot(e)));
        return n / std::sqrt(n.dot(n));
    }

    bool findStart(bool isMaximum, std::uint32_t axis) {
        double best = isMaximum ? -largest : largest;
        bool isFound = false;
        for (std::uint32_t v = 0; v < mesh.vertices.size(); ++v) {
            if (mesh.isFloating(v) || !mesh.isBoundaryVertex(v)) {
                continue;
            }
            double const coordinate = static_cast<double>(position(v).get(axis));
            if (isMaximum ? coordinate > best : coordinate < best) {
                best = coordinate;
                start = v;
                isFound = true;
            }
        }
        return isFound;
    }

    MeshEdge firstSpoke(std::uint32_t v, bool onBoundary) const {
        MeshEdge e = mesh.arbitraryEdge(v);
        while (onBoundary && mesh.sym(e).triangle != PlainMesh::none) {
            e = mesh.oprev(e);
        }
        return e;
    }

    /// Looks for the triangle among those that are reached from the vertex's first listed one.
    bool isInListedFan(std::uint32_t v, bool onBoundary, int triangleNumber) const {
        MeshEdge const first = firstSpoke(v, onBoundary);
        bool isFound = false;
        MeshEdge w = first;
        do {
            isFound = isFound || w.triangle == triangleNumber;
            w = mesh.onext(w);
        } while (w != first && w.triangle != PlainMesh::none);
        return isFound;
    }

    PlainCutOutcome findPath() {
        Vector normal = unitNormal(firstSpoke(start, true));
        Point const origin = position(start);
        std::vector<std::uint32_t> visited{start};
        bool onBoundary = true;
        do {
            MeshEdge const e = firstSpoke(visited.back(), onBoundary);
            Vector const forward = planeNormal.cross(normal);
            double best = largest;
            MeshEdge chosen;
            MeshEdge w = e;
            do {
                double const t = (position(mesh.dest(w)) - origin).dot(planeNormal);
                if (best > t * t && way(w).dot(forward) > 0.0) {
                    chosen = w;
                    best = t * t;
                }
                w = mesh.onext(w);
            } while (w != e && w.triangle != PlainMesh::none);
            if (best == 0.0) {
                return PlainCutOutcome::endsOnPlane;
            }
            if (chosen.triangle == PlainMesh::none) {
                return PlainCutOutcome::noSpoke;
            }
            if (mesh.sym(chosen).triangle == PlainMesh::none) {
                return PlainCutOutcome::alongBoundary;
            }
            std::uint32_t const next = mesh.dest(chosen);
            if (std::find(visited.begin(), visited.end(), next) != visited.end()) {
                return PlainCutOutcome::meetsItself;
            }
            visited.push_back(next);
            normal = unitNormal(chosen);
            onBoundary = mesh.isBoundaryVertex(next);
            if (!isInListedFan(next, onBoundary, chosen.triangle)) {
                return PlainCutOutcome::entersOtherFan;
            }
            path.push_back(chosen);
        } while (!onBoundary);
        return PlainCutOutcome::cut;
    }

    std::uint32_t addTwin(std::uint32_t of) {
        auto const index = static_cast<std::uint32_t>(mesh.vertices.size());
        Point const place = position(of);
        mesh.addVertex(place);
        mesh.cut.first.push_back(of);
        mesh.cut.second.push_back(index);
        return index;
    }

    PlainMesh::PlainTriangle& triangle(int number) {
        return mesh.triangles[static_cast<std::size_t>(number)];
    }

    void makeBoundary(MeshEdge e) {
        MeshEdge const across = mesh.sym(e);
        for (MeshEdge const side : {e, across}) {
            triangle(side.triangle).neighbours[side.side] = PlainMesh::none;
            triangle(side.triangle).sides[side.side] = PlainMesh::noSide;
        }
    }

    void slit() {
        for (MeshEdge const c : path) {
            int const other = mesh.sym(c).triangle;
            std::uint32_t const o = mesh.org(c);
            makeBoundary(c);
            std::uint32_t const next = addTwin(o);
            for (MeshEdge w = c; w.triangle != PlainMesh::none; w = mesh.onext(w)) {
                triangle(w.triangle).vertices[(w.side + 1) % 3] = next;
            }
            mesh.incidence[next][0] = c.triangle;
            mesh.incidence[o][0] = other;
            if (c == path.back()) {
                splitEnd(c, other);
            }
        }
    }

    void splitEnd(MeshEdge c, int other) {
        std::uint32_t const d = mesh.dest(c);
        std::uint32_t const next = addTwin(d);
        MeshEdge w = mesh.rot(c);
        while (w.triangle != PlainMesh::none) {
            triangle(w.triangle).vertices[(w.side + 1) % 3] = next;
            MeshEdge const across = mesh.sym(w);
            w = across.triangle == PlainMesh::none ? MeshEdge{} : mesh.rot(across);
        }
        mesh.incidence[next][0] = c.triangle;
        mesh.incidence[d][0] = other;
    }

    PlainMesh& mesh;
    std::uint32_t start = 0;
    Vector planeNormal;
    std::vector<MeshEdge> path;
};

} // namespace

PlainCutOutcome plainMakeCut(PlainMesh& mesh, bool isMaximum, std::uint32_t axis,
                             std::uint32_t perpendicularAxis) {
    return Cutter(mesh).cut(isMaximum, axis, perpendicularAxis);
}

} // namespace QELT::Testing
