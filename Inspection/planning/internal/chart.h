#pragma once

#include "Inspection/names.h"
#include "Inspection/planning/path.h"
#include "Inspection/results/result.h"

#include <cstddef>
#include <optional>
#include <vector>

namespace QELT::Inspection {

/// The pixels of a grid, of which those without numbers for an area or a normal have no surface.
Result usablePixelsOf(Grid const& grid, bool doFlipNormals);

/// A grid with coordinates (a, b), in quads: a along the lines of a path, b across them.
class Chart {
public:
    /// Both outlive the chart.
    Chart(Grid const& newGrid, Result const& newPixels, PathAxis newAlong);

    std::size_t width() const { return isAlongU ? pixels.width : pixels.height; }

    std::size_t height() const { return isAlongU ? pixels.height : pixels.width; }

    bool hasQuad(std::size_t a, std::size_t b) const {
        return a < width() && b < height() && pixels.hasSurface(pixelOf(a, b));
    }

    std::size_t pixelOf(std::size_t a, std::size_t b) const {
        return isAlongU ? pixels.indexOf(a, b) : pixels.indexOf(b, a);
    }

    Vector nodeAt(std::size_t a, std::size_t b) const;

    /// The row of quads on which the surface is at b in the column of quads a; between two rows the upper one
    /// that has a quad.
    std::optional<std::size_t> rowOf(std::size_t a, double b) const;

    /// A point in a quad, on the triangle that the beam search would meet.
    Vector pointIn(std::size_t quadA, std::size_t quadB, double a, double b) const;

    /// How long the surface is between the nodes (a, b) and (a, b + 1); nothing if it is not there.
    std::optional<double> stepAcross(std::size_t a, std::size_t b) const;

private:
    Grid const& grid;
    Result const& pixels;
    bool isAlongU;
};

} // namespace QELT::Inspection
