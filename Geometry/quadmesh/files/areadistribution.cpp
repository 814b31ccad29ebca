#include "Geometry/foundations/internal/outputfile.h"
#include "Geometry/foundations/internal/streamfailure.h"
#include "Geometry/foundations/rounding.h"
#include "Geometry/quadmesh/internal/nodes.h"
#include "Geometry/quadmesh/internal/quadarea.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <locale>
#include <sstream>

// The distribution of the quads' areas: how even the grid is on the surface, for a plot.
//
// Steps: 1024 bins of equal width from the smallest to the largest area that the grid has stored; each quad
// is measured anew and counted in its bin; a line for each bin with the area of its middle in mean areas and
// its share of the quads.
//
// Tolerances: none. The range is what the grid has stored, which an area snapped on saving, a file or a
// change in place may have set apart from the quads: those beyond it go into the nearest bin, NaN into the
// first. A range of no width would divide by 0, so that there all stand in the first bin.
//
// Cost: all quads once. Numbers are written as a stream does by default, in six digits, with no regard to the
// locale.

namespace QELT::Geometry::ThreeDimensional::QuadMesh {

namespace {

constexpr std::uint32_t distributionBinCount = 1024;

/// The sign of a NaN that an operation makes depends on the processor; the text written must not.
double withoutNaNSign(double value) {
    return std::isnan(value) ? std::numeric_limits<double>::quiet_NaN() : value;
}

} // namespace

void RectMesh::getQuadAreaDistribution(double min, double max, std::uint32_t binCount, std::uint32_t* bins,
                                       std::uint32_t* count) const {
    std::fill_n(bins, binCount, 0U);
    *count = 0;
    forEachNode(getExtents(), [&](TwoDimensional::Point<int> const& quad) {
        if (!getIsQuadValid(quad)) {
            return;
        }
        ++*count;
        if (binCount == 0) {
            return;
        }
        // A range of no width has one bin.
        double const place = min == max ? 0.0 : (getQuadArea(*this, quad) - min) * binCount / (max - min);
        ++bins[std::min(truncateToUInt32(place), binCount - 1U)];
    });
}

void RectMesh::saveQuadAreaDistribution(std::string const& path) const {
    auto file = OutputFile::open(path, OutputFile::Mode::Text,
                                 [] { throw StreamFailure("Quad area distribution file write failure."); });
    if (!file) {
        throw StreamFailure("Quad area distribution file open failure.");
    }
    std::ostringstream lines;
    lines.imbue(std::locale::classic());
    std::vector<std::uint32_t> bins(distributionBinCount);
    std::uint32_t count = 0;
    getQuadAreaDistribution(minQuadArea, maxQuadArea, distributionBinCount, bins.data(), &count);
    for (std::uint32_t i = 0; i < distributionBinCount; ++i) {
        double const middle = (i + 0.5) / distributionBinCount * (maxQuadArea - minQuadArea) + minQuadArea;
        double const relativeArea = middle / meanQuadArea;
        double const share = static_cast<double>(bins[i]) / count;
        lines << withoutNaNSign(relativeArea) << ' ' << withoutNaNSign(share) << '\n';
    }
    file->write(lines.str());
    file->close();
}

} // namespace QELT::Geometry::ThreeDimensional::QuadMesh
