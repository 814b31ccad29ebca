#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

/// CGAL behind plain types, so that its compile options concern its own source alone.
namespace Comparison {

/// Points and triangles of a mesh, in the order in which the peer holds them.
struct PeerMesh {
    std::vector<std::array<double, 3>> points;
    std::vector<std::array<std::uint32_t, 3>> triangles;
};

/// A mesh that CGAL's reader of OBJ files made, with the adjacency of its faces.
class CgalMesh {
public:
    CgalMesh() = default;
    CgalMesh(CgalMesh const&) = delete;
    CgalMesh& operator=(CgalMesh const&) = delete;
    ~CgalMesh();

    void load(char const* path);
    void clear();
    PeerMesh get() const;

private:
    struct Surface;

    Surface* surface = nullptr;
};

/// The triangles of CGAL's advancing front through the points. The points are read, not kept.
std::vector<std::array<std::size_t, 3>> reconstructWithCgal(std::vector<std::array<float, 3>> const& points);

} // namespace Comparison
