// The quads of a result as a PLY file: binary, places in double precision, faces with a colour, the value and
// the state. Each grid brings its own nodes; those that no quad needs are left out.

#include "Inspection/exports/internal/deflating.h"
#include "Inspection/exports/internal/writers.h"
#include "Inspection/pictures/internal/colourmap.h"
#include "Inspection/pictures/internal/statecolours.h"
#include "Inspection/records/failure.h"
#include "Inspection/records/numbers.h"

#include <array>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <limits>

namespace QELT::Inspection {

namespace {

static_assert(std::endian::native == std::endian::little, "numbers are written as they lie in memory");

constexpr std::uint32_t noVertex = std::numeric_limits<std::uint32_t>::max();

struct PlyFace {
    std::size_t pixel;
    std::array<std::uint32_t, 4> vertices;
};

struct Surface {
    std::vector<double> places; ///< three a vertex
    std::vector<PlyFace> faces;
};

class SurfaceMaker {
public:
    explicit SurfaceMaker(Result const& shownResult) : result(shownResult) {}

    Surface make() {
        for (std::size_t i = 0; i < result.patches.size(); ++i) {
            addPatch(i);
        }
        return std::move(surface);
    }

private:
    Result const& result;
    Surface surface{};

    void addPatch(std::size_t number) {
        Patch const& patch = result.patches[number];
        std::vector<std::uint32_t> vertices((patch.width + 1) * (patch.height + 1), noVertex);
        for (std::size_t v = 0; v < patch.height; ++v) {
            for (std::size_t u = 0; u < patch.width; ++u) {
                std::size_t const pixel = result.indexOf(patch.left + u, patch.bottom + v);
                if (result.hasSurface(pixel) && result.patch[pixel] == number) {
                    std::size_t const node = v * (patch.width + 1) + u;
                    std::size_t const above = node + patch.width + 1;
                    surface.faces.push_back(
                        {pixel,
                         {vertexAt(patch, vertices, node), vertexAt(patch, vertices, node + 1),
                          vertexAt(patch, vertices, above + 1), vertexAt(patch, vertices, above)}});
                }
            }
        }
    }

    std::uint32_t vertexAt(Patch const& patch, std::vector<std::uint32_t>& vertices, std::size_t node) {
        if (vertices[node] == noVertex) {
            vertices[node] = static_cast<std::uint32_t>(surface.places.size() / 3);
            Vector const place = nodePlace(result, patch, node);
            surface.places.insert(surface.places.end(), {place.getdX(), place.getdY(), place.getdZ()});
        }
        return vertices[node];
    }
};

/// As pictures show it: states that no value tells of in their own colours.
Colour colourOf(Result const& result, ValueMap const& map, ColourLimits const& limits, std::size_t pixel) {
    PixelState const state = result.states[pixel];
    double const value = map.values[pixel];
    bool const isSaturated = state == PixelState::Saturated && map.ceiling.has_value();
    if (isSaturated || !std::isfinite(value)) {
        return stateColour(state == PixelState::Echo ? PixelState::NoEcho : state);
    }
    return colourOfShare((value - limits.low) / (limits.high - limits.low));
}

std::string colourText(Colour const& colour) {
    return std::to_string(colour.red) + " " + std::to_string(colour.green) + " " +
           std::to_string(colour.blue);
}

/// One line of a comment holds no line's end.
std::string inOneLine(std::string text) {
    for (char& character : text) {
        character = character == '\n' || character == '\r' ? ' ' : character;
    }
    return text;
}

std::string headOf(Result const& result, ValueMap const& map, ColourLimits const& limits,
                   Surface const& surface) {
    std::string const unit = map.unit.empty() ? "" : " " + map.unit;
    std::string states;
    for (std::size_t i = 0; i < pixelStateCount; ++i) {
        auto const state = static_cast<PixelState>(i);
        states += (i > 0 ? ", " : "") + std::to_string(i) + " " + nameOf(state) + " (" +
                  colourText(stateColour(state)) + ")";
    }
    return "ply\nformat binary_little_endian 1.0\ncomment " + inOneLine("value " + labelOf(map)) +
           "\ncomment " +
           inOneLine("colours from " + toExactText(limits.low) + unit + " (" +
                     colourText(colourOfShare(0.0)) + ") to " + toExactText(limits.high) + unit + " (" +
                     colourText(colourOfShare(1.0)) + ")") +
           "\ncomment states " + states + "\ncomment " +
           inOneLine("unit of lengths " + (result.unit.empty() ? "not known" : result.unit)) +
           "\nelement vertex " + std::to_string(surface.places.size() / 3) +
           "\nproperty double x\nproperty double y\nproperty double z\nelement face " +
           std::to_string(surface.faces.size()) +
           "\nproperty list uchar uint vertex_indices\nproperty uchar red\nproperty uchar green\n"
           "property uchar blue\nproperty uchar state\nproperty double value\nend_header\n";
}

class ByteRun {
public:
    template <class Number>
    void add(Number number) {
        auto const begin = bytes.size();
        bytes.resize(begin + sizeof number);
        std::memcpy(&bytes[begin], &number, sizeof number);
    }

    std::vector<char> const& get() const { return bytes; }

private:
    std::vector<char> bytes;
};

} // namespace

void writePly(Destination const& to, Result const& result, ValueMap const& map, ColourLimits const& limits) {
    Surface const surface = SurfaceMaker(result).make();
    std::ofstream output(to.file, std::ios::binary);
    output << headOf(result, map, limits, surface);
    auto const places = bytesOf(surface.places);
    output.write(reinterpret_cast<char const*>(places.data()), static_cast<std::streamsize>(places.size()));
    for (PlyFace const& face : surface.faces) {
        ByteRun run;
        run.add(std::uint8_t{4});
        for (std::uint32_t const vertex : face.vertices) {
            run.add(vertex);
        }
        Colour const colour = colourOf(result, map, limits, face.pixel);
        for (std::uint8_t const byte : {colour.red, colour.green, colour.blue}) {
            run.add(byte);
        }
        run.add(static_cast<std::uint8_t>(result.states[face.pixel]));
        run.add(map.values[face.pixel]);
        output.write(run.get().data(), static_cast<std::streamsize>(run.get().size()));
    }
    output.close();
    require(static_cast<bool>(output), to.name.string() + ": cannot be written");
}

} // namespace QELT::Inspection
