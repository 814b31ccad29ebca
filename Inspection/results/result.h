#pragma once

#include "Inspection/export.h"
#include "Inspection/names.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <vector>

/// What was measured, on the part's own pixels.
namespace QELT::Inspection {

/// What is known of a pixel. The numbers are those of files.
enum class PixelState : std::uint8_t {
    NoSurface = 0,  ///< the grid has no quad there
    NotReached = 1, ///< no shot met it
    NoEcho = 2,     ///< shot, and nothing came back within the gate
    Echo = 3,       ///< holds measured values
    Saturated = 4,  ///< the same, and an echo was at the instrument's ceiling: at least that loud
    Refused = 5,    ///< shots met it, and every one was refused for its angle, its standoff or a bad line
};

constexpr std::size_t pixelStateCount = 6;

/// As files and tables spell it, such as "no echo".
QELT_INSPECTION_EXPORT char const* nameOf(PixelState state);

/// What becomes of several shots on one pixel.
enum class Statistic : std::uint8_t { Min, Max, Mean, Median, Last, Count };

/// As users write it, such as "max".
QELT_INSPECTION_EXPORT char const* nameOf(Statistic statistic);

/// One number a pixel, row by row from v = 0, each row along u. NaN where there is none.
struct ValueMap {
    std::string name;     ///< such as "amplitude:max", as it is asked for
    std::string quantity; ///< such as "amplitude"
    Statistic statistic = Statistic::Max;
    std::string unit;              ///< such as "%FSH"; empty for plain numbers
    std::optional<double> ceiling; ///< from which on a value was saturated, in the unit
    std::vector<double> values;
};

/// The surface that one grid brings: its nodes row by row, three coordinates each, NaN where there is none.
struct Patch {
    std::string name;     ///< of the grid's file
    std::size_t left = 0; ///< the pixel of its quad (0, 0)
    std::size_t bottom = 0;
    std::size_t width = 0; ///< in quads
    std::size_t height = 0;
    std::vector<float> nodes; ///< 3 (width + 1) (height + 1), in the part's own place moved by `Result::move`

    /// A node of the grid, u from 0 to its width.
    Point nodeAt(std::size_t u, std::size_t v) const {
        float const* const node = &nodes[3 * (v * (width + 1) + u)];
        return Point(node[0], node[1], node[2]);
    }
};

/// A C-scan of measured data. Arrays of pixels have `width` times `height` entries, row by row from v = 0.
struct Result {
    static constexpr std::uint32_t none = std::numeric_limits<std::uint32_t>::max();

    std::size_t width = 0;  ///< pixels along u
    std::size_t height = 0; ///< pixels along v
    std::vector<Patch> patches;
    std::vector<std::uint16_t> patch; ///< whose quad a pixel is; meaningless without surface
    std::vector<PixelState> states;
    std::vector<std::uint32_t> counts;  ///< shots that met it and were not refused
    std::vector<std::uint32_t> refused; ///< shots that met it and were
    std::vector<double> areas;          ///< true area of the quad, in the square of the part's unit; else 0
    std::vector<float> points;          ///< three a pixel: the quad's centre, moved by `move`; NaN without
    std::vector<float> normals;         ///< three a pixel: outward, of unit length; NaN without surface
    std::vector<std::uint32_t>
        filledFrom; ///< the pixel whose values may be shown where no shot met, or `none`
    std::vector<ValueMap> values;
    std::array<double, 3> move{}; ///< what the part was moved by: a place in the part is a point less this
    std::string unit;             ///< of lengths, such as "mm"; empty if it is not known
    std::string record;           ///< how it was made, as JSON

    /// How many pixels there are.
    std::size_t size() const { return width * height; }

    /// Where a pixel stands in the lists.
    std::size_t indexOf(std::size_t u, std::size_t v) const { return v * width + u; }

    /// Whether the part has surface there.
    bool hasSurface(std::size_t pixel) const { return states[pixel] != PixelState::NoSurface; }

    /// Whether a shot that was not refused met it.
    bool isReached(std::size_t pixel) const {
        return hasSurface(pixel) && states[pixel] != PixelState::NotReached &&
               states[pixel] != PixelState::Refused;
    }
};

/// The map of that name, or the only one of that quantity. Fails if there is none, or several, and names
/// those that there are.
QELT_INSPECTION_EXPORT ValueMap const& valueMapOf(Result const& result, std::string const& name);

} // namespace QELT::Inspection
