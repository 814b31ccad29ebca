#include "Geometry/quadmesh/rectmesh.h"

#include "Geometry/quadmesh/internal/nodes.h"
#include "Geometry/quadmesh/internal/quadreader.h"

#include <algorithm>
#include <atomic>
#include <stdexcept>

namespace QELT::Geometry::ThreeDimensional::QuadMesh {

namespace {

/// Nodes in a megabyte at 25 bytes each.
constexpr std::uint32_t nodesPerMB = 41943;

Nodes makeCopy(Nodes const& source) {
    std::size_t const nodesU = source.extentU + std::size_t{1};
    return makeNodes({source.extentU, source.extentV}, [&](std::uint32_t v, Point* points, char* flags) {
        constructCopies(source.points[v].get(), source.flags[v].get(), nodesU, points, flags);
    });
}

} // namespace

std::uint32_t RectMesh::creationCount = 0;
std::uint32_t RectMesh::maxDoNMoreTimes = 0;
std::uint32_t RectMesh::searchDivideByNTimes = 4;

RectMesh::RectMesh()
    : fileName("Unnamed" + std::to_string(std::atomic_ref(creationCount).fetch_add(1U) + 1U) + ".quads") {}

RectMesh::~RectMesh() = default;

RectMesh& RectMesh::operator=(RectMesh const& other) {
    if (this == &other) {
        return *this;
    }
    uninit();
    if (other.getHasRows()) {
        numberOfSearchPointsU = 1;
        numberOfSearchPointsV = 1;
        setNodes(makeCopy(other.getNodes()));
    }
    meanQuadArea = other.meanQuadArea;
    minQuadArea = other.minQuadArea;
    maxQuadArea = other.maxQuadArea;
    doResetSearch = other.doResetSearch;
    doFlipNormals = other.doFlipNormals;
    doFlipUAxis = other.doFlipUAxis;
    doFlipVAxis = other.doFlipVAxis;
    lastQuadIndices = other.lastQuadIndices;
    numberOfSearchPointsU = other.numberOfSearchPointsU;
    numberOfSearchPointsV = other.numberOfSearchPointsV;
    fileName = other.fileName;
    calculateSearchPoints(quadsPerSearchPoint, numberOfSearchPointsU, numberOfSearchPointsV);
    return *this;
}

void RectMesh::init(TwoDimensional::Vector<unsigned long> const& newExtents) {
    uninit();
    numberOfSearchPointsU = 1;
    numberOfSearchPointsV = 1;
    setNodes(makeNodes(newExtents));
}

Nodes RectMesh::getNodes() const {
    return {points, flags, extents.u, extents.v};
}

void RectMesh::setNodes(Nodes const& nodes) {
    uninit();
    points = nodes.points;
    flags = nodes.flags;
    extents = {nodes.extentU, nodes.extentV};
}

void RectMesh::uninit() {
    points.reset();
    flags.reset();
    extents = {};
    meanQuadArea = 0.0;
    minQuadArea = 0.0;
    maxQuadArea = 0.0;
}

ThreeDimensional::Point RectMesh::getPoint(TwoDimensional::Point<int> const& p) const {
    return points[p.getV()][static_cast<std::size_t>(p.getU())];
}

void RectMesh::setPoint(TwoDimensional::Point<int> const& p, ThreeDimensional::Point const& point) {
    points[p.getV()][static_cast<std::size_t>(p.getU())] = point;
    setPointFlag(p, Valid, true);
}

std::shared_ptr<ThreeDimensional::Point const> RectMesh::getRow(unsigned long v) const {
    std::uint32_t const row = toUInt32(v);
    if (!getHasRows() || row > extents.v) {
        return nullptr;
    }
    return {points, points[row].get()};
}

bool RectMesh::getIsPointInBounds(TwoDimensional::Point<int> const& p) const {
    return p.getU() >= 0 && p.getU() <= static_cast<int>(extents.u) && p.getV() >= 0 &&
           p.getV() <= static_cast<int>(extents.v);
}

bool RectMesh::getPointFlag(TwoDimensional::Point<int> const& p, PointFlagID id) const {
    return getFlag(getPointFlags(p), id);
}

char RectMesh::getPointFlags(TwoDimensional::Point<int> const& p) const {
    if (!getIsPointInBounds(p) || !getHasRows()) {
        return 0;
    }
    return flags[p.getV()][static_cast<std::size_t>(p.getU())];
}

void RectMesh::setPointFlag(TwoDimensional::Point<int> const& p, PointFlagID id, bool value) {
    setPointFlags(p, setFlag(getPointFlags(p), id, value));
}

void RectMesh::setPointFlags(TwoDimensional::Point<int> const& p, char newFlags) {
    if (getIsPointInBounds(p) && getHasRows()) {
        flags[p.getV()][static_cast<std::size_t>(p.getU())] = newFlags;
    }
}

bool RectMesh::getFlag(char flagByte, PointFlagID id) const {
    return getHasFlag(flagByte, id);
}

char RectMesh::setFlag(char flagByte, PointFlagID id, bool value) const {
    unsigned const bit = 1U << id;
    unsigned const byte = static_cast<unsigned char>(flagByte);
    return static_cast<char>(value ? byte | bit : byte & ~bit);
}

bool RectMesh::getIsQuadValid(TwoDimensional::Point<int> const& p) const {
    return getQuadReader().getIsValid(p);
}

bool RectMesh::getIsBoundaryPoint(TwoDimensional::Point<int> const& p) const {
    if (!getIsPointValid(p)) {
        return false;
    }
    std::array<TwoDimensional::Vector<int>, 4> const steps{{{1, 0}, {-1, 0}, {0, 1}, {0, -1}}};
    return std::any_of(steps.begin(), steps.end(), [&](TwoDimensional::Vector<int> const& step) {
        return getIsPointInBounds(p + step) && !getIsPointValid(p + step);
    });
}

bool RectMesh::getIsInteriorNonExtendedPoint(TwoDimensional::Point<int> const& p) const {
    return getIsPointValid(p) && (getPointFlag(p, Interior) || getPointFlag(p, Boundary));
}

TwoDimensional::Vector<unsigned long> RectMesh::getExtents() const {
    return {extents.u, extents.v};
}

void RectMesh::setAxisFlipFlags(bool u, bool v) {
    doFlipUAxis = u;
    doFlipVAxis = v;
}

std::string RectMesh::getShortFileName() const {
    std::string const& name = fileName;
    std::size_t const separator = name.rfind('\\');
    return separator == std::string::npos ? name : name.substr(separator);
}

std::uint32_t RectMesh::getNumberOfMBs(unsigned long u, unsigned long v) {
    return (toUInt32(u) + 1U) * (toUInt32(v) + 1U) / nodesPerMB;
}

Edge RectMesh::getBoundaryEdge() {
    return getInnerBoundaryEdge(0);
}

Edge RectMesh::getInnerBoundaryEdge(std::uint32_t margin) {
    // The scan goes up to the u extent in both directions; rows past the grid have no quads to offer.
    std::uint32_t const rows = std::min(extents.u, extents.v) - 2U * margin;
    for (std::uint32_t v = margin; v <= margin + rows; ++v) {
        for (std::uint32_t u = margin; u <= extents.u - margin; ++u) {
            TwoDimensional::Point<int> const node(static_cast<int>(u), static_cast<int>(v));
            if (!getIsQuadValid(node)) {
                continue; // all four edges of the walk have this quad on their left
            }
            Edge edge = getVertexArbitraryEdge(node);
            for (int side = 0; side < 4; ++side) {
                edge = edge.rot();
                if (edge.isBoundary()) {
                    return edge;
                }
            }
        }
    }
    throw std::runtime_error("No boundary found");
}

} // namespace QELT::Geometry::ThreeDimensional::QuadMesh
