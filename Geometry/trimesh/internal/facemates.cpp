#include "Geometry/trimesh/internal/facemates.h"

#include <algorithm>
#include <span>
#include <utility>

// The sides are dealt out to the lower one of their two vertices, by counting first how many each gets. The
// few that lie there are sorted by their other vertex: then those between the same two vertices stand side by
// side, and there should be one, or two that run against each other.
//
// One step over the faces and one over the sides; a vertex with n faces takes n log n.

namespace QELT::Geometry::ThreeDimensional::TriMesh {

namespace {

constexpr std::size_t greatestNumberOfFaces = noMate / 3;

/// A side by its upper vertex.
using UpperEnd = std::pair<std::uint32_t, std::uint32_t>;

/// The sides, those with the same lower vertex together.
class SidesAtVertices {
public:
    SidesAtVertices(std::vector<Face> const& faces, std::uint32_t vertexCount)
        : ends(3 * faces.size()), lasts(std::size_t{vertexCount} + 1, 0) {
        for (Face const& face : faces) {
            for (std::size_t k = 0; k < 3; ++k) {
                ++lasts[std::min(face[k], face[(k + 1) % 3]) + std::size_t{1}];
            }
        }
        for (std::size_t v = 1; v < lasts.size(); ++v) {
            lasts[v] += lasts[v - 1];
        }
        std::uint32_t side = 0;
        for (Face const& face : faces) {
            for (std::size_t k = 0; k < 3; ++k) {
                auto const [lower, upper] = std::minmax(face[k], face[(k + 1) % 3]);
                ends[lasts[lower]++] = {upper, side++};
            }
        }
    }

    /// Those of the vertex, sorted.
    template <class Visit>
    bool visitEach(Visit visit) {
        std::size_t first = 0;
        for (std::size_t v = 0; v + 1 < lasts.size(); ++v) {
            std::size_t const last = lasts[v];
            std::sort(ends.begin() + static_cast<std::ptrdiff_t>(first),
                      ends.begin() + static_cast<std::ptrdiff_t>(last));
            if (!visit(std::span(ends).subspan(first, last - first))) {
                return false;
            }
            first = last;
        }
        return true;
    }

private:
    std::vector<UpperEnd> ends;
    std::vector<std::uint32_t> lasts; ///< of each vertex, where those of the next begin
};

bool getHasVertexTwice(Face const& face) {
    return face[0] == face[1] || face[1] == face[2] || face[2] == face[0];
}

} // namespace

std::optional<std::vector<FaceSides>> findMates(std::vector<Face> const& faces, std::uint32_t vertexCount) {
    if (faces.size() > greatestNumberOfFaces || std::any_of(faces.begin(), faces.end(), getHasVertexTwice)) {
        return std::nullopt;
    }
    std::vector<FaceSides> mates(faces.size(), {noMate, noMate, noMate});
    auto const startOf = [&](std::uint32_t side) { return faces[side / 3][side % 3]; };
    auto const pair = [&](std::span<UpperEnd const> ends) {
        for (std::size_t k = 0; k + 1 < ends.size(); ++k) {
            auto const [upper, side] = ends[k];
            auto const [nextUpper, next] = ends[k + 1];
            if (upper != nextUpper) {
                continue;
            }
            if (mates[side / 3][side % 3] != noMate || startOf(side) == startOf(next)) {
                return false;
            }
            mates[side / 3][side % 3] = next;
            mates[next / 3][next % 3] = side;
        }
        return true;
    };
    if (!SidesAtVertices(faces, vertexCount).visitEach(pair)) {
        return std::nullopt;
    }
    return mates;
}

} // namespace QELT::Geometry::ThreeDimensional::TriMesh
