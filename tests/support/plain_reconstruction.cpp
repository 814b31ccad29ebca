#include "tests/support/plain_reconstruction.h"

#include <algorithm>
#include <stdexcept>

namespace QELT::Testing {

using Geometry::ThreeDimensional::Point;
using Geometry::ThreeDimensional::Vector;
using MeshEdge = PlainMesh::PlainEdge;

namespace {

constexpr std::uint32_t neighboursOfEach = 64;
constexpr double farAway = 1e300;

struct Distance {
    std::uint32_t vertex;
    double t;
};

struct Candidate {
    MeshEdge edge;
    std::uint32_t apex;
    double t;
};

double plainRTSqr(Point const& a, Point const& b, Point const& c) {
    Vector const e1 = b - a;
    Vector const e2 = c - b;
    Vector const e3 = a - c;
    double value = e1.lSqr() * 0.0625;
    value = value * e2.lSqr();
    value = value * e3.lSqr();
    return value / e1.cross(e2).lSqr();
}

/// The corner opposite to the last spoke of the fan that `v` lists first.
std::uint32_t endOfLastSpoke(PlainMesh const& mesh, std::uint32_t v) {
    MeshEdge e = mesh.arbitraryEdge(v);
    for (std::size_t steps = 0; mesh.onext(e).triangle != PlainMesh::none; ++steps) {
        if (steps > mesh.triangles.size()) {
            throw std::logic_error("endless walk around a closed fan");
        }
        e = mesh.onext(e);
    }
    return mesh.dest(mesh.rot(e));
}

bool isOnFront(PlainMesh const& mesh, std::uint32_t a, std::uint32_t b, std::uint32_t w) {
    return endOfLastSpoke(mesh, b) == w || endOfLastSpoke(mesh, a) == b;
}

Vector faceNormal(PlainMesh const& mesh, MeshEdge e) {
    auto const way = [&](MeshEdge side) {
        return mesh.vertices[mesh.dest(side)].point - mesh.vertices[mesh.org(side)].point;
    };
    return way(e).cross(way(mesh.rot(e)));
}

class Front {
public:
    Front(PlainReconstruction& target, SideWithoutApex newSideWithoutApex)
        : result(target), mesh(target.mesh), sideWithoutApex(newSideWithoutApex) {}

    void grow() {
        links = plainLinks(mesh);
        if (!makeSeed()) {
            result.failure = "Cannot add floating triangle";
            return;
        }
        std::uint32_t attached = 3;
        while (attached < mesh.vertices.size()) {
            if (candidates.size() == 0) {
                result.endedByEmptyHeap = true;
                return;
            }
            Candidate const candidate = candidates.pop();
            bool const wasFloating = mesh.isFloating(candidate.apex);
            if (isObsolete(candidate.edge, candidate.apex)) {
                ++result.candidatesDropped;
                continue;
            }
            if (!mesh.addBoundaryTriangle(candidate.edge, candidate.apex)) {
                result.endedByFailedTriangle = true;
                return;
            }
            openSidesOfNewTriangle(candidate.edge);
            attached += wasFloating ? 1 : 0;
        }
    }

private:
    bool makeSeed() {
        if (!links.hasPair) {
            return false;
        }
        PlainApex const third = plainMinrTSqr(mesh, links.first, links.second, links, Vector(0, 0, 1));
        if (!third.isFound) {
            return false;
        }
        if (!mesh.addFloatingTriangle({links.first, links.second, third.vertex})) {
            return false;
        }
        MeshEdge e = mesh.arbitraryEdge(third.vertex);
        PlainApex last = third;
        for (int side = 0; side < 3; ++side) {
            PlainApex const apex = wait(e, faceNormal(mesh, e));
            if (apex.isFound) {
                last = apex;
            } else if (sideWithoutApex == SideWithoutApex::WaitsForLastApex) {
                candidates.push({e, last.vertex, last.rTSqr});
            }
            e = mesh.rot(e);
        }
        return true;
    }

    PlainApex wait(MeshEdge e, Vector const& normal) {
        PlainApex const apex = plainMinrTSqr(mesh, mesh.dest(e), mesh.org(e), links, normal);
        if (apex.isFound) {
            candidates.push({e, apex.vertex, apex.rTSqr});
        } else {
            ++result.sidesWithoutCandidate;
        }
        return apex;
    }

    bool isObsolete(MeshEdge e, std::uint32_t w) const {
        std::uint32_t const a = mesh.org(e);
        std::uint32_t const b = mesh.dest(e);
        if (mesh.sym(e).triangle != PlainMesh::none) {
            return true;
        }
        if (mesh.doesEdgeExist(b, a, nullptr)) {
            return true;
        }
        if (mesh.doesEdgeExist(a, w, nullptr) || mesh.doesEdgeExist(w, b, nullptr)) {
            return true;
        }
        return !(mesh.isBoundaryVertex(a) && mesh.isBoundaryVertex(b) && mesh.isBoundaryVertex(w));
    }

    void openSidesOfNewTriangle(MeshEdge e) {
        MeshEdge s = mesh.sym(e);
        Vector const normal = faceNormal(mesh, e);
        for (int side = 0; side < 2; ++side) {
            s = mesh.rot(s);
            if (mesh.sym(s).triangle == PlainMesh::none) {
                wait(s, normal);
            }
        }
    }

    PlainReconstruction& result;
    PlainMesh& mesh;
    SideWithoutApex sideWithoutApex;
    PlainLinks links;
    PlainHeap<Candidate> candidates;
};

} // namespace

PlainLinks plainLinks(PlainMesh const& mesh) {
    PlainLinks links;
    double best = farAway;
    auto const count = static_cast<std::uint32_t>(mesh.vertices.size());
    for (std::uint32_t i = 0; i < count; ++i) {
        PlainHeap<Distance> heap;
        Point const& here = mesh.vertices[i].point;
        for (std::uint32_t j = 0; j < count; ++j) {
            Point const& there = mesh.vertices[j].point;
            if (j != i && here != there) {
                heap.push({j, here.dSqr(there)});
            }
        }
        std::vector<std::uint32_t> list;
        while (list.size() < neighboursOfEach && heap.size() > 0) {
            Distance const least = heap.pop();
            list.push_back(least.vertex);
            if (best > least.t) {
                best = least.t;
                links.hasPair = true;
                links.first = i;
                links.second = least.vertex;
            }
        }
        links.counts.push_back(static_cast<std::uint32_t>(list.size()));
        links.nearest.push_back(list);
    }
    return links;
}

PlainApex plainMinrTSqr(PlainMesh const& mesh, std::uint32_t a, std::uint32_t b, PlainLinks& links,
                        Vector const& normal) {
    std::vector<std::uint32_t> copy = links.nearest[a];
    copy.resize(links.counts[a]);
    PlainApex taken;
    double best = farAway;
    Point const& pa = mesh.vertices[a].point;
    Point const& pb = mesh.vertices[b].point;
    for (std::uint32_t const w : copy) {
        bool const floating = mesh.isFloating(w);
        if (!floating && !(mesh.isBoundaryVertex(w) && isOnFront(mesh, a, b, w))) {
            continue;
        }
        Point const& pw = mesh.vertices[w].point;
        double const r = plainRTSqr(pa, pb, pw);
        Vector const n = (pb - pa).cross(pw - pb);
        if (best > r && normal.dot(n) > 0.0) {
            best = r;
            taken = {true, w, r, floating};
        }
    }
    if (taken.isFound) {
        plainRemoveLink(a, b, links);
        plainRemoveLink(b, taken.vertex, links);
    }
    return taken;
}

void plainRemoveLink(std::uint32_t a, std::uint32_t b, PlainLinks& links) {
    std::vector<std::uint32_t>& list = links.nearest[a];
    for (std::uint32_t k = 0; k < links.counts[a]; ++k) {
        if (list[k] == b) {
            list.erase(list.begin() + k);
            --links.counts[a];
            return;
        }
    }
}

PlainReconstruction plainConstruct(std::vector<Point> const& points, SideWithoutApex sideWithoutApex) {
    PlainReconstruction result;
    for (Point const& point : points) {
        result.mesh.addVertex(point);
    }
    Front(result, sideWithoutApex).grow();
    return result;
}

} // namespace QELT::Testing
