#pragma once

#include "Inspection/export.h"
#include "Inspection/names.h"
#include "Inspection/scanning/hit.h"

#include <cstddef>
#include <vector>

namespace QELT::Inspection {

/// What is known of one quad.
struct Cell {
    /// Whether there is a value.
    enum Kind : int { NoSurface, NoValue, Measured };

    Kind kind = NoSurface;
    double value = 0.0; ///< only where measured
};

/// A value for each quad of a grid: the C-scan before it becomes a picture. Rows run along u, row 0 is v = 0.
class QELT_INSPECTION_EXPORT QuadMap {
public:
    /// Every quad without surface.
    QuadMap(std::size_t width, std::size_t height);

    std::size_t getWidth() const { return width; }

    std::size_t getHeight() const { return height; }

    /// The quad between nodes (u, v) and (u + 1, v + 1).
    Cell const& at(std::size_t u, std::size_t v) const { return cells[v * width + u]; }

    /// The same, to be changed.
    Cell& at(std::size_t u, std::size_t v) { return cells[v * width + u]; }

    /// The measured values, row by row.
    std::vector<double> values() const;

    /// A map in which a cell stands for `factor` by `factor` quads: the mean of those that are measured;
    /// without one, surface if any of them has it. What is left over at the ends of rows and columns makes
    /// cells of its own.
    QuadMap averaged(std::size_t factor) const;

private:
    std::size_t width;
    std::size_t height;
    std::vector<Cell> cells;

    Cell averageOfBlock(std::size_t left, std::size_t bottom, std::size_t factor) const;
};

/// The three C-scans of a scan, each on the grid's own quads. A quad that was hit several times shows the
/// mean. Hits that the core did not measure count nowhere, nor does one from behind on a quad that was hit
/// from the front too: it came through a gap, such as the slit of a tube.
struct QuadMaps {
    QuadMap distance;   ///< in the part's unit
    QuadMap angleError; ///< degrees off head-on
    QuadMap coverage;   ///< number of hits; 0 on surface that no beam met
};

/// The quads that a grid has, without values.
QELT_INSPECTION_EXPORT QuadMap surfaceMapOf(Grid const& grid);

/// On the quads of `surface`; hits beside it count nowhere.
QELT_INSPECTION_EXPORT QuadMaps quadMapsOf(QuadMap const& surface, std::vector<Hit> const& hits);
QELT_INSPECTION_EXPORT QuadMaps quadMapsOf(Grid const& grid, std::vector<Hit> const& hits);

} // namespace QELT::Inspection
