#pragma once

#include "Geometry/foundations/point.h"
#include "Geometry/quadmesh/rectmesh.h"

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

/// Grids of many kinds for tests that run over families. All are made through `init` and `setPoint`, never
/// from a file or through a formula of the library, and the same arguments give the same grid everywhere.
/// Grids come by value: copies share their rows, so a test that changes nodes of a copy changes both; assign
/// to a default-constructed grid to get rows of its own.
namespace QELT::Testing {

using Geometry::ThreeDimensional::QuadMesh::RectMesh;
using SpacePoint = Geometry::ThreeDimensional::Point;
using GridIndex = Geometry::TwoDimensional::Point<int>;

/// The place of node (u, v).
using Surface = std::function<SpacePoint(int u, int v)>;

struct GridFamily {
    std::string name;
    RectMesh grid;
};

/// A grid with every node valid, flagged `Valid` alone, areas and search points settled. The extents are the
/// highest indices: (n, m) gives (n + 1) x (m + 1) nodes and n x m quads.
RectMesh makeGrid(std::uint32_t extentU, std::uint32_t extentV, Surface const& surface);

/// Recomputes the stored areas and the search points after nodes were changed by hand.
void settle(RectMesh& grid);

/// \name Surfaces, all nodes valid
///@{

/// (u, v, 0) times `spacing`.
RectMesh flatGrid(std::uint32_t extentU, std::uint32_t extentV, double spacing = 1.0);

/// A parallelogram grid in a plane with no axis along it.
RectMesh tiltedPlaneGrid(std::uint32_t extentU, std::uint32_t extentV);

/// An arc of 2.4 radians around the y axis, u around it and v along it.
RectMesh cylinderGrid(std::uint32_t extentU, std::uint32_t extentV, double radius);

/// The part z > 0 of a sphere around the origin over a square of 1.2 times the radius, normals outward.
RectMesh spherePatchGrid(std::uint32_t extentU, std::uint32_t extentV, double radius);

/// A field of smooth waves over the unit lattice.
RectMesh wavyGrid(std::uint32_t extentU, std::uint32_t extentV, double amplitude);

/// The unit lattice with every coordinate moved by up to `amplitude`.
RectMesh noisyGrid(std::uint32_t extentU, std::uint32_t extentV, double amplitude, std::uint32_t seed);

/// The wavy field at (1e6, -2e6, 5e5): its own shape is near the resolution of the floats.
RectMesh hugeOffsetGrid(std::uint32_t extentU, std::uint32_t extentV);

/// The wavy field scaled by 1e-7.
RectMesh tinyScaleGrid(std::uint32_t extentU, std::uint32_t extentV);

/// The unit lattice with heights of 1 and 2^60, of either sign: the ones are lost in sums or not, as the
/// order is.
RectMesh mixedMagnitudesGrid(std::uint32_t extentU, std::uint32_t extentV, std::uint32_t seed);

/// The wavy field with some rows and columns repeated (quads of no area) and some nodes moved onto their
/// neighbours (quads with a triangle of no area).
RectMesh degenerateGrid(std::uint32_t extentU, std::uint32_t extentV, std::uint32_t seed);

///@}
/// \name Holes, made by clearing `Valid` (all flags of the node) and settling again
///@{

/// Clears the nodes from `low` to `high`, both included; nodes out of range are ignored.
void punchHole(RectMesh& grid, GridIndex const& low, GridIndex const& high);

/// One hole in the middle third.
void punchMiddle(RectMesh& grid);

/// A chequer of holes of three by three nodes.
void punchMany(RectMesh& grid);

/// Clears each node with probability `share`.
void punchSpeckles(RectMesh& grid, double share, std::uint32_t seed);

///@}

/// Gives every valid node one of the flag bytes that occur in practice: `Valid` with nothing, `Interior`,
/// `Boundary`, or `Boundary` and `CutBoundary`; and every invalid node 0.
void scatterFlags(RectMesh& grid, std::uint32_t seed);

/// All the kinds above, some 25 grids of up to about 40 x 40 quads, with single rows, single columns, one
/// node, no valid node and no quad among them.
std::vector<GridFamily> gridFamilies(std::uint32_t seed);

/// The ones among them that have a quad.
std::vector<GridFamily> gridFamiliesWithQuads(std::uint32_t seed);

/// Grids from no quad to six by six, with some nodes missing, of coordinates that ask for care: zeros of both
/// signs, whole numbers, so that many are equal, the smallest and the largest floats and, where the name says
/// so, infinities and NaNs.
std::vector<GridFamily> wildGridFamilies(std::uint32_t seed);

/// A grid that shows its stored points stretched, sheared and moved.
class ShearedGrid : public RectMesh {
public:
    SpacePoint getPoint(GridIndex const& p) const override {
        SpacePoint const stored = RectMesh::getPoint(p);
        return {1.5 * stored.getX() + 0.25 * stored.getZ() - 3.0, stored.getY() - 0.5 * stored.getX(),
                0.75 * stored.getZ() + 0.125 * stored.getY() + 7.0};
    }
};

} // namespace QELT::Testing
