#include "benchmarks/comparison/cgalpeer.h"

#include <CGAL/Advancing_front_surface_reconstruction.h>
#include <CGAL/Exact_predicates_inexact_constructions_kernel.h>
#include <CGAL/Simple_cartesian.h>
#include <CGAL/Surface_mesh.h>
#include <CGAL/boost/graph/IO/OBJ.h>

#include <fstream>
#include <iterator>
#include <stdexcept>

namespace Comparison {

namespace {

using Kernel = CGAL::Simple_cartesian<double>;
using SurfaceMesh = CGAL::Surface_mesh<Kernel::Point_3>;

} // namespace

struct CgalMesh::Surface {
    SurfaceMesh mesh;
};

CgalMesh::~CgalMesh() {
    clear();
}

void CgalMesh::clear() {
    delete surface;
    surface = nullptr;
}

void CgalMesh::load(char const* path) {
    surface = new Surface;
    std::ifstream file(path);
    if (!CGAL::IO::read_OBJ(file, surface->mesh)) {
        throw std::runtime_error("CGAL does not read the file");
    }
}

PeerMesh CgalMesh::get() const {
    PeerMesh result;
    SurfaceMesh const& mesh = surface->mesh;
    for (auto const vertex : mesh.vertices()) {
        auto const& p = mesh.point(vertex);
        result.points.push_back({p.x(), p.y(), p.z()});
    }
    for (auto const face : mesh.faces()) {
        auto const h = mesh.halfedge(face);
        result.triangles.push_back({static_cast<std::uint32_t>(mesh.source(h)),
                                    static_cast<std::uint32_t>(mesh.target(h)),
                                    static_cast<std::uint32_t>(mesh.target(mesh.next(h)))});
    }
    return result;
}

std::vector<std::array<std::size_t, 3>> reconstructWithCgal(std::vector<std::array<float, 3>> const& points) {
    using Place = CGAL::Exact_predicates_inexact_constructions_kernel::Point_3;
    std::vector<Place> places;
    places.reserve(points.size());
    for (auto const& [x, y, z] : points) {
        places.emplace_back(x, y, z);
    }
    std::vector<std::array<std::size_t, 3>> triangles;
    CGAL::advancing_front_surface_reconstruction(places.begin(), places.end(), std::back_inserter(triangles));
    return triangles;
}

} // namespace Comparison
