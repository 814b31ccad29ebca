#pragma once

#include "Inspection/pictures/image.h"
#include "Inspection/results/result.h"

#include <array>

namespace QELT::Inspection {

/// What stands for each state: colours that no map of values holds. That of an echo is for where states alone
/// are shown.
constexpr std::array<Colour, pixelStateCount> stateColours{Colour{190, 190, 190}, Colour{255, 255, 255},
                                                           Colour{15, 15, 15},    Colour{60, 130, 170},
                                                           Colour{235, 60, 150},  Colour{240, 150, 60}};

inline Colour stateColour(PixelState state) {
    return stateColours[static_cast<std::size_t>(state)];
}

} // namespace QELT::Inspection
