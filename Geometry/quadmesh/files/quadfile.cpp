#include "Geometry/foundations/internal/percentage.h"
#include "Geometry/quadmesh/files/internal/quadfilereader.h"
#include "Geometry/quadmesh/files/internal/quadfilewriter.h"
#include "Geometry/quadmesh/rectmesh.h"

#include <algorithm>
#include <iterator>
#include <stdexcept>

// A `.quads` file is a header of fixed size (magic, version, name, extents, areas, type of the coordinates),
// one flag byte for every node, and the points of the valid nodes, all little-endian. Version 0 has no type,
// bytes that tell valid nodes alone, and a point of three doubles for every node; it is read, not written.
//
// Writing: the areas are snapped first, if asked to, which changes the grid's own, since file and grid must
// tell the same. Points are written as `getPoint` shows them, so that a scaled grid is saved to scale. The
// header takes the first 127 bytes of the source name.
//
// Reading trusts the header: extents are taken as they stand, and the memory for them is asked for before any
// block is read. Nothing is compared with the file's length and there is no checksum, so that a file that
// ends early reads as zeros from there on, which is how interrupted copies still open. The numbers are taken
// byte by byte and not by the machine's order. Areas are those of the file, not measured. Version 0 knows no
// boundary: a valid node beside one that is not becomes boundary, every other one interior.
//
// Snapping: an area further from the target than the tolerance, a tenth as it stands, is replaced by the
// target, so that who reads the file meets no area far from the one that was asked for; a nearer one stays as
// measured. A larger tolerance would let more of what was measured through, a smaller one hide more of it.
//
// Cost: all nodes once or twice, row by row in large blocks; of a derived grid, node by node.

namespace QELT::Geometry::ThreeDimensional::QuadMesh {

namespace {

/// The path without directory and extension. Only a backslash separates directories.
std::string getBareName(std::string name) {
    std::size_t const separator = name.rfind('\\');
    if (separator != std::string::npos) {
        name.erase(0, separator + 1);
    }
    std::size_t const dot = name.rfind('.');
    if (dot != std::string::npos) {
        name.erase(dot);
    }
    return name;
}

/// The name up to the first zero byte, or the whole of the field.
std::string getNameIn(QuadFileHeader const& header) {
    return {std::begin(header.name), std::find(std::begin(header.name), std::end(header.name), '\0')};
}

/// What a file of the grid says of it. The last byte of the name stays zero.
QuadFileHeader makeFileHeader(RectMesh const& grid, std::string const& sourceName) {
    QuadFileHeader header;
    std::copy_n(sourceName.begin(), std::min(sourceName.size(), QuadFileHeader::nameSize - 1), header.name);
    header.extentU = toUInt32(grid.getExtents().getdU());
    header.extentV = toUInt32(grid.getExtents().getdV());
    header.version = writtenQuadFileVersion;
    header.meanQuadArea = grid.getMeanQuadArea();
    header.minQuadArea = grid.getMinQuadArea();
    header.maxQuadArea = grid.getMaxQuadArea();
    header.coordinateDataType =
        getCoordinateDataType<decltype(std::declval<ThreeDimensional::Point const&>().getX())>();
    return header;
}

/// The area, or the target where it is further from that than the tolerance, a share of the target.
double getSnapped(double area, double target, double tolerance) {
    bool const isOff = area < (1.0 - tolerance) * target || area > (1.0 + tolerance) * target;
    return isOff ? target : area;
}

/// Writes a grid in the blocks of a file. The owner's pointer to the listener is asked before every call.
void writeQuadFile(OutputFile& file, QuadFileWriter writer, QuadFileHeader const& header,
                   ProgressListener* const& listener) {
    writer.writeHeader(header);
    PercentageReporter progress(listener);
    reportMessage(listener, "Writing point flags...");
    writer.writeFlags(progress);
    reportMessage(listener, "Writing quad points...");
    progress.restart();
    writer.writePoints(header.coordinateDataType, progress);
    file.close();
}

/// Makes the flags that a file of version 0 does not have.
void markBoundaryAndInterior(RectMesh& grid) {
    forEachNode(grid.getExtents(), [&](TwoDimensional::Point<int> const& node) {
        if (grid.getIsPointValid(node)) {
            bool const isBoundary = grid.getIsBoundaryPoint(node);
            grid.setPointFlag(node, isBoundary ? RectMesh::Boundary : RectMesh::Interior, true);
        }
    });
}

} // namespace

void RectMesh::save(char const* path) {
    std::string const name = path;
    if (name.find(".quads") != std::string::npos) {
        OutputFile file = openGridOutput(name.c_str(), OutputFile::Mode::Binary);
        for (double* const area : {&meanQuadArea, &minQuadArea, &maxQuadArea}) {
            *area = doSnapQuadAreas ? getSnapped(*area, targetQuadArea, quadAreaTolerance) : *area;
        }
        writeQuadFile(file, {file, *this, [this] { return getNodes(); }}, makeFileHeader(*this, sourceName),
                      progressListener);
    } else if (name.find(".obj") != std::string::npos) {
        saveAsOBJ(name.c_str());
    } else {
        throw std::runtime_error("Unsupported file extension");
    }
    setFileName(name);
}

void RectMesh::readFileHeader(std::ifstream& stream, QuadFileHeader& header) {
    header = readQuadFileHeader(stream);
}

QuadFileHeader RectMesh::getFileHeader(char const* path) {
    std::ifstream stream = openGridInput(path);
    return readQuadFileHeader(stream);
}

void RectMesh::getFileHeaderItems(char const* path, unsigned long& extentU, unsigned long& extentV,
                                  double& meanArea, double& minArea, double& maxArea) {
    QuadFileHeader const header = getFileHeader(path);
    extentU = header.extentU;
    extentV = header.extentV;
    meanArea = header.meanQuadArea;
    minArea = header.minQuadArea;
    maxArea = header.maxQuadArea;
}

void RectMesh::load(char const* path) {
    std::ifstream stream = openGridInput(path);
    QuadFileHeader const header = readQuadFileHeader(stream);
    setFileName(getBareName(path));
    switch (header.version) {
    case 0:
        loadv0(header, stream);
        break;
    case 1:
        loadv1(header, stream);
        break;
    default:
        throw std::runtime_error("Unsupported .quad file version.");
    }
    calculateSearchPoints(quadsPerSearchPoint, numberOfSearchPointsU, numberOfSearchPointsV);
}

void RectMesh::loadv0(QuadFileHeader const& header, std::ifstream& stream) {
    init({header.extentU, header.extentV});
    meanQuadArea = header.meanQuadArea;
    minQuadArea = header.minQuadArea;
    maxQuadArea = header.maxQuadArea;
    QuadFileReader reader(stream, getNodes());
    reader.readFlags();
    reader.readPointsOfVersion0();
    markBoundaryAndInterior(*this);
}

void RectMesh::loadv1(QuadFileHeader const& header, std::ifstream& stream) {
    init({header.extentU, header.extentV});
    meanQuadArea = header.meanQuadArea;
    minQuadArea = header.minQuadArea;
    maxQuadArea = header.maxQuadArea;
    sourceName = getNameIn(header);
    QuadFileReader reader(stream, getNodes());
    reader.readFlags();
    reader.readPoints(header.coordinateDataType);
}

} // namespace QELT::Geometry::ThreeDimensional::QuadMesh
