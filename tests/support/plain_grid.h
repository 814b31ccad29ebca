#pragma once

#include "Geometry/quadmesh/rectmesh.h"

#include <cstdint>
#include <optional>
#include <vector>

/// A grid as plain arrays, and the questions about its nodes and quads answered one step after the other:
/// slow, and independent of the library's points, vectors and grids. Every rounding to `float` is written
/// out.
namespace QELT::Testing {

struct PlainPoint {
    float x = 0.0F;
    float y = 0.0F;
    float z = 0.0F;
};

struct PlainVector {
    double x = 0.0;
    double y = 0.0;
    double z = 0.0;
};

/// A node, a quad (by its low corner) or a step on the grid. Sums wrap around modulo 2^32.
struct PlainIndex {
    std::int32_t u = 0;
    std::int32_t v = 0;

    bool operator==(PlainIndex const&) const = default;
};

PlainIndex operator+(PlainIndex const& a, PlainIndex const& b);
PlainIndex operator-(PlainIndex const& a, PlainIndex const& b);

struct PlainBox {
    PlainPoint p;
    PlainVector d;
};

struct PlainAreas {
    double max = 0.0;
    double mean = 0.0;
    double min = 0.0;
};

struct PlainSearchPoints {
    std::uint32_t countU = 0;
    std::uint32_t countV = 0;
    std::vector<PlainIndex> quads;
};

/// A directed step on the grid; the orientation counts quarter turns from +u.
struct PlainEdge {
    PlainIndex origin;
    int orientation = 0;

    bool operator==(PlainEdge const&) const = default;

    PlainIndex getStep() const;

    PlainIndex getEnd() const { return origin + getStep(); }
};

/// \name Arithmetic: points are floats, vectors are doubles
///@{

float plainNarrowed(double value);

/// Each coordinate's difference in floats, then widened.
PlainVector plainDifference(PlainPoint const& a, PlainPoint const& b);

/// Each coordinate widened, the component added, the sum narrowed once.
PlainPoint plainMoved(PlainPoint const& p, PlainVector const& step);

PlainVector plainSum(PlainVector const& a, PlainVector const& b);
PlainVector plainDifference(PlainVector const& a, PlainVector const& b);
PlainVector plainScaled(double factor, PlainVector const& a);
PlainVector plainDivided(PlainVector const& a, double divisor);
PlainVector plainCross(PlainVector const& a, PlainVector const& b);

/// (y + x) + z.
double plainDot(PlainVector const& a, PlainVector const& b);

/// Squared distance in single precision, summed (y + x) + z.
double plainDistanceSqr(PlainPoint const& a, PlainPoint const& b);

/// The nearest whole number, halves upward, then cut to 32 bits: beyond the range its end, NaN 0.
std::int32_t plainRounded(double value);

std::int32_t plainWrappedSum(std::int32_t a, std::int32_t b);
std::int32_t plainWrappedDifference(std::int32_t a, std::int32_t b);
std::int32_t plainWrappedProduct(std::int32_t a, std::int32_t b);

///@}

struct PlainGrid {
    /// Highest indices; there are (`highestU` + 1) * (`highestV` + 1) nodes, row by row, unless there are
    /// none.
    std::uint32_t highestU = 0;
    std::uint32_t highestV = 0;
    std::vector<PlainPoint> points;
    std::vector<unsigned char> flags;

    std::size_t getNode(PlainIndex const& p) const;

    /// The point of a node of the grid; fails the process if there is no such node.
    PlainPoint getPoint(PlainIndex const& p) const;
    bool getIsInBounds(PlainIndex const& p) const;
    bool getIsPointValid(PlainIndex const& p) const;
    bool getIsQuadValid(PlainIndex const& p) const;
    bool getIsBoundaryPoint(PlainIndex const& p) const;
    bool getIsInteriorNonExtendedPoint(PlainIndex const& p) const;

    /// The edges of the quad from its low corner, along u and along v.
    PlainVector getEdgeU(PlainIndex const& p) const;
    PlainVector getEdgeV(PlainIndex const& p) const;

    /// Corner 0, 1 or 2 of fan triangle `index` at distance `step`.
    PlainIndex getFanCorner(PlainIndex const& p, unsigned index, int step, int corner) const;
    PlainVector getFanNormal(PlainIndex const& p, unsigned index) const;
    PlainVector getTriangleNormal(PlainIndex const& p, bool lower) const;
    PlainVector getPointUnitNormal(PlainIndex const& p) const;
    PlainPoint getMeanQuadPoint(PlainIndex const& p) const;
    double getQuadArea(PlainIndex const& p) const;
    PlainAreas getAreas() const;
    PlainBox getBoundingBox() const;

    /// For a grid with quads to divide, i.e. both extents at least 1.
    PlainSearchPoints getSearchPoints(std::uint32_t quadsPerPoint) const;
    std::optional<PlainEdge> getBoundaryEdge() const;

    bool getIsEdgeOnQuad(PlainEdge const& edge) const;
    bool getIsEdgeOnBoundary(PlainEdge const& edge) const;

    /// From one boundary edge to the next: turn round, then sweep clockwise about the node.
    PlainEdge getNextBoundaryEdge(PlainEdge const& edge) const;
};

/// What the grid shows: every node through its virtual `getPoint`, every flag byte.
PlainGrid plainGridOf(Geometry::ThreeDimensional::QuadMesh::RectMesh const& grid);

} // namespace QELT::Testing
