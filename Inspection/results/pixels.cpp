#include "Inspection/results/pixels.h"

#include "Inspection/grids/quadsizes.h"
#include "Inspection/records/failure.h"

#include <algorithm>
#include <cmath>

namespace QELT::Inspection {

namespace {

using GridStep = QELT::Geometry::TwoDimensional::Vector<int>;

constexpr float nan = std::numeric_limits<float>::quiet_NaN();

/// A grid whose nodes are yet to be set.
class EmptyGrid : public Grid {
public:
    EmptyGrid(std::size_t width, std::size_t height) { init({width, height}); }
};

Patch patchOf(NamedGrid const& named) {
    Grid const& grid = *named.grid;
    Patch patch;
    patch.name = named.name;
    patch.left = static_cast<std::size_t>(grid.getOffset().getdU());
    patch.bottom = static_cast<std::size_t>(grid.getOffset().getdV());
    patch.width = grid.getExtents().getdU();
    patch.height = grid.getExtents().getdV();
    patch.nodes.reserve(3 * (patch.width + 1) * (patch.height + 1));
    for (int v = 0; v <= static_cast<int>(patch.height); ++v) {
        for (int u = 0; u <= static_cast<int>(patch.width); ++u) {
            GridIndex const node(u, v);
            Point const point = grid.getIsPointValid(node) ? grid.getPoint(node) : Point(nan, nan, nan);
            patch.nodes.insert(patch.nodes.end(), {point.getX(), point.getY(), point.getZ()});
        }
    }
    return patch;
}

void makeRoom(Result& result) {
    std::size_t const size = result.size();
    result.patch.assign(size, 0);
    result.states.assign(size, PixelState::NoSurface);
    result.counts.assign(size, 0);
    result.refused.assign(size, 0);
    result.areas.assign(size, 0.0);
    result.points.assign(3 * size, nan);
    result.normals.assign(3 * size, nan);
    result.filledFrom.assign(size, Result::none);
}

/// The sum of both triangles' normals, each as long as twice its area; as far as they are numbers.
Vector normalOf(NamedGrid const& named, GridIndex const& quad) {
    Vector sum(0.0, 0.0, 0.0);
    for (bool const isLower : {true, false}) {
        Vector const normal = named.grid->getQuadNormalVector(quad, isLower);
        if (std::isfinite(normal.lSqr())) {
            sum += normal;
        }
    }
    double const length = std::sqrt(sum.lSqr());
    return sum * ((named.doFlipNormals ? -1.0 : 1.0) / length);
}

Point centreOf(Grid const& grid, GridIndex const& quad) {
    Point const low = grid.getPoint(quad);
    Vector const others = (grid.getPoint(quad + GridStep(1, 0)) - low) +
                          (grid.getPoint(quad + GridStep(1, 1)) - low) +
                          (grid.getPoint(quad + GridStep(0, 1)) - low);
    return low + others / 4.0;
}

void setPixel(Result& result, std::size_t pixel, NamedGrid const& named, GridIndex const& quad) {
    Grid const& grid = *named.grid;
    Point const centre = centreOf(grid, quad);
    Vector const normal = normalOf(named, quad);
    double const area = quadAreaOf(grid, quad);
    result.states[pixel] = PixelState::NotReached;
    result.areas[pixel] = std::isfinite(area) ? area : 0.0;
    result.points[3 * pixel] = centre.getX();
    result.points[3 * pixel + 1] = centre.getY();
    result.points[3 * pixel + 2] = centre.getZ();
    result.normals[3 * pixel] = static_cast<float>(normal.getdX());
    result.normals[3 * pixel + 1] = static_cast<float>(normal.getdY());
    result.normals[3 * pixel + 2] = static_cast<float>(normal.getdZ());
}

void addPixels(Result& result, std::size_t number, NamedGrid const& named) {
    Patch const& patch = result.patches[number];
    for (std::size_t v = 0; v < patch.height; ++v) {
        for (std::size_t u = 0; u < patch.width; ++u) {
            GridIndex const quad(static_cast<int>(u), static_cast<int>(v));
            std::size_t const pixel = result.indexOf(patch.left + u, patch.bottom + v);
            if (!result.hasSurface(pixel) && named.grid->getIsQuadValid(quad)) {
                setPixel(result, pixel, named, quad);
                result.patch[pixel] = static_cast<std::uint16_t>(number);
            }
        }
    }
}

} // namespace

Result pixelsOf(std::vector<NamedGrid> const& grids) {
    require(grids.size() <= std::numeric_limits<std::uint16_t>::max(), "there are too many grids");
    Result result;
    for (NamedGrid const& grid : grids) {
        result.patches.push_back(patchOf(grid));
        Patch const& patch = result.patches.back();
        result.width = std::max(result.width, patch.left + patch.width);
        result.height = std::max(result.height, patch.bottom + patch.height);
    }
    makeRoom(result);
    for (std::size_t i = 0; i < grids.size(); ++i) {
        addPixels(result, i, grids[i]);
    }
    return result;
}

std::unique_ptr<Grid> gridOf(Patch const& patch) {
    auto grid = std::make_unique<EmptyGrid>(patch.width, patch.height);
    grid->setOffset(GridStep(static_cast<int>(patch.left), static_cast<int>(patch.bottom)));
    for (std::size_t v = 0; v <= patch.height; ++v) {
        for (std::size_t u = 0; u <= patch.width; ++u) {
            GridIndex const node(static_cast<int>(u), static_cast<int>(v));
            Point const point = patch.nodeAt(u, v);
            bool const isValid =
                std::isfinite(point.getX()) && std::isfinite(point.getY()) && std::isfinite(point.getZ());
            grid->setPoint(node, isValid ? point : Point());
            grid->setPointValidity(node, isValid);
        }
    }
    return grid;
}

} // namespace QELT::Inspection
