#include "Inspection/indications/indicationtable.h"

#include "Inspection/records/failure.h"
#include "Inspection/records/numbers.h"

#include <algorithm>
#include <fstream>
#include <ostream>

namespace QELT::Inspection {

namespace {

/// Places come from nodes in single precision, and no size is known better.
std::string textOf(double number) {
    constexpr int digits = 9;
    return toShortText(number + 0.0, digits); // no sign on zero
}

std::string unitOf(Result const& result, char const* quantity) {
    auto const found = std::find_if(result.values.begin(), result.values.end(),
                                    [&](ValueMap const& map) { return map.quantity == quantity; });
    return found == result.values.end() ? std::string() : found->unit;
}

std::string inBrackets(std::string const& unit) {
    return unit.empty() ? std::string() : "[" + unit + "]";
}

void writePlaceHeading(std::ostream& output, std::string const& prefix, std::string const& unit) {
    for (char const* axis : {"x", "y", "z"}) {
        output << ',' << prefix << axis << unit;
    }
    for (char const* axis : {"nx", "ny", "nz", "u", "v"}) {
        output << ',' << prefix << axis;
    }
}

void writeHeading(std::ostream& output, IndicationUnits const& units) {
    std::string const length = inBrackets(units.length);
    std::string const value = inBrackets(units.value);
    output << "number,state,peak" << value << ",level" << value;
    writePlaceHeading(output, "", length);
    writePlaceHeading(output, "peak_", length);
    output << ",length" << length << ",width" << length << ",area"
           << inBrackets(units.length.empty() ? "" : units.length + "^2") << ",depth"
           << inBrackets(units.depth) << ",incidence" << inBrackets(units.incidence)
           << ",touches,under_beam\n";
}

std::string textOf(std::optional<double> const& value) {
    return value ? textOf(*value) : std::string();
}

void writeVector(std::ostream& output, Vector const& vector) {
    output << ',' << textOf(vector.getdX()) << ',' << textOf(vector.getdY()) << ',' << textOf(vector.getdZ());
}

void writePlace(std::ostream& output, SurfacePlace const& place) {
    writeVector(output, place.point);
    writeVector(output, place.normal);
    output << ',' << textOf(place.at.getU()) << ',' << textOf(place.at.getV());
}

void writeIndication(std::ostream& output, Indication const& one, IndicationUnits const& units) {
    output << one.number << ',' << nameOf(one.state) << ','
           << (one.peak ? toExactText(*one.peak) : std::string()) << ',' << textOf(one.level);
    writePlace(output, one.centre);
    writePlace(output, one.peakPlace);
    for (double const size : {one.length, one.width, one.area}) {
        output << ',' << textOf(size);
    }
    output << ',' << textOf(one.depth) << ',' << textOf(one.incidence) << ',' << touchesOf(one) << ',';
    if (units.isBeamKnown) {
        output << (one.isUnderBeam ? '1' : '0');
    }
    output << '\n';
}

template <class Write>
void writeTo(Destination const& to, Write const& write) {
    std::ofstream output(to.file);
    write(output);
    output.close();
    require(static_cast<bool>(output), to.name.string() + ": cannot be written");
}

} // namespace

IndicationUnits unitsOf(Result const& result, IndicationOptions const& options) {
    return {result.unit, valueMapOf(result, options.value).unit, unitOf(result, "depth"),
            unitOf(result, "incidence"), options.beam.has_value()};
}

void writeIndications(std::ostream& output, std::vector<Indication> const& indications,
                      IndicationUnits const& units) {
    writeHeading(output, units);
    for (Indication const& one : indications) {
        writeIndication(output, one, units);
    }
}

void writeIndicationFile(Destination const& to, std::vector<Indication> const& indications,
                         IndicationUnits const& units) {
    writeTo(to, [&](std::ostream& output) { writeIndications(output, indications, units); });
}

void writePoses(std::ostream& output, std::vector<Indication> const& indications, double standoff) {
    output << "ox,oy,oz,dx,dy,dz\n";
    auto const three = [&](Vector const& vector) {
        output << textOf(vector.getdX()) << ',' << textOf(vector.getdY()) << ',' << textOf(vector.getdZ());
    };
    for (Indication const& one : indications) {
        three(one.centre.point + one.centre.normal * standoff);
        output << ',';
        three(-one.centre.normal);
        output << '\n';
    }
}

void writePoseFile(Destination const& to, std::vector<Indication> const& indications, double standoff) {
    writeTo(to, [&](std::ostream& output) { writePoses(output, indications, standoff); });
}

} // namespace QELT::Inspection
