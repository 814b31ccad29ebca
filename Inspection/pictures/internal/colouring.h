#pragma once

#include "Inspection/pictures/internal/scale.h"
#include "Inspection/pictures/valuepicture.h"

#include <string>
#include <vector>

namespace QELT::Inspection {

/// The share of the way from one colour to another.
Colour colourBetween(Colour const& a, Colour const& b, double share);

/// What turns values into colours.
struct Colouring {
    Scale scale;
    std::vector<double> bands;
    ColourMap map = ColourMap::Colour;

    /// In bands, that of the middle of the band.
    Colour operator()(double value) const;

    /// Where ticks of the bar are: at the bands, or at round values between the limits.
    std::vector<double> ticks() const;
    std::string labelOf(double tick) const;
};

/// Of the bands, else between the limits, else over the bulk of the values. Fails if bands or limits do not
/// rise.
Colouring colouringOf(std::vector<double> const& values, ValuePictureOptions const& options);

} // namespace QELT::Inspection
