#include "Geometry/foundations/percentage.h"
#include "Geometry/trimesh/facestitcher.h"
#include "Geometry/trimesh/internal/meshpath.h"
#include "Geometry/trimesh/mesh.h"
#include "Geometry/trimesh/textscanner.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <filesystem>
#include <memory>
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

std::vector<Point> readPoints(TextScanner& scanner, ProgressListener* const& listener) {
    std::uint64_t const estimate = listener != nullptr ? estimatePairs(scanner, 'v', ' ') : 1;
    reportMessage(listener, "Reading 3D coordinates...");
    PercentageReporter progress(listener);
    std::vector<Point> points;
    scanner.rewind();
    while (scanner.skipTo('v')) {
        std::array<float, 3> c;
        if (scanner.scan(std::span<float>(c)) == 3) {
            points.emplace_back(c[0], c[1], c[2]);
            progress.reportShare(points.size(), estimate);
        }
    }
    if (points.empty()) {
        throw std::runtime_error("File does not contain 3D data");
    }
    return points;
}

std::vector<TwoDimensional::Point<double>> readFlatPoints(TextScanner& scanner, std::size_t vertexCount,
                                                          ProgressListener* const& listener) {
    scanner.rewind();
    if (listener != nullptr && scanner.skipToPair('v', 't')) {
        listener->setMessage("Reading 2D coordinates...");
    }
    PercentageReporter progress(listener);
    std::vector<TwoDimensional::Point<double>> points;
    scanner.rewind();
    while (scanner.skipToPair('v', 't')) {
        std::array<float, 2> c;
        if (scanner.scan(std::span<float>(c)) == 2) {
            points.emplace_back(c[0], c[1]);
            progress.reportShare(points.size(), vertexCount);
        }
    }
    return points;
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
    for (Point const& point : readPoints(scanner, progressListener)) {
        if (!addVertex(Vertex(point))) {
            throw std::runtime_error("Cannot add vertex");
        }
    }
    std::size_t const vertexCount = vertices.size();
    auto const flatPoints = readFlatPoints(scanner, vertexCount, progressListener);
    for (std::size_t v = 0; v < std::min(flatPoints.size(), vertexCount); ++v) {
        vertices[v].setPoint2D(flatPoints[v]);
    }
    if (!flatPoints.empty() && flatPoints.size() != vertexCount) {
        throw std::runtime_error("Invalid number of 2D coordinates");
    }
    std::vector<Face> faces = readFaces(scanner, vertexCount, progressListener);
    reportMessage(progressListener, "Constructing triangle mesh...");
    checkFaces(faces, vertexCount);
    FaceStitcher(*this, std::move(faces)).run();
    clean();
    calculateVertexNormals();
    loadCutEdgeIndices(cutPath, cutEdgeIndices);
    return {true, flatPoints.size() == vertexCount};
}

} // namespace QELT::Geometry::ThreeDimensional::TriMesh
