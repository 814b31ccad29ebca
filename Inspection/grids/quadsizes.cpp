#include "Inspection/grids/quadsizes.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace QELT::Inspection {

namespace {

/// The factors of the median between the five sizes that are told apart.
constexpr std::array<double, 4> sizeLimits{1.0 / bearableAreaFactor, 0.5, 2.0, bearableAreaFactor};

double triangleAreaOf(Point const& a, Point const& b, Point const& c) {
    return 0.5 * std::sqrt((b - a).cross(c - a).lSqr());
}

std::vector<double> quadAreasOf(Grid const& grid) {
    std::vector<double> areas;
    auto const extents = grid.getExtents();
    for (unsigned long v = 0; v < extents.getdV(); ++v) {
        for (unsigned long u = 0; u < extents.getdU(); ++u) {
            GridIndex const quad(static_cast<int>(u), static_cast<int>(v));
            if (grid.getIsQuadValid(quad)) {
                areas.push_back(quadAreaOf(grid, quad));
            }
        }
    }
    return areas;
}

double medianOf(std::vector<double> values) {
    auto const middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

} // namespace

double quadAreaOf(Grid const& grid, GridIndex const& quad) {
    Point corners[4];
    grid.getQuadPoints(quad, corners);
    return triangleAreaOf(corners[0], corners[1], corners[3]) +
           triangleAreaOf(corners[1], corners[2], corners[3]);
}

QuadSizes quadSizesOf(Grid const& grid) {
    QuadSizes sizes;
    auto areas = quadAreasOf(grid);
    sizes.quadCount = areas.size();
    std::erase_if(areas, [](double area) { return std::isnan(area); });
    sizes.nanCount = sizes.quadCount - areas.size();
    if (areas.empty()) {
        return sizes;
    }
    sizes.median = medianOf(areas);
    double sum = 0.0;
    for (double const area : areas) {
        sum += area;
        auto const limit = std::find_if(sizeLimits.begin(), sizeLimits.end(),
                                        [&](double factor) { return area <= factor * sizes.median; });
        ++sizes.counts.at(static_cast<std::size_t>(limit - sizeLimits.begin()));
    }
    sizes.mean = sum / static_cast<double>(areas.size());
    return sizes;
}

GridSpacing spacingFor(GridResolution const& resolution, MapQuality const& quality, double flatWidth) {
    if (resolution.width) {
        // Half a quad to spare, since the grid rounds down.
        double const spacing = flatWidth / (static_cast<double>(*resolution.width) - 0.5);
        return {spacing, spacing * spacing * quality.areaRatio};
    }
    double const quadArea =
        resolution.pixel ? *resolution.pixel * *resolution.pixel : resolution.quadArea.value_or(0.0);
    return {std::sqrt(quadArea / quality.areaRatio), quadArea};
}

} // namespace QELT::Inspection
