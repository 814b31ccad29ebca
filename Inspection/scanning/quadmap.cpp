#include "Inspection/scanning/quadmap.h"

#include <algorithm>
#include <numbers>

namespace QELT::Inspection {

QuadMap::QuadMap(std::size_t mapWidth, std::size_t mapHeight)
    : width(mapWidth), height(mapHeight), cells(mapWidth * mapHeight) {}

std::vector<double> QuadMap::values() const {
    std::vector<double> values;
    for (Cell const& cell : cells) {
        if (cell.kind == Cell::Measured) {
            values.push_back(cell.value);
        }
    }
    return values;
}

Cell QuadMap::averageOfBlock(std::size_t left, std::size_t bottom, std::size_t factor) const {
    Cell average;
    std::size_t count = 0;
    for (std::size_t v = bottom; v < std::min(bottom + factor, height); ++v) {
        for (std::size_t u = left; u < std::min(left + factor, width); ++u) {
            Cell const& cell = at(u, v);
            average.kind = std::max(average.kind, cell.kind);
            if (cell.kind == Cell::Measured) {
                average.value += cell.value;
                ++count;
            }
        }
    }
    average.value = count > 0 ? average.value / static_cast<double>(count) : 0.0;
    return average;
}

QuadMap QuadMap::averaged(std::size_t factor) const {
    QuadMap result((width + factor - 1) / factor, (height + factor - 1) / factor);
    for (std::size_t v = 0; v < result.height; ++v) {
        for (std::size_t u = 0; u < result.width; ++u) {
            result.at(u, v) = averageOfBlock(u * factor, v * factor, factor);
        }
    }
    return result;
}

namespace {

bool isOnMap(GridIndex const& quad, QuadMap const& map) {
    return quad.getU() >= 0 && quad.getV() >= 0 && static_cast<std::size_t>(quad.getU()) < map.getWidth() &&
           static_cast<std::size_t>(quad.getV()) < map.getHeight();
}

std::size_t placeOn(QuadMap const& map, GridIndex const& quad) {
    return static_cast<std::size_t>(quad.getV()) * map.getWidth() + static_cast<std::size_t>(quad.getU());
}

void addTo(QuadMap& map, GridIndex const& quad, double value) {
    Cell& cell = map.at(static_cast<std::size_t>(quad.getU()), static_cast<std::size_t>(quad.getV()));
    cell.kind = Cell::Measured;
    cell.value += value;
}

bool isCountable(Hit const& hit, QuadMap const& map) {
    return hit.isHit() && hit.isMeasured && isOnMap(hit.quad, map);
}

/// The quads that were hit from the front, row by row.
std::vector<bool> frontsOf(QuadMap const& map, std::vector<Hit> const& hits) {
    std::vector<bool> fronts(map.getWidth() * map.getHeight(), false);
    for (Hit const& hit : hits) {
        if (isCountable(hit, map) && !hit.isFromBehind()) {
            fronts[placeOn(map, hit.quad)] = true;
        }
    }
    return fronts;
}

/// Turns a map of sums into one of means.
void divideBy(QuadMap const& counts, QuadMap& sums) {
    for (std::size_t v = 0; v < sums.getHeight(); ++v) {
        for (std::size_t u = 0; u < sums.getWidth(); ++u) {
            if (sums.at(u, v).kind == Cell::Measured) {
                sums.at(u, v).value /= counts.at(u, v).value;
            }
        }
    }
}

/// On a coverage map no hit is a value too: 0.
void countMissedSurface(QuadMap& coverage) {
    for (std::size_t v = 0; v < coverage.getHeight(); ++v) {
        for (std::size_t u = 0; u < coverage.getWidth(); ++u) {
            Cell& cell = coverage.at(u, v);
            cell.kind = cell.kind == Cell::NoValue ? Cell::Measured : cell.kind;
        }
    }
}

} // namespace

QuadMap surfaceMapOf(Grid const& grid) {
    auto const extents = grid.getExtents();
    QuadMap map(extents.getdU(), extents.getdV());
    for (std::size_t v = 0; v < map.getHeight(); ++v) {
        for (std::size_t u = 0; u < map.getWidth(); ++u) {
            if (grid.getIsQuadValid(GridIndex(static_cast<int>(u), static_cast<int>(v)))) {
                map.at(u, v).kind = Cell::NoValue;
            }
        }
    }
    return map;
}

QuadMaps quadMapsOf(QuadMap const& surface, std::vector<Hit> const& hits) {
    constexpr double degrees = 180.0 / std::numbers::pi;
    QuadMaps maps{surface, surface, surface};
    auto const fronts = frontsOf(surface, hits);
    for (Hit const& hit : hits) {
        if (isCountable(hit, surface) && !(hit.isFromBehind() && fronts[placeOn(surface, hit.quad)])) {
            addTo(maps.distance, hit.quad, hit.distance);
            addTo(maps.angleError, hit.quad, hit.angleError * degrees);
            addTo(maps.coverage, hit.quad, 1.0);
        }
    }
    divideBy(maps.coverage, maps.distance);
    divideBy(maps.coverage, maps.angleError);
    countMissedSurface(maps.coverage);
    return maps;
}

QuadMaps quadMapsOf(Grid const& grid, std::vector<Hit> const& hits) {
    return quadMapsOf(surfaceMapOf(grid), hits);
}

} // namespace QELT::Inspection
