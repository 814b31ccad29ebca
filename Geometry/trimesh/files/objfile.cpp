#include "Geometry/foundations/internal/percentage.h"
#include "Geometry/trimesh/files/internal/meshpath.h"
#include "Geometry/trimesh/files/internal/textscanner.h"
#include "Geometry/trimesh/internal/stitching.h"
#include "Geometry/trimesh/mesh.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <span>
#include <stdexcept>
#include <string_view>

// An OBJ file is read in passes over its text: vertices, flat places, faces. The dialect is that of `fgetc`
// and `fscanf`: a record starts at any `v` or `f`, wherever it stands, whose numbers follow; a flat place at
// any `t` right behind a `v`. Lines, comments and names of groups mean nothing, so a word as "surface" costs
// a look at what follows its `f`, and "v" and "f" in front of three numbers in a comment are records. A face
// with slashes breaks off at its first slash and is skipped, like a face of fewer than three numbers; of
// more, three count.
//
// Numbers are rounded once, to float, whatever the locale (textscanner.h). Indices are 32-bit and count from
// 1; 0 and negative ones wrap round and are out of range. A face's first index is checked when it is read, so
// that a wrong one ends the pass, the others when all are read.
//
// Percentages need totals before the records are read: those are counted as the pairs of characters that
// usually start a record, so they may pass or never reach 100. Each vertex is added before its percentage is
// reported: a listener that throws leaves the vertices read until then. Room is made for no more vertices
// than the text can hold. Cost: four passes over the text, five and the way to the first flat place with a
// listener, and the stitching (stitching.cpp).

namespace QELT::Geometry::ThreeDimensional::TriMesh {

namespace {

struct FileCloser {
    void operator()(std::FILE* file) const { std::fclose(file); }
};

using File = std::unique_ptr<std::FILE, FileCloser>;

File openFile(char const* path) {
    File file(std::fopen(path, "rt"));
    if (file == nullptr) {
        throw std::runtime_error("Cannot open file");
    }
    return file;
}

std::string readText(std::FILE* file) {
    std::string text;
    std::array<char, 65536> block;
    while (std::size_t const length = std::fread(block.data(), 1, block.size(), file)) {
        text.append(block.data(), length);
    }
    return text;
}

/// How many characters `second` directly follow a `first`, and one for the end of the file.
std::uint64_t estimatePairs(TextScanner& scanner, char first, char second) {
    std::uint64_t count = 1;
    scanner.rewind();
    while (scanner.skipToPair(first, second)) {
        ++count;
    }
    return count;
}

std::uint64_t estimateCharacters(TextScanner& scanner, char wanted) {
    std::uint64_t count = 1;
    scanner.rewind();
    while (scanner.skipTo(wanted)) {
        ++count;
    }
    return count;
}

/// How many vertices to make room for: as many as seem to come, but no more than the text can hold.
std::size_t getRoomForVertices(TextScanner const& scanner, std::uint64_t estimate) {
    constexpr std::size_t shortestRecord = std::string_view("v0+0+0").size();
    return std::min<std::size_t>(estimate, scanner.getLength() / shortestRecord);
}

/// Hands over each point before its percentage is reported, so that it is kept if the listener throws.
template <class Take>
void readPoints(TextScanner& scanner, std::uint64_t estimate, ProgressListener* const& listener, Take take) {
    reportMessage(listener, "Reading 3D coordinates...");
    PercentageReporter progress(listener);
    std::uint64_t count = 0;
    scanner.rewind();
    while (scanner.skipTo('v')) {
        std::array<float, 3> c;
        if (scanner.scan(std::span<float>(c)) == 3) {
            take(Point(c[0], c[1], c[2]));
            progress.reportShare(++count, estimate);
        }
    }
    if (count == 0) {
        throw std::runtime_error("File does not contain 3D data");
    }
}

/// Gives the vertices their flat points, one by one, likewise. The result is how many were read.
std::size_t readFlatPoints(TextScanner& scanner, std::span<Vertex> vertices,
                           ProgressListener* const& listener) {
    scanner.rewind();
    if (listener != nullptr && scanner.skipToPair('v', 't')) {
        listener->setMessage("Reading 2D coordinates...");
    }
    PercentageReporter progress(listener);
    std::size_t count = 0;
    scanner.rewind();
    while (scanner.skipToPair('v', 't')) {
        std::array<float, 2> c;
        if (scanner.scan(std::span<float>(c)) == 2) {
            if (count < vertices.size()) {
                vertices[count].setPoint2D({c[0], c[1]});
            }
            progress.reportShare(++count, vertices.size());
        }
    }
    if (count != 0 && count != vertices.size()) {
        throw std::runtime_error("Invalid number of 2D coordinates");
    }
    return count;
}

std::vector<Face> readFaces(TextScanner& scanner, std::size_t vertexCount,
                            ProgressListener* const& listener) {
    reportMessage(listener, "Reading connectivity information...");
    std::uint64_t const estimate = listener != nullptr ? estimateCharacters(scanner, 'f') : 1;
    PercentageReporter progress(listener);
    std::vector<Face> faces;
    scanner.rewind();
    while (scanner.skipTo('f')) {
        std::array<std::int32_t, 3> c;
        if (scanner.scan(std::span<std::int32_t>(c)) != 3) {
            continue;
        }
        Face const face{static_cast<std::uint32_t>(c[0]) - 1U, static_cast<std::uint32_t>(c[1]) - 1U,
                        static_cast<std::uint32_t>(c[2]) - 1U};
        if (face[0] >= vertexCount) {
            throw std::runtime_error("Invalid vertex index");
        }
        faces.push_back(face);
        progress.reportShare(faces.size(), estimate);
    }
    return faces;
}

/// Reads the file into the mesh, up to its triangles. The result is whether it has a flat map.
bool readSurface(char const* path, std::string const& name, SurfaceBuilder const& builder,
                 ProgressListener* const& listener) {
    checkExtension(path);
    reportMessage(listener, ("Initialising file load: " + name + ".").c_str());
    builder.clear();
    TextScanner scanner(readText(openFile(path).get()));
    std::uint64_t const estimate = estimatePairs(scanner, 'v', ' ');
    builder.reserveVertices(getRoomForVertices(scanner, estimate));
    readPoints(scanner, estimate, listener, [&](Point const& point) { builder.addVertex(Vertex(point)); });
    std::size_t const vertexCount = builder.getVertices().size();
    std::size_t const flatCount = readFlatPoints(scanner, builder.getVertices(), listener);
    std::vector<Face> faces = readFaces(scanner, vertexCount, listener);
    reportMessage(listener, "Constructing triangle mesh...");
    checkFaces(faces, vertexCount);
    stitchFaces(builder, std::move(faces), listener);
    return flatCount == vertexCount;
}

} // namespace

FileContents Mesh::load(char const* path) {
    std::string const name(getNameWithExtension(path));
    fileName = getStem(name);
    bool const isFlattened = readSurface(path, name, getBuilder(), progressListener);
    clean();
    calculateVertexNormals();
    loadCutEdgeIndices(getPathBeside(path, getCutEdgeIndicesFileName(std::string(getStem(name)))),
                       cutEdgeIndices);
    return {true, isFlattened};
}

FileContents Mesh::load(char const* path, char const* cutPath) {
    std::string const name = std::filesystem::path(path).filename().string();
    fileName = getStem(name);
    bool const isFlattened = readSurface(path, name, getBuilder(), progressListener);
    clean();
    calculateVertexNormals();
    loadCutEdgeIndices(cutPath, cutEdgeIndices);
    return {true, isFlattened};
}

} // namespace QELT::Geometry::ThreeDimensional::TriMesh
