#include "Geometry/foundations/percentage.h"
#include "Geometry/trimesh/facestitcher.h"
#include "Geometry/trimesh/mesh.h"
#include "Geometry/trimesh/textscanner.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdio>
#include <fstream>
#include <locale>
#include <memory>
#include <stdexcept>
#include <string_view>

namespace QELT::Geometry::ThreeDimensional::TriMesh {

namespace {

/// Only this separates directories, on every platform.
constexpr char directorySeparator = '\\';

constexpr char const* fileHeader = "#\n# Proprietary data of Marvisan QELT - do not distribute\n#\n\n";

struct FileCloser {
    void operator()(std::FILE* file) const { std::fclose(file); }
};

using File = std::unique_ptr<std::FILE, FileCloser>;

void checkExtension(std::string_view path) {
    if (path.find(".obj") == std::string_view::npos) {
        throw std::runtime_error("Invalid file extension");
    }
}

File openFile(char const* path, char const* mode) {
    File file(std::fopen(path, mode));
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

/// The path behind the last separator, or all of it.
std::string_view getNameWithExtension(std::string_view path) {
    return path.substr(path.rfind(directorySeparator) + 1);
}

std::string_view getStem(std::string_view path) {
    std::string_view const name = getNameWithExtension(path);
    return name.substr(0, name.rfind('.'));
}

/// The path in front of the last separator, or all of it.
std::string_view getDirectory(std::string_view path) {
    return path.substr(0, path.rfind(directorySeparator));
}

std::string getPathBeside(std::string_view path, std::string const& name) {
    return std::string(getDirectory(path)) + directorySeparator + name;
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

/// Builds the text of a mesh file. Numbers look as `printf` writes them in the C locale, in every locale.
class TextWriter {
public:
    TextWriter& operator<<(std::string_view piece) {
        text += piece;
        return *this;
    }

    /// A number with six decimals behind a blank.
    TextWriter& operator<<(double value) {
        // Sign, 309 digits before the point, the point and the decimals.
        std::array<char, 320> digits;
        auto const end =
            std::to_chars(digits.data(), digits.data() + digits.size(), value, std::chars_format::fixed, 6)
                .ptr;
        text += ' ';
        text.append(digits.data(), end);
        return *this;
    }

    /// A whole number behind a blank.
    TextWriter& operator<<(std::uint32_t value) {
        text += ' ';
        text += std::to_string(value);
        return *this;
    }

    void writeTo(std::FILE* file) const { std::fwrite(text.data(), 1, text.size(), file); }

private:
    std::string text;
};

} // namespace

FileContents Mesh::load(char const* path) {
    fileName = getStem(path);
    checkExtension(path);
    if (progressListener != nullptr) {
        std::string const name(getNameWithExtension(path));
        progressListener->setMessage(("Initialising file load: " + name + ".").c_str());
    }
    clear();
    TextScanner scanner(readText(openFile(path, "rt").get()));
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
    loadCutEdgeIndices(getPathBeside(path, getCutEdgeIndicesFileName(fileName)), cutEdgeIndices);
    return {true, flatPoints.size() == vertexCount};
}

void Mesh::save(char const* path, bool saveFlat, bool saveFlatAs3D) const {
    checkExtension(path);
    if (progressListener != nullptr) {
        progressListener->setMessage(("Initialising file save: " + std::string(path) + ".").c_str());
    }
    File const file = openFile(path, "w");
    TextWriter writer;
    PercentageReporter progress(progressListener);
    writer << fileHeader;
    if (!saveFlatAs3D) {
        reportMessage(progressListener, "Writing 3D coordinates...");
        writer << "g Vertices\n";
        for (std::size_t v = 0; v < vertices.size(); ++v) {
            Point const& point = vertices[v].getPoint3D();
            writer << "v" << double{point.getX()} << double{point.getY()} << double{point.getZ()} << "\n";
            progress.reportShare(v, vertices.size());
        }
    }
    if (saveFlat) {
        reportMessage(progressListener,
                      saveFlatAs3D ? "Writing 3D coordinates..." : "Writing 2D coordinates...");
        writer << (saveFlatAs3D ? "\ng Vertices3D\n" : "\ng Vertices2D\n");
        for (std::size_t v = 0; v < vertices.size(); ++v) {
            TwoDimensional::Point<double> const& point = vertices[v].getPoint2D();
            writer << (saveFlatAs3D ? "v" : "vt") << point.getU() << point.getV()
                   << (saveFlatAs3D ? " 0.0\n" : "\n");
            progress.reportShare(v, vertices.size());
        }
    }
    writer << "\ng Faces\n";
    reportMessage(progressListener, "Writing connectivity information...");
    std::vector<Triangle*> list;
    std::vector<Triangle*>::iterator first;
    std::vector<Triangle*>::iterator last;
    getTriangles(list, first, last);
    auto const total = static_cast<std::uint64_t>(last - first);
    for (auto triangle = first; triangle != last; ++triangle) {
        std::array<std::uint32_t, 3> const& indices = (*triangle)->vertexIndices;
        writer << "f" << indices[0] + 1U << indices[1] + 1U << indices[2] + 1U << "\n";
        progress.reportShare(static_cast<std::uint64_t>(triangle - first), total);
    }
    writer.writeTo(file.get());
    saveCutEdgeIndices(getPathBeside(path, getCutEdgeIndicesFileName(std::string(getStem(path)))),
                       cutEdgeIndices);
}

std::string Mesh::getCutEdgeIndicesFileName(std::string const& stem) const {
    return stem + "_cut_indices.txt";
}

void Mesh::saveCutEdgeIndices(std::string const& path, CutEdgeIndices const& indices) const {
    if (indices.first.empty()) {
        return;
    }
    std::ofstream stream(path);
    stream.imbue(std::locale::classic());
    for (std::size_t k = 0; k < indices.first.size(); ++k) {
        stream << indices.first[k].index << ", " << indices.second[k].index << '\n';
    }
}

void Mesh::loadCutEdgeIndices(std::string const& path, CutEdgeIndices& indices) const {
    std::ifstream stream(path);
    stream.imbue(std::locale::classic());
    CutEdgeIndices read;
    while (stream.good()) {
        CutEdgeIndex first;
        CutEdgeIndex second;
        std::string separator;
        stream >> first.index >> separator >> second.index;
        read.first.push_back(first);
        read.second.push_back(second);
    }
    // Both lips get their entries or, should there be no memory for one, neither.
    indices.first.reserve(indices.first.size() + read.first.size());
    indices.second.reserve(indices.second.size() + read.second.size());
    indices.first.insert(indices.first.end(), read.first.begin(), read.first.end());
    indices.second.insert(indices.second.end(), read.second.begin(), read.second.end());
}

} // namespace QELT::Geometry::ThreeDimensional::TriMesh
