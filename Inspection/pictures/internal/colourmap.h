#pragma once

#include "Inspection/pictures/image.h"

namespace QELT::Inspection {

/// The colour that stands for `share`, 0 to 1, on a scale from dark violet blue over green to light yellow.
/// Its lightness, as the eye sees it, grows evenly, so that equal steps of the value look like equal steps,
/// also in black and white print. Shares outside are taken as the nearest end, NaN as 0.
Colour colourOfShare(double share);

/// Lightness of a colour as the eye sees it, 0 (black) to 1 (white).
double lightnessOf(Colour colour);

} // namespace QELT::Inspection
