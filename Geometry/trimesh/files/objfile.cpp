#include "Geometry/foundations/internal/percentage.h"
#include "Geometry/trimesh/files/internal/meshpath.h"
#include "Geometry/trimesh/files/internal/textscanner.h"
#include "Geometry/trimesh/internal/facestitcher.h"
#include "Geometry/trimesh/mesh.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <span>
#include <stdexcept>
#include <string_view>

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

} // namespace

FileContents Mesh::load(char const* path) {
    std::string const name(getNameWithExtension(path));
    std::string const cutName = getCutEdgeIndicesFileName(std::string(getStem(name)));
    return loadFrom(path, name, getPathBeside(path, cutName));
}

FileContents Mesh::load(char const* path, char const* cutPath) {
    return loadFrom(path, std::filesystem::path(path).filename().string(), cutPath);
}

FileContents Mesh::loadFrom(char const* path, std::string const& name, std::string const& cutPath) {
    fileName = getStem(name);
    checkExtension(path);
    reportMessage(progressListener, ("Initialising file load: " + name + ".").c_str());
    clear();
    TextScanner scanner(readText(openFile(path).get()));
    std::uint64_t const estimate = estimatePairs(scanner, 'v', ' ');
    vertices.reserve(getRoomForVertices(scanner, estimate));
    vertexTriangles.reserve(vertices.capacity());
    readPoints(scanner, estimate, progressListener, [this](Point const& point) {
        if (!addVertex(Vertex(point))) {
            throw std::runtime_error("Cannot add vertex");
        }
    });
    std::size_t const vertexCount = vertices.size();
    std::size_t const flatCount = readFlatPoints(scanner, vertices, progressListener);
    std::vector<Face> faces = readFaces(scanner, vertexCount, progressListener);
    reportMessage(progressListener, "Constructing triangle mesh...");
    checkFaces(faces, vertexCount);
    FaceStitcher(*this, std::move(faces)).run();
    clean();
    calculateVertexNormals();
    loadCutEdgeIndices(cutPath, cutEdgeIndices);
    return {true, flatCount == vertexCount};
}

} // namespace QELT::Geometry::ThreeDimensional::TriMesh
