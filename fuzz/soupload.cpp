// Soups of triangles: files of faces that all hang together and are wound alike, but whose surface may meet
// itself in points and close on itself. Such files load, where changed bytes of a text hardly ever do.

#include "fuzz/objuse.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace {

constexpr std::size_t headerBytes = 2;
constexpr std::size_t bytesPerFace = 3;

/// More only take more time.
constexpr std::size_t maxFaces = 80;
constexpr unsigned maxUnusedVertices = 7;
constexpr unsigned maxVertices = 40;

using Face = std::array<unsigned, 3>;

/// A surface that grows over its open sides.
class Soup {
public:
    explicit Soup(unsigned numberOfVertices) : vertexCount(numberOfVertices) { add({0, 1, 2}, 0); }

    /// Sets a triangle on an open side, if its two other sides are free. Its place among the faces decides
    /// when it is joined.
    void grow(unsigned side, unsigned vertex, unsigned place) {
        std::vector<Side> const open = listOpenSides();
        if (open.empty()) {
            return;
        }
        auto const [a, b] = open[side % open.size()];
        unsigned const apex = vertex % vertexCount;
        if (apex != a && apex != b && !sides.contains({a, apex}) && !sides.contains({apex, b})) {
            add({b, a, apex}, place);
        }
    }

    std::vector<Face> const& getFaces() const { return faces; }

private:
    using Side = std::pair<unsigned, unsigned>;

    void add(Face const& face, unsigned place) {
        for (std::size_t i = 0; i < 3; ++i) {
            sides.insert({face[i], face[(i + 1) % 3]});
        }
        faces.insert(faces.begin() + static_cast<std::ptrdiff_t>(place % (faces.size() + 1)), face);
    }

    std::vector<Side> listOpenSides() const {
        std::vector<Side> open;
        std::copy_if(sides.begin(), sides.end(), std::back_inserter(open), [this](Side const& side) {
            return !sides.contains({side.second, side.first});
        });
        return open;
    }

    unsigned vertexCount;
    std::set<Side> sides;
    std::vector<Face> faces;
};

/// Points that lie apart and on no common plane.
std::string textOfVertex(unsigned i) {
    return "v " + std::to_string(i * 37 % 101) + ' ' + std::to_string(i * 59 % 103) + ' ' +
           std::to_string(i * 83 % 107) + '\n';
}

std::string textOf(Soup const& soup, unsigned unusedVertices, unsigned numberOfVertices) {
    std::string text;
    for (unsigned i = 0; i < unusedVertices + numberOfVertices; ++i) {
        text += textOfVertex(i);
    }
    for (auto const& [a, b, c] : soup.getFaces()) {
        unsigned const first = unusedVertices + 1;
        text += "f " + std::to_string(first + a) + ' ' + std::to_string(first + b) + ' ' +
                std::to_string(first + c) + '\n';
    }
    return text;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    if (size < headerBytes) {
        return 0;
    }
    unsigned const unusedVertices = data[0] % (maxUnusedVertices + 1);
    unsigned const numberOfVertices = 3 + data[1] % (maxVertices - 2);
    Soup soup(numberOfVertices);
    std::size_t const steps = std::min((size - headerBytes) / bytesPerFace, maxFaces);
    for (std::size_t i = 0; i < steps; ++i) {
        std::uint8_t const* const step = data + headerBytes + i * bytesPerFace;
        soup.grow(step[0], step[1], step[2]);
    }
    QELT::Fuzzing::useObjText(textOf(soup, unusedVertices, numberOfVertices));
    return 0;
}
