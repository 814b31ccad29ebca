#pragma once

#include "tests/support/plain_grid.h"

#include <array>
#include <cstdint>

/// Derived grids, node by node. `shown` is the source with the points that it shows (`plainGridOf`), `stored`
/// one with the points that it stores.
namespace QELT::Testing {

PlainGrid plainFlattened(PlainGrid const& shown, double meanQuadArea);

/// Centred on the origin with `size` as the largest side of the box.
PlainGrid plainNormalised(PlainGrid const& shown, double size);

/// Every valid point at `scale` (P + `shift`).
PlainGrid plainNormalised(PlainGrid const& shown, double scale, PlainVector const& shift);

/// The power of two by which node distances grow until at most `value` quads are left.
std::uint32_t plainSampleStep(PlainGrid const& shown, std::uint32_t value);

/// Every `step`-th node.
PlainGrid plainSubSampled(PlainGrid const& shown, std::uint32_t step);

/// The nodes from `low` to `low` + (dU, dV), which may lie outside the source.
PlainGrid plainRestricted(PlainGrid const& shown, PlainIndex const& low, std::uint32_t dU, std::uint32_t dV);

/// The valid nodes with a point in the closed box, in a ring of empty ones.
PlainGrid plainRestricted(PlainGrid const& shown, PlainBox const& box);

/// A 3 x 3 matrix by rows and a translation.
struct PlainAffineMap {
    std::array<double, 9> matrix{};
    PlainVector translation;
};

/// Every valid stored point P becomes `origin` + map(P - `origin`).
PlainGrid plainTransformed(PlainGrid const& stored, PlainPoint const& origin, PlainAffineMap const& map);

/// The reflection through the plane normal to axis number `normal` (0 x, 1 y, 2 z; any other: the identity).
PlainAffineMap plainReflection(int normal);

/// Rows, columns end for end; flags and points of nodes that are not valid go along.
PlainGrid plainWithRowsReversed(PlainGrid const& grid);
PlainGrid plainWithColumnsReversed(PlainGrid const& grid);

} // namespace QELT::Testing
