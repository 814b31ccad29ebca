#include "Inspection/planning/internal/chart.h"

#include "Inspection/records/failure.h"
#include "Inspection/results/pixels.h"

#include <cmath>

namespace QELT::Inspection {

Result usablePixelsOf(Grid const& grid, bool doFlipNormals) {
    require(grid.getOffset().getIsNull(), "a path is laid over a grid without an offset");
    Result pixels = pixelsOf({{"grid", &grid, doFlipNormals}});
    for (std::size_t i = 0; i < pixels.size(); ++i) {
        bool isUsable = std::isfinite(pixels.areas[i]);
        for (std::size_t axis = 0; axis < 3; ++axis) {
            isUsable = isUsable && std::isfinite(pixels.points[3 * i + axis]) &&
                       std::isfinite(pixels.normals[3 * i + axis]);
        }
        if (!isUsable) {
            pixels.states[i] = PixelState::NoSurface;
            pixels.areas[i] = 0.0;
        }
    }
    return pixels;
}

Chart::Chart(Grid const& newGrid, Result const& newPixels, PathAxis newAlong)
    : grid(newGrid), pixels(newPixels), isAlongU(newAlong == PathAxis::AlongU) {}

Vector Chart::nodeAt(std::size_t a, std::size_t b) const {
    auto const first = static_cast<int>(a);
    auto const second = static_cast<int>(b);
    Point const point = grid.getPoint(isAlongU ? GridIndex(first, second) : GridIndex(second, first));
    return Vector(point.getX(), point.getY(), point.getZ());
}

std::optional<std::size_t> Chart::rowOf(std::size_t a, double b) const {
    auto const row = static_cast<std::size_t>(std::floor(b));
    if (hasQuad(a, row)) {
        return row;
    }
    bool const isBetweenRows = static_cast<double>(row) == b;
    return isBetweenRows && row > 0 && hasQuad(a, row - 1) ? std::optional(row - 1) : std::nullopt;
}

Vector Chart::pointIn(std::size_t quadA, std::size_t quadB, double a, double b) const {
    double const shareA = a - static_cast<double>(quadA);
    double const shareB = b - static_cast<double>(quadB);
    Vector const low = nodeAt(quadA, quadB);
    Vector const high = nodeAt(quadA + 1, quadB + 1);
    // The diagonal goes from the low corner to the high one, along whichever axis the lines run.
    if (shareA >= shareB) {
        Vector const corner = nodeAt(quadA + 1, quadB);
        return low + (corner - low) * shareA + (high - corner) * shareB;
    }
    Vector const corner = nodeAt(quadA, quadB + 1);
    return low + (corner - low) * shareB + (high - corner) * shareA;
}

std::optional<double> Chart::stepAcross(std::size_t a, std::size_t b) const {
    if (!hasQuad(a, b) && (a == 0 || !hasQuad(a - 1, b))) {
        return std::nullopt;
    }
    return std::sqrt((nodeAt(a, b + 1) - nodeAt(a, b)).lSqr());
}

} // namespace QELT::Inspection
