#include "Inspection/indications/internal/loudness.h"

#include <cmath>
#include <limits>

namespace QELT::Inspection {

std::size_t sourceOf(Result const& result, std::size_t pixel, bool doUseFilled) {
    bool const isFilled = doUseFilled && result.states[pixel] == PixelState::NotReached &&
                          pixel < result.filledFrom.size() && result.filledFrom[pixel] != Result::none;
    return isFilled ? result.filledFrom[pixel] : pixel;
}

std::vector<double> loudnessOf(Result const& result, ValueMap const& map, IndicationOptions const& options) {
    double const sign = options.isBelow ? -1.0 : 1.0;
    std::vector<double> loudness(result.size(), std::numeric_limits<double>::quiet_NaN());
    for (std::size_t pixel = 0; pixel < loudness.size(); ++pixel) {
        if (!result.hasSurface(pixel)) {
            continue;
        }
        std::size_t const source = sourceOf(result, pixel, options.doUseFilled);
        double const value = map.values[source];
        if (result.isReached(source)) {
            double const lost = -sign * std::numeric_limits<double>::infinity();
            loudness[pixel] = std::isnan(value) ? lost : sign * value;
        }
    }
    return loudness;
}

} // namespace QELT::Inspection
