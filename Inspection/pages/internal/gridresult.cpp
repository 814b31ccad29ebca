#include "Inspection/pages/internal/gridresult.h"

#include "Inspection/grids/quadsizes.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace QELT::Inspection {

namespace {

constexpr float noNumber = std::numeric_limits<float>::quiet_NaN();

using Direction = std::array<double, 3>;

Patch patchOf(Grid const& grid, std::string const& name) {
    Patch patch;
    patch.name = name;
    auto const extents = grid.getExtents();
    patch.width = extents.getdU();
    patch.height = extents.getdV();
    patch.nodes.reserve(3 * (patch.width + 1) * (patch.height + 1));
    for (std::size_t v = 0; v <= patch.height; ++v) {
        for (std::size_t u = 0; u <= patch.width; ++u) {
            GridIndex const index(static_cast<int>(u), static_cast<int>(v));
            bool const isValid = grid.getIsPointValid(index);
            Point const point = grid.getPoint(index);
            patch.nodes.push_back(isValid ? static_cast<float>(point.getX()) : noNumber);
            patch.nodes.push_back(isValid ? static_cast<float>(point.getY()) : noNumber);
            patch.nodes.push_back(isValid ? static_cast<float>(point.getZ()) : noNumber);
        }
    }
    return patch;
}

Direction nodeOf(Patch const& patch, std::size_t u, std::size_t v) {
    float const* const node = &patch.nodes[3 * (v * (patch.width + 1) + u)];
    return {node[0], node[1], node[2]};
}

Direction between(Direction const& from, Direction const& to) {
    return {to[0] - from[0], to[1] - from[1], to[2] - from[2]};
}

double dot(Direction const& a, Direction const& b) {
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

double lengthOf(Direction const& direction) {
    return std::sqrt(dot(direction, direction));
}

Direction scaled(Direction const& direction, double factor) {
    return {factor * direction[0], factor * direction[1], factor * direction[2]};
}

/// Between the middles of opposite sides.
double sideOf(Patch const& patch, std::size_t u, std::size_t v, bool isAlongU) {
    Direction const low = nodeOf(patch, u, v);
    Direction const high = nodeOf(patch, u + 1, v + 1);
    Direction const right = nodeOf(patch, u + 1, v);
    Direction const upper = nodeOf(patch, u, v + 1);
    Direction const first = isAlongU ? between(low, right) : between(low, upper);
    Direction const second = isAlongU ? between(upper, high) : between(right, high);
    Direction const sum{first[0] + second[0], first[1] + second[1], first[2] + second[2]};
    return 0.5 * lengthOf(sum);
}

/// Sets what a pixel of a grid is: its state, area, centre and normal.
void setPixel(Result& result, Grid const& grid, std::size_t u, std::size_t v) {
    GridIndex const quad(static_cast<int>(u), static_cast<int>(v));
    std::size_t const pixel = result.indexOf(u, v);
    result.states[pixel] = PixelState::Echo;
    result.areas[pixel] = quadAreaOf(grid, quad);
    Point const centre = grid.getMeanQuadPoint(quad);
    result.points[3 * pixel] = static_cast<float>(centre.getX());
    result.points[3 * pixel + 1] = static_cast<float>(centre.getY());
    result.points[3 * pixel + 2] = static_cast<float>(centre.getZ());
    Direction const normal = diagonalNormalOf(result.patches.front(), u, v);
    std::transform(normal.begin(), normal.end(),
                   result.normals.begin() + static_cast<std::ptrdiff_t>(3 * pixel),
                   [](double component) { return static_cast<float>(component); });
}

Result pixelsOf(Grid const& grid, std::string const& name, std::string const& unit) {
    Result result;
    result.patches.push_back(patchOf(grid, name));
    result.width = result.patches.front().width;
    result.height = result.patches.front().height;
    result.unit = unit;
    result.patch.assign(result.size(), 0);
    result.states.assign(result.size(), PixelState::NoSurface);
    result.areas.assign(result.size(), 0.0);
    result.points.assign(3 * result.size(), noNumber);
    result.normals.assign(3 * result.size(), noNumber);
    for (std::size_t v = 0; v < result.height; ++v) {
        for (std::size_t u = 0; u < result.width; ++u) {
            if (grid.getIsQuadValid(GridIndex(static_cast<int>(u), static_cast<int>(v)))) {
                setPixel(result, grid, u, v);
            }
        }
    }
    return result;
}

double medianAreaOf(Result const& result) {
    std::vector<double> areas;
    std::copy_if(result.areas.begin(), result.areas.end(), std::back_inserter(areas),
                 [](double area) { return area > 0.0; });
    if (areas.empty()) {
        return 1.0;
    }
    auto const middle = areas.begin() + static_cast<std::ptrdiff_t>(areas.size() / 2);
    std::nth_element(areas.begin(), middle, areas.end());
    return *middle;
}

Direction normalAt(Result const& result, std::size_t pixel) {
    float const* const normal = &result.normals[3 * pixel];
    return {normal[0], normal[1], normal[2]};
}

/// Weighted by area; zero where nothing prevails.
Direction meanNormalOf(Result const& result) {
    Direction sum{};
    for (std::size_t pixel = 0; pixel < result.size(); ++pixel) {
        Direction const normal = normalAt(result, pixel);
        if (std::isfinite(normal[0])) {
            for (std::size_t axis = 0; axis < sum.size(); ++axis) {
                sum[axis] += result.areas[pixel] * normal[axis];
            }
        }
    }
    double const length = lengthOf(sum);
    return length > 0.0 ? scaled(sum, 1.0 / length) : Direction{};
}

template <class ValueOf>
void addValue(Result& result, std::string const& name, std::string const& unit, ValueOf valueOf) {
    ValueMap map;
    map.name = name;
    map.quantity = name;
    map.statistic = Statistic::Last;
    map.unit = unit;
    map.values.assign(result.size(), std::numeric_limits<double>::quiet_NaN());
    for (std::size_t pixel = 0; pixel < result.size(); ++pixel) {
        if (result.hasSurface(pixel)) {
            map.values[pixel] = valueOf(pixel);
        }
    }
    result.values.push_back(std::move(map));
}

} // namespace

std::array<double, 3> diagonalNormalOf(Patch const& patch, std::size_t u, std::size_t v) {
    Direction const a = between(nodeOf(patch, u, v), nodeOf(patch, u + 1, v + 1));
    Direction const b = between(nodeOf(patch, u + 1, v), nodeOf(patch, u, v + 1));
    Direction const normal{a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
    return scaled(normal, 1.0 / lengthOf(normal));
}

Result shapeOf(Grid const& grid, std::string const& name, std::string const& unit) {
    Result result = pixelsOf(grid, name, unit);
    double const medianArea = medianAreaOf(result);
    Direction const mean = meanNormalOf(result);
    std::size_t const width = result.width;
    addValue(result, "local scale", "",
             [&](std::size_t i) { return std::sqrt(result.areas[i] / medianArea); });
    addValue(result, "quad area", unit.empty() ? "" : unit + "\u00b2",
             [&](std::size_t i) { return result.areas[i]; });
    addValue(result, "side along u", unit,
             [&](std::size_t i) { return sideOf(result.patches.front(), i % width, i / width, true); });
    addValue(result, "side along v", unit,
             [&](std::size_t i) { return sideOf(result.patches.front(), i % width, i / width, false); });
    addValue(result, "angle to mean normal", "\u00b0", [&](std::size_t i) {
        double const cosine = std::clamp(dot(normalAt(result, i), mean), -1.0, 1.0);
        return std::acos(cosine) * 180.0 / std::numbers::pi;
    });
    return result;
}

} // namespace QELT::Inspection
